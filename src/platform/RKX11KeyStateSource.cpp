#include "platform/RKX11KeyStateSource.h"

#include "platform/RKKeyCodeTable.h"
#include "platform/RKXWayland.h"

#include <X11/Xlib.h>

RKX11KeyStateSource::RKX11KeyStateSource(const QByteArray& displayName)
    : m_displayName(displayName)
{
}

RKX11KeyStateSource::~RKX11KeyStateSource()
{
    if (m_display) {
        XCloseDisplay(m_display);
    }
}

_XDisplay* RKX11KeyStateSource::display()
{
    if (!m_openAttempted) {
        m_openAttempted = true;
        m_display = XOpenDisplay(m_displayName.isEmpty() ? nullptr : m_displayName.constData());
        int opcode = 0;
        int event = 0;
        int error = 0;
        m_xwayland = m_display && RKIsXWayland(XQueryExtension(m_display, "XWAYLAND", &opcode, &event, &error));
    }
    return m_display;
}

bool RKX11KeyStateSource::queryKeymap(char (&keys)[32])
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    Display* connection = display();
    if (!connection) {
        return false;
    }
    XQueryKeymap(connection, keys);
    return true;
}

bool RKX11KeyStateSource::isKeyHeld(int virtualKeyCode)
{
    const int keyCode = RKKeyCodeTable::x11KeyCode(virtualKeyCode);
    char keys[32] = {};
    if (keyCode == 0 || !queryKeymap(keys)) {
        return false;
    }
    return (static_cast<unsigned char>(keys[keyCode / 8]) >> (keyCode % 8)) & 1;
}

QSet<int> RKX11KeyStateSource::heldX11KeyCodes()
{
    QSet<int> held;
    char keys[32] = {};
    if (queryKeymap(keys)) {
        for (int keyCode = 8; keyCode < 256; ++keyCode) {
            if ((static_cast<unsigned char>(keys[keyCode / 8]) >> (keyCode % 8)) & 1) {
                held.insert(keyCode);
            }
        }
    }
    return held;
}

bool RKX11KeyStateSource::isXWayland()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    display();
    return m_xwayland;
}

bool RKX11KeyStateSource::knowsState(const QObject* focusWindow)
{
    // XWayland learns the held keys from the compositor when one of its
    // windows gains the focus, and forgets them when it loses it. The X focus
    // comes from the compositor's window manager over X, the keys over
    // Wayland, in either order: a window may hold the focus a few
    // milliseconds before XWayland knows the keys. Any held key shows they
    // have arrived (they come all at once); else a short wait after each
    // change of window stands for it.
    constexpr qint64 kKeysAfterFocusMs = 150;
    if (!isXWayland()) {
        return true;
    }
    if (focusWindow != m_focusWindow) {
        m_focusWindow = focusWindow;
        m_focusSince.start();
    }
    return focusWindow != nullptr && (m_focusSince.elapsed() >= kKeysAfterFocusMs || !heldX11KeyCodes().isEmpty());
}
