#include "shortcut/SRHotKeyProbe.h"

#include "shortcut/SRX11HotKeyProbe.h"

#include <atomic>

namespace {

std::atomic<SRHotKeyProbe*> g_injected{nullptr};

} // namespace

SRHotKeyProbe* SRHotKeyProbe::current()
{
    if (SRHotKeyProbe* injected = g_injected.load()) {
        return injected;
    }
    static SRX11HotKeyProbe x11;
    return &x11;
}

void SRHotKeyProbe::setCurrent(SRHotKeyProbe* probe)
{
    g_injected.store(probe);
}
