#include "platform/RKX11KeyStateSource.h"

#include "support/PrivateXServer.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <QSet>

#include <memory>

namespace {

struct RealKeyRow {
    const char* keysym;
    int virtualKeyCode;
    // xdotool presses a right-hand modifier together with the left one of
    // the same modifier, so that one is held too; -1 for none.
    int alsoHeld;
};

// The real key-state source against a private X server. xdotool presses keys
// through XTEST with no window focused; the server's own keymap says which X
// key code a key symbol has, so each row checks one entry of the key table
// against a real keyboard description, and that no other virtual key code
// shares its X key code.
class XvfbKeyTableTest : public ::testing::TestWithParam<RealKeyRow>
{
protected:
    static void SetUpTestSuite()
    {
        s_server = std::make_unique<PrivateXServer>();
        s_display = s_server->display();
        s_skipReason = s_server->error();
        if (!TestEnvironment::hasProgram(QStringLiteral("xdotool"))) {
            s_skipReason = "xdotool is missing";
        }
    }

    static void TearDownTestSuite() { s_server.reset(); }

    void SetUp() override
    {
        if (!s_skipReason.empty()) {
            GTEST_SKIP() << "X key state not testable: " << s_skipReason;
        }
    }

    // Leaves the server with nothing held for the next row.
    void TearDown() override
    {
        if (s_skipReason.empty()) {
            xdotool(QStringLiteral("keyup"));
        }
    }

    int xdotool(const QString& action)
    {
        return s_server->runClient(QStringLiteral("xdotool"), {action, QString::fromLatin1(GetParam().keysym)});
    }

    static QSet<int> held(RKX11KeyStateSource& source)
    {
        QSet<int> codes;
        for (int code = 0; code < 128; ++code) {
            if (source.isKeyHeld(code)) {
                codes.insert(code);
            }
        }
        return codes;
    }

    static inline QByteArray s_display;
    static inline std::string s_skipReason;
    static inline std::unique_ptr<PrivateXServer> s_server;
};

// xdotool and the source talk to the server on different connections, so the
// state is awaited rather than read once.
TEST_P(XvfbKeyTableTest, KeySymbolIsHeldUnderItsVirtualKeyCodeAlone)
{
    const RealKeyRow row = GetParam();
    RKX11KeyStateSource source(s_display);
    QSet<int> expected{row.virtualKeyCode};
    if (row.alsoHeld >= 0) {
        expected.insert(row.alsoHeld);
    }
    ASSERT_EQ(xdotool(QStringLiteral("keydown")), 0);
    EXPECT_TRUE(TestEnvironment::waitFor([&] { return source.isKeyHeld(row.virtualKeyCode); }, 10000));
    EXPECT_EQ(held(source), expected);
    ASSERT_EQ(xdotool(QStringLiteral("keyup")), 0);
    EXPECT_TRUE(TestEnvironment::waitFor([&] { return held(source).isEmpty(); }, 10000));
}

// "p" is the key of the factory password combination.
const RealKeyRow kRealKeys[] = {
    {"p", 35, -1},         {"a", 0, -1},       {"bracketleft", 33, -1}, {"Return", 36, -1},  {"space", 49, -1},
    {"Shift_L", 56, -1},   {"Control_L", 59, -1}, {"Alt_L", 58, -1},     {"Super_L", 55, -1},  {"Shift_R", 60, 56},
    {"Control_R", 62, 59}, {"Alt_R", 61, 58},  {"Super_R", 54, 55},     {"F5", 96, -1},      {"KP_Enter", 76, -1},
};

INSTANTIATE_TEST_SUITE_P(RKX11KeyStateSource, XvfbKeyTableTest, ::testing::ValuesIn(kRealKeys),
                         [](const auto& info) { return std::string(info.param.keysym); });

} // namespace
