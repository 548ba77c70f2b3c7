// Archives of other tools, damaged archives and hostile names, read by the engine.
#include "zip/ZipTestSupport.h"

#include "support/TestEnvironment.h"
#include "zip/ZipArchive.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QRegularExpression>

#include <unistd.h>

using TestEnvironment::listTree;
using TestEnvironment::readFile;
using TestEnvironment::run;

// --- archives of other tools read back: names, folders, times, contents

struct PeerArchiveCase {
    const char* name;
    QString program; // empty: peer.py
    QStringList arguments; // $ZIP, $TOP replaced
    QString password;
};

using PeerArchive = ZipTable<PeerArchiveCase>;

TEST_P(PeerArchive, ReadsBackEqual)
{
    const PeerArchiveCase& param = GetParam();
    folder("src/top/empty folder");
    const QStringList files { file("src/top/sub/text.txt", QByteArray("some text\n").repeated(3000)),
                              file("src/top/日本語.txt", "japanese name"), file("src/top/empty.bin", {}) };
    for (int i = 0; i < files.size(); ++i) {
        ASSERT_TRUE(setModified(files[i], QDateTime(QDate(2022, 8, 9), QTime(10, 11, 12)).addSecs(3602 * i)));
    }
    QStringList arguments;
    for (QString argument : param.arguments) {
        arguments << argument.replace("$ZIP", path("peer.zip")).replace("$TOP", path("src/top"));
    }
    ASSERT_EQ(param.program.isEmpty() ? peer(arguments) : run(param.program, arguments, path("src")).exitCode, 0);

    const QStringList notices = extract(path("peer.zip"), path("dest"), param.password);
    EXPECT_FALSE(notices.join('\n').contains("error")) << notices.join('\n').toStdString();
    EXPECT_EQ(contentsOf(path("dest")), contentsOf(path("src")));
    for (const QString& source : files) {
        const QString copy = QString(source).replace("/src/", "/dest/");
        EXPECT_EQ(QFileInfo(copy).lastModified(), QFileInfo(source).lastModified()) << copy.toStdString();
    }
    // A folder entry that comes first is not encrypted in the archives of zip.
    EXPECT_EQ(RQUnZipArchiver().isCrypted(path("peer.zip")), !param.password.isEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Table, PeerArchive,
    ::testing::Values(PeerArchiveCase { "InfoZip", "zip", { "-q", "-r", "$ZIP", "top" }, {} },
                      PeerArchiveCase { "InfoZipEncrypted", "zip", { "-q", "-r", "-P", "pw", "$ZIP", "top" }, "pw" },
                      PeerArchiveCase { "SevenZip", "7z", { "a", "-tzip", "$ZIP", "top" }, {} },
                      PeerArchiveCase { "SevenZipEncrypted", "7z", { "a", "-tzip", "-ppw", "$ZIP", "top" }, "pw" },
                      PeerArchiveCase { "Bsdtar", "bsdtar", { "--format", "zip", "-cf", "$ZIP", "top" }, {} },
                      PeerArchiveCase { "Python", "python3", { "-m", "zipfile", "-c", "$ZIP", "top" }, {} },
                      PeerArchiveCase { "PythonForcedZip64", {}, { "zip64-tree", "$ZIP", "$TOP" }, {} }), CaseName());

// --- the reading adapter: list, then extract every listed name; nothing lands outside

using ZipReader = ZipTest;

struct ReadCase {
    const char* name;
    QJsonArray entries; // peer.py make; $OUT: a folder outside the destination
    quint64 encoding;
    QStringList listed;
    QStringList tree;   // the destination afterwards: "folder/", "file=contents"
    QStringList log;    // failure texts, and "no <name>" for each extraction answered no
    bool flip = false;  // a byte of the stored "0123456789" data is changed
};

using ReadingAdapter = ZipTable<ReadCase>;

TEST_P(ReadingAdapter, ListAndExtractEveryName)
{
    const ReadCase& param = GetParam();
    const QString outside = folder("outside");
    const auto expand = [&](QStringList list) {
        return list.isEmpty() ? list : list.join('\n').replace("$OUT", outside).split('\n');
    };
    const QByteArray entries = QJsonDocument(param.entries).toJson().replace("$OUT", outside.toUtf8());
    QByteArray bytes = readFile(makeArchive(path("a.zip"), QJsonDocument::fromJson(entries).array()));
    if (param.flip) {
        bytes[bytes.indexOf("0123456789") + 55] = 'X';
        ASSERT_TRUE(TestEnvironment::writeFile(path("a.zip"), bytes));
    }
    MessageRecorder log;
    ZipArchive reader;
    reader.setDelegate(&log);
    ASSERT_TRUE(reader.UnzipOpenFile(path("a.zip")));
    const QStringList listed = reader.getZipFileContents64(param.encoding).value_or(QStringList { "<fails>" });
    EXPECT_EQ(listed, expand(param.listed));
    for (const QString& name : listed) {
        if (!reader.UnzipFileTo64(path("dest"), name, true, param.encoding)) {
            log.messages << "no " + name;
        }
    }
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
const QJsonObject kLinkOut { { "name", "link" }, { "data", "$OUT" }, { "external", qint64(0120777) << 16 } };
} // namespace

INSTANTIATE_TEST_SUITE_P(
    Table, ReadingAdapter,
    ::testing::Values(
        ReadCase { "CaseBlindLookupTakesTheFirstMatch", { entry("Read.txt", "first"), entry("read.txt", "second") }, 4,
                   { "Read.txt", "read.txt" }, { "Read.txt=first" }, {} },
        // The container opens stored and deflated data only.
        ReadCase { "UnsupportedMethodEndsTheListingBeforeIt",
                   { entry("a.txt", "a"), QJsonObject { { "name", "b.txt" }, { "method", 14 } }, entry("c.txt") },
                   4, { "a.txt" }, { "a.txt=a" }, { "Error occured" } },
        ReadCase { "FoldersMissingParentsAndBackslashes", { entry("a/b/"), entry("x/y.txt", "y"), entry("w\\v.txt", "v") }, 4,
                   { "a/b/", "x/y.txt", "w/v.txt" }, { "a/", "a/b/", "w/", "w/v.txt=v", "x/", "x/y.txt=y" }, {} },
        ReadCase { "NoEntries", {}, 4, {}, {}, { "Failed", "Error occured" } },
        // あ.txt and 表; the last byte of 表 is that of "\".
        ReadCase { "ShiftJisNames",
                   { entry("ok.txt", "ok"), QJsonObject { { "name_hex", "82a02e747874" } },
                     QJsonObject { { "name_hex", "955c" }, { "data", "table" } } },
                   8, { "ok.txt", "あ.txt", "表" }, { "ok.txt=ok", "あ.txt=", "表=table" }, {} },
        ReadCase { "FlippedDataByteFailsTheCrcAndTheFileStays",
                   { QJsonObject { { "name", "f.txt" }, { "data", QString("0123456789").repeated(10) }, { "method", 0 } } }, 4,
                   { "f.txt" }, { "f.txt=" + QString("0123456789").repeated(10).replace(55, 1, "X") },
                   { "file was unzipped but failed crc check", "no f.txt" }, true },
        ReadCase { "TraversalDotDot", { entry("../x", "evil") }, 4, { "../x" }, {}, { kOutside, "no ../x" } },
        ReadCase { "TraversalDotDotAfterFolder", { entry("a/../../x", "evil") }, 4, { "a/../../x" }, {},
                   { kOutside, "no a/../../x" } },
        ReadCase { "TraversalAbsolute", { entry("$OUT/x", "evil") }, 4, { "$OUT/x" }, {}, { kOutside, "no $OUT/x" } },
        ReadCase { "TraversalBackslashDotDot", { entry("..\\x", "evil") }, 4, { "../x" }, {}, { kOutside, "no ../x" } },
        // A link is extracted as a file holding its target.
        ReadCase { "TraversalLinkThenFileThroughIt", { kLinkOut, entry("link/x", "evil") }, 4, { "link", "link/x" },
                   { "link=$OUT" }, { "Failed to open output file for writing", "no link/x" } }),
    CaseName());

TEST_F(ZipReader, ZeroDateKeepsTheTimeOfExtraction)
{
    QJsonObject zero = entry("t.txt", "t");
    zero["date_time"] = QJsonArray { 1980, 0, 0, 0, 0, 0 }; // stored as date and time 0
    const QDateTime before = QDateTime::currentDateTime().addSecs(-2);
    extract(makeArchive(path("a.zip"), { zero }), path("dest"));
    EXPECT_GE(QFileInfo(path("dest/t.txt")).lastModified(), before);
}

// --- failures of a whole archive: nothing is extracted

struct FailureCase {
    const char* name;
    QJsonArray entries;
    const char* bytes; // instead of an archive
    QStringList notices; // $ZIP replaced
};

using UnArchiverFailure = ZipTable<FailureCase>;

TEST_P(UnArchiverFailure, Notices)
{
    const QString zip = GetParam().bytes ? file("a.zip", GetParam().bytes)
                                         : makeArchive(path("a.zip"), GetParam().entries);
    EXPECT_EQ(extract(zip, path("dest")), GetParam().notices.join('\n').replace("$ZIP", zip).split('\n'));
    EXPECT_EQ(listTree(path("dest")), QStringList());
    EXPECT_FALSE(RQUnZipArchiver().isCrypted(zip));
}

INSTANTIATE_TEST_SUITE_P(
    Table, UnArchiverFailure,
    ::testing::Values(FailureCase { "NotAnArchive", {}, "not a zip at all", { "error 2 $ZIP", "finished $ZIP" } },
                      FailureCase { "NoEntries", {}, nullptr, { "started 0", "error 999 $ZIP", "finished $ZIP" } },
                      // "あ.txt" in Shift-JIS is not UTF-8.
                      FailureCase { "NameThatDoesNotDecode", { entry("a"), QJsonObject { { "name_hex", "82a02e747874" } } },
                                    nullptr, { "error 2 $ZIP", "finished $ZIP" } }),
    CaseName());

TEST_F(ZipReader, WrongPasswordFailsEveryEncryptedEntryAndStaysInside)
{
    file("src/d/a.txt", QByteArray("aaaa").repeated(1000));
    file("src/d/b.txt", QByteArray("bbbb").repeated(1000));
    ASSERT_EQ(run("zip", { "-q", "-r", "-P", "right", path("enc.zip"), "d" }, path("src")).exitCode, 0);
    QStringList errors = extract(path("enc.zip"), path("box/dest"), "wrong").filter("error");
    errors.sort(); // in the order zip found the files
    EXPECT_EQ(errors, QStringList({ "error 3 d/a.txt", "error 3 d/b.txt" }));
    for (const QString& item : listTree(path("box"))) {
        EXPECT_TRUE(item.startsWith("dest/")) << item.toStdString();
    }
}

// --- links that already exist in the destination

TEST_F(ZipReader, LinksAlreadyInTheDestinationAreNotFollowed)
{
    const QString outside = folder("outside"), victim = file("outside/victim.txt", "untouched");
    const QString dest = folder("dest");
    ASSERT_EQ(::symlink(QFile::encodeName(outside).constData(), QFile::encodeName(dest + "/dir").constData()), 0);
    ASSERT_EQ(::symlink(QFile::encodeName(victim).constData(), QFile::encodeName(dest + "/leaf.txt").constData()), 0);
    ASSERT_EQ(::link(QFile::encodeName(victim).constData(), QFile::encodeName(dest + "/hard.txt").constData()), 0);
    const QString zip = makeArchive(path("a.zip"), { entry("dir/new.txt", "evil"), entry("leaf.txt", "evil"),
                                                    entry("hard.txt", "evil") });
    EXPECT_EQ(extract(zip, dest).filter("error"), QStringList { "error 3 dir/new.txt" });
    EXPECT_EQ(listTree(outside), QStringList { "victim.txt" });
    EXPECT_EQ(readFile(victim), "untouched");
    // The links themselves are replaced by the extracted files.
    EXPECT_EQ(readFile(dest + "/leaf.txt") + readFile(dest + "/hard.txt"), "evilevil");
}
