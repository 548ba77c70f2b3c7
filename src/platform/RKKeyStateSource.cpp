#include "platform/RKKeyStateSource.h"

#include "platform/RKX11KeyStateSource.h"

#include <atomic>

namespace {

std::atomic<RKKeyStateSource*> g_injected{nullptr};

} // namespace

RKKeyStateSource* RKKeyStateSource::current()
{
    if (RKKeyStateSource* injected = g_injected.load()) {
        return injected;
    }
    static RKX11KeyStateSource x11;
    return &x11;
}

void RKKeyStateSource::setCurrent(RKKeyStateSource* source)
{
    g_injected.store(source);
}
