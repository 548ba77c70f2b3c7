#include "zip/ZipTestSupport.h"

#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QRandomGenerator>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

void Recorder::add(const QString& line, bool ends)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_lines << line;
    m_end = m_end || ends;
    m_ended.notify_all();
}

QStringList Recorder::lines() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_lines;
}

bool Recorder::waitForEnd()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_ended.wait_for(lock, std::chrono::minutes(10), [this] { return m_end; });
}

QString ZipTest::file(const QString& relative, const QByteArray& bytes)
{
    EXPECT_TRUE(TestEnvironment::writeFile(path(relative), bytes)) << relative.toStdString();
    return path(relative);
}

QStringList ZipTest::files(int count, const QByteArray& bytes)
{
    QStringList paths;
    for (int i = 1; i <= count; ++i) {
        paths << file(QString("f%1").arg(i), bytes);
    }
    return paths;
}

QStringList ZipTest::archive(const QString& zip, const QStringList& contents, const QString& password, int level,
                             quint64 encoding)
{
    Recorder recorder;
    RQZipArchiver archiver;
    archiver.setDelegate(&recorder);
    archiver.archive(zip, contents, password, level, encoding);
    EXPECT_TRUE(recorder.waitForEnd());
    return recorder.lines();
}

QStringList ZipTest::extract(const QString& zip, const QString& destination, const QString& password, quint64 encoding)
{
    Recorder recorder;
    RQUnZipArchiver unarchiver;
    unarchiver.setDelegate(&recorder);
    unarchiver.unArchive(destination, password, zip, encoding);
    EXPECT_TRUE(recorder.waitForEnd());
    return recorder.lines();
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
        names << entry["text"].toString();
    }
    return names;
}

QString makeRaw(const QString& zip, const QJsonArray& entries, QJsonObject layout)
{
    layout["entries"] = entries;
    EXPECT_EQ(peer({ "raw", zip, QJsonDocument(layout).toJson(QJsonDocument::Compact) }), 0);
    return zip;
}

QJsonObject entry(const QString& name, const QString& data) { return { { "name", name }, { "data", data } }; }

QStringList contentsOf(const QString& root)
{
    QStringList items = TestEnvironment::listTree(root);
    for (QString& item : items) {
        const QString target = QFileInfo(root + "/" + item).isSymLink() ? QFile::decodeName(linkTarget(root + "/" + item)) : QString();
        item += item.endsWith('/') ? QString()
            : target.isNull()      ? "=" + QString::fromLatin1(TestEnvironment::readFile(root + "/" + item))
                                   : "->" + target;
    }
    return items;
}

QByteArray linkTarget(const QString& path)
{
    QByteArray target(4096, '\0');
    const ssize_t length = ::readlink(QFile::encodeName(path).constData(), target.data(), size_t(target.size()));
    return length < 0 ? QByteArray() : target.left(length);
}

bool setModified(const QString& path, const QDateTime& when)
{
    struct timespec times[2] = { { time_t(when.toSecsSinceEpoch()), 0 }, { time_t(when.toSecsSinceEpoch()), 0 } };
    return ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, AT_SYMLINK_NOFOLLOW) == 0;
}

QByteArray randomBytes(int size, quint32 seed)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator(seed).fillRange(reinterpret_cast<quint32*>(bytes.data()), size / 4);
    return bytes;
}
