#pragma once

#include "shortcut/widgets/SRValidationError.h"

#include <QtGlobal>

class QMenuBar;
class QWidget;
class SRValidatorDelegate;

// Decides whether a key combination is taken before a recorder accepts it:
// by its owner (the delegate), by a shortcut of the whole session (see
// SRHotKeyProbe), or by an item of the application's main menu. Flags are
// in the Carbon encoding; a taken combination comes with the texts of the
// alert that tells the user why.
class SRValidator
{
public:
    explicit SRValidator(SRValidatorDelegate* delegate = nullptr);

    SRValidatorDelegate* delegate() const { return m_delegate; }
    void setDelegate(SRValidatorDelegate* delegate) { m_delegate = delegate; }

    // True when the combination is taken. error, when given, gets the texts
    // of the refusal, except for a key that has no text while the session's
    // shortcuts can be seen (taken, nothing to say).
    bool isKeyCodeAndFlagsTaken(qint64 keyCode, quint32 flags, SRValidationError* error = nullptr);

    // True when an item of the menu (a menu bar or a menu, submenus first)
    // has the combination as its shortcut: the key compared by its text, the
    // modifiers Command, Option, Shift and Control each present in both or in
    // neither.
    bool isKeyCodeAndFlagsTakenInMenu(qint64 keyCode, quint32 flags, const QWidget* menu,
                                      SRValidationError* error = nullptr);

    // The application's main menu: the registered one when there is one,
    // else the menu bar of the application's main window. nullptr when the
    // application has none.
    static QWidget* mainMenu();
    // Registers the menu bar of the application's main window.
    static void setMainMenu(QMenuBar* menuBar);

private:
    SRValidatorDelegate* m_delegate = nullptr;
};
