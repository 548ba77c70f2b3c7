#pragma once

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

    // The source the held-key test uses: an injected one when set, else the
    // X11 source (nothing held when there is no X display).
    static RKKeyStateSource* current();

    // Replaces the source (tests); nullptr restores the X11 source. Not owned.
    static void setCurrent(RKKeyStateSource* source);
};
