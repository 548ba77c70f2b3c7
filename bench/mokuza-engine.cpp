// mokuza-engine: the zip front ends without any window, for benchmarks and
// for looking at what the engine does with a given set of files.
//
//   mokuza-engine archive OUT.zip [--level N] [--encoding VALUE] [--password TEXT] PATH...
//   mokuza-engine extract ARCHIVE DESTDIR [--encoding VALUE] [--password TEXT]
//   mokuza-engine verify ARCHIVE [--password TEXT]   (the read-back check alone)
//
// Every error is printed as "code<TAB>path<TAB>message". Exit status: 0 without
// errors, 1 with errors, 2 for bad usage.
#include "zip/RQUnZipArchiver.h"
#include "zip/RQZipArchiver.h"
#include "zip/ZipArchive.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>

#include <condition_variable>
#include <cstdio>
#include <mutex>

namespace {

// The end of a run (finished or cancelled), waited for without an event loop:
// notices come from the front end's worker thread.
class RunEnd
{
public:
    void reached()
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_done = true;
        }
        m_condition.notify_all();
    }
    void wait()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_condition.wait(lock, [this] { return m_done; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_condition;
    bool m_done = false;
};

class ArchiveWaiter : public RQZipArchiverDelegate
{
public:
    RunEnd end;
    void archiverArchiveFinished(RQZipArchiver*, const QString&) override { end.reached(); }
    void archiverArchiveCancelled(RQZipArchiver*) override { end.reached(); }
};

class ExtractWaiter : public RQUnZipArchiverDelegate
{
public:
    RunEnd end;
    void unArchiverArchiveFinished(RQUnZipArchiver*, const QString&) override { end.reached(); }
    void unArchiverArchiveCancelled(RQUnZipArchiver*) override { end.reached(); }
};

struct Options {
    QStringList positional;
    int level = 4;
    quint64 encoding = 4;
    QString password;
};

int usage()
{
    std::fputs("usage: mokuza-engine archive OUT.zip [--level N] [--encoding VALUE] "
               "[--password TEXT] PATH...\n"
               "       mokuza-engine extract ARCHIVE DESTDIR [--encoding VALUE] "
               "[--password TEXT]\n"
               "       mokuza-engine verify ARCHIVE [--password TEXT]\n",
               stderr);
    return 2;
}

bool parse(const QStringList& arguments, Options* options)
{
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        const bool hasValue = i + 1 < arguments.size();
        bool ok = true;
        if (argument == QLatin1String("--level") && hasValue) {
            options->level = arguments.at(++i).toInt(&ok);
            ok = ok && options->level >= 0 && options->level <= 9;
        } else if (argument == QLatin1String("--encoding") && hasValue) {
            options->encoding = arguments.at(++i).toULongLong(&ok, 0);
        } else if (argument == QLatin1String("--password") && hasValue) {
            options->password = arguments.at(++i);
        } else if (argument.startsWith(QLatin1String("--"))) {
            ok = false;
        } else {
            options->positional << argument;
        }
        if (!ok) {
            return false;
        }
    }
    return true;
}

// The item and, for a folder, its whole tree in pre-order, as the archive job
// lists it (entries in the order the folder listing gives them). Links to
// folders are stored as items but not descended into.
void appendTree(const QString& path, QStringList* contents)
{
    contents->append(path);
    if (!QFileInfo(path).isDir()) {
        return;
    }
    QDirIterator it(path, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    while (it.hasNext()) {
        const QString child = it.next();
        const QFileInfo info = it.fileInfo();
        if (info.isDir() && !info.isSymLink()) {
            appendTree(child, contents);
        } else {
            contents->append(child);
        }
    }
}

int report(const QList<RQError>& errors)
{
    for (const RQError& error : errors) {
        std::printf("%d\t%s\t%s\n", error.code(),
                    error.localizedRecoverySuggestion().toLocal8Bit().constData(),
                    error.localizedDescription().toUtf8().constData());
    }
    return errors.isEmpty() ? 0 : 1;
}

QString absolute(const QString& path)
{
    return QDir::cleanPath(QDir::current().absoluteFilePath(path));
}

int archive(const Options& options)
{
    if (options.positional.size() < 2) {
        return usage();
    }
    QStringList contents;
    for (qsizetype i = 1; i < options.positional.size(); ++i) {
        appendTree(absolute(options.positional.at(i)), &contents);
    }
    ArchiveWaiter waiter;
    RQZipArchiver archiver;
    archiver.setDelegate(&waiter);
    archiver.archive(absolute(options.positional.at(0)), contents, options.password,
                     options.level, options.encoding);
    waiter.end.wait();
    return report(archiver.errors());
}

int extract(const Options& options)
{
    if (options.positional.size() != 2) {
        return usage();
    }
    ExtractWaiter waiter;
    RQUnZipArchiver unarchiver;
    unarchiver.setDelegate(&waiter);
    unarchiver.unArchive(absolute(options.positional.at(1)), options.password,
                         absolute(options.positional.at(0)), options.encoding);
    waiter.end.wait();
    return report(unarchiver.errors());
}

// Prints the archive's CRC-32 as the archive job records it.
int verify(const Options& options)
{
    if (options.positional.size() != 1) {
        return usage();
    }
    const std::optional<quint32> crc =
        ZipArchive::testArchive(absolute(options.positional.at(0)), options.password);
    if (crc) {
        std::printf("%lX\n", static_cast<unsigned long>(*crc));
    }
    return crc ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QStringList arguments = QCoreApplication::arguments().mid(1);
    if (arguments.isEmpty()) {
        return usage();
    }
    const QString command = arguments.takeFirst();
    Options options;
    if (!parse(arguments, &options)) {
        return usage();
    }
    if (command == QLatin1String("archive")) {
        return archive(options);
    }
    if (command == QLatin1String("extract")) {
        return extract(options);
    }
    if (command == QLatin1String("verify")) {
        return verify(options);
    }
    return usage();
}
