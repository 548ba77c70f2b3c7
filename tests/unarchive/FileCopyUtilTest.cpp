// Placement of extracted items: modes, same-name policies, exclusions,
// bundle permissions, cancel, failures, moves across file systems.
#include "support/TestEnvironment.h"
#include "support/jobs/ScriptedServices.h"
#include "unarchive/RKFileCopyUtil.h"
#include "unarchive/UnArchiveTestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <fcntl.h>
#include <sys/stat.h>

using namespace UnArchiveTestSupport;

namespace {

// Records the notices and lets the test wait for the end of a placement.
class RecordingDelegate : public RKFileCopyUtilDelegate
{
public:
    std::function<void(RKFileCopyUtil*, int progress, const QString& item)> onProgress;

    QStringList notices;  // "started 4", "progress 2/4", "finished", …
    QList<RQError> errors;

    void fileCopyUtilCopyStarted(RKFileCopyUtil*, int total) override
    {
        record(QStringLiteral("started %1").arg(total));
    }
    void fileCopyUtilCopyProgress(RKFileCopyUtil* util, int progress, int total,
                                  const QString& item) override
    {
        record(QStringLiteral("progress %1/%2").arg(progress).arg(total));
        if (onProgress) {
            onProgress(util, progress, item);
        }
    }
    void fileCopyUtilCopyFinished(RKFileCopyUtil*) override { end(QStringLiteral("finished")); }
    void fileCopyUtilCopyCanceled(RKFileCopyUtil*) override { end(QStringLiteral("canceled")); }
    void fileCopyUtilCopyError(RKFileCopyUtil*, const RQError& error) override
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            errors.append(error);
        }
        end(QStringLiteral("error"));
    }

    // The notice that ended the placement.
    QString waitForEnd()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        // A generous bound against a hang, not a timing assertion.
        m_ended.wait_for(lock, std::chrono::minutes(2), [this] { return !m_end.isEmpty(); });
        return m_end;
    }

private:
    void record(const QString& notice)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        notices.append(notice);
    }
    void end(const QString& notice)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        notices.append(notice);
        m_end = notice;
        m_ended.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_ended;
    QString m_end;
};

class FileCopyUtilTest : public UnArchiveTest
{
protected:
    // Below a folder named "tmp", like the real temporary directory.
    QString work() const { return in(QStringLiteral("tmp/jp.mokuza.MOKUZA-FULL/123")); }

    // Places the working folder into out() and returns the ending notice.
    QString place(const RKUnArchiveProfileSetting& profile,
                  const QString& archiveName = QStringLiteral("photos.zip"),
                  QString toPath = QString())
    {
        if (toPath.isNull()) {
            toPath = out();
        }
        util = std::make_unique<RKFileCopyUtil>(work() + "/", toPath, in(archiveName), profile,
                                                nullptr);
        util->setDelegate(&delegate);
        util->beginCopy();
        return delegate.waitForEnd();
    }

    ScriptedServices services;
    RecordingDelegate delegate;
    std::unique_ptr<RKFileCopyUtil> util;
};

// ---------------------------------------------------------------------------
// Where items land: the table gives the working folder, what the destination
// already holds ("old" content), and the destination afterwards ("new"
// content for placed files).

struct PlacementCase {
    const char* name;
    qint32 unArchiveMode;
    qint32 sameFileName;
    QStringList extracted;
    QStringList existing;
    QStringList expected;
    QStringList exclusionFiles = {};
    QStringList exclusionFolders = {};
};

class PlacementTest : public FileCopyUtilTest, public ::testing::WithParamInterface<PlacementCase>
{
};

TEST_P(PlacementTest, PlacesItemsAsTheProfileSays)
{
    const PlacementCase& c = GetParam();
    makeTree(work(), c.extracted, "new");
    makeTree(out(), c.existing, "old");
    RKUnArchiveProfileSetting profile = UnArchiveTestSupport::profile(c.unArchiveMode, c.sameFileName);
    profile.exclusionFiles = c.exclusionFiles;
    profile.exclusionFolders = c.exclusionFolders;

    EXPECT_EQ(place(profile), "finished");
    EXPECT_EQ(snapshot(out()), c.expected);
    EXPECT_TRUE(services.panels.calls().isEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Placement, PlacementTest,
    ::testing::Values(
        PlacementCase{"NewFolderNamedAfterArchive", 1, 0, {"a.txt", "d/", "d/b.txt"}, {},
                      {"photos/", "photos/a.txt=new", "photos/d/", "photos/d/b.txt=new"}},
        PlacementCase{"NewFolderAfterPhotosAndPhotos2", 1, 0, {"a.txt"}, {"photos/", "photos 2/"},
                      {"photos 2/", "photos 3/", "photos 3/a.txt=new", "photos/"}},
        PlacementCase{"NewFolderBesideFileNamedPhotos", 1, 0, {"a.txt"}, {"photos"},
                      {"photos 2/", "photos 2/a.txt=new", "photos=old"}},
        PlacementCase{"AsIsIntoDestination", 0, 0, {"a.txt", "d/", "d/b.txt"}, {"other.txt"},
                      {"a.txt=new", "d/", "d/b.txt=new", "other.txt=old"}},
        PlacementCase{"EmptyFolderIsPlaced", 0, 0, {"empty/"}, {}, {"empty/"}},
        PlacementCase{"RenameAfterA2", 0, 2, {"a.txt"}, {"a.txt", "a 2.txt"},
                      {"a 2.txt=old", "a 3.txt=new", "a.txt=old"}},
        PlacementCase{"RenameKeepsInnerDots", 0, 2, {"report.final.pdf"}, {"report.final.pdf"},
                      {"report.final 2.pdf=new", "report.final.pdf=old"}},
        PlacementCase{"RenameNameWithoutDot", 0, 2, {"README"}, {"README"},
                      {"README 2=new", "README=old"}},
        PlacementCase{"RenamedFolderTakesItsItems", 0, 2, {"d/", "d/x.txt", "d/e/", "d/e/y.txt"},
                      {"d/", "d/x.txt"},
                      {"d 2/", "d 2/e/", "d 2/e/y.txt=new", "d 2/x.txt=new", "d/", "d/x.txt=old"}},
        PlacementCase{"OverwriteFile", 0, 1, {"a.txt"}, {"a.txt"}, {"a.txt=new"}},
        PlacementCase{"OverwriteFolderRemovesItsContents", 0, 1, {"d/", "d/new.txt"},
                      {"d/", "d/old.txt", "d/sub/", "d/sub/z"}, {"d/", "d/new.txt=new"}},
        PlacementCase{"OverwriteFileWithFolder", 0, 1, {"photos/", "photos/a"}, {"photos"},
                      {"photos/", "photos/a=new"}},
        PlacementCase{"UnknownPolicyOverwrites", 0, 7, {"a.txt"}, {"a.txt"}, {"a.txt=new"}},
        PlacementCase{"ExcludedNamesAreNeverPlaced", 0, 0,
                      {"__MACOSX/", "__MACOSX/._a.txt", ".DS_Store", "a/", "a/.DS_Store", "a/b.txt"},
                      {},
                      {"a/", "a/b.txt=new"},
                      {".DS_Store"},
                      {"__macosx"}},
        PlacementCase{"TemporaryFolderNamesExcludeNothing", 1, 0, {"tmp/", "tmp/x", "keep.txt"}, {},
                      {"photos/", "photos/keep.txt=new"}, {"123", "jp.*"}, {"tmp", "123", "jp.*"}},
        PlacementCase{"FilePatternsSpareFolders", 0, 0, {"Thumbs.db/", "Thumbs.db/a", "x/Thumbs.db"},
                      {}, {"Thumbs.db/", "Thumbs.db/a=new", "x/"}, {"thumbs.DB"}}),
    [](const ::testing::TestParamInfo<PlacementCase>& info) { return std::string(info.param.name); });

// ---------------------------------------------------------------------------
// Execute permission of application bundles.

struct BundleCase {
    const char* name;
    QStringList extracted;
    mode_t expectedMode;
};

class BundlePermissionTest : public FileCopyUtilTest,
                             public ::testing::WithParamInterface<BundleCase>
{
};

TEST_P(BundlePermissionTest, ProgramGetsExecutePermissionOnlyInAWholeBundle)
{
    makeTree(work(), GetParam().extracted, "x");
    ASSERT_EQ(::chmod(QFile::encodeName(work() + "/X.app/Contents/MacOS/App").constData(), 0644), 0);

    EXPECT_EQ(place(UnArchiveTestSupport::profile(0)), "finished");
    struct stat st;
    ASSERT_EQ(::stat(QFile::encodeName(out("X.app/Contents/MacOS/App")).constData(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, GetParam().expectedMode);
}

const QStringList wholeBundle{"X.app/", "X.app/Contents/", "X.app/Contents/MacOS/",
                              "X.app/Contents/MacOS/App", "X.app/Contents/Resources/",
                              "X.app/Contents/PkgInfo", "X.app/Contents/Info.plist"};

QStringList without(QStringList list, const QString& entry)
{
    list.removeAll(entry);
    return list;
}

INSTANTIATE_TEST_SUITE_P(
    Bundle, BundlePermissionTest,
    ::testing::Values(BundleCase{"WholeBundle", wholeBundle, 0755},
                      BundleCase{"WithoutPkgInfo", without(wholeBundle, "X.app/Contents/PkgInfo"), 0644},
                      BundleCase{"WithoutResources",
                                 without(wholeBundle, "X.app/Contents/Resources/"), 0644},
                      BundleCase{"WithoutPlist", without(wholeBundle, "X.app/Contents/Info.plist"),
                                 0644}),
    [](const ::testing::TestParamInfo<BundleCase>& info) { return std::string(info.param.name); });

// ---------------------------------------------------------------------------
// The ask policy.

TEST_F(FileCopyUtilTest, AskPolicyPutsAClashingFileWhereTheSavePanelSays)
{
    makeTree(work(), {"a.txt"}, "new");
    makeTree(out(), {"a.txt"}, "old");
    services.panels.script({out("chosen.txt")});

    EXPECT_EQ(place(UnArchiveTestSupport::profile(0, 0)), "finished");

    EXPECT_EQ(snapshot(out()), (QStringList{"a.txt=old", "chosen.txt=new"}));
    const QList<ScriptedPanelService::Call> calls = services.panels.calls();
    ASSERT_EQ(calls.size(), 1);
    EXPECT_TRUE(calls[0].save);
    EXPECT_EQ(calls[0].title, "MOKUZA-FULL");
    EXPECT_EQ(calls[0].message, work() + "/a.txt の保存先を選択して下さい。");
    EXPECT_EQ(calls[0].url, out("a.txt"));
    EXPECT_TRUE(calls[0].types.isEmpty());
    EXPECT_FALSE(calls[0].onMainThread);
}

TEST_F(FileCopyUtilTest, AskPolicyRelocatesAClashingFolderWithItsItems)
{
    makeTree(work(), {"d/", "d/x.txt", "d/e/", "d/e/y.txt"}, "new");
    makeTree(out(), {"d/", "d/x.txt", "elsewhere/"}, "old");
    services.panels.script({out("elsewhere")});

    EXPECT_EQ(place(UnArchiveTestSupport::profile(0, 0)), "finished");

    EXPECT_EQ(snapshot(out()), (QStringList{"d/", "d/x.txt=old", "elsewhere/", "elsewhere/d/",
                                            "elsewhere/d/e/", "elsewhere/d/e/y.txt=new",
                                            "elsewhere/d/x.txt=new"}));
    const QList<ScriptedPanelService::Call> calls = services.panels.calls();
    ASSERT_EQ(calls.size(), 1) << "the folder's items follow it without asking";
    EXPECT_FALSE(calls[0].save);
    EXPECT_EQ(calls[0].selectMode, 1);
    EXPECT_EQ(calls[0].url, out("d"));
    EXPECT_EQ(calls[0].message, work() + "/d の保存先を選択して下さい。");
}

TEST_F(FileCopyUtilTest, AskPolicyAsksAgainWhenTheChosenFolderHoldsTheNameToo)
{
    makeTree(work(), {"d/", "d/x.txt"}, "new");
    makeTree(out(), {"d/", "d/x.txt", "second/d/"}, "old");
    services.panels.script({out("second"), out("third")});
    ASSERT_TRUE(QDir().mkpath(out("third")));

    EXPECT_EQ(place(UnArchiveTestSupport::profile(0, 0)), "finished");

    EXPECT_EQ(services.panels.calls().size(), 2);
    EXPECT_EQ(services.panels.calls()[1].url, out("second/d"));
    EXPECT_EQ(snapshot(out()), (QStringList{"d/", "d/x.txt=old", "second/", "second/d/", "third/",
                                            "third/d/", "third/d/x.txt=new"}));
}

TEST_F(FileCopyUtilTest, CancelledPanelCancelsAndKeepsWhatWasPlaced)
{
    makeTree(work(), {"a.txt", "b.txt", "clash.txt", "c.txt", "d.txt"}, "new");
    makeTree(out(), {"clash.txt"}, "old");
    services.panels.script({QString()});

    EXPECT_EQ(place(UnArchiveTestSupport::profile(0, 0)), "canceled");

    // Whatever the listing order, the items before the clash are placed and
    // the ones after it are not.
    bool beforeClash = true;
    for (const QString& item : util->items().mid(1)) {
        const QString name = QFileInfo(item).fileName();
        if (name == "clash.txt") {
            beforeClash = false;
            EXPECT_EQ(TestEnvironment::readFile(out(name)), "old");
            continue;
        }
        EXPECT_EQ(QFileInfo::exists(out(name)), beforeClash) << name.toStdString();
    }
    EXPECT_FALSE(delegate.notices.contains("finished"));
}

// ---------------------------------------------------------------------------
// Notices, cancel and failures.

TEST_F(FileCopyUtilTest, NoticesCountTheWorkingFolderAndSkipItsStep)
{
    makeTree(work(), {"d/", "d/e/", "d/e/f.txt"}, "new");

    EXPECT_EQ(place(UnArchiveTestSupport::profile(1)), "finished");

    EXPECT_EQ(delegate.notices,
              (QStringList{"started 4", "progress 2/4", "progress 3/4", "progress 4/4", "finished"}));
    EXPECT_EQ(util->items().first(), work());
    EXPECT_EQ(util->destPaths(),
              (QStringList{out("photos/d"), out("photos/d/e"), out("photos/d/e/f.txt")}));
}

TEST_F(FileCopyUtilTest, CancelStopsAtTheNextStepAndKeepsWhatWasPlaced)
{
    makeTree(work(), {"a/", "a/b/", "a/b/c/", "a/b/c/d.txt"}, "new");
    delegate.onProgress = [](RKFileCopyUtil* util, int progress, const QString&) {
        if (progress == 3) {
            util->cancel(); // while a/b is being placed
        }
    };

    EXPECT_EQ(place(UnArchiveTestSupport::profile(0)), "canceled");

    EXPECT_EQ(snapshot(out()), (QStringList{"a/", "a/b/"}));
    EXPECT_EQ(delegate.notices.last(), "canceled");
    EXPECT_FALSE(delegate.notices.contains("finished"));
}

TEST_F(FileCopyUtilTest, DestinationRootThatCannotBeMadeIsError1)
{
    makeTree(work(), {"a.txt"}, "new");
    makeTree(out(), {"file"}, "old");

    EXPECT_EQ(place(UnArchiveTestSupport::profile(1), "photos.zip", out("file/sub")), "error");

    ASSERT_EQ(delegate.errors.size(), 1);
    EXPECT_EQ(delegate.errors[0], RQError::initWithFileCopyUtilErrorCode(1, out("file/sub/photos")));
    EXPECT_EQ(delegate.errors[0].localizedDescription(), "出力先フォルダの作成に失敗しました。");
    EXPECT_EQ(delegate.notices, QStringList{"error"}) << "no Started notice";
}

TEST_F(FileCopyUtilTest, ItemThatCannotBeMovedIsError2)
{
    makeTree(work(), {"a.txt"}, "new");
    makeTree(out(), {"file"}, "old");

    EXPECT_EQ(place(UnArchiveTestSupport::profile(0), "photos.zip", out("file")), "error");

    ASSERT_EQ(delegate.errors.size(), 1);
    EXPECT_EQ(delegate.errors[0], RQError::initWithFileCopyUtilErrorCode(2, out("file/a.txt")));
    EXPECT_EQ(delegate.errors[0].localizedDescription(), "解凍ファイルの移動に失敗しました。");
    EXPECT_EQ(util->destPaths(), QStringList{out("file/a.txt")});
    EXPECT_EQ(TestEnvironment::readFile(out("file")), "old");
}

TEST_F(FileCopyUtilTest, FailedOverwritePutsTheExistingItemBack)
{
    makeTree(work(), {"a.txt"}, "new");
    makeTree(out(), {"a.txt"}, "old");
    // The extracted file vanishes once its step has begun, so the move fails
    // after the existing file was set aside.
    delegate.onProgress = [](RKFileCopyUtil*, int, const QString& item) { QFile::remove(item); };

    EXPECT_EQ(place(UnArchiveTestSupport::profile(0, 1)), "error");

    EXPECT_EQ(snapshot(out()), QStringList{"a.txt=old"});
    ASSERT_EQ(delegate.errors.size(), 1);
    EXPECT_EQ(delegate.errors[0].code(), 2);
}

TEST_F(FileCopyUtilTest, LinksArePlacedAsLinksAndNeverFollowed)
{
    makeTree(in("outside"), {"secret.txt"}, "outside");
    makeTree(work(), {"a.txt"}, "new");
    ASSERT_TRUE(QFile::link(in("outside"), work() + "/link"));

    EXPECT_EQ(place(UnArchiveTestSupport::profile(0)), "finished");

    EXPECT_EQ(snapshot(out()), (QStringList{"a.txt=new", "link->" + in("outside")}));
    EXPECT_EQ(snapshot(in("outside")), QStringList{"secret.txt=outside"});
}

// The working folder is usually on another file system than the destination.
TEST_F(FileCopyUtilTest, MoveAcrossFileSystemsKeepsTimeAndMode)
{
    QTemporaryDir shm(QStringLiteral("/dev/shm/mokuza-test-XXXXXX"));
    struct stat shmStat;
    struct stat outStat;
    if (!shm.isValid() || ::stat("/dev/shm", &shmStat) != 0
        || ::stat(QFile::encodeName(out()).constData(), &outStat) != 0
        || shmStat.st_dev == outStat.st_dev) {
        GTEST_SKIP() << "needs /dev/shm on another file system than the test folder";
    }
    const QString working = shm.path() + "/run";
    makeTree(working, {"d/", "d/a.txt"}, "new");
    const QByteArray file = QFile::encodeName(working + "/d/a.txt");
    ASSERT_EQ(::chmod(file.constData(), 0640), 0);
    const struct timespec times[2] = {{1000000000, 0}, {1000000000, 500000000}};
    ASSERT_EQ(::utimensat(AT_FDCWD, file.constData(), times, 0), 0);

    RKFileCopyUtil crossing(working, out(), in("photos.zip"), UnArchiveTestSupport::profile(0), nullptr);
    crossing.setDelegate(&delegate);
    crossing.beginCopy();
    EXPECT_EQ(delegate.waitForEnd(), "finished");

    struct stat placed;
    ASSERT_EQ(::stat(QFile::encodeName(out("d/a.txt")).constData(), &placed), 0);
    EXPECT_EQ(placed.st_mode & 07777, 0640u);
    EXPECT_EQ(placed.st_mtim.tv_sec, 1000000000);
    EXPECT_EQ(placed.st_mtim.tv_nsec, 500000000);
    EXPECT_EQ(TestEnvironment::readFile(out("d/a.txt")), "new");
    EXPECT_FALSE(QFileInfo::exists(working + "/d/a.txt")) << "moved, not copied";
}

TEST(FileCopyUtilNames, NumberedFileNames)
{
    const struct {
        const char* name;
        int number;
        const char* expected;
    } rows[] = {
        {"a.txt", 3, "a 3.txt"},
        {"report.final.pdf", 2, "report.final 2.pdf"},
        {"README", 2, "README 2"},
        {"archive.tar.gz", 10, "archive.tar 10.gz"},
        {"name.", 2, "name 2."},
        {".profile", 2, " 2.profile"},
        {"写真.jpeg", 2, "写真 2.jpeg"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(RKFileCopyUtil::numberedFileName(QString::fromUtf8(row.name), row.number),
                  QString::fromUtf8(row.expected))
            << row.name;
    }
}

} // namespace
