// Placement of extracted items: modes, same-name policies with their panels,
// exclusions, bundle permissions, failures and moves across file systems.
#include "support/jobs/ScriptedServices.h"
#include "unarchive/RKFileCopyUtil.h"
#include "unarchive/UnArchiveTestSupport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <semaphore>
#include <sys/stat.h>

using namespace UnArchiveTestSupport;

namespace {

// Records the notices (all sent by the one worker); waitForEnd() answers the
// one that ended the placement.
class RecordingDelegate : public RKFileCopyUtilDelegate
{
public:
    std::function<void(const QString& item)> onProgress = [](const QString&) {};
    QStringList notices;
    QList<RQError> errors;
    std::binary_semaphore ended{0};

    void fileCopyUtilCopyStarted(RKFileCopyUtil*, int total) override { notices << QStringLiteral("started %1").arg(total); }
    void fileCopyUtilCopyProgress(RKFileCopyUtil*, int, int, const QString& item) override { onProgress(item); }
    void fileCopyUtilCopyFinished(RKFileCopyUtil*) override { end("finished"); }
    void fileCopyUtilCopyCanceled(RKFileCopyUtil*) override { end("canceled"); }
    void fileCopyUtilCopyError(RKFileCopyUtil*, const RQError& error) override { errors << error; end("error"); }
    void end(const QString& notice) { notices << notice; ended.release(); }
    QString waitForEnd()
    {
        EXPECT_TRUE(ended.try_acquire_for(std::chrono::minutes(2))) << "no end notice";
        return notices.value(notices.size() - 1);
    }
};

class FileCopyUtilTest : public UnArchiveTest
{
protected:
    // Below a folder named "tmp", like the real working folders.
    QString work() const { return in("tmp/jp.mokuza.MOKUZA-FULL/123"); }

    QString place(const RKUnArchiveProfileSetting& profile, const QString& toPath, const QString& working = QString())
    {
        util = std::make_unique<RKFileCopyUtil>((working.isEmpty() ? work() : working) + "/", toPath,
                                                in("photos.zip"), profile, nullptr);
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
    QStringList asked = {};   // the clashing items the ask policy asked for ("d/": a folder)
    QStringList answers = {}; // the panels' answers below out(); none left: cancelled
    const char* end = "finished";
    const char* toPath = "";    // the destination below out()
    bool itemVanishes = false;  // after its step has begun, so its move fails
    int errorCode = 0;
    const char* errorPath = ""; // below out()
    int errorReason = 0;        // errno
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
    profile.exclusionFiles = QStringList{".DS_Store", "thumbs.db", "123"};
    profile.exclusionFolders = QStringList{"__macosx", "tmp", "123", "jp.*"};
    QStringList answers;
    for (const QString& answer : c.answers) {
        answers << out(answer);
    }
    services.panels.script(answers);
    if (c.itemVanishes) {
        delegate.onProgress = [](const QString& item) { QFile::remove(item); };
    }

    EXPECT_EQ(place(profile, out(c.toPath)), c.end);
    EXPECT_EQ(snapshot(out()), c.expected);
    EXPECT_EQ(delegate.errors, c.errorCode ? QList<RQError>{RQError::initWithFileCopyUtilErrorCode(c.errorCode, out(c.errorPath), c.errorReason)}
                                           : QList<RQError>{});
    EXPECT_EQ(delegate.notices.value(0).startsWith("started"), c.errorCode != 1) << "no Started notice before error 1";
    const auto calls = services.panels.calls();
    ASSERT_EQ(calls.size(), c.asked.size()) << "items follow their folder without asking";
    for (qsizetype i = 0; i < calls.size(); ++i) {
        const bool folder = c.asked[i].endsWith('/');
        const QString name = folder ? c.asked[i].chopped(1) : c.asked[i];
        EXPECT_EQ(calls[i].title + " " + calls[i].message, "MOKUZA-FULL " + work() + "/" + name + " の保存先を選択して下さい。");
        EXPECT_EQ(calls[i].url, out(name));
        EXPECT_TRUE(folder ? !calls[i].save && calls[i].selectMode == 1 : calls[i].save && calls[i].types.isEmpty());
        EXPECT_FALSE(calls[i].onMainThread);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Placement, PlacementTest,
    ::testing::Values(
        PlacementCase{"NewFolderAfterPhotosAndPhotos2", 1, 0, {"a.txt", "d/", "d/b"}, {"photos/", "photos 2/"},
                      {"photos 2/", "photos 3/", "photos 3/a.txt=new", "photos 3/d/", "photos 3/d/b=new", "photos/"}},
        PlacementCase{"NewFolderBesideFileNamedPhotos", 1, 0, {"a.txt"}, {"photos"}, {"photos 2/", "photos 2/a.txt=new", "photos=old"}},
        PlacementCase{"RenameAfterA2", 0, 2, {"a.txt"}, {"a.txt", "a 2.txt"}, {"a 2.txt=old", "a 3.txt=new", "a.txt=old"}},
        PlacementCase{"RenameKeepsInnerDots", 0, 2, {"r.final.pdf"}, {"r.final.pdf"}, {"r.final 2.pdf=new", "r.final.pdf=old"}},
        PlacementCase{"RenameNameWithoutDot", 0, 2, {"README"}, {"README"}, {"README 2=new", "README=old"}},
        PlacementCase{"RenamedFolderTakesItsItems", 0, 2, {"d/", "d/x", "d/e/", "d/e/y"}, {"d/", "d/x"},
                      {"d 2/", "d 2/e/", "d 2/e/y=new", "d 2/x=new", "d/", "d/x=old"}},
        PlacementCase{"OverwriteFolderRemovesItsContents", 0, 1, {"d/", "d/new"}, {"d/", "d/old", "d/sub/", "d/sub/z"}, {"d/", "d/new=new"}},
        PlacementCase{"OverwriteFileWithFolder", 0, 1, {"photos/", "photos/a"}, {"photos"}, {"photos/", "photos/a=new"}},
        PlacementCase{"AskSavesAClashingFileWhereTheUserSays", 0, 0, {"a.txt"}, {"a.txt"}, {"a.txt=old", "chosen.txt=new"},
                      {"a.txt"}, {"chosen.txt"}},
        PlacementCase{"AskRelocatesAClashingFolderWithItsItems", 0, 0, {"d/", "d/x", "d/e/", "d/e/y"}, {"d/", "d/x", "there/"},
                      {"d/", "d/x=old", "there/", "there/d/", "there/d/e/", "there/d/e/y=new", "there/d/x=new"}, {"d/"}, {"there"}},
        PlacementCase{"AskCancelledIsACancel", 0, 0, {"a.txt"}, {"a.txt"}, {"a.txt=old"}, {"a.txt"}, {}, "canceled"},
        PlacementCase{"ExcludedNamesAreNeverPlaced", 0, 0, {"__MACOSX/", "__MACOSX/._a", ".DS_Store", "a/", "a/.DS_Store", "a/b", "Thumbs.db/"},
                      {}, {"Thumbs.db/", "a/", "a/b=new"}},
        PlacementCase{"TemporaryFolderNamesExcludeNothing", 1, 0, {"tmp/", "tmp/x", "keep"}, {}, {"photos/", "photos/keep=new"}},
        PlacementCase{"RootCannotBeMadeIsError1", 1, 0, {"a.txt"}, {"file"}, {"file=old"}, {}, {}, "error", "file/sub", false, 1, "file/sub/photos", ENOTDIR},
        PlacementCase{"ItemCannotBeMovedIsError2", 0, 0, {"a.txt"}, {"file"}, {"file=old"}, {}, {}, "error", "file", false, 2, "file/a.txt", ENOTDIR},
        PlacementCase{"FailedOverwritePutsTheOldBack", 0, 1, {"a.txt"}, {"a.txt"}, {"a.txt=old"}, {}, {}, "error", "", true, 2, "a.txt", ENOENT},
        // the new folder and the folder made in it are gone again
        PlacementCase{"FailureLeavesNoEmptyFolder", 1, 0, {"d/", "d/x"}, {}, {}, {}, {}, "error", "", true, 2, "photos/d/x", ENOENT}),
    [](const auto& info) { return std::string(info.param.name); });

class BundlePermissionTest : public FileCopyUtilTest, public ::testing::WithParamInterface<bool>
{
};

TEST_P(BundlePermissionTest, ProgramGetsExecutePermissionOnlyInAWholeBundle)
{
    makeTree(work(), {"X.app/Contents/MacOS/App", "X.app/Contents/Resources/", "X.app/Contents/Info.plist"}, "x");
    if (GetParam()) {
        makeTree(work(), {"X.app/Contents/PkgInfo"}, "x");
    }
    ASSERT_EQ(::chmod(QFile::encodeName(work() + "/X.app/Contents/MacOS/App").constData(), 0644), 0);

    EXPECT_EQ(place(profile(0), out()), "finished");
    struct stat st;
    ASSERT_EQ(::stat(QFile::encodeName(out("X.app/Contents/MacOS/App")).constData(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, GetParam() ? 0755u : 0644u);
}

INSTANTIATE_TEST_SUITE_P(Bundle, BundlePermissionTest, ::testing::Bool(),
                         [](const auto& info) { return info.param ? "WithPkgInfo" : "WithoutPkgInfo"; });

// Extracted items keep their mode, time and links when placed, whether placing renames them or copies them to
// another file system; folders get theirs once their contents are in.
class KeepsMetadataTest : public FileCopyUtilTest, public ::testing::WithParamInterface<bool>
{
};

TEST_P(KeepsMetadataTest, ModesTimesAndLinksSurvivePlacing)
{
    QTemporaryDir shm(QStringLiteral("/dev/shm/mokuza-test-XXXXXX"));
    struct stat shmStat, outStat;
    if (GetParam() && (!shm.isValid() || ::stat("/dev/shm", &shmStat) != 0 || ::stat(QFile::encodeName(out()), &outStat) != 0
                       || shmStat.st_dev == outStat.st_dev)) {
        GTEST_SKIP() << "needs /dev/shm on another file system than the test folder";
    }
    const QString working = GetParam() ? shm.path() : work();
    makeTree(working, {"d/a.txt"}, "new");
    ASSERT_EQ(::symlink("a.txt", QFile::encodeName(working + "/d/l").constData()), 0);
    const auto set = [&](const QString& item, mode_t mode, time_t seconds) {
        const QByteArray path = QFile::encodeName(working + "/" + item);
        const struct timespec times[2] = {{seconds, 0}, {seconds, 500000000}};
        return (mode == 0 || ::chmod(path, mode) == 0) && ::utimensat(AT_FDCWD, path, times, AT_SYMLINK_NOFOLLOW) == 0;
    };
    ASSERT_TRUE(set("d/a.txt", 0640, 1000000000) && set("d/l", 0, 1100000000) && set("d", 0710, 1200000000));

    EXPECT_EQ(place(profile(0), out(), working), "finished");

    QStringList placed;
    for (const char* item : {"d", "d/a.txt", "d/l"}) {
        struct stat st;
        ASSERT_EQ(::lstat(QFile::encodeName(out(item)), &st), 0);
        placed << QStringLiteral("%1 %2 %3.%4").arg(item).arg(st.st_mode & 07777, 0, 8).arg(st.st_mtim.tv_sec).arg(st.st_mtim.tv_nsec);
    }
    EXPECT_EQ(placed, (QStringList{"d 710 1200000000.500000000", "d/a.txt 640 1000000000.500000000", "d/l 777 1100000000.500000000"}));
    EXPECT_EQ(snapshot(out()), (QStringList{"d/", "d/a.txt=new", "d/l->a.txt"}));
    EXPECT_EQ(snapshot(working), QStringList{"d/"}) << "moved, not copied";
}

INSTANTIATE_TEST_SUITE_P(Metadata, KeepsMetadataTest, ::testing::Bool(),
                         [](const auto& info) { return info.param ? "AcrossFileSystems" : "Renamed"; });

} // namespace
