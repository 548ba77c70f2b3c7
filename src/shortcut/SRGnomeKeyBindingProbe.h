#pragma once

#include "shortcut/SRHotKeyProbe.h"

#include <QString>
#include <QStringList>

// GNOME's shortcuts, read where GNOME keeps them: the key-binding schemas
// of GSettings (the window manager's, the shell's, the settings daemon's
// media keys and the user's own commands). A binding is an accelerator such
// as "<Super>Return"; it takes the combination whose modifiers are the same
// and whose key gives the accelerator's keysym in the current layout. Asked
// only in a GNOME session: the schemas are installed on many other desktops
// too, where nothing reads them.
class SRGnomeKeyBindingProbe : public SRHotKeyProbe
{
public:
    // A GNOME session (XDG_CURRENT_DESKTOP names GNOME) with the window
    // manager's schema installed.
    bool canProbe() override;
    bool isTaken(qint64 keyCode, quint32 carbonFlags) override;

    // Every accelerator bound in the schemas now.
    static QStringList boundAccelerators();

    // Whether the accelerator is the combination: the modifiers Shift,
    // Control, Alt (Option) and Super (Command) the same, and the key's keysym
    // (unshifted, in the current layout) the accelerator's, case aside.
    static bool matches(const QString& accelerator, qint64 keyCode, quint32 carbonFlags);
};
