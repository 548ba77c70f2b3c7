// The runner window with the real writer: titles, notifications, errors,
// cancel, the password of every archive and what the job does with them.
#include "ArchiveTestSupport.h"

#include "archive/RKArchiveBase.h"
#include "archive/widgets/RKProgressWindow.h"
#include "settings/RKSetting.h"
#include "support/TestEnvironment.h"
#include "support/jobs/ScriptedServices.h"

#include <QFileInfo>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QSemaphore>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <atomic>

using namespace ArchiveTestSupport;

namespace {

// The real runner window whose writer waits at every progress notice until
// the window shows it and atNotice(archive, progress) has run: the test then
// sees every state, and can act at an exact point of the run.
class HeldProgressWindow : public RKProgressWindow
{
public:
    std::function<void(int archive, int progress)> atNotice;

    void runArchive(QObject* centreOver, const QStringList& filePaths,
                    const RKProfileSetting& profile, const QString& url) override
    {
        ++archive;
        RKProgressWindow::runArchive(centreOver, filePaths, profile, url);
    }

    void archiverArchiveProgress(RQZipArchiver* archiver, int progress, int total,
                                 const QString& name) override
    {
        RKProgressWindow::archiverArchiveProgress(archiver, progress, total, name);
        const int current = archive;
        QMetaObject::invokeMethod(
            this,
            [=, this] {
                TestEnvironment::waitFor([&] { return windowTitle() == progressTitle(progress, total); });
                if (atNotice) {
                    atNotice(current, progress);
                }
                gate.release();
            },
            Qt::QueuedConnection);
        gate.tryAcquire(1, 30000);
    }

private:
    std::atomic<int> archive{0};
    QSemaphore gate;
};

class Runner : public ::testing::Test
{
protected:
    RKProfileSetting profile = RKProfileSetting::DefaultSetting();
    QTemporaryDir dir;
    ScriptedServices services;
    HeldProgressWindow runner;
};

struct TitleCase {
    const char* name;
    int files;
    QStringList titles;
};

class RunnerTitles : public Runner, public ::testing::WithParamInterface<TitleCase> {};

TEST_P(RunnerTitles, ShowTheShareOfEntriesStartedWithOneDecimal)
{
    QStringList files;
    for (int i = 0; i < GetParam().files; ++i) {
        files.append(QStringLiteral("f%1.txt").arg(i));
    }
    makeTree(dir.path(), files);
    QStringList titles;
    runner.atNotice = [&](int, int) { titles.append(runner.windowTitle()); };

    runner.runArchive(nullptr, absolute(dir.path(), files), profile, dir.filePath("t.zip"));

    EXPECT_EQ(titles, GetParam().titles);
    files.sort();
    EXPECT_EQ(zipEntries(dir.filePath("t.zip")), files);
}

INSTANTIATE_TEST_SUITE_P(
    Titles, RunnerTitles,
    ::testing::Values(TitleCase{"OneOfThree", 3, {"圧縮中 - 33.3%", "圧縮中 - 66.7%", "圧縮中 - 100.0%"}},
                      TitleCase{"ThreeOfEight", 8,
                                {"圧縮中 - 12.5%", "圧縮中 - 25.0%", "圧縮中 - 37.5%", "圧縮中 - 50.0%",
                                 "圧縮中 - 62.5%", "圧縮中 - 75.0%", "圧縮中 - 87.5%",
                                 "圧縮中 - 100.0%"}}),
    [](const auto& info) { return std::string(info.param.name); });

struct EndCase {
    const char* name;
    QStringList stored;  // existing files, archived in this order
    QStringList missing; // listed after them, gone when their step runs
    bool archiveMade;
    const char* text;
};

class RunnerEnd : public Runner, public ::testing::WithParamInterface<EndCase> {};

TEST_P(RunnerEnd, NotifiesOnceAndKeepsTheErrorsForTheResult)
{
    const EndCase& c = GetParam();
    makeTree(dir.path(), c.stored);
    QWidget mainWindow;
    mainWindow.setGeometry(100, 80, 800, 600);
    mainWindow.show();
    const QString url = dir.filePath("r.zip");

    runner.runArchive(&mainWindow, absolute(dir.path(), c.stored + c.missing), profile, url);

    const auto notes = services.notifier.delivered();
    ASSERT_EQ(notes.size(), 1);
    EXPECT_EQ(notes[0].title, "MOKUZA-FULL");
    EXPECT_EQ(notes[0].subtitle, url);
    EXPECT_EQ(notes[0].informativeText, c.text);
    QList<int> codes;
    QStringList paths;
    for (const RQError& error : runner.errors()) {
        codes.append(error.code());
        paths.append(error.localizedRecoverySuggestion());
    }
    EXPECT_EQ(codes, QList<int>(c.missing.size(), 1));
    EXPECT_EQ(paths, absolute(dir.path(), c.missing));
    EXPECT_EQ(QFileInfo::exists(url), c.archiveMade);
    if (c.archiveMade) {
        QStringList sorted = c.stored;
        sorted.sort();
        EXPECT_EQ(zipEntries(url), sorted);
    }
    EXPECT_FALSE(runner.isVisible());
    EXPECT_EQ(runner.findChild<QLabel*>("textField")->text(), "準備中");
    EXPECT_EQ(runner.findChild<QPushButton*>("btnCansel")->text(), "キャンセル");
    EXPECT_LE((runner.frameGeometry().center() - mainWindow.frameGeometry().center()).manhattanLength(),
              1);
}

INSTANTIATE_TEST_SUITE_P(
    Ends, RunnerEnd,
    ::testing::Values(EndCase{"AllStored", {"a.txt", "b.txt"}, {}, true, "圧縮が完了しました"},
                      EndCase{"ItemGoneBeforeItsStep", {"a.txt"}, {"gone.txt"}, true,
                              "圧縮が完了しましたが、エラーがあります"},
                      EndCase{"NothingToStore", {}, {}, false, "圧縮が完了しました"}),
    [](const auto& info) { return std::string(info.param.name); });

class RunnerJob : public Runner
{
protected:
    void SetUp() override
    {
        services.host.archiveRunner = &runner;
        profile.archiveMode = RKProfileSetting::ArchiveModeMulti;
        profile.saveLocation = RKProfileSetting::SaveLocationStaticFolder;
        profile.saveStaticFolderPath = dir.filePath("out");
    }
};

TEST_F(RunnerJob, CancelledSecondArchiveEndsOnlyItself)
{
    makeTree(dir.path(), {"one.txt", "two/1", "two/2", "two/3", "three.txt"});
    runner.atNotice = [&](int archive, int progress) {
        if (archive == 2 && progress == 1) {
            runner.findChild<QPushButton*>("btnCansel")->click();
        }
    };
    const auto job = makeJob("MultiStaticFolder", absolute(dir.path(), {"one.txt", "two", "three.txt"}),
                             profile);
    ASSERT_EQ(runJob(job), 1);

    ASSERT_EQ(services.host.results.shown.size(), 1);
    QStringList titles;
    for (const auto& result : services.host.results.shown.front()) {
        titles.append(result.title);
    }
    EXPECT_EQ(titles, QStringList({"one.zip", "two.zip", "three.zip"}));
    EXPECT_EQ(zipEntries(dir.filePath("out/one.zip")), QStringList{"one.txt"});
    // The step under way when cancel came is completed, then the writer stops.
    EXPECT_EQ(zipEntries(dir.filePath("out/two.zip")), QStringList{"two/"});
    EXPECT_EQ(zipEntries(dir.filePath("out/three.zip")), QStringList{"three.txt"});
    QStringList notified;
    for (const auto& note : services.notifier.delivered()) {
        notified.append(note.subtitle);
    }
    EXPECT_EQ(notified, absolute(dir.path(), {"out/one.zip", "out/three.zip"}));
}

// Asks like the scripted prompt, noting where the runner stood at each ask:
// over it and visible, with how many archives were already done.
struct ObservingPrompt : ScriptedPasswordPrompt {
    QString showPasswordDialog(QObject* window, const RKProfileSetting& p) override
    {
        seen.append({window == runner && runner->isVisible(), int(notifier->delivered().size())});
        return ScriptedPasswordPrompt::showPasswordDialog(window, p);
    }
    QWidget* runner;
    CapturingNotifier* notifier;
    QList<QPair<bool, int>> seen;
};

TEST_F(RunnerJob, AsksThePasswordOverTheRunnerBeforeEveryArchive)
{
    makeTree(dir.path(), {"a.txt", "b.txt", "c.txt"});
    ObservingPrompt prompt;
    prompt.runner = &runner;
    prompt.notifier = &services.notifier;
    prompt.archiveAnswers = {"p1", "p2", "p3"};
    RKPasswordPrompt::setCurrent(&prompt); // put back by the fixture's services
    profile.passMode = RKProfileSetting::PassModeAnytime;

    ASSERT_EQ(runJob(makeJob("MultiStaticFolder", absolute(dir.path(), {"a.txt", "b.txt", "c.txt"}),
                             profile)),
              1);

    EXPECT_EQ(prompt.seen, (QList<QPair<bool, int>>{{true, 0}, {true, 1}, {true, 2}}));
    ASSERT_EQ(services.host.results.shown.size(), 1);
    const auto& results = services.host.results.shown.front();
    ASSERT_EQ(results.size(), 3);
    const QStringList names = {"a", "b", "c"};
    for (int i = 0; i < 3; ++i) {
        const QString password = QStringLiteral("p%1").arg(i + 1);
        EXPECT_EQ(results[i].password.stringValue, password);
        const QString archive = dir.filePath("out/" + names[i] + ".zip");
        EXPECT_EQ(zipEntries(archive, password), QStringList{names[i] + ".txt"});
        EXPECT_TRUE(zipEntries(archive).constFirst().startsWith("unreadable"))
            << "archive " << i << " is not encrypted";
    }
}

TEST_F(RunnerJob, JobOutlivesItsOwnerWhileItsRunnerIsUp)
{
    makeTree(dir.path(), {"a.txt", "b.txt"});
    auto job = makeJob("MultiStaticFolder", absolute(dir.path(), {"a.txt", "b.txt"}), profile);
    const QPointer<RKArchiveBase> watched = job.get();
    int finished = 0;
    QObject::connect(job.get(), &RKArchiveBase::finished, [&] { ++finished; });
    runner.atNotice = [&](int, int) { job.reset(); }; // a newer request replaced it
    job->startProcess();

    ASSERT_TRUE(TestEnvironment::waitFor([&] { return finished == 1; }));
    ASSERT_EQ(services.host.results.shown.size(), 1);
    EXPECT_EQ(services.host.results.shown.front().size(), 2);
    EXPECT_TRUE(TestEnvironment::waitFor([&] { return watched.isNull(); }));
}

TEST_F(RunnerJob, ResultShowsThePasswordAsTheLastStoredProfileWithTheJobsIdSays)
{
    makeTree(dir.path(), {"a.txt"});
    profile.passMode = RKProfileSetting::PassModeStatic;
    profile.password = "secret";
    RKSetting setting = RKSetting::Setting();
    setting.archiveProfiles = {profile, profile, RKProfileSetting::DefaultSetting()};
    setting.archiveProfiles[1].passwordShow = true; // the job's copy says false
    setting.commit();
    services.host.reserve = true;

    ASSERT_EQ(runJob(makeJob("SingleStaticFolder", {dir.filePath("a.txt")}, profile)), 1);

    ASSERT_EQ(services.host.results.shown.size(), 1);
    const auto& password = services.host.results.shown.front().front().password;
    EXPECT_EQ(password.stringValue, "secret");
    EXPECT_TRUE(password.showPassword);
    EXPECT_EQ(zipEntries(dir.filePath("out/a.zip"), "secret"), QStringList{"a.txt"});
    // Started to open items: the application quits once the results are closed.
    EXPECT_EQ(services.host.terminateCalls, 1);
}

} // namespace
