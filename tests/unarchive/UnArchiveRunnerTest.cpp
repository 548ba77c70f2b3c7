// The unarchive runner with real archives made by peer tools: passwords,
// progress titles, cancel in both phases, notifications, name encodings.
#include "settings/RKPasswordPrompt.h"
#include "support/TestEnvironment.h"
#include "support/jobs/ScriptedServices.h"
#include "ui/KSPasswordField.h"
#include "unarchive/UnArchiveTestSupport.h"
#include "unarchive/widgets/RKUnArchivePasswordWindow.h"
#include "unarchive/widgets/RKUnArchiveProgressWindow.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <gtest/gtest.h>

using namespace UnArchiveTestSupport;

namespace {

const QString kDone = QStringLiteral("解凍が完了しました");
const QString kDoneWithErrors = QStringLiteral("解凍が完了しましたが、エラーがあります");

class UnArchiveRunnerTest : public UnArchiveTest
{
protected:
    void SetUp() override
    {
        UnArchiveTest::SetUp();
        services.host.unArchiveRunner = &runner;
    }

    // Archives the entries (content "data") with a peer tool; extra
    // arguments go before the archive name (a password, say).
    QString makeArchive(const QString& name, const QStringList& entries,
                        const QString& tool = QStringLiteral("zip"),
                        const QStringList& toolOptions = {})
    {
        const QString content = in("content-" + name);
        makeTree(content, entries, "data");
        QStringList topLevel;
        for (const QString& entry : entries) {
            const QString first = entry.section(QLatin1Char('/'), 0, 0);
            if (!topLevel.contains(first)) {
                topLevel << first;
            }
        }
        const QString archive = in(name);
        if (tool == QLatin1String("7z")) {
            runTool("7z", QStringList{"a", "-tzip", "-bd"} + toolOptions + QStringList{archive} + topLevel,
                    content);
        } else {
            runTool("zip", QStringList{"-r", "-q"} + toolOptions + QStringList{archive} + topLevel,
                    content);
        }
        return archive;
    }

    QStringList notices() const
    {
        QStringList lines;
        for (const CapturingNotifier::Notification& n : services.notifier.delivered()) {
            lines << n.title + " | " + n.subtitle + " | " + n.informativeText;
        }
        return lines;
    }

    ScriptedServices services;
    RKUnArchiveProgressWindow runner;
};

TEST_F(UnArchiveRunnerTest, ExtractsIntoANewFolderAndNotifies)
{
    const QString archive = makeArchive("photos.zip", {"a.txt", "d/", "d/b.txt"});
    freezeInputs();

    runner.runUnArchive(nullptr, archive, profile(1), out());

    EXPECT_EQ(snapshot(out()), (QStringList{"photos/", "photos/a.txt=data", "photos/d/",
                                            "photos/d/b.txt=data"}));
    EXPECT_TRUE(runner.errors().isEmpty());
    EXPECT_TRUE(runner.usedPassword().isNull());
    EXPECT_EQ(services.passwords.unArchivePromptCount, 0);
    EXPECT_EQ(notices(), QStringList{"MOKUZA-FULL | " + archive + " | " + kDone});
    EXPECT_EQ(runner.windowTitle(), "コピー中 - 100.0%");
    EXPECT_EQ(runner.btnCansel()->text(), "キャンセル");
    EXPECT_FALSE(runner.isVisible());
}

// ---------------------------------------------------------------------------

struct PasswordCase {
    const char* name;
    const char* tool;
    const char* typed;
    bool placed;
};

class EncryptedArchiveTest : public UnArchiveRunnerTest,
                             public ::testing::WithParamInterface<PasswordCase>
{
};

TEST_P(EncryptedArchiveTest, OnePromptThenPlacedOrErrors)
{
    const PasswordCase& c = GetParam();
    const QString tool = QString::fromLatin1(c.tool);
    const QStringList options = tool == "7z" ? QStringList{"-ps3cret-pass"} : QStringList{"-P", "s3cret-pass"};
    const QString archive = makeArchive("secret.zip", {"a.txt", "d/", "d/b.txt"}, tool, options);
    freezeInputs();
    services.passwords.unArchiveAnswers = {QString::fromUtf8(c.typed)};

    runner.runUnArchive(nullptr, archive, profile(1), out());

    EXPECT_EQ(services.passwords.unArchivePromptCount, 1) << "one attempt only";
    EXPECT_EQ(runner.usedPassword(), QString::fromUtf8(c.typed));
    if (c.placed) {
        EXPECT_EQ(snapshot(out()), (QStringList{"secret/", "secret/a.txt=data", "secret/d/",
                                                "secret/d/b.txt=data"}));
        EXPECT_TRUE(runner.errors().isEmpty());
        EXPECT_EQ(notices(), QStringList{"MOKUZA-FULL | " + archive + " | " + kDone});
    } else {
        EXPECT_EQ(snapshot(out()), QStringList{}) << "nothing placed";
        EXPECT_FALSE(runner.errors().isEmpty());
        for (const RQError& error : runner.errors()) {
            EXPECT_EQ(error.family(), RQError::Family::UnArchiver);
        }
        EXPECT_EQ(notices(), QStringList{"MOKUZA-FULL | " + archive + " | " + kDoneWithErrors});
    }
}

INSTANTIATE_TEST_SUITE_P(
    Password, EncryptedArchiveTest,
    ::testing::Values(PasswordCase{"ZipRight", "zip", "s3cret-pass", true},
                      PasswordCase{"SevenZipRight", "7z", "s3cret-pass", true},
                      PasswordCase{"ZipWrong", "zip", "wrong", false},
                      PasswordCase{"SevenZipWrong", "7z", "wrong", false},
                      PasswordCase{"ZipEmpty", "zip", "", false}),
    [](const ::testing::TestParamInfo<PasswordCase>& info) { return std::string(info.param.name); });

// ---------------------------------------------------------------------------

TEST_F(UnArchiveRunnerTest, RealPasswordWindowIsCentredMaskedAndAccepts)
{
    const QString archive = makeArchive("secret.zip", {"a.txt"}, "zip", {"-P", "s3cret"});
    freezeInputs();

    // The application's prompt: the real window over the runner.
    class WindowPrompt : public RKPasswordPrompt
    {
    public:
        QString showPasswordDialog(QObject*, const RKProfileSetting&) override { return {}; }
        QString askUnArchivePassword(QObject* runnerWindow) override
        {
            return RKUnArchivePasswordWindow::runModal(qobject_cast<QWidget*>(runnerWindow));
        }
    } prompt;
    RKPasswordPrompt::setCurrent(&prompt);

    bool seen = false;
    QTimer driver;
    QObject::connect(&driver, &QTimer::timeout, [&] {
        auto* window = qobject_cast<RKUnArchivePasswordWindow*>(QApplication::activeModalWidget());
        if (!window || seen) {
            return;
        }
        seen = true;
        const QRect outer = runner.geometry();
        const QRect inner = window->geometry();
        EXPECT_EQ(inner.x(), outer.x() + (outer.width() - inner.width()) / 2);
        EXPECT_EQ(inner.y(), outer.y() + (outer.height() - inner.height()) / 2);
        EXPECT_FALSE(window->btnShowPassword()->isChecked());
        EXPECT_FALSE(window->scPassword()->showsText());
        window->btnShowPassword()->click();
        EXPECT_TRUE(window->scPassword()->showsText());
        window->scPassword()->setText("s3cret");
        window->btnCancel()->click();
    });
    driver.start(10);

    runner.move(200, 150);
    runner.runUnArchive(nullptr, archive, profile(0), out());
    RKPasswordPrompt::setCurrent(&services.passwords);

    EXPECT_TRUE(seen);
    EXPECT_EQ(runner.usedPassword(), "s3cret");
    EXPECT_EQ(snapshot(out()), QStringList{"a.txt=data"});
}

// ---------------------------------------------------------------------------

TEST_F(UnArchiveRunnerTest, CancelDuringExtractionPlacesNothing)
{
    QStringList entries;
    for (int i = 0; i < 200; ++i) {
        entries << QStringLiteral("f%1.txt").arg(i);
    }
    const QString archive = makeArchive("many.zip", entries);
    freezeInputs();

    runner.show();
    runner.doUnArchive(archive, profile(0), out());
    runner.btnCansel()->click();
    runner.exec();

    // Whether the reader had already finished or not, a cancel before
    // placement places nothing and tells nobody.
    EXPECT_EQ(snapshot(out()), QStringList{});
    EXPECT_TRUE(runner.errors().isEmpty());
    EXPECT_TRUE(notices().isEmpty());
}

TEST_F(UnArchiveRunnerTest, CancelDuringPlacementKeepsWhatWasPlaced)
{
    const QString archive = makeArchive("photos.zip", {"a.txt", "clash/", "clash/x.txt", "clash/y.txt"});
    freezeInputs();
    makeTree(out(), {"clash/", "elsewhere/"}, "old");
    // The clashing folder's panel is answered after the cancel button was
    // pressed: its step completes, the next one (its first item) stops.
    services.panels.setResponder([this](const ScriptedPanelService::Call&) {
        QMetaObject::invokeMethod(
            &runner, [this] { runner.btnCansel()->click(); }, Qt::BlockingQueuedConnection);
        return out("elsewhere");
    });

    runner.runUnArchive(nullptr, archive, profile(0, 0), out());

    const QStringList placed = snapshot(out());
    EXPECT_TRUE(placed.contains("elsewhere/clash/"));
    EXPECT_FALSE(placed.contains("elsewhere/clash/x.txt=data"));
    EXPECT_FALSE(placed.contains("elsewhere/clash/y.txt=data"));
    EXPECT_EQ(services.panels.calls().size(), 1);
    EXPECT_TRUE(runner.errors().isEmpty());
    EXPECT_TRUE(notices().isEmpty());
}

TEST_F(UnArchiveRunnerTest, PlacementErrorEndsTheRunWithTheError)
{
    const QString archive = makeArchive("photos.zip", {"a.txt"});
    freezeInputs();
    makeTree(out(), {"file"}, "old");

    runner.runUnArchive(nullptr, archive, profile(0), out("file"));

    EXPECT_EQ(runner.errors(), QList<RQError>{RQError::initWithFileCopyUtilErrorCode(2, out("file/a.txt"))});
    EXPECT_TRUE(notices().isEmpty());
    EXPECT_EQ(snapshot(out()), QStringList{"file=old"});
}

TEST_F(UnArchiveRunnerTest, SecondRunStartsWithNoErrors)
{
    ASSERT_TRUE(TestEnvironment::writeFile(in("broken.zip"), "not an archive"));
    const QString good = makeArchive("good.zip", {"a.txt"});
    freezeInputs();

    runner.runUnArchive(nullptr, in("broken.zip"), profile(1), out());
    EXPECT_EQ(runner.errors(),
              QList<RQError>{RQError::initWithUnArchiverErrorCode(2, in("broken.zip"))});

    runner.runUnArchive(nullptr, good, profile(1), out());
    EXPECT_TRUE(runner.errors().isEmpty());

    EXPECT_EQ(snapshot(out()), (QStringList{"good/", "good/a.txt=data"}));
    EXPECT_EQ(notices(), (QStringList{"MOKUZA-FULL | " + in("broken.zip") + " | " + kDoneWithErrors,
                                      "MOKUZA-FULL | " + good + " | " + kDone}));
}

// ---------------------------------------------------------------------------
// Names as Windows writes them: code-page bytes without the UTF-8 flag.

TEST_F(UnArchiveRunnerTest, WindowsNamesReadAsShiftJIS)
{
    writeRawNameArchive(in("win.zip"),
                        {QByteArray::fromHex("93fa967b8cea83748348838b835f2f"),             // 日本語フォルダ/
                         QByteArray::fromHex("93fa967b8cea83748348838b835f2f955c2e747874"), // …/表.txt
                         QByteArray::fromHex("8160874081612e747874"),                       // ～①∥.txt
                         QByteArray::fromHex("b6c0b6c52e747874")});                         // ｶﾀｶﾅ.txt
    freezeInputs();
    RKUnArchiveProfileSetting winToMac = profile(0);
    winToMac.sourceEncoding = 8;

    runner.runUnArchive(nullptr, in("win.zip"), winToMac, out());

    EXPECT_TRUE(runner.errors().isEmpty());
    QStringList expected{"ｶﾀｶﾅ.txt=3", "～①∥.txt=2", "日本語フォルダ/", "日本語フォルダ/表.txt=1"};
    expected.sort();
    EXPECT_EQ(snapshot(out()), expected);
}

struct UndecodableCase {
    const char* name;
    quint64 encoding;
    QByteArray rawName;
};

class UndecodableNameTest : public UnArchiveRunnerTest,
                            public ::testing::WithParamInterface<UndecodableCase>
{
};

TEST_P(UndecodableNameTest, ArchiveFailsWithError2AndNothingIsPlaced)
{
    writeRawNameArchive(in("bad.zip"), {"fine.txt", GetParam().rawName});
    freezeInputs();
    RKUnArchiveProfileSetting p = profile(1);
    p.sourceEncoding = GetParam().encoding;

    runner.runUnArchive(nullptr, in("bad.zip"), p, out());

    EXPECT_EQ(runner.errors(), QList<RQError>{RQError::initWithUnArchiverErrorCode(2, in("bad.zip"))});
    EXPECT_EQ(snapshot(out()), QStringList{});
    EXPECT_EQ(notices(), QStringList{"MOKUZA-FULL | " + in("bad.zip") + " | " + kDoneWithErrors});
}

INSTANTIATE_TEST_SUITE_P(
    Names, UndecodableNameTest,
    ::testing::Values(UndecodableCase{"Utf8", 4, QByteArray::fromHex("fffe2e747874")},
                      UndecodableCase{"ShiftJISLeadByteWithoutTrail", 8, QByteArray::fromHex("61812e")}),
    [](const ::testing::TestParamInfo<UndecodableCase>& info) { return std::string(info.param.name); });

} // namespace
