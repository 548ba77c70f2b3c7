#include "settings/RKPasswordPrompt.h"

namespace {
RKPasswordPrompt* g_prompt = nullptr;
}

RKPasswordPrompt* RKPasswordPrompt::current()
{
    return g_prompt;
}

void RKPasswordPrompt::setCurrent(RKPasswordPrompt* prompt)
{
    g_prompt = prompt;
}
