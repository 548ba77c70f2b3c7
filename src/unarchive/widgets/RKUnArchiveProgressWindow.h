#pragma once

#include "settings/RKUnArchiveProfileSetting.h"
#include "unarchive/RKFileCopyUtil.h"
#include "unarchive/RKUnArchiveRunner.h"
#include "zip/RQError.h"
#include "zip/RQUnZipArchiver.h"
#include "zip/RQUnZipArchiverDelegate.h"

#include <QDialog>
#include <QElapsedTimer>
#include <QList>
#include <QString>

#include <atomic>
#include <memory>
#include <mutex>

class QLabel;
class QProgressBar;
class QPushButton;
class RKMainThreadQueue;

namespace Ui {
class RKUnArchiveProgressWindow;
}

// The unarchive runner: extracts one archive into a private working folder
// (asking for the password of an encrypted one), then, when extraction ended
// without errors, places the items into the destination. One window serves
// every archive of the application, one run at a time.
//
// The reader and the placer report from their worker threads; those notices
// only store values under the runner's lock and post window work to the main
// thread, where every run is closed.
class RKUnArchiveProgressWindow : public QDialog,
                                  public RKUnArchiveRunner,
                                  public RQUnZipArchiverDelegate,
                                  public RKFileCopyUtilDelegate
{
    Q_OBJECT

public:
    explicit RKUnArchiveProgressWindow(QWidget* parent = nullptr);
    // Stops what still runs and removes this process's working folders.
    ~RKUnArchiveProgressWindow() override;

    // RKUnArchiveRunner: centre over centreOver, doUnArchive, run modally.
    void runUnArchive(QObject* centreOver, const QString& archivePath,
                      const RKUnArchiveProfileSetting& profile,
                      const QString& destinationFolder) override;
    QList<RQError> errors() const override;
    QString usedPassword() const override;

    // Starts a run and returns; the caller then runs the window modally.
    void doUnArchive(const QString& archivePath, const RKUnArchiveProfileSetting& profile,
                     const QString& destinationFolder);

    // The working folder of the current or last run ("…/<hash>/"; see
    // RKWorkingFolder), empty when none could be made.
    QString tempUrl() const { return m_tempUrl; }

    QLabel* textField() const;
    QProgressBar* progressInficator() const;
    QPushButton* btnCansel() const;

public slots:
    void btnCancelTouchUpInside();

protected:
    // Escape and the window manager's close button cancel like the button;
    // the window closes when the run has ended.
    void reject() override;
    void closeEvent(QCloseEvent* event) override;

private:
    // RQUnZipArchiverDelegate
    void unArchiverArchiveStarted(RQUnZipArchiver* unarchiver, int total) override;
    void unArchiverArchiveProgress(RQUnZipArchiver* unarchiver, int progress, int total,
                                   const QString& unArchivingFileName) override;
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

    enum class Phase { UnArchive, FileCopy };
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
    void changeProgress();

    std::unique_ptr<Ui::RKUnArchiveProgressWindow> ui;

    std::unique_ptr<RQUnZipArchiver> unArchiver;
    std::unique_ptr<RKFileCopyUtil> fileCopyUtil;
    RKUnArchiveProfileSetting m_profile;
    QString m_archiveUrl;
    QString m_saveUrl;
    QString m_tempUrl;
    std::atomic<bool> isUnArchiving{false};
    bool m_cancelRequested = false;
    std::atomic<int> m_generation{0};
    QString m_usedPassword;

    // Written by the workers, read by the display update.
    mutable std::mutex m_lock;
    Phase m_phase = Phase::UnArchive;
    bool m_reported = false; // a phase reported progress in this run
    int prgValue = 0;
    int totalValue = 0;
    QString prgFileName;
    QList<RQError> m_errors;
    std::atomic<bool> m_updatePosted{false};
    QElapsedTimer m_lastUpdate; // main thread
    RKMainThreadQueue* m_mainThread = nullptr;
};
