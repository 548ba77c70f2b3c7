#pragma once

#include "platform/RKKeyStateSource.h"

#include <QByteArray>
#include <QElapsedTimer>

#include <mutex>

struct _XDisplay;

// The physical key state of an X display, read with XQueryKeymap: on an X
// server of its own it needs no window and no focus, so it sees keys held
// while items are dropped from another application. XWayland knows the keys
// only while one of its windows has the keyboard focus. The display is opened
// on first use; when it cannot be opened (no DISPLAY, Wayland without
// XWayland) nothing is held.
class RKX11KeyStateSource : public RKKeyStateSource
{
public:
    // displayName: as for XOpenDisplay; empty means the DISPLAY variable.
    explicit RKX11KeyStateSource(const QByteArray& displayName = QByteArray());
    ~RKX11KeyStateSource() override;

    RKX11KeyStateSource(const RKX11KeyStateSource&) = delete;
    RKX11KeyStateSource& operator=(const RKX11KeyStateSource&) = delete;

    bool isKeyHeld(int virtualKeyCode) override;
    bool knowsState(const QObject* focusWindow) override;
    QSet<int> heldX11KeyCodes() override;

    // Whether the display is XWayland's (false without a display).
    bool isXWayland();

private:
    _XDisplay* display();
    bool queryKeymap(char (&keys)[32]);

    std::mutex m_mutex;
    QByteArray m_displayName;
    _XDisplay* m_display = nullptr;
    bool m_openAttempted = false;
    bool m_xwayland = false;
    const QObject* m_focusWindow = nullptr;
    QElapsedTimer m_focusSince;
};
