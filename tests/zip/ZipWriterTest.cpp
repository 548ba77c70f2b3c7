// Archives the engine writes, judged by real readers.
#include "zip/ZipTestSupport.h"

#include "support/TestEnvironment.h"
#include "zip/RQDeflateQueue.h"
#include "zip/ZipArchive.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <unistd.h>
#include <zlib.h>

using TestEnvironment::listTree;
using TestEnvironment::readFile;
using TestEnvironment::run;

// --- every reader accepts what is written (encrypted: only with the password); made by Unix 3.0, needed 2.0,
// flag bits by level, no bit 3 or 11. Files deflated ahead of the writer, in chunks joined into one stream, give
// the header bytes and progress reports of the adapter deflating them itself (the data may differ).

struct PeerCase {
    const char* name;
    int level;
    QString password;
};

using WrittenArchive = ZipTable<PeerCase>;

TEST_P(WrittenArchive, PassesEveryPeerWithTheHeaderFieldsOfItsLevel)
{
    const auto [name, level, pw] = GetParam();
    const int chunk = int(RQDeflateQueue::kChunkSize);
    QByteArray textThenControl = QByteArray("lorem ").repeated(chunk / 4);
    textThenControl += '\x01';
    const QList<QPair<QString, QByteArray>> files {
        { "top/sub/日本語", QByteArray("lorem ").repeated(9000) },
        { "top/random", randomBytes(70000, 7) },
        { "top/empty", {} },
        { "top/chunks", randomBytes(chunk * 2, 8) }, // a chunk boundary on the file's end
        { "top/one chunk", randomBytes(chunk, 9) },
        { "top/text", randomBytes(chunk * 2, 10).toBase64() },
        // the judgment of text falls after the first chunk
        { "top/text then control", textThenControl },
    };
    QStringList contents { folder("src/top"), folder("src/top/sub") };
    for (const auto& [relative, bytes] : files) {
        contents << file("src/" + relative, bytes);
    }
    ASSERT_TRUE(setModified(contents[0], QDateTime(QDate(2021, 3, 4), QTime(5, 6, 8)))); // after its files are made
    const QString zip = path("out.zip"), sequential = path("sequential.zip");

    Recorder recorder;
    RQZipArchiver archiver;
    archiver.setDelegate(&recorder);
    archiver.archive(zip, contents, pw, level, 4);
    ASSERT_TRUE(recorder.waitForEnd());
    ASSERT_EQ(recorder.lines().size(), contents.size() + 2) << recorder.lines().join('\n').toStdString();

    QStringList reports;
    ZipArchive itself;
    ASSERT_TRUE(pw.isEmpty() ? itself.CreateZipFile2(sequential) : itself.CreateZipFile2(sequential, pw));
    for (const QString& item : contents) {
        ASSERT_TRUE(itself.addFileToZip(item, item.mid(path("src/").size()), level, [&](const QString& p, quint64 done, quint64 size) {
            reports << QString("%1 %2 %3").arg(p).arg(done).arg(size);
        }));
    }
    ASSERT_TRUE(itself.CloseZipFile2());
    QByteArray headers, sequentialHeaders;
    ASSERT_EQ(peer({ "headers", zip }, &headers), 0);
    ASSERT_EQ(peer({ "headers", sequential }, &sequentialHeaders), 0);
    EXPECT_EQ(headers, sequentialHeaders);
    EXPECT_EQ(recorder.fileReports, reports);
    // One zero-length read for the empty file, none for a folder.
    EXPECT_EQ(reports.filter(QRegularExpression("/(top|sub|empty) ")), QStringList { path("src/top/empty") + " 0 0" });

    const auto passes = [&](const QString& password) {
        return QList<int> { run("unzip", { "-t", "-P", password, zip }).exitCode, run("7z", { "t", "-p" + password, zip }).exitCode,
                            peer({ "test", zip, password }), ZipArchive::testArchive(zip, password) ? 0 : 1 };
    };
    EXPECT_EQ(passes(pw), QList<int>({ 0, 0, 0, 0 }));
    EXPECT_TRUE(pw.isEmpty() || !passes(pw + "x").contains(0));
    // The archive is read back after it is written, and its file CRC kept.
    QByteArray bytes = readFile(zip);
    EXPECT_EQ(archiver.verifyCrc(), QStringLiteral("%1").arg(crc32(0, reinterpret_cast<const Bytef*>(bytes.constData()), bytes.size()), 8, 16, QLatin1Char('0')).toUpper());

    const int levelBits[10] = { 0, 6, 4, 0, 0, 0, 0, 0, 2, 2 };
    const QList<QJsonObject> entries = inspect(zip);
    ASSERT_EQ(entries.size(), contents.size());
    for (const QJsonObject& entry : entries) {
        EXPECT_EQ(entry["flag"].toInt(), levelBits[level] | (pw.isEmpty() ? 0 : 1)) << "no data descriptor, no UTF-8 flag";
        EXPECT_EQ(entry["method"].toInt(), 8);
    }
    const QJsonObject& top = entries[0];
    EXPECT_EQ(QString("%1 %2 %3 ").arg(top["text"].toString()).arg(top["size"].toInt()).arg(top["crc"].toInt()) + top["date_time"].toString(),
              "top/ 0 0 2021-03-04 05:06:08");
    const QString info = QString::fromUtf8(run("zipinfo", { "-v", zip }).out).simplified();
    for (const char* line : { "file system or operating system of origin: Unix", "version of encoding software: 3.0",
                              "minimum software version required to extract: 2.0", "extended local header: no",
                              "The central-directory extra field contains: - A subfield with ID 0x5455 (universal time) and 5 data bytes." }) {
        EXPECT_EQ(info.count(QLatin1String(line)), contents.size()) << line;
    }
    bytes[bytes.indexOf("top/random") + 10 + 12 + 100] ^= 1; // inside its data, past an encryption header
    ASSERT_TRUE(TestEnvironment::writeFile(zip, bytes));
    EXPECT_FALSE(ZipArchive::testArchive(zip, pw));
}

INSTANTIATE_TEST_SUITE_P(
    Table, WrittenArchive,
    ::testing::Values(PeerCase { "Level0", 0, {} }, PeerCase { "Level1", 1, {} }, PeerCase { "Level2", 2, {} },
                      PeerCase { "Level4", 4, {} }, PeerCase { "Level8", 8, {} }, PeerCase { "Level9", 9, {} },
                      PeerCase { "EncryptedLevel1", 1, "s3cret" }, PeerCase { "EncryptedLevel9", 9, "pass word!" }),
    CaseName());

using ZipWriter = ZipTest;

// --- one entry: its name in the chosen encoding (no UTF-8 flag; "_" for what Shift-JIS lacks) and its time (local
// fields, two-second resolution, clamped into 1980..2107; links followed)

struct EntryCase {
    const char* name;
    QString fileName = "t.txt";
    const char* storedHex = "742e747874"; // t.txt
    quint64 encoding = 8;
    QString cp932 = {}; // the name as Python's cp932 codec reads it; empty: not checked
    QDateTime modified = { { 2020, 1, 2 }, { 3, 4, 6 } };
    QString stored = "2020-01-02 03:04:06";
    bool throughLink = false;
};

using StoredEntry = ZipTable<EntryCase>;

TEST_P(StoredEntry, NameBytesTimeAndSize)
{
    const EntryCase& param = GetParam();
    QString item = file(param.fileName, "contents");
    ASSERT_TRUE(setModified(item, param.modified));
    if (param.throughLink) { // relative, as links mostly are: taken from the link's folder
        ASSERT_EQ(::chmod(QFile::encodeName(item).constData(), 0750), 0);
        ASSERT_EQ(::symlink(QFile::encodeName(param.fileName).constData(), QFile::encodeName(path("link")).constData()), 0);
        item = path("link");
    }
    archive(path("out.zip"), { item }, {}, 4, param.encoding);
    const QList<QJsonObject> entries = inspect(path("out.zip"));
    ASSERT_EQ(entries.size(), 1);
    EXPECT_EQ(entries[0]["name"].toString(), param.storedHex);
    EXPECT_TRUE(param.cp932.isEmpty() || entries[0]["cp932"].toString() == param.cp932);
    EXPECT_EQ(entries[0]["flag"].toInt() & 0x800, 0);
    EXPECT_EQ(entries[0]["date_time"].toString(), param.stored);
    EXPECT_EQ(entries[0]["size"].toInt(), 8);
    EXPECT_TRUE(!param.throughLink || entries[0]["mode"].toInt() == 0100750) << "the target's mode";
}

INSTANTIATE_TEST_SUITE_P(
    Table, StoredEntry,
    ::testing::Values(EntryCase { .name = "ShiftJisKanji", .fileName = "日本語.txt", .storedHex = "93fa967b8cea2e747874" },
                      EntryCase { .name = "ShiftJisHalfwidthKanaComposed", .fileName = "ｶﾞ", .storedHex = "834b" },
                      EntryCase { .name = "ShiftJisCompatibilityFormsNormalised", .fileName = "～∥①", .storedHex = "7e816131" },
                      EntryCase { .name = "ShiftJisWithoutFormIsUnderscore", .fileName = "한.txt", .storedHex = "5f2e747874" },
                      // What input methods type and NFKC makes (of ￢ ￠ ￡ ￤) takes the forms Windows shows.
                      EntryCase { .name = "ShiftJisWindowsForms", .fileName = "〜−￢‖—¢£¦", .storedHex = "8160817c81ca8161815c81918192fa55",
                                  .cp932 = "～－￢∥―￠￡￤" },
                      EntryCase { .name = "Utf8KeepsHalfwidthKana", .fileName = "ｶﾞ", .storedHex = "efbdb6efbe9e", .encoding = 4 },
                      EntryCase { .name = "OddSecondRoundsDown", .modified = { { 2019, 7, 1 }, { 13, 45, 31 } }, .stored = "2019-07-01 13:45:30" },
                      EntryCase { .name = "Before1980IsClamped", .modified = { { 1975, 5, 5 }, { 1, 2, 3 } }, .stored = "1980-01-01 00:00:00" },
                      EntryCase { .name = "After2107IsClamped", .modified = { { 2200, 5, 5 }, { 1, 2, 3 } }, .stored = "2107-12-31 23:59:58" },
                      EntryCase { .name = "LinkStoresItsTargetWithItsTimeAndMode", .storedHex = "6c696e6b", .throughLink = true }),
    CaseName());

// --- what is at the location is only ever replaced by a complete archive

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
