#pragma once

#include "results/RKResultDisplay.h"

#include <QCoreApplication>
#include <QHash>
#include <QList>
#include <QStringList>

class RKCommandLineHost;

// The result window of the command line: the record of every archive
// (destination, password masked unless asked for in clear, CRC, how the run
// ended) on standard output, as text or as JSON lines, and every error with
// its path, message and the system's reason on standard error. The records
// are kept when the job shows them and printed once the command has put the
// archives where they go.
class RKTerminalResultDisplay : public RKResultDisplay
{
    Q_DECLARE_TR_FUNCTIONS(RKTerminalResultDisplay)

public:
    struct Output {
        bool showPassword = false;
        bool json = false;
        // Nothing but errors.
        bool quiet = false;
        // The records go to standard error (standard output carries an archive).
        bool recordsToError = false;
    };

    RKTerminalResultDisplay(const RKCommandLineHost& host, const Output& output);

    void showResults(QObject* centreOver, const QList<RKProcessResultInfo>& results) override;
    bool shown() const { return m_shown; }
    // Whether a result shown holds an error.
    bool hasErrors() const { return m_hasErrors; }
    // The destinations of the results shown, in order.
    QStringList destinations() const;
    // Prints what was shown, with each destination found in moved replaced.
    void print(const QHash<QString, QString>& moved = {}) const;

    // The text of the records; endings: how each run ended (0 done, 1 with
    // errors, -1 cancelled, missing: not started).
    static QString format(const QList<RKProcessResultInfo>& results, const QList<int>& endings,
                          bool showPassword);
    // One JSON object per record, a line each.
    static QString formatJson(const QList<RKProcessResultInfo>& results, const QList<int>& endings,
                              bool showPassword);
    // "mokuza: [6] /path: message (reason)" for every error.
    static QString formatErrors(const QList<RKProcessResultInfo>& results);

    // The message of an error in the language of the command line's messages.
    static QString description(const RQError& error);
    // The system's reason for a failure (an errno value) in the language of
    // the command line's messages; empty for 0.
    static QString systemReason(int errnum);

private:
    const RKCommandLineHost& m_host;
    Output m_output;
    bool m_shown = false;
    bool m_hasErrors = false;
    QList<RKProcessResultInfo> m_results;
    QList<int> m_endings;
};
