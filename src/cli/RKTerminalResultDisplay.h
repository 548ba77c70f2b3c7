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

    // The text of the records; endings: how each run ended (0 done, 1 with
    // errors, -1 cancelled, missing: not started).
    static QString format(const QList<RKProcessResultInfo>& results, const QList<int>& endings,
                          bool showPassword);

private:
    const RKCommandLineHost& m_host;
    bool m_showPassword;
    bool m_shown = false;
};
