#include "platform/RKKeyCodeTable.h"
#include "shortcut/SRCommon.h"
#include "shortcut/SRKeyCodeTransformer.h"

#include "shortcut/ScopedKeyboardLayout.h"

#include <gtest/gtest.h>

namespace {

constexpr quint64 Command = SRCocoaCommandFlag, Option = SRCocoaOptionFlag, Control = SRCocoaControlFlag,
                  Shift = SRCocoaShiftFlag, Function = SRFunctionFlag;

struct TextRow {
    const char* name;
    const char* layout;
    qint64 keyCode;
    quint64 flags;
    const char16_t* display;  // nullptr: no text at all
    const char16_t* glyphs;
    const char16_t* spelled;
};

class KeyComboTextTest : public ::testing::TestWithParam<TextRow> {};

// Without a translator the texts are the English keys.
TEST_P(KeyComboTextTest, ShowsTheKeyAndItsModifiers)
{
    const TextRow& row = GetParam();
    ScopedKeyboardLayout layout(row.layout);
    ASSERT_NE(layout.layout(), nullptr);
    const QString display = SRDisplayStringForKeyCode(row.keyCode);
    EXPECT_EQ(display.isNull(), row.display == nullptr);
    EXPECT_EQ(display, row.display ? QString::fromUtf16(row.display) : QString());
    EXPECT_EQ(SRGlyphStringForCocoaFlagsAndKeyCode(row.flags, row.keyCode), QString::fromUtf16(row.glyphs));
    EXPECT_EQ(SRGlyphStringForCarbonFlagsAndKeyCode(SRCarbonFlagsFromCocoaFlags(row.flags), row.keyCode),
              QString::fromUtf16(row.glyphs));
    EXPECT_EQ(SRSpelledStringForCocoaFlagsAndKeyCode(row.flags, row.keyCode), QString::fromUtf16(row.spelled));
    EXPECT_EQ(SRSpelledStringForCarbonFlagsAndKeyCode(SRCarbonFlagsFromCocoaFlags(row.flags), row.keyCode),
              QString::fromUtf16(row.spelled));
}

const TextRow kTextRows[] = {
    {"AllModifiersInTheirOrders", "us", 0, Command | Option | Control | Shift | Function, u"A", u"⌃⌥⇧⌘A",
     u"Command + Option + Control + Shift + A"},
    {"SameKeyOnFrench", "fr", 12, Command, u"A", u"⌘A", u"Command + A"},
    {"KeypadOne", "us", 83, 0, u"Pad 1", u"Pad 1", u"Pad 1"},
    {"SpaceIsSpelled", "us", 49, Option, u"Space", u"⌥Space", u"Option + Space"},
    {"EscapeGlyph", "us", 53, 0, u"⎋", u"⎋", u"⎋"},
    {"DeadKeyShowsItsAccent", "fr", 33, 0, u"^", u"^", u"^"},
    {"NoKey", "us", -1, Shift, nullptr, u"⇧", u"Shift + "},
    {"NegativeAsSixteenBits", "us", 0xFFFF, 0, nullptr, u"", u""},
    {"NoX11Key", "us", 200, 0, nullptr, u"", u""},
    {"ModifierKeyTypesNothing", "us", 56, 0, u"", u"", u""},
};

INSTANTIATE_TEST_SUITE_P(SRCommon, KeyComboTextTest, ::testing::ValuesIn(kTextRows),
                         [](const auto& info) { return std::string(info.param.name); });

struct FlagRow {
    const char* name;
    quint64 cocoa;
    quint32 carbon;
    // The other encoding read back gives the first one again.
    bool roundTrip;
};

class FlagConversionTest : public ::testing::TestWithParam<FlagRow> {};

TEST_P(FlagConversionTest, ConvertsBothWays)
{
    const FlagRow& row = GetParam();
    if (row.roundTrip) {
        EXPECT_EQ(SRCarbonFlagsFromCocoaFlags(row.cocoa), row.carbon);
        EXPECT_EQ(SRCocoaFlagsFromCarbonFlags(row.carbon), row.cocoa);
    } else {
        // One-way rows: bits of either encoding that are no modifier vanish.
        EXPECT_EQ(SRCarbonFlagsFromCocoaFlags(row.cocoa), 0u);
        EXPECT_EQ(SRCocoaFlagsFromCarbonFlags(row.carbon), 0u);
    }
}

const FlagRow kFlagRows[] = {
    {"AllFive", 0x9E0000, 0x801B00, true},    {"Command", Command, 0x100, true},
    {"Option", Option, 0x800, true},           {"Control", Control, 0x1000, true},
    {"Shift", Shift, 0x200, true},             {"FunctionCarried", Function, 0x800000, true},
    {"None", 0, 0, true},                      {"CapsLockAndKeypadDropped", 0x10000 | 0x200000, 0x400 | 0x80, false},
};

INSTANTIATE_TEST_SUITE_P(SRCommon, FlagConversionTest, ::testing::ValuesIn(kFlagRows),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(SRKeyCodeTransformer, ReverseTableFollowsTheLayoutAndValuesMustBeNumbers)
{
    const SRKeyCodeTransformer* transformer = SRKeyCodeTransformer::sharedTransformer();
    EXPECT_TRUE(transformer->transformedValue(QStringLiteral("0")).isNull());
    EXPECT_EQ(transformer->transformedValue(qint64(0x10000)), QStringLiteral("A")) << "read as a 16-bit code";
    {
        ScopedKeyboardLayout us("us");
        EXPECT_EQ(transformer->reverseTransformedValue(QStringLiteral("A")), QVariant(0));
        EXPECT_EQ(transformer->reverseTransformedValue(QStringLiteral("F5")), QVariant(96));
        EXPECT_EQ(transformer->reverseTransformedValue(QStringLiteral("Pad 1")), QVariant(83));
        EXPECT_FALSE(transformer->reverseTransformedValue(QStringLiteral("\u00E9")).isValid());
        EXPECT_EQ(SRLayoutCharacterForKeyCodeAndCocoaFlags(18, Shift), QStringLiteral("!"));
        EXPECT_EQ(SRLayoutCharacterForKeyCodeAndCarbonFlags(0, 0), QStringLiteral("A"));
    }
    ScopedKeyboardLayout fr("fr");
    EXPECT_EQ(transformer->reverseTransformedValue(QStringLiteral("A")), QVariant(12));
    EXPECT_EQ(transformer->reverseTransformedValue(QStringLiteral("\u00C9")), QVariant(19)) << "texts are upper case";
    EXPECT_EQ(SRLayoutCharacterForKeyCodeAndCocoaFlags(18, 0), QStringLiteral("&"));
    // Without a character of its own the key falls back on its display text.
    EXPECT_EQ(SRLayoutCharacterForKeyCodeAndCocoaFlags(96, Shift), QStringLiteral("F5"));
    EXPECT_EQ(SRCharactersIgnoringModifiersForKeyCode(33, 0), QString()) << "a dead key types nothing";
    EXPECT_EQ(SRCharactersIgnoringModifiersForKeyCode(0, Shift | Command), QStringLiteral("Q"));
}

// The recorder turns native key codes back into stored ones: every stored
// code must come back from its own X key code.
TEST(RKKeyCodeTable, EveryStoredCodeComesBackFromItsX11Code)
{
    int mapped = 0;
    for (int code = 0; code < 128; ++code) {
        if (const int x11 = RKKeyCodeTable::x11KeyCode(code)) {
            EXPECT_EQ(RKKeyCodeTable::virtualKeyCode(x11), code) << code;
            ++mapped;
        }
    }
    EXPECT_GT(mapped, 100);
    EXPECT_EQ(RKKeyCodeTable::virtualKeyCode(0), -1);
    EXPECT_EQ(RKKeyCodeTable::virtualKeyCode(255), -1);
}

} // namespace
