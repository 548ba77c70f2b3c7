// Archives of other tools, damaged archives and hostile names, read by the engine.
#include "zip/ZipTestSupport.h"

#include "support/TestEnvironment.h"
#include "zip/ZipArchive.h"

#include <QFile>
#include <QMap>
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

class PeerArchive : public ZipTest, public ::testing::WithParamInterface<PeerArchiveCase>
{
};

TEST_P(PeerArchive, ReadsBackEqual)
{
    const PeerArchiveCase& param = GetParam();
    folder("src/top/empty folder");
    const QMap<QString, QByteArray> files { { "top/sub/text.txt", QByteArray("some text\n").repeated(3000) },
                                            { "top/日本語.txt", "japanese name" },
                                            { "top/empty.bin", {} } };
    QDateTime when(QDate(2022, 8, 9), QTime(10, 11, 12));
    for (auto it = files.begin(); it != files.end(); ++it, when = when.addSecs(3602)) {
        ASSERT_TRUE(setModified(file("src/" + it.key(), it.value()), when));
    }
    QStringList arguments;
    for (QString argument : param.arguments) {
        arguments << argument.replace("$ZIP", path("peer.zip")).replace("$TOP", path("src/top"));
    }
    ASSERT_EQ(param.program.isEmpty() ? peer(arguments) : run(param.program, arguments, path("src")).exitCode, 0);

    const QStringList notices = extract(path("peer.zip"), path("dest"), param.password);
    EXPECT_FALSE(notices.join('\n').contains("error")) << notices.join('\n').toStdString();
    EXPECT_EQ(listTree(path("dest")), listTree(path("src")));
    for (auto it = files.begin(); it != files.end(); ++it) {
        EXPECT_EQ(readFile(path("dest/" + it.key())), it.value()) << it.key().toStdString();
        EXPECT_EQ(modified(path("dest/" + it.key())), modified(path("src/" + it.key()))) << it.key().toStdString();
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, PeerArchive,
    ::testing::Values(PeerArchiveCase { "InfoZip", "zip", { "-q", "-r", "$ZIP", "top" }, {} },
                      PeerArchiveCase { "InfoZipEncrypted", "zip", { "-q", "-r", "-P", "pw", "$ZIP", "top" }, "pw" },
                      PeerArchiveCase { "SevenZip", "7z", { "a", "-tzip", "$ZIP", "top" }, {} },
                      PeerArchiveCase { "SevenZipEncrypted", "7z", { "a", "-tzip", "-ppw", "$ZIP", "top" }, "pw" },
                      PeerArchiveCase { "Bsdtar", "bsdtar", { "--format", "zip", "-cf", "$ZIP", "top" }, {} },
                      PeerArchiveCase { "Python", {}, { "tree", "$ZIP", "$TOP" }, {} },
                      PeerArchiveCase { "PythonForcedZip64", {}, { "tree", "$ZIP", "$TOP", "zip64" }, {} }),
    [](const auto& info) { return std::string(info.param.name); });

// --- the reading adapter's own rules

using ZipReader = ZipTest;

TEST_F(ZipReader, CaseBlindLookupTakesTheFirstMatch)
{
    const QString zip = makeArchive(path("a.zip"), { entry("Read.txt", "first"), entry("read.txt", "second") });
    ZipArchive reader;
    ASSERT_TRUE(reader.UnzipOpenFile(zip));
    EXPECT_EQ(reader.getZipFileContents64(4), QStringList({ "Read.txt", "read.txt" }));
    EXPECT_TRUE(reader.UnzipFileTo64(path("dest"), "Read.txt", true, 4));
    EXPECT_TRUE(reader.UnzipFileTo64(path("dest"), "read.txt", true, 4));
    EXPECT_EQ(listTree(path("dest")), QStringList { "Read.txt" });
    EXPECT_EQ(readFile(path("dest/Read.txt")), "first");
}

TEST_F(ZipReader, UnsupportedMethodEndsTheListingBeforeIt)
{
    QJsonObject lzma = entry("b.txt", "bbbb");
    lzma["method"] = 14; // the container opens stored and deflated data only
    const QString zip = makeArchive(path("a.zip"), { entry("a.txt", "a"), lzma, entry("c.txt", "c") });
    MessageRecorder messages;
    ZipArchive reader;
    reader.setDelegate(&messages);
    ASSERT_TRUE(reader.UnzipOpenFile(zip));
    EXPECT_EQ(reader.getZipFileContents64(4), QStringList { "a.txt" });
    EXPECT_EQ(messages.messages, QStringList { "Error occured" });
}

TEST_F(ZipReader, FoldersForFolderEntriesMissingParentsAndBackslashNames)
{
    const QString zip =
        makeArchive(path("a.zip"), { entry("a/b/"), entry("x/y.txt", "y"), entry("w\\v.txt", "v") });
    EXPECT_TRUE(extract(zip, path("dest")).contains("progress 3/3 w/v.txt"));
    EXPECT_EQ(listTree(path("dest")), QStringList({ "a/", "a/b/", "w/", "w/v.txt", "x/", "x/y.txt" }));
}

TEST_F(ZipReader, ZeroDateKeepsTheTimeOfExtraction)
{
    const QString zip = makeArchive(path("a.zip"), { entry("t.txt", "t") });
    QByteArray bytes = readFile(zip); // time and date: local header at 10, central record at 12
    bytes.replace(10, 4, QByteArray(4, '\0'));
    bytes.replace(bytes.indexOf("PK\x01\x02") + 12, 4, QByteArray(4, '\0'));
    ASSERT_TRUE(TestEnvironment::writeFile(zip, bytes));
    const QDateTime before = QDateTime::currentDateTime().addSecs(-2);
    extract(zip, path("dest"));
    EXPECT_GE(modified(path("dest/t.txt")), before);
}

TEST_F(ZipReader, FlippedDataByteIsACrcFailureAndTheFileStays)
{
    const QString zip = path("a.zip");
    archive(zip, { file("f.txt", QByteArray("0123456789").repeated(10)) }, {}, 0);
    QByteArray bytes = readFile(zip);
    bytes[bytes.indexOf("0123456789") + 50] = 'X';
    ASSERT_TRUE(TestEnvironment::writeFile(zip, bytes));
    MessageRecorder messages;
    ZipArchive reader;
    reader.setDelegate(&messages);
    ASSERT_TRUE(reader.UnzipOpenFile(zip));
    ASSERT_TRUE(reader.getZipFileContents64(4).has_value());
    EXPECT_FALSE(reader.UnzipFileTo64(path("dest"), "f.txt", true, 4));
    EXPECT_EQ(messages.messages, QStringList { "file was unzipped but failed crc check" });
    EXPECT_EQ(reader.unzippedFiles(), QStringList { path("dest/f.txt") });
    EXPECT_EQ(readFile(path("dest/f.txt")).size(), 100);
}

// --- failures of a whole archive

using UnArchiverFailures = ZipTest;

TEST_F(UnArchiverFailures, ArchiveWithoutEntriesIsCode999ThenFinished)
{
    const QString zip = makeArchive(path("empty.zip"), {});
    MessageRecorder messages;
    ZipArchive reader;
    reader.setDelegate(&messages);
    ASSERT_TRUE(reader.UnzipOpenFile(zip));
    EXPECT_EQ(reader.getZipFileContents64(4), QStringList());
    EXPECT_EQ(messages.messages, QStringList({ "Failed", "Error occured" }));
    EXPECT_EQ(extract(zip, path("dest")), QStringList({ "started 0", "error 999 " + zip, "finished " + zip }));
}

TEST_F(UnArchiverFailures, NameThatDoesNotDecodeIsCodeTwoAndNothingIsExtracted)
{
    // "あ.txt" and "表" in Shift-JIS are not UTF-8; the last byte of 表 is that of "\".
    const QString zip = makeArchive(path("sjis.zip"), { entry("ok.txt", "ok"), QJsonObject { { "name_hex", "82a02e747874" } },
                                                       QJsonObject { { "name_hex", "955c" }, { "data", "table" } } });
    EXPECT_EQ(extract(zip, path("dest"), {}, 4), QStringList({ "error 2 " + zip, "finished " + zip }));
    EXPECT_EQ(listTree(path("dest")), QStringList());
    extract(zip, path("dest"), {}, 8);
    EXPECT_EQ(listTree(path("dest")), QStringList({ "ok.txt", "あ.txt", "表" }));
    EXPECT_EQ(readFile(path("dest/表")), "table");
}

TEST_F(UnArchiverFailures, WrongPasswordFailsEveryEncryptedEntryAndStaysInside)
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

// --- nothing lands outside the destination

struct TraversalCase {
    const char* name;
    QStringList entries; // "name=data", or "name->target" for a symbolic link; $OUT: a folder outside
    QString failing;     // the entry that fails with code 3
};

class Traversal : public ZipTest, public ::testing::WithParamInterface<TraversalCase>
{
};

TEST_P(Traversal, NothingOutsideTheDestination)
{
    const QString outside = folder("box/outside");
    QJsonArray entries;
    for (QString spec : GetParam().entries) {
        spec.replace("$OUT", outside);
        const qsizetype link = spec.indexOf("->"), equals = spec.indexOf('=');
        entries.append(link > 0 ? QJsonObject { { "name", spec.left(link) }, { "data", spec.mid(link + 2) },
                                                { "external", qint64(0120777) << 16 } }
                                : entry(spec.left(equals), spec.mid(equals + 1)));
    }
    const QStringList notices = extract(makeArchive(path("evil.zip"), entries), path("box/dest"));
    EXPECT_TRUE(notices.contains("error 3 " + QString(GetParam().failing).replace("$OUT", outside)))
        << notices.join('\n').toStdString();
    EXPECT_EQ(listTree(outside), QStringList());
    EXPECT_EQ(listTree(path("box")).filter(QRegularExpression("^(?!dest/)")), QStringList { "outside/" });
    EXPECT_FALSE(QFile::exists(path("x")));
}

INSTANTIATE_TEST_SUITE_P(Table, Traversal,
                         ::testing::Values(TraversalCase { "DotDot", { "../x=evil" }, "../x" },
                                           TraversalCase { "DotDotAfterFolder", { "a/../../x=evil" }, "a/../../x" },
                                           TraversalCase { "Absolute", { "$OUT/x=evil" }, "$OUT/x" },
                                           TraversalCase { "BackslashDotDot", { "..\\x=evil" }, "../x" },
                                           TraversalCase { "LinkThenFileThroughIt", { "link->$OUT", "link/x=evil" }, "link/x" }),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(ZipReader, LinksAlreadyInTheDestinationAreNotFollowed)
{
    const QString outside = folder("outside"), victim = file("outside/victim.txt", "untouched");
    const QString dest = folder("dest");
    const auto link = [](const QString& from, const QString& to, bool symbolic) {
        const QByteArray a = QFile::encodeName(from), b = QFile::encodeName(to);
        return (symbolic ? ::symlink(a.constData(), b.constData()) : ::link(a.constData(), b.constData())) == 0;
    };
    ASSERT_TRUE(link(outside, dest + "/dir", true));
    ASSERT_TRUE(link(victim, dest + "/leaf.txt", true));
    ASSERT_TRUE(link(victim, dest + "/hard.txt", false));
    const QString zip = makeArchive(path("a.zip"), { entry("dir/new.txt", "evil"), entry("leaf.txt", "evil"),
                                                    entry("hard.txt", "evil") });
    EXPECT_EQ(extract(zip, dest).filter("error"), QStringList { "error 3 dir/new.txt" });
    EXPECT_EQ(listTree(outside), QStringList { "victim.txt" });
    EXPECT_EQ(readFile(victim), "untouched");
    // The links themselves are replaced by the extracted files.
    EXPECT_EQ(readFile(dest + "/leaf.txt") + readFile(dest + "/hard.txt"), "evilevil");
}
