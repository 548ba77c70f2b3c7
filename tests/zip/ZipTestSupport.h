#pragma once

#include "zip/RQUnZipArchiver.h"
#include "zip/RQZipArchiver.h"
#include "zip/ZipArchiveDelegate.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <ostream>

inline void PrintTo(const QString& text, std::ostream* os) { *os << '"' << text.toStdString() << '"'; }

// Notices of one run as lines ("started 3", "progress 1/3 <name>", "error 2 <path>",
// "finished <path>", "cancelled"); waitForEnd blocks until finished or cancelled.
class NoticeLog
{
public:
    void add(const QString& line, bool ends = false);
    QStringList lines() const;
    QString text() const { return lines().join(QLatin1Char('\n')); }
    bool waitForEnd();

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
    std::function<void(RQZipArchiver*, int)> onProgress; // before the line is logged

    void archiverArchiveStarted(RQZipArchiver*, int total) override;
    void archiverArchiveProgress(RQZipArchiver* a, int progress, int total, const QString& name) override;
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
    void unArchiverArchiveProgress(RQUnZipArchiver* u, int progress, int total, const QString& name) override;
    void unArchiverArchiveFinished(RQUnZipArchiver*, const QString& path) override;
    void unArchiverArchiveCancelled(RQUnZipArchiver*) override;
    void unArchiverArchiveError(RQUnZipArchiver*, const RQError& error) override;
};

class MessageRecorder : public ZipArchiveDelegate
{
public:
    QStringList messages;
    void ErrorMessage(const QString& message) override { messages << message; }
};

// A temporary folder per test and runs of the front ends to their end.
class ZipTest : public ::testing::Test
{
protected:
    QString path(const QString& relative) const { return m_dir.filePath(relative); }
    QString file(const QString& relative, const QByteArray& bytes); // parents made
    QString folder(const QString& relative);
    QStringList archive(const QString& zip, const QStringList& contents, const QString& password = {},
                        int level = 4, quint64 encoding = 4); // the notices
    QStringList extract(const QString& zip, const QString& destination, const QString& password = {},
                        quint64 encoding = 4);

    QTemporaryDir m_dir;
};

// tests/zip/peer.py (Python's zipfile): exit code; stdout into out.
int peer(const QStringList& arguments, QByteArray* out = nullptr);
// One object per entry, raw header fields as Python reads them.
QList<QJsonObject> inspect(const QString& zip);
// Entry names (stored bytes taken as UTF-8).
QStringList entryNames(const QString& zip);
// An archive made by Python from {"name" | "name_hex", "data", "method", "external", ...}.
QString makeArchive(const QString& zip, const QJsonArray& entries);
QJsonObject entry(const QString& name, const QString& data = {});
bool setModified(const QString& path, const QDateTime& when); // links not followed
QDateTime modified(const QString& path);
QByteArray randomBytes(int size, quint32 seed);
