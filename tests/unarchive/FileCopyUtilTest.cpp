// Placement of extracted items: modes, same-name policies, exclusions,
// bundle permissions, failures and moves across file systems.
#include "support/TestEnvironment.h"
#include "support/jobs/ScriptedServices.h"
#include "unarchive/RKFileCopyUtil.h"
#include "unarchive/UnArchiveTestSupport.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

#include <condition_variable>
#include <fcntl.h>
#include <functional>
#include <mutex>
#include <sys/stat.h>

using namespace UnArchiveTestSupport;

namespace {

// Records the notices; the test waits for the one that ends the placement.
class RecordingDelegate : public RKFileCopyUtilDelegate
{
public:
    std::function<void(const QString& item)> onProgress;
    QStringList notices;
    QList<RQError> errors;

    void fileCopyUtilCopyStarted(RKFileCopyUtil*, int total) override { add(QStringLiteral("started %1").arg(total)); }
    void fileCopyUtilCopyProgress(RKFileCopyUtil*, int progress, int total, const QString& item) override
    {
        add(QStringLiteral("%1/%2").arg(progress).arg(total));
        if (onProgress) {
            onProgress(item);
        }
    }
    void fileCopyUtilCopyFinished(RKFileCopyUtil*) override { add("finished", true); }
    void fileCopyUtilCopyCanceled(RKFileCopyUtil*) override { add("canceled", true); }
    void fileCopyUtilCopyError(RKFileCopyUtil*, const RQError& error) override
    {
        errors.append(error);
        add("error", true);
    }
    QString waitForEnd()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_ended.wait_for(lock, std::chrono::minutes(2), [this] { return !m_end.isEmpty(); }); // against a hang
        return m_end;
    }

private:
    void add(const QString& notice, bool ends = false)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        notices.append(notice);
        if (ends) {
            m_end = notice;
            m_ended.notify_all();
        }
    }
    std::mutex m_mutex;
    std::condition_variable m_ended;
    QString m_end;
};

class FileCopyUtilTest : public UnArchiveTest
{
protected:
    // Below a folder named "tmp", like the real working folders.
    QString work() const { return in("tmp/jp.mokuza.MOKUZA-FULL/123"); }

    QString place(const RKUnArchiveProfileSetting& profile, const QString& toPath = QString(),
                  const QString& working = QString())
    {
        util = std::make_unique<RKFileCopyUtil>((working.isEmpty() ? work() : working) + "/",
                                                toPath.isEmpty() ? out() : toPath, in("photos.zip"),
                                                profile, nullptr);
        util->setDelegate(&delegate);
        util->beginCopy();
        return delegate.waitForEnd();
    }

    ScriptedServices services;
    RecordingDelegate delegate;
    std::unique_ptr<RKFileCopyUtil> util;
};

struct PlacementCase {
    const char* name;
    qint32 mode;
    qint32 policy;
    QStringList extracted; // content "new"
    QStringList existing;  // content "old"
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
    RKUnArchiveProfileSetting profile = UnArchiveTestSupport::profile(c.mode, c.policy);
    profile.exclusionFiles = c.exclusionFiles;
    profile.exclusionFolders = c.exclusionFolders;

    EXPECT_EQ(place(profile), "finished");
    EXPECT_EQ(snapshot(out()), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Placement, PlacementTest,
    ::testing::Values(
        PlacementCase{"NewFolderAfterPhotosAndPhotos2", 1, 0, {"a.txt", "d/", "d/b"}, {"photos/", "photos 2/"},
                      {"photos 2/", "photos 3/", "photos 3/a.txt=new", "photos 3/d/", "photos 3/d/b=new", "photos/"}},
        PlacementCase{"NewFolderBesideFileNamedPhotos", 1, 0, {"a.txt"}, {"photos"},
                      {"photos 2/", "photos 2/a.txt=new", "photos=old"}},
        PlacementCase{"RenameAfterA2", 0, 2, {"a.txt"}, {"a.txt", "a 2.txt"}, {"a 2.txt=old", "a 3.txt=new", "a.txt=old"}},
        PlacementCase{"RenameKeepsInnerDots", 0, 2, {"r.final.pdf"}, {"r.final.pdf"}, {"r.final 2.pdf=new", "r.final.pdf=old"}},
        PlacementCase{"RenameNameWithoutDot", 0, 2, {"README"}, {"README"}, {"README 2=new", "README=old"}},
        PlacementCase{"RenamedFolderTakesItsItems", 0, 2, {"d/", "d/x", "d/e/", "d/e/y"}, {"d/", "d/x"},
                      {"d 2/", "d 2/e/", "d 2/e/y=new", "d 2/x=new", "d/", "d/x=old"}},
        PlacementCase{"OverwriteFolderRemovesItsContents", 0, 1, {"d/", "d/new"}, {"d/", "d/old", "d/sub/", "d/sub/z"},
                      {"d/", "d/new=new"}},
        PlacementCase{"OverwriteFileWithFolder", 0, 1, {"photos/", "photos/a"}, {"photos"}, {"photos/", "photos/a=new"}},
        PlacementCase{"ExcludedNamesAreNeverPlaced", 0, 0,
                      {"__MACOSX/", "__MACOSX/._a", ".DS_Store", "a/", "a/.DS_Store", "a/b", "Thumbs.db/"}, {},
                      {"Thumbs.db/", "a/", "a/b=new"}, {".DS_Store", "thumbs.db"}, {"__macosx"}},
        PlacementCase{"TemporaryFolderNamesExcludeNothing", 1, 0, {"tmp/", "tmp/x", "keep"}, {},
                      {"photos/", "photos/keep=new"}, {"123"}, {"tmp", "123", "jp.*"}}),
    [](const auto& info) { return std::string(info.param.name); });

class BundlePermissionTest : public FileCopyUtilTest, public ::testing::WithParamInterface<bool>
{
};

TEST_P(BundlePermissionTest, ProgramGetsExecutePermissionOnlyInAWholeBundle)
{
    const bool withPkgInfo = GetParam();
    makeTree(work(), {"X.app/Contents/MacOS/App", "X.app/Contents/Resources/", "X.app/Contents/Info.plist"}, "x");
    if (withPkgInfo) {
        makeTree(work(), {"X.app/Contents/PkgInfo"}, "x");
    }
    ASSERT_EQ(::chmod(QFile::encodeName(work() + "/X.app/Contents/MacOS/App").constData(), 0644), 0);

    EXPECT_EQ(place(profile(0)), "finished");
    struct stat st;
    ASSERT_EQ(::stat(QFile::encodeName(out("X.app/Contents/MacOS/App")).constData(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, withPkgInfo ? 0755u : 0644u);
}

INSTANTIATE_TEST_SUITE_P(Bundle, BundlePermissionTest, ::testing::Bool(),
                         [](const auto& info) { return info.param ? "WithPkgInfo" : "WithoutPkgInfo"; });

TEST_F(FileCopyUtilTest, AskPolicySavesAClashingFileWhereTheUserSays)
{
    makeTree(work(), {"a.txt"}, "new");
    makeTree(out(), {"a.txt"}, "old");
    services.panels.script({out("chosen.txt")});

    EXPECT_EQ(place(profile(0, 0)), "finished");

    EXPECT_EQ(snapshot(out()), (QStringList{"a.txt=old", "chosen.txt=new"}));
    const auto calls = services.panels.calls();
    ASSERT_EQ(calls.size(), 1);
    EXPECT_TRUE(calls[0].save && calls[0].types.isEmpty() && !calls[0].onMainThread);
    EXPECT_EQ(calls[0].title + " " + calls[0].message, "MOKUZA-FULL " + work() + "/a.txt の保存先を選択して下さい。");
    EXPECT_EQ(calls[0].url, out("a.txt"));
}

TEST_F(FileCopyUtilTest, AskPolicyRelocatesAClashingFolderWithItsItems)
{
    makeTree(work(), {"d/", "d/x", "d/e/", "d/e/y"}, "new");
    makeTree(out(), {"d/", "d/x", "there/"}, "old");
    services.panels.script({out("there")});

    EXPECT_EQ(place(profile(0, 0)), "finished");

    EXPECT_EQ(snapshot(out()), (QStringList{"d/", "d/x=old", "there/", "there/d/", "there/d/e/", "there/d/e/y=new",
                                            "there/d/x=new"}));
    const auto calls = services.panels.calls();
    ASSERT_EQ(calls.size(), 1) << "the items follow their folder without asking";
    EXPECT_EQ(calls[0].selectMode, 1);
    EXPECT_EQ(calls[0].url, out("d"));
}

TEST_F(FileCopyUtilTest, NoticesCountTheWorkingFolderAndSkipItsStep)
{
    makeTree(work(), {"d/", "d/e/", "d/e/f"}, "new");

    EXPECT_EQ(place(profile(1)), "finished");

    EXPECT_EQ(delegate.notices, (QStringList{"started 4", "2/4", "3/4", "4/4", "finished"}));
    EXPECT_EQ(util->destPaths(), (QStringList{out("photos/d"), out("photos/d/e"), out("photos/d/e/f")}));
}

TEST_F(FileCopyUtilTest, FailuresAreErrors1And2)
{
    makeTree(work(), {"a.txt"}, "new");
    makeTree(out(), {"file"}, "old");

    EXPECT_EQ(place(profile(1), out("file/sub")), "error");
    EXPECT_EQ(delegate.notices, QStringList{"error"}) << "no Started notice";
    EXPECT_EQ(delegate.errors.value(0), RQError::initWithFileCopyUtilErrorCode(1, out("file/sub/photos")));

    RecordingDelegate second;
    util = std::make_unique<RKFileCopyUtil>(work(), out("file"), in("photos.zip"), profile(0), nullptr);
    util->setDelegate(&second);
    util->beginCopy();
    EXPECT_EQ(second.waitForEnd(), "error");
    EXPECT_EQ(second.errors.value(0), RQError::initWithFileCopyUtilErrorCode(2, out("file/a.txt")));
    EXPECT_EQ(snapshot(out()), QStringList{"file=old"});
}

TEST_F(FileCopyUtilTest, FailedOverwritePutsTheExistingItemBack)
{
    makeTree(work(), {"a.txt"}, "new");
    makeTree(out(), {"a.txt"}, "old");
    // The extracted file vanishes once its step has begun: the move fails
    // after the existing file was set aside.
    delegate.onProgress = [](const QString& item) { QFile::remove(item); };

    EXPECT_EQ(place(profile(0, 1)), "error");
    EXPECT_EQ(snapshot(out()), QStringList{"a.txt=old"});
}

TEST_F(FileCopyUtilTest, LinksArePlacedAsLinksAndNeverFollowed)
{
    makeTree(in("outside"), {"secret"}, "outside");
    ASSERT_TRUE(QDir().mkpath(work()) && QFile::link(in("outside"), work() + "/link"));

    EXPECT_EQ(place(profile(0)), "finished");

    EXPECT_EQ(snapshot(out()), QStringList{"link->" + in("outside")});
    EXPECT_EQ(snapshot(in("outside")), QStringList{"secret=outside"});
}

TEST_F(FileCopyUtilTest, MoveAcrossFileSystemsKeepsTimeAndMode)
{
    QTemporaryDir shm(QStringLiteral("/dev/shm/mokuza-test-XXXXXX"));
    struct stat shmStat, outStat;
    if (!shm.isValid() || ::stat("/dev/shm", &shmStat) != 0 || ::stat(QFile::encodeName(out()), &outStat) != 0
        || shmStat.st_dev == outStat.st_dev) {
        GTEST_SKIP() << "needs /dev/shm on another file system than the test folder";
    }
    makeTree(shm.path(), {"d/a.txt"}, "new");
    const QByteArray file = QFile::encodeName(shm.path() + "/d/a.txt");
    const struct timespec times[2] = {{1000000000, 0}, {1000000000, 500000000}};
    ASSERT_TRUE(::chmod(file, 0640) == 0 && ::utimensat(AT_FDCWD, file, times, 0) == 0);

    EXPECT_EQ(place(profile(0), out(), shm.path()), "finished");

    struct stat placed;
    ASSERT_EQ(::stat(QFile::encodeName(out("d/a.txt")), &placed), 0);
    EXPECT_EQ(placed.st_mode & 07777, 0640u);
    EXPECT_EQ(placed.st_mtim.tv_sec, 1000000000);
    EXPECT_EQ(placed.st_mtim.tv_nsec, 500000000);
    EXPECT_EQ(snapshot(out()), (QStringList{"d/", "d/a.txt=new"}));
    EXPECT_EQ(snapshot(shm.path()), QStringList{"d/"}) << "moved, not copied";
}

} // namespace
