#include "unarchive/widgets/RKUnArchiveProgressWindow.h"

#include "platform/RKAppInfo.h"
#include "platform/RKMainThreadQueue.h"
#include "platform/RKNotifier.h"
#include "settings/RKPasswordPrompt.h"
#include "unarchive/RKWorkingFolder.h"
#include "ui/RKWindowPlacement.h"
#include "ui_RKUnArchiveProgressWindow.h"

#include <QCloseEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>

namespace {

constexpr qint64 kUpdateSpacingMs = 30;

QString progressTitle(const QString& prefix, int value, int total)
{
    // A phase with nothing to do is complete.
    const float percent = total == 0 ? 100.0f : float(value) / float(total) * 100.0f;
    return prefix + QString::asprintf("%3.1f", double(percent)) + QLatin1Char('%');
}

} // namespace

RKUnArchiveProgressWindow::RKUnArchiveProgressWindow(QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::RKUnArchiveProgressWindow>())
    , m_mainThread(new RKMainThreadQueue(this))
{
    ui->setupUi(this);
    setWindowModality(Qt::ApplicationModal);
    connect(ui->btnCansel, &QPushButton::clicked, this,
            &RKUnArchiveProgressWindow::btnCancelTouchUpInside);
}

RKUnArchiveProgressWindow::~RKUnArchiveProgressWindow()
{
    if (fileCopyUtil) {
        fileCopyUtil->cancel();
        fileCopyUtil.reset();
    }
    if (unArchiver) {
        unArchiver->cansel();
        unArchiver->setDelegate(nullptr);
        unArchiver.reset();
    }
    removeTempFolder();
}

QLabel* RKUnArchiveProgressWindow::textField() const
{
    return ui->textField;
}

QProgressBar* RKUnArchiveProgressWindow::progressInficator() const
{
    return ui->progressInficator;
}

QPushButton* RKUnArchiveProgressWindow::btnCansel() const
{
    return ui->btnCansel;
}

QList<RQError> RKUnArchiveProgressWindow::errors() const
{
    const std::lock_guard<std::mutex> locker(m_lock);
    return m_errors;
}

QString RKUnArchiveProgressWindow::usedPassword() const
{
    return m_usedPassword;
}

void RKUnArchiveProgressWindow::runUnArchive(QObject* centreOver, const QString& archivePath,
                                             const RKUnArchiveProfileSetting& profile,
                                             const QString& destinationFolder)
{
    RKCentreOver(this, centreOver);
    // Shown before the run starts, so a password prompt has a window to
    // centre over.
    show();
    raise();
    activateWindow();
    doUnArchive(archivePath, profile, destinationFolder);
    exec();
}

void RKUnArchiveProgressWindow::doUnArchive(const QString& archivePath,
                                            const RKUnArchiveProfileSetting& profile,
                                            const QString& destinationFolder)
{
    removeTempFolder();

    unArchiver = std::make_unique<RQUnZipArchiver>();
    unArchiver->setDelegate(this);
    m_archiveUrl = archivePath;
    m_profile = profile;
    m_saveUrl = destinationFolder;

    ui->btnCansel->setText(QStringLiteral("キャンセル"));
    ui->textField->setText(QStringLiteral("準備中"));
    ui->progressInficator->setRange(0, 1);
    ui->progressInficator->setValue(0);
    setWindowTitle(RKAppInfo::applicationTitle());
    isUnArchiving.store(true);
    m_cancelRequested = false;
    ++m_generation;
    {
        const std::lock_guard<std::mutex> locker(m_lock);
        m_errors.clear();
        m_phase = Phase::UnArchive;
        m_reported = false;
        prgValue = 0;
        totalValue = 0;
        prgFileName.clear();
    }
    m_usedPassword = QString();

    m_tempUrl = RKWorkingFolder::make(unArchiver->hash());
    if (m_tempUrl.isEmpty()) {
        // Nowhere private to extract to: nothing is extracted in the open.
        unArchiverArchiveError(unArchiver.get(),
                               RQError::initWithUnArchiverErrorCode(999, m_archiveUrl));
        postClose(Ending::DoneWithErrors);
        return;
    }

    if (unArchiver->isCrypted(m_archiveUrl)) {
        RKPasswordPrompt* prompt = RKPasswordPrompt::current();
        const QString typed = prompt ? prompt->askUnArchivePassword(this) : QString();
        m_usedPassword = typed.isNull() ? QString(QLatin1String("")) : typed;
        unArchiver->unArchive(m_tempUrl, m_usedPassword, m_archiveUrl, m_profile.sourceEncoding);
    } else {
        unArchiver->unArchive(m_tempUrl, m_archiveUrl, m_profile.sourceEncoding);
    }
}

void RKUnArchiveProgressWindow::btnCancelTouchUpInside()
{
    if (!unArchiver) {
        return; // no run
    }
    m_cancelRequested = true;
    if (isUnArchiving.load()) {
        unArchiver->cansel();
    } else if (fileCopyUtil) {
        fileCopyUtil->cancel();
    }
}

void RKUnArchiveProgressWindow::reject()
{
    btnCancelTouchUpInside();
}

void RKUnArchiveProgressWindow::closeEvent(QCloseEvent* event)
{
    if (!unArchiver) {
        QDialog::closeEvent(event); // no run: nothing to stop
        return;
    }
    event->ignore();
    btnCancelTouchUpInside();
}

void RKUnArchiveProgressWindow::removeTempFolder()
{
    // A failure leaves files behind that a later start removes; nothing to report.
    RKWorkingFolder::removeProcessFolder();
}

void RKUnArchiveProgressWindow::moveTempToSaveFolder()
{
    fileCopyUtil = std::make_unique<RKFileCopyUtil>(m_tempUrl, m_saveUrl, m_archiveUrl, m_profile,
                                                    this);
    fileCopyUtil->setDelegate(this);
    fileCopyUtil->beginCopy();
}

void RKUnArchiveProgressWindow::extractionFinished()
{
    if (m_cancelRequested) {
        // The cancel came after the last entry; nothing is placed.
        doClose(Ending::Cancelled);
    } else if (unArchiver->errors().isEmpty()) {
        isUnArchiving.store(false);
        moveTempToSaveFolder();
    } else {
        doClose(Ending::DoneWithErrors);
    }
}

void RKUnArchiveProgressWindow::postClose(Ending ending)
{
    const int generation = m_generation.load();
    m_mainThread->post([this, generation, ending] {
        if (generation == m_generation.load()) {
            doClose(ending);
        }
    });
}

void RKUnArchiveProgressWindow::doClose(Ending ending)
{
    removeTempFolder();
    if (fileCopyUtil) {
        fileCopyUtil.reset();
    }
    if (unArchiver) {
        unArchiver->setDelegate(nullptr);
        unArchiver.reset();
    }
    // A new generation: late posts of this run do nothing.
    ++m_generation;
    changeProgress();

    const QString title = RKAppInfo::applicationTitle();
    if (ending == Ending::Done) {
        RKNotifier::current()->deliver(title, m_archiveUrl, QStringLiteral("解凍が完了しました"));
    } else if (ending == Ending::DoneWithErrors) {
        RKNotifier::current()->deliver(title, m_archiveUrl,
                                       QStringLiteral("解凍が完了しましたが、エラーがあります"));
    }
    done(QDialog::Accepted);
}

void RKUnArchiveProgressWindow::storeProgress(Phase phase, int value, int total,
                                              const QString& fileName)
{
    {
        const std::lock_guard<std::mutex> locker(m_lock);
        m_phase = phase;
        m_reported = true;
        prgValue = value;
        totalValue = total;
        prgFileName = fileName;
    }
    // One display update waits at a time and shows the latest values, so a
    // fast run skips values but never shows them out of order. Updates are
    // spaced by a frame or two: redrawing the window for each of thousands of
    // small entries would cost more than extracting them.
    if (!m_updatePosted.exchange(true)) {
        m_mainThread->post([this] {
            const qint64 wait = m_lastUpdate.isValid() ? kUpdateSpacingMs - m_lastUpdate.elapsed() : 0;
            QTimer::singleShot(qMax<qint64>(wait, 0), this, [this] {
                m_updatePosted.store(false);
                m_lastUpdate.start();
                changeProgress();
            });
        });
    }
}

void RKUnArchiveProgressWindow::changeProgress()
{
    Phase phase;
    int value;
    int total;
    QString fileName;
    {
        const std::lock_guard<std::mutex> locker(m_lock);
        if (!m_reported) {
            return; // nothing reported yet in this run ("準備中" stays)
        }
        phase = m_phase;
        value = prgValue;
        total = totalValue;
        fileName = prgFileName;
    }
    ui->textField->setText(fileName);
    ui->progressInficator->setRange(0, qMax(total, 1));
    ui->progressInficator->setValue(total == 0 ? 1 : value);
    setWindowTitle(progressTitle(phase == Phase::UnArchive ? QStringLiteral("解凍中 - ")
                                                           : QStringLiteral("コピー中 - "),
                                 value, total));
}

void RKUnArchiveProgressWindow::unArchiverArchiveStarted(RQUnZipArchiver*, int total)
{
    storeProgress(Phase::UnArchive, 0, total, QString());
}

void RKUnArchiveProgressWindow::unArchiverArchiveProgress(RQUnZipArchiver*, int progress, int total,
                                                          const QString& unArchivingFileName)
{
    storeProgress(Phase::UnArchive, progress, total, unArchivingFileName);
}

void RKUnArchiveProgressWindow::unArchiverArchiveFinished(RQUnZipArchiver*, const QString&)
{
    const int generation = m_generation.load();
    m_mainThread->post([this, generation] {
        if (generation == m_generation.load()) {
            extractionFinished();
        }
    });
}

void RKUnArchiveProgressWindow::unArchiverArchiveCancelled(RQUnZipArchiver*)
{
    postClose(Ending::Cancelled);
}

void RKUnArchiveProgressWindow::unArchiverArchiveError(RQUnZipArchiver*, const RQError& errror)
{
    const std::lock_guard<std::mutex> locker(m_lock);
    m_errors.append(errror);
}

void RKUnArchiveProgressWindow::fileCopyUtilCopyStarted(RKFileCopyUtil*, int total)
{
    storeProgress(Phase::FileCopy, 0, total, QString());
}

void RKUnArchiveProgressWindow::fileCopyUtilCopyProgress(RKFileCopyUtil*, int progress, int total,
                                                         const QString& copyFileName)
{
    storeProgress(Phase::FileCopy, progress, total, copyFileName);
}

void RKUnArchiveProgressWindow::fileCopyUtilCopyFinished(RKFileCopyUtil*)
{
    postClose(Ending::Done);
}

void RKUnArchiveProgressWindow::fileCopyUtilCopyCanceled(RKFileCopyUtil*)
{
    postClose(Ending::Cancelled);
}

void RKUnArchiveProgressWindow::fileCopyUtilCopyError(RKFileCopyUtil*, const RQError& errror)
{
    {
        const std::lock_guard<std::mutex> locker(m_lock);
        m_errors.append(errror);
    }
    postClose(Ending::Failed);
}
