#include "zip/ZipTestSupport.h"

#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>

#include <fcntl.h>
#include <sys/stat.h>

void NoticeLog::add(const QString& line, bool ends)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_lines << line;
        m_end = m_end || ends;
    }
    if (ends) {
        m_ended.notify_all();
    }
}

QStringList NoticeLog::lines() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_lines;
}

bool NoticeLog::waitForEnd(int timeoutMs)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_ended.wait_for(lock, std::chrono::milliseconds(timeoutMs), [this] { return m_end; });
}

void ArchiverRecorder::archiverArchiveStarted(RQZipArchiver*, int total)
{
    log.add(QStringLiteral("started %1").arg(total));
}

void ArchiverRecorder::archiverArchiveProgress(RQZipArchiver* archiver, int progress, int total,
                                               const QString& name)
{
    if (onProgress) {
        onProgress(archiver, progress);
    }
    log.add(QStringLiteral("progress %1/%2 %3").arg(progress).arg(total).arg(name));
}

void ArchiverRecorder::archiverArchiveProgressInFile(RQZipArchiver*, quint64 progress,
                                                     quint64 total, const QString&)
{
    inFile.append({ progress, total });
}

void ArchiverRecorder::archiverArchiveFinished(RQZipArchiver*, const QString& path)
{
    log.add(QStringLiteral("finished ") + path, true);
}

void ArchiverRecorder::archiverArchiveCancelled(RQZipArchiver*)
{
    log.add(QStringLiteral("cancelled"), true);
}

void ArchiverRecorder::archiverArchiveError(RQZipArchiver*, const RQError& error)
{
    log.add(QStringLiteral("error %1 %2").arg(error.code()).arg(error.localizedRecoverySuggestion()));
}

void UnArchiverRecorder::unArchiverArchiveStarted(RQUnZipArchiver*, int total)
{
    log.add(QStringLiteral("started %1").arg(total));
}

void UnArchiverRecorder::unArchiverArchiveProgress(RQUnZipArchiver* unarchiver, int progress,
                                                   int total, const QString& name)
{
    if (onProgress) {
        onProgress(unarchiver, progress);
    }
    log.add(QStringLiteral("progress %1/%2 %3").arg(progress).arg(total).arg(name));
}

void UnArchiverRecorder::unArchiverArchiveFinished(RQUnZipArchiver*, const QString& path)
{
    log.add(QStringLiteral("finished ") + path, true);
}

void UnArchiverRecorder::unArchiverArchiveCancelled(RQUnZipArchiver*)
{
    log.add(QStringLiteral("cancelled"), true);
}

void UnArchiverRecorder::unArchiverArchiveError(RQUnZipArchiver*, const RQError& error)
{
    log.add(QStringLiteral("error %1 %2").arg(error.code()).arg(error.localizedRecoverySuggestion()));
}

QStringList describe(const QList<RQError>& errors)
{
    QStringList lines;
    for (const RQError& error : errors) {
        lines << QStringLiteral("%1 %2").arg(error.code()).arg(error.localizedRecoverySuggestion());
    }
    return lines;
}

QString ZipTest::file(const QString& relative, const QByteArray& bytes)
{
    const QString full = path(relative);
    EXPECT_TRUE(TestEnvironment::writeFile(full, bytes)) << full.toStdString();
    return full;
}

QString ZipTest::folder(const QString& relative)
{
    const QString full = path(relative);
    QDir().mkpath(full);
    return full;
}

QStringList ZipTest::archive(const QString& zip, const QStringList& contents,
                             const QString& password, int level, quint64 encoding)
{
    ArchiverRecorder recorder;
    RQZipArchiver archiver;
    archiver.setDelegate(&recorder);
    archiver.archive(zip, contents, password, level, encoding);
    EXPECT_TRUE(recorder.log.waitForEnd());
    return recorder.log.lines();
}

QStringList ZipTest::extract(const QString& zip, const QString& destination,
                             const QString& password, quint64 encoding)
{
    UnArchiverRecorder recorder;
    RQUnZipArchiver unarchiver;
    unarchiver.setDelegate(&recorder);
    unarchiver.unArchive(destination, password, zip, encoding);
    EXPECT_TRUE(recorder.log.waitForEnd());
    return recorder.log.lines();
}

int peer(const QStringList& arguments, QByteArray* out)
{
    const QString script = QStringLiteral(MOKUZA_SOURCE_DIR "/tests/zip/peer.py");
    // The system interpreter starts ten times faster than a shim on PATH.
    static const QString python = QFile::exists(QStringLiteral("/usr/bin/python3"))
        ? QStringLiteral("/usr/bin/python3")
        : QStringLiteral("python3");
    const TestEnvironment::ProcessResult result =
        TestEnvironment::run(python, QStringList { script } + arguments);
    if (out) {
        *out = result.out;
    }
    return result.exitCode;
}

QList<QJsonObject> inspect(const QString& zip)
{
    QByteArray out;
    EXPECT_EQ(peer({ QStringLiteral("inspect"), zip }, &out), 0) << zip.toStdString();
    QList<QJsonObject> entries;
    for (const QByteArray& line : out.split('\n')) {
        if (!line.isEmpty()) {
            entries << QJsonDocument::fromJson(line).object();
        }
    }
    return entries;
}

bool setModified(const QString& path, const QDateTime& when)
{
    struct timespec times[2];
    times[0].tv_sec = time_t(when.toSecsSinceEpoch());
    times[0].tv_nsec = 0;
    times[1] = times[0];
    return ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times,
                       AT_SYMLINK_NOFOLLOW)
        == 0;
}

QDateTime modified(const QString& path)
{
    struct stat st;
    if (::lstat(QFile::encodeName(path).constData(), &st) != 0) {
        return {};
    }
    return QDateTime::fromSecsSinceEpoch(st.st_mtim.tv_sec);
}
