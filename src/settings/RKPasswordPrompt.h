#pragma once

#include "settings/RKProfileSetting.h"

#include <QObject>
#include <QString>

// The two windows in which a password is typed by hand. The application
// installs one that shows RKPasswordWindow and RKUnArchivePasswordWindow;
// tests install scripted answers. Main thread; both run modally.
class RKPasswordPrompt
{
public:
    virtual ~RKPasswordPrompt() = default;

    // The manual password window for an archive profile, centred over window.
    // Returns the confirmed text ("" when nothing was typed; there is no way
    // to decline). Its show-password check box stores the profile's
    // passwordShow in the stored settings at once.
    virtual QString showPasswordDialog(QObject* window, const RKProfileSetting& profile) = 0;

    // The password prompt of an encrypted archive, centred over the runner
    // window; it names the archive. attempt counts from 1; from the second
    // on, the prompt says that the password typed before did not fit.
    // Returns the typed text (possibly empty), or a null string when there
    // is nobody to ask again (a password given once, not typed).
    virtual QString askUnArchivePassword(QObject* runnerWindow, const QString& archivePath,
                                         int attempt) = 0;

    static RKPasswordPrompt* current();
    // Not owned; nullptr removes it (then both prompts answer "").
    static void setCurrent(RKPasswordPrompt* prompt);
};
