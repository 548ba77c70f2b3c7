#pragma once

#include "platform/RKKeyStateSource.h"

#include <QSet>

#include <memory>

struct wl_display;
struct wl_keyboard;
struct wl_seat;

// The held keys of a Wayland session, from a wl_keyboard of the
// application's own beside Qt's: a compositor tells a client which keys are
// down only when one of its surfaces gains the keyboard focus (the enter
// event's array, which Qt ignores), then every press and release until the
// focus leaves. So the state is known while a window of the application has
// the focus, and nothing is held otherwise. It also hands the compositor's
// keymap to RKSessionKeymap. Its events are dispatched by Qt on the main
// thread; make it before the first window is shown, so that the window's
// first focus is seen. Main thread.
class RKWaylandKeyStateSource : public RKKeyStateSource
{
public:
    ~RKWaylandKeyStateSource() override;

    RKWaylandKeyStateSource(const RKWaylandKeyStateSource&) = delete;
    RKWaylandKeyStateSource& operator=(const RKWaylandKeyStateSource&) = delete;

    // The source of the application's Wayland connection; nullptr when the
    // application does not run on Wayland or its seat has no keyboard.
    static std::unique_ptr<RKWaylandKeyStateSource> create();

    bool isKeyHeld(int virtualKeyCode) override;
    bool knowsState(const QObject* focusWindow) override;
    QSet<int> heldX11KeyCodes() override;

    // Event handlers of the listeners (called by libwayland).
    void keymapReceived(quint32 format, int fd, quint32 size);
    void entered(const QSet<int>& evdevCodes);
    void left();
    void keyChanged(quint32 evdevCode, bool pressed);
    void groupChanged(quint32 group);
    void capabilitiesChanged(quint32 capabilities);

private:
    explicit RKWaylandKeyStateSource(wl_display* display);
    bool bind();

    wl_display* m_display = nullptr;
    wl_seat* m_seat = nullptr;
    wl_keyboard* m_keyboard = nullptr;
    bool m_focused = false;
    QSet<int> m_held; // evdev codes
};
