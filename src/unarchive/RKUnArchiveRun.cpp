#include "unarchive/RKUnArchiveRun.h"

#include "platform/RKAppInfo.h"
#include "platform/RKJobHost.h"
#include "platform/RKNotifier.h"
#include "platform/RKTaskbarProgress.h"
#include "settings/RKPasswordPrompt.h"

#include "zip/ZipCentralDirectory.h"

#include <QFile>
#include <QMetaObject>
#include <QTimer>

#include <algorithm>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr qint64 kUpdateSpacingMs = 30;

// Tries at the password of an encrypted archive.
constexpr int kPasswordAttempts = 3;
// The uncompressed size of every entry, in the order of the listing.
std::optional<QList<quint64>> entrySizes(const QString& archivePath)
{
    const int fd = ::open(QFile::encodeName(archivePath).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return std::nullopt;
    }
    ZipCentralDirectory directory;
    struct stat info {};
    const bool read = ::fstat(fd, &info) == 0 && directory.read(fd, info.st_size);
    ::close(fd);
    if (!read) {
        return std::nullopt;
    }
    QList<quint64> sizes;
    sizes.reserve(qsizetype(directory.records().size()));
    for (const ZipCentralRecord& record : directory.records()) {
        sizes.append(record.uncompressedSize);
    }
    return sizes;
}

// Of a run's share on the task bar, extraction takes this much and placement
// the rest: placing is mostly renaming within one file system.
constexpr double kExtractionShare = 0.9;

} // namespace

RKUnArchiveRun::RKUnArchiveRun() = default;

RKUnArchiveRun::~RKUnArchiveRun()
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

QList<RQError> RKUnArchiveRun::errors() const
{
    const std::lock_guard<std::mutex> locker(m_lock);
    return m_errors;
}

QString RKUnArchiveRun::usedPassword() const
{
    return m_usedPassword;
}

RKUnArchiveRun::Progress RKUnArchiveRun::progress() const
{
    const std::lock_guard<std::mutex> locker(m_lock);
    const bool bytes = m_phase == Phase::UnArchive && m_work.known() && m_work.count() == totalValue;
    return {m_phase,
            m_reported,
            prgValue,
            totalValue,
            prgFileName,
            bytes ? m_done : quint64(prgValue),
            bytes ? m_work.total() : quint64(totalValue),
            m_phaseStarted.isValid() ? m_phaseStarted.elapsed() : 0};
}

double RKUnArchiveRun::Progress::share() const
{
    return RKWorkProgress::share(done, workTotal);
}

qint64 RKUnArchiveRun::Progress::secondsLeft() const
{
    return RKWorkProgress::secondsLeft(done, workTotal, elapsedMs);
}

QString RKUnArchiveRun::progressTitle(Phase phase, int value, int total)
{
    const float percent = total == 0 ? 100.0f : float(value) / float(total) * 100.0f;
    return (phase == Phase::UnArchive ? QStringLiteral("解凍中 - ") : QStringLiteral("コピー中 - "))
        + QString::asprintf("%3.1f", double(percent)) + QLatin1Char('%');
}

void RKUnArchiveRun::doUnArchive(const QString& archivePath,
                                 const RKUnArchiveProfileSetting& profile,
                                 const QString& destinationFolder)
{
    removeTempFolder();

    unArchiver = std::make_unique<RQUnZipArchiver>();
    unArchiver->setDelegate(this);
    m_archiveUrl = archivePath;
    m_profile = profile;
    m_saveUrl = destinationFolder;

    isUnArchiving.store(true);
    m_cancelRequested = false;
    m_cancelled = false;
    ++m_generation;
    {
        const std::lock_guard<std::mutex> locker(m_lock);
        m_errors.clear();
        m_phase = Phase::UnArchive;
        m_reported = false;
        prgValue = 0;
        totalValue = 0;
        prgFileName.clear();
        m_done = 0;
        // The entries' sizes, so that the share follows the bytes from the
        // first entry on; an archive that does not list leaves the items.
        m_work.clear();
        if (const std::optional<QList<quint64>> sizes = entrySizes(archivePath)) {
            m_work.reset(*sizes);
        }
    }
    m_usedPassword = QString();

    if (stopRequested()) {
        postClose(Ending::Cancelled);
        return;
    }
    if (!m_workingFolder.make(m_saveUrl)) {
        // The destination cannot take the items: nothing is extracted, and
        // nothing in the open.
        unArchiverArchiveError(unArchiver.get(), RQError::initWithFileCopyUtilErrorCode(
                                                     1, m_saveUrl, m_workingFolder.error()));
        postClose(Ending::DoneWithErrors);
        return;
    }

    if (unArchiver->isCrypted(m_archiveUrl)) {
        // Asked again while the password does not fit, before anything is
        // written; after the last attempt the run says which entries it
        // could not decrypt.
        RKPasswordPrompt* prompt = RKPasswordPrompt::current();
        for (int attempt = 1; attempt <= kPasswordAttempts; ++attempt) {
            const QString typed =
                prompt ? prompt->askUnArchivePassword(promptWindow(), m_archiveUrl, attempt)
                       : QString();
            if (m_cancelRequested || stopRequested()) {
                // Cancelled while the password was asked for: nothing is extracted.
                postClose(Ending::Cancelled);
                return;
            }
            if (attempt > 1 && typed.isNull()) {
                break; // nobody to ask again
            }
            m_usedPassword = typed.isNull() ? QString(QLatin1String("")) : typed;
            if (attempt == kPasswordAttempts
                || unArchiver->passwordFits(m_archiveUrl, m_usedPassword)) {
                break;
            }
        }
        unArchiver->unArchive(m_workingFolder.path(), m_usedPassword, m_archiveUrl,
                              m_profile.sourceEncoding);
    } else {
        unArchiver->unArchive(m_workingFolder.path(), m_archiveUrl, m_profile.sourceEncoding);
    }
}

void RKUnArchiveRun::cancel()
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

void RKUnArchiveRun::removeTempFolder()
{
    // A failure leaves files behind that a later start removes; nothing to report.
    m_workingFolder.remove();
}

void RKUnArchiveRun::moveTempToSaveFolder()
{
    fileCopyUtil = std::make_unique<RKFileCopyUtil>(m_workingFolder.path(), m_saveUrl, m_archiveUrl, m_profile,
                                                    promptWindow());
    fileCopyUtil->setDelegate(this);
    fileCopyUtil->beginCopy();
}

void RKUnArchiveRun::extractionFinished()
{
    {
        // The last entry's end is not reported by the reader: the phase is
        // shown complete before the next one begins.
        const std::lock_guard<std::mutex> locker(m_lock);
        m_done = m_work.total();
    }
    showProgress();
    // Names numbered or links left out are reported, and the rest is placed.
    const QList<RQError> errors = unArchiver->errors();
    if (m_cancelRequested) {
        // The cancel came after the last entry; nothing is placed.
        doClose(Ending::Cancelled);
    } else if (std::all_of(errors.cbegin(), errors.cend(),
                           [](const RQError& error) { return error.isReportOnly(); })) {
        isUnArchiving.store(false);
        moveTempToSaveFolder();
    } else {
        doClose(Ending::DoneWithErrors);
    }
}

void RKUnArchiveRun::postClose(Ending ending)
{
    const int generation = m_generation.load();
    m_mainThread.post([this, generation, ending] {
        if (generation == m_generation.load()) {
            doClose(ending);
        }
    });
}

void RKUnArchiveRun::doClose(Ending ending)
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
    m_cancelled = ending == Ending::Cancelled;
    showProgress();

    const QString title = RKAppInfo::applicationTitle();
    if (ending == Ending::Done) {
        RKNotifier::current()->deliver(title, m_archiveUrl, QStringLiteral("解凍が完了しました"),
                                       m_saveUrl);
    } else if (ending == Ending::DoneWithErrors) {
        // Nothing was placed: no folder to show.
        RKNotifier::current()->deliver(title, m_archiveUrl,
                                       QStringLiteral("解凍が完了しましたが、エラーがあります"),
                                       QString());
    }
    runClosed();
}

void RKUnArchiveRun::storeProgress(Phase phase, int value, int total, const QString& fileName)
{
    {
        const std::lock_guard<std::mutex> locker(m_lock);
        if (!m_reported || m_phase != phase) {
            m_phaseStarted.start();
        }
        m_done = m_work.doneAt(value - 1);
        m_phase = phase;
        m_reported = true;
        prgValue = value;
        totalValue = total;
        prgFileName = fileName;
    }
    postUpdate();
}

void RKUnArchiveRun::postUpdate()
{
    // One display update waits at a time and shows the latest values, so a
    // fast run skips values but never shows them out of order. Updates are
    // spaced by a frame or two: redrawing for each of thousands of small
    // entries would cost more than extracting them.
    if (!m_updatePosted.exchange(true)) {
        m_mainThread.post([this] {
            const qint64 wait =
                m_lastUpdate.isValid() ? kUpdateSpacingMs - m_lastUpdate.elapsed() : 0;
            QTimer::singleShot(qMax<qint64>(wait, 0), &m_mainThread, [this] {
                m_updatePosted.store(false);
                m_lastUpdate.start();
                showProgress();
            });
        });
    }
}

void RKUnArchiveRun::unArchiverArchiveProgressInFile(RQUnZipArchiver*, quint64 progress, quint64,
                                                     const QString&)
{
    {
        const std::lock_guard<std::mutex> locker(m_lock);
        m_done = m_work.doneAt(prgValue - 1, progress);
    }
    postUpdate();
}

void RKUnArchiveRun::showProgress()
{
    const Progress latest = progress();
    if (latest.reported) {
        const double phaseShare = latest.share();
        RKTaskbarProgress::progressOfArchive(
            latest.phase == Phase::UnArchive
                ? phaseShare * kExtractionShare
                : kExtractionShare + phaseShare * (1.0 - kExtractionShare));
    }
    changeProgress();
}

void RKUnArchiveRun::unArchiverArchiveStarted(RQUnZipArchiver*, int total)
{
    storeProgress(Phase::UnArchive, 0, total, QString());
}

void RKUnArchiveRun::unArchiverArchiveProgress(RQUnZipArchiver*, int progress, int total,
                                               const QString& unArchivingFileName)
{
    storeProgress(Phase::UnArchive, progress, total, unArchivingFileName);
}

void RKUnArchiveRun::unArchiverArchiveFinished(RQUnZipArchiver*, const QString&)
{
    const int generation = m_generation.load();
    m_mainThread.post([this, generation] {
        if (generation == m_generation.load()) {
            extractionFinished();
        }
    });
}

void RKUnArchiveRun::unArchiverArchiveCancelled(RQUnZipArchiver*)
{
    postClose(Ending::Cancelled);
}

void RKUnArchiveRun::unArchiverArchiveError(RQUnZipArchiver*, const RQError& errror)
{
    const std::lock_guard<std::mutex> locker(m_lock);
    m_errors.append(errror);
}

void RKUnArchiveRun::fileCopyUtilCopyStarted(RKFileCopyUtil*, int total)
{
    storeProgress(Phase::FileCopy, 0, total, QString());
}

void RKUnArchiveRun::fileCopyUtilCopyProgress(RKFileCopyUtil*, int progress, int total,
                                              const QString& copyFileName)
{
    storeProgress(Phase::FileCopy, progress, total, copyFileName);
}

void RKUnArchiveRun::fileCopyUtilCopyFinished(RKFileCopyUtil*)
{
    postClose(errors().isEmpty() ? Ending::Done : Ending::DoneWithErrors);
}

void RKUnArchiveRun::fileCopyUtilCopyCanceled(RKFileCopyUtil*)
{
    postClose(Ending::Cancelled);
}

void RKUnArchiveRun::fileCopyUtilCopyError(RKFileCopyUtil*, const RQError& errror)
{
    {
        const std::lock_guard<std::mutex> locker(m_lock);
        m_errors.append(errror);
    }
    postClose(Ending::Failed);
}

bool RKUnArchiveRun::stopRequested() const
{
    const RKJobHost* host = RKJobHost::current();
    return host && host->stopping();
}
