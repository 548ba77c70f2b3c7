#include "shortcut/SRHotKeyProbe.h"

#include "shortcut/SRGnomeKeyBindingProbe.h"
#include "shortcut/SRKGlobalAccelProbe.h"
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
    // The desktop itself knows its shortcuts, on X11 and Wayland alike; an X
    // server's grabs tell them only where the desktop grabs on it.
    static SRKGlobalAccelProbe plasma;
    if (plasma.canProbe()) {
        return &plasma;
    }
    static SRGnomeKeyBindingProbe gnome;
    if (gnome.canProbe()) {
        return &gnome;
    }
    static SRX11HotKeyProbe x11;
    return &x11;
}

void SRHotKeyProbe::setCurrent(SRHotKeyProbe* probe)
{
    g_injected.store(probe);
}
