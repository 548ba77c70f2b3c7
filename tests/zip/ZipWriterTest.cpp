// Archives the engine writes, judged by real readers.
#include "zip/ZipTestSupport.h"

#include "support/TestEnvironment.h"
#include "zip/ZipArchive.h"

#include <QFile>
#include <QFileInfo>

#include <csignal>
#include <sys/resource.h>
#include <unistd.h>

using TestEnvironment::listTree;
using TestEnvironment::readFile;
using TestEnvironment::run;

namespace {

QList<int> dateTime(const QJsonObject& entry)
{
    QList<int> fields;
    for (const QJsonValue& value : entry["date_time"].toArray()) {
        fields << value.toInt();
    }
    return fields;
}

} // namespace

// --- every reader accepts what is written; encrypted archives only with the password

struct PeerCase {
    const char* name;
    int level;
    QString password;
};

class WrittenArchive : public ZipTest, public ::testing::WithParamInterface<PeerCase>
{
};

TEST_P(WrittenArchive, PassesEveryPeerTest)
{
    const QString pw = GetParam().password;
    const QString zip = path("out.zip");
    archive(zip,
            { folder("src/top"), folder("src/top/sub"), file("src/top/sub/text", QByteArray("lorem ").repeated(9000)),
              file("src/top/random", randomBytes(70000, 7)), file("src/top/empty", {}) },
            pw, GetParam().level);
    const auto passes = [&](const QString& password) {
        const QStringList unzipPassword = password.isEmpty() ? QStringList() : QStringList { "-P", password };
        return QList<int> { run("unzip", QStringList { "-t" } + unzipPassword + QStringList { zip }).exitCode,
                            run("7z", { "t", "-p" + password, zip }).exitCode,
                            peer(QStringList { "test", zip } + (password.isEmpty() ? QStringList() : QStringList { password })) };
    };
    EXPECT_EQ(passes(pw), QList<int>({ 0, 0, 0 }));
    if (!pw.isEmpty()) {
        EXPECT_FALSE(passes(pw + "x").contains(0));
    }
}

INSTANTIATE_TEST_SUITE_P(Table, WrittenArchive,
                         ::testing::Values(PeerCase { "Stored", 0, {} }, PeerCase { "Fastest", 1, {} },
                                           PeerCase { "Default", 4, {} }, PeerCase { "Best", 9, {} },
                                           PeerCase { "EncryptedFastest", 1, "s3cret" },
                                           PeerCase { "EncryptedBest", 9, "pass word!" }),
                         [](const auto& info) { return std::string(info.param.name); });

// --- header fields: versions, flag bits by level, no descriptor, no UTF-8 flag

class HeaderFields : public ZipTest, public ::testing::WithParamInterface<int>
{
};

TEST_P(HeaderFields, ByLevel)
{
    const int level = GetParam();
    const int levelBits[10] = { 0, 6, 4, 0, 0, 0, 0, 0, 2, 2 };
    archive(path("out.zip"), { file("日本語.txt", "text") }, {}, level);
    const QList<QJsonObject> entries = inspect(path("out.zip"));
    ASSERT_EQ(entries.size(), 1);
    const int flag = entries[0]["flag"].toInt();
    EXPECT_EQ(flag & 6, levelBits[level]);
    EXPECT_EQ(flag & 0x808, 0) << "data descriptor or UTF-8 flag";
    EXPECT_EQ(entries[0]["method"].toInt(), 8);
    const QString info = QString::fromUtf8(run("zipinfo", { "-v", path("out.zip") }).out).simplified();
    for (const char* line : { "version of encoding software: 0.0", "minimum software version required to extract: 2.0",
                              "extended local header: no" }) {
        EXPECT_TRUE(info.contains(QLatin1String(line))) << line;
    }
}

INSTANTIATE_TEST_SUITE_P(Level, HeaderFields, ::testing::Range(0, 10));

using ZipWriter = ZipTest;

TEST_F(ZipWriter, FolderEntryIsEmptyDeflatedWithTheFoldersTime)
{
    const QString docs = folder("A/Docs");
    ASSERT_TRUE(setModified(docs, QDateTime(QDate(2021, 3, 4), QTime(5, 6, 8))));
    ZipArchive zip;
    ASSERT_TRUE(zip.CreateZipFile2(path("out.zip")));
    ASSERT_TRUE(zip.addFileToZip(docs, "A/Docs", 5, nullptr));
    ASSERT_TRUE(zip.CloseZipFile2());
    const QList<QJsonObject> entries = inspect(path("out.zip"));
    ASSERT_EQ(entries.size(), 1);
    EXPECT_EQ(entries[0]["name"].toString(), QString("A/Docs/").toLatin1().toHex());
    EXPECT_EQ(QList<int>({ entries[0]["size"].toInt(), entries[0]["crc"].toInt(), entries[0]["method"].toInt() }),
              QList<int>({ 0, 0, 8 }));
    EXPECT_EQ(dateTime(entries[0]), QList<int>({ 2021, 3, 4, 5, 6, 8 }));
}

// --- names in the chosen encoding

struct NameCase {
    const char* name;
    quint64 encoding;
    QString fileName;
    const char* storedHex;
};

class StoredName : public ZipTest, public ::testing::WithParamInterface<NameCase>
{
};

TEST_P(StoredName, RawBytes)
{
    archive(path("out.zip"), { file(GetParam().fileName, "x") }, {}, 4, GetParam().encoding);
    const QList<QJsonObject> entries = inspect(path("out.zip"));
    ASSERT_EQ(entries.size(), 1);
    EXPECT_EQ(entries[0]["name"].toString(), GetParam().storedHex);
    EXPECT_EQ(entries[0]["flag"].toInt() & 0x800, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Table, StoredName,
    ::testing::Values(NameCase { "ShiftJisKanji", 8, "日本語.txt", "93fa967b8cea2e747874" },
                      NameCase { "ShiftJisHalfwidthKanaComposed", 8, "ｶﾞ", "834b" },
                      NameCase { "ShiftJisCompatibilityFormsNormalised", 8, "～∥①", "7e816131" },
                      NameCase { "ShiftJisWithoutFormIsDash", 8, "한.txt", "2d" },
                      NameCase { "Utf8KeepsHalfwidthKana", 4, "ｶﾞ", "efbdb6efbe9e" }),
    [](const auto& info) { return std::string(info.param.name); });

// --- times: local fields, two-second resolution, clamped into 1980..2107

struct TimeCase {
    const char* name;
    QDateTime modified;
    QList<int> stored;
};

class StoredTime : public ZipTest, public ::testing::WithParamInterface<TimeCase>
{
};

TEST_P(StoredTime, DateTimeFields)
{
    const QString source = file("t.txt", "x");
    ASSERT_TRUE(setModified(source, GetParam().modified));
    archive(path("out.zip"), { source });
    EXPECT_EQ(dateTime(inspect(path("out.zip")).value(0)), GetParam().stored);
}

INSTANTIATE_TEST_SUITE_P(
    Table, StoredTime,
    ::testing::Values(TimeCase { "OddSecondRoundsDown", { { 2019, 7, 1 }, { 13, 45, 31 } }, { 2019, 7, 1, 13, 45, 30 } },
                      TimeCase { "Before1980IsClamped", { { 1975, 5, 5 }, { 1, 2, 3 } }, { 1980, 1, 1, 0, 0, 0 } },
                      TimeCase { "After2107IsClamped", { { 2200, 5, 5 }, { 1, 2, 3 } }, { 2107, 12, 31, 23, 59, 58 } }),
    [](const auto& info) { return std::string(info.param.name); });

// --- files

TEST_F(ZipWriter, EmptyFileGivesOneProgressCallAndCrcZero)
{
    const QString empty = file("empty", {});
    QStringList calls;
    ZipArchive zip;
    ASSERT_TRUE(zip.CreateZipFile2(path("out.zip")));
    ASSERT_TRUE(zip.addFileToZip(empty, "empty", 5, [&](const QString& source, quint64 done, quint64 total) {
        calls << QString("%1 %2 %3").arg(source).arg(done).arg(total);
    }));
    ASSERT_TRUE(zip.CloseZipFile2());
    EXPECT_EQ(calls, QStringList { empty + " 0 0" });
    EXPECT_EQ(inspect(path("out.zip")).value(0)["crc"].toInt(), 0);
}

TEST_F(ZipWriter, LinkToFileIsStoredAsItsTargetWithTheTargetsTime)
{
    const QString target = file("target.txt", "contents of the target");
    ASSERT_TRUE(setModified(target, QDateTime(QDate(2018, 2, 3), QTime(4, 5, 6))));
    const QString link = folder("src") + "/link.txt";
    ASSERT_EQ(::symlink(QFile::encodeName(target).constData(), QFile::encodeName(link).constData()), 0);
    archive(path("out.zip"), { link });
    const QJsonObject stored = inspect(path("out.zip")).value(0);
    EXPECT_EQ(stored["size"].toInt(), 22);
    EXPECT_EQ(dateTime(stored), QList<int>({ 2018, 2, 3, 4, 5, 6 }));
}

// --- what is at the location is only ever replaced by a complete archive

TEST_F(ZipWriter, PasswordWithoutAsciiFormIsRefusedAndNothingIsWritten)
{
    const QString old = file("out.zip", "old archive");
    const QString a = file("src/a", "a"), b = file("src/b", "b");
    EXPECT_EQ(archive(old, { a, b }, "パスワード", 5),
              QStringList({ "started 2", "progress 1/2 " + a, "error 2 " + a, "progress 2/2 " + b, "error 2 " + b,
                            "finished " + old }));
    EXPECT_EQ(readFile(old), "old archive");
    EXPECT_EQ(listTree(m_dir.path()), QStringList({ "out.zip", "src/", "src/a", "src/b" }));
}

TEST_F(ZipWriter, OldFileStaysUntilTheNewArchiveIsClosedAndLinksAreWrittenThrough)
{
    const QString old = file("out.zip", "old archive");
    ASSERT_EQ(::symlink("out.zip", QFile::encodeName(path("link.zip")).constData()), 0);
    ZipArchive zip;
    ASSERT_TRUE(zip.CreateZipFile2(path("link.zip")));
    ASSERT_TRUE(zip.addFileToZip(file("a.txt", "a"), "a.txt", 5, nullptr));
    EXPECT_EQ(readFile(old), "old archive");
    ASSERT_TRUE(zip.CloseZipFile2());
    EXPECT_EQ(run("unzip", { "-t", old }).exitCode, 0);
    EXPECT_EQ(listTree(m_dir.path()), QStringList({ "a.txt", "link.zip", "out.zip" }));
    EXPECT_TRUE(QFileInfo(path("link.zip")).isSymLink());
}

TEST_F(ZipWriter, FullDiskKeepsTheOldFileAndLeavesNoTemporary)
{
    const QString old = file("out.zip", "old archive");
    const QString big = file("src/big", randomBytes(1 << 20, 11)), small = file("src/small", "small");
    // A file size limit makes every write past it fail, as a full disk does.
    struct rlimit saved, limited;
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &saved), 0);
    limited = saved;
    limited.rlim_cur = 256 * 1024;
    const auto previous = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limited), 0);
    const QStringList notices = archive(old, { big, small });
    ::setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, previous);

    EXPECT_TRUE(notices.contains("error 2 " + big));
    EXPECT_EQ(notices.mid(notices.size() - 2), QStringList({ "error 2 " + old, "finished " + old }));
    EXPECT_EQ(readFile(old), "old archive");
    EXPECT_EQ(listTree(m_dir.path()), QStringList({ "out.zip", "src/", "src/big", "src/small" }));
}
