// Archives of other tools, damaged archives and hostile names, read by the engine.
#include "zip/ZipTestSupport.h"

#include "support/TestEnvironment.h"
#include "zip/ZipArchive.h"
#include "zip/ZipPieceRelay.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QScopeGuard>

#include <algorithm>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

using TestEnvironment::listTree;
using TestEnvironment::readFile;
using TestEnvironment::run;

// --- archives of other tools read back: names, folders, times, contents

struct PeerArchiveCase {
    const char* name;
    QString program; // empty: peer.py
    QStringList arguments; // $ZIP, $TOP replaced
    QString password;
    quint64 encoding = 4;
};

using PeerArchive = ZipTable<PeerArchiveCase>;

// Every file and folder extracted byte-exact with its time, and no error.
TEST_P(PeerArchive, ReadsBackEqual)
{
    const PeerArchiveCase& param = GetParam();
    folder("src/top/empty folder");
    // データ and ソフト in UTF-8 are valid Shift-JIS too (繧ｽ繝輔ヨ); 日本語 is not.
    const QStringList files { file("src/top/sub/text.txt", QByteArray("some text\n").repeated(3000)),
                              file("src/top/日本語.txt", "japanese name"), file("src/top/empty.bin", {}),
                              file("src/top/データ/ソフト.txt", "kana") };
    for (int i = 0; i < files.size(); ++i) {
        ASSERT_TRUE(setModified(files[i], QDateTime(QDate(2022, 8, 9), QTime(10, 11, 12)).addSecs(3602 * i)));
    }
    const QStringList arguments = QStringList(param.arguments).replaceInStrings("$ZIP", path("peer.zip")).replaceInStrings("$TOP", path("src/top"));
    ASSERT_EQ(param.program.isEmpty() ? peer(arguments) : run(param.program, arguments, path("src")).exitCode, 0);

    const QStringList notices = extract(path("peer.zip"), path("dest"), param.password, param.encoding);
    EXPECT_FALSE(notices.join('\n').contains("error")) << notices.join('\n').toStdString();
    EXPECT_EQ(contentsOf(path("dest")), contentsOf(path("src")));
    for (const QString& source : files) {
        const QString copy = QString(source).replace("/src/", "/dest/");
        EXPECT_EQ(QFileInfo(copy).lastModified(), QFileInfo(source).lastModified()) << copy.toStdString();
    }
    // A folder entry that comes first is not encrypted in the archives of zip.
    EXPECT_EQ(RQUnZipArchiver().isCrypted(path("peer.zip")), !param.password.isEmpty());
}

// 7-Zip writes AE-2 (no CRC) whatever the size; bsdtar AE-1 from 20 bytes, AE-2 below.
INSTANTIATE_TEST_SUITE_P(
    Table, PeerArchive,
    ::testing::Values(PeerArchiveCase { "InfoZip", "zip", { "-q", "-r", "$ZIP", "top" }, {} },
                      PeerArchiveCase { "InfoZipEncrypted", "zip", { "-q", "-r", "-P", "pw", "$ZIP", "top" }, "pw" },
                      // UTF-8 names without the flag, under a Shift-JIS profile: every name read as UTF-8.
                      PeerArchiveCase { "InfoZipUtf8WithoutFlagUnderShiftJis", "zip", { "-q", "-r", "$ZIP", "top" }, {}, 8 },
                      PeerArchiveCase { "SevenZip", "7z", { "a", "-tzip", "$ZIP", "top" }, {} },
                      PeerArchiveCase { "SevenZipEncrypted", "7z", { "a", "-tzip", "-ppw", "$ZIP", "top" }, "pw" },
                      PeerArchiveCase { "SevenZipAes128Deflate", "7z", { "a", "-tzip", "-mem=AES128", "-ppw", "$ZIP", "top" }, "pw" },
                      PeerArchiveCase { "SevenZipAes192Lzma", "7z", { "a", "-tzip", "-mem=AES192", "-mm=LZMA", "-ppw", "$ZIP", "top" }, "pw" },
                      PeerArchiveCase { "SevenZipAes256Stored", "7z", { "a", "-tzip", "-mem=AES256", "-mm=Copy", "-ppw", "$ZIP", "top" }, "pw" },
                      // The password's UTF-8 bytes; 7-Zip takes only ASCII.
                      PeerArchiveCase { "BsdtarAes256Ae1AndAe2", "bsdtar", { "--format", "zip", "--options", "zip:encryption=aes256", "--passphrase", "パスワード", "-cf", "$ZIP", "top" }, "パスワード" },
                      PeerArchiveCase { "Bsdtar", "bsdtar", { "--format", "zip", "-cf", "$ZIP", "top" }, {} },
                      PeerArchiveCase { "Python", "python3", { "-m", "zipfile", "-c", "$ZIP", "top" }, {} },
                      PeerArchiveCase { "PythonForcedZip64", {}, { "zip64-tree", "$ZIP", "$TOP" }, {} },
                      // Names decomposed as macOS writes them are written to disk composed (NFC).
                      PeerArchiveCase { "PythonMacStyleDecomposedNames", {}, { "nfd-tree", "$ZIP", "$TOP" }, {}, 8 }), CaseName());

// --- Unix metadata as Info-ZIP keeps it: modes (through the umask), times and links come back from every Unix maker;
// our own archives follow links, storing what they point to with its mode and time

struct MakerCase {
    const char* name;
    QString program; // empty: ours; "peer": peer.py
    QStringList arguments; // run in src/; $ZIP replaced
    bool keepsLinks;
};

using UnixMetadata = ZipTable<MakerCase>;

TEST_P(UnixMetadata, ModesTimesAndLinksComeBack)
{
    const MakerCase& param = GetParam();
    const mode_t mask = ::umask(022);
    const auto restore = qScopeGuard([mask] { ::umask(mask); });
    const QDateTime t0(QDate(2021, 3, 4), QTime(5, 6, 8));
    const QString outside = file("outside.txt", "secret"), script = file("src/top/run.sh", "#!/bin/sh\n");
    const QString data = file("src/top/private/data", "d");
    QStringList items { path("src/top"), script, path("src/top/link"), path("src/top/out"), path("src/top/private"), data,
                        path("src/top/private/up") };
    using Link = std::pair<const char*, const char*>;
    for (const auto& [from, to] : { Link { "link", "run.sh" }, Link { "out", "../../outside.txt" }, Link { "private/up", "../run.sh" } }) {
        ASSERT_EQ(::symlink(to, QFile::encodeName(path("src/top/") + from).constData()), 0);
    }
    int hour = 0;
    using Mode = std::pair<QString, int>; // 0: a link, whose mode is not its own
    for (const auto& [item, mode] : { Mode { outside, 0600 }, Mode { script, 0755 }, Mode { data, 0640 }, Mode { items[2], 0 },
                                      Mode { items[6], 0 }, Mode { items[4], 0700 }, Mode { items[0], 0755 } }) {
        ASSERT_TRUE((mode == 0 || ::chmod(QFile::encodeName(item).constData(), mode_t(mode)) == 0) && setModified(item, t0.addSecs(3600 * ++hour)));
    }
    const QString zip = path("made.zip");
    if (param.program.isEmpty()) {
        archive(zip, items);
    } else {
        const QStringList arguments = QStringList(param.arguments).replaceInStrings("$ZIP", zip).replaceInStrings("$SRC", path("src"));
        ASSERT_EQ(param.program == "peer" ? peer(arguments) : run(param.program, arguments, path("src")).exitCode, 0);
    }

    const QStringList notices = extract(zip, path("dest"));
    EXPECT_EQ(notices.filter("error"), param.keepsLinks ? QStringList { "error 6 top/out" } : QStringList {});
    QStringList found;
    for (const QString& item : listTree(path("dest"))) {
        struct stat st;
        ASSERT_EQ(::lstat(QFile::encodeName(path("dest/") + item).constData(), &st), 0);
        found << QString("%1 %2 %3").arg(item).arg(S_ISLNK(st.st_mode) ? "->" + linkTarget(path("dest/") + item) : QString::number(st.st_mode & 07777, 8))
                     .arg(QDateTime::fromSecsSinceEpoch(st.st_mtim.tv_sec).secsTo(t0) / -3600);
    }
    // Hours after t0: outside 1, run.sh 2, data 3, link 4, up 5, private/ 6, top/ 7.
    const QStringList links { "top/ 755 7", "top/link ->run.sh 4", "top/private/ 700 6", "top/private/data 640 3",
                              "top/private/up ->../run.sh 5", "top/run.sh 755 2" };
    const QStringList followed { "top/ 755 7", "top/link 755 2", "top/out 600 1", "top/private/ 700 6",
                                 "top/private/data 640 3", "top/private/up 755 2", "top/run.sh 755 2" };
    EXPECT_EQ(found, param.keepsLinks ? links : followed);
    if (param.program.isEmpty()) { // as Info-ZIP reads ours
        EXPECT_TRUE(QString::fromUtf8(run("zipinfo", { zip, "top/run.sh" }).out).startsWith("-rwxr-xr-x  3.0 unx"));
        ASSERT_EQ(run("unzip", { "-q", zip, "-d", path("unzipped") }).exitCode, 0);
        struct stat st;
        ASSERT_EQ(::stat(QFile::encodeName(path("unzipped/top/run.sh")).constData(), &st), 0);
        EXPECT_EQ(QString("%1 %2").arg(st.st_mode & 07777, 0, 8).arg(st.st_mtim.tv_sec), QString("755 %1").arg(t0.addSecs(7200).toSecsSinceEpoch()));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, UnixMetadata,
    ::testing::Values(MakerCase { "Ours", {}, {}, false }, MakerCase { "InfoZipKeepingLinks", "zip", { "-q", "-r", "-y", "$ZIP", "top" }, true },
                      MakerCase { "SevenZipKeepingLinks", "7z", { "a", "-tzip", "-snl", "-bd", "$ZIP", "top" }, true },
                      MakerCase { "PythonExternalAttributes", "peer", { "unix-tree", "$ZIP", "$SRC/top" }, true }),
    CaseName());

// --- the reading adapter: list, then extract every listed name; nothing lands outside

using ZipReader = ZipTest;

struct ReadCase {
    const char* name;
    QJsonArray entries; // peer.py raw; $OUT: a folder outside the destination
    quint64 encoding;
    QStringList listed;
    QStringList tree;   // the destination afterwards: "folder/", "file=contents"
    QStringList log;    // failure texts, and "no <name>" for each extraction answered no
    QJsonObject layout = {};
    QString password = {};
};

using ReadingAdapter = ZipTable<ReadCase>;

namespace {
QJsonObject linkEntry(const QString& name, const QString& target) { return { { "name", name }, { "data", target }, { "external", qint64(0120777) << 16 } }; }
} // namespace

TEST_P(ReadingAdapter, ListAndExtractEveryName)
{
    const ReadCase& param = GetParam();
    const QString outside = folder("outside");
    const auto expand = [&](QStringList list) { return list.replaceInStrings("$OUT", outside); };
    const QByteArray entries = QJsonDocument(param.entries).toJson().replace("$OUT", outside.toUtf8());
    makeRaw(path("a.zip"), QJsonDocument::fromJson(entries).array(), param.layout);
    MessageRecorder log;
    ZipArchive reader;
    reader.setDelegate(&log);
    ASSERT_TRUE(reader.UnzipOpenFile(path("a.zip"), param.password));
    const QStringList listed = reader.getZipFileContents64(param.encoding).value_or(QStringList { "<fails>" });
    EXPECT_EQ(listed, expand(param.listed));
    for (qsizetype i = 0; i < listed.size(); ++i) {
        if (!reader.UnzipFileTo64(path("dest"), i, true, param.encoding)) {
            log.messages << "no " + listed[i];
        }
        if (reader.lastNameOutcome().numbered) {
            log.messages << "numbered " + listed[i];
        }
    }
    reader.UnzipCloseFile();
    EXPECT_EQ(log.messages, expand(param.log));
    EXPECT_EQ(contentsOf(path("dest")), expand(param.tree));
    EXPECT_EQ(listTree(m_dir.path()).filter(QRegularExpression("^(?!dest/)")), QStringList({ "a.zip", "outside/" }));
    // Every file written is listed as unzipped, a damaged one included.
    QStringList unzipped = reader.unzippedFiles();
    unzipped.removeDuplicates();
    unzipped.sort();
    EXPECT_EQ(unzipped.replaceInStrings(path("dest/"), ""), listTree(path("dest")).filter(QRegularExpression("[^/]$")));
}

namespace {
const char* const kOutside = "Entry name leads outside the destination folder";
const char* const kOverlap = "Entry overlaps another entry";
const char* const kDamaged = "Failed to read zip file";
const char* const kLeaves = "Link target leads outside the destination folder";
using E = QJsonObject;
} // namespace

INSTANTIATE_TEST_SUITE_P(
    Table, ReadingAdapter,
    ::testing::Values(
        ReadCase { "NamesDifferingInCaseAreBothExtracted", { entry("Read.txt", "first"), entry("read.txt", "second") }, 4,
                   { "Read.txt", "read.txt" }, { "Read.txt=first", "read.txt=second" }, {} },
        // Every record is listed; one that cannot be read fails alone, and nothing is written for it.
        ReadCase { "UnsupportedMethodFailsOnlyItsEntry", { entry("a.txt", "a"), E { { "name", "b.txt" }, { "data", "b" }, { "method", 98 } }, entry("c.txt", "c") },
                   4, { "a.txt", "b.txt", "c.txt" }, { "a.txt=a", "c.txt=c" }, { "Unsupported compression method 98", "no b.txt" } },
        ReadCase { "CentralRecordSharingALocalHeader", { entry("a.txt", "a"), entry("b.txt", "b"), E { { "name", "c.txt" }, { "same_local_as", 0 } } },
                   4, { "a.txt", "b.txt", "c.txt" }, { "b.txt=b" }, { kOverlap, "no a.txt", kOverlap, "no c.txt" } },
        ReadCase { "DataRunningIntoTheNextEntry", { E { { "name", "a.txt" }, { "data", "a" }, { "grow", 40 } }, entry("b.txt", "b"), entry("c.txt", "c") },
                   4, { "a.txt", "b.txt", "c.txt" }, { "c.txt=c" }, { kOverlap, "no a.txt", kOverlap, "no b.txt" } },
        ReadCase { "LocalHeaderNamingAnotherEntry", { E { { "name", "a.txt" }, { "data", "a" }, { "local_name", "evil.txt" } }, entry("b.txt", "b") },
                   4, { "a.txt", "b.txt" }, { "b.txt=b" }, { "Error occurs", "no a.txt" } },
        // Found by fuzzing: a 4 GiB dictionary was allocated before a byte was read.
        ReadCase { "LzmaDictionaryFarLargerThanItsEntry",
                   { E { { "name", "l.txt" }, { "data", "lzma" }, { "method", 14 }, { "lzma_dict", qint64(0xFFFFFFFF) } } }, 4,
                   { "l.txt" }, { "l.txt=lzma" }, {} },
        // Deflated data that does not fit its stated sizes; what was decoded stays, as after a CRC failure.
        ReadCase { "DeflatedStreamsThatDoNotFitTheirSizes",
                   { E { { "name", "long" }, { "data", "0123456789" }, { "size_off", -1 } },
                     E { { "name", "short" }, { "data", "0123456789" }, { "size_off", 1 } },
                     E { { "name", "cut" }, { "data", "0123456789" }, { "grow", -3 } } },
                   4, { "long", "short", "cut" }, { "cut=", "long=", "short=0123456789" },
                   { kDamaged, "no long", kDamaged, "no short", kDamaged, "no cut" } },
        ReadCase { "LargestComment", { entry("a.txt", "a") }, 4, { "a.txt" }, { "a.txt=a" }, {}, { { "comment_size", 65535 } } },
        ReadCase { "FakeEndRecordInTheComment", { entry("a.txt", "a") }, 4, { "a.txt" }, { "a.txt=a" }, {}, { { "fake_end", true } } },
        // Windows and Python write 髙纊∵￢ⅰ in NEC-selected rows, the converter in IBM ones; both extract.
        // Then あ.txt and 表, the last byte of which is that of "\".
        ReadCase { "ShiftJisNamesInEveryByteForm",
                   { E { { "name_hex", "6e2feee0ed4081e681caeeef" }, { "data", "n" } }, E { { "name_hex", "692ffbfcfa5cfa5bfa54fa40" }, { "data", "i" } },
                     E { { "name_hex", "82a02e747874" } }, E { { "name_hex", "955c" }, { "data", "table" } } },
                   8, { "n/髙纊∵￢ⅰ", "i/髙纊∵￢ⅰ", "あ.txt", "表" }, { "i/", "i/髙纊∵￢ⅰ=i", "n/", "n/髙纊∵￢ⅰ=n", "あ.txt=", "表=table" }, {} },
        // "é" in UTF-8 is also "ﾃｩ" in Shift-JIS; "日本語" in UTF-8 is not Shift-JIS. Names without the flag that are all
        // UTF-8 are read so; one name that is Shift-JIS only ("あ.txt") keeps the others in Shift-JIS, name by name.
        ReadCase { "Utf8FlagAndUnflaggedNamesAllUtf8",
                   { E { { "name", "é" }, { "data", "f" }, { "flag", 0x800 } }, entry("é.txt", "n"), entry("日本語", "u") },
                   8, { "é", "é.txt", "日本語" }, { "é=f", "é.txt=n", "日本語=u" }, {} },
        ReadCase { "OneShiftJisNameKeepsTheArchiveInShiftJis",
                   { entry("é.txt", "n"), entry("日本語", "u"), E { { "name_hex", "82a02e747874" }, { "data", "a" } } },
                   8, { "ﾃｩ.txt", "日本語", "あ.txt" }, { "あ.txt=a", "日本語=u", "ﾃｩ.txt=n" }, {} },
        ReadCase { "UnicodePathFieldUnlessStale",
                   { E { { "name", "a.txt" }, { "data", "m" }, { "unicode_path", "表.txt" } },
                     E { { "name", "old.txt" }, { "data", "s" }, { "unicode_path", "new.txt" }, { "unicode_stale", true } } },
                   8, { "表.txt", "old.txt" }, { "old.txt=s", "表.txt=m" }, {} },
        // パスワード as UTF-8 (Linux tools) and as Shift-JIS (Windows tools); a wrong one writes nothing.
        ReadCase { "PasswordInEitherByteForm",
                   { E { { "name", "u.txt" }, { "data", "u" }, { "password_hex", "e38391e382b9e383afe383bce38389" } },
                     E { { "name", "s.txt" }, { "data", "s" }, { "password_hex", "83708358838f815b8368" } },
                     E { { "name", "a.txt" }, { "data", "a" }, { "method", 0 }, { "password_hex", "83708358838f815b8368" } } },
                   4, { "u.txt", "s.txt", "a.txt" }, { "a.txt=a", "s.txt=s", "u.txt=u" }, {}, {}, "パスワード" },
        ReadCase { "WrongPasswordWritesNothing", { E { { "name", "u.txt" }, { "data", "u" }, { "password_hex", "e38391e382b9e383afe383bce38389" } } },
                   4, { "u.txt" }, {}, { "Wrong password", "no u.txt" }, {}, "パスワート" },
        ReadCase { "FoldersMissingParentsAndBackslashes", { entry("a/b/"), entry("x/y.txt", "y"), entry("w\\v.txt", "v") }, 4,
                   { "a/b/", "x/y.txt", "w/v.txt" }, { "a/", "a/b/", "w/", "w/v.txt=v", "x/", "x/y.txt=y" }, {} },
        ReadCase { "WrongCrcFailsAndTheFileStays", { E { { "name", "f.txt" }, { "data", "0123456789" }, { "method", 0 }, { "crc_xor", 1 } } },
                   4, { "f.txt" }, { "f.txt=0123456789" }, { "file was unzipped but failed crc check", "no f.txt" } },
        ReadCase { "TraversalDotDotAndAbsolute", { entry("../x", "evil"), entry("a/../../x", "evil"), entry("$OUT/x", "evil") }, 4,
                   { "../x", "a/../../x", "$OUT/x" }, {}, { kOutside, "no ../x", kOutside, "no a/../../x", kOutside, "no $OUT/x" } },
        ReadCase { "TraversalBackslashDotDot", { entry("..\\x", "evil") }, 4, { "../x" }, {}, { kOutside, "no ../x" } },
        // A link is made when its target stays inside, however the kernel would resolve it, and never followed.
        ReadCase { "LinksInsideAreMadeAndNeverFollowed",
                   { entry("t.txt", "t"), linkEntry("in", "t.txt"), linkEntry("d/up", "../t.txt"), linkEntry("d/self", "."), linkEntry("in/x", "t.txt"),
                     entry("in/y", "y") },
                   4, { "t.txt", "in", "d/up", "d/self", "in/x", "in/y" },
                   { "d/", "d/self->.", "d/up->../t.txt", "in->t.txt", "in 2/", "in 2/x->t.txt", "in 2/y=y", "t.txt=t" },
                   { "numbered in/x" } },
        ReadCase { "LinksLeadingOutAreNotMade",
                   { linkEntry("abs", "$OUT"), linkEntry("up", "../x"), linkEntry("d/upup", "../../x"), linkEntry("d/back", "../d/../../x"),
                     linkEntry("empty", ""), linkEntry("abs", "t") },
                   4, { "abs", "up", "d/upup", "d/back", "empty", "abs" }, { "abs->t" },
                   { kLeaves, "no abs", kLeaves, "no up", kLeaves, "no d/upup", kLeaves, "no d/back", kLeaves, "no empty" } },
        // Two entries landing on one path: the second is numbered, and a folder a file holds takes its entries along.
        ReadCase { "SamePathTwiceIsNumbered",
                   { entry("a.txt", "1"), entry("a.txt", "2"), entry("x", "file"), entry("x/y", "y"), entry("x/z", "z"), entry("d/"),
                     entry("d", "file"), entry("d/", "") },
                   4, { "a.txt", "a.txt", "x", "x/y", "x/z", "d/", "d", "d/" },
                   { "a 2.txt=2", "a.txt=1", "d 2=file", "d/", "x=file", "x 2/", "x 2/y=y", "x 2/z=z" },
                   { "numbered a.txt", "numbered x/y", "numbered d" } },
        // Decomposed names (as macOS writes them) are written composed; one that meets a composed name is numbered.
        ReadCase { "DecomposedNamesComposedAndMetNumbered",
                   { entry("か\u3099.txt", "nfd"), entry("が.txt", "nfc"), entry("テ\u3099ータ/x", "x") },
                   4, { "か\u3099.txt", "が.txt", "テ\u3099ータ/x" }, { "が 2.txt=nfc", "が.txt=nfd", "データ/", "データ/x=x" },
                   { "numbered が.txt" } }),
    CaseName());

TEST_F(ZipReader, LookupByNameTakesTheFirstCaseBlindMatch)
{
    ZipArchive reader;
    ASSERT_TRUE(reader.UnzipOpenFile(makeRaw(path("a.zip"), { entry("Read.txt", "first"), entry("read.txt", "second") })));
    EXPECT_TRUE(reader.UnzipFileTo64(path("dest"), "read.txt", true, 4));
    EXPECT_EQ(contentsOf(path("dest")), QStringList { "Read.txt=first" });
}

TEST_F(ZipReader, ZeroDateKeepsTheTimeOfExtraction)
{
    const QDateTime before = QDateTime::currentDateTime().addSecs(-2);
    extract(makeRaw(path("a.zip"), { QJsonObject { { "name", "t.txt" }, { "dos_time", QJsonArray { 0, 0 } } } }), path("dest"));
    EXPECT_GE(QFileInfo(path("dest/t.txt")).lastModified(), before);
}

// A decoder that fails on its helper thread (out of memory) must reach the
// job as an error, not end the process; what it decoded before still arrives.
TEST(ZipPieceRelay, WhatTheDecoderThreadThrowsReachesTheCaller)
{
    ZipPieceRelay relay(2, 2);
    QByteArray seen;
    const auto produce = [&] {
        relay.relay("abc", 3);
        throw std::bad_alloc();
    };
    EXPECT_THROW(relay.run(produce, [&](const char* data, qsizetype size) { seen.append(data, size); return true; }),
                 std::bad_alloc);
    EXPECT_EQ(seen, "abc");
}

// --- links that already exist in the destination

TEST_F(ZipReader, LinksAlreadyInTheDestinationAreNotFollowed)
{
    const QString outside = folder("outside"), victim = file("outside/victim.txt", "untouched");
    const QString dest = folder("dest");
    ASSERT_EQ(::symlink(QFile::encodeName(outside).constData(), QFile::encodeName(dest + "/dir").constData()), 0);
    ASSERT_EQ(::symlink(QFile::encodeName(victim).constData(), QFile::encodeName(dest + "/leaf.txt").constData()), 0);
    ASSERT_EQ(::link(QFile::encodeName(victim).constData(), QFile::encodeName(dest + "/hard.txt").constData()), 0);
    const QString zip = makeRaw(path("a.zip"), { entry("dir/new.txt", "evil"), entry("leaf.txt", "evil"), entry("hard.txt", "evil") });
    EXPECT_EQ(extract(zip, dest).filter("error"), QStringList { "error 3 dir/new.txt" });
    EXPECT_EQ(listTree(outside), QStringList { "victim.txt" });
    EXPECT_EQ(readFile(victim), "untouched");
    // The links themselves are replaced by the extracted files.
    EXPECT_EQ(readFile(dest + "/leaf.txt") + readFile(dest + "/hard.txt"), "evilevil");
}

// --- every record of the central directory (7z keeps its entries in name order) is extracted or named by an error;
// an archive that does not open extracts nothing

struct AccountCase {
    const char* name;
    QList<QStringList> commands; // run in the source folder; $ZIP replaced; "peer": peer.py
    int records;                 // of the central directory; -1: it does not open
    QStringList errors;          // $ZIP replaced
    QStringList extracted;       // compared with the source files; empty: only counted
    QString password = {};
};

using EveryEntry = ZipTable<AccountCase>;

TEST_P(EveryEntry, ExtractedPlusErrorsIsTheRecordCount)
{
    const AccountCase& param = GetParam();
    // Deflate64 is exercised beyond deflate: distances past 32 KiB and matches longer than 258 bytes.
    const QByteArray block = randomBytes(40000, 5);
    file("src/d64.bin", "text " + block + block + block + QByteArray(200000, '\0') + block);
    for (const char* name : { "deflate.txt", "lzma.txt", "ppmd.txt", "bzip2.txt", "aes.txt" }) {
        file(QString("src/") + name, QByteArray(name).repeated(5000));
    }
    const QString zip = path("a.zip");
    for (QStringList command : param.commands) {
        command.replaceInStrings("$ZIP", zip);
        const QString program = command.takeFirst();
        ASSERT_EQ(program == "peer" ? peer(command) : run(program, command, path("src")).exitCode, 0) << command.join(' ').toStdString();
    }
    const QStringList notices = extract(zip, path("dest"), param.password);
    EXPECT_EQ(notices.filter(QRegularExpression("^error")), QStringList(param.errors).replaceInStrings("$ZIP", zip));
    QStringList failed; // entries named by an error
    for (const QString& line : notices.filter(QRegularExpression("^error [37] "))) {
        failed << line.section(' ', line.contains(" damaged ") ? 3 : 2);
    }
    int extracted = 0;
    for (const QString& line : notices.filter(QRegularExpression("^progress "))) {
        const QString name = line.section(' ', 2);
        extracted += QFileInfo::exists(path("dest/" + name)) && !failed.contains(name);
    }
    EXPECT_EQ(notices.value(0), param.records < 0 ? notices.filter("error").value(0) : QString("started %1").arg(param.records));
    EXPECT_EQ(notices.filter(QRegularExpression("^progress ")).size(), std::max(param.records, 0));
    EXPECT_EQ(notices.last(), "finished " + zip);
    EXPECT_EQ(extracted + failed.size(), std::max(param.records, 0));
    EXPECT_TRUE(param.records > 0 || !RQUnZipArchiver().isCrypted(zip));
    for (const QString& name : param.extracted) {
        EXPECT_EQ(readFile(path("dest/" + name)), readFile(path("src/" + name))) << name.toStdString();
    }
    if (!param.extracted.isEmpty() || param.records <= 0) {
        QStringList present = listTree(path("dest")); // what a failed check wrote stays
        present.removeIf([&](const QString& name) { return failed.contains(name); });
        EXPECT_EQ(present, param.extracted);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, EveryEntry,
    ::testing::Values(
        AccountCase { "SevenZipMethodsMixed",
                      { { "7z", "a", "-tzip", "-bd", "-m0=Deflate", "$ZIP", "deflate.txt" },
                        { "7z", "a", "-tzip", "-bd", "-m0=LZMA", "$ZIP", "lzma.txt" },
                        { "7z", "a", "-tzip", "-bd", "-m0=PPMd", "$ZIP", "ppmd.txt" },
                        { "7z", "a", "-tzip", "-bd", "-m0=Deflate64", "-ppw", "$ZIP", "d64.bin" }, // encrypted: the same stream
                        { "7z", "a", "-tzip", "-bd", "-m0=BZip2", "$ZIP", "bzip2.txt" },
                        { "7z", "a", "-tzip", "-bd", "-mem=AES256", "-ppw", "$ZIP", "aes.txt" } },
                      6, { "error 3 ppmd.txt" }, { "aes.txt", "bzip2.txt", "d64.bin", "deflate.txt", "lzma.txt" }, "pw" },
        // The check byte or verifier tells a wrong password from damage; entries that are not encrypted need none.
        AccountCase { "WrongPasswordFailsOnlyTheEncryptedEntries",
                      { { "zip", "-q", "$ZIP", "bzip2.txt" }, { "7z", "a", "-tzip", "-bd", "-mem=AES256", "-pright", "$ZIP", "deflate.txt", "lzma.txt" } }, 3,
                      { "error 7 deflate.txt", "error 7 lzma.txt" }, { "bzip2.txt" }, "wrong" },
        AccountCase { "NoPasswordForAnEncryptedEntry", { { "7z", "a", "-tzip", "-bd", "-mem=AES128", "-pright", "$ZIP", "deflate.txt" } }, 1,
                      { "error 7 deflate.txt" }, {} },
        // The authentication code fails (AE-2: no CRC to fall back on); a stated CRC that differs fails AE-1 only.
        AccountCase { "AesAuthenticationCodeCorrupted",
                      { { "7z", "a", "-tzip", "-bd", "-mem=AES256", "-ppw", "$ZIP", "deflate.txt" }, { "peer", "patch", "$ZIP", "code" } }, 1,
                      { "error 3 damaged deflate.txt" }, {}, "pw" },
        // Entries of megabytes are authenticated on a second core: one passes, one with its code flipped fails.
        AccountCase { "LargeAesEntriesAuthenticatedAside",
                      { { "python3", "-c", "import os; d = os.urandom(6 << 20); open('big.bin', 'wb').write(d); open('last.bin', 'wb').write(d)" },
                        { "7z", "a", "-tzip", "-bd", "-mm=Copy", "-mem=AES256", "-ppw", "$ZIP", "big.bin" },
                        { "7z", "a", "-tzip", "-bd", "-mm=Copy", "-mem=AES256", "-ppw", "$ZIP", "last.bin" }, { "peer", "patch", "$ZIP", "code" } },
                      2, { "error 3 damaged last.bin" }, { "big.bin" }, "pw" },
        AccountCase { "AesCrcCheckedForAe1Only",
                      { { "python3", "-c", "open('ae2.txt', 'w').write('below 20 bytes')" },
                        { "bsdtar", "--format", "zip", "--options", "zip:encryption=aes128", "--passphrase", "pw", "-cf", "$ZIP", "deflate.txt", "ae2.txt" },
                        { "peer", "patch", "$ZIP", "crc" } },
                      2, { "error 3 damaged deflate.txt" }, { "ae2.txt" }, "pw" },
        // Written without a ZIP64 end record: the count says 4,464, and the walk finds 65,536 more.
        AccountCase { "SeventyThousandEntriesWithAWrappedCount", { { "peer", "wrapped", "$ZIP", "70000" } }, 70000, {}, {} },
        AccountCase { "OverlapBomb",
                      { { "peer", "raw", "$ZIP",
                          R"({"entries": [{"name": "a", "data": "aaaa", "grow": 100}, {"name": "b", "data": "bbbb", "grow": 60},
                                          {"name": "c", "data": "cccc"}]})" } },
                      3, { "error 3 damaged a", "error 3 damaged b", "error 3 damaged c" }, {} },
        // The same beyond the size decoded in one piece, and beyond the size decoded on a thread of its own.
        AccountCase { "LargeDeflatedStreamsThatDoNotFitTheirSizes",
                      { { "peer", "raw", "$ZIP",
                          R"({"entries": [{"name": "long", "data": "0123456789", "repeat": 150000, "size_off": -1},
                                          {"name": "short", "data": "0123456789", "repeat": 150000, "size_off": 1},
                                          {"name": "cut", "data": "0123456789", "repeat": 150000, "grow": -3},
                                          {"name": "long2", "data": "0123456789", "repeat": 1000000, "size_off": -1},
                                          {"name": "short2", "data": "0123456789", "repeat": 1000000, "size_off": 1},
                                          {"name": "cut2", "data": "0123456789", "repeat": 1000000, "grow": -3},
                                          {"name": "crc2", "data": "0123456789", "repeat": 1000000, "crc_xor": 1}]})" } },
                      7, { "error 3 damaged long", "error 3 damaged short", "error 3 damaged cut", "error 3 damaged long2", "error 3 damaged short2", "error 3 damaged cut2", "error 3 damaged crc2" }, {} },
        // Encrypted, deflated and stored (zip stores what does not compress), decoded on a thread of its own.
        AccountCase { "LargeEntriesEncryptedDeflatedAndStored",
                      { { "python3", "-c",
                          "import random; r = random.Random(1); open('big.txt', 'w').write(' '.join(str(r.randrange(10**6)) for _ in range(1500000)));"
                          "open('noise.bin', 'wb').write(r.randbytes(9 << 20))" },
                        { "zip", "-q", "-P", "pw", "$ZIP", "big.txt", "noise.bin" } },
                      2, {}, { "big.txt", "noise.bin" }, "pw" },
        AccountCase { "EndRecordCutShort", { { "zip", "-q", "$ZIP", "deflate.txt" }, { "truncate", "-s", "-5", "$ZIP" } }, -1,
                      { "error 2 damaged $ZIP" }, {} },
        AccountCase { "NotAnArchive", { { "truncate", "-s", "100", "$ZIP" } }, -1, { "error 2 damaged $ZIP" }, {} },
        AccountCase { "NoEntries", { { "peer", "raw", "$ZIP", R"({"entries": []})" } }, 0, { "error 999 $ZIP" }, {} },
        // "あ.txt" in Shift-JIS is not UTF-8.
        AccountCase { "NameThatDoesNotDecode", { { "peer", "raw", "$ZIP", R"({"entries": [{"name": "a"}, {"name_hex": "82a02e747874"}]})" } },
                      -1, { "error 2 $ZIP" }, {} }),
    CaseName());
