#pragma once

#include "settings/RKPasswordPrompt.h"

#include <QCoreApplication>

#include <optional>

class RKCommandLineHost;

// The password windows of the command line: the line given on standard
// input answers every first question; otherwise the password is typed on the
// terminal without echo (an archive's again when it did not fit). With neither, the question is refused and the job
// stopped, so that no archive is written without the password it was meant
// to have. An empty password is never taken: the terminal asks again.
// Main thread.
class RKTerminalPasswordPrompt : public RKPasswordPrompt
{
    Q_DECLARE_TR_FUNCTIONS(RKTerminalPasswordPrompt)

public:
    RKTerminalPasswordPrompt(RKCommandLineHost& host, std::optional<QString> given,
                             bool interactive);

    // Typed twice on a terminal, since nobody can read back what was typed.
    QString showPasswordDialog(QObject* window, const RKProfileSetting& profile) override;
    QString askUnArchivePassword(QObject* runnerWindow, const QString& archivePath,
                                 int attempt) override;

private:
    static QString emptyPasswordMessage();

    RKCommandLineHost& m_host;
    std::optional<QString> m_given;
    bool m_interactive;
};
