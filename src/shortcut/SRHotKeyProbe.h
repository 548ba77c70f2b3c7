#pragma once

#include <QtGlobal>

// Whether a key combination is already a keyboard shortcut of the whole
// session (a desktop or window-manager binding), so that pressing it would
// never reach the application. Key codes are stored key codes, flags the
// Carbon encoding (Command 0x100, Shift 0x200, Option 0x800, Control 0x1000).
class SRHotKeyProbe
{
public:
    virtual ~SRHotKeyProbe() = default;

    // Whether the session's shortcuts can be seen at all. When they cannot
    // (no desktop that tells, no X display of its own), none is taken:
    // refusing every combination instead would leave nothing to record.
    virtual bool canProbe() = 0;

    // Whether another client holds the combination. False when it cannot be
    // told (no display, a key the X server does not have).
    virtual bool isTaken(qint64 keyCode, quint32 carbonFlags) = 0;

    // The probe the validator uses: an injected one when set; else Plasma's
    // global-shortcut service when it runs, GNOME's key bindings in a GNOME
    // session, else the X11 probe of the DISPLAY variable's display (which
    // never asks XWayland).
    static SRHotKeyProbe* current();

    // Replaces the probe (tests); nullptr restores the X11 one. Not owned.
    static void setCurrent(SRHotKeyProbe* probe);
};
