// The application with its real windows on the offscreen platform: items
// opened with the password combination held become an encrypted archive that
// real tools read, and the application started for them quits afterwards.
#include "app/AppTestSupport.h"
#include "app/widgets/RKAppPasswordPrompt.h"
#include "app/widgets/RKTopWindow.h"
#include "results/widgets/RKProcessResultWindow.h"
#include "settings/RKSetting.h"
#include "support/TestEnvironment.h"
#include "ui/KSPasswordField.h"
#include "ui/RKPasswordWindow.h"

#include <QApplication>
#include <QDate>
#include <QPointer>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>

namespace {

// Answers the windows that wait for the user as they come up: types the
// password into the manual password window and closes the result window.
// (The progress window closes by itself, often before a poll sees it.)
class ModalAnswerer : public QObject
{
public:
    explicit ModalAnswerer(const char* password)
        : m_password(QString::fromUtf8(password))
    {
        connect(&m_timer, &QTimer::timeout, this, &ModalAnswerer::answer);
        m_timer.start(20);
    }

    int passwordWindows = 0;
    int resultWindows = 0;
    QList<RKProcessResultInfo> results;

private:
    void answer()
    {
        QWidget* modal = QApplication::activeModalWidget();
        if (modal == nullptr || modal == m_answered) {
            return;
        }
        if (auto* window = qobject_cast<RKPasswordWindow*>(modal)) {
            m_answered = modal;
            ++passwordWindows;
            window->scPassword()->setText(m_password);
            window->btnOk()->click();
        } else if (auto* window = qobject_cast<RKProcessResultWindow*>(modal)) {
            m_answered = modal;
            ++resultWindows;
            results = window->results();
            window->close();
        }
    }

    QString m_password;
    QTimer m_timer;
    QPointer<QWidget> m_answered;
};

TEST(AppEndToEnd, HeldPasswordCombinationEncryptsWithTheExpandedTypedPassword)
{
    RKSetting::RestoreDefault();
    QTemporaryDir dir;
    const QStringList items{dir.filePath("資料.txt"), dir.filePath("b.txt"), dir.filePath("フォルダ")};
    ASSERT_TRUE(TestEnvironment::writeFile(items[0], "first"));
    ASSERT_TRUE(TestEnvironment::writeFile(items[1], QByteArray(5000, 'b')));
    ASSERT_TRUE(TestEnvironment::writeFile(items[2] + "/中身.txt", "inner"));
    const QString archive = dir.filePath("out.zip");

    ScriptedServices services; // panels, notifier
    services.panels.script({archive});
    RKAppPasswordPrompt realPrompt;
    RKPasswordPrompt::setCurrent(&realPrompt);
    ScriptedKeyState keys;
    keys.held = {35}; // P, the factory password combination

    ModalAnswerer answerer("pw{YYYY}");
    int terminated = 0;
    {
        RKAppDelegate app;
        app.setTerminateAction([&] { ++terminated; });
        app.window()->show();
        app.applicationOpenFiles(items); // "Mac To Win": ask where, Shift-JIS, no password
        app.applicationDidFinishLaunching();
        ASSERT_TRUE(TestEnvironment::waitFor([&] { return terminated > 0; }, 120000));
        EXPECT_FALSE(app.isJobRunning());
    }
    RKPasswordPrompt::setCurrent(&services.passwords);

    EXPECT_EQ(terminated, 1);
    EXPECT_EQ(answerer.passwordWindows, 1);
    EXPECT_EQ(answerer.resultWindows, 1);
    EXPECT_EQ(services.panels.calls().size(), 1);
    ASSERT_EQ(answerer.results.size(), 1);
    EXPECT_EQ(answerer.results[0].title, "out.zip");
    const QString password = QStringLiteral("pw%1").arg(QDate::currentDate().year());
    const auto tested = TestEnvironment::run("unzip", {"-t", "-P", password, archive});
    EXPECT_EQ(tested.exitCode, 0) << tested.out.toStdString() << tested.err.toStdString();
    EXPECT_NE(TestEnvironment::run("unzip", {"-t", "-P", "pw{YYYY}", archive}).exitCode, 0)
        << "the typed template was expanded";

    // Names in Shift-JIS (code page 932), without the UTF-8 flag.
    const auto names = TestEnvironment::run(
        "python3", {"-c",
                    "import sys, zipfile\n"
                    "for i in zipfile.ZipFile(sys.argv[1]).infolist():\n"
                    "    assert not i.flag_bits & 0x800\n"
                    "    print(i.orig_filename.encode('cp437').decode('cp932'))\n",
                    archive});
    ASSERT_EQ(names.exitCode, 0) << names.err.toStdString();
    EXPECT_EQ(QString::fromUtf8(names.out).split('\n', Qt::SkipEmptyParts),
              QStringList({"資料.txt", "b.txt", "フォルダ/", "フォルダ/中身.txt"}));

    // The stored profile keeps its own password mode.
    EXPECT_EQ(RKSetting::Setting().archiveProfiles[0].passMode, RKProfileSetting::PassModeNone);
    ASSERT_EQ(services.notifier.delivered().size(), 1);
    EXPECT_EQ(services.notifier.delivered()[0].informativeText, "圧縮が完了しました");
}

} // namespace
