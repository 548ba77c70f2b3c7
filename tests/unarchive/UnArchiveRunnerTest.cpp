// The unarchive runner window with archives made by peer tools: passwords
// (scripted and through the real prompt), cancel in both phases, titles,
// notifications, names that do not decode.
#include "settings/RKPasswordPrompt.h"
#include "support/jobs/ScriptedServices.h"
#include "ui/KSPasswordField.h"
#include "unarchive/UnArchiveTestSupport.h"
#include "unarchive/widgets/RKUnArchivePasswordWindow.h"
#include "unarchive/widgets/RKUnArchiveProgressWindow.h"

#include <QApplication>
#include <QCheckBox>
#include <QPushButton>
#include <QTimer>
#include <gtest/gtest.h>

using namespace UnArchiveTestSupport;

namespace {

class UnArchiveRunnerTest : public UnArchiveTest
{
protected:
    // Archives a.txt, d/ and d/b.txt (content "data") with zip or 7z.
    QString makeArchive(const QString& name, const QString& tool = "zip", const QStringList& options = {})
    {
        makeTree(in("content"), {"a.txt", "d/", "d/b.txt"}, "data");
        const QStringList common = tool == "7z" ? QStringList{"a", "-tzip", "-bd"} : QStringList{"-r", "-q"};
        runTool(tool, common + options + QStringList{in(name), "a.txt", "d"}, in("content"));
        freezeInputs();
        return in(name);
    }
    QStringList notices() const
    {
        QStringList lines;
        for (const auto& n : services.notifier.delivered()) {
            lines << n.title + " | " + n.subtitle + " | " + n.informativeText;
        }
        return lines;
    }

    ScriptedServices services;
    RKUnArchiveProgressWindow runner;
};

const QStringList kPlaced{"secret/", "secret/a.txt=data", "secret/d/", "secret/d/b.txt=data"};

struct PasswordCase {
    const char* name;
    const char* tool;
    const char* typed; // nullptr: the archive has no password
    bool placed;
};

class PasswordTest : public UnArchiveRunnerTest, public ::testing::WithParamInterface<PasswordCase>
{
};

TEST_P(PasswordTest, OnePromptThenPlacedOrErrors)
{
    const PasswordCase& c = GetParam();
    const bool sevenZip = QString(c.tool) == "7z";
    const QStringList options = !c.typed ? QStringList{} : sevenZip ? QStringList{"-ps3cret"} : QStringList{"-P", "s3cret"};
    const QString archive = makeArchive("secret.zip", c.tool, options);
    services.passwords.unArchiveAnswers = {c.typed ? c.typed : "unused"};

    runner.runUnArchive(nullptr, archive, profile(1), out());

    EXPECT_EQ(services.passwords.unArchivePromptCount, c.typed ? 1 : 0) << "one attempt only";
    EXPECT_EQ(runner.usedPassword(), c.typed ? QString(c.typed) : QString());
    EXPECT_FALSE(runner.isVisible());
    if (c.placed) {
        EXPECT_EQ(snapshot(out()), kPlaced);
        EXPECT_TRUE(runner.errors().isEmpty());
        EXPECT_EQ(notices(), QStringList{"MOKUZA-FULL | " + archive + " | 解凍が完了しました"});
        EXPECT_EQ(runner.windowTitle(), "コピー中 - 100.0%");
    } else {
        EXPECT_EQ(snapshot(out()), QStringList{}) << "nothing placed";
        EXPECT_FALSE(runner.errors().isEmpty());
        EXPECT_EQ(runner.errors().value(0).family(), RQError::Family::UnArchiver);
        EXPECT_EQ(notices(), QStringList{"MOKUZA-FULL | " + archive + " | 解凍が完了しましたが、エラーがあります"});
    }
}

INSTANTIATE_TEST_SUITE_P(Password, PasswordTest,
                         ::testing::Values(PasswordCase{"NoPassword", "zip", nullptr, true},
                                           PasswordCase{"ZipRight", "zip", "s3cret", true},
                                           PasswordCase{"SevenZipRight", "7z", "s3cret", true},
                                           PasswordCase{"ZipWrong", "zip", "wrong", false},
                                           PasswordCase{"SevenZipWrong", "7z", "wrong", false},
                                           PasswordCase{"ZipEmpty", "zip", "", false}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(UnArchiveRunnerTest, RealPromptIsCentredMaskedAndItsButtonAccepts)
{
    const QString archive = makeArchive("secret.zip", "zip", {"-P", "s3cret"});
    struct WindowPrompt : RKPasswordPrompt {
        QString showPasswordDialog(QObject*, const RKProfileSetting&) override { return {}; }
        QString askUnArchivePassword(QObject* runnerWindow) override
        {
            return RKUnArchivePasswordWindow::runModal(qobject_cast<QWidget*>(runnerWindow));
        }
    } prompt;
    RKPasswordPrompt::setCurrent(&prompt);
    bool answered = false;
    QTimer driver;
    QObject::connect(&driver, &QTimer::timeout, [&] {
        auto* window = qobject_cast<RKUnArchivePasswordWindow*>(QApplication::activeModalWidget());
        if (!window || answered) {
            return;
        }
        answered = true;
        const QRect outer = runner.geometry();
        const QRect inner = window->geometry();
        EXPECT_EQ(inner.topLeft(), outer.topLeft() + QPoint((outer.width() - inner.width()) / 2, (outer.height() - inner.height()) / 2));
        EXPECT_FALSE(window->btnShowPassword()->isChecked() || window->scPassword()->showsText());
        window->btnShowPassword()->click();
        EXPECT_TRUE(window->scPassword()->showsText());
        window->scPassword()->setText("s3cret");
        window->btnCancel()->click();
    });
    driver.start(10);

    runner.move(200, 150);
    runner.runUnArchive(nullptr, archive, profile(1), out());
    RKPasswordPrompt::setCurrent(&services.passwords);

    EXPECT_TRUE(answered);
    EXPECT_EQ(runner.usedPassword(), "s3cret");
    EXPECT_EQ(snapshot(out()), kPlaced);
}

TEST_F(UnArchiveRunnerTest, CancelDuringExtractionPlacesNothing)
{
    const QString archive = makeArchive("secret.zip");

    runner.show();
    runner.doUnArchive(archive, profile(0), out());
    runner.btnCansel()->click(); // whether or not the reader is through, nothing is placed
    runner.exec();

    EXPECT_EQ(snapshot(out()), QStringList{});
    EXPECT_TRUE(runner.errors().isEmpty() && notices().isEmpty());
}

TEST_F(UnArchiveRunnerTest, CancelDuringPlacementKeepsWhatWasPlaced)
{
    const QString archive = makeArchive("secret.zip");
    makeTree(out(), {"d/", "there/"}, "old");
    // The clashing folder's panel is answered after the cancel button was
    // pressed: its step completes, the next one (its first item) stops.
    services.panels.setResponder([this](const ScriptedPanelService::Call&) {
        QMetaObject::invokeMethod(&runner, [this] { runner.btnCansel()->click(); }, Qt::BlockingQueuedConnection);
        return out("there");
    });

    runner.runUnArchive(nullptr, archive, profile(0, 0), out());

    const QStringList placed = snapshot(out());
    EXPECT_TRUE(placed.contains("there/d/"));
    EXPECT_FALSE(placed.contains("there/d/b.txt=data"));
    EXPECT_TRUE(runner.errors().isEmpty() && notices().isEmpty());
}

struct UndecodableCase {
    const char* name;
    quint64 encoding;
    QByteArray rawName;
};

class UndecodableNameTest : public UnArchiveRunnerTest, public ::testing::WithParamInterface<UndecodableCase>
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
}

INSTANTIATE_TEST_SUITE_P(Names, UndecodableNameTest,
                         ::testing::Values(UndecodableCase{"Utf8", 4, QByteArray::fromHex("fffe2e747874")},
                                           UndecodableCase{"ShiftJISLeadByteAlone", 8, QByteArray::fromHex("61812e")}),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
