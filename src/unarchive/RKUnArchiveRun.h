#pragma once

#include "platform/RKMainThreadQueue.h"
#include "platform/RKWorkProgress.h"

#include "settings/RKUnArchiveProfileSetting.h"
#include "unarchive/RKFileCopyUtil.h"
#include "unarchive/RKUnArchiveRunner.h"
#include "unarchive/RKWorkingFolder.h"
#include "zip/RQError.h"
#include "zip/RQUnZipArchiver.h"
#include "zip/RQUnZipArchiverDelegate.h"

#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QString>

#include <atomic>
#include <memory>
#include <mutex>

// The unarchive runner without its window: extracts one archive into a
// private working folder in the destination (asking for the password of an encrypted one), then,
// when extraction ended without errors, places the items into the
// destination, and posts a notification. A window or a terminal shows a run
// by implementing the display hooks. One run at a time.
//
// The reader and the placer report from their worker threads; those notices
// only store values under the run's lock and post the display and the end of
// the run to the main thread, where every run is closed.
class RKUnArchiveRun : public RKUnArchiveRunner,
                       public RQUnZipArchiverDelegate,
                       public RKFileCopyUtilDelegate
{
public:
    enum class Phase { UnArchive, FileCopy };

    RKUnArchiveRun();
    // Stops what still runs and removes the working folder.
    ~RKUnArchiveRun() override;

    RKUnArchiveRun(const RKUnArchiveRun&) = delete;
    RKUnArchiveRun& operator=(const RKUnArchiveRun&) = delete;

    QList<RQError> errors() const override;
    QString usedPassword() const override;
    bool wasCancelled() const override { return m_cancelled; }

    // Starts a run and returns; runClosed() tells its end. Main thread.
    void doUnArchive(const QString& archivePath, const RKUnArchiveProfileSetting& profile,
                     const QString& destinationFolder);
    // Stops the extraction, or the placement once it has begun; the run then
    // ends through its cancelled notice. Main thread.
    void cancel();
    // From doUnArchive() until the run was closed.
    bool isRunning() const { return unArchiver != nullptr; }

    // The working folder of the current run (see RKWorkingFolder); empty
    // when none could be made and once the run was closed.
    QString tempUrl() const { return m_workingFolder.path(); }

    // The latest progress of the current phase, read at once; reported is
    // false until a phase of this run has reported.
    // done of workTotal: the phase's work, in bytes of the entries'
    // sizes (RKWorkProgress) while extracting, in items while placing.
    struct Progress {
        Phase phase = Phase::UnArchive;
        bool reported = false;
        int value = 0;
        int total = 0;
        QString fileName;
        quint64 done = 0;
        quint64 workTotal = 0;
        qint64 elapsedMs = 0;
        double share() const;
        // -1 while not known.
        qint64 secondsLeft() const;
    };
    Progress progress() const;

    // "解凍中 - 42.5%", "コピー中 - 100.0%": the phase's share in single
    // precision with one decimal; a phase with nothing to do is complete.
    static QString progressTitle(Phase phase, int value, int total);

protected:
    // The display hooks, all on the main thread.
    // Parent of the password prompt and of the placement's panels.
    virtual QObject* promptWindow() { return nullptr; }
    // True when the front end was told to stop everything: a run that has
    // not begun extracting then ends as cancelled.
    virtual bool stopRequested() const;
    // Show progress().
    virtual void changeProgress() = 0;
    // The run has ended; the reader and the placer are already released.
    virtual void runClosed() = 0;

private:
    // RQUnZipArchiverDelegate
    void unArchiverArchiveStarted(RQUnZipArchiver* unarchiver, int total) override;
    void unArchiverArchiveProgress(RQUnZipArchiver* unarchiver, int progress, int total,
                                   const QString& unArchivingFileName) override;
    void unArchiverArchiveProgressInFile(RQUnZipArchiver* unarchiver, quint64 progress,
                                         quint64 total, const QString& sourceFileName) override;
    void unArchiverArchiveFinished(RQUnZipArchiver* unarchiver,
                                   const QString& unArchiveFilePath) override;
    void unArchiverArchiveCancelled(RQUnZipArchiver* unarchiver) override;
    void unArchiverArchiveError(RQUnZipArchiver* unarchiver, const RQError& errror) override;

    // RKFileCopyUtilDelegate
    void fileCopyUtilCopyStarted(RKFileCopyUtil* util, int total) override;
    void fileCopyUtilCopyProgress(RKFileCopyUtil* util, int progress, int total,
                                  const QString& copyFileName) override;
    void fileCopyUtilCopyFinished(RKFileCopyUtil* util) override;
    void fileCopyUtilCopyCanceled(RKFileCopyUtil* util) override;
    void fileCopyUtilCopyError(RKFileCopyUtil* util, const RQError& errror) override;

    enum class Ending { Done, DoneWithErrors, Cancelled, Failed };

    void removeTempFolder();
    void moveTempToSaveFolder();
    // Main thread: what follows the end of extraction.
    void extractionFinished();
    // Main thread: notifies as the ending says, then closes the run.
    void doClose(Ending ending);
    // Any thread: the run's generation is captured so that a post that
    // arrives after its run was closed does nothing.
    void postClose(Ending ending);
    void storeProgress(Phase phase, int value, int total, const QString& fileName);
    // Any thread: asks for a display update, spaced.
    void postUpdate();
    // Main thread: the display and the task bar.
    void showProgress();

    std::unique_ptr<RQUnZipArchiver> unArchiver;
    std::unique_ptr<RKFileCopyUtil> fileCopyUtil;
    RKUnArchiveProfileSetting m_profile;
    QString m_archiveUrl;
    QString m_saveUrl;
    RKWorkingFolder m_workingFolder;
    std::atomic<bool> isUnArchiving{false};
    bool m_cancelRequested = false;
    bool m_cancelled = false;
    std::atomic<int> m_generation{0};
    QString m_usedPassword;

    // Written by the workers, read by the display update.
    mutable std::mutex m_lock;
    Phase m_phase = Phase::UnArchive;
    bool m_reported = false; // a phase reported progress in this run
    int prgValue = 0;
    int totalValue = 0;
    QString prgFileName;
    quint64 m_done = 0;
    RKWorkProgress m_work; // the entries' sizes, read before extraction
    QElapsedTimer m_phaseStarted;
    QList<RQError> m_errors;

    // Lives on the main thread: the target of every post.
    RKMainThreadQueue m_mainThread{nullptr};
    std::atomic<bool> m_updatePosted{false};
    QElapsedTimer m_lastUpdate; // main thread
};
