#include "settings/RKSettingNotice.h"

#include <atomic>

namespace {
std::atomic<RKSettingNotice*> g_notice{nullptr};
}

RKSettingNotice* RKSettingNotice::current()
{
    return g_notice.load();
}

void RKSettingNotice::setCurrent(RKSettingNotice* notice)
{
    g_notice.store(notice);
}
