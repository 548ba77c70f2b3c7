// The two front ends: notices, entry names, error codes, cancel, lifetime.
#include "zip/ZipTestSupport.h"

#include "support/TestEnvironment.h"
#include "zip/ZipArchive.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

#include <atomic>

#include <stdexcept>
#include <sys/stat.h>

using ArchiverFrontEnd = ZipTest;

TEST_F(ArchiverFrontEnd, ExceptionInAStepIsCode999AndNoArchiveIsLeft)
{
    struct Throwing : Recorder {
        void archiverArchiveProgressInFile(RQZipArchiver*, quint64, quint64, const QString&) override
        {
            throw std::runtime_error("receiver failed");
        }
    } recorder;
    const QString a = file("a.txt", "a"), b = file("b.txt", "b"), zip = path("out.zip");
    const auto descriptors = [] { return QDir("/proc/self/fd").count(); };
    const auto before = descriptors();
    {
        RQZipArchiver archiver;
        archiver.setDelegate(&recorder);
        archiver.archive(zip, { a, b }, 4);
        ASSERT_TRUE(recorder.waitForEnd());
        EXPECT_EQ(archiver.errors().value(0).localizedDescription(), "不明なエラー"); // readable after the run
    }
    EXPECT_EQ(recorder.lines(), QStringList({ "started 2", "progress 1/2 " + a, "error 999 ", "finished " + zip }));
    EXPECT_EQ(descriptors(), before) << "the item's file and the archive are closed";
    EXPECT_EQ(TestEnvironment::listTree(m_dir.path()), QStringList({ "a.txt", "b.txt" })) << "a run cut short leaves no archive";
}

// Whole runs: the notices, and the entries at the location afterwards. Entry names are
// the item paths without the folder of the first item.
struct RunCase {
    const char* name;
    QStringList items;        // made in the test folder ($ROOT: its path); "x/": a folder, "-x": missing, "|x": a FIFO
    QStringList entries;      // "old": the file that was at the location is untouched
    QStringList notices = {}; // $ZIP, $1, $2 ...: the item paths; none: not checked
    QString password = {};
    quint64 encoding = 4;
};

using ArchiverRun = ZipTable<RunCase>;

TEST_P(ArchiverRun, NoticesAndEntries)
{
    const QString zip = file("out.zip", "old"), root = m_dir.path();
    QStringList contents;
    for (QString item : GetParam().items) {
        item.replace("$ROOT", root);
        if (item.startsWith('|')) {
            ASSERT_EQ(::mkfifo(QFile::encodeName(path(item.mid(1))).constData(), 0600), 0);
        }
        contents << (item.startsWith('-') || item.startsWith('|') ? path(item.mid(1))
                     : item.endsWith('/')                        ? folder(item).chopped(1)
                                                                 : file(item, "x"));
    }
    QString expected = GetParam().notices.join('\n').replace("$ZIP", zip);
    for (qsizetype i = contents.size(); i > 0; --i) {
        expected.replace(QString("$%1").arg(i), contents[i - 1]);
    }
    const QStringList notices = archive(zip, contents, GetParam().password, 4, GetParam().encoding);
    EXPECT_TRUE(expected.isEmpty() || notices.join('\n') == expected) << notices.join('\n').toStdString();
    QStringList names { "old" };
    if (TestEnvironment::readFile(zip) != "old") {
        names.clear();
        for (const QJsonObject& entry : inspect(zip)) {
            names << entry[GetParam().encoding == 8 ? "cp932" : "text"].toString();
        }
    }
    EXPECT_EQ(names,
              QStringList(GetParam().entries).replaceInStrings("$ROOT", root));
    EXPECT_EQ(TestEnvironment::listTree(root).filter(".part"), QStringList()) << "no temporary file stays";
}

INSTANTIATE_TEST_SUITE_P(
    Table, ArchiverRun,
    ::testing::Values(
        RunCase { "EmptyContentsFinishesAtOnce", {}, { "old" }, { "finished $ZIP" } },
        RunCase { "MissingItemIsCodeOneAndTheRestIsStored", { "a", "-gone", "c" }, { "a", "c" },
                  { "started 3", "progress 1/3 $1", "error 1 $2", "progress 3/3 $3", "finished $ZIP" } },
        // read without waiting for a writer, whether ahead of the step or in it
        RunCase { "FifoIsCodeNineAndTheRestIsStored", { "a", "|fifo", "c" }, { "a", "c" },
                  { "started 3", "progress 1/3 $1", "progress 2/3 $2", "error 9 $2", "progress 3/3 $3", "finished $ZIP" } },
        // the old archive stays: an empty one is no result
        RunCase { "NothingStoredLeavesNoArchive", { "|fifo", "-gone" }, { "old" },
                  { "started 2", "progress 1/2 $1", "error 9 $1", "error 1 $2", "error 12 $ZIP", "finished $ZIP" } },
        RunCase { "PasswordWithoutAsciiFormIsRefused", { "a", "b" }, { "old" },
                  { "started 2", "progress 1/2 $1", "error 2 $1", "progress 2/2 $2", "error 2 $2", "finished $ZIP" }, "パスワード" },
        RunCase { "FolderFirst", { "a/b/", "a/b/x/y.txt" }, { "b/", "b/x/y.txt" } },
        // Nothing hides another entry: what code page 932 lacks becomes "_" (6), a name taken is numbered (7), and a
        // numbered folder takes its contents along.
        RunCase { "NamesWithoutShiftJisFormKeepTheirFolders", { "d/", "d/é.txt", "d/😀.txt", "d/𠮷.txt" },
                  { "d/", "d/_.txt", "d/_ 2.txt", "d/_ 3.txt" },
                  { "started 4", "progress 1/4 $1", "progress 2/4 $2", "error 6 $2", "progress 3/4 $3", "error 6 $3",
                    "error 7 $3", "progress 4/4 $4", "error 6 $4", "error 7 $4", "finished $ZIP" }, {}, 8 },
        RunCase { "NamesMeetingAfterNormalisationAreNumbered", { "d/", "d/画像1.txt", "d/画像①.txt", "d/1", "d/①/", "d/①/x", "d/‖", "d/∥" },
                  { "d/", "d/画像1.txt", "d/画像1 2.txt", "d/1", "d/1 2/", "d/1 2/x", "d/∥", "d/∥ 2" },
                  { "started 8", "progress 1/8 $1", "progress 2/8 $2", "progress 3/8 $3", "error 7 $3", "progress 4/8 $4",
                    "progress 5/8 $5", "error 7 $5", "progress 6/8 $6", "progress 7/8 $7", "progress 8/8 $8", "error 7 $8",
                    "finished $ZIP" }, {}, 8 },
        RunCase { "NameInAnUnknownEncodingIsADash", { "a", "b" }, { "-", "-" },
                  { "started 2", "progress 1/2 $1", "error 4 $1", "progress 2/2 $2", "error 4 $2", "finished $ZIP" }, {}, 0x12345 },
        RunCase { "BaseRepeatedInside", { "a/1", "a/x$ROOT/a/y" }, { "1", "x$ROOT/a/y" } },
        RunCase { "ItemOutsideBaseKeepsWholePath", { "a/b/c", "d" }, { "c", "$ROOT/d" } }),
    CaseName());

TEST_F(ZipTest, RoundTripAcrossTheReadersBlocks)
{
    // Headers, names and data straddle every block boundary of the reader.
    QStringList contents { folder("src/top"), folder("src/top/sub") };
    for (int i = 0; i < 400; ++i) {
        contents << file(QString("src/top/sub/f%1").arg(i), randomBytes(1 + i * 7 % 3000, quint32(i)));
    }
    contents << file("src/top/big", QByteArray(300000, 'z'));
    const QString zip = path("out.zip");
    archive(zip, contents, {}, 0);
    ASSERT_GT(QFileInfo(zip).size(), 4 * 65536);
    const qsizetype total = contents.size(), prefix = path("src/").size();
    QStringList expected { QString("started %1").arg(total) };
    for (qsizetype i = 0; i < total; ++i) {
        expected << QString("progress %1/%2 %3%4").arg(i + 1).arg(total).arg(contents[i].mid(prefix), i < 2 ? "/" : "");
    }
    EXPECT_EQ(extract(zip, path("dest")), expected << "finished " + zip);
    EXPECT_EQ(contentsOf(path("dest")), contentsOf(path("src")));
}

using FrontEndLifetime = ZipTest;

TEST_F(FrontEndLifetime, CancelDuringTheThirdOfFiveItemsOrEntries)
{
    const QStringList contents = files(5, QByteArray(100000, 'c'));
    Recorder zipping, unzipping;
    RQZipArchiver archiver;
    RQUnZipArchiver unarchiver;
    zipping.onProgress = [&](int progress) { progress == 3 ? archiver.cansel() : void(); };
    unzipping.onProgress = [&](int progress) { progress == 3 ? unarchiver.cansel() : void(); };
    archiver.setDelegate(&zipping);
    archiver.archive(path("cancelled.zip"), contents, 4);
    ASSERT_TRUE(zipping.waitForEnd());
    EXPECT_EQ(zipping.lines().mid(3), QStringList({ "progress 3/5 " + contents[2], "cancelled" }));
    EXPECT_FALSE(QFileInfo::exists(path("cancelled.zip"))) << "a cancelled archive is dropped";

    archive(path("all.zip"), contents);
    unarchiver.setDelegate(&unzipping);
    unarchiver.unArchive(path("dest"), path("all.zip"), 4);
    ASSERT_TRUE(unzipping.waitForEnd());
    EXPECT_EQ(unzipping.lines().mid(3), QStringList({ "progress 3/5 f3", "cancelled" }));
    EXPECT_EQ(TestEnvironment::listTree(path("dest")), QStringList({ "f1", "f2", "f3" }));
}

// A cancel inside a large file is seen between its chunks, however many are
// ahead: the run answers at once and drops the archive. The file reads as
// zeros, which are deflated (and read) like any other data.
TEST_F(FrontEndLifetime, CancelInsideAGigabyteFileIsSeenBetweenItsChunks)
{
    QFile big(path("big.bin"));
    ASSERT_TRUE(big.open(QIODevice::WriteOnly) && big.resize(Q_INT64_C(1) << 30));
    big.close();
    Recorder recorder;
    RQZipArchiver archiver;
    QElapsedTimer sinceCancel;
    std::atomic<quint64> last{0};
    recorder.onFileProgress = [&](quint64 done) {
        last = done;
        if (!sinceCancel.isValid()) {
            sinceCancel.start();
            archiver.cansel();
        }
    };
    archiver.setDelegate(&recorder);
    archiver.archive(path("big.zip"), { path("big.bin") }, QString(), 9, 4);
    ASSERT_TRUE(recorder.waitForEnd());
    RecordProperty("cancel_answered_ms", int(sinceCancel.elapsed()));

    EXPECT_EQ(recorder.lines().last(), "cancelled");
    EXPECT_LT(last.load(), quint64(16) << 20) << "the file went on after the cancel";
    EXPECT_EQ(TestEnvironment::listTree(m_dir.path()), QStringList { "big.bin" }) << "nothing of the archive is left";
}

TEST_F(FrontEndLifetime, DelegateClearedDuringARunAndDestructorWaitsForTheEnd)
{
    const QStringList contents = files(50, QByteArray(20000, 'q'));
    Recorder recorder;
    {
        RQZipArchiver archiver;
        recorder.onProgress = [&](int progress) { progress == 2 ? archiver.setDelegate(nullptr) : void(); };
        archiver.setDelegate(&recorder);
        archiver.archive(path("out.zip"), contents, 4);
    }
    EXPECT_EQ(recorder.lines().size(), 3); // started, progress 1, progress 2
    EXPECT_EQ(entryNames(path("out.zip")).size(), 50);
}

TEST(RQErrorFamilies, ArchiverCodeThreeHasNoDescriptionButKeepsItsPath)
{
    const RQError error = RQError::initWithErrorCode(3, "/p");
    EXPECT_FALSE(error.hasDescription());
    EXPECT_EQ(error.localizedRecoverySuggestion(), "/p");
}
