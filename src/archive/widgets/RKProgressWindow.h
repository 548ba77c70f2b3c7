#pragma once

#include "archive/RKArchiveRunner.h"
#include "zip/RQZipArchiverDelegate.h"

#include <QDialog>
#include <QElapsedTimer>
#include <QTimer>
#include <QList>
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

class QLabel;
class RKMainThreadQueue;
class QProgressBar;
class QPushButton;
class RQZipArchiver;

namespace Ui {
class RKProgressWindow;
}

// The archive runner and its window at once: makes one archive at a time
// with a status line, a bar, the percentage in the title and a cancel button,
// collects the writer's errors and posts a notification per archive. One
// instance serves every archive of the process.
//
// The writer's notices arrive on its worker threads; they only store values
// (under the runner's lock) and hand every window change to the main thread
// without waiting, which runs them inside the runner's modal loop.
class RKProgressWindow : public QDialog, public RKArchiveRunner, public RQZipArchiverDelegate
{
    Q_OBJECT

public:
    explicit RKProgressWindow(QWidget* parent = nullptr);
    ~RKProgressWindow() override;

    // RKArchiveRunner: centre over centreOver, bring to the front, doArchive,
    // then the modal loop until doClose ends it.
    void runArchive(QObject* centreOver, const QStringList& filePaths,
                    const RKProfileSetting& profile, const QString& url) override;
    // Null when the archive was written without a password.
    QString usedPassword() const override;
    QList<RQError> errors() const override;
    QString verifyCrc() const override;

    // Starts one archive: a new writer, status "準備中", the password of this
    // archive (the manual password window may appear over the runner), then
    // the writer. Returns at once. Main thread.
    void doArchive(const QStringList& filePaths, const RKProfileSetting& profile,
                   const QString& url);
    // Shows the latest progress pair. Main thread.
    void changeProgress();
    // Ends the current archive and its modal loop with code 0 (done), 1 (done
    // with errors) or -1 (cancelled). Main thread.
    void doClose(int code);

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

public slots:
    // The cancel button: asks the writer to stop at its next step boundary.
    void btCanselTouchUpInside();

protected:
    // Escape and the window's close button cancel like the button: the
    // window must not go away while the writer is still running.
    void reject() override;

private:
    // Shows the latest progress now, or once the display's pace allows.
    void showProgressPaced();
protected:
    // Runs fn on the main thread later, unless a newer archive has started.
    void handToMainThread(std::function<void()> fn);

private:
    void centreOver(QObject* parent);

    std::unique_ptr<Ui::RKProgressWindow> ui;
    QProgressBar* progressIndicator = nullptr;
    QLabel* textField = nullptr;
    QPushButton* btnCansel = nullptr;

    QStringList filePaths;
    RKProfileSetting profile;
    QString url;
    std::unique_ptr<RQZipArchiver> zipUtil;
    QString m_usedPassword;
    bool m_closed = true;

    // Guards the progress pair and the error list.
    mutable std::mutex m_lock;
    int prgValue = 0;
    QString prgFileName;
    QList<RQError> m_errors;
    QString m_verifyCrc;

    std::atomic<quint64> m_generation{0};
    // Set while an update of the display is on its way (queued or paced);
    // the writer posts no further one meanwhile.
    std::atomic<bool> m_progressQueued{false};
    QElapsedTimer m_lastProgressShown;
    QTimer m_progressPacer;
    RKMainThreadQueue* m_mainThread = nullptr;
};
