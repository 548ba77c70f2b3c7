#include "platform/RKX11KeyStateSource.h"

#include "platform/RKKeyCodeTable.h"

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
    }
    return m_display;
}

bool RKX11KeyStateSource::isKeyHeld(int virtualKeyCode)
{
    const int keyCode = RKKeyCodeTable::x11KeyCode(virtualKeyCode);
    if (keyCode == 0) {
        return false;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    Display* connection = display();
    if (!connection) {
        return false;
    }
    char keys[32] = {};
    XQueryKeymap(connection, keys);
    return (static_cast<unsigned char>(keys[keyCode / 8]) >> (keyCode % 8)) & 1;
}
