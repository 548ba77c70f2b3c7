#pragma once

#include "zip/RQUnZipArchiver.h"
#include "zip/RQZipArchiver.h"
#include "zip/ZipArchiveDelegate.h"

#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <ostream>

// Readable QString values in failure messages.
inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

// Notices of one run as lines ("started 3", "progress 1/3 <path>",
// "error 2 <path>", "finished <path>", "cancelled"), and a wait for its end
// (finished or cancelled) without polling.
class NoticeLog
{
public:
    void add(const QString& line, bool ends = false);
    QStringList lines() const;
    bool waitForEnd(int timeoutMs = 600000);

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_ended;
    QStringList m_lines;
    bool m_end = false;
};

class ArchiverRecorder : public RQZipArchiverDelegate
{
public:
    NoticeLog log;
    // Called with each progress number before it is logged.
    std::function<void(RQZipArchiver*, int)> onProgress;
    QList<QList<quint64>> inFile; // (progress, total) pairs

    void archiverArchiveStarted(RQZipArchiver*, int total) override;
    void archiverArchiveProgress(RQZipArchiver* archiver, int progress, int total,
                                 const QString& name) override;
    void archiverArchiveProgressInFile(RQZipArchiver*, quint64 progress, quint64 total,
                                       const QString&) override;
    void archiverArchiveFinished(RQZipArchiver*, const QString& path) override;
    void archiverArchiveCancelled(RQZipArchiver*) override;
    void archiverArchiveError(RQZipArchiver*, const RQError& error) override;
};

class UnArchiverRecorder : public RQUnZipArchiverDelegate
{
public:
    NoticeLog log;
    std::function<void(RQUnZipArchiver*, int)> onProgress;

    void unArchiverArchiveStarted(RQUnZipArchiver*, int total) override;
    void unArchiverArchiveProgress(RQUnZipArchiver* unarchiver, int progress, int total,
                                   const QString& name) override;
    void unArchiverArchiveFinished(RQUnZipArchiver*, const QString& path) override;
    void unArchiverArchiveCancelled(RQUnZipArchiver*) override;
    void unArchiverArchiveError(RQUnZipArchiver*, const RQError& error) override;
};

// Collects the adapter's failure texts.
class MessageRecorder : public ZipArchiveDelegate
{
public:
    QStringList messages;
    void ErrorMessage(const QString& message) override { messages << message; }
};

// "code path" for each error.
QStringList describe(const QList<RQError>& errors);

// A temporary folder per test, and the usual ways of making and reading
// archives through the front ends and the peers.
class ZipTest : public ::testing::Test
{
protected:
    QString path(const QString& relative) const { return m_dir.filePath(relative); }
    // Writes a file (parents made) and returns its path.
    QString file(const QString& relative, const QByteArray& bytes);
    QString folder(const QString& relative);

    // Runs an archiver to its end; returns its notices.
    QStringList archive(const QString& zip, const QStringList& contents,
                        const QString& password = QString(), int level = 4,
                        quint64 encoding = 4);
    // Runs an unarchiver to its end; returns its notices.
    QStringList extract(const QString& zip, const QString& destination,
                        const QString& password = QString(), quint64 encoding = 4);

    QTemporaryDir m_dir;
};

// Runs tests/zip/peer.py; exit code, stdout.
int peer(const QStringList& arguments, QByteArray* out = nullptr);
// One JSON object per entry of the archive, as Python reads it.
QList<QJsonObject> inspect(const QString& zip);
// Sets a file's modification time (links not followed).
bool setModified(const QString& path, const QDateTime& when);
QDateTime modified(const QString& path);
