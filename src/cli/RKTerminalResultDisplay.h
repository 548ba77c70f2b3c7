#pragma once

#include "results/RKResultDisplay.h"

#include <QCoreApplication>

class RKCommandLineHost;

// The result window of the command line: the record of every archive on
// standard output once the job is done: destination, password (masked
// unless asked for in clear), CRC, how the run ended, and every error with
// its path and message.
class RKTerminalResultDisplay : public RKResultDisplay
{
    Q_DECLARE_TR_FUNCTIONS(RKTerminalResultDisplay)

public:
    RKTerminalResultDisplay(const RKCommandLineHost& host, bool showPassword);

    void showResults(QObject* centreOver, const QList<RKProcessResultInfo>& results) override;
    bool shown() const { return m_shown; }
    // Whether a result shown holds an error.
    bool hasErrors() const { return m_hasErrors; }

    // The text of the records; endings: how each run ended (0 done, 1 with
    // errors, -1 cancelled, missing: not started).
    static QString format(const QList<RKProcessResultInfo>& results, const QList<int>& endings,
                          bool showPassword);

    // The system's reason for a failure (an errno value) in the language of
    // the command line's messages; empty for 0.
    static QString systemReason(int errnum);

private:
    const RKCommandLineHost& m_host;
    bool m_showPassword;
    bool m_shown = false;
    bool m_hasErrors = false;
};
