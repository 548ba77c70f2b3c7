#pragma once

#include "shortcut/SRHotKeyProbe.h"

#include <QByteArray>

#include <mutex>

struct xcb_connection_t;

// Shortcuts of an X session are passive grabs on the root window: a desktop
// or window manager that binds a combination grabs it there, and a second
// grab of the same key and modifiers fails with BadAccess. So the probe
// tries the grab on a connection of its own and lets it go at once. It sees
// every binding made that way, and none that is switched off. The display is
// opened on first use; without one, or when it is XWayland's (whose grabs
// know nothing of the compositor's shortcuts), nothing can be probed.
class SRX11HotKeyProbe : public SRHotKeyProbe
{
public:
    // displayName: as for xcb_connect; empty means the DISPLAY variable.
    explicit SRX11HotKeyProbe(const QByteArray& displayName = QByteArray());
    ~SRX11HotKeyProbe() override;

    SRX11HotKeyProbe(const SRX11HotKeyProbe&) = delete;
    SRX11HotKeyProbe& operator=(const SRX11HotKeyProbe&) = delete;

    bool canProbe() override;
    bool isTaken(qint64 keyCode, quint32 carbonFlags) override;

private:
    xcb_connection_t* connection();
    quint16 x11Modifiers(quint32 carbonFlags);

    std::mutex m_mutex;
    QByteArray m_displayName;
    xcb_connection_t* m_connection = nullptr;
    bool m_openAttempted = false;
};
