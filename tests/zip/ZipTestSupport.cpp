#include "zip/ZipTestSupport.h"

#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QRandomGenerator>

#include <fcntl.h>
#include <sys/stat.h>

void NoticeLog::add(const QString& line, bool ends)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_lines << line;
        m_end = m_end || ends;
    }
    m_ended.notify_all();
}

QStringList NoticeLog::lines() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_lines;
}

bool NoticeLog::waitForEnd()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_ended.wait_for(lock, std::chrono::minutes(10), [this] { return m_end; });
}

namespace {
QString errorLine(const RQError& e) { return QString("error %1 %2").arg(e.code()).arg(e.localizedRecoverySuggestion()); }
QString progressLine(int p, int t, const QString& n) { return QString("progress %1/%2 %3").arg(p).arg(t).arg(n); }
} // namespace

void ArchiverRecorder::archiverArchiveStarted(RQZipArchiver*, int total) { log.add(QString("started %1").arg(total)); }
void ArchiverRecorder::archiverArchiveProgress(RQZipArchiver* a, int progress, int total, const QString& name)
{
    if (onProgress) {
        onProgress(a, progress);
    }
    log.add(progressLine(progress, total, name));
}
void ArchiverRecorder::archiverArchiveFinished(RQZipArchiver*, const QString& path) { log.add("finished " + path, true); }
void ArchiverRecorder::archiverArchiveCancelled(RQZipArchiver*) { log.add("cancelled", true); }
void ArchiverRecorder::archiverArchiveError(RQZipArchiver*, const RQError& error) { log.add(errorLine(error)); }

void UnArchiverRecorder::unArchiverArchiveStarted(RQUnZipArchiver*, int total) { log.add(QString("started %1").arg(total)); }
void UnArchiverRecorder::unArchiverArchiveProgress(RQUnZipArchiver* u, int progress, int total, const QString& name)
{
    if (onProgress) {
        onProgress(u, progress);
    }
    log.add(progressLine(progress, total, name));
}
void UnArchiverRecorder::unArchiverArchiveFinished(RQUnZipArchiver*, const QString& path) { log.add("finished " + path, true); }
void UnArchiverRecorder::unArchiverArchiveCancelled(RQUnZipArchiver*) { log.add("cancelled", true); }
void UnArchiverRecorder::unArchiverArchiveError(RQUnZipArchiver*, const RQError& error) { log.add(errorLine(error)); }

QString ZipTest::file(const QString& relative, const QByteArray& bytes)
{
    EXPECT_TRUE(TestEnvironment::writeFile(path(relative), bytes)) << relative.toStdString();
    return path(relative);
}

QString ZipTest::folder(const QString& relative)
{
    QDir().mkpath(path(relative));
    return path(relative);
}

QStringList ZipTest::archive(const QString& zip, const QStringList& contents, const QString& password,
                             int level, quint64 encoding)
{
    ArchiverRecorder recorder;
    RQZipArchiver archiver;
    archiver.setDelegate(&recorder);
    archiver.archive(zip, contents, password, level, encoding);
    EXPECT_TRUE(recorder.log.waitForEnd());
    return recorder.log.lines();
}

QStringList ZipTest::extract(const QString& zip, const QString& destination, const QString& password,
                             quint64 encoding)
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
    // The system interpreter starts ten times faster than a version-manager shim.
    static const QString python = QFile::exists("/usr/bin/python3") ? "/usr/bin/python3" : "python3";
    const auto result = TestEnvironment::run(python, QStringList { MOKUZA_SOURCE_DIR "/tests/zip/peer.py" } + arguments);
    if (out) {
        *out = result.out;
    }
    return result.exitCode;
}

QList<QJsonObject> inspect(const QString& zip)
{
    QByteArray out;
    EXPECT_EQ(peer({ "inspect", zip }, &out), 0) << zip.toStdString();
    QList<QJsonObject> entries;
    for (const QByteArray& line : out.split('\n')) {
        if (!line.isEmpty()) {
            entries << QJsonDocument::fromJson(line).object();
        }
    }
    return entries;
}

QStringList entryNames(const QString& zip)
{
    QStringList names;
    for (const QJsonObject& entry : inspect(zip)) {
        names << QString::fromUtf8(QByteArray::fromHex(entry["name"].toString().toLatin1()));
    }
    return names;
}

QString makeArchive(const QString& zip, const QJsonArray& entries)
{
    EXPECT_EQ(peer({ "make", zip, QJsonDocument(entries).toJson(QJsonDocument::Compact) }), 0);
    return zip;
}

QJsonObject entry(const QString& name, const QString& data) { return { { "name", name }, { "data", data } }; }

bool setModified(const QString& path, const QDateTime& when)
{
    struct timespec times[2] = { { time_t(when.toSecsSinceEpoch()), 0 }, { time_t(when.toSecsSinceEpoch()), 0 } };
    return ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, AT_SYMLINK_NOFOLLOW) == 0;
}

QDateTime modified(const QString& path)
{
    struct stat st;
    return ::lstat(QFile::encodeName(path).constData(), &st) == 0 ? QDateTime::fromSecsSinceEpoch(st.st_mtim.tv_sec)
                                                                 : QDateTime();
}

QByteArray randomBytes(int size, quint32 seed)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator(seed).fillRange(reinterpret_cast<quint32*>(bytes.data()), size / 4);
    return bytes;
}
