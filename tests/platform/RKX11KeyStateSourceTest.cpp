#include "platform/RKX11KeyStateSource.h"

#include "support/PrivateXServer.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <QSet>

namespace {

QSet<int> held(RKX11KeyStateSource& source)
{
    QSet<int> codes;
    for (int code = 0; code < 128; ++code) {
        if (source.isKeyHeld(code)) {
            codes.insert(code);
        }
    }
    return codes;
}

// The real key-state source against a private X server. xdotool presses keys
// through XTEST with no window focused; the server's own keymap says which X
// key code a key symbol has, so each row checks one entry of the key table
// against a real keyboard description, and that no other virtual key code
// shares its X key code. xdotool and the source talk to the server on
// different connections, so the state is awaited rather than read once.
TEST(RKX11KeyStateSource, EveryKeySymbolIsHeldUnderItsVirtualKeyCodeAlone)
{
    PrivateXServer server;
    if (!server.error().empty() || !TestEnvironment::hasProgram(QStringLiteral("xdotool"))) {
        GTEST_SKIP() << "X key state not testable: " << (server.error().empty() ? "xdotool is missing" : server.error());
    }
    // xdotool presses a right-hand modifier together with the left one of the
    // same modifier, so that one is held too (-1: none). "p" is the key of the
    // factory password combination.
    const std::tuple<const char*, int, int> rows[] = {
        {"p", 35, -1},         {"a", 0, -1},       {"bracketleft", 33, -1}, {"Return", 36, -1},  {"space", 49, -1},
        {"Shift_L", 56, -1},   {"Control_L", 59, -1}, {"Alt_L", 58, -1},     {"Super_L", 55, -1},  {"Shift_R", 60, 56},
        {"Control_R", 62, 59}, {"Alt_R", 61, 58},  {"Super_R", 54, 55},     {"F5", 96, -1},      {"KP_Enter", 76, -1},
    };
    RKX11KeyStateSource source(server.display());
    for (const auto& [keysym, virtualKeyCode, alsoHeld] : rows) {
        SCOPED_TRACE(keysym);
        QSet<int> expected{virtualKeyCode};
        if (alsoHeld >= 0) {
            expected.insert(alsoHeld);
        }
        ASSERT_EQ(server.runClient(QStringLiteral("xdotool"), {"keydown", keysym}), 0);
        EXPECT_TRUE(TestEnvironment::waitFor([&] { return source.isKeyHeld(virtualKeyCode); }, 10000));
        EXPECT_EQ(held(source), expected);
        ASSERT_EQ(server.runClient(QStringLiteral("xdotool"), {"keyup", keysym}), 0);
        EXPECT_TRUE(TestEnvironment::waitFor([&] { return held(source).isEmpty(); }, 10000));
    }
}

} // namespace
