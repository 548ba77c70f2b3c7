#pragma once

#include "cli/RKTerminalResultDisplay.h"
#include "platform/RKJobHost.h"

#include <QList>
#include <QString>

#include <functional>
#include <memory>

class RKTerminalArchiveRunner;
class RKTerminalProgress;
class RKTerminalUnArchiveRunner;

// What a job of the command line needs of it: terminal runners in place of
// the runner windows, the results printed, and one place that stops the
// job as a whole (Ctrl-C, or a question that only an option could have
// answered). Main thread.
class RKCommandLineHost : public RKJobHost
{
public:
    enum class Stop { None, Interrupted, Refused };

    // output: how the results are printed.
    RKCommandLineHost(RKTerminalProgress& progress, const RKTerminalResultDisplay::Output& output);
    ~RKCommandLineHost() override;

    QObject* mainWindow() override { return nullptr; }
    bool reserveExit() const override { return false; }
    void terminate() override {}
    RKArchiveRunner* progressWindow() override;
    RKUnArchiveRunner* unArchveProgressWindow() override;
    RKResultDisplay* processResultWindow() override;

    // Stops the job: the run under way is cancelled as its cancel button
    // would, and no further archive is started. The first reason counts.
    void stop(Stop why);
    Stop stopReason() const { return m_stop; }
    bool stopping() const override { return m_stop != Stop::None; }

    // How a run ended; the failures have the exit status that tells them.
    static constexpr int EndingCancelled = -1;
    static constexpr int EndingDone = 0;
    static constexpr int EndingErrors = 1;
    static constexpr int EndingWrongPassword = 3;
    static constexpr int EndingDamaged = 4;

    // The runners: how to cancel the run under way (empty: none), the
    // archive it works on, and how each run ended, in the order of the runs.
    void setActiveRun(std::function<void()> cancel, const QString& archivePath = QString());
    QString activeArchive() const { return m_activeArchive; }
    void recordEnding(int code) { m_endings.append(code); }
    const QList<int>& endings() const { return m_endings; }

    // The results shown, empty until the job showed them.
    bool resultsShown() const;
    RKTerminalResultDisplay& results() { return *m_results; }
    // Whether every run ended without errors and without a cancel, and the
    // results hold no error of the job's own (a path that did not exist).
    bool allDone() const;
    // The exit status of a job that was not all done: 3 when a run had a
    // password that did not fit, else 4 when one found its archive damaged,
    // else 1.
    int failureStatus() const;

private:
    RKTerminalProgress& m_progress;
    std::unique_ptr<RKTerminalArchiveRunner> m_archiveRunner;
    std::unique_ptr<RKTerminalUnArchiveRunner> m_unArchiveRunner;
    std::unique_ptr<RKTerminalResultDisplay> m_results;
    Stop m_stop = Stop::None;
    std::function<void()> m_cancelActive;
    QString m_activeArchive;
    QList<int> m_endings;
};
