#include "platform/RKJobHost.h"

namespace {
RKJobHost* g_host = nullptr;
}

RKJobHost* RKJobHost::current()
{
    return g_host;
}

void RKJobHost::setCurrent(RKJobHost* host)
{
    g_host = host;
}
