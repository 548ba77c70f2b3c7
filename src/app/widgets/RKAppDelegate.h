#pragma once

#include "app/widgets/RKHeldKeyFilter.h"
#include "app/RKOpenRequest.h"
#include "platform/RKJobHost.h"
#include "settings/RKProfileSetting.h"
#include "settings/RKUnArchiveProfileSetting.h"

#include <QList>
#include <QObject>
#include <QElapsedTimer>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <memory>

class QWidget;
class RKArchiveBase;
class RKProcessResultWindow;
class RKPreferenceWindow;
class RKProgressWindow;
class RKTopWindow;
class RKUnArchiveBase;
class RKUnArchiveProgressWindow;

// The spine of the application: takes the items opened with the application
// or dropped on its window, classifies them, picks the profile, creates and
// starts the job, and owns the long-lived windows the jobs use. It is the
// jobs' RKJobHost for as long as it exists. Main thread.
//
// One job runs at a time: the runner and result windows serve one archive
// after the other. A request that arrives while a job runs (items handed over
// by a later start, say) waits and starts when that job has finished.
class RKAppDelegate : public QObject, public RKJobHost
{
    Q_OBJECT

public:
    // Loads the settings once (a first run stores the factory profiles),
    // makes the drop window and becomes RKJobHost::current().
    explicit RKAppDelegate(QObject* parent = nullptr);
    ~RKAppDelegate() override;

    // --- RKJobHost -----------------------------------------------------------
    QObject* mainWindow() override;
    bool reserveExit() const override { return m_reserveExit; }
    // Ends the application once no job runs and no request waits.
    void terminate() override;
    RKArchiveRunner* progressWindow() override;
    RKUnArchiveRunner* unArchveProgressWindow() override;
    // None once stopping: nobody is there to close it.
    RKResultDisplay* processResultWindow() override;
    bool stopping() const override { return m_stopping; }

    // --- application life cycle ------------------------------------------------
    // The open-files request: items opened with the application (paths given
    // to the executable, or handed over by a later start). The mode Open
    // decides by the extensions; Compress and Extract make that job whatever
    // the extensions (the file managers' actions).
    void applicationOpenFiles(const QStringList& paths,
                              RKOpenRequest::Mode mode = RKOpenRequest::Mode::Open);
    // End of start-up: an application that was asked to open items before
    // this point quits once that job is done.
    void applicationDidFinishLaunching();
    // Told to stop by a signal (SIGTERM, SIGHUP, Ctrl-C): the run under way
    // is cancelled as its cancel button would (an archive being written is
    // dropped), a panel or window that waits for the user is closed,
    // nothing more is started or shown, and the application ends once the
    // job has wound down.
    void stopForSignal();
    bool applicationShouldTerminateAfterLastWindowClosed() const { return true; }

    // --- dispatch -------------------------------------------------------------
    qint32 checkItems(const QStringList& paths) const;
    // Request a job; they return at once, the job is set up on a later turn
    // of the main loop (when no other job runs).
    void doArchive(const QStringList& paths, const RKProfileSetting& profile);
    void doUnArchive(const QStringList& paths, const RKUnArchiveProfileSetting& profile);

    // The alert for a request that mixes archives and other items (or is
    // empty), window-modal on the drop window. With terminateAfterwards the
    // application ends when it is dismissed.
    void showMixedItemsAlert(bool terminateAfterwards);

    // --- menu commands --------------------------------------------------------
    // Runs the preferences modally over the drop window (made on first use,
    // then reused), then shows the drop window's pop-ups anew.
    void doPrefernces();
    void doHelp();

    // --- state ----------------------------------------------------------------
    RKTopWindow* window() const { return m_window.get(); }
    // nullptr until the preferences were first opened.
    RKPreferenceWindow* preferenceWindow() const { return m_preferenceWindow; }
    bool isDockProcessing() const { return m_isDockProcessing; }
    void setReserveExit(bool reserveExit) { m_reserveExit = reserveExit; }
    const std::shared_ptr<RKArchiveBase>& archiver() const { return m_archiver; }
    const std::shared_ptr<RKUnArchiveBase>& unArchiver() const { return m_unArchiver; }
    // A job is being set up or has been started, and has not finished yet.
    bool isJobRunning() const { return m_jobRunning; }
    // Requests waiting for their turn.
    qsizetype pendingRequestCount() const { return m_pending.size(); }

    // What ending the application does; by default the event loop is left.
    void setTerminateAction(std::function<void()> action);

    // How long a request waits for the held keys to be known (the keyboard
    // focus, see RKKeyStateSource::knowsState) before it goes on as with no
    // key held.
    static constexpr int kKeyStateWaitMs = 1500;
    // Keys held when the last job started, ignored by its windows until released.
    const RKHeldKeyFilter& heldKeyFilter() const { return m_heldKeyFilter; }

signals:
    // A job object was created and started.
    void jobStarted();
    // The running job finished (its result window closed, or it stopped).
    void jobFinished();
    // A request was set up without starting a job (no class for its values).
    void requestDropped();

protected:
    // The deferred steps of doArchive / doUnArchive: held keys are sampled
    // here (unless they could not be known in time: then none is held),
    // then the job is created and started. False when the values name
    // no job class and nothing was started.
    bool innerDoArchive(const QStringList& paths, const RKProfileSetting& profile);
    bool innerDoUnArchive(const QStringList& paths, const RKUnArchiveProfileSetting& profile);

private:
    struct Request {
        bool archive = true;
        QStringList paths;
        RKProfileSetting archiveProfile;
        RKUnArchiveProfileSetting unArchiveProfile;
    };

    void enqueue(Request request);
    void scheduleNextRequest();
    void checkKeyState();
    void runNextRequest(bool keyStateKnown);
    void onJobFinished();
    void terminateIfIdle();

    // Declared first, so destroyed last: the jobs keep a pointer to it.
    std::unique_ptr<RKTopWindow> m_window;
    RKPreferenceWindow* m_preferenceWindow = nullptr;
    RKProgressWindow* m_progressWindow = nullptr;
    RKUnArchiveProgressWindow* m_unArchveProgressWindow = nullptr;
    RKProcessResultWindow* m_processResultWindow = nullptr;

    std::shared_ptr<RKArchiveBase> m_archiver;
    std::shared_ptr<RKUnArchiveBase> m_unArchiver;

    bool m_isDockProcessing = false;
    bool m_reserveExit = false;
    bool m_jobRunning = false;
    bool m_nextScheduled = false;
    bool m_keyStateKnown = true;
    QTimer m_keyStateTimer;
    QElapsedTimer m_keyStateWait;
    RKHeldKeyFilter m_heldKeyFilter;
    bool m_exitRequested = false;
    bool m_terminated = false;
    bool m_stopping = false;
    QList<Request> m_pending;
    std::function<void()> m_terminateAction;
    RKJobHost* m_previousHost = nullptr;
};
