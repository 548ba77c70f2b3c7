// Archives the engine writes, judged by real readers.
#include "zip/ZipTestSupport.h"

#include "support/TestEnvironment.h"
#include "zip/ZipArchive.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QRandomGenerator>

#include <csignal>
#include <sys/resource.h>
#include <unistd.h>
#include <zlib.h>

using TestEnvironment::listTree;
using TestEnvironment::readFile;
using TestEnvironment::run;

namespace {

QByteArray randomBytes(int size, quint32 seed)
{
    QRandomGenerator generator(seed);
    QByteArray bytes(size, Qt::Uninitialized);
    generator.fillRange(reinterpret_cast<quint32*>(bytes.data()), size / 4);
    return bytes;
}

QList<int> dateTime(const QJsonObject& entry)
{
    QList<int> fields;
    for (const QJsonValue& value : entry.value(QStringLiteral("date_time")).toArray()) {
        fields << value.toInt();
    }
    return fields;
}

int field(const QJsonObject& entry, const char* name)
{
    return entry.value(QLatin1String(name)).toInt();
}

} // namespace

// --- every reader accepts what is written; encrypted archives only with the password

struct PeerCase {
    const char* name;
    int level;
    const char* password;
};

class WrittenArchive : public ZipTest, public ::testing::WithParamInterface<PeerCase>
{
};

TEST_P(WrittenArchive, PassesEveryPeerTest)
{
    const PeerCase& param = GetParam();
    const QString top = folder(QStringLiteral("src/top/"));
    const QStringList contents {
        top, folder(QStringLiteral("src/top/sub/")),
        file(QStringLiteral("src/top/sub/text.txt"), QByteArray("lorem ipsum ").repeated(5000)),
        file(QStringLiteral("src/top/random.bin"), randomBytes(70000, 7)),
        file(QStringLiteral("src/top/empty.txt"), QByteArray()),
    };
    const QString zip = path(QStringLiteral("out.zip"));
    const QString password = QString::fromLatin1(param.password);
    archive(zip, contents, password, param.level, 4);

    const QStringList unzipPassword =
        password.isEmpty() ? QStringList() : QStringList { QStringLiteral("-P"), password };
    EXPECT_EQ(run(QStringLiteral("unzip"), QStringList { QStringLiteral("-t") } + unzipPassword
                                               + QStringList { zip })
                  .exitCode,
              0);
    EXPECT_EQ(run(QStringLiteral("7z"), { QStringLiteral("t"), QStringLiteral("-p") + password, zip })
                  .exitCode,
              0);
    EXPECT_EQ(peer(QStringList { QStringLiteral("test"), zip }
                   + (password.isEmpty() ? QStringList() : QStringList { password })),
              0);
    if (!password.isEmpty()) {
        const QString wrong = password + QStringLiteral("x");
        EXPECT_NE(run(QStringLiteral("unzip"), { QStringLiteral("-t"), QStringLiteral("-P"), wrong, zip })
                      .exitCode,
                  0);
        EXPECT_NE(run(QStringLiteral("7z"), { QStringLiteral("t"), QStringLiteral("-p") + wrong, zip })
                      .exitCode,
                  0);
        EXPECT_NE(peer({ QStringLiteral("test"), zip, wrong }), 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Table, WrittenArchive,
                         ::testing::Values(PeerCase { "Stored", 0, "" },
                                           PeerCase { "Fastest", 1, "" },
                                           PeerCase { "Default", 4, "" },
                                           PeerCase { "Best", 9, "" },
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
    static const int levelBits[10] = { 0, 6, 4, 0, 0, 0, 0, 0, 2, 2 };
    const QString zip = path(QStringLiteral("out.zip"));
    archive(zip, { file(QStringLiteral("日本語.txt"), "text") }, QString(), level, 4);
    const QList<QJsonObject> entries = inspect(zip);
    ASSERT_EQ(entries.size(), 1);
    const int flag = field(entries[0], "flag");
    EXPECT_EQ(flag & 6, levelBits[level]);
    EXPECT_EQ(flag & 0x8, 0) << "data descriptor";
    EXPECT_EQ(flag & 0x800, 0) << "UTF-8 flag";
    EXPECT_EQ(field(entries[0], "method"), 8);

    const QString info = QString::fromUtf8(run(QStringLiteral("zipinfo"), { QStringLiteral("-v"), zip }).out)
                             .simplified();
    EXPECT_TRUE(info.contains(QStringLiteral("version of encoding software: 0.0"))) << info.toStdString();
    EXPECT_TRUE(info.contains(QStringLiteral("minimum software version required to extract: 2.0")));
    EXPECT_TRUE(info.contains(QStringLiteral("extended local header: no")));
}

INSTANTIATE_TEST_SUITE_P(Level, HeaderFields, ::testing::Range(0, 10));

using ZipWriter = ZipTest;

TEST_F(ZipWriter, EncryptedEntriesCarryBitZeroFoldersIncluded)
{
    const QString zip = path(QStringLiteral("out.zip"));
    archive(zip, { folder(QStringLiteral("d/")), file(QStringLiteral("d/f.txt"), "x") },
            QStringLiteral("pw"), 5, 4);
    for (const QJsonObject& entry : inspect(zip)) {
        EXPECT_EQ(field(entry, "flag") & 1, 1);
    }
}

TEST_F(ZipWriter, FolderEntryIsEmptyDeflatedWithTheFoldersTime)
{
    const QString docs = folder(QStringLiteral("A/Docs/"));
    const QDateTime when(QDate(2021, 3, 4), QTime(5, 6, 8));
    ASSERT_TRUE(setModified(docs, when));
    ZipArchive zip;
    ASSERT_TRUE(zip.CreateZipFile2(path(QStringLiteral("out.zip"))));
    ASSERT_TRUE(zip.addFileToZip(docs, QStringLiteral("A/Docs"), 5, nullptr));
    ASSERT_TRUE(zip.CloseZipFile2());
    const QList<QJsonObject> entries = inspect(path(QStringLiteral("out.zip")));
    ASSERT_EQ(entries.size(), 1);
    EXPECT_EQ(entries[0].value(QStringLiteral("name")).toString(), QStringLiteral("412f446f63732f"));
    EXPECT_EQ(field(entries[0], "size"), 0);
    EXPECT_EQ(field(entries[0], "crc"), 0);
    EXPECT_EQ(field(entries[0], "method"), 8);
    EXPECT_EQ(dateTime(entries[0]), (QList<int> { 2021, 3, 4, 5, 6, 8 }));
}

// --- names in the chosen encoding

struct NameCase {
    const char* name;
    quint64 encoding;
    const char* fileName; // UTF-8
    const char* storedHex;
};

class StoredName : public ZipTest, public ::testing::WithParamInterface<NameCase>
{
};

TEST_P(StoredName, RawBytes)
{
    const QString source = file(QString::fromUtf8(GetParam().fileName), "x");
    const QString zip = path(QStringLiteral("out.zip"));
    archive(zip, { source }, QString(), 4, GetParam().encoding);
    const QList<QJsonObject> entries = inspect(zip);
    ASSERT_EQ(entries.size(), 1);
    EXPECT_EQ(entries[0].value(QStringLiteral("name")).toString(),
              QString::fromLatin1(GetParam().storedHex));
    EXPECT_EQ(field(entries[0], "flag") & 0x800, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Table, StoredName,
    ::testing::Values(
        NameCase { "ShiftJisKanji", 8, "日本語.txt", "93fa967b8cea2e747874" },
        NameCase { "ShiftJisHalfwidthKanaComposed", 8, "ｶﾞ.txt", "834b2e747874" },
        NameCase { "ShiftJisCompatibilityFormsNormalised", 8, "～∥①", "7e816131" },
        NameCase { "ShiftJisWithoutFormIsDash", 8, "한.txt", "2d" },
        NameCase { "Utf8KeepsHalfwidthKana", 4, "ｶﾞ", "efbdb6efbe9e" },
        NameCase { "Utf8WithoutFlag", 4, "日本", "e697a5e69cac" }),
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
    const QString source = file(QStringLiteral("t.txt"), "x");
    ASSERT_TRUE(setModified(source, GetParam().modified));
    const QString zip = path(QStringLiteral("out.zip"));
    archive(zip, { source });
    const QList<QJsonObject> entries = inspect(zip);
    ASSERT_EQ(entries.size(), 1);
    EXPECT_EQ(dateTime(entries[0]), GetParam().stored);
}

INSTANTIATE_TEST_SUITE_P(
    Table, StoredTime,
    ::testing::Values(
        TimeCase { "OddSecondRoundsDown", QDateTime(QDate(2019, 7, 1), QTime(13, 45, 31)),
                   { 2019, 7, 1, 13, 45, 30 } },
        TimeCase { "Before1980IsClamped", QDateTime(QDate(1975, 5, 5), QTime(1, 2, 3)),
                   { 1980, 1, 1, 0, 0, 0 } },
        TimeCase { "After2107IsClamped", QDateTime(QDate(2200, 5, 5), QTime(1, 2, 3)),
                   { 2107, 12, 31, 23, 59, 58 } }),
    [](const auto& info) { return std::string(info.param.name); });

// --- files

TEST_F(ZipWriter, EmptyFileGivesOneProgressCallAndCrcZero)
{
    const QString empty = file(QStringLiteral("empty"), QByteArray());
    QList<QList<quint64>> calls;
    ZipArchive zip;
    ASSERT_TRUE(zip.CreateZipFile2(path(QStringLiteral("out.zip"))));
    ASSERT_TRUE(zip.addFileToZip(empty, QStringLiteral("empty"), 5,
                                 [&](const QString& source, quint64 done, quint64 total) {
                                     EXPECT_EQ(source, empty);
                                     calls.append({ done, total });
                                 }));
    ASSERT_TRUE(zip.CloseZipFile2());
    EXPECT_EQ(calls, (QList<QList<quint64>> { { 0, 0 } }));
    EXPECT_EQ(field(inspect(path(QStringLiteral("out.zip")))[0], "crc"), 0);
}

TEST_F(ZipWriter, LinkToFileIsStoredAsItsTargetWithTheTargetsTime)
{
    const QString target = file(QStringLiteral("target.txt"), "contents of the target");
    ASSERT_TRUE(setModified(target, QDateTime(QDate(2018, 2, 3), QTime(4, 5, 6))));
    const QString link = path(QStringLiteral("src/link.txt"));
    QDir().mkpath(path(QStringLiteral("src")));
    ASSERT_EQ(::symlink(QFile::encodeName(target).constData(), QFile::encodeName(link).constData()), 0);
    const QString zip = path(QStringLiteral("out.zip"));
    archive(zip, { link });
    const QList<QJsonObject> entries = inspect(zip);
    ASSERT_EQ(entries.size(), 1);
    EXPECT_EQ(field(entries[0], "size"), 22);
    EXPECT_EQ(dateTime(entries[0]), (QList<int> { 2018, 2, 3, 4, 5, 6 }));
}

TEST_F(ZipWriter, CheckCrcIsZlibsCrcOrAllOnes)
{
    const QByteArray data = randomBytes(100000, 3);
    const uLong expected = crc32(0, reinterpret_cast<const Bytef*>(data.constData()), uInt(data.size()));
    EXPECT_EQ(ZipArchive::checkCRC(file(QStringLiteral("f"), data)), expected);
    EXPECT_EQ(ZipArchive::checkCRC(file(QStringLiteral("e"), QByteArray())), 0UL);
    EXPECT_EQ(ZipArchive::checkCRC(path(QStringLiteral("missing"))), ~0UL);
}

// --- what is at the location is only replaced by a complete archive

TEST_F(ZipWriter, PasswordWithoutAsciiFormIsRefusedAndNothingIsWritten)
{
    const QString old = file(QStringLiteral("out.zip"), "old archive");
    const QString a = file(QStringLiteral("src/a.txt"), "a");
    const QString b = file(QStringLiteral("src/b.txt"), "b");
    const QStringList notices = archive(old, { a, b }, QStringLiteral("パスワード"), 5, 4);
    EXPECT_TRUE(notices.contains(QStringLiteral("error 2 ") + a));
    EXPECT_TRUE(notices.contains(QStringLiteral("error 2 ") + b));
    EXPECT_EQ(notices.last(), QStringLiteral("finished ") + old);
    EXPECT_EQ(readFile(old), QByteArray("old archive"));
    EXPECT_EQ(listTree(m_dir.path()), (QStringList { QStringLiteral("out.zip"), QStringLiteral("src/"),
                                                     QStringLiteral("src/a.txt"),
                                                     QStringLiteral("src/b.txt") }));
}

TEST_F(ZipWriter, OldFileStaysUntilTheNewArchiveIsClosed)
{
    const QString old = file(QStringLiteral("out.zip"), "old archive");
    ZipArchive zip;
    ASSERT_TRUE(zip.CreateZipFile2(old));
    ASSERT_TRUE(zip.addFileToZip(file(QStringLiteral("a.txt"), "a"), QStringLiteral("a.txt"), 5, nullptr));
    EXPECT_EQ(readFile(old), QByteArray("old archive"));
    ASSERT_TRUE(zip.CloseZipFile2());
    EXPECT_EQ(run(QStringLiteral("unzip"), { QStringLiteral("-t"), old }).exitCode, 0);
    EXPECT_EQ(listTree(m_dir.path()), (QStringList { QStringLiteral("a.txt"), QStringLiteral("out.zip") }));
}

TEST_F(ZipWriter, FullDiskKeepsTheOldFileAndLeavesNoTemporary)
{
    const QString old = file(QStringLiteral("out.zip"), "old archive");
    const QString big = file(QStringLiteral("src/big.bin"), randomBytes(1 << 20, 11));
    const QString small = file(QStringLiteral("src/small.txt"), "small");

    // A file size limit makes every write past it fail, as a full disk does.
    struct rlimit saved;
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &saved), 0);
    const auto previous = std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit limited = saved;
    limited.rlim_cur = 256 * 1024;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limited), 0);
    const QStringList notices = archive(old, { big, small });
    ::setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, previous);

    EXPECT_TRUE(notices.contains(QStringLiteral("error 2 ") + big));
    EXPECT_TRUE(notices.contains(QStringLiteral("error 2 ") + old));
    EXPECT_EQ(notices.last(), QStringLiteral("finished ") + old);
    EXPECT_EQ(readFile(old), QByteArray("old archive"));
    EXPECT_EQ(listTree(m_dir.path()),
              (QStringList { QStringLiteral("out.zip"), QStringLiteral("src/"),
                             QStringLiteral("src/big.bin"), QStringLiteral("src/small.txt") }));
}
