// The two front ends: notices, entry names, error families, cancel.
#include "zip/ZipTestSupport.h"

#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

using TestEnvironment::listTree;
using TestEnvironment::readFile;

namespace {

QStringList entryNames(const QString& zip)
{
    QStringList names;
    for (const QJsonObject& entry : inspect(zip)) {
        names << QString::fromUtf8(QByteArray::fromHex(entry.value(QStringLiteral("name"))
                                                           .toString()
                                                           .toLatin1()));
    }
    return names;
}

} // namespace

using ArchiverFrontEnd = ZipTest;

TEST_F(ArchiverFrontEnd, EmptyContentsFinishesAtOnceWithoutFile)
{
    const QString zip = path(QStringLiteral("out.zip"));
    EXPECT_EQ(archive(zip, {}), QStringList { QStringLiteral("finished ") + zip });
    EXPECT_FALSE(QFile::exists(zip));
}

TEST_F(ArchiverFrontEnd, NoticesOfARunInOrder)
{
    const QString a = file(QStringLiteral("src/a.txt"), "alpha");
    const QString b = file(QStringLiteral("src/b.txt"), "beta");
    const QString zip = path(QStringLiteral("out.zip"));
    EXPECT_EQ(archive(zip, { a, b }),
              (QStringList { QStringLiteral("started 2"), QStringLiteral("progress 1/2 ") + a,
                             QStringLiteral("progress 2/2 ") + b,
                             QStringLiteral("finished ") + zip }));
    EXPECT_EQ(entryNames(zip), (QStringList { QStringLiteral("a.txt"), QStringLiteral("b.txt") }));
}

// Entry names are the item paths without the folder of the first item.
struct BaseCase {
    const char* name;
    QStringList items;    // relative to the test folder; a trailing "/" makes a folder
    QStringList expected; // entry names
};

class ArchiverBasePath : public ZipTest, public ::testing::WithParamInterface<BaseCase>
{
};

TEST_P(ArchiverBasePath, EntryNames)
{
    const QString root = m_dir.path();
    QStringList contents;
    for (QString item : GetParam().items) {
        item.replace(QStringLiteral("$ROOT"), root);
        contents << (item.endsWith(QLatin1Char('/')) ? folder(item) : file(item, "x"));
    }
    for (QString& item : contents) {
        while (item.endsWith(QLatin1Char('/'))) {
            item.chop(1);
        }
    }
    const QString zip = path(QStringLiteral("out.zip"));
    archive(zip, contents);
    QStringList expected;
    for (const QString& name : GetParam().expected) {
        expected << QString(name).replace(QStringLiteral("$ROOT"), root);
    }
    EXPECT_EQ(entryNames(zip), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ArchiverBasePath,
    ::testing::Values(
        BaseCase { "FolderFirst", { "a/b/", "a/b/x/y.txt" }, { "b/", "b/x/y.txt" } },
        BaseCase { "BaseRepeatedInside",
                   { "a/first.txt", "a/x$ROOT/a/y" },
                   { "first.txt", "x$ROOT/a/y" } },
        BaseCase { "ItemOutsideBaseKeepsWholePath",
                   { "a/b/c.txt", "other.txt" },
                   { "c.txt", "$ROOT/other.txt" } }),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(ArchiverFrontEnd, MissingItemIsCodeOneAndTheRestIsStored)
{
    const QString a = file(QStringLiteral("a.txt"), "a");
    const QString gone = path(QStringLiteral("gone.txt"));
    const QString c = file(QStringLiteral("c.txt"), "c");
    const QString zip = path(QStringLiteral("out.zip"));
    const QStringList notices = archive(zip, { a, gone, c });
    EXPECT_TRUE(notices.contains(QStringLiteral("error 1 ") + gone));
    EXPECT_FALSE(notices.contains(QStringLiteral("progress 2/3 ") + gone));
    EXPECT_EQ(entryNames(zip), (QStringList { QStringLiteral("a.txt"), QStringLiteral("c.txt") }));
}

TEST_F(ArchiverFrontEnd, CancelDuringThirdOfFiveKeepsThreeItems)
{
    QStringList contents;
    for (int i = 1; i <= 5; ++i) {
        contents << file(QStringLiteral("f%1.txt").arg(i), QByteArray(100000, char('a' + i)));
    }
    const QString zip = path(QStringLiteral("out.zip"));
    ArchiverRecorder recorder;
    recorder.onProgress = [](RQZipArchiver* archiver, int progress) {
        if (progress == 3) {
            archiver->cansel();
        }
    };
    RQZipArchiver archiver;
    archiver.setDelegate(&recorder);
    archiver.archive(zip, contents, QString(), 4, 4);
    ASSERT_TRUE(recorder.log.waitForEnd());
    EXPECT_EQ(recorder.log.lines().last(), QStringLiteral("cancelled"));
    EXPECT_FALSE(recorder.log.lines().join(QLatin1Char('\n')).contains(QStringLiteral("finished")));
    EXPECT_EQ(entryNames(zip).size(), 3);
    EXPECT_EQ(peer({ QStringLiteral("test"), zip }), 0);
}

using UnArchiverFrontEnd = ZipTest;

TEST_F(UnArchiverFrontEnd, RoundTripOfFilesAndFolders)
{
    const QString top = folder(QStringLiteral("src/top/"));
    const QString sub = folder(QStringLiteral("src/top/sub/"));
    const QString a = file(QStringLiteral("src/top/sub/a.txt"), "alpha");
    const QString zip = path(QStringLiteral("out.zip"));
    archive(zip, { top, sub, a });
    const QString dest = path(QStringLiteral("dest"));
    EXPECT_EQ(extract(zip, dest),
              (QStringList { QStringLiteral("started 3"), QStringLiteral("progress 1/3 top/"),
                             QStringLiteral("progress 2/3 top/sub/"),
                             QStringLiteral("progress 3/3 top/sub/a.txt"),
                             QStringLiteral("finished ") + zip }));
    EXPECT_EQ(listTree(dest), (QStringList { QStringLiteral("top/"), QStringLiteral("top/sub/"),
                                             QStringLiteral("top/sub/a.txt") }));
    EXPECT_EQ(readFile(dest + QStringLiteral("/top/sub/a.txt")), QByteArray("alpha"));
}

TEST_F(UnArchiverFrontEnd, RoundTripOfAnArchiveLargerThanTheReadBlocks)
{
    // Many entries and incompressible data, so that headers, names and data
    // straddle every boundary of the reader's blocks.
    QStringList contents { folder(QStringLiteral("src/many/")) };
    QRandomGenerator generator(5);
    for (int i = 0; i < 400; ++i) {
        QByteArray data(int(generator.bounded(1, 3000)), Qt::Uninitialized);
        for (char& c : data) {
            c = char(generator.bounded(256));
        }
        contents << file(QStringLiteral("src/many/f%1.bin").arg(i), data);
    }
    contents << file(QStringLiteral("src/many/big.bin"), QByteArray(300000, 'z'));
    const QString zip = path(QStringLiteral("out.zip"));
    archive(zip, contents, QString(), 0, 4);
    ASSERT_GT(QFileInfo(zip).size(), 4 * 65536);
    const QString dest = path(QStringLiteral("dest"));
    const QStringList notices = extract(zip, dest);
    EXPECT_FALSE(notices.join(QLatin1Char('\n')).contains(QStringLiteral("error")));
    for (const QString& source : contents.mid(1)) {
        const QString copy = dest + QStringLiteral("/many/") + QFileInfo(source).fileName();
        ASSERT_EQ(readFile(copy), readFile(source)) << copy.toStdString();
    }
}

TEST_F(UnArchiverFrontEnd, NotAnArchiveIsCodeTwoThenFinished)
{
    const QString bogus = file(QStringLiteral("bogus.zip"), "not a zip at all");
    EXPECT_EQ(extract(bogus, path(QStringLiteral("dest"))),
              (QStringList { QStringLiteral("error 2 ") + bogus,
                             QStringLiteral("finished ") + bogus }));
}

TEST_F(UnArchiverFrontEnd, CancelDuringThirdOfFiveExtractsThree)
{
    QStringList contents;
    for (int i = 1; i <= 5; ++i) {
        contents << file(QStringLiteral("src/f%1.txt").arg(i), "x");
    }
    const QString zip = path(QStringLiteral("out.zip"));
    archive(zip, contents);
    UnArchiverRecorder recorder;
    recorder.onProgress = [](RQUnZipArchiver* unarchiver, int progress) {
        if (progress == 3) {
            unarchiver->cansel();
        }
    };
    RQUnZipArchiver unarchiver;
    unarchiver.setDelegate(&recorder);
    const QString dest = path(QStringLiteral("dest"));
    unarchiver.unArchive(dest, zip, 4);
    ASSERT_TRUE(recorder.log.waitForEnd());
    EXPECT_EQ(recorder.log.lines().last(), QStringLiteral("cancelled"));
    EXPECT_EQ(listTree(dest), (QStringList { QStringLiteral("f1.txt"), QStringLiteral("f2.txt"),
                                             QStringLiteral("f3.txt") }));
}

struct CryptedCase {
    const char* name;
    QStringList zipArguments; // empty: not an archive at all
    bool crypted;
};

class UnArchiverIsCrypted : public ZipTest, public ::testing::WithParamInterface<CryptedCase>
{
};

TEST_P(UnArchiverIsCrypted, Answer)
{
    folder(QStringLiteral("src/d/"));
    file(QStringLiteral("src/d/a.txt"), "a");
    const QString zip = path(QStringLiteral("a.zip"));
    if (GetParam().zipArguments.isEmpty()) {
        file(QStringLiteral("a.zip"), "no archive");
    } else {
        ASSERT_EQ(TestEnvironment::run(QStringLiteral("zip"),
                                       GetParam().zipArguments + QStringList { zip, QStringLiteral("d") },
                                       path(QStringLiteral("src")))
                      .exitCode,
                  0);
    }
    EXPECT_EQ(RQUnZipArchiver().isCrypted(zip), GetParam().crypted);
}

INSTANTIATE_TEST_SUITE_P(
    Table, UnArchiverIsCrypted,
    ::testing::Values(CryptedCase { "Plain", { "-q", "-r" }, false },
                      // The folder entry comes first and is not encrypted.
                      CryptedCase { "EncryptedAfterAPlainFolder", { "-q", "-r", "-P", "pw" }, true },
                      CryptedCase { "NotAnArchive", {}, false }),
    [](const auto& info) { return std::string(info.param.name); });

using FrontEndLifetime = ZipTest;

TEST_F(FrontEndLifetime, DelegateClearedDuringARunAndDestructorWaitsForTheEnd)
{
    QStringList contents;
    for (int i = 0; i < 50; ++i) {
        contents << file(QStringLiteral("src/f%1.txt").arg(i), QByteArray(20000, 'q'));
    }
    const QString zip = path(QStringLiteral("out.zip"));
    ArchiverRecorder recorder;
    recorder.onProgress = [](RQZipArchiver* archiver, int progress) {
        if (progress == 2) {
            archiver->setDelegate(nullptr);
        }
    };
    {
        RQZipArchiver archiver;
        archiver.setDelegate(&recorder);
        archiver.archive(zip, contents, 4);
    }
    EXPECT_EQ(recorder.log.lines().size(), 3); // started, progress 1, progress 2
    EXPECT_EQ(entryNames(zip).size(), 50);
}

TEST_F(FrontEndLifetime, NextRunStartedFromTheFinishedNotice)
{
    // A runner may start its next archive as soon as one is finished, from
    // the thread the notice came on.
    const QString a = file(QStringLiteral("a.txt"), "a");
    const QString first = path(QStringLiteral("first.zip"));
    const QString second = path(QStringLiteral("second.zip"));
    struct Chain : ArchiverRecorder {
        QString next;
        QStringList contents;
        void archiverArchiveFinished(RQZipArchiver* archiver, const QString& path) override
        {
            if (!next.isEmpty()) {
                const QString target = next;
                next.clear();
                archiver->archive(target, contents, 4);
                return;
            }
            ArchiverRecorder::archiverArchiveFinished(archiver, path);
        }
    } chain;
    chain.next = second;
    chain.contents = { a };
    RQZipArchiver archiver;
    archiver.setDelegate(&chain);
    archiver.archive(first, { a }, 4);
    ASSERT_TRUE(chain.log.waitForEnd());
    EXPECT_EQ(chain.log.lines().last(), QStringLiteral("finished ") + second);
    EXPECT_EQ(entryNames(first), QStringList { QStringLiteral("a.txt") });
    EXPECT_EQ(entryNames(second), QStringList { QStringLiteral("a.txt") });
}

TEST_F(FrontEndLifetime, ErrorsBelongToTheLastRunAndCanBeSilenced)
{
    const QString zip = path(QStringLiteral("out.zip"));
    const QString gone = path(QStringLiteral("gone"));
    const QString a = file(QStringLiteral("a.txt"), "a");
    ArchiverRecorder recorder;
    RQZipArchiver archiver;
    archiver.setDelegate(&recorder);
    archiver.archive(zip, { gone, a }, 4);
    ASSERT_TRUE(recorder.log.waitForEnd());
    EXPECT_EQ(describe(archiver.errors()), QStringList { QStringLiteral("1 ") + gone });

    ArchiverRecorder quiet;
    archiver.setDelegate(&quiet);
    archiver.setIsNotification(false);
    archiver.archive(zip, { gone, a }, 4);
    ASSERT_TRUE(quiet.log.waitForEnd());
    EXPECT_TRUE(archiver.errors().isEmpty());
    EXPECT_FALSE(quiet.log.lines().join(QLatin1Char('\n')).contains(QStringLiteral("error")));
}

// Codes outside a family's table carry no message of their own.
struct ErrorCase {
    const char* name;
    RQError error;
    bool described;
};

class ErrorFamilies : public ::testing::TestWithParam<ErrorCase>
{
};

TEST_P(ErrorFamilies, DescriptionAndPath)
{
    const RQError& error = GetParam().error;
    EXPECT_EQ(error.hasDescription(), GetParam().described);
    EXPECT_FALSE(error.localizedDescription().isEmpty());
    EXPECT_EQ(error.localizedRecoverySuggestion(), QStringLiteral("/p"));
}

INSTANTIATE_TEST_SUITE_P(
    Table, ErrorFamilies,
    ::testing::Values(
        ErrorCase { "ArchiverThree", RQError::initWithErrorCode(3, QStringLiteral("/p")), false },
        ErrorCase { "ArchiverTwoHundred", RQError::initWithErrorCode(200, QStringLiteral("/p")), true },
        ErrorCase { "UnArchiverThree", RQError::initWithUnArchiverErrorCode(3, QStringLiteral("/p")), true },
        ErrorCase { "UnArchiverFour", RQError::initWithUnArchiverErrorCode(4, QStringLiteral("/p")), false },
        ErrorCase { "FileCopyThree", RQError::initWithFileCopyUtilErrorCode(3, QStringLiteral("/p")), false }),
    [](const auto& info) { return std::string(info.param.name); });
