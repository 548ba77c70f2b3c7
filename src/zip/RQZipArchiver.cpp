#include "zip/RQZipArchiver.h"

#include "zip/RQDeflatePool.h"
#include "zip/RQDeflateQueue.h"
#include "zip/RQStepWorker.h"
#include "zip/ZipArchive.h"

#include <QFile>
#include <QUrl>

#include <atomic>
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

bool exists(const QString& path)
{
    struct stat st;
    return ::stat(QFile::encodeName(path).constData(), &st) == 0;
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
        std::atomic<bool> isCancelled { false };
        ZipArchive zip;
        bool created = false;
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
    // Closes the archive and forgets the run's list; false when an archive
    // was open and could not be completed.
    bool closeZip(Run& run);
    // Reads the closed archive back; its CRC-32, or code 5.
    void verify(Run& run, const QString& archivePath);
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

bool RQZipArchiver::Private::closeZip(Run& run)
{
    const bool wasOpen = run.created;
    run.created = false;
    run.ahead.reset();
    const bool closed = run.zip.CloseZipFile2();
    run.archiveProgress = 0;
    run.archiveFiles.clear();
    run.basePath.clear();
    run.zipFilePath.clear();
    run.archiveLevel = 5;
    return closed || !wasOpen;
}

void RQZipArchiver::Private::verify(Run& run, const QString& archivePath)
{
    // The archive is about to be sent: what a reader will find is checked
    // while its data are still in the page cache.
    const std::optional<quint32> crc = ZipArchive::testArchive(archivePath, run.password);
    if (!crc) {
        raise(run, RQError::initWithErrorCode(5, archivePath));
        return;
    }
    std::lock_guard<std::mutex> lock(mutex);
    run.verifyCrc = QString::asprintf("%lX", static_cast<unsigned long>(*crc));
}

bool RQZipArchiver::Private::archiveStart(Run& run)
{
    if (run.isCancelled.load()) {
        const QString archivePath = run.zipFilePath;
        if (!closeZip(run)) {
            raise(run, RQError::initWithErrorCode(2, archivePath));
        }
        notify([&](RQZipArchiverDelegate* receiver) { receiver->archiverArchiveCancelled(q); });
        return false;
    }

    const int index = run.archiveProgress;
    const int total = int(run.archiveFiles.size());
    const QString item = run.archiveFiles.at(index);
    if (!exists(item)) {
        raise(run, RQError::initWithErrorCode(1, item));
    } else {
        notify([&](RQZipArchiverDelegate* receiver) {
            receiver->archiverArchiveProgress(q, index + 1, total, item);
        });
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
        const std::unique_ptr<ZipDeflatedFile> deflated = run.ahead->take(index);
        const bool added = deflated
            ? run.zip.addDeflatedFileToZip(item, name, run.archiveLevel, *deflated, progress)
            : run.zip.addFileToZip(item, name, run.archiveLevel, progress);
        const ZipNameOutcome outcome = run.zip.lastNameOutcome();
        if (!added) {
            raise(run, RQError::initWithErrorCode(2, item));
        } else if (outcome.storedAsDash) {
            raise(run, RQError::initWithErrorCode(4, item));
        } else {
            if (outcome.charactersReplaced) {
                raise(run, RQError::initWithErrorCode(6, item));
            }
            if (outcome.numbered) {
                raise(run, RQError::initWithErrorCode(7, item));
            }
        }
    }

    if (index + 1 >= total) {
        const QString archivePath = run.zipFilePath;
        const bool created = run.created;
        if (!closeZip(run)) {
            // Every item went in, yet the archive could not be completed
            // (a full disk): the file at the location is the old one.
            raise(run, RQError::initWithErrorCode(2, archivePath));
        } else if (created) {
            verify(run, archivePath);
        }
        notify([&](RQZipArchiverDelegate* receiver) {
            receiver->archiverArchiveFinished(q, archivePath);
        });
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
            raise(*run, RQError::initWithErrorCode(999, QStringLiteral("")));
            const QString archivePath = run->zipFilePath;
            closeZip(*run);
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
    // A failed creation shows as code 2 on every item.
    run->created = password.isEmpty() ? run->zip.CreateZipFile2(path)
                                      : run->zip.CreateZipFile2(path, password);
    run->zipFilePath = path;
    run->password = password;
    run->zip.setStringEncoding(destEncoding);
    run->archiveProgress = 0;
    run->archiveFiles = contents;
    run->ahead = std::make_unique<RQDeflateQueue>(d->pool, contents, level);

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
        d->current->isCancelled.store(true);
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
