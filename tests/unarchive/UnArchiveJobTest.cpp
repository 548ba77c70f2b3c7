// Whole unarchive runs, headless: the real runner window on the offscreen
// platform with archives made by peer tools, scripted chooser and prompt (and
// once the real prompt), a captured result window.
#include "platform/RKMainThreadQueue.h"
#include "settings/RKPasswordPrompt.h"
#include "support/TestEnvironment.h"
#include "support/jobs/ScriptedServices.h"
#include "ui/KSPasswordField.h"
#include "unarchive/RKUnArchiveMultiAnyTime.h"
#include "unarchive/RKUnArchiveMultiSameSource.h"
#include "unarchive/RKUnArchiveMultiStaticFolder.h"
#include "unarchive/RKUnArchiveSingleAnyTime.h"
#include "unarchive/RKUnArchiveSingleStaticFolder.h"
#include "settings/RKSetting.h"
#include "support/FaultTable.h"
#include "unarchive/RKFileCopyUtil.h"
#include "unarchive/RKWorkingFolder.h"
#include "platform/RKLeftovers.h"
#include "unarchive/UnArchiveTestSupport.h"
#include "unarchive/widgets/RKUnArchivePasswordWindow.h"
#include "unarchive/widgets/RKUnArchiveProgressWindow.h"
#include "zip/RQZipArchiver.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QPointer>
#include <QProcess>
#include <QPushButton>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <linux/fs.h>
#include <semaphore>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace UnArchiveTestSupport;

namespace {

void runTool(const QString& program, const QStringList& arguments, const QString& workingDirectory = {})
{
    const auto result = TestEnvironment::run(program, arguments, workingDirectory);
    ASSERT_EQ(result.exitCode, 0) << program.toStdString() << ": " << result.err.toStdString();
}

// "<code> <path> <description>" of each error.
QStringList lines(const QList<RQError>& errors)
{
    QStringList lines;
    for (const RQError& e : errors) {
        lines << QStringLiteral("%1 %2 %3").arg(e.code()).arg(e.localizedRecoverySuggestion(), e.localizedDescription());
    }
    return lines;
}

class UnArchiveRunTest : public UnArchiveTest
{
protected:
    UnArchiveRunTest() { services.host.unArchiveRunner = &runner; }

    // Archives a.txt, d/ and d/b.txt (content "data") with Info-ZIP, or 7-Zip.
    QString makeArchive(const QString& path, const QStringList& options = {}, const QString& program = "zip")
    {
        makeTree(in("content"), {"a.txt", "d/", "d/b.txt"}, "data");
        QDir().mkpath(QFileInfo(path).absolutePath());
        const QStringList command = program == "zip" ? QStringList{"-r", "-q"} : QStringList{"a", "-tzip", "-bd"};
        runTool(program, command + options + QStringList{path, "a.txt", "d"}, in("content"));
        return path;
    }
    // Starts the job and turns the event loop until it emitted finished(); how often it did.
    int runJob(const std::shared_ptr<RKUnArchiveBase>& job)
    {
        int finished = 0;
        QObject::connect(job.get(), &RKUnArchiveBase::finished, [&finished] { ++finished; });
        job->startProcess();
        EXPECT_TRUE(TestEnvironment::waitFor([&finished] { return finished > 0; }, 120000));
        QCoreApplication::processEvents(); // a second finished() would show now
        return finished;
    }
    QStringList notices() const
    {
        QStringList lines;
        for (const auto& n : services.notifier.delivered()) {
            lines << n.title + " | " + n.subtitle + " | " + n.informativeText
                    + (n.showItemPath.isEmpty() ? QString() : " | show " + n.showItemPath);
        }
        return lines;
    }
    // One result window; its records as "title | destination | error count".
    QStringList results() const
    {
        EXPECT_EQ(services.host.results.shown.size(), 1);
        QStringList lines;
        for (const RKProcessResultInfo& r : services.host.results.shown.value(0)) {
            EXPECT_TRUE(r.password.stringValue.isNull()) << "extraction records carry no password";
            lines << QStringLiteral("%1 | %2 | %3").arg(r.title, r.destPath.stringValue).arg(r.errors.items.size());
        }
        return lines;
    }

    ScriptedServices services;
    RKUnArchiveProgressWindow runner;
};

const QStringList kPlaced{"secret/", "secret/a.txt=data", "secret/d/", "secret/d/b.txt=data"};

struct PasswordCase {
    const char* name;
    QStringList typed; // the answers, in order; none: the archive has no password
    bool placed;
};

class PasswordTest : public UnArchiveRunTest, public ::testing::WithParamInterface<PasswordCase> {};

// Asked again, naming the archive, while the password does not fit, three times at most; after
// that the entries it does not fit are named (the folder entry of zip -P is not encrypted).
TEST_P(PasswordTest, AskedAgainUntilItFitsThenPlacedOrErrors)
{
    const PasswordCase& c = GetParam();
    const bool encrypted = !c.typed.isEmpty();
    // AES: a wrong password passes its verifier once in 65,536 (the check byte of zip -P once in 256).
    const QString archive = encrypted ? makeArchive(in("secret.zip"), {"-mem=AES256", "-ps3cret"}, "7z") : makeArchive(in("secret.zip"));
    freezeInputs();
    services.passwords.unArchiveAnswers = c.typed;

    runner.runUnArchive(nullptr, archive, profile(1), out());

    QStringList prompts;
    for (qsizetype i = 0; i < c.typed.size(); ++i) {
        prompts << QString("%1 %2").arg(archive).arg(i + 1);
    }
    EXPECT_EQ(services.passwords.unArchivePrompts, prompts);
    EXPECT_EQ(runner.usedPassword(), encrypted ? c.typed.last() : QString());
    EXPECT_FALSE(runner.isVisible());
    if (c.placed) {
        EXPECT_EQ(snapshot(out()), kPlaced);
        EXPECT_TRUE(runner.errors().isEmpty());
        EXPECT_EQ(notices(), QStringList{"MOKUZA-FULL | " + archive + " | 解凍が完了しました | show " + out()});
        EXPECT_EQ(runner.windowTitle(), "コピー中 - 100.0%");
    } else {
        EXPECT_EQ(snapshot(out()), QStringList{}) << "nothing placed";
        EXPECT_EQ(lines(runner.errors()), QStringList({"7 a.txt パスワードが正しくありません。", "7 d/b.txt パスワードが正しくありません。"}));
        EXPECT_EQ(notices(), QStringList{"MOKUZA-FULL | " + archive + " | 解凍が完了しましたが、エラーがあります"});
    }
}

INSTANTIATE_TEST_SUITE_P(Password, PasswordTest,
                         ::testing::Values(PasswordCase{"NoPassword", {}, true}, PasswordCase{"Right", {"s3cret"}, true},
                                           PasswordCase{"WrongEmptyWrong", {"wrong", "", "wrong"}, false}),
                         [](const auto& info) { return std::string(info.param.name); });

// Two entries of one path, a link inside and one leading out (as zip -y writes them): the second entry arrives
// numbered, the link leading out is not made, both are reported, and everything else is placed with its mode.
TEST_F(UnArchiveRunTest, NumberedEntriesAndLinksLeftOutAreReportedAndTheRestPlaced)
{
    const mode_t mask = ::umask(022);
    const QString archive = in("same.zip");
    runTool("python3", {MOKUZA_SOURCE_DIR "/tests/zip/peer.py", "raw", archive,
                        QStringLiteral(R"({"entries": [{"name": "a.txt", "data": "1"}, {"name": "a.txt", "data": "2"},
                                                       {"name": "run.sh", "data": "x", "external": %1},
                                                       {"name": "in", "data": "a.txt", "external": %2},
                                                       {"name": "out", "data": "../x", "external": %2}]})")
                            .arg(0100755u << 16).arg(0120777u << 16)});
    freezeInputs();

    runner.runUnArchive(nullptr, archive, profile(1, 1), out());
    ::umask(mask);

    EXPECT_EQ(snapshot(out()), (QStringList{"same/", "same/a 2.txt=2", "same/a.txt=1", "same/in->a.txt", "same/run.sh=x"}));
    EXPECT_EQ(QFileInfo(out("same/run.sh")).permissions() & QFile::ExeOwner, QFile::ExeOwner);
    EXPECT_EQ(lines(runner.errors()), (QStringList{"5 a.txt 書庫に同じ名前の項目があるため、名前に番号を付けて取り出しました。",
                                   "6 out リンク先が展開先のフォルダの外にあるため、リンクを作成しませんでした。"}));
    EXPECT_EQ(notices(), QStringList{"MOKUZA-FULL | " + archive + " | 解凍が完了しましたが、エラーがあります"});
}

TEST_F(UnArchiveRunTest, RealPromptNamesTheArchiveIsCentredMaskedAndAsksAgain)
{
    const QString archive = makeArchive(in("secret.zip"), {"-P", "s3cret"});
    struct WindowPrompt : RKPasswordPrompt {
        QString showPasswordDialog(QObject*, const RKProfileSetting&) override { return {}; }
        QString askUnArchivePassword(QObject* runnerWindow, const QString& archivePath, int attempt) override
        {
            return RKUnArchivePasswordWindow::runModal(qobject_cast<QWidget*>(runnerWindow), archivePath, attempt > 1);
        }
    } prompt;
    RKPasswordPrompt::setCurrent(&prompt);
    QStringList messages;
    QPointer<QWidget> answered;
    QTimer driver;
    QObject::connect(&driver, &QTimer::timeout, [&] {
        auto* window = qobject_cast<RKUnArchivePasswordWindow*>(QApplication::activeModalWidget());
        if (!window || window == answered) {
            return;
        }
        answered = window;
        const QRect outer = runner.geometry();
        const QRect inner = window->geometry();
        EXPECT_EQ(inner.topLeft(), outer.topLeft() + QPoint((outer.width() - inner.width()) / 2, (outer.height() - inner.height()) / 2));
        EXPECT_FALSE(window->btnShowPassword()->isChecked() || window->scPassword()->showsText());
        window->btnShowPassword()->click();
        EXPECT_TRUE(window->scPassword()->showsText());
        messages << window->lblMessage()->text();
        window->scPassword()->setText(messages.size() == 1 ? "wrong" : "s3cret");
        window->btnCancel()->click();
    });
    driver.start(10);

    runner.move(200, 150);
    runner.runUnArchive(nullptr, archive, profile(1), out());
    RKPasswordPrompt::setCurrent(&services.passwords);

    EXPECT_EQ(messages, QStringList({"「secret.zip」はパスワードで保護されています。パスワードを入力してください。",
                                     "パスワードが正しくありません。「secret.zip」のパスワードをもう一度入力してください。"}));
    EXPECT_EQ(runner.usedPassword(), "s3cret");
    EXPECT_EQ(snapshot(out()), kPlaced);
}

TEST_F(UnArchiveRunTest, CancelDuringExtractionPlacesNothing)
{
    runner.show();
    runner.doUnArchive(makeArchive(in("secret.zip")), profile(0), out());
    runner.btnCansel()->click(); // whether or not the reader is through, nothing is placed
    runner.exec();

    EXPECT_EQ(snapshot(out()), QStringList{});
    EXPECT_TRUE(runner.errors().isEmpty() && notices().isEmpty());
}

TEST_F(UnArchiveRunTest, CancelDuringPlacementKeepsWhatWasPlaced)
{
    const QString archive = makeArchive(in("secret.zip"));
    makeTree(out(), {"d/", "there/"}, "old");
    // The clashing folder's panel is answered after the cancel button was
    // pressed: its step completes, the next one (its first item) stops.
    services.panels.setResponder([this](const ScriptedPanelService::Call&) {
        RKMainThreadQueue::application()->postAndWait([this] { runner.btnCansel()->click(); });
        return out("there");
    });

    runner.runUnArchive(nullptr, archive, profile(0, 0), out());

    const QStringList placed = snapshot(out());
    EXPECT_TRUE(placed.contains("there/d/"));
    EXPECT_FALSE(placed.contains("there/d/b.txt=data"));
    EXPECT_TRUE(runner.errors().isEmpty() && notices().isEmpty());
}

TEST_F(UnArchiveRunTest, TitleShowsThePhaseAndItsPercentage)
{
    auto& reader = static_cast<RQUnZipArchiverDelegate&>(runner);
    auto& placer = static_cast<RKFileCopyUtilDelegate&>(runner);
    const auto shows = [this](const QString& title) {
        return TestEnvironment::waitFor([&] { return runner.windowTitle() == title; }, 10000);
    };
    reader.unArchiverArchiveStarted(nullptr, 0);
    EXPECT_TRUE(shows("解凍中 - 100.0%")) << "a phase with nothing to do is complete";
    reader.unArchiverArchiveProgress(nullptr, 17, 40, "item");
    EXPECT_TRUE(shows("解凍中 - 42.5%"));
    placer.fileCopyUtilCopyProgress(nullptr, 1, 3, "placed");
    EXPECT_TRUE(shows("コピー中 - 33.3%"));
    EXPECT_EQ(runner.textField()->text(), "placed");
}

TEST_F(UnArchiveRunTest, SameSourceExtractsNextToEachArchiveThenQuitsWhenAsked)
{
    // Next to the sources is the destination, so they lie in the output area.
    const QString first = makeArchive(out("one/first.zip"));
    const QString second = makeArchive(out("two/second.zip"));
    services.host.reserve = true;

    EXPECT_EQ(runJob(std::make_shared<RKUnArchiveMultiSameSource>(QStringList{first, second}, profile(1), nullptr)), 1);

    EXPECT_TRUE(QFileInfo::exists(out("one/first/a.txt")) && QFileInfo::exists(out("two/second/d/b.txt")));
    EXPECT_EQ(results(), (QStringList{"first.zip | " + out("one") + " | 0", "second.zip | " + out("two") + " | 0"}));
    EXPECT_TRUE(services.panels.calls().isEmpty());
    EXPECT_EQ(services.host.terminateCalls, 1);
}

struct AskCase {
    const char* name;
    bool multi;
    bool cancelled;
    QStringList placed;
};

class AskedDestinationTest : public UnArchiveRunTest, public ::testing::WithParamInterface<AskCase> {};

TEST_P(AskedDestinationTest, OneChooserForEveryArchive)
{
    const AskCase& c = GetParam();
    QStringList items{makeArchive(in("drop/n1.zip"))};
    if (c.multi) {
        items << makeArchive(in("drop/n2.zip"));
    }
    freezeInputs();
    services.host.reserve = c.cancelled; // even an application started to open items stays open
    services.panels.script({c.cancelled ? QString() : out()});

    EXPECT_EQ(runJob(c.multi ? std::shared_ptr<RKUnArchiveBase>(std::make_shared<RKUnArchiveMultiAnyTime>(items, profile(0, 2), nullptr))
                             : std::make_shared<RKUnArchiveSingleAnyTime>(items, profile(0, 2), nullptr)),
              1);

    const auto calls = services.panels.calls();
    ASSERT_EQ(calls.size(), 1);
    EXPECT_EQ(calls[0].title + " " + calls[0].message,
              "MOKUZA-FULL " + items[0] + (c.multi ? " の解凍先を選択して下さい。" : " の解凍先を選択してください。"));
    EXPECT_EQ(calls[0].url, in("drop"));
    EXPECT_TRUE(!calls[0].save && calls[0].selectMode == 1 && calls[0].onMainThread);
    EXPECT_EQ(snapshot(out()), c.placed);
    EXPECT_EQ(services.host.terminateCalls, 0);
    if (c.cancelled) {
        EXPECT_TRUE(services.host.results.shown.isEmpty() && services.notifier.delivered().isEmpty());
    } else {
        EXPECT_EQ(results().size(), items.size());
    }
}

INSTANTIATE_TEST_SUITE_P(Ask, AskedDestinationTest,
                         ::testing::Values(AskCase{"Single", false, false, {"a.txt=data", "d/", "d/b.txt=data"}},
                                           AskCase{"Multi", true, false, {"a 2.txt=data", "a.txt=data", "d 2/", "d 2/b.txt=data", "d/", "d/b.txt=data"}},
                                           AskCase{"SingleCancelled", false, true, {}}, AskCase{"MultiCancelled", true, true, {}}),
                         [](const auto& info) { return std::string(info.param.name); });

// The mixed archive holds one entry this reader cannot decode (PPMd): the
// result names it, and nothing of that archive is placed.
TEST_F(UnArchiveRunTest, FixedFolderIsMadeAndAFailedArchiveDoesNotStopTheNext)
{
    ASSERT_TRUE(TestEnvironment::writeFile(in("broken.zip"), "PK\x03\x04 cut short"));
    makeTree(in("content"), {"deflate.txt", "lzma.txt", "ppmd.txt", "deflate64.txt"}, QByteArray("data ").repeated(999));
    for (const char* method : {"Deflate", "LZMA", "PPMd", "Deflate64"}) {
        runTool("7z", {"a", "-tzip", "-bd", QString("-m0=") + method, in("mixed.zip"), QString(method).toLower() + ".txt"}, in("content"));
    }
    const QString good = makeArchive(in("good.zip"));
    freezeInputs();
    RKUnArchiveProfileSetting fixed = profile(1);
    fixed.saveStaticFolderPath = out("not/yet");

    EXPECT_EQ(runJob(std::make_shared<RKUnArchiveMultiStaticFolder>(QStringList{in("broken.zip"), in("mixed.zip"), good}, fixed, nullptr)), 1);

    EXPECT_EQ(results(), (QStringList{"broken.zip | " + out("not/yet") + " | 1", "mixed.zip | " + out("not/yet") + " | 1",
                                      "good.zip | " + out("not/yet") + " | 0"}));
    EXPECT_EQ(services.host.results.shown.value(0).value(0).errors.items.value(0),
              RQError::initWithUnArchiverErrorCode(2, in("broken.zip")));
    const RQError unsupported = services.host.results.shown.value(0).value(1).errors.items.value(0);
    EXPECT_EQ(unsupported.localizedDescription() + " " + unsupported.localizedRecoverySuggestion(), "書庫からのファイル取り出しに失敗しました。 ppmd.txt");
    EXPECT_EQ(snapshot(out()), (QStringList{"not/", "not/yet/", "not/yet/good/", "not/yet/good/a.txt=data", "not/yet/good/d/",
                                            "not/yet/good/d/b.txt=data"}));
}

// --- the registry of working folders

QString fileState(const QString& path)
{
    struct stat st {};
    ::lstat(QFile::encodeName(path).constData(), &st);
    return QStringLiteral("mode %1 owner %2").arg(st.st_mode, 0, 8).arg(st.st_uid);
}

enum class Planted { Nothing, ForeignFolder, Link, OpenFolder };

struct PrivateFolderCase {
    const char* name;
    Planted planted;    // under the root's name in the temporary directory, by someone else
    const char* root;   // where the registration went: "tmp", "fresh" beside the planted
                        // one; nullptr: nowhere, as the temporary directory is a file
};

class PrivateFolderTest : public UnArchiveRunTest, public ::testing::WithParamInterface<PrivateFolderCase> {};

// The working folder is in the destination; what records it for the next
// start is where only the user can reach, and extraction needs nothing more
// of the temporary directory.
TEST_P(PrivateFolderTest, RegistersWhereOnlyTheUserCanReach)
{
    const PrivateFolderCase& c = GetParam();
    const QString archive = makeArchive(in("secret.zip"), {"-P", "s3cret"});
    const std::shared_ptr<void> restoreTmp(nullptr, [tmp = qgetenv("TMPDIR")](void*) { qputenv("TMPDIR", tmp); });
    const QString tmp = in("tmp");
    const QString named = tmp + "/jp.mokuza.MOKUZA-FULL-" + QString::number(::geteuid());
    ASSERT_TRUE(QDir().mkpath(tmp) && QDir().mkpath(in("theirs")));
    qputenv("TMPDIR", QFile::encodeName(c.root ? tmp : archive));
    switch (c.planted) {
    case Planted::Nothing:
        break;
    case Planted::ForeignFolder:
        if (::geteuid() != 0) {
            GTEST_SKIP() << "only root can plant a folder owned by someone else";
        }
        makeTree(named, {"planted"}, "theirs");
        ASSERT_EQ(::chown(QFile::encodeName(named), 65534, 65534), 0);
        ASSERT_EQ(::chmod(QFile::encodeName(named), 0700), 0);
        break;
    case Planted::Link: // to a private folder: only the link itself is wrong
        makeTree(in("theirs"), {"planted"}, "theirs");
        ASSERT_EQ(::chmod(QFile::encodeName(in("theirs")), 0700), 0);
        ASSERT_TRUE(QFile::link(in("theirs"), named));
        break;
    case Planted::OpenFolder:
        makeTree(named, {"planted"}, "theirs");
        ASSERT_EQ(::chmod(QFile::encodeName(named), 0777), 0);
        break;
    }
    const auto plantedState = [&] { return QStringList{fileState(named), snapshot(named).join(' '), fileState(in("theirs")), snapshot(in("theirs")).join(' ')}; };
    const QStringList planted = plantedState();

    // Asked once the working folder is made: where it is, where it is recorded.
    struct Prompt : ScriptedPasswordPrompt {
        RKUnArchiveProgressWindow* runner;
        QString working, registration;
        QString askUnArchivePassword(QObject*, const QString&, int) override
        {
            working = runner->tempUrl();
            registration = RKLeftovers::processFolder();
            return "s3cret";
        }
    } prompt;
    prompt.runner = &runner;
    RKPasswordPrompt::setCurrent(&prompt); // put back by the fixture's services
    runner.runUnArchive(nullptr, archive, profile(1), out());
    const QString working = prompt.working, registration = prompt.registration;

    EXPECT_EQ(snapshot(out()), kPlaced) << "extraction does not depend on the temporary directory";
    EXPECT_TRUE(runner.errors().isEmpty());
    EXPECT_TRUE(QRegularExpression("^" + QRegularExpression::escape(out()) + "/\\.mokuza-work-[A-Za-z0-9]{6}/$").match(working).hasMatch())
        << working.toStdString();
    if (!c.root) {
        EXPECT_EQ(registration, QString());
        return;
    }
    // "<root>/<process>": the process folder went with the run, the root stays.
    const QString root = QFileInfo(registration).path();
    if (QString(c.root) == "fresh") {
        EXPECT_TRUE(QRegularExpression("^" + QRegularExpression::escape(named) + "-[A-Za-z0-9]{6}$").match(root).hasMatch())
            << root.toStdString();
        EXPECT_EQ(plantedState(), planted) << "the planted folder is neither used nor touched";
    } else {
        EXPECT_EQ(root, named);
    }
    EXPECT_EQ(fileState(root), QStringLiteral("mode 40700 owner %1").arg(::geteuid()));
    EXPECT_EQ(QDir(root).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), QStringList{});
}

INSTANTIATE_TEST_SUITE_P(
    Private, PrivateFolderTest,
    ::testing::Values(PrivateFolderCase{"TemporaryDirectory", Planted::Nothing, "tmp"},
                      PrivateFolderCase{"PlantedFolderOfSomeoneElse", Planted::ForeignFolder, "fresh"},
                      PrivateFolderCase{"PlantedLink", Planted::Link, "fresh"},
                      PrivateFolderCase{"PlantedFolderOpenToOthers", Planted::OpenFolder, "fresh"},
                      PrivateFolderCase{"NoPrivateFolderAnywhere", Planted::Nothing, nullptr}),
    [](const auto& info) { return std::string(info.param.name); });

// --- faults that lose nothing

// Until the returned handle goes, writes beyond 256 KiB in any one file fail as
// on a full disk: the file size limit needs no privileges and holds for root too.
std::shared_ptr<void> fullDisk()
{
    rlimit saved{};
    ::getrlimit(RLIMIT_FSIZE, &saved);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{256 << 10, saved.rlim_max};
    EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    return {nullptr, [saved, handler](void*) { ::setrlimit(RLIMIT_FSIZE, &saved); std::signal(SIGXFSZ, handler); }};
}

// A file this process cannot remove: immutable for root, in a folder without
// write permission for anyone else. Undone by the returned function, wherever
// the file has gone; nullptr when neither can be done here.
std::function<void()> makeUnremovable(const QString& file)
{
    const bool root = ::geteuid() == 0;
    const int fd = ::open(QFile::encodeName(root ? file : QFileInfo(file).path()).constData(), O_RDONLY | O_CLOEXEC);
    const auto setImmutable = [fd](bool on) {
        int flags = 0;
        return ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0
            && (flags = on ? flags | FS_IMMUTABLE_FL : flags & ~FS_IMMUTABLE_FL, ::ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0);
    };
    if (fd < 0 || (root ? !setImmutable(true) : ::fchmod(fd, 0555) != 0)) {
        ::close(fd);
        return nullptr;
    }
    return [fd, root, setImmutable] {
        root ? setImmutable(false) : ::fchmod(fd, 0755) == 0;
        ::close(fd);
    };
}

QStringList describe(const QList<RQError>& errors)
{
    QStringList lines;
    for (const RQError& e : errors) {
        const char* family = e.family() == RQError::Family::Archiver ? "archiver" : e.family() == RQError::Family::UnArchiver ? "unarchiver" : "copy";
        lines << QStringLiteral("%1 %2 %3").arg(family).arg(e.code()).arg(e.localizedRecoverySuggestion());
    }
    return lines;
}

struct PlacementEnd : RKFileCopyUtilDelegate {
    QList<RQError> errors;
    std::binary_semaphore ended{0};
    void fileCopyUtilCopyFinished(RKFileCopyUtil*) override { ended.release(); }
    void fileCopyUtilCopyError(RKFileCopyUtil*, const RQError& e) override
    {
        errors << e;
        ended.release();
    }
};

enum class Fault {
    DiskFullExtracting,       // the whole runner, overwrite policy
    DiskFullPlacing,          // the placer, moving across file systems, overwrite policy
    SetAsideNotRemovable,     // the whole runner, overwrite policy
    KilledExtracting,         // another process, killed in its second entry
};

struct FaultCase {
    const char* name;
    Fault fault;
    QStringList existing; // in out(), content "old"
    QStringList expected; // out() afterwards, hidden items included
    QStringList errors;   // "<family> <code> <path>", $IN and $OUT replaced
};

class FaultTest : public UnArchiveRunTest, public ::testing::WithParamInterface<FaultCase>
{
protected:
    // a.txt, big.bin (1 MiB that does not compress), d/b.txt
    void SetUp() override
    {
        UnArchiveRunTest::SetUp();
        makeTree(in("content"), {"a.txt", "d/", "d/b.txt"}, "new");
        QByteArray big(1 << 20, Qt::Uninitialized);
        QRandomGenerator(7).fillRange(reinterpret_cast<quint32*>(big.data()), big.size() / 4);
        EXPECT_TRUE(TestEnvironment::writeFile(in("content/big.bin"), big));
    }
    QString contentArchive(const QStringList& items = {"a.txt", "big.bin", "d"})
    {
        runTool("zip", QStringList{"-r", "-q", in("content.zip")} + items, in("content"));
        return in("content.zip");
    }
    QList<RQError> place();
    void killExtraction();
};

QList<RQError> FaultTest::place()
{
    QTemporaryDir shm(QStringLiteral("/dev/shm/mokuza-test-XXXXXX"));
    struct stat shmStat, outStat;
    if (!shm.isValid() || ::stat(QFile::encodeName(shm.path()), &shmStat) != 0
        || ::stat(QFile::encodeName(out()), &outStat) != 0 || shmStat.st_dev == outStat.st_dev) {
        ADD_FAILURE() << "needs /dev/shm on another file system than the test folder";
        return {};
    }
    EXPECT_TRUE(QFile::copy(in("content/big.bin"), shm.filePath("big.bin")));
    PlacementEnd end;
    RKFileCopyUtil util(shm.path(), out(), in("content.zip"), profile(0, 1), nullptr);
    util.setDelegate(&end);
    const auto full = fullDisk();
    util.beginCopy();
    EXPECT_TRUE(end.ended.try_acquire_for(std::chrono::minutes(2)));
    return end.errors;
}

// The test runs again in a child process (with this process's temporary
// directory) that stops in its second entry.
void FaultTest::killExtraction()
{
    if (qEnvironmentVariableIsSet("MOKUZA_KILLED_CHILD_ARCHIVE")) {
        qputenv("TMPDIR", qgetenv("MOKUZA_KILLED_CHILD_TMPDIR"));
        RKWorkingFolder folder;
        struct Stopper : RQUnZipArchiverDelegate {
            RKWorkingFolder* folder;
            void unArchiverArchiveProgress(RQUnZipArchiver*, int progress, int, const QString&) override
            {
                if (progress == 2) {
                    std::printf("extracting %s\n", QFile::encodeName(folder->path()).constData());
                    std::fflush(stdout);
                    std::getchar(); // until killed
                }
            }
        } stopper;
        stopper.folder = &folder;
        RQUnZipArchiver reader;
        reader.setDelegate(&stopper);
        ASSERT_TRUE(folder.make(qEnvironmentVariable("MOKUZA_KILLED_CHILD_DESTINATION")));
        reader.unArchive(folder.path(), qEnvironmentVariable("MOKUZA_KILLED_CHILD_ARCHIVE"), 4);
        std::getchar();
        return;
    }
    const ::testing::TestInfo* test = ::testing::UnitTest::GetInstance()->current_test_info();
    QProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("MOKUZA_KILLED_CHILD_ARCHIVE", contentArchive());
    environment.insert("MOKUZA_KILLED_CHILD_DESTINATION", out());
    // Every test process starts with a temporary directory of its own.
    environment.insert("MOKUZA_KILLED_CHILD_TMPDIR", QDir::tempPath());
    child.setProcessEnvironment(environment);
    child.start(QCoreApplication::applicationFilePath(),
                {QStringLiteral("--gtest_filter=%1.%2").arg(test->test_suite_name(), test->name())});
    QString childFolder;
    while (childFolder.isEmpty() && child.waitForReadyRead(60000)) {
        while (child.canReadLine()) {
            const QString line = QString::fromUtf8(child.readLine()).trimmed();
            if (line.startsWith("extracting ")) {
                childFolder = line.mid(11);
            }
        }
    }
    ASSERT_FALSE(childFolder.isEmpty()) << child.readAllStandardError().toStdString();
    EXPECT_FALSE(QDir(childFolder).isEmpty()) << "the first entry is in the working folder";
    RKWorkingFolder own;
    ASSERT_TRUE(own.make(out()));

    EXPECT_EQ(RKWorkingFolder::removeStale(), 0) << "a running extraction keeps its folder";
    child.kill();
    child.waitForFinished();
    EXPECT_EQ(RKWorkingFolder::removeStale(), 1);

    EXPECT_FALSE(QFileInfo::exists(childFolder));
    EXPECT_TRUE(QFileInfo(own.path()).isDir());
    own.remove();
}

TEST_P(FaultTest, LosesNothing)
{
    const FaultCase& c = GetParam();
    makeTree(out(), c.existing, "old");
    std::function<void()> undo;
    QList<RQError> errors;
    switch (c.fault) {
    case Fault::DiskFullExtracting: {
        const QString archive = contentArchive();
        const auto full = fullDisk();
        runner.runUnArchive(nullptr, archive, profile(0, 1), out());
        errors = runner.errors();
        break;
    }
    case Fault::DiskFullPlacing:
        errors = place();
        break;
    case Fault::SetAsideNotRemovable:
        undo = makeUnremovable(out("d/keep/locked"));
        if (!undo) {
            GTEST_SKIP() << "no way to make a file unremovable here";
        }
        // One folder only: placement goes in the order the file system lists.
        runner.runUnArchive(nullptr, contentArchive({"d"}), profile(0, 1), out());
        errors = runner.errors();
        undo();
        break;
    case Fault::KilledExtracting:
        killExtraction();
        break;
    }
    EXPECT_EQ(snapshot(out()), c.expected);
    EXPECT_EQ(describe(errors), c.errors.join('\n').replace("$IN", in()).replace("$OUT", out()).split('\n', Qt::SkipEmptyParts));
    EXPECT_FALSE(QFileInfo::exists(runner.tempUrl())) << "the working folder is gone";
}

INSTANTIATE_TEST_SUITE_P(
    Faults, FaultTest,
    ::testing::Values(FaultCase{"DiskFullWhileExtractingPlacesNothing", Fault::DiskFullExtracting, {"a.txt", "d/", "d/b.txt"},
                                {"a.txt=old", "d/", "d/b.txt=old"}, {"unarchiver 3 big.bin"}},
                      FaultCase{"DiskFullWhilePlacingPutsTheSetAsideBack", Fault::DiskFullPlacing, {"big.bin"}, {"big.bin=old"},
                                {"copy 2 $OUT/big.bin"}},
                      FaultCase{"SetAsideThatCannotBeRemovedGoesBack", Fault::SetAsideNotRemovable, {"d/", "d/old", "d/keep/", "d/keep/locked"},
                                {"d/", "d/keep/", "d/keep/locked=old"}, {"copy 2 $OUT/d"}},
                      FaultCase{"KilledExtractionIsRemovedAtTheNextStart", Fault::KilledExtracting, {}, {}, {}}),
    [](const auto& info) { return std::string(info.param.name); });

// --- the fault table, through the application's job

class FaultJob : public UnArchiveRunTest, public ::testing::WithParamInterface<FaultTable::Row> {};

TEST_P(FaultJob, LeavesWhatTheRowSays)
{
    const FaultTable::Row& row = GetParam();
    FAULT_TABLE_ENTER(row);
    const FaultTable::Place place(row, in());
    const std::shared_ptr<void> restoreTmp(nullptr, [tmp = qgetenv("TMPDIR")](void*) { qputenv("TMPDIR", tmp); });
    if (!place.temporary.isEmpty()) {
        qputenv("TMPDIR", QFile::encodeName(place.temporary));
    }
    RKUnArchiveProfileSetting profile = RKSetting::Setting().unArchiveProfiles.constFirst();
    profile.saveLocation = RKProfileSetting::SaveLocationStaticFolder;
    profile.saveStaticFolderPath = place.dest;
    profile.sameFileName = RKProfileSetting::SameNameOverwrite;

    EXPECT_EQ(runJob(std::make_shared<RKUnArchiveSingleStaticFolder>(place.given(), profile, nullptr)), 1);

    ASSERT_EQ(services.host.results.shown.size(), 1) << "one result window";
    QStringList errors;
    for (const RKProcessResultInfo& result : services.host.results.shown.constFirst()) {
        for (const RQError& error : result.errors.items) {
            errors << place.error(error.code(), error.localizedRecoverySuggestion(), error.localizedFailureReason());
        }
    }
    EXPECT_TRUE(FaultTable::matches(errors, row.errors)) << errors.join('\n').toStdString();
    EXPECT_EQ(FaultTable::describe(place.dest), row.after);
    EXPECT_TRUE(services.panels.calls().isEmpty()) << "nothing is asked";
}

INSTANTIATE_TEST_SUITE_P(Faults, FaultJob,
                         ::testing::ValuesIn([] {
                             QList<FaultTable::Row> rows = FaultTable::rows(false);
                             rows.removeIf([](const FaultTable::Row& row) { return !row.extract; });
                             return rows;
                         }()),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
