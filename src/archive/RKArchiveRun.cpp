#include "archive/RKArchiveRun.h"

#include "platform/RKAppInfo.h"
#include "platform/RKJobHost.h"
#include "platform/RKNotifier.h"
#include "platform/RKTaskbarProgress.h"
#include "settings/RKPasswordProvider.h"
#include "zip/RQZipArchiver.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QFile>
#include <QMetaObject>
#include <QThread>

#include <sys/stat.h>

namespace {

// A display that changes more often than this is not read by anybody, and
// laying out a long path thousands of times a second costs the processor
// the writer could use.
constexpr int kProgressIntervalMs = 30;

bool onMainThread()
{
    return QThread::currentThread() == QCoreApplication::instance()->thread();
}

} // namespace

RKArchiveRun::RKArchiveRun()
{
    m_progressPacer.setSingleShot(true);
    QObject::connect(&m_progressPacer, &QTimer::timeout, &m_mainThread, [this] {
        m_progressQueued = false;
        showProgressNow();
    });
}

RKArchiveRun::~RKArchiveRun()
{
    if (zipUtil) {
        zipUtil->setDelegate(nullptr);
        zipUtil->cansel();
        zipUtil.reset();
    }
}

QString RKArchiveRun::usedPassword() const
{
    // Empty when one was asked for and none given: the writer took it as
    // none, and the result says the archive is not encrypted.
    return m_usedPassword;
}

QList<RQError> RKArchiveRun::errors() const
{
    const std::lock_guard<std::mutex> lock(m_lock);
    return m_errors;
}

QString RKArchiveRun::verifyCrc() const
{
    const std::lock_guard<std::mutex> lock(m_lock);
    return m_verifyCrc;
}

RKArchiveRun::Progress RKArchiveRun::progress() const
{
    const std::lock_guard<std::mutex> lock(m_lock);
    return {prgValue, prgFileName, m_done, m_work.total(),
            m_started.isValid() ? m_started.elapsed() : 0};
}

double RKArchiveRun::Progress::share() const
{
    return RKWorkProgress::share(done, total);
}

qint64 RKArchiveRun::Progress::secondsLeft() const
{
    return RKWorkProgress::secondsLeft(done, total, elapsedMs);
}

void RKArchiveRun::doArchive(const QStringList& paths, const RKProfileSetting& archiveProfile,
                             const QString& archiveUrl)
{
    ++m_generation;
    m_closed = false;
    m_canselRequested = false;
    m_cancelled = false;
    zipUtil = std::make_unique<RQZipArchiver>();
    zipUtil->setDelegate(this);

    m_filePaths = paths;
    m_profile = archiveProfile;
    m_url = archiveUrl;
    // The sizes are counted before any byte is written, so the share is
    // true from the start (links are stored as what they point to).
    QList<quint64> sizes;
    sizes.reserve(paths.size());
    for (const QString& path : paths) {
        struct stat info {};
        sizes.append(::stat(QFile::encodeName(path).constData(), &info) == 0
                             && S_ISREG(info.st_mode)
                         ? quint64(info.st_size)
                         : 0);
    }
    {
        const std::lock_guard<std::mutex> lock(m_lock);
        prgValue = 0;
        prgFileName.clear();
        m_done = 0;
        m_work.reset(sizes);
        m_started.start();
        m_errors.clear();
        m_verifyCrc.clear();
    }
    m_progressPacer.stop();
    m_progressQueued = false;
    m_lastProgressShown.invalidate();

    m_usedPassword = RKPasswordProvider::Password(passwordWindow(), m_profile);
    if (m_canselRequested || stopRequested()) {
        // Cancelled while the password was asked for: nothing is written.
        handToMainThread([this] { closeArchive(-1); });
        return;
    }
    zipUtil->archive(m_url, m_filePaths, m_usedPassword, m_profile.archiveLevel,
                     m_profile.destEncoding);
}

void RKArchiveRun::cansel()
{
    m_canselRequested = true;
    if (zipUtil) {
        zipUtil->cansel();
    }
}

void RKArchiveRun::closeArchive(int code)
{
    m_progressPacer.stop();
    if (zipUtil) {
        zipUtil->setDelegate(nullptr);
        zipUtil.reset();
    }
    m_closed = true;
    m_cancelled = code == -1;
    archiveClosed(code);
}

QString RKArchiveRun::progressTitle(int value, qsizetype entryCount)
{
    const float percent =
        entryCount > 0 ? float(value) / float(entryCount) * 100.0f : 0.0f;
    return QStringLiteral("圧縮中 - ") + QString::asprintf("%3.1f", double(percent))
        + QLatin1Char('%');
}

void RKArchiveRun::archiveStarted(int) {}

void RKArchiveRun::archiverArchiveStarted(RQZipArchiver*, int total)
{
    const auto start = [this, total] {
        RKTaskbarProgress::progressOfArchive(0.0);
        archiveStarted(total);
    };
    if (onMainThread()) {
        start();
    } else {
        handToMainThread(start);
    }
}

void RKArchiveRun::archiverArchiveProgress(RQZipArchiver*, int progress, int,
                                           const QString& archivingFileName)
{
    {
        const std::lock_guard<std::mutex> lock(m_lock);
        prgValue = progress;
        prgFileName = archivingFileName;
        m_done = m_work.doneAt(progress - 1);
    }
    // One pending update is enough: it shows whatever pair is latest when it
    // runs, so the writer never waits for drawing and the display never goes
    // backwards.
    if (!m_progressQueued.exchange(true)) {
        handToMainThread([this] { showProgressPaced(); });
    }
}

void RKArchiveRun::showProgressPaced()
{
    const qint64 since = m_lastProgressShown.isValid() ? m_lastProgressShown.elapsed() : -1;
    if (since >= 0 && since < kProgressIntervalMs) {
        m_progressPacer.start(int(kProgressIntervalMs - since));
        return;
    }
    m_progressQueued = false;
    showProgressNow();
}

void RKArchiveRun::showProgressNow()
{
    m_lastProgressShown.start();
    if (!m_filePaths.isEmpty()) {
        RKTaskbarProgress::progressOfArchive(progress().share());
    }
    changeProgress();
}

void RKArchiveRun::archiverArchiveProgressInFile(RQZipArchiver*, quint64 progress, quint64,
                                                 const QString&)
{
    {
        const std::lock_guard<std::mutex> lock(m_lock);
        m_done = m_work.doneAt(prgValue - 1, progress);
    }
    if (!m_progressQueued.exchange(true)) {
        handToMainThread([this] { showProgressPaced(); });
    }
}

void RKArchiveRun::archiverArchiveFinished(RQZipArchiver* archiver, const QString& archiveFilePath)
{
    const bool hasErrors = archiver ? !archiver->errors().isEmpty() : !errors().isEmpty();
    {
        const std::lock_guard<std::mutex> lock(m_lock);
        if (archiver) {
            m_verifyCrc = archiver->verifyCrc();
        }
        m_done = m_work.total();
    }
    // Posted before the close is handed over, so the notification is out
    // by the time the job reads the runner's results.
    if (RKNotifier* notifier = RKNotifier::current()) {
        // An archive that errors kept from being written has nothing to show.
        notifier->deliver(RKAppInfo::applicationTitle(), archiveFilePath,
                          hasErrors ? QStringLiteral("圧縮が完了しましたが、エラーがあります")
                                    : QStringLiteral("圧縮が完了しました"),
                          QFileInfo::exists(archiveFilePath) ? archiveFilePath : QString());
    }
    const int code = hasErrors ? 1 : 0;
    // The display reaches the whole before the archive is closed: the last
    // item's start is not its end.
    handToMainThread([this] { showProgressNow(); });
    handToMainThread([this, code] { closeArchive(code); });
}

void RKArchiveRun::archiverArchiveCancelled(RQZipArchiver*)
{
    handToMainThread([this] { closeArchive(-1); });
}

void RKArchiveRun::archiverArchiveError(RQZipArchiver*, const RQError& errror)
{
    const std::lock_guard<std::mutex> lock(m_lock);
    m_errors.append(errror);
}

void RKArchiveRun::handToMainThread(std::function<void()> fn)
{
    const quint64 generation = m_generation;
    m_mainThread.post([this, generation, fn = std::move(fn)] {
        if (generation == m_generation) {
            fn();
        }
    });
}

bool RKArchiveRun::stopRequested() const
{
    const RKJobHost* host = RKJobHost::current();
    return host && host->stopping();
}
