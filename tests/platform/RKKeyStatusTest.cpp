#include "platform/RKKeyStateSource.h"
#include "platform/RKKeyStatus.h"
#include "platform/RKX11KeyStateSource.h"

#include <gtest/gtest.h>

#include <QList>
#include <QSet>

#include <initializer_list>

namespace {

constexpr int P = 35;
constexpr int LeftShift = 56;
constexpr int LeftControl = 59;
constexpr int LeftOption = 58;
constexpr int LeftCommand = 55;
constexpr int RightShift = 60;
constexpr int RightCommand = 54;

constexpr qint64 Shift = 0x20000;
constexpr qint64 Control = 0x40000;
constexpr qint64 Option = 0x80000;
constexpr qint64 Command = 0x100000;
constexpr qint64 CapsLock = 0x10000;
constexpr qint64 Function = 0x800000;

// A keyboard that holds exactly the keys it is given and logs every read.
class ScriptedKeyState : public RKKeyStateSource
{
public:
    explicit ScriptedKeyState(std::initializer_list<int> held)
        : m_held(held)
    {
    }

    bool isKeyHeld(int virtualKeyCode) override
    {
        reads.append(virtualKeyCode);
        return m_held.contains(virtualKeyCode);
    }

    QList<int> reads;

private:
    QSet<int> m_held;
};

class InjectedSource
{
public:
    explicit InjectedSource(RKKeyStateSource* source) { RKKeyStateSource::setCurrent(source); }
    ~InjectedSource() { RKKeyStateSource::setCurrent(nullptr); }
};

struct HeldRow {
    const char* name;
    qint64 keyCode;
    qint64 flags;
    std::initializer_list<int> held;
    bool expected;
};

void PrintTo(const HeldRow& row, std::ostream* os) { *os << row.name; }

class HeldKeyTest : public ::testing::TestWithParam<HeldRow> {};

TEST_P(HeldKeyTest, AnswersWhetherTheCombinationIsHeld)
{
    const HeldRow& row = GetParam();
    ScriptedKeyState keyboard(row.held);
    InjectedSource injected(&keyboard);
    EXPECT_EQ(ActiveKeyStatus(row.keyCode, row.flags), row.expected);
}

const HeldRow kHeldRows[] = {
    {"PlainP_PHeld", P, 0, {P}, true},
    {"PlainP_PAndShiftHeld", P, 0, {P, LeftShift}, true},
    {"PlainP_PAndEveryModifierHeld", P, 0, {P, LeftShift, LeftControl, LeftOption, LeftCommand}, true},
    {"PlainP_OnlyShiftHeld", P, 0, {LeftShift}, false},
    {"PlainP_NothingHeld", P, 0, {}, false},
    {"ShiftP_PAndLeftShift", P, Shift, {P, LeftShift}, true},
    {"ShiftP_PLeftShiftAndCommand", P, Shift, {P, LeftShift, LeftCommand}, false},
    {"ShiftP_PAndOnlyRightShift", P, Shift, {P, RightShift}, false},
    {"ShiftP_PAndBothShifts", P, Shift, {P, LeftShift, RightShift}, true},
    {"ShiftP_ShiftWithoutP", P, Shift, {LeftShift}, false},
    {"ShiftP_POnly", P, Shift, {P}, false},
    {"CommandOptionP_Exact", P, Command | Option, {P, LeftCommand, LeftOption}, true},
    {"CommandOptionP_OptionMissing", P, Command | Option, {P, LeftCommand}, false},
    {"CommandOptionP_ControlExtra", P, Command | Option, {P, LeftCommand, LeftOption, LeftControl}, false},
    {"AllFourModifiers", P, Shift | Control | Option | Command,
     {P, LeftShift, LeftControl, LeftOption, LeftCommand}, true},
    {"Command_RightCommandDoesNotCount", P, Command, {P, RightCommand}, false},
    {"OtherFlagBitsIgnored", P, Shift | CapsLock | Function | 0x100, {P, LeftShift}, true},
    // Flags that are not zero but name none of the four: no modifier may be held.
    {"OnlyIgnoredBits_PAlone", P, CapsLock, {P}, true},
    {"OnlyIgnoredBits_ShiftHeld", P, CapsLock, {P, LeftShift}, false},
    {"NoKey_ShiftFlags_ShiftHeld", -1, Shift, {LeftShift}, true},
    {"NoKey_ShiftFlags_NothingHeld", -1, Shift, {}, false},
    {"NoKey_ShiftFlags_ShiftAndControlHeld", -1, Shift, {LeftShift, LeftControl}, false},
    // Callers never ask this: it would be held always.
    {"NoKey_NoFlags", -1, 0, {}, true},
    {"KeyCodeTravelsAs16Bits", 0x10000 + P, 0, {P}, true},
    {"UnknownKeyNeverHeld", 200, 0, {P}, false},
};

INSTANTIATE_TEST_SUITE_P(ActiveKeyStatus, HeldKeyTest, ::testing::ValuesIn(kHeldRows),
                         [](const auto& info) { return std::string(info.param.name); });

// The modifiers are one sample: all four are read even when the first
// comparison already decides.
TEST(ActiveKeyStatus, ReadsAllFourModifiersBeforeComparing)
{
    ScriptedKeyState keyboard({P});
    InjectedSource injected(&keyboard);
    EXPECT_FALSE(ActiveKeyStatus(P, Shift));
    const QList<int> modifierReads = keyboard.reads.mid(1);
    EXPECT_EQ(QSet<int>(modifierReads.begin(), modifierReads.end()),
              (QSet<int>{LeftShift, LeftControl, LeftOption, LeftCommand}));
}

TEST(RKKeyStateSource, InjectionIsUsedUntilCleared)
{
    ScriptedKeyState keyboard({P});
    RKKeyStateSource::setCurrent(&keyboard);
    EXPECT_EQ(RKKeyStateSource::current(), &keyboard);
    RKKeyStateSource::setCurrent(nullptr);
    EXPECT_NE(RKKeyStateSource::current(), &keyboard);
    EXPECT_NE(dynamic_cast<RKX11KeyStateSource*>(RKKeyStateSource::current()), nullptr);
}

TEST(RKX11KeyStateSource, WithoutADisplayNothingIsHeld)
{
    RKX11KeyStateSource source(QByteArrayLiteral(":65000"));
    for (int code = -1; code < 140; ++code) {
        EXPECT_FALSE(source.isKeyHeld(code)) << code;
    }
}

} // namespace
