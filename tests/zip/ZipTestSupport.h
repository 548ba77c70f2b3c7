#pragma once

#include "zip/RQUnZipArchiver.h"
#include "zip/RQZipArchiver.h"
#include "zip/ZipArchiveDelegate.h"

#include <QDateTime>
#include <QDir>
#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <ostream>

// Notices of one run of either front end as lines ("started 3", "progress 1/3 <name>",
// "error 2 <path>", "error 3 damaged <path>", "finished <path>", "cancelled").
class Recorder : public RQZipArchiverDelegate, public RQUnZipArchiverDelegate
{
public:
    std::function<void(int)> onProgress = [](int) {}; // called before the progress line is added
    std::function<void(quint64)> onFileProgress = [](quint64) {}; // with the bytes done, on the writer
    QStringList fileReports; // "<path> <done> <size>" of the progress within each file

    QStringList lines() const;
    bool waitForEnd(); // for the finished or cancelled notice

    void archiverArchiveStarted(RQZipArchiver*, int total) override { add(QString("started %1").arg(total)); }
    void archiverArchiveProgress(RQZipArchiver*, int p, int t, const QString& n) override { progress(p, t, n); }
    void archiverArchiveFinished(RQZipArchiver*, const QString& path) override { add("finished " + path, true); }
    void archiverArchiveCancelled(RQZipArchiver*) override { add("cancelled", true); }
    void archiverArchiveProgressInFile(RQZipArchiver*, quint64 done, quint64 size, const QString& path) override { fileReports << QString("%1 %2 %3").arg(path).arg(done).arg(size); onFileProgress(done); }
    void archiverArchiveError(RQZipArchiver*, const RQError& e) override { error(e); }
    void unArchiverArchiveStarted(RQUnZipArchiver*, int total) override { add(QString("started %1").arg(total)); }
    void unArchiverArchiveProgress(RQUnZipArchiver*, int p, int t, const QString& n) override { progress(p, t, n); }
    void unArchiverArchiveFinished(RQUnZipArchiver*, const QString& path) override { add("finished " + path, true); }
    void unArchiverArchiveCancelled(RQUnZipArchiver*) override { add("cancelled", true); }
    void unArchiverArchiveError(RQUnZipArchiver*, const RQError& e) override { error(e); }

private:
    void add(const QString& line, bool ends = false);
    void progress(int p, int t, const QString& name) { onProgress(p); add(QString("progress %1/%2 %3").arg(p).arg(t).arg(name)); }
    void error(const RQError& e) { add(QString("error %1 %2%3").arg(e.code()).arg(e.isDamage() ? "damaged " : "", e.localizedRecoverySuggestion())); }

    mutable std::mutex m_mutex;
    std::condition_variable m_ended;
    QStringList m_lines;
    bool m_end = false;
};

struct MessageRecorder : ZipArchiveDelegate {
    QStringList messages;
    void ErrorMessage(const QString& message) override { messages << message; }
};

// A temporary folder per test and whole runs of the front ends (returning their notices).
class ZipTest : public ::testing::Test
{
protected:
    QString path(const QString& relative) const { return m_dir.filePath(relative); }
    QString file(const QString& relative, const QByteArray& bytes); // parents made
    QString folder(const QString& relative) { QDir().mkpath(path(relative)); return path(relative); }
    QStringList files(int count, const QByteArray& bytes); // f1 ... f<count>
    QStringList archive(const QString& zip, const QStringList& contents, const QString& password = {},
                        int level = 4, quint64 encoding = 4);
    QStringList extract(const QString& zip, const QString& destination, const QString& password = {},
                        quint64 encoding = 4);

    QTemporaryDir m_dir;
};

// Fixture of a table of cases; CaseName gives each instance the case's name.
template <typename Case>
class ZipTable : public ZipTest, public ::testing::WithParamInterface<Case>
{
};
struct CaseName {
    template <typename Info> std::string operator()(const Info& info) const { return info.param.name; }
};
template <typename Case, typename = decltype(Case::name)>
std::ostream& operator<<(std::ostream& os, const Case& param) { return os << param.name; }

// tests/zip/peer.py (Python's zipfile): its exit code; stdout into out.
int peer(const QStringList& arguments, QByteArray* out = nullptr);
// One object per entry: name (stored bytes, hex), text (name as UTF-8), cp932 (as Shift-JIS), flag, method, crc,
// made_by, mode (external attributes >> 16), size, date_time ("yyyy-MM-dd hh:mm:ss").
QList<QJsonObject> inspect(const QString& zip);
QStringList entryNames(const QString& zip); // the "text" of every entry
// An archive built byte by byte: see peer.py raw (layout: its keys but "entries").
QString makeRaw(const QString& zip, const QJsonArray& entries, QJsonObject layout = {});
QJsonObject entry(const QString& name, const QString& data = {});
QStringList contentsOf(const QString& root); // listTree, files as "name=<contents as Latin-1>", links as "name->target"
QByteArray linkTarget(const QString& path);  // as stored; null when not a link
bool setModified(const QString& path, const QDateTime& when); // links not followed
QByteArray randomBytes(int size, quint32 seed);
