#include "platform/RKKeyCodeTable.h"
#include "shortcut/SRCommon.h"
#include "shortcut/SRKeyCodeTransformer.h"
#include "shortcut/SRKeyboardLayout.h"
#include "shortcut/SRX11HotKeyProbe.h"
#include "shortcut/widgets/SRValidator.h"

#include "support/PrivateXServer.h"
#include "support/TestEnvironment.h"

#include <QProcess>
#include <gtest/gtest.h>

#include <xcb/xcb.h>
// The XKB protocol header is C and names a field `explicit`.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit
#include <xkbcommon/xkbcommon-x11.h>

#include <cstdlib>
#include <memory>

namespace {

// The layout and the session's shortcuts as a real X server has them.
class SRXvfbTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { s_server = std::make_unique<PrivateXServer>(); }
    static void TearDownTestSuite() { s_server.reset(); }

    void SetUp() override
    {
        if (!s_server->error().empty()) {
            GTEST_SKIP() << s_server->error();
        }
        if (!TestEnvironment::hasProgram(QStringLiteral("setxkbmap"))) {
            GTEST_SKIP() << "setxkbmap is missing";
        }
        ASSERT_EQ(setxkbmap({QStringLiteral("us")}), 0);
    }

    void TearDown() override
    {
        SRKeyboardLayout::setCurrent(nullptr);
        SRHotKeyProbe::setCurrent(nullptr);
    }

    static int setxkbmap(const QStringList& arguments)
    {
        return s_server->runClient(QStringLiteral("setxkbmap"), arguments);
    }

    static bool lockGroup(int group)
    {
        xcb_connection_t* connection = xcb_connect(s_server->display().constData(), nullptr);
        bool locked = xkb_x11_setup_xkb_extension(connection, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
                                                  XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, nullptr, nullptr);
        if (locked) {
            xcb_generic_error_t* error = xcb_request_check(
                connection, xcb_xkb_latch_lock_state_checked(connection, XCB_XKB_ID_USE_CORE_KBD, 0, 0, 1,
                                                             uint8_t(group), 0, 0, 0));
            locked = !error;
            std::free(error);
        }
        xcb_disconnect(connection);
        return locked;
    }

    static inline std::unique_ptr<PrivateXServer> s_server;
};

// Key code 0 is the key right of Caps Lock: A on a US keyboard, Q on a
// French one. The layout hears of the switch from the server itself.
TEST_F(SRXvfbTest, TextsFollowTheServersLayout)
{
    std::unique_ptr<SRKeyboardLayout> layout = SRKeyboardLayout::fromX11Display(s_server->display());
    ASSERT_NE(layout, nullptr);
    SRKeyboardLayout::setCurrent(layout.get());
    const SRKeyCodeTransformer* transformer = SRKeyCodeTransformer::sharedTransformer();
    EXPECT_EQ(SRDisplayStringForKeyCode(0), QStringLiteral("A"));
    EXPECT_EQ(transformer->reverseTransformedValue(QStringLiteral("Q")), QVariant(12));

    ASSERT_EQ(setxkbmap({QStringLiteral("fr")}), 0);
    EXPECT_TRUE(TestEnvironment::waitFor([] { return SRDisplayStringForKeyCode(0) == QStringLiteral("Q"); }, 20000));
    EXPECT_EQ(transformer->reverseTransformedValue(QStringLiteral("Q")), QVariant(0));
    EXPECT_EQ(transformer->reverseTransformedValue(QStringLiteral("A")), QVariant(12));
    EXPECT_EQ(SRGlyphStringForCocoaFlagsAndKeyCode(SRCocoaCommandFlag, 0), QString::fromUtf16(u"⌘Q"));

    // Two layouts in one keymap: the active group decides. A layout
    // indicator switches it by locking the group.
    ASSERT_EQ(setxkbmap({QStringLiteral("-layout"), QStringLiteral("us,fr")}), 0);
    EXPECT_TRUE(TestEnvironment::waitFor([] { return SRDisplayStringForKeyCode(0) == QStringLiteral("A"); }, 20000));
    ASSERT_TRUE(lockGroup(1));
    EXPECT_TRUE(TestEnvironment::waitFor([] { return SRDisplayStringForKeyCode(0) == QStringLiteral("Q"); }, 20000));
    EXPECT_EQ(transformer->reverseTransformedValue(QStringLiteral("Q")), QVariant(0));
}

// A second client binds ⌃⇧F5 on the root window, as a desktop does: taken,
// with the session's explanation, until that client is gone.
TEST_F(SRXvfbTest, CombinationGrabbedByAnotherClientIsTaken)
{
    SRX11HotKeyProbe probe(s_server->display());
    SRHotKeyProbe::setCurrent(&probe);
    ASSERT_TRUE(probe.canProbe());
    SRValidator validator;
    const qint64 f5 = 96;
    const quint32 controlShift = SRCarbonControlFlag | SRCarbonShiftFlag;
    EXPECT_FALSE(validator.isKeyCodeAndFlagsTaken(f5, controlShift));

    QProcess binder;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DISPLAY"), QString::fromLatin1(s_server->display()));
    binder.setProcessEnvironment(environment);
    // X modifier mask: Shift 1, Control 4.
    binder.start(QStringLiteral(GRAB_KEY_HELPER), {QString::number(RKKeyCodeTable::x11KeyCode(f5)), QStringLiteral("5")});
    ASSERT_TRUE(binder.waitForReadyRead(20000)) << binder.readAllStandardError().toStdString();
    ASSERT_EQ(binder.readAllStandardOutput().trimmed(), "grabbed");

    SRValidationError error;
    EXPECT_TRUE(validator.isKeyCodeAndFlagsTaken(f5, controlShift, &error));
    EXPECT_EQ(error.localizedDescription, QString::fromUtf16(u"The key combination ⌃⇧F5 can't be used!"));
    EXPECT_EQ(error.localizedRecoverySuggestion,
              QStringLiteral("The key combination \"Control + Shift + F5\" can't be used because it's already used by "
                             "a system-wide keyboard shortcut. (If you really want to use this key combination, most "
                             "shortcuts can be changed in the Keyboard & Mouse panel in System Preferences.)"));
    EXPECT_FALSE(validator.isKeyCodeAndFlagsTaken(f5, SRCarbonControlFlag)) << "other modifiers are free";

    binder.closeWriteChannel();
    ASSERT_TRUE(binder.waitForFinished(20000));
    // The server drops the grab when it notices the client has gone.
    EXPECT_TRUE(TestEnvironment::waitFor([&] { return !validator.isKeyCodeAndFlagsTaken(f5, controlShift); }, 20000));
}

} // namespace
