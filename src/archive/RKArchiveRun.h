#pragma once

#include "platform/RKMainThreadQueue.h"
#include "platform/RKWorkProgress.h"

#include "archive/RKArchiveRunner.h"
#include "settings/RKProfileSetting.h"
#include "zip/RQZipArchiverDelegate.h"

#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

class RQZipArchiver;

// The archive runner without its window: makes one archive at a time, works
// out its password, starts the writer, collects its errors and CRC and posts
// a notification per archive. A window or a terminal shows a run by
// implementing the display hooks; the run decides when they are called.
//
// The writer's notices arrive on its worker threads. They only store values
// under the run's lock and hand the display and the end of the archive to the
// main thread without waiting; the display is paced, so it shows the latest
// progress and skips values, never showing them out of order.
class RKArchiveRun : public RKArchiveRunner, public RQZipArchiverDelegate
{
public:
    RKArchiveRun();
    // Stops a writer that still runs; its later notices reach nobody.
    ~RKArchiveRun() override;

    RKArchiveRun(const RKArchiveRun&) = delete;
    RKArchiveRun& operator=(const RKArchiveRun&) = delete;

    // Null when the archive was written without a password.
    QString usedPassword() const override;
    QList<RQError> errors() const override;
    QString verifyCrc() const override;
    bool wasCancelled() const override { return m_cancelled; }

    // Starts one archive: a new writer, the password of this archive (the
    // manual password window may appear over passwordWindow()), then the
    // writer. Returns at once; archiveClosed() tells the end. Main thread.
    void doArchive(const QStringList& filePaths, const RKProfileSetting& profile,
                   const QString& url);
    // Asks the writer to stop (between chunks; the archive is dropped). Asked while the
    // password is still being worked out, the archive is not started. Main
    // thread.
    void cansel();
    // From doArchive() until the archive has ended.
    bool isRunning() const { return !m_closed; }

    // The current archive's contents, as given.
    const QStringList& filePaths() const { return m_filePaths; }
    // The latest progress the writer reported, read at once: the item under
    // way (value = its position from 1) and the work done of the whole in
    // bytes (RKWorkProgress), counted before the writer started.
    struct Progress {
        int value = 0;
        QString fileName;
        quint64 done = 0;
        quint64 total = 0;
        qint64 elapsedMs = 0;
        double share() const;
        // -1 while not known.
        qint64 secondsLeft() const;
    };
    Progress progress() const;

    // "圧縮中 - 37.5%" for 3 of 8 entries: the share in single precision with
    // one decimal.
    static QString progressTitle(int prgValue, qsizetype entryCount);

    // RQZipArchiverDelegate
    void archiverArchiveStarted(RQZipArchiver* archiver, int total) override;
    void archiverArchiveProgress(RQZipArchiver* archiver, int progress, int total,
                                 const QString& archivingFileName) override;
    void archiverArchiveProgressInFile(RQZipArchiver* archiver, quint64 progress, quint64 total,
                                       const QString& sourceFileName) override;
    void archiverArchiveFinished(RQZipArchiver* archiver, const QString& archiveFilePath) override;
    void archiverArchiveCancelled(RQZipArchiver* archiver) override;
    void archiverArchiveError(RQZipArchiver* archiver, const RQError& errror) override;

protected:
    // The display hooks, all on the main thread.
    // Parent of the manual password window.
    virtual QObject* passwordWindow() { return nullptr; }
    // True when the front end was told to stop everything: an archive whose
    // password has been worked out is then not started.
    virtual bool stopRequested() const;
    // The writer announced its number of steps.
    virtual void archiveStarted(int total);
    // Show progress().
    virtual void changeProgress() = 0;
    // The archive has ended with 0 (done), 1 (done with errors) or -1
    // (cancelled); the writer is already released.
    virtual void archiveClosed(int code) = 0;

    // Ends the current archive now: releases the writer, then archiveClosed.
    void closeArchive(int code);
    // Runs fn on the main thread later, unless a newer archive has started.
    // Any thread.
    void handToMainThread(std::function<void()> fn);

private:
    // Shows the latest progress now, or once the display's pace allows.
    void showProgressPaced();
    void showProgressNow();

    QStringList m_filePaths;
    RKProfileSetting m_profile;
    QString m_url;
    std::unique_ptr<RQZipArchiver> zipUtil;
    QString m_usedPassword;
    bool m_closed = true;
    bool m_canselRequested = false;
    bool m_cancelled = false;

    // Guards the progress pair, the error list and the CRC.
    mutable std::mutex m_lock;
    int prgValue = 0;
    QString prgFileName;
    quint64 m_done = 0;
    RKWorkProgress m_work; // written before the writer starts
    QElapsedTimer m_started;
    QList<RQError> m_errors;
    QString m_verifyCrc;

    // Lives on the main thread: the target of every hand-off.
    RKMainThreadQueue m_mainThread{nullptr};
    std::atomic<quint64> m_generation{0};
    // Set while an update of the display is on its way (queued or paced);
    // the writer posts no further one meanwhile.
    std::atomic<bool> m_progressQueued{false};
    QElapsedTimer m_lastProgressShown;
    QTimer m_progressPacer;
};
