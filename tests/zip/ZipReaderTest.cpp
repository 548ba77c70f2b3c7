// Archives made by other tools, damaged archives and hostile names, read by
// the engine.
#include "zip/ZipTestSupport.h"

#include "support/TestEnvironment.h"
#include "zip/ZipArchive.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <sys/stat.h>
#include <unistd.h>

using TestEnvironment::listTree;
using TestEnvironment::readFile;
using TestEnvironment::run;

namespace {

// Builds an archive with Python from a list of entries (see peer.py make).
QString makeArchive(const QString& zip, const QJsonArray& entries)
{
    EXPECT_EQ(peer({ QStringLiteral("make"), zip,
                     QString::fromUtf8(QJsonDocument(entries).toJson(QJsonDocument::Compact)) }),
              0);
    return zip;
}

QJsonObject entry(const QString& name, const QString& data = QString())
{
    return QJsonObject { { QStringLiteral("name"), name }, { QStringLiteral("data"), data } };
}

bool makeLink(const QString& target, const QString& link)
{
    return ::symlink(QFile::encodeName(target).constData(), QFile::encodeName(link).constData()) == 0;
}

} // namespace

// --- archives of other tools read back: names, folders, times, contents

struct PeerArchiveCase {
    const char* name;
    const char* program; // "" for Python
    QStringList arguments; // $ZIP and $TOP are replaced
    const char* password;
};

class PeerArchive : public ZipTest, public ::testing::WithParamInterface<PeerArchiveCase>
{
};

TEST_P(PeerArchive, ReadsBackEqual)
{
    const PeerArchiveCase& param = GetParam();
    if (*param.program && !TestEnvironment::hasProgram(QString::fromLatin1(param.program))) {
        GTEST_SKIP() << param.program << " is not installed";
    }
    const QString top = folder(QStringLiteral("src/top/"));
    folder(QStringLiteral("src/top/empty folder/"));
    const QMap<QString, QByteArray> files {
        { QStringLiteral("top/sub/text.txt"), QByteArray("some text\n").repeated(3000) },
        { QStringLiteral("top/日本語.txt"), QByteArray("japanese name") },
        { QStringLiteral("top/empty.bin"), QByteArray() },
    };
    QDateTime when(QDate(2022, 8, 9), QTime(10, 11, 12));
    for (auto it = files.begin(); it != files.end(); ++it) {
        const QString full = file(QStringLiteral("src/") + it.key(), it.value());
        ASSERT_TRUE(setModified(full, when));
        when = when.addSecs(3600 + 2);
    }

    const QString zip = path(QStringLiteral("peer.zip"));
    QStringList arguments;
    for (QString argument : param.arguments) {
        arguments << argument.replace(QStringLiteral("$ZIP"), zip).replace(QStringLiteral("$TOP"), top);
    }
    if (*param.program) {
        ASSERT_EQ(run(QString::fromLatin1(param.program), arguments, path(QStringLiteral("src"))).exitCode, 0);
    } else {
        ASSERT_EQ(peer(arguments), 0);
    }

    const QString dest = path(QStringLiteral("dest"));
    const QStringList notices = extract(zip, dest, QString::fromLatin1(param.password));
    EXPECT_FALSE(notices.join(QLatin1Char('\n')).contains(QStringLiteral("error"))) << notices.join(QLatin1Char('\n')).toStdString();
    EXPECT_EQ(listTree(dest), listTree(path(QStringLiteral("src"))));
    for (auto it = files.begin(); it != files.end(); ++it) {
        const QString source = path(QStringLiteral("src/") + it.key());
        const QString copy = dest + QLatin1Char('/') + it.key();
        EXPECT_EQ(readFile(copy), it.value()) << it.key().toStdString();
        EXPECT_EQ(modified(copy), modified(source)) << it.key().toStdString();
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, PeerArchive,
    ::testing::Values(
        PeerArchiveCase { "InfoZip", "zip", { "-q", "-r", "$ZIP", "top" }, "" },
        PeerArchiveCase { "InfoZipEncrypted", "zip", { "-q", "-r", "-P", "pw", "$ZIP", "top" }, "pw" },
        PeerArchiveCase { "SevenZip", "7z", { "a", "-tzip", "$ZIP", "top" }, "" },
        PeerArchiveCase { "SevenZipEncrypted", "7z", { "a", "-tzip", "-ppw", "$ZIP", "top" }, "pw" },
        PeerArchiveCase { "Bsdtar", "bsdtar", { "--format", "zip", "-cf", "$ZIP", "top" }, "" },
        PeerArchiveCase { "Python", "", { "tree", "$ZIP", "$TOP" }, "" },
        PeerArchiveCase { "PythonForcedZip64", "", { "tree", "$ZIP", "$TOP", "zip64" }, "" }),
    [](const auto& info) { return std::string(info.param.name); });

// --- the reading adapter's own rules

using ZipReader = ZipTest;

TEST_F(ZipReader, CaseBlindLookupTakesTheFirstMatch)
{
    const QString zip = makeArchive(path(QStringLiteral("a.zip")),
                                    { entry(QStringLiteral("Read.txt"), QStringLiteral("first")),
                                      entry(QStringLiteral("read.txt"), QStringLiteral("second")) });
    const QString dest = path(QStringLiteral("dest"));
    ZipArchive reader;
    ASSERT_TRUE(reader.UnzipOpenFile(zip));
    EXPECT_EQ(reader.getZipFileContents64(4),
              (QStringList { QStringLiteral("Read.txt"), QStringLiteral("read.txt") }));
    EXPECT_TRUE(reader.UnzipFileTo64(dest, QStringLiteral("Read.txt"), true, 4));
    EXPECT_TRUE(reader.UnzipFileTo64(dest, QStringLiteral("read.txt"), true, 4));
    reader.UnzipCloseFile();
    EXPECT_EQ(listTree(dest), QStringList { QStringLiteral("Read.txt") });
    EXPECT_EQ(readFile(dest + QStringLiteral("/Read.txt")), QByteArray("first"));
}

TEST_F(ZipReader, UnsupportedMethodEndsTheListingBeforeIt)
{
    QJsonObject lzma = entry(QStringLiteral("b.txt"), QStringLiteral("bbbb"));
    // LZMA: the container opens only stored and deflated (and lzma) data.
    lzma.insert(QStringLiteral("method"), 14);
    const QString zip = makeArchive(path(QStringLiteral("a.zip")),
                                    { entry(QStringLiteral("a.txt"), QStringLiteral("a")), lzma,
                                      entry(QStringLiteral("c.txt"), QStringLiteral("c")) });
    MessageRecorder messages;
    ZipArchive reader;
    reader.setDelegate(&messages);
    ASSERT_TRUE(reader.UnzipOpenFile(zip));
    EXPECT_EQ(reader.getZipFileContents64(4), QStringList { QStringLiteral("a.txt") });
    EXPECT_EQ(messages.messages, QStringList { QStringLiteral("Error occured") });
}

TEST_F(ZipReader, FoldersAreMadeForFolderEntriesAndMissingParents)
{
    const QString zip = makeArchive(path(QStringLiteral("a.zip")),
                                    { entry(QStringLiteral("a/b/")),
                                      entry(QStringLiteral("x/y.txt"), QStringLiteral("y")),
                                      entry(QStringLiteral("w\\v.txt"), QStringLiteral("v")) });
    const QString dest = path(QStringLiteral("dest"));
    const QStringList notices = extract(zip, dest);
    EXPECT_TRUE(notices.contains(QStringLiteral("progress 3/3 w/v.txt")));
    EXPECT_EQ(listTree(dest), (QStringList { QStringLiteral("a/"), QStringLiteral("a/b/"),
                                             QStringLiteral("w/"), QStringLiteral("w/v.txt"),
                                             QStringLiteral("x/"), QStringLiteral("x/y.txt") }));
}

TEST_F(ZipReader, ZeroDateKeepsTheTimeOfExtraction)
{
    const QString zip = makeArchive(path(QStringLiteral("a.zip")),
                                    { entry(QStringLiteral("t.txt"), QStringLiteral("t")) });
    // Local header time/date at 10, central at 12 after the local record.
    QByteArray bytes = readFile(zip);
    const qsizetype central = bytes.indexOf(QByteArray("PK\x01\x02", 4));
    bytes.replace(10, 4, QByteArray(4, '\0'));
    bytes.replace(central + 12, 4, QByteArray(4, '\0'));
    ASSERT_TRUE(TestEnvironment::writeFile(zip, bytes));
    const QDateTime before = QDateTime::currentDateTime().addSecs(-2);
    extract(zip, path(QStringLiteral("dest")));
    EXPECT_GE(modified(path(QStringLiteral("dest/t.txt"))), before);
}

TEST_F(ZipReader, FlippedDataByteIsACrcFailureAndTheFileStays)
{
    const QString source = file(QStringLiteral("f.txt"), QByteArray("0123456789").repeated(10));
    const QString zip = path(QStringLiteral("a.zip"));
    archive(zip, { source }, QString(), 0, 4);
    QByteArray bytes = readFile(zip);
    const qsizetype data = bytes.indexOf(QByteArray("0123456789"));
    ASSERT_GT(data, 0);
    bytes[data + 50] = 'X';
    ASSERT_TRUE(TestEnvironment::writeFile(zip, bytes));

    MessageRecorder messages;
    ZipArchive reader;
    reader.setDelegate(&messages);
    ASSERT_TRUE(reader.UnzipOpenFile(zip));
    ASSERT_TRUE(reader.getZipFileContents64(4).has_value());
    const QString dest = path(QStringLiteral("dest"));
    EXPECT_FALSE(reader.UnzipFileTo64(dest, QStringLiteral("f.txt"), true, 4));
    EXPECT_EQ(messages.messages, QStringList { QStringLiteral("file was unzipped but failed crc check") });
    EXPECT_EQ(reader.unzippedFiles(), QStringList { dest + QStringLiteral("/f.txt") });
    EXPECT_EQ(readFile(dest + QStringLiteral("/f.txt")).size(), 100);
}

TEST_F(ZipReader, OverwriteOffAsksTheDelegate)
{
    struct Refuser : ZipArchiveDelegate {
        QStringList asked;
        bool OverWriteOperation(const QString& path) override
        {
            asked << path;
            return false;
        }
    } refuser;
    const QString zip = makeArchive(path(QStringLiteral("a.zip")),
                                    { entry(QStringLiteral("f.txt"), QStringLiteral("new")) });
    const QString existing = file(QStringLiteral("dest/f.txt"), "old");
    ZipArchive reader;
    reader.setDelegate(&refuser);
    ASSERT_TRUE(reader.UnzipOpenFile(zip));
    EXPECT_TRUE(reader.UnzipFileTo64(path(QStringLiteral("dest")), QStringLiteral("f.txt"), false, 4));
    EXPECT_EQ(refuser.asked, QStringList { existing });
    EXPECT_EQ(readFile(existing), QByteArray("old"));
}

// --- front-end failures of a whole archive

using UnArchiverFailures = ZipTest;

TEST_F(UnArchiverFailures, ArchiveWithoutEntriesIsCode999ThenFinished)
{
    const QString zip = makeArchive(path(QStringLiteral("empty.zip")), {});
    MessageRecorder messages;
    ZipArchive reader;
    reader.setDelegate(&messages);
    ASSERT_TRUE(reader.UnzipOpenFile(zip));
    EXPECT_EQ(reader.getZipFileContents64(4), QStringList());
    EXPECT_EQ(messages.messages, (QStringList { QStringLiteral("Failed"), QStringLiteral("Error occured") }));

    EXPECT_EQ(extract(zip, path(QStringLiteral("dest"))),
              (QStringList { QStringLiteral("started 0"), QStringLiteral("error 999 ") + zip,
                             QStringLiteral("finished ") + zip }));
}

TEST_F(UnArchiverFailures, NameThatDoesNotDecodeIsCodeTwoAndNothingIsExtracted)
{
    // "あ" in Shift-JIS is not UTF-8.
    const QString zip = makeArchive(
        path(QStringLiteral("sjis.zip")),
        { entry(QStringLiteral("ok.txt"), QStringLiteral("ok")),
          QJsonObject { { QStringLiteral("name_hex"), QStringLiteral("82a02e747874") } } });
    const QString dest = path(QStringLiteral("dest"));
    EXPECT_EQ(extract(zip, dest, QString(), 4),
              (QStringList { QStringLiteral("error 2 ") + zip, QStringLiteral("finished ") + zip }));
    EXPECT_EQ(listTree(dest), QStringList());
    // The same archive in its own encoding.
    extract(zip, dest, QString(), 8);
    EXPECT_EQ(listTree(dest), (QStringList { QStringLiteral("ok.txt"), QStringLiteral("あ.txt") }));
}

TEST_F(UnArchiverFailures, WrongPasswordFailsEveryEncryptedEntryAndStaysInside)
{
    folder(QStringLiteral("src/d/"));
    file(QStringLiteral("src/d/a.txt"), QByteArray("aaaa").repeated(1000));
    file(QStringLiteral("src/d/b.txt"), QByteArray("bbbb").repeated(1000));
    const QString zip = path(QStringLiteral("enc.zip"));
    ASSERT_EQ(run(QStringLiteral("zip"), { QStringLiteral("-q"), QStringLiteral("-r"), QStringLiteral("-P"),
                                           QStringLiteral("right"), zip, QStringLiteral("d") },
                  path(QStringLiteral("src")))
                  .exitCode,
              0);
    const QString box = folder(QStringLiteral("box/"));
    const QStringList notices = extract(zip, box + QStringLiteral("dest"), QStringLiteral("wrong"));
    EXPECT_TRUE(notices.contains(QStringLiteral("error 3 d/a.txt")));
    EXPECT_TRUE(notices.contains(QStringLiteral("error 3 d/b.txt")));
    EXPECT_FALSE(notices.contains(QStringLiteral("error 3 d/")));
    for (const QString& entry : listTree(box)) {
        EXPECT_TRUE(entry.startsWith(QStringLiteral("dest/"))) << entry.toStdString();
    }
}

// --- nothing lands outside the destination

struct TraversalCase {
    const char* name;
    QStringList entries;  // "name=data"; "name->target" is a symbolic link entry; $OUT is outside
    const char* failing;  // the entry that must fail (code 3)
};

class Traversal : public ZipTest, public ::testing::WithParamInterface<TraversalCase>
{
};

TEST_P(Traversal, NothingOutsideTheDestination)
{
    const QString box = folder(QStringLiteral("box/"));
    const QString outside = folder(QStringLiteral("box/outside/"));
    QJsonArray entries;
    for (QString spec : GetParam().entries) {
        spec.replace(QStringLiteral("$OUT"), outside);
        const qsizetype link = spec.indexOf(QStringLiteral("->"));
        if (link > 0) {
            entries.append(QJsonObject { { QStringLiteral("name"), spec.left(link) },
                                         { QStringLiteral("data"), spec.mid(link + 2) },
                                         { QStringLiteral("external"), qint64(0120777) << 16 } });
        } else {
            const qsizetype equals = spec.indexOf(QLatin1Char('='));
            entries.append(entry(spec.left(equals), spec.mid(equals + 1)));
        }
    }
    const QString zip = makeArchive(path(QStringLiteral("evil.zip")), entries);
    const QString dest = box + QStringLiteral("dest");
    const QStringList notices = extract(zip, dest);
    EXPECT_TRUE(notices.contains(QStringLiteral("error 3 ")
                                 + QString::fromUtf8(GetParam().failing).replace(QStringLiteral("$OUT"), outside)))
        << notices.join(QLatin1Char('\n')).toStdString();
    EXPECT_EQ(listTree(outside), QStringList());
    for (const QString& item : listTree(box)) {
        EXPECT_TRUE(item.startsWith(QStringLiteral("dest/")) || item == QStringLiteral("outside/"))
            << item.toStdString();
    }
    EXPECT_FALSE(QFile::exists(path(QStringLiteral("x"))));
}

INSTANTIATE_TEST_SUITE_P(
    Table, Traversal,
    ::testing::Values(
        TraversalCase { "DotDot", { "../x=evil" }, "../x" },
        TraversalCase { "DotDotAfterFolder", { "a/../../x=evil" }, "a/../../x" },
        TraversalCase { "Absolute", { "$OUT/x=evil" }, "$OUT/x" },
        TraversalCase { "BackslashDotDot", { "..\\x=evil" }, "../x" },
        TraversalCase { "LinkThenFileThroughIt", { "link->$OUT", "link/x=evil" }, "link/x" }),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(ZipReader, LinksAlreadyInTheDestinationAreNotFollowed)
{
    const QString outside = folder(QStringLiteral("outside/"));
    const QString victim = file(QStringLiteral("outside/victim.txt"), "untouched");
    const QString dest = folder(QStringLiteral("dest/"));
    ASSERT_TRUE(makeLink(outside, dest + QStringLiteral("dir")));
    ASSERT_TRUE(makeLink(victim, dest + QStringLiteral("leaf.txt")));
    ASSERT_EQ(::link(QFile::encodeName(victim).constData(),
                     QFile::encodeName(dest + QStringLiteral("hard.txt")).constData()),
              0);
    const QString zip = makeArchive(path(QStringLiteral("a.zip")),
                                    { entry(QStringLiteral("dir/new.txt"), QStringLiteral("evil")),
                                      entry(QStringLiteral("leaf.txt"), QStringLiteral("evil")),
                                      entry(QStringLiteral("hard.txt"), QStringLiteral("evil")) });
    const QStringList notices = extract(zip, dest);
    EXPECT_TRUE(notices.contains(QStringLiteral("error 3 dir/new.txt")));
    EXPECT_EQ(listTree(outside), QStringList { QStringLiteral("victim.txt") });
    EXPECT_EQ(readFile(victim), QByteArray("untouched"));
    // The links themselves were replaced by the extracted files.
    EXPECT_EQ(readFile(dest + QStringLiteral("leaf.txt")), QByteArray("evil"));
    EXPECT_EQ(readFile(dest + QStringLiteral("hard.txt")), QByteArray("evil"));
}
