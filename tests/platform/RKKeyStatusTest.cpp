#include "platform/RKKeyStateSource.h"
#include "platform/RKKeyStatus.h"
#include "platform/RKX11KeyStateSource.h"

#include <gtest/gtest.h>

#include <QSet>

namespace {

constexpr int P = 35, LShift = 56, LControl = 59, LOption = 58, LCommand = 55, RShift = 60, RCommand = 54;
constexpr qint64 Shift = 0x20000, Control = 0x40000, Option = 0x80000, Command = 0x100000;
constexpr qint64 CapsLock = 0x10000, Function = 0x800000;

// A keyboard that holds exactly the keys it is given.
class ScriptedKeyState : public RKKeyStateSource
{
public:
    explicit ScriptedKeyState(std::initializer_list<int> held) : held(held) { RKKeyStateSource::setCurrent(this); }
    ~ScriptedKeyState() override { RKKeyStateSource::setCurrent(nullptr); }
    bool isKeyHeld(int virtualKeyCode) override { return held.contains(virtualKeyCode); }
    QSet<int> held;
};

struct HeldRow {
    const char* name;
    qint64 keyCode;
    qint64 flags;
    std::initializer_list<int> held;
    bool expected;
};

class HeldKeyTest : public ::testing::TestWithParam<HeldRow> {};

TEST_P(HeldKeyTest, AnswersWhetherTheCombinationIsHeld)
{
    ScriptedKeyState keyboard(GetParam().held);
    EXPECT_EQ(ActiveKeyStatus(GetParam().keyCode, GetParam().flags), GetParam().expected);
}

const HeldRow kHeldRows[] = {
    {"PlainP_PAndShiftHeld", P, 0, {P, LShift}, true},
    {"PlainP_OnlyShiftHeld", P, 0, {LShift}, false},
    {"ShiftP_PAndLeftShift", P, Shift, {P, LShift}, true},
    {"ShiftP_PLeftShiftAndCommand", P, Shift, {P, LShift, LCommand}, false},
    {"ShiftP_PAndOnlyRightShift", P, Shift, {P, RShift}, false},
    {"CommandOptionP_Exact", P, Command | Option, {P, LCommand, LOption}, true},
    {"CommandOptionP_ControlExtra", P, Command | Option, {P, LCommand, LOption, LControl}, false},
    {"AllFour", P, Shift | Control | Option | Command, {P, LShift, LControl, LOption, LCommand}, true},
    {"Command_RightCommandDoesNotCount", P, Command, {P, RCommand}, false},
    {"OtherFlagBitsIgnored", P, Shift | CapsLock | Function | 0x100, {P, LShift}, true},
    // Flags that are not zero but name none of the four: no modifier may be held.
    {"OnlyIgnoredBits_ShiftHeld", P, CapsLock, {P, LShift}, false},
    {"NoKey_ShiftFlags_ShiftHeld", -1, Shift, {LShift}, true},
    {"NoKey_NoFlags_AlwaysHeld", -1, 0, {}, true},
    {"KeyCodeTravelsAs16Bits", 0x10000 + P, 0, {P}, true},
    {"UnknownKeyNeverHeld", 200, 0, {P}, false},
};

INSTANTIATE_TEST_SUITE_P(ActiveKeyStatus, HeldKeyTest, ::testing::ValuesIn(kHeldRows),
                         [](const auto& info) { return std::string(info.param.name); });

// The rows above prove an injected keyboard is asked; once it is gone the
// real one is.
TEST(RKKeyStateSource, RealSourceWhenNoneInjectedAndNoDisplayHoldsNothing)
{
    EXPECT_NE(dynamic_cast<RKX11KeyStateSource*>(RKKeyStateSource::current()), nullptr);

    RKX11KeyStateSource noDisplay(QByteArrayLiteral(":65000"));
    for (int code = -1; code < 130; ++code) {
        EXPECT_FALSE(noDisplay.isKeyHeld(code)) << code;
    }
}

} // namespace
