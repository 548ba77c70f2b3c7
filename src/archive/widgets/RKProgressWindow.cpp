#include "archive/widgets/RKProgressWindow.h"

#include "ui/RKWindowPlacement.h"
#include "ui_RKProgressWindow.h"

#include "platform/RKAppInfo.h"
#include "platform/RKMainThreadQueue.h"
#include "platform/RKNotifier.h"
#include "settings/RKPasswordProvider.h"
#include "zip/RQZipArchiver.h"

#include <QCoreApplication>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QThread>

namespace {

QString preparingText()
{
    return QStringLiteral("準備中");
}

// A display that changes more often than this is not read by anybody, and
// laying out a long path thousands of times a second costs the processor
// the writer could use.
constexpr int kProgressIntervalMs = 30;

bool onMainThread()
{
    return QThread::currentThread() == QCoreApplication::instance()->thread();
}

} // namespace

RKProgressWindow::RKProgressWindow(QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::RKProgressWindow>())
    , m_mainThread(new RKMainThreadQueue(this))
{
    ui->setupUi(this);
    progressIndicator = ui->progressIndicator;
    textField = ui->textField;
    btnCansel = ui->btnCansel;
    setWindowModality(Qt::ApplicationModal);
    setWindowTitle(progressTitle(0, 1));
    connect(btnCansel, &QPushButton::clicked, this, &RKProgressWindow::btCanselTouchUpInside);
    m_progressPacer.setSingleShot(true);
    connect(&m_progressPacer, &QTimer::timeout, this, [this] {
        m_progressQueued = false;
        changeProgress();
    });
}

RKProgressWindow::~RKProgressWindow()
{
    if (zipUtil) {
        zipUtil->setDelegate(nullptr);
        zipUtil->cansel();
        zipUtil.reset();
    }
}

void RKProgressWindow::runArchive(QObject* centreOverWindow, const QStringList& paths,
                                  const RKProfileSetting& archiveProfile,
                                  const QString& archiveUrl)
{
    centreOver(centreOverWindow);
    show();
    raise();
    activateWindow();
    doArchive(paths, archiveProfile, archiveUrl);
    raise();
    // The end may already have been handled by an event loop that ran while
    // the archive started; a modal loop started now would never end.
    if (!m_closed) {
        exec();
    }
}

QString RKProgressWindow::usedPassword() const
{
    // The writer takes an empty password as none.
    return m_usedPassword.isEmpty() ? QString() : m_usedPassword;
}

QString RKProgressWindow::verifyCrc() const
{
    const std::lock_guard<std::mutex> lock(m_lock);
    return m_verifyCrc;
}

QList<RQError> RKProgressWindow::errors() const
{
    const std::lock_guard<std::mutex> lock(m_lock);
    return m_errors;
}

void RKProgressWindow::doArchive(const QStringList& paths, const RKProfileSetting& archiveProfile,
                                 const QString& archiveUrl)
{
    ++m_generation;
    m_closed = false;
    zipUtil = std::make_unique<RQZipArchiver>();
    zipUtil->setDelegate(this);

    filePaths = paths;
    profile = archiveProfile;
    url = archiveUrl;

    btnCansel->setText(QStringLiteral("キャンセル"));
    textField->setText(preparingText());
    setWindowTitle(progressTitle(0, filePaths.size()));
    progressIndicator->setRange(0, 1);
    progressIndicator->setValue(0);
    {
        const std::lock_guard<std::mutex> lock(m_lock);
        prgValue = 0;
        prgFileName.clear();
        m_errors.clear();
        m_verifyCrc.clear();
    }
    m_progressPacer.stop();
    m_progressQueued = false;
    m_lastProgressShown.invalidate();

    m_usedPassword = RKPasswordProvider::Password(this, profile);
    zipUtil->archive(url, filePaths, m_usedPassword, profile.archiveLevel, profile.destEncoding);
}

void RKProgressWindow::changeProgress()
{
    m_lastProgressShown.start();
    const std::lock_guard<std::mutex> lock(m_lock);
    textField->setText(prgFileName);
    progressIndicator->setValue(prgValue);
    setWindowTitle(progressTitle(prgValue, filePaths.size()));
}

void RKProgressWindow::doClose(int code)
{
    m_progressPacer.stop();
    if (zipUtil) {
        zipUtil->setDelegate(nullptr);
        zipUtil.reset();
    }
    textField->setText(preparingText());
    m_closed = true;
    done(code);
}

QString RKProgressWindow::progressTitle(int value, qsizetype entryCount)
{
    const float percent =
        entryCount > 0 ? float(value) / float(entryCount) * 100.0f : 0.0f;
    return QStringLiteral("圧縮中 - ") + QString::asprintf("%3.1f", double(percent))
        + QLatin1Char('%');
}

void RKProgressWindow::archiverArchiveStarted(RQZipArchiver*, int total)
{
    const auto start = [this, total] {
        progressIndicator->setRange(0, total);
        progressIndicator->setValue(0);
    };
    if (onMainThread()) {
        start();
    } else {
        handToMainThread(start);
    }
}

void RKProgressWindow::archiverArchiveProgress(RQZipArchiver*, int progress, int,
                                               const QString& archivingFileName)
{
    {
        const std::lock_guard<std::mutex> lock(m_lock);
        prgValue = progress;
        prgFileName = archivingFileName;
    }
    // One pending update is enough: it shows whatever pair is latest when it
    // runs, so the writer never waits for drawing and the display never goes
    // backwards.
    if (!m_progressQueued.exchange(true)) {
        handToMainThread([this] { showProgressPaced(); });
    }
}

void RKProgressWindow::showProgressPaced()
{
    const qint64 since = m_lastProgressShown.isValid() ? m_lastProgressShown.elapsed() : -1;
    if (since >= 0 && since < kProgressIntervalMs) {
        m_progressPacer.start(int(kProgressIntervalMs - since));
        return;
    }
    m_progressQueued = false;
    changeProgress();
}

void RKProgressWindow::archiverArchiveProgressInFile(RQZipArchiver*, quint64, quint64,
                                                     const QString&)
{
}

void RKProgressWindow::archiverArchiveFinished(RQZipArchiver* archiver,
                                               const QString& archiveFilePath)
{
    const bool hasErrors = archiver ? !archiver->errors().isEmpty() : !errors().isEmpty();
    if (archiver) {
        const std::lock_guard<std::mutex> lock(m_lock);
        m_verifyCrc = archiver->verifyCrc();
    }
    // Posted before the close is handed over, so the notification is out
    // by the time the job reads the runner's results.
    if (RKNotifier* notifier = RKNotifier::current()) {
        notifier->deliver(RKAppInfo::applicationTitle(), archiveFilePath,
                          hasErrors ? QStringLiteral("圧縮が完了しましたが、エラーがあります")
                                    : QStringLiteral("圧縮が完了しました"));
    }
    const int code = hasErrors ? 1 : 0;
    handToMainThread([this, code] { doClose(code); });
}

void RKProgressWindow::archiverArchiveCancelled(RQZipArchiver*)
{
    handToMainThread([this] { doClose(-1); });
}

void RKProgressWindow::archiverArchiveError(RQZipArchiver*, const RQError& errror)
{
    const std::lock_guard<std::mutex> lock(m_lock);
    m_errors.append(errror);
}

void RKProgressWindow::btCanselTouchUpInside()
{
    if (zipUtil) {
        zipUtil->cansel();
    }
}

void RKProgressWindow::reject()
{
    if (zipUtil) {
        btCanselTouchUpInside();
    } else {
        QDialog::reject();
    }
}

void RKProgressWindow::handToMainThread(std::function<void()> fn)
{
    const quint64 generation = m_generation;
    m_mainThread->post([this, generation, fn = std::move(fn)] {
        if (generation == m_generation) {
            fn();
        }
    });
}

void RKProgressWindow::centreOver(QObject* parent)
{
    RKCentreOver(this, parent);
}
