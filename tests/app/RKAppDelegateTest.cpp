// The application delegate with recording runners: which job and profile a
// request gets, the held combinations, the alert, queueing and quitting.
#include "app/AppTestSupport.h"
#include "app/widgets/RKDroppableView.h"
#include "app/widgets/RKTopView.h"
#include "app/widgets/RKTopWindow.h"
#include "archive/RKArchiveBase.h"
#include "settings/RKSetting.h"
#include "support/TestEnvironment.h"
#include "ui/RKProfilePopUpButton.h"
#include "ui/RKUnArchiveProfilePopUpButton.h"
#include "unarchive/RKUnArchiveBase.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QDropEvent>
#include <QFileInfo>
#include <QDir>
#include <QMessageBox>
#include <QMimeData>
#include <QTemporaryDir>
#include <QTimer>
#include <QUrl>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <utility>

namespace {

constexpr int kKeyP = 35;
constexpr int kKeyA = 0;

class AppDelegateTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        RKSetting::RestoreDefault();
    }

    void TearDown() override
    {
        if (delegate) {
            EXPECT_TRUE(delegate->waitUntilIdle());
        }
        delegate.reset();
    }

    static void editSettings(const std::function<void(RKSetting&)>& edit)
    {
        RKSetting setting = RKSetting::Setting();
        edit(setting);
        setting.commit();
    }

    QString makeFile(const QString& name)
    {
        const QString path = dir.filePath(name);
        EXPECT_TRUE(TestEnvironment::writeFile(path, "data"));
        return path;
    }

    QString makeFolder(const QString& name)
    {
        EXPECT_TRUE(QDir(dir.path()).mkpath(name));
        return dir.filePath(name);
    }

    TestAppDelegate& start()
    {
        delegate = std::make_unique<TestAppDelegate>();
        return *delegate;
    }

    QTemporaryDir dir;
    ScriptedServices services;
    ScriptedKeyState keys;
    std::unique_ptr<TestAppDelegate> delegate;
};

QString className(const QObject* object)
{
    return object ? QString::fromLatin1(object->metaObject()->className()) : QString();
}

void dropOn(RKDroppableView* view, const QStringList& paths)
{
    QMimeData data;
    QList<QUrl> urls;
    for (const QString& path : paths) {
        urls.append(QUrl::fromLocalFile(path));
    }
    data.setUrls(urls);
    const QPointF centre = QRectF(view->rect()).center();
    QDragEnterEvent enter(centre.toPoint(), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(view, &enter);
    ASSERT_TRUE(enter.isAccepted());
    QDropEvent drop(centre, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(view, &drop);
    ASSERT_TRUE(drop.isAccepted());
}

// --- open-files request: the job class of the Finder-drag profile -------------------

struct JobClassRow {
    const char* name;
    QStringList items; // "x/" a folder, else a file
    qint32 mode;
    qint32 location;
    const char* expectedClass;
};

class OpenFilesJobClass : public AppDelegateTest, public ::testing::WithParamInterface<JobClassRow>
{
};

TEST_P(OpenFilesJobClass, StartsTheTableClassWithTheFinderDragProfile)
{
    const JobClassRow& row = GetParam();
    QStringList paths;
    for (const QString& item : row.items) {
        paths.append(item.endsWith(QLatin1Char('/')) ? makeFolder(item.chopped(1)) : makeFile(item));
    }
    const QString out = makeFolder(QStringLiteral("out"));
    QString archiveID;
    QString unArchiveID;
    editSettings([&](RKSetting& s) {
        // The second profile of each list, so the first (the factory choice) cannot pass.
        RKProfileSetting& archive = s.archiveProfiles[1];
        archive.archiveMode = row.mode;
        archive.saveLocation = row.location;
        archive.saveStaticFolderPath = out;
        s.finderDragArchiveProfileID = archiveID = archive.profileID;
        RKUnArchiveProfileSetting& unArchive = s.unArchiveProfiles[1];
        unArchive.saveLocation = row.location;
        unArchive.saveStaticFolderPath = out;
        s.finderDragUnArchiveProfileID = unArchiveID = unArchive.profileID;
    });

    TestAppDelegate& app = start();
    app.applicationDidFinishLaunching();
    app.applicationOpenFiles(paths);
    EXPECT_FALSE(app.isJobRunning()) << "the job is set up on a later turn";
    ASSERT_TRUE(app.waitUntilIdle());

    const QString expected = QString::fromLatin1(row.expectedClass);
    if (expected.startsWith(QStringLiteral("RKUnArchive"))) {
        ASSERT_TRUE(app.unArchiver());
        EXPECT_EQ(className(app.unArchiver().get()), expected);
        EXPECT_EQ(app.unArchiver()->profile().profileID, unArchiveID);
        EXPECT_FALSE(app.archiver());
    } else {
        ASSERT_TRUE(app.archiver());
        EXPECT_EQ(className(app.archiver().get()), expected);
        EXPECT_EQ(app.archiver()->profile().profileID, archiveID);
        EXPECT_EQ(app.archiver()->profile().destEncoding, 4u);
        EXPECT_EQ(app.archiver()->items(), paths);
        EXPECT_FALSE(app.unArchiver());
    }
}

INSTANTIATE_TEST_SUITE_P(
    App, OpenFilesJobClass,
    ::testing::Values(
        JobClassRow{"OneFolderPerItemModeIsSingle", {"dir/"}, 1, 1, "RKArchiveSingleSameSource"},
        JobClassRow{"TwoFilesOneArchiveAsk", {"a.txt", "b.txt"}, 0, 0, "RKArchiveSingleAnyTime"},
        JobClassRow{"TwoFilesOneArchiveFixed", {"a.txt", "b.txt"}, 0, 2,
                    "RKArchiveSingleStaticFolder"},
        JobClassRow{"FileAndFolderPerItemAsk", {"a.txt", "y/"}, 1, 0, "RKArchiveMultiAnyTime"},
        JobClassRow{"FileAndFolderPerItemBeside", {"a.txt", "y/"}, 1, 1,
                    "RKArchiveMultiSameSource"},
        JobClassRow{"FileAndFolderPerItemFixed", {"a.txt", "y/"}, 1, 2,
                    "RKArchiveMultiStaticFolder"},
        JobClassRow{"OneZipAsk", {"a.zip"}, 0, 0, "RKUnArchiveSingleAnyTime"},
        JobClassRow{"OneZipBeside", {"a.ZIP"}, 0, 1, "RKUnArchiveSingleSameSource"},
        JobClassRow{"OneZipFixed", {"a.Zip"}, 0, 2, "RKUnArchiveSingleStaticFolder"},
        JobClassRow{"TwoZipsAsk", {"a.zip", "b.zip"}, 1, 0, "RKUnArchiveMultiAnyTime"},
        JobClassRow{"TwoZipsBeside", {"a.zip", "b.zip"}, 0, 1, "RKUnArchiveMultiSameSource"},
        JobClassRow{"TwoZipsFixed", {"a.zip", "b.zip"}, 0, 2, "RKUnArchiveMultiStaticFolder"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(AppDelegateTest, FinderDragIdNamingNoProfileDropsTheRequestBeforeSamplingKeys)
{
    editSettings([](RKSetting& s) {
        s.finderDragArchiveProfileID = QStringLiteral("no such profile");
        s.archiveProfiles[2].profileShotcutCode = kKeyA;
        s.archiveProfiles[2].profileShotcutFlags = 0;
    });
    keys.held = {kKeyA, kKeyP};
    TestAppDelegate& app = start();
    app.applicationOpenFiles({makeFile(QStringLiteral("a.txt"))});
    ASSERT_TRUE(app.waitUntilIdle());
    EXPECT_FALSE(app.archiver());
    EXPECT_EQ(keys.questions, 0);
    EXPECT_TRUE(services.passwords.archivePromptProfiles.isEmpty());
    EXPECT_EQ(app.window()->findChild<QMessageBox*>(), nullptr);
}

// --- quitting after the result window ------------------------------------------------

struct QuitRow {
    const char* name;
    bool openedBeforeLaunchEnded;
    qint32 saveLocation;
    bool answerPanel;
    int expectedRuns;
    int expectedTerminate;
};

class QuitAfterResult : public AppDelegateTest, public ::testing::WithParamInterface<QuitRow>
{
};

TEST_P(QuitAfterResult, OnlyAnApplicationStartedForTheItemsQuitsAndOnlyAfterAResult)
{
    const QuitRow& row = GetParam();
    editSettings([&](RKSetting& s) { s.archiveProfiles[0].saveLocation = row.saveLocation; });
    if (row.answerPanel) {
        services.panels.script({dir.filePath(QStringLiteral("chosen.zip"))});
    }
    const QStringList paths{makeFile(QStringLiteral("a.txt"))};

    TestAppDelegate& app = start();
    if (row.openedBeforeLaunchEnded) {
        app.applicationOpenFiles(paths);
        app.applicationDidFinishLaunching();
    } else {
        app.applicationDidFinishLaunching();
        app.applicationOpenFiles(paths);
    }
    EXPECT_EQ(app.reserveExit(), row.openedBeforeLaunchEnded);
    ASSERT_TRUE(app.waitUntilIdle());

    EXPECT_EQ(app.archiveRunner.runs.size(), row.expectedRuns);
    EXPECT_EQ(app.results.shown.size(), row.expectedRuns);
    EXPECT_EQ(app.terminateCount, row.expectedTerminate);
    EXPECT_TRUE(app.isDockProcessing());
}

INSTANTIATE_TEST_SUITE_P(
    App, QuitAfterResult,
    ::testing::Values(QuitRow{"StartedForItemsQuits", true, 1, false, 1, 1},
                      QuitRow{"AlreadyRunningStays", false, 1, false, 1, 0},
                      QuitRow{"StartedForItemsPanelAnsweredQuits", true, 0, true, 1, 1},
                      QuitRow{"StartedForItemsPanelCancelledStays", true, 0, false, 0, 0},
                      QuitRow{"AlreadyRunningPanelCancelledStays", false, 0, false, 0, 0}),
    [](const auto& info) { return std::string(info.param.name); });

// --- held profile combination ------------------------------------------------------

struct HeldProfileRow {
    const char* name;
    bool viaDrop;
};

class HeldProfileOverride : public AppDelegateTest,
                            public ::testing::WithParamInterface<HeldProfileRow>
{
};

TEST_P(HeldProfileOverride, HeldCombinationReplacesTheBaseProfileWithoutStoringIt)
{
    QString heldID;
    QString baseID;
    editSettings([&](RKSetting& s) {
        for (RKProfileSetting& p : s.archiveProfiles) {
            p.saveLocation = RKProfileSetting::SaveLocationSameSource;
        }
        s.archiveProfiles[3].profileShotcutCode = kKeyA;
        s.archiveProfiles[3].profileShotcutFlags = 0;
        heldID = s.archiveProfiles[3].profileID;
        baseID = GetParam().viaDrop ? s.archiveProfiles[2].profileID
                                    : s.finderDragArchiveProfileID;
    });
    const RKSetting before = RKSetting::Setting();
    keys.held = {kKeyA};
    const QString item = makeFile(QStringLiteral("a.txt"));

    TestAppDelegate& app = start();
    app.applicationDidFinishLaunching();
    if (GetParam().viaDrop) {
        app.window()->topView()->profilePopUp()->setCurrentIndex(2);
        dropOn(app.window()->topView()->zipDropPanel(), {item});
    } else {
        app.applicationOpenFiles({item});
    }
    ASSERT_TRUE(app.waitUntilIdle());

    ASSERT_EQ(app.archiveRunner.runs.size(), 1);
    EXPECT_EQ(app.archiveRunner.runs[0].profile.profileID, heldID);
    const RKSetting after = RKSetting::Setting();
    EXPECT_EQ(after.finderDragArchiveProfileID, before.finderDragArchiveProfileID);
    // The drop window records the profile of its pop-up, not the held one.
    EXPECT_EQ(after.activeArchiveProfileID,
              GetParam().viaDrop ? baseID : before.activeArchiveProfileID);
}

INSTANTIATE_TEST_SUITE_P(App, HeldProfileOverride,
                         ::testing::Values(HeldProfileRow{"OpenFiles", false},
                                           HeldProfileRow{"Drop", true}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(AppDelegateTest, HeldUnArchiveCombinationReplacesTheFinderDragProfile)
{
    QString heldID;
    editSettings([&](RKSetting& s) {
        for (RKUnArchiveProfileSetting& p : s.unArchiveProfiles) {
            p.saveLocation = RKProfileSetting::SaveLocationSameSource;
        }
        s.unArchiveProfiles[1].profileShotcutCode = kKeyA;
        s.unArchiveProfiles[1].profileShotcutFlags = 0x100000; // Command
        heldID = s.unArchiveProfiles[1].profileID;
    });
    keys.held = {kKeyA, 55}; // A with left Command
    TestAppDelegate& app = start();
    app.applicationOpenFiles({makeFile(QStringLiteral("a.zip"))});
    ASSERT_TRUE(app.waitUntilIdle());
    ASSERT_EQ(app.unArchiveRunner.runs.size(), 1);
    EXPECT_EQ(app.unArchiveRunner.runs[0].profile.profileID, heldID);
    EXPECT_TRUE(services.passwords.archivePromptProfiles.isEmpty())
        << "the password combination (P) is not held and plays no part in extracting";
}

// --- held password combination ------------------------------------------------------

struct PasswordRow {
    const char* name;
    quint64 passwordCode;
    QList<int> held;
    int heldProfileIndex; // -1: no profile combination held
    int expectedPrompts;
    qint32 expectedPassMode;
    const char* expectedPassword;
};

class HeldPasswordCombination : public AppDelegateTest,
                                public ::testing::WithParamInterface<PasswordRow>
{
};

TEST_P(HeldPasswordCombination, AsksOnceForTheJobAndLeavesTheStoredProfile)
{
    const PasswordRow& row = GetParam();
    editSettings([&](RKSetting& s) {
        s.passwordShotcutCode = row.passwordCode;
        s.passwordShotcutFlags = 0;
        for (RKProfileSetting& p : s.archiveProfiles) {
            p.archiveMode = RKProfileSetting::ArchiveModeMulti;
            p.saveLocation = RKProfileSetting::SaveLocationSameSource;
        }
        if (row.heldProfileIndex >= 0) {
            s.archiveProfiles[row.heldProfileIndex].profileShotcutCode = kKeyA;
            s.archiveProfiles[row.heldProfileIndex].profileShotcutFlags = 0;
        }
    });
    const RKSetting before = RKSetting::Setting();
    const RKProfileSetting expectedProfile =
        before.archiveProfiles.at(row.heldProfileIndex >= 0 ? row.heldProfileIndex : 0);
    keys.held = QSet<int>(row.held.begin(), row.held.end());
    services.passwords.archiveAnswers = {QStringLiteral("pw{YYYY}")};

    TestAppDelegate& app = start();
    app.applicationOpenFiles({makeFile(QStringLiteral("a.txt")), makeFile(QStringLiteral("b.txt")),
                              makeFile(QStringLiteral("c.txt"))});
    ASSERT_TRUE(app.waitUntilIdle());

    ASSERT_EQ(services.passwords.archivePromptProfiles.size(), row.expectedPrompts);
    if (row.expectedPrompts > 0) {
        // The window is prepared for the stored record, not the job's copy.
        const RKProfileSetting& prompted = services.passwords.archivePromptProfiles[0];
        EXPECT_EQ(prompted.profileID, expectedProfile.profileID);
        EXPECT_EQ(prompted.passMode, expectedProfile.passMode);
    }
    ASSERT_EQ(app.archiveRunner.runs.size(), 3);
    for (const auto& run : app.archiveRunner.runs) {
        EXPECT_EQ(run.profile.profileID, expectedProfile.profileID);
        EXPECT_EQ(run.profile.passMode, row.expectedPassMode);
        EXPECT_EQ(run.profile.password, QString::fromUtf8(row.expectedPassword));
    }
    const RKSetting after = RKSetting::Setting();
    for (int i = 0; i < before.archiveProfiles.size(); ++i) {
        EXPECT_EQ(after.archiveProfiles[i].passMode, before.archiveProfiles[i].passMode);
        EXPECT_EQ(after.archiveProfiles[i].password, before.archiveProfiles[i].password);
    }
}

INSTANTIATE_TEST_SUITE_P(
    App, HeldPasswordCombination,
    ::testing::Values(
        PasswordRow{"HeldWithPassModeNone", 35, {kKeyP}, -1, 1, 2, "pw{YYYY}"},
        PasswordRow{"NotHeld", 35, {}, -1, 0, 0, ""},
        PasswordRow{"ClearedCombinationNeverAsks", ~quint64(0), {kKeyP}, -1, 0, 0, ""},
        // With a held profile, the window is prepared for that profile.
        PasswordRow{"HeldTogetherWithAProfileCombination", 35, {kKeyP, kKeyA}, 3, 1, 2,
                    "pw{YYYY}"}),
    [](const auto& info) { return std::string(info.param.name); });

// --- mixed items ------------------------------------------------------------------

struct MixedRow {
    const char* name;
    bool viaOpenFiles;
    bool empty;
    int expectedTerminate;
};

class MixedItems : public AppDelegateTest, public ::testing::WithParamInterface<MixedRow>
{
};

TEST_P(MixedItems, AlertOnTheWindowThenQuitOnlyForOpenFiles)
{
    const MixedRow& row = GetParam();
    const QStringList paths = row.empty ? QStringList()
                                        : QStringList{makeFile(QStringLiteral("a.zip")),
                                                      makeFile(QStringLiteral("b.txt"))};
    TestAppDelegate& app = start();
    app.applicationDidFinishLaunching();
    if (row.viaOpenFiles) {
        app.applicationOpenFiles(paths);
    } else {
        app.window()->topView()->droppableViewItemDropped(
            app.window()->topView()->zipDropPanel(), paths);
    }

    auto* alert = app.window()->findChild<QMessageBox*>(QStringLiteral("mixedItemsAlert"));
    ASSERT_NE(alert, nullptr);
    EXPECT_EQ(alert->text(), QString::fromUtf16(u"エラー"));
    EXPECT_EQ(alert->informativeText(), QString::fromUtf16(u"圧縮対象と解凍対象が混在しています"));
    EXPECT_EQ(alert->windowModality(), Qt::WindowModal);
    ASSERT_EQ(alert->buttons().size(), 1);
    EXPECT_EQ(alert->buttons()[0]->text(), QStringLiteral("OK"));
    EXPECT_EQ(app.terminateCount, 0) << "nothing ends before the alert is dismissed";

    alert->buttons()[0]->click();
    ASSERT_TRUE(app.waitUntilIdle());
    EXPECT_EQ(app.terminateCount, row.expectedTerminate);
    EXPECT_FALSE(app.archiver());
    EXPECT_FALSE(app.unArchiver());
}

INSTANTIATE_TEST_SUITE_P(App, MixedItems,
                         ::testing::Values(MixedRow{"OpenFilesQuits", true, false, 1},
                                           MixedRow{"OpenFilesEmptyQuits", true, true, 1},
                                           MixedRow{"DropStays", false, false, 0}),
                         [](const auto& info) { return std::string(info.param.name); });

// --- drop window dispatch ------------------------------------------------------------

TEST_F(AppDelegateTest, DropStoresThePopUpProfileAsActiveBeforeTheJobStarts)
{
    QString chosenArchiveID;
    QString chosenUnArchiveID;
    editSettings([&](RKSetting& s) {
        s.archiveProfiles[2].saveLocation = RKProfileSetting::SaveLocationSameSource;
        chosenArchiveID = s.archiveProfiles[2].profileID;
        s.unArchiveProfiles[1].saveLocation = RKProfileSetting::SaveLocationSameSource;
        chosenUnArchiveID = s.unArchiveProfiles[1].profileID;
    });
    const QString folder = makeFolder(QStringLiteral("docs"));
    const QString archive = makeFile(QStringLiteral("in.zip"));

    TestAppDelegate& app = start();
    RKTopView* view = app.window()->topView();
    ASSERT_NE(RKSetting::Setting().activeArchiveProfileID, chosenArchiveID);
    view->profilePopUp()->setCurrentIndex(2);
    view->unArchiveProfilePopUp()->setCurrentIndex(1);
    QStringList activeAtStart;
    QObject::connect(&app, &RKAppDelegate::jobStarted, [&] {
        const RKSetting s = RKSetting::Setting();
        activeAtStart << s.activeArchiveProfileID << s.activeUnArchiveProfileID;
    });

    dropOn(view->zipDropPanel(), {folder});
    ASSERT_TRUE(app.waitUntilIdle());
    ASSERT_EQ(activeAtStart.size(), 2);
    EXPECT_EQ(activeAtStart[0], chosenArchiveID);
    ASSERT_EQ(app.archiveRunner.runs.size(), 1);
    EXPECT_EQ(app.archiveRunner.runs[0].profile.profileID, chosenArchiveID);
    EXPECT_EQ(app.archiveRunner.runs[0].url, dir.filePath(QStringLiteral("docs.zip")));

    dropOn(view->zipDropPanel(), {archive});
    ASSERT_TRUE(app.waitUntilIdle());
    ASSERT_EQ(activeAtStart.size(), 4);
    EXPECT_EQ(activeAtStart[3], chosenUnArchiveID);
    ASSERT_EQ(app.unArchiveRunner.runs.size(), 1);
    EXPECT_EQ(app.unArchiveRunner.runs[0].profile.profileID, chosenUnArchiveID);
    EXPECT_EQ(app.terminateCount, 0);
}

// --- one job at a time -------------------------------------------------------------

// The manual password window runs a loop of its own; items handed over
// while it is up are a request like any other.
struct HandingOverPrompt : ScriptedPasswordPrompt {
    std::function<void()> whileUp;
    QString showPasswordDialog(QObject* window, const RKProfileSetting& profile) override
    {
        if (whileUp) {
            std::exchange(whileUp, nullptr)();
        }
        return ScriptedPasswordPrompt::showPasswordDialog(window, profile);
    }
};

TEST_F(AppDelegateTest, RequestsArrivingDuringAJobWaitForItAndTheExitWaitsForThem)
{
    editSettings([](RKSetting& s) {
        s.archiveProfiles[0].saveLocation = RKProfileSetting::SaveLocationSameSource;
    });
    const QString first = makeFile(QStringLiteral("first.txt"));
    const QString second = makeFile(QStringLiteral("second.txt"));
    const QString third = makeFile(QStringLiteral("third.txt"));
    keys.held = {kKeyP}; // every request asks for a password first

    TestAppDelegate& app = start();
    QStringList log;
    HandingOverPrompt prompt;
    RKPasswordPrompt::setCurrent(&prompt); // put back by the fixture's services
    prompt.whileUp = [&] {
        app.applicationOpenFiles({second});
        bool turned = false; // a few turns of the window's loop
        QTimer::singleShot(0, [&] { QTimer::singleShot(0, [&] { turned = true; }); });
        TestEnvironment::waitFor([&] { return turned; });
    };
    QObject::connect(&app, &RKAppDelegate::jobStarted, [&] { log << QStringLiteral("start"); });
    QObject::connect(&app, &RKAppDelegate::jobFinished, [&] { log << QStringLiteral("end"); });
    app.archiveRunner.onRun = [&](const RecordingArchiveRunner::Run& run) {
        log << QStringLiteral("run ") + QFileInfo(run.url).fileName();
        if (app.archiveRunner.runs.size() == 1) {
            // Items handed over by a later start while the runner's loop runs.
            app.applicationOpenFiles({third});
            EXPECT_EQ(app.pendingRequestCount(), 2);
        }
        EXPECT_EQ(app.terminateCount, 0);
    };
    app.applicationOpenFiles({first});
    app.applicationDidFinishLaunching(); // started to open items: quits when done
    ASSERT_TRUE(app.waitUntilIdle());

    EXPECT_EQ(log, QStringList({"start", "run first.zip", "end", "start", "run second.zip", "end",
                                "start", "run third.zip", "end"}));
    EXPECT_EQ(prompt.archivePromptProfiles.size(), 3);
    EXPECT_EQ(app.results.shown.size(), 3);
    EXPECT_EQ(app.terminateCount, 1);
}

} // namespace
