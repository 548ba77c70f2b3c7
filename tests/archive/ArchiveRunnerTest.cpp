// The runner window with the real writer: titles, notifications, errors,
// cancel, the password of every archive and what the job does with them.
#include "ArchiveTestSupport.h"

#include "archive/RKArchiveBase.h"
#include "archive/widgets/RKProgressWindow.h"
#include "platform/RKLauncherEntry.h"
#include "settings/RKSetting.h"
#include "support/PrivateSessionBus.h"
#include "support/TestEnvironment.h"
#include "support/jobs/ScriptedServices.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QFileInfo>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <semaphore>

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
        handToMainThread([=, this] {
            // The title follows the bytes: the share of the work done when this item starts.
            TestEnvironment::waitFor([&] {
                return windowTitle() == progressTitle(int(this->progress().share() * 1000 + 1e-6), 1000);
            });
            if (atNotice) {
                atNotice(current, progress);
            }
            gate.release();
        });
        (void)gate.try_acquire_for(std::chrono::seconds(30));
    }

private:
    std::atomic<int> archive{0};
    std::counting_semaphore<> gate{0};
};

class Runner : public ::testing::Test
{
protected:
    RKProfileSetting profile = RKProfileSetting::DefaultSetting();
    QTemporaryDir dir;
    ScriptedServices services;
    HeldProgressWindow runner;
};

struct RunCase {
    const char* name;
    QStringList stored;  // existing files, archived in this order
    QStringList missing; // listed after them, gone when their step runs
    QStringList titles;  // the window's title at each progress notice
    const char* text;    // the notification's text
};

class RunnerRun : public Runner, public ::testing::WithParamInterface<RunCase> {};

TEST_P(RunnerRun, ShowsTheShareStartedNotifiesOnceAndKeepsTheErrors)
{
    const RunCase& c = GetParam();
    makeTree(dir.path(), c.stored);
    QWidget mainWindow;
    mainWindow.setGeometry(100, 80, 800, 600);
    mainWindow.show();
    QStringList titles;
    runner.atNotice = [&](int, int) { titles.append(runner.windowTitle()); };
    const QString url = dir.filePath("r.zip");

    runner.runArchive(&mainWindow, absolute(dir.path(), c.stored + c.missing), profile, url);

    EXPECT_EQ(titles, c.titles);
    const auto notes = services.notifier.delivered();
    ASSERT_EQ(notes.size(), 1);
    EXPECT_EQ(notes[0].title + " | " + notes[0].subtitle + " | " + notes[0].informativeText + " | " + notes[0].showItemPath,
              "MOKUZA-FULL | " + url + " | " + c.text + " | " + (c.stored.isEmpty() ? "" : url))
        << "an archive not written has nothing to show";
    QStringList errors;
    for (const RQError& error : runner.errors()) {
        errors.append(QString::number(error.code()) + " " + error.localizedRecoverySuggestion());
    }
    EXPECT_EQ(errors, absolute(dir.path(), c.missing).replaceInStrings(QRegularExpression("^"), "1 "));
    EXPECT_EQ(QFileInfo::exists(url), !c.stored.isEmpty());
    if (!c.stored.isEmpty()) {
        EXPECT_EQ(zipEntries(url), c.stored) << "rows list them sorted";
    }
    EXPECT_FALSE(runner.isVisible());
    EXPECT_EQ(runner.findChild<QLabel*>("textField")->text(), "準備中");
    EXPECT_EQ(runner.findChild<QPushButton*>("btnCansel")->text(), "キャンセル");
    EXPECT_LE((runner.frameGeometry().center() - mainWindow.frameGeometry().center()).manhattanLength(),
              1);
}

INSTANTIATE_TEST_SUITE_P(
    Runs, RunnerRun,
    ::testing::Values(
        // The share of the bytes done as each item starts (each weighs its
        // size and 4,096 for itself).
        RunCase{"OneOfThree", {"a", "b", "c"}, {}, {"圧縮中 - 0.0%", "圧縮中 - 33.3%", "圧縮中 - 66.6%"},
                "圧縮が完了しました"},
        RunCase{"ItemGoneBeforeItsStep", {"a.txt"}, {"gone.txt"}, {"圧縮中 - 0.0%"},
                "圧縮が完了しましたが、エラーがあります"},
        RunCase{"NothingToStore", {}, {}, {}, "圧縮が完了しました"}),
    [](const auto& info) { return std::string(info.param.name); });

// Asks like the scripted prompt, noting where the runner stood at each ask:
// over it and visible, with how many archives were already notified.
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

// Three archives with passMode 1; the second is cancelled in the runner while
// the owner lets go of the job (a newer request replaced it).
TEST_F(Runner, JobAsksEveryPasswordOverTheRunnerAndACancelEndsOnlyItsArchive)
{
    makeTree(dir.path(), {"one.txt", "two/1", "two/2", "two/3", "three.txt"});
    ObservingPrompt prompt;
    prompt.runner = &runner;
    prompt.notifier = &services.notifier;
    prompt.archiveAnswers = {"p1", "p2", ""}; // the third left empty: made, not encrypted
    RKPasswordPrompt::setCurrent(&prompt); // put back by the fixture's services
    services.host.archiveRunner = &runner;
    services.host.reserve = true;
    profile.archiveMode = RKProfileSetting::ArchiveModeMulti;
    profile.saveLocation = RKProfileSetting::SaveLocationStaticFolder;
    profile.saveStaticFolderPath = dir.filePath("out");
    profile.passMode = RKProfileSetting::PassModeAnytime;
    // The result shows passwords as the last stored profile with the job's ID says.
    RKSetting setting = RKSetting::Setting();
    setting.archiveProfiles = {profile, profile, RKProfileSetting::DefaultSetting()};
    setting.archiveProfiles[1].passwordShow = true; // the job's copy says false
    setting.commit();

    auto job = makeJob("MultiStaticFolder", absolute(dir.path(), {"one.txt", "two", "three.txt"}),
                       profile);
    const QPointer<RKArchiveBase> watched = job.get();
    int finished = 0;
    QObject::connect(job.get(), &RKArchiveBase::finished, [&] { ++finished; });
    runner.atNotice = [&](int archive, int progress) {
        if (archive == 2 && progress == 1) {
            runner.findChild<QPushButton*>("btnCansel")->click();
            job.reset();
        }
    };
    job->startProcess();
    ASSERT_TRUE(TestEnvironment::waitFor([&] { return finished == 1; }));

    EXPECT_EQ(prompt.seen, (QList<QPair<bool, int>>{{true, 0}, {true, 1}, {true, 1}}));
    ASSERT_EQ(services.host.results.shown.size(), 1);
    const auto& results = services.host.results.shown.front();
    ASSERT_EQ(results.size(), 3);
    // The cancelled archive is dropped; the others are made.
    const QList<QPair<QString, QStringList>> made = {
        {"one", {"one.txt"}}, {"two", {}}, {"three", {"three.txt"}}};
    for (int i = 0; i < 3; ++i) {
        const QString password = i < 2 ? QStringLiteral("p%1").arg(i + 1) : QStringLiteral("");
        const QString archive = dir.filePath("out/" + made[i].first + ".zip");
        EXPECT_EQ(results[i].title, made[i].first + ".zip");
        EXPECT_EQ(results[i].password.stringValue, password);
        EXPECT_EQ(results[i].password.leftEmpty(), i == 2);
        EXPECT_TRUE(results[i].password.showPassword);
        EXPECT_EQ(results[i].cancelled, i == 1);
        EXPECT_EQ(QFileInfo::exists(archive), i != 1);
        if (i != 1) {
            EXPECT_EQ(zipEntries(archive, password), made[i].second);
        }
        if (i == 0) {
            EXPECT_TRUE(zipEntries(archive).constFirst().startsWith("unreadable")) << i << " not encrypted";
        }
    }
    EXPECT_EQ(zipEntries(dir.filePath("out/three.zip")), made[2].second) << "readable without a password";
    QStringList notified;
    for (const auto& note : services.notifier.delivered()) {
        notified.append(note.subtitle);
    }
    EXPECT_EQ(notified, absolute(dir.path(), {"out/one.zip", "out/three.zip"}));
    EXPECT_EQ(services.host.terminateCalls, 1) << "started to open items: quits after the results";
    EXPECT_TRUE(TestEnvironment::waitFor([&] { return watched.isNull(); }));
}

// A dock: records every launcher-entry update it hears on the bus.
class Dock : public QObject
{
    Q_OBJECT

public:
    QStringList uris;
    QList<QVariantMap> updates;

public slots:
    void Update(const QString& uri, const QVariantMap& properties)
    {
        uris.append(uri);
        updates.append(properties);
    }
};

// Two archives of a job on a private session bus: the entry shows the share
// of the whole job and the archives left, and is cleared at the end.
TEST_F(Runner, TaskBarEntryFollowsTheJobAndIsClearedAtItsEnd)
{
    PrivateSessionBus bus;
    ASSERT_TRUE(bus.connect("app") && bus.connect("dock"));
    Dock dock;
    ASSERT_TRUE(QDBusConnection("dock").connect(QString(), QString(), "com.canonical.Unity.LauncherEntry",
                                                "Update", &dock, SLOT(Update(QString, QVariantMap))));
    RKLauncherEntry entry("app");
    RKTaskbarProgress::setCurrent(&entry);
    const std::shared_ptr<void> uninstall(nullptr, [](void*) { RKTaskbarProgress::setCurrent(nullptr); });
    makeTree(dir.path(), {"one/1", "one/2", "one/3", "two.txt"});
    services.host.archiveRunner = &runner;
    profile.archiveMode = RKProfileSetting::ArchiveModeMulti;
    profile.saveLocation = RKProfileSetting::SaveLocationStaticFolder;
    profile.saveStaticFolderPath = dir.filePath("out");
    auto job = makeJob("MultiStaticFolder", absolute(dir.path(), {"one", "two.txt"}), profile);
    bool finished = false;
    QObject::connect(job.get(), &RKArchiveBase::finished, [&] { finished = true; });
    job->startProcess();
    ASSERT_TRUE(TestEnvironment::waitFor([&] { return finished; }));
    // Answered by the bus itself: every signal sent before has been routed.
    QDBusConnection("app").call(QDBusMessage::createMethodCall(
        "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId"));
    ASSERT_TRUE(TestEnvironment::waitFor(
        [&] { return !dock.updates.isEmpty() && !dock.updates.last()["progress-visible"].toBool(); }));

    EXPECT_EQ(dock.uris, QStringList(dock.uris.size(), "application://mokuza-full.desktop"));
    const QVariantMap first = dock.updates.first();
    EXPECT_EQ(first["count"].toLongLong(), 2);
    EXPECT_EQ(first["progress"].toDouble(), 0.0);
    EXPECT_TRUE(first["progress-visible"].toBool() && first["count-visible"].toBool());
    QList<qint64> counts;
    double shown = 0.0;
    for (qsizetype i = 0; i + 1 < dock.updates.size(); ++i) {
        const QVariantMap& update = dock.updates[i];
        EXPECT_GE(update["progress"].toDouble(), shown) << "update " << i << " goes backwards";
        shown = update["progress"].toDouble();
        if (counts.isEmpty() || counts.last() != update["count"].toLongLong()) {
            counts.append(update["count"].toLongLong());
        }
    }
    EXPECT_EQ(counts, (QList<qint64>{2, 1}));
    EXPECT_EQ(shown, 1.0) << "the last archive's last step is the whole job";
    EXPECT_FALSE(dock.updates.last()["count-visible"].toBool());
}

} // namespace

#include "ArchiveRunnerTest.moc"
