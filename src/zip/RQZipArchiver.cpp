#include "zip/RQZipArchiver.h"

#include "zip/RQDeflatePool.h"
#include "zip/RQDeflateQueue.h"
#include "zip/RQStepWorker.h"
#include "zip/ZipArchive.h"

#include <QFile>
#include <QUrl>

#include <atomic>
#include <cerrno>
#include <dirent.h>
#include <mutex>
#include <sys/stat.h>

namespace {

QString localPath(const QString& url)
{
    return url.startsWith(QLatin1String("file:")) ? QUrl(url).toLocalFile() : url;
}

// "/" and every component of the path but the last, each followed by "/":
// /Users/a/b/c.txt gives /Users/a/b/, /c.txt gives /.
QString basePathOf(const QString& path)
{
    const QStringList components = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    QString base = QStringLiteral("/");
    for (qsizetype i = 0; i + 1 < components.size(); ++i) {
        base += components.at(i);
        base += QLatin1Char('/');
    }
    return base;
}

// What the step finds at an item's path (links followed).
enum class Found { Storable, Missing, Unreadable, Special, DanglingLink };

Found examine(const QString& path, int* error)
{
    const QByteArray native = QFile::encodeName(path);
    struct stat st;
    if (::stat(native.constData(), &st) != 0) {
        *error = errno;
        struct stat link;
        if (::lstat(native.constData(), &link) == 0 && S_ISLNK(link.st_mode)) {
            return *error == ENOENT ? Found::DanglingLink : Found::Unreadable;
        }
        return *error == ENOENT ? Found::Missing : Found::Unreadable;
    }
    if (S_ISDIR(st.st_mode)) {
        // A folder that cannot be listed would be stored empty: its contents
        // are missing, not absent.
        DIR* dir = ::opendir(native.constData());
        if (!dir) {
            *error = errno;
            return Found::Unreadable;
        }
        ::closedir(dir);
        return Found::Storable;
    }
    return S_ISREG(st.st_mode) ? Found::Storable : Found::Special;
}

} // namespace

struct RQZipArchiver::Private {
    explicit Private(RQZipArchiver* owner)
        : q(owner)
    {
    }

    // Everything one run touches. A new run gets a new object, so a run that is
    // still winding down on the worker never shares state with the next one.
    struct Run {
        // Shared with the deflate jobs, which may outlive the run's steps.
        std::shared_ptr<std::atomic<bool>> isCancelled = std::make_shared<std::atomic<bool>>(false);
        ZipArchive zip;
        bool created = false;
        int stored = 0; // entries written
        QStringList archiveFiles;
        int archiveProgress = 0;
        QString basePath;
        QString zipFilePath;
        int archiveLevel = 5;
        QString password;
        // Deflates the items ahead of the steps, on every core.
        std::unique_ptr<RQDeflateQueue> ahead;
        QList<RQError> errors; // guarded by the front end's mutex
        QString verifyCrc;     // guarded by the front end's mutex
    };

    RQZipArchiver* q;
    std::atomic<RQZipArchiverDelegate*> delegate { nullptr };
    std::atomic<bool> isNotification { true };
    mutable std::mutex mutex;
    std::shared_ptr<Run> current;
    RQDeflatePool pool;
    // Last member: it is joined before anything a step uses goes away.
    RQStepWorker worker;

    template <typename Notice>
    void notify(Notice notice) const
    {
        if (RQZipArchiverDelegate* receiver = delegate.load()) {
            notice(receiver);
        }
    }

    void raise(Run& run, const RQError& error);
    // Forgets the run's list.
    void resetRun(Run& run);
    // Closes the archive (put in place only once read back whole) and sends
    // the finished notice.
    void finish(Run& run);
    // Drops the archive being written (the location stays as it was) and
    // sends the cancelled notice.
    void cancelled(Run& run);
    // The archive could not be written: one error naming it, nothing left.
    void destinationFailed(Run& run);
    // One step; false when the run has ended.
    bool archiveStart(Run& run);
    void runSteps(const std::shared_ptr<Run>& run);
};

void RQZipArchiver::Private::raise(Run& run, const RQError& error)
{
    if (!isNotification.load()) {
        return;
    }
    {
        std::lock_guard<std::mutex> lock(mutex);
        run.errors.append(error);
    }
    notify([&](RQZipArchiverDelegate* receiver) { receiver->archiverArchiveError(q, error); });
}

void RQZipArchiver::Private::resetRun(Run& run)
{
    run.created = false;
    run.ahead.reset();
    run.archiveProgress = 0;
    run.archiveFiles.clear();
    run.basePath.clear();
    run.zipFilePath.clear();
    run.archiveLevel = 5;
}

void RQZipArchiver::Private::finish(Run& run)
{
    const QString archivePath = run.zipFilePath;
    run.ahead.reset();
    if (run.created && run.stored == 0) {
        // Nothing could be stored: an empty archive is no result.
        run.zip.DiscardZipFile();
        raise(run, RQError::initWithErrorCode(12, archivePath));
    } else if (run.created) {
        // The archive is checked before it gets its name, while its data are
        // still in the page cache: the name only ever holds an archive that
        // reads back whole.
        std::optional<quint32> crc;
        bool checked = false;
        const bool placed = run.zip.CloseZipFile2([&](const QString& readable) {
            checked = true;
            crc = ZipArchive::testArchive(readable, run.password, run.isCancelled.get());
            return crc.has_value();
        });
        if (!placed && run.isCancelled->load()) {
            cancelled(run);
            return;
        }
        if (placed) {
            std::lock_guard<std::mutex> lock(mutex);
            // Always eight digits: a CRC is compared by eye or pasted into a
            // checker, and a lost leading zero makes it look wrong.
            run.verifyCrc = QString::asprintf("%08lX", static_cast<unsigned long>(*crc));
        } else if (checked && !crc) {
            raise(run, RQError::initWithErrorCode(5, archivePath));
        } else {
            raise(run, RQError::initWithErrorCode(11, archivePath, run.zip.systemError()));
        }
    }
    resetRun(run);
    notify([&](RQZipArchiverDelegate* receiver) {
        receiver->archiverArchiveFinished(q, archivePath);
    });
}

void RQZipArchiver::Private::cancelled(Run& run)
{
    run.ahead.reset();
    run.zip.DiscardZipFile();
    resetRun(run);
    notify([&](RQZipArchiverDelegate* receiver) { receiver->archiverArchiveCancelled(q); });
}

void RQZipArchiver::Private::destinationFailed(Run& run)
{
    const QString archivePath = run.zipFilePath;
    const int error = run.zip.systemError();
    run.ahead.reset();
    run.zip.DiscardZipFile();
    raise(run, RQError::initWithErrorCode(11, archivePath, error));
    resetRun(run);
    notify([&](RQZipArchiverDelegate* receiver) {
        receiver->archiverArchiveFinished(q, archivePath);
    });
}

bool RQZipArchiver::Private::archiveStart(Run& run)
{
    if (run.isCancelled->load()) {
        cancelled(run);
        return false;
    }

    const int index = run.archiveProgress;
    const int total = int(run.archiveFiles.size());
    const QString item = run.archiveFiles.at(index);
    int error = 0;
    const Found found = examine(item, &error);
    if (found == Found::Missing) {
        raise(run, RQError::initWithErrorCode(1, item));
    } else {
        notify([&](RQZipArchiverDelegate* receiver) {
            receiver->archiverArchiveProgress(q, index + 1, total, item);
        });
    }
    if (found == Found::Unreadable) {
        raise(run, RQError::initWithErrorCode(8, item, error));
    } else if (found == Found::Special) {
        raise(run, RQError::initWithErrorCode(9, item));
    } else if (found == Found::DanglingLink) {
        raise(run, RQError::initWithErrorCode(10, item));
    } else if (found == Found::Storable) {
        QString name = item;
        while (name.size() > 1 && name.endsWith(QLatin1Char('/'))) {
            name.chop(1);
        }
        if (name.startsWith(run.basePath)) {
            name.remove(0, run.basePath.size());
        }
        const auto progress = [this](const QString& sourcePath, quint64 done, quint64 size) {
            notify([&](RQZipArchiverDelegate* receiver) {
                receiver->archiverArchiveProgressInFile(q, done, size, sourcePath);
            });
        };
        std::unique_ptr<ZipDeflatedFile> deflated = run.ahead->take(index);
        const bool added = deflated
            ? run.zip.addDeflatedFileToZip(item, name, run.archiveLevel, *deflated, progress)
            : run.zip.addFileToZip(item, name, run.archiveLevel, progress);
        // Let go of it before the queue may go (a cancel or a failed archive).
        deflated.reset();
        if (run.isCancelled->load()) {
            // Seen inside the item too: the archive is dropped at once.
            cancelled(run);
            return false;
        }
        const ZipNameOutcome outcome = run.zip.lastNameOutcome();
        if (added) {
            ++run.stored;
            if (outcome.storedAsDash) {
                raise(run, RQError::initWithErrorCode(4, item));
            } else {
                if (outcome.charactersReplaced) {
                    raise(run, RQError::initWithErrorCode(6, item));
                }
                if (outcome.numbered) {
                    raise(run, RQError::initWithErrorCode(7, item));
                }
            }
        } else if (run.zip.archiveWriteFailed()) {
            // The destination, not the item: the rest cannot go in either.
            destinationFailed(run);
            return false;
        } else if (run.zip.systemError() != 0) {
            raise(run, RQError::initWithErrorCode(8, item, run.zip.systemError()));
        } else {
            raise(run, RQError::initWithErrorCode(2, item));
        }
    }

    if (index + 1 >= total) {
        finish(run);
        return false;
    }
    run.archiveProgress = index + 1;
    return true;
}

void RQZipArchiver::Private::runSteps(const std::shared_ptr<Run>& run)
{
    for (;;) {
        try {
            if (!archiveStart(*run)) {
                return;
            }
        } catch (...) {
            // The run ends short of its items: no archive takes the name.
            raise(*run, RQError::initWithErrorCode(999, QStringLiteral("")));
            const QString archivePath = run->zipFilePath;
            run->ahead.reset();
            run->zip.DiscardZipFile();
            resetRun(*run);
            notify([&](RQZipArchiverDelegate* receiver) {
                receiver->archiverArchiveFinished(q, archivePath);
            });
            return;
        }
    }
}

RQZipArchiver::RQZipArchiver()
    : d(std::make_unique<Private>(this))
{
}

RQZipArchiver::~RQZipArchiver() = default;

void RQZipArchiver::setDelegate(RQZipArchiverDelegate* delegate)
{
    d->delegate.store(delegate);
}

RQZipArchiverDelegate* RQZipArchiver::delegate() const
{
    return d->delegate.load();
}

void RQZipArchiver::archive(const QString& url, const QStringList& contents,
                            const QString& password, int level, quint64 destEncoding)
{
    auto run = std::make_shared<Private::Run>();
    run->archiveLevel = level;
    {
        std::lock_guard<std::mutex> lock(d->mutex);
        d->current = run;
    }
    const QString path = localPath(url);
    if (contents.isEmpty()) {
        d->notify([&](RQZipArchiverDelegate* receiver) {
            receiver->archiverArchiveFinished(this, path);
        });
        return;
    }

    run->basePath = basePathOf(contents.first());
    run->created = password.isEmpty() ? run->zip.CreateZipFile2(path)
                                      : run->zip.CreateZipFile2(path, password);
    run->zipFilePath = path;
    if (!run->created && run->zip.systemError() != 0) {
        // No file can be made there: one error for the archive, not one per item.
        d->raise(*run, RQError::initWithErrorCode(11, path, run->zip.systemError()));
        d->resetRun(*run);
        d->notify([&](RQZipArchiverDelegate* receiver) {
            receiver->archiverArchiveFinished(this, path);
        });
        return;
    }
    // Otherwise a failed creation (a password without a form the container
    // takes) shows as code 2 on every item.
    run->password = password;
    run->zip.setStringEncoding(destEncoding);
    run->zip.setCancelFlag(run->isCancelled.get());
    run->archiveProgress = 0;
    run->archiveFiles = contents;
    run->ahead = std::make_unique<RQDeflateQueue>(d->pool, contents, level, run->isCancelled);

    const int total = int(contents.size());
    d->notify([&](RQZipArchiverDelegate* receiver) { receiver->archiverArchiveStarted(this, total); });
    Private* p = d.get();
    d->worker.post([p, run] { p->runSteps(run); });
}

void RQZipArchiver::archive(const QString& url, const QStringList& contents,
                            const QString& password, quint64 destEncoding)
{
    archive(url, contents, password, 5, destEncoding);
}

void RQZipArchiver::archive(const QString& url, const QStringList& contents, quint64 destEncoding)
{
    archive(url, contents, QString(), 5, destEncoding);
}

void RQZipArchiver::cansel()
{
    std::lock_guard<std::mutex> lock(d->mutex);
    if (d->current) {
        d->current->isCancelled->store(true);
    }
}

QList<RQError> RQZipArchiver::errors() const
{
    std::lock_guard<std::mutex> lock(d->mutex);
    return d->current ? d->current->errors : QList<RQError>();
}

QString RQZipArchiver::verifyCrc() const
{
    std::lock_guard<std::mutex> lock(d->mutex);
    return d->current ? d->current->verifyCrc : QString();
}

bool RQZipArchiver::isNotification() const
{
    return d->isNotification.load();
}

void RQZipArchiver::setIsNotification(bool on)
{
    d->isNotification.store(on);
}
