#include "platform/RKNotifier.h"

#include "platform/RKDBusNotifier.h"

#include <atomic>

namespace {
std::atomic<RKNotifier*> g_notifier{nullptr};
}

RKNotifier* RKNotifier::current()
{
    RKNotifier* notifier = g_notifier.load();
    if (notifier) {
        return notifier;
    }
    static RKDBusNotifier defaultNotifier;
    return &defaultNotifier;
}

void RKNotifier::setCurrent(RKNotifier* notifier)
{
    g_notifier.store(notifier);
}
