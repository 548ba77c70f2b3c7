#include "platform/RKX11KeyStateSource.h"

#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <QProcess>
#include <QSet>

#include <memory>

namespace {

// A private X server for the real key-state source. -displayfd lets the
// server pick a free display and report it once it accepts connections, so
// no display number is guessed and no socket is polled.
class XvfbKeyboardTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        s_skipReason.clear();
        if (!TestEnvironment::hasProgram(QStringLiteral("Xvfb"))
            || !TestEnvironment::hasProgram(QStringLiteral("xdotool"))) {
            s_skipReason = "Xvfb or xdotool is not installed";
            return;
        }
        s_server = std::make_unique<QProcess>();
        s_server->setProcessChannelMode(QProcess::SeparateChannels);
        s_server->start(QStringLiteral("Xvfb"),
                        {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                         QStringLiteral("0"), QStringLiteral("1024x768x24"), QStringLiteral("-noreset"),
                         QStringLiteral("-nolisten"), QStringLiteral("tcp")});
        if (!s_server->waitForStarted(10000)) {
            s_skipReason = "Xvfb could not be started";
            return;
        }
        QByteArray reported;
        const QDeadlineTimer deadline(20000);
        while (!reported.contains('\n') && !deadline.hasExpired()
               && s_server->state() == QProcess::Running) {
            s_server->waitForReadyRead(static_cast<int>(deadline.remainingTime()));
            reported += s_server->readAllStandardOutput();
        }
        bool ok = false;
        const int display = reported.trimmed().toInt(&ok);
        if (!ok) {
            s_skipReason = "Xvfb did not report a display: "
                           + s_server->readAllStandardError().toStdString();
            return;
        }
        s_display = ":" + QByteArray::number(display);
    }

    static void TearDownTestSuite()
    {
        if (s_server && s_server->state() != QProcess::NotRunning) {
            s_server->terminate();
            if (!s_server->waitForFinished(10000)) {
                s_server->kill();
                s_server->waitForFinished(10000);
            }
        }
        s_server.reset();
    }

    void SetUp() override
    {
        if (!s_skipReason.empty()) {
            GTEST_SKIP() << "X key state not testable: " << s_skipReason;
        }
    }

    static int xdotool(const QStringList& arguments)
    {
        const QStringList command = QStringList{QStringLiteral("DISPLAY=") + QString::fromLatin1(s_display),
                                                QStringLiteral("xdotool")}
                                    + arguments;
        return TestEnvironment::run(QStringLiteral("env"), command, QString(), 30000).exitCode;
    }

    static inline QByteArray s_display;
    static inline std::string s_skipReason;
    static inline std::unique_ptr<QProcess> s_server;
};

// The server's requests from xdotool and from the source arrive on different
// connections, so the state is awaited rather than read once.
bool becomes(const std::function<bool()>& condition)
{
    return TestEnvironment::waitFor(condition, 10000);
}

struct RealKeyRow {
    const char* keysym;
    int virtualKeyCode;
    // xdotool presses a right-hand modifier together with the left one of the
    // same modifier, so that one is held too; -1 for none.
    int alsoHeld;
};

QSet<int> heldVirtualKeyCodes(RKX11KeyStateSource& source)
{
    QSet<int> held;
    for (int code = 0; code < 128; ++code) {
        if (source.isKeyHeld(code)) {
            held.insert(code);
        }
    }
    return held;
}

class XvfbKeyTableTest : public XvfbKeyboardTest, public ::testing::WithParamInterface<RealKeyRow>
{
protected:
    // Leaves the server with nothing held for the next row.
    void TearDown() override
    {
        if (s_skipReason.empty()) {
            xdotool({QStringLiteral("keyup"), QString::fromLatin1(GetParam().keysym)});
        }
    }
};

// xdotool presses keys through XTEST with no window focused. The server's own
// keymap says which X key code a key symbol has, so each row checks one entry
// of the key table against a real keyboard description, and that no other
// virtual key code shares its X key code.
TEST_P(XvfbKeyTableTest, KeySymbolIsHeldUnderItsVirtualKeyCodeAlone)
{
    const RealKeyRow row = GetParam();
    RKX11KeyStateSource source(s_display);
    QSet<int> expected{row.virtualKeyCode};
    if (row.alsoHeld >= 0) {
        expected.insert(row.alsoHeld);
    }
    ASSERT_EQ(xdotool({QStringLiteral("keydown"), QString::fromLatin1(row.keysym)}), 0);
    EXPECT_TRUE(becomes([&] { return source.isKeyHeld(row.virtualKeyCode); }));
    EXPECT_EQ(heldVirtualKeyCodes(source), expected);
    ASSERT_EQ(xdotool({QStringLiteral("keyup"), QString::fromLatin1(row.keysym)}), 0);
    EXPECT_TRUE(becomes([&] { return heldVirtualKeyCodes(source).isEmpty(); }));
}

// "p" is the key of the factory password combination.
const RealKeyRow kRealKeys[] = {
    {"p", 35, -1},
    {"a", 0, -1},        {"m", 46, -1},        {"1", 18, -1},        {"bracketleft", 33, -1},
    {"Return", 36, -1},  {"space", 49, -1},    {"Escape", 53, -1},   {"Shift_L", 56, -1},
    {"Control_L", 59, -1}, {"Alt_L", 58, -1},  {"Super_L", 55, -1},  {"Shift_R", 60, 56},
    {"Control_R", 62, 59}, {"Alt_R", 61, 58},  {"Super_R", 54, 55},  {"F5", 96, -1},
    {"KP_Enter", 76, -1}, {"Left", 123, -1},
};

INSTANTIATE_TEST_SUITE_P(RKX11KeyStateSource, XvfbKeyTableTest, ::testing::ValuesIn(kRealKeys),
                         [](const auto& info) { return std::string(info.param.keysym); });

} // namespace
