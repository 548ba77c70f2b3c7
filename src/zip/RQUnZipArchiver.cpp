#include "zip/RQUnZipArchiver.h"

#include "zip/RQStepWorker.h"
#include "zip/ZipArchive.h"

#include <QUrl>

#include <atomic>
#include <mutex>

namespace {

QString localPath(const QString& url)
{
    return url.startsWith(QLatin1String("file:")) ? QUrl(url).toLocalFile() : url;
}

} // namespace

struct RQUnZipArchiver::Private {
    explicit Private(RQUnZipArchiver* owner)
        : q(owner)
    {
    }

    // Everything one run touches; a new run gets a new object.
    struct Run {
        std::atomic<bool> isCancelled { false };
        ZipArchive zip;
        // The entry names are the adapter's listing, decoded at each step:
        // only their count is kept.
        int unArchiveFiles = 0;
        int archiveProgress = 0;
        QString basePath;
        QString zipFilePath;
        quint64 encode = 4;
        QList<RQError> errors; // guarded by the front end's mutex
    };

    RQUnZipArchiver* q;
    std::atomic<RQUnZipArchiverDelegate*> delegate { nullptr };
    std::atomic<bool> isNotification { true };
    mutable std::mutex mutex;
    std::shared_ptr<Run> current;
    // Last member: it is joined before anything a step uses goes away.
    RQStepWorker worker;

    template <typename Notice>
    void notify(Notice notice) const
    {
        if (RQUnZipArchiverDelegate* receiver = delegate.load()) {
            notice(receiver);
        }
    }

    void raise(Run& run, const RQError& error);
    void closeZip(Run& run);
    void finish(Run& run, const QString& archivePath);
    // One step; false when the run has ended.
    bool unArchiveStart(Run& run);
    void runSteps(const std::shared_ptr<Run>& run);
};

void RQUnZipArchiver::Private::raise(Run& run, const RQError& error)
{
    if (!isNotification.load()) {
        return;
    }
    {
        std::lock_guard<std::mutex> lock(mutex);
        run.errors.append(error);
    }
    notify([&](RQUnZipArchiverDelegate* receiver) { receiver->unArchiverArchiveError(q, error); });
}

void RQUnZipArchiver::Private::closeZip(Run& run)
{
    run.zip.UnzipCloseFile();
    run.archiveProgress = 0;
    run.unArchiveFiles = 0;
    run.basePath.clear();
    run.zipFilePath.clear();
}

void RQUnZipArchiver::Private::finish(Run& run, const QString& archivePath)
{
    notify([&](RQUnZipArchiverDelegate* receiver) {
        receiver->unArchiverArchiveFinished(q, archivePath);
    });
    closeZip(run);
}

bool RQUnZipArchiver::Private::unArchiveStart(Run& run)
{
    if (run.isCancelled.load()) {
        closeZip(run);
        notify([&](RQUnZipArchiverDelegate* receiver) { receiver->unArchiverArchiveCancelled(q); });
        return false;
    }
    if (run.unArchiveFiles == 0) {
        throw std::out_of_range("no entries");
    }
    const int index = run.archiveProgress;
    const int total = run.unArchiveFiles;
    const QString name = run.zip.listedName(index);
    notify([&](RQUnZipArchiverDelegate* receiver) {
        receiver->unArchiverArchiveProgress(q, index + 1, total, name);
    });
    if (!run.zip.UnzipFileTo64(run.basePath, index, true, run.encode)) {
        if (run.zip.lastNameOutcome().linkLeftOut) {
            raise(run, RQError::initWithUnArchiverErrorCode(6, name));
        } else {
            switch (run.zip.lastFailure()) {
            case ZipArchive::ReadFailure::WrongPassword:
                raise(run, RQError::initWithUnArchiverErrorCode(7, name));
                break;
            case ZipArchive::ReadFailure::Damaged:
                raise(run, RQError::initWithUnArchiverErrorCode(3, name).asDamage());
                break;
            case ZipArchive::ReadFailure::None:
            case ZipArchive::ReadFailure::Other:
                raise(run, RQError::initWithUnArchiverErrorCode(3, name));
                break;
            }
        }
    } else if (run.zip.lastNameOutcome().numbered) {
        raise(run, RQError::initWithUnArchiverErrorCode(5, name));
    }
    if (index + 1 >= total) {
        // The folders are finished before the receiver may move them.
        run.zip.finishFolders();
        finish(run, run.zipFilePath);
        return false;
    }
    run.archiveProgress = index + 1;
    return true;
}

void RQUnZipArchiver::Private::runSteps(const std::shared_ptr<Run>& run)
{
    for (;;) {
        try {
            if (!unArchiveStart(*run)) {
                return;
            }
        } catch (...) {
            const QString archivePath = run->zipFilePath;
            raise(*run, RQError::initWithUnArchiverErrorCode(999, archivePath));
            finish(*run, archivePath);
            return;
        }
    }
}

RQUnZipArchiver::RQUnZipArchiver()
    : d(std::make_unique<Private>(this))
{
}

RQUnZipArchiver::~RQUnZipArchiver() = default;

void RQUnZipArchiver::setDelegate(RQUnZipArchiverDelegate* delegate)
{
    d->delegate.store(delegate);
}

RQUnZipArchiverDelegate* RQUnZipArchiver::delegate() const
{
    return d->delegate.load();
}

bool RQUnZipArchiver::isCrypted(const QString& archivePath)
{
    // An adapter of its own: the question may be asked while a run is live.
    ZipArchive zip;
    if (!zip.UnzipOpenFile(localPath(archivePath))) {
        return false;
    }
    const bool crypted = zip.isCrypted();
    zip.UnzipCloseFile();
    return crypted;
}

bool RQUnZipArchiver::passwordFits(const QString& archivePath, const QString& password)
{
    ZipArchive zip;
    if (!zip.UnzipOpenFile(localPath(archivePath), password)) {
        return true;
    }
    const bool fits = zip.passwordFits();
    zip.UnzipCloseFile();
    return fits;
}

void RQUnZipArchiver::unArchive(const QString& destination, const QString& password,
                                const QString& archivePath, quint64 sourceEncoding)
{
    auto run = std::make_shared<Private::Run>();
    const QString archive = localPath(archivePath);
    run->zipFilePath = archive;
    run->encode = sourceEncoding;
    {
        std::lock_guard<std::mutex> lock(d->mutex);
        d->current = run;
    }

    const bool opened = password.isEmpty() ? run->zip.UnzipOpenFile(archive)
                                           : run->zip.UnzipOpenFile(archive, password);
    if (!opened) {
        d->raise(*run, RQError::initWithUnArchiverErrorCode(2, archive).asDamage());
        d->finish(*run, archive);
        return;
    }
    std::optional<qsizetype> names;
    try {
        names = run->zip.checkZipFileContents64(sourceEncoding);
    } catch (...) {
        names.reset();
    }
    if (!names) {
        // The archive is closed before the finished notice: its receiver may
        // go on to remove or replace the file.
        d->raise(*run, RQError::initWithUnArchiverErrorCode(2, archive));
        d->closeZip(*run);
        d->notify([&](RQUnZipArchiverDelegate* receiver) {
            receiver->unArchiverArchiveFinished(this, archive);
        });
        return;
    }
    run->unArchiveFiles = int(*names);
    Private* owner = d.get();
    run->zip.setProgressBlock([owner](const QString& path, quint64 done, quint64 size) {
        owner->notify([&](RQUnZipArchiverDelegate* receiver) {
            receiver->unArchiverArchiveProgressInFile(owner->q, done, size, path);
        });
    });
    run->archiveProgress = 0;
    run->basePath = localPath(destination);

    const int total = int(*names);
    d->notify([&](RQUnZipArchiverDelegate* receiver) {
        receiver->unArchiverArchiveStarted(this, total);
    });
    // Writers without ZIP64 let the 16-bit count wrap past 65,535 entries:
    // a walk that finds the stated count plus whole multiples of 65,536
    // found what was written.
    const quint64 declared = run->zip.declaredNumFiles();
    const quint64 found = quint64(total);
    const bool wrapped = declared <= 0xFFFF && found > declared && (found - declared) % 0x10000 == 0;
    if (declared != found && !wrapped) {
        // Every entry found is still extracted; the run reports that the
        // archive is not what its end record says.
        d->raise(*run, RQError::initWithUnArchiverErrorCode(4, archive).asDamage());
    }
    Private* p = d.get();
    d->worker.post([p, run] { p->runSteps(run); });
}

void RQUnZipArchiver::unArchive(const QString& destination, const QString& archivePath,
                                quint64 sourceEncoding)
{
    unArchive(destination, QString(), archivePath, sourceEncoding);
}

void RQUnZipArchiver::cansel()
{
    std::lock_guard<std::mutex> lock(d->mutex);
    if (d->current) {
        d->current->isCancelled.store(true);
    }
}

QList<RQError> RQUnZipArchiver::errors() const
{
    std::lock_guard<std::mutex> lock(d->mutex);
    return d->current ? d->current->errors : QList<RQError>();
}

bool RQUnZipArchiver::isNotification() const
{
    return d->isNotification.load();
}

void RQUnZipArchiver::setIsNotification(bool on)
{
    d->isNotification.store(on);
}

qint64 RQUnZipArchiver::hash() const
{
    return qint64(reinterpret_cast<quintptr>(this));
}
