#pragma once

#include <QSet>

class QObject;

// Where the held-key test reads the keyboard: which physical keys are held
// right now, across the session, whatever window has the focus. Key codes are
// the stored virtual key codes (35 P, 56 left Shift, 59 left Control,
// 58 left Option, 55 left Command, ...).
class RKKeyStateSource
{
public:
    virtual ~RKKeyStateSource() = default;

    // Whether the key is held at this moment. Unknown codes are not held.
    virtual bool isKeyHeld(int virtualKeyCode) = 0;

    // Whether isKeyHeld tells the keyboard's state now. Some keyboards are
    // seen only while a window of the application has the keyboard focus
    // (a Wayland compositor, XWayland); focusWindow is the window that has
    // it (nullptr: none). Until then "nothing held" may only mean "not known
    // yet".
    virtual bool knowsState(const QObject* focusWindow);

    // The X11 key codes (evdev + 8, Qt's native scan codes) of every key held
    // now, those without a stored code included. By default the keys of the
    // stored codes that isKeyHeld reports.
    virtual QSet<int> heldX11KeyCodes();

    // The source the held-key test uses: the one set, else the X11 source
    // (nothing held when there is no X display).
    static RKKeyStateSource* current();

    // Replaces the source (the Wayland one, or a test's); nullptr restores
    // the X11 source. Not owned.
    static void setCurrent(RKKeyStateSource* source);
};
