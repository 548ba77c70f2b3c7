// Held keys in a real Wayland session (headless sway), natively and through
// XWayland: the key held while the application starts for an item decides
// the profile or asks for the password, and never types into the window
// that opens. Ten starts each, since a missed focus is a race.
#include "app/WaylandSession.h"
#include "platform/RKAppInfo.h"
#include "settings/RKSetting.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSettings>
#include <QThread>
#include <gtest/gtest.h>

#include <memory>

namespace {

constexpr int kEvdevS = 31;
constexpr int kEvdevP = 25;
constexpr int kEvdevReturn = 28;
constexpr int kVirtualS = 1;
constexpr int kStarts = 10;

struct HeldKeyCase {
    const char* name;
    const char* platform; // QT_QPA_PLATFORM
    int evdevKey;
    bool passwordKey; // else the key of the profile "S"
    bool handedOver = false; // the item goes to an instance already running
};

class WaylandHeldKey : public ::testing::TestWithParam<HeldKeyCase>
{
protected:
    static void SetUpTestSuite()
    {
        s_session = std::make_unique<WaylandSession>();
        if (!s_session->isRunning()) {
            return;
        }
        // The factory settings, and a profile chosen by the S key that
        // writes next to the item (no save panel).
        RKSetting::RestoreDefault();
        RKSetting setting = RKSetting::Setting();
        RKProfileSetting held = setting.archiveProfiles.first().copy();
        held.profileID = QStringLiteral("held-s");
        held.profileName = QStringLiteral("S");
        held.profileShotcutCode = kVirtualS;
        held.profileShotcutFlags = 0;
        held.saveLocation = 1;
        held.passMode = RKProfileSetting::PassModeNone;
        setting.archiveProfiles.append(held);
        setting.commit();
        const QString stored = QSettings(QSettings::NativeFormat, QSettings::UserScope,
                                         RKAppInfo::organizationName(), RKAppInfo::applicationName())
                                   .fileName();
        const QString copy = s_session->folder() + "/config/" + RKAppInfo::organizationName() + '/'
                             + RKAppInfo::applicationName() + ".conf";
        QDir().mkpath(QFileInfo(copy).path());
        QFile::copy(stored, copy);
        TestEnvironment::writeFile(s_session->folder() + "/items/a.txt", "held");
        s_session->handOver();
    }
    static void TearDownTestSuite() { s_session.reset(); }

    static std::unique_ptr<WaylandSession> s_session;
};

std::unique_ptr<WaylandSession> WaylandHeldKey::s_session;

// The next report line of the application (MOKUZA_TEST_HOOKS), fields split.
QStringList nextReport(QProcess& app, const QString& event)
{
    while (app.canReadLine() || app.waitForReadyRead(20000)) {
        while (app.canReadLine()) {
            const QStringList fields = QString::fromUtf8(app.readLine()).chopped(1).split('\t');
            if (fields[0] == event) {
                return fields.mid(1);
            }
        }
    }
    return {"<no " + event + " report>"};
}

TEST_P(WaylandHeldKey, DecidesTheJobAndTypesNothingTenTimesOutOfTen)
{
    if (!s_session->isRunning()) {
        GTEST_SKIP() << "no Wayland session: " << s_session->error();
    }
    const HeldKeyCase& c = GetParam();
    QProcessEnvironment environment;
    environment.insert("QT_QPA_PLATFORM", c.platform);
    environment.insert("DISPLAY", s_session->xDisplay());
    environment.insert("MOKUZA_TEST_HOOKS", "1");
    for (int start = 0; start < kStarts; ++start) {
        SCOPED_TRACE("start " + std::to_string(start + 1));
        QProcess running;
        if (c.handedOver) {
            s_session->start(running, MOKUZA_BINARY_DIR "/mokuza-full", {}, environment);
            ASSERT_NE(nextReport(running, "ready").value(0), "<no ready report>");
        }
        ASSERT_TRUE(s_session->press(c.evdevKey));
        QProcess second;
        QProcess& app = c.handedOver ? running : second;
        s_session->start(second, MOKUZA_BINARY_DIR "/mokuza-full", {s_session->folder() + "/items/a.txt"}, environment);
        if (c.passwordKey) {
            EXPECT_EQ(nextReport(app, "password-window"), QStringList());
            // Long enough for the key's auto-repeat to start, had it typed.
            QThread::msleep(800);
            ASSERT_TRUE(s_session->release(c.evdevKey));
            ASSERT_TRUE(s_session->press(kEvdevReturn) && s_session->release(kEvdevReturn));
            const QStringList job = nextReport(app, "job-started");
            EXPECT_EQ(job.value(1, "<none>"), "") << "the password typed: " << job.join(' ').toStdString();
        } else {
            EXPECT_EQ(nextReport(app, "job-started").value(0), "S");
            ASSERT_TRUE(s_session->release(c.evdevKey));
        }
        app.kill();
        app.waitForFinished(10000);
        second.waitForFinished(10000);
    }
}

INSTANTIATE_TEST_SUITE_P(Platforms, WaylandHeldKey,
                         ::testing::Values(HeldKeyCase{"NativeS", "wayland", kEvdevS, false},
                                           HeldKeyCase{"NativeP", "wayland", kEvdevP, true},
                                           HeldKeyCase{"XWaylandS", "xcb", kEvdevS, false},
                                           HeldKeyCase{"XWaylandP", "xcb", kEvdevP, true},
                                           HeldKeyCase{"NativeSHandedOver", "wayland", kEvdevS, false, true},
                                           HeldKeyCase{"XWaylandSHandedOver", "xcb", kEvdevS, false, true}),
                         [](const auto& info) { return std::string(info.param.name); });

// Not a check: pictures of the windows in the Wayland session, for people to
// look at (MOKUZA_SHOTS_DIR=<folder>; skipped otherwise). The drop window,
// the preferences, the save panel of a profile that asks, and the result of
// a job whose profile the held S chose.
class WaylandScreens : public WaylandHeldKey
{
};

TEST_F(WaylandScreens, ForPeopleToLookAt)
{
    const QString shots = qEnvironmentVariable("MOKUZA_SHOTS_DIR");
    if (shots.isEmpty() || !s_session->isRunning() || !TestEnvironment::hasProgram("grim")) {
        GTEST_SKIP() << "MOKUZA_SHOTS_DIR unset, or no Wayland session or grim";
    }
    QDir().mkpath(shots);
    const auto shoot = [&](const char* name) {
        QThread::msleep(1500);
        QProcess grim;
        s_session->start(grim, "/usr/bin/grim", {s_session->folder() + "/shot.png"});
        grim.waitForFinished(20000);
        QFile::remove(shots + '/' + name);
        EXPECT_TRUE(QFile::copy(s_session->folder() + "/shot.png", shots + '/' + name)) << name;
    };
    QProcessEnvironment environment;
    environment.insert("QT_QPA_PLATFORM", "wayland");
    environment.insert("LANG", "ja_JP.UTF-8");
    QProcess app;
    s_session->start(app, MOKUZA_BINARY_DIR "/mokuza-full", {}, environment);
    shoot("22-drop-window.png");
    s_session->press(29); // Control + comma: the preferences
    s_session->press(51);
    s_session->release(51);
    s_session->release(29);
    shoot("22-preferences.png");
    app.kill();
    app.waitForFinished();
    s_session->start(app, MOKUZA_BINARY_DIR "/mokuza-full", {s_session->folder() + "/items/a.txt"}, environment);
    shoot("22-save-panel.png");
    app.kill();
    app.waitForFinished();
    s_session->press(kEvdevS);
    s_session->start(app, MOKUZA_BINARY_DIR "/mokuza-full", {s_session->folder() + "/items/a.txt"}, environment);
    QThread::msleep(1000);
    s_session->release(kEvdevS);
    shoot("22-held-s-result.png");
    app.kill();
    app.waitForFinished();
}

} // namespace
