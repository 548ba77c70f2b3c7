// The application delegate with recording runners: which job and profile a
// request gets, the held combinations, the alert, queueing and quitting.
#include "app/AppTestSupport.h"
#include "app/widgets/RKDroppableView.h"
#include "app/widgets/RKHelpLauncher.h"
#include "app/widgets/RKHelpWindow.h"
#include "app/widgets/RKTopView.h"
#include "app/widgets/RKTopWindow.h"
#include "archive/RKArchiveBase.h"
#include "settings/RKSetting.h"
#include "support/FakeXdgOpen.h"
#include "support/TestEnvironment.h"
#include "ui/RKProfilePopUpButton.h"
#include "ui/RKUnArchiveProfilePopUpButton.h"
#include "unarchive/RKUnArchiveBase.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QCoreApplication>
#include <QDir>
#include <QDropEvent>
#include <QFileInfo>
#include <QMessageBox>
#include <QMimeData>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTimer>
#include <QUrl>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <utility>

namespace {

constexpr int kKeyP = 35;
constexpr int kKeyA = 0;
constexpr int kLeftShift = 56;
constexpr quint64 kNoKey = ~quint64(0);

class AppDelegateTest : public ::testing::Test
{
protected:
    void SetUp() override { RKSetting::RestoreDefault(); }

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

    // "x/" is made as a folder, anything else as a file.
    QStringList make(const QStringList& items)
    {
        QStringList paths;
        for (const QString& item : items) {
            if (item.endsWith('/')) {
                EXPECT_TRUE(QDir(dir.path()).mkpath(item));
                paths.append(dir.filePath(item.chopped(1)));
            } else {
                EXPECT_TRUE(TestEnvironment::writeFile(dir.filePath(item), "data"));
                paths.append(dir.filePath(item));
            }
        }
        return paths;
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
    QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(view, &enter);
    ASSERT_TRUE(enter.isAccepted());
    QDropEvent drop(QPointF(10, 10), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(view, &drop);
    ASSERT_TRUE(drop.isAccepted());
}

// --- open-files request: the job class of the Finder-drag profile, and quitting ----

struct JobClassRow {
    const char* name;
    QStringList items;
    qint32 mode;
    qint32 location;           // 0 asks with a panel
    bool startedForItems;      // the request came before the end of start-up
    bool answerPanel;          // else every panel is cancelled
    const char* expectedClass; // "": no job for these values
};

class OpenFiles : public AppDelegateTest, public ::testing::WithParamInterface<JobClassRow> {};

TEST_P(OpenFiles, StartsTheTableClassAndQuitsAfterTheResultsOnlyWhenStartedForTheItems)
{
    const JobClassRow& row = GetParam();
    const QStringList paths = make(row.items);
    const QString out = make({"out/"}).constFirst();
    if (row.answerPanel) {
        services.panels.script({dir.filePath("chosen.zip")});
    }
    QString archiveID, unArchiveID;
    editSettings([&](RKSetting& s) {
        // The second profile of each list: the first (whose key code -1 would
        // read as held if it were asked) must not win.
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
    if (!row.startedForItems) {
        app.applicationDidFinishLaunching();
    }
    app.applicationOpenFiles(paths);
    if (row.startedForItems) {
        app.applicationDidFinishLaunching();
    }
    EXPECT_EQ(app.reserveExit(), row.startedForItems);
    EXPECT_FALSE(app.isJobRunning()) << "the job is set up on a later turn";
    ASSERT_TRUE(app.waitUntilIdle());

    // At most one of the two: two class names never join into one.
    const QString expected = QString::fromLatin1(row.expectedClass);
    EXPECT_EQ(className(app.archiver().get()) + className(app.unArchiver().get()), expected);
    if (app.archiver()) {
        EXPECT_EQ(app.archiver()->profile().profileID, archiveID);
        EXPECT_EQ(app.archiver()->items(), paths);
    }
    if (app.unArchiver()) {
        EXPECT_EQ(app.unArchiver()->profile().profileID, unArchiveID);
    }
    // A cancelled panel ends the job without results, and an application
    // started for the items then stays.
    const bool results = !expected.isEmpty() && (row.location != 0 || row.answerPanel);
    EXPECT_EQ(app.results.shown.size(), results ? 1 : 0);
    EXPECT_EQ(app.terminateCount, results && row.startedForItems ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(
    App, OpenFiles,
    ::testing::Values(
        JobClassRow{"OneFolderPerItemModeIsSingle", {"dir/"}, 1, 1, true, false, "RKArchiveSingleSameSource"},
        JobClassRow{"TwoFilesOneArchiveAskAnswered", {"a.txt", "b.txt"}, 0, 0, true, true, "RKArchiveSingleAnyTime"},
        JobClassRow{"TwoFilesOneArchiveAskCancelled", {"a.txt", "b.txt"}, 0, 0, true, false, "RKArchiveSingleAnyTime"},
        JobClassRow{"TwoFilesOneArchiveFixed", {"a.txt", "b.txt"}, 0, 2, false, false, "RKArchiveSingleStaticFolder"},
        JobClassRow{"FileAndFolderPerItemAsk", {"a.txt", "y/"}, 1, 0, true, false, "RKArchiveMultiAnyTime"},
        JobClassRow{"FileAndFolderPerItemBeside", {"a.txt", "y/"}, 1, 1, false, false, "RKArchiveMultiSameSource"},
        JobClassRow{"FileAndFolderPerItemFixed", {"a.txt", "y/"}, 1, 2, true, false, "RKArchiveMultiStaticFolder"},
        JobClassRow{"OneZipAsk", {"a.zip"}, 0, 0, true, false, "RKUnArchiveSingleAnyTime"},
        JobClassRow{"OneZipBeside", {"a.ZIP"}, 0, 1, true, false, "RKUnArchiveSingleSameSource"},
        JobClassRow{"OneZipFixed", {"a.Zip"}, 0, 2, false, false, "RKUnArchiveSingleStaticFolder"},
        JobClassRow{"TwoZipsAsk", {"a.zip", "b.zip"}, 1, 0, false, false, "RKUnArchiveMultiAnyTime"},
        JobClassRow{"TwoZipsBeside", {"a.zip", "b.zip"}, 0, 1, false, false, "RKUnArchiveMultiSameSource"},
        JobClassRow{"TwoZipsFixed", {"a.zip", "b.zip"}, 0, 2, true, false, "RKUnArchiveMultiStaticFolder"},
        JobClassRow{"ArchiveLocationThreeNoJob", {"a.txt"}, 0, 3, true, false, ""},
        JobClassRow{"ModeTwoWithTwoItemsNoJob", {"a.txt", "b.txt"}, 2, 0, true, false, ""},
        JobClassRow{"UnArchiveLocationMinusOneNoJob", {"a.zip"}, 0, -1, true, false, ""}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(AppDelegateTest, FinderDragIdNamingNoProfileDropsTheRequestBeforeSamplingKeys)
{
    editSettings([](RKSetting& s) {
        s.finderDragArchiveProfileID = QStringLiteral("no such profile");
        s.archiveProfiles[2].profileShotcutCode = kKeyA;
    });
    keys.held = {kKeyA, kKeyP};
    TestAppDelegate& app = start();
    app.applicationOpenFiles(make({"a.txt"}));
    ASSERT_TRUE(app.waitUntilIdle());
    EXPECT_FALSE(app.archiver());
    EXPECT_EQ(keys.questions, 0);
    EXPECT_TRUE(services.passwords.archivePromptProfiles.isEmpty());
    EXPECT_EQ(app.window()->findChild<QMessageBox*>(), nullptr);
}

// --- the profile and password a request gets --------------------------------------

struct ProfileRow {
    const char* name;
    bool viaDrop;
    bool extract;
    int popUpIndex;          // shown in the drop window's pop-up of the kind
    QList<int> heldProfiles; // profiles whose combination (A) is held
    QList<int> otherKeys;    // held too (P is the factory password combination)
    quint64 passwordCode;
    qint64 passwordFlags;
    int expectedIndex; // the profile the job gets
    bool expectPrompt; // the manual password window, once for the job
    // When the keyboard's state becomes known (the window's focus): 0 at
    // once, -1 never (the request goes on after a second and a half, no key held).
    int knownAfterMs = 0;
};

class RequestProfile : public AppDelegateTest, public ::testing::WithParamInterface<ProfileRow> {};

TEST_P(RequestProfile, HeldCombinationsChooseTheProfileAndPasswordWithoutStoringThem)
{
    const ProfileRow& row = GetParam();
    editSettings([&](RKSetting& s) {
        s.passwordShotcutCode = row.passwordCode;
        s.passwordShotcutFlags = row.passwordFlags;
        for (RKProfileSetting& p : s.archiveProfiles) {
            p.archiveMode = RKProfileSetting::ArchiveModeMulti;
            p.saveLocation = RKProfileSetting::SaveLocationSameSource;
        }
        for (RKUnArchiveProfileSetting& p : s.unArchiveProfiles) {
            p.saveLocation = RKProfileSetting::SaveLocationSameSource;
        }
        for (int i : row.heldProfiles) {
            (row.extract ? s.unArchiveProfiles[i].profileShotcutCode : s.archiveProfiles[i].profileShotcutCode) = kKeyA;
        }
    });
    const RKSetting before = RKSetting::Setting();
    const auto idAt = [&](int i) { return row.extract ? before.unArchiveProfiles.at(i).profileID : before.archiveProfiles.at(i).profileID; };
    keys.held = QSet<int>(row.otherKeys.begin(), row.otherKeys.end());
    if (!row.heldProfiles.isEmpty()) {
        keys.held.insert(kKeyA);
    }
    services.passwords.archiveAnswers = {"pw{YYYY}"};
    const QStringList items = make(row.extract ? QStringList{"in.zip"} : QStringList{"a.txt", "b/", "c.txt"});
    keys.known = row.knownAfterMs == 0;
    if (row.knownAfterMs > 0) {
        QTimer::singleShot(row.knownAfterMs, [this] { keys.known = true; });
    }

    TestAppDelegate& app = start();
    QStringList activeAtStart;
    QObject::connect(&app, &RKAppDelegate::jobStarted, [&] {
        const RKSetting s = RKSetting::Setting();
        activeAtStart = {s.activeArchiveProfileID, s.activeUnArchiveProfileID};
    });
    RKTopView* view = app.window()->topView();
    if (row.viaDrop) {
        (row.extract ? static_cast<QComboBox*>(view->unArchiveProfilePopUp()) : view->profilePopUp())->setCurrentIndex(row.popUpIndex);
        dropOn(view->zipDropPanel(), items);
    } else {
        app.applicationOpenFiles(items);
    }
    ASSERT_TRUE(app.waitUntilIdle());

    QStringList used;
    for (const auto& run : app.archiveRunner.runs) {
        used.append(run.profile.profileID);
        // The typed text becomes the job's template, expanded by the runner.
        const RKProfileSetting& stored = before.archiveProfiles.at(row.expectedIndex);
        EXPECT_EQ(run.profile.passMode, row.expectPrompt ? 2 : stored.passMode);
        EXPECT_EQ(run.profile.password, row.expectPrompt ? QString("pw{YYYY}") : stored.password);
    }
    for (const auto& profile : app.unArchiveRunner.runs) {
        used.append(profile.profileID);
    }
    EXPECT_EQ(used, QStringList(items.size(), idAt(row.expectedIndex)));
    // Prepared for the stored record of the chosen profile, not the job's copy.
    QStringList prompted;
    for (const RKProfileSetting& profile : services.passwords.archivePromptProfiles) {
        prompted.append(profile.profileID + " " + QString::number(profile.passMode));
    }
    const QString chosen = idAt(row.expectedIndex) + " " + QString::number(before.archiveProfiles.at(row.expectedIndex).passMode);
    EXPECT_EQ(prompted, row.expectPrompt ? QStringList{chosen} : QStringList());

    // The drop window records the profile of its pop-up before the job
    // starts; nothing else is stored.
    QStringList active = {before.activeArchiveProfileID, before.activeUnArchiveProfileID};
    if (row.viaDrop) {
        active[row.extract ? 1 : 0] = idAt(row.popUpIndex);
    }
    EXPECT_EQ(activeAtStart, active);
    const RKSetting after = RKSetting::Setting();
    EXPECT_EQ(after.finderDragArchiveProfileID, before.finderDragArchiveProfileID);
    EXPECT_EQ(after.finderDragUnArchiveProfileID, before.finderDragUnArchiveProfileID);
    for (int i = 0; i < before.archiveProfiles.size(); ++i) {
        EXPECT_EQ(after.archiveProfiles[i].passMode, before.archiveProfiles[i].passMode);
        EXPECT_EQ(after.archiveProfiles[i].password, before.archiveProfiles[i].password);
    }
}

constexpr qint64 kShift = 0x20000;

INSTANTIATE_TEST_SUITE_P(
    App, RequestProfile,
    ::testing::Values(
        ProfileRow{"OpenFilesHeldOverrides", false, false, 0, {3}, {}, kKeyP, 0, 3, false},
        ProfileRow{"OpenFilesTwoHeldEarlierWins", false, false, 0, {3, 1}, {}, kKeyP, 0, 1, false},
        ProfileRow{"OpenFilesExtractHeldOverridesNoPassword", false, true, 0, {1}, {kKeyP}, kKeyP, 0, 1, false},
        ProfileRow{"DropUsesThePopUp", true, false, 2, {}, {}, kKeyP, 0, 2, false},
        ProfileRow{"DropZipUsesThePopUp", true, true, 1, {}, {}, kKeyP, 0, 1, false},
        ProfileRow{"DropHeldOverridesThePopUp", true, false, 2, {3}, {}, kKeyP, 0, 3, false},
        ProfileRow{"PasswordHeldWithPassModeNone", false, false, 0, {}, {kKeyP}, kKeyP, 0, 0, true},
        ProfileRow{"PasswordNotHeld", false, false, 0, {}, {kLeftShift}, kKeyP, 0, 0, false},
        ProfileRow{"PasswordClearedNeverAsks", false, false, 0, {}, {kKeyP}, kNoKey, 0, 0, false},
        ProfileRow{"PasswordClearedWithFlagsNeverAsks", false, false, 0, {}, {kKeyP, kLeftShift}, kNoKey, kShift, 0, false},
        ProfileRow{"PasswordAndProfileHeld", false, false, 0, {3}, {kKeyP}, kKeyP, 0, 3, true},
        // On purpose, for Wayland and XWayland: keys are read once the window has the focus.
        ProfileRow{"HeldKeysReadOnceKnown", false, false, 0, {3}, {kKeyP}, kKeyP, 0, 3, true, 200},
        ProfileRow{"HeldKeysNeverKnownCountAsNotHeld", true, false, 2, {3}, {kKeyP}, kKeyP, 0, 2, false, -1}),
    [](const auto& info) { return std::string(info.param.name); });

// --- mixed items ------------------------------------------------------------------

struct MixedRow {
    const char* name;
    bool viaOpenFiles;
    QStringList items;
    int expectedTerminate;
};

class MixedItems : public AppDelegateTest, public ::testing::WithParamInterface<MixedRow> {};

TEST_P(MixedItems, AlertOnTheWindowThenQuitOnlyForOpenFiles)
{
    const MixedRow& row = GetParam();
    const QStringList paths = make(row.items);
    TestAppDelegate& app = start();
    app.applicationDidFinishLaunching();
    if (row.viaOpenFiles) {
        app.applicationOpenFiles(paths);
    } else {
        dropOn(app.window()->topView()->zipDropPanel(), paths);
    }

    auto* alert = app.window()->findChild<QMessageBox*>("mixedItemsAlert");
    ASSERT_NE(alert, nullptr);
    EXPECT_EQ(alert->text(), "エラー");
    EXPECT_EQ(alert->informativeText(), "圧縮対象と解凍対象が混在しています");
    EXPECT_EQ(alert->windowModality(), Qt::WindowModal);
    ASSERT_EQ(alert->buttons().size(), 1);
    EXPECT_EQ(alert->buttons()[0]->text(), "OK");
    EXPECT_EQ(app.terminateCount, 0) << "nothing ends before the alert is dismissed";

    alert->buttons()[0]->click();
    ASSERT_TRUE(app.waitUntilIdle());
    EXPECT_EQ(app.terminateCount, row.expectedTerminate);
    EXPECT_FALSE(app.archiver());
    EXPECT_FALSE(app.unArchiver());
}

INSTANTIATE_TEST_SUITE_P(App, MixedItems,
                         ::testing::Values(MixedRow{"OpenFilesQuits", true, {"a.zip", "b.txt"}, 1},
                                           MixedRow{"DropStays", false, {"a.zip", "b.txt"}, 0}),
                         [](const auto& info) { return std::string(info.param.name); });

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
    const QStringList paths = make({"first.txt", "second.txt", "third.txt"});
    keys.held = {kKeyP}; // every request asks for a password first

    TestAppDelegate& app = start();
    QStringList log;
    HandingOverPrompt prompt;
    RKPasswordPrompt::setCurrent(&prompt); // put back by the fixture's services
    prompt.whileUp = [&] {
        app.applicationOpenFiles({paths[1]});
        bool turned = false; // a few turns of the window's loop
        QTimer::singleShot(0, [&] { QTimer::singleShot(0, [&] { turned = true; }); });
        TestEnvironment::waitFor([&] { return turned; });
    };
    QObject::connect(&app, &RKAppDelegate::jobStarted, [&] { log << "start"; });
    QObject::connect(&app, &RKAppDelegate::jobFinished, [&] { log << "end"; });
    app.archiveRunner.onRun = [&](const RecordingArchiveRunner::Run& run) {
        log << "run " + QFileInfo(run.url).fileName();
        if (app.archiveRunner.runs.size() == 1) {
            // Items handed over by a later start while the runner's loop runs.
            app.applicationOpenFiles({paths[2]});
            EXPECT_EQ(app.pendingRequestCount(), 2);
        }
        EXPECT_EQ(app.terminateCount, 0);
    };
    app.applicationOpenFiles({paths[0]});
    app.applicationDidFinishLaunching(); // started to open items: quits when done
    ASSERT_TRUE(app.waitUntilIdle());

    EXPECT_EQ(log, QStringList({"start", "run first.zip", "end", "start", "run second.zip", "end",
                                "start", "run third.zip", "end"}));
    EXPECT_EQ(prompt.archivePromptProfiles.size(), 3);
    EXPECT_EQ(app.results.shown.size(), 3);
    EXPECT_EQ(app.terminateCount, 1);
}

// Help without a browser: where xdg-open finds no application for the page,
// it opens in a window of the application, whose links between sections all
// lead somewhere. (Where a browser takes it, the drop window's test sees no
// window come.)
TEST(HelpLauncher, OpensTheBundledPageInAWindowWhereNoBrowserTakesIt)
{
    QWidget parent;
    FakeXdgOpen xdgOpen(1);
    ASSERT_TRUE(RKHelpLauncher::openHelpPage(&parent));
    ASSERT_TRUE(TestEnvironment::waitFor([] { return RKHelpLauncher::helpWindow() != nullptr; }));
    RKHelpWindow* window = RKHelpLauncher::helpWindow();
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(window->browser()->source().fileName(), "index.html");

    QStringList links, anchors;
    for (QTextBlock block = window->browser()->document()->begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextCharFormat format = it.fragment().charFormat();
            if (format.anchorHref().startsWith('#')) {
                links.append(format.anchorHref().mid(1));
            }
            anchors.append(format.anchorNames());
        }
    }
    EXPECT_GE(links.size(), 8) << "the table of contents";
    for (const QString& link : links) {
        EXPECT_TRUE(anchors.contains(link)) << link.toStdString();
    }
    delete window;
}

} // namespace
