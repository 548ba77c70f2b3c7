// The two front ends: notices, entry names, error codes, cancel, lifetime.
#include "zip/ZipTestSupport.h"

#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <stdexcept>

using TestEnvironment::listTree;
using TestEnvironment::readFile;

using ArchiverFrontEnd = ZipTest;

TEST_F(ArchiverFrontEnd, EmptyContentsFinishesAtOnceWithoutFile)
{
    const QString zip = path("out.zip");
    EXPECT_EQ(archive(zip, {}), QStringList { "finished " + zip });
    EXPECT_FALSE(QFile::exists(zip));
}

TEST_F(ArchiverFrontEnd, MissingItemIsCodeOneAndTheRestIsStored)
{
    const QString a = file("a.txt", "a"), gone = path("gone.txt"), c = file("c.txt", "c");
    const QString zip = path("out.zip");
    EXPECT_EQ(archive(zip, { a, gone, c }),
              QStringList({ "started 3", "progress 1/3 " + a, "error 1 " + gone, "progress 3/3 " + c,
                            "finished " + zip }));
    EXPECT_EQ(entryNames(zip), QStringList({ "a.txt", "c.txt" }));
}

TEST_F(ArchiverFrontEnd, ExceptionInAStepIsCode999AndTheArchiveIsClosed)
{
    struct Throwing : ArchiverRecorder {
        void archiverArchiveProgressInFile(RQZipArchiver*, quint64, quint64, const QString&) override { throw std::runtime_error("x"); }
    } recorder;
    const QString a = file("a.txt", "a"), b = file("b.txt", "b"), zip = path("out.zip");
    const auto descriptors = [] { return QDir("/proc/self/fd").count(); };
    const auto before = descriptors();
    {
        RQZipArchiver archiver;
        archiver.setDelegate(&recorder);
        archiver.archive(zip, { a, b }, 4);
        ASSERT_TRUE(recorder.log.waitForEnd());
    }
    EXPECT_EQ(recorder.log.lines(), QStringList({ "started 2", "progress 1/2 " + a, "error 999 ", "finished " + zip }));
    EXPECT_EQ(descriptors(), before) << "the item's file is closed";
    EXPECT_EQ(peer({ "test", zip }), 0);
}

// Entry names are the item paths without the folder of the first item.
struct BaseCase {
    const char* name;
    QStringList items; // relative to the test folder ($ROOT: its path); "/" at the end: a folder
    QStringList expected;
};

class ArchiverBasePath : public ZipTest, public ::testing::WithParamInterface<BaseCase>
{
};

TEST_P(ArchiverBasePath, EntryNames)
{
    QStringList contents, expected;
    for (QString item : GetParam().items) {
        item.replace("$ROOT", m_dir.path());
        contents << (item.endsWith('/') ? folder(item).chopped(1) : file(item, "x"));
    }
    for (const QString& name : GetParam().expected) {
        expected << QString(name).replace("$ROOT", m_dir.path());
    }
    archive(path("out.zip"), contents);
    EXPECT_EQ(entryNames(path("out.zip")), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ArchiverBasePath,
    ::testing::Values(BaseCase { "FolderFirst", { "a/b/", "a/b/x/y.txt" }, { "b/", "b/x/y.txt" } },
                      BaseCase { "BaseRepeatedInside", { "a/1", "a/x$ROOT/a/y" }, { "1", "x$ROOT/a/y" } },
                      BaseCase { "ItemOutsideBaseKeepsWholePath", { "a/b/c", "d" }, { "c", "$ROOT/d" } }),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(ArchiverFrontEnd, CancelDuringThirdOfFiveKeepsThreeItems)
{
    QStringList contents;
    for (int i = 1; i <= 5; ++i) {
        contents << file(QString("f%1").arg(i), QByteArray(100000, char('a' + i)));
    }
    ArchiverRecorder recorder;
    recorder.onProgress = [](RQZipArchiver* archiver, int progress) {
        if (progress == 3) {
            archiver->cansel();
        }
    };
    RQZipArchiver archiver;
    archiver.setDelegate(&recorder);
    archiver.archive(path("out.zip"), contents, 4);
    ASSERT_TRUE(recorder.log.waitForEnd());
    EXPECT_EQ(recorder.log.lines().mid(3), QStringList({ "progress 3/5 " + contents[2], "cancelled" }));
    EXPECT_EQ(entryNames(path("out.zip")), QStringList({ "f1", "f2", "f3" }));
    EXPECT_EQ(peer({ "test", path("out.zip") }), 0);
}

using UnArchiverFrontEnd = ZipTest;

TEST_F(UnArchiverFrontEnd, RoundTripOfFilesAndFolders)
{
    const QString zip = path("out.zip");
    archive(zip, { folder("src/top"), folder("src/top/sub"), file("src/top/sub/a.txt", "alpha") });
    const QString dest = path("dest");
    EXPECT_EQ(extract(zip, dest), QStringList({ "started 3", "progress 1/3 top/", "progress 2/3 top/sub/",
                                                "progress 3/3 top/sub/a.txt", "finished " + zip }));
    EXPECT_EQ(listTree(dest), QStringList({ "top/", "top/sub/", "top/sub/a.txt" }));
    EXPECT_EQ(readFile(dest + "/top/sub/a.txt"), "alpha");
}

TEST_F(UnArchiverFrontEnd, ArchiveLargerThanTheReadersBlocks)
{
    // Headers, names and data straddle every block boundary of the reader.
    QStringList contents { folder("src/many") };
    for (int i = 0; i < 400; ++i) {
        contents << file(QString("src/many/f%1").arg(i), randomBytes(1 + i * 7 % 3000, quint32(i)));
    }
    contents << file("src/many/big", QByteArray(300000, 'z'));
    const QString zip = path("out.zip");
    archive(zip, contents, {}, 0);
    ASSERT_GT(QFileInfo(zip).size(), 4 * 65536);
    EXPECT_FALSE(extract(zip, path("dest")).join('\n').contains("error"));
    for (const QString& source : contents.mid(1)) {
        ASSERT_EQ(readFile(path("dest/many/") + QFileInfo(source).fileName()), readFile(source)) << source.toStdString();
    }
}

TEST_F(UnArchiverFrontEnd, NotAnArchiveIsCodeTwoThenFinished)
{
    const QString bogus = file("bogus.zip", "not a zip at all");
    EXPECT_EQ(extract(bogus, path("dest")), QStringList({ "error 2 " + bogus, "finished " + bogus }));
}

TEST_F(UnArchiverFrontEnd, CancelDuringThirdOfFiveExtractsThree)
{
    QStringList contents;
    for (int i = 1; i <= 5; ++i) {
        contents << file(QString("src/f%1").arg(i), "x");
    }
    archive(path("out.zip"), contents);
    UnArchiverRecorder recorder;
    recorder.onProgress = [](RQUnZipArchiver* unarchiver, int progress) {
        if (progress == 3) {
            unarchiver->cansel();
        }
    };
    RQUnZipArchiver unarchiver;
    unarchiver.setDelegate(&recorder);
    unarchiver.unArchive(path("dest"), path("out.zip"), 4);
    ASSERT_TRUE(recorder.log.waitForEnd());
    EXPECT_EQ(recorder.log.lines().last(), "cancelled");
    EXPECT_EQ(listTree(path("dest")), QStringList({ "f1", "f2", "f3" }));
}

struct CryptedCase {
    const char* name;
    QStringList zipArguments; // none: not an archive
    bool crypted;
};

class UnArchiverIsCrypted : public ZipTest, public ::testing::WithParamInterface<CryptedCase>
{
};

TEST_P(UnArchiverIsCrypted, Answer)
{
    file("src/d/a.txt", "a");
    const QString zip = path("a.zip");
    if (GetParam().zipArguments.isEmpty()) {
        file("a.zip", "no archive");
    } else {
        TestEnvironment::run("zip", GetParam().zipArguments + QStringList { zip, "d" }, path("src"));
    }
    EXPECT_EQ(RQUnZipArchiver().isCrypted(zip), GetParam().crypted);
}

INSTANTIATE_TEST_SUITE_P(Table, UnArchiverIsCrypted,
                         ::testing::Values(CryptedCase { "Plain", { "-q", "-r" }, false },
                                           // The folder entry comes first and is not encrypted.
                                           CryptedCase { "EncryptedAfterAPlainFolder", { "-q", "-r", "-Ppw" }, true },
                                           CryptedCase { "NotAnArchive", {}, false }),
                         [](const auto& info) { return std::string(info.param.name); });

using FrontEndLifetime = ZipTest;

TEST_F(FrontEndLifetime, DelegateClearedDuringARunAndDestructorWaitsForTheEnd)
{
    QStringList contents;
    for (int i = 0; i < 50; ++i) {
        contents << file(QString("f%1").arg(i), QByteArray(20000, 'q'));
    }
    ArchiverRecorder recorder;
    recorder.onProgress = [](RQZipArchiver* archiver, int progress) {
        if (progress == 2) {
            archiver->setDelegate(nullptr);
        }
    };
    {
        RQZipArchiver archiver;
        archiver.setDelegate(&recorder);
        archiver.archive(path("out.zip"), contents, 4);
    }
    EXPECT_EQ(recorder.log.lines().size(), 3); // started, progress 1, progress 2
    EXPECT_EQ(entryNames(path("out.zip")).size(), 50);
}

TEST_F(FrontEndLifetime, NextRunStartedFromTheFinishedNotice)
{
    // A runner may start its next archive from the thread the notice came on.
    struct Chain : ArchiverRecorder {
        QString next;
        QStringList contents;
        void archiverArchiveFinished(RQZipArchiver* archiver, const QString& path) override
        {
            if (next.isEmpty()) {
                return ArchiverRecorder::archiverArchiveFinished(archiver, path);
            }
            archiver->archive(std::exchange(next, QString()), contents, 4);
        }
    } chain;
    chain.next = path("second.zip");
    chain.contents = { file("a.txt", "a") };
    RQZipArchiver archiver;
    archiver.setDelegate(&chain);
    archiver.archive(path("first.zip"), chain.contents, 4);
    ASSERT_TRUE(chain.log.waitForEnd());
    EXPECT_EQ(chain.log.lines().last(), "finished " + path("second.zip"));
    EXPECT_EQ(entryNames(path("first.zip")), entryNames(path("second.zip")));
}

TEST_F(FrontEndLifetime, ErrorsBelongToTheLastRunAndCanBeSilenced)
{
    const QString gone = path("gone");
    const QStringList contents { gone, file("a.txt", "a") };
    ArchiverRecorder loud, quiet;
    RQZipArchiver archiver;
    archiver.setDelegate(&loud);
    archiver.archive(path("out.zip"), contents, 4);
    ASSERT_TRUE(loud.log.waitForEnd());
    ASSERT_EQ(archiver.errors().size(), 1);
    EXPECT_EQ(archiver.errors()[0].localizedRecoverySuggestion(), gone);

    archiver.setDelegate(&quiet);
    archiver.setIsNotification(false);
    archiver.archive(path("out.zip"), contents, 4);
    ASSERT_TRUE(quiet.log.waitForEnd());
    EXPECT_TRUE(archiver.errors().isEmpty());
    EXPECT_FALSE(quiet.log.text().contains("error"));
}

TEST(RQErrorFamilies, ArchiverCodeThreeHasNoDescriptionButKeepsItsPath)
{
    const RQError error = RQError::initWithErrorCode(3, "/p");
    EXPECT_FALSE(error.hasDescription());
    EXPECT_EQ(error.localizedRecoverySuggestion(), "/p");
}
