// The fixed option pop-ups: what a stored value shows and what a selection stores.
#include "ui/RKArchiveLevelPopUpButton.h"
#include "ui/RKArchiveModePopUpButton.h"
#include "ui/RKEncodingPopUpButton.h"
#include "ui/RKUnArchiveModePopUpButton.h"

#include <gtest/gtest.h>

namespace {

struct EncodingRow {
    const char* name;
    int selectIndex;      // index the user picks, -1: none (only setSelectEncoding is tried)
    quint64 value;        // what selectedEncoding() gives / what is set
    int shownIndex;       // what setSelectEncoding(value) shows, -1: selection stays
};

class EncodingPopUp : public ::testing::TestWithParam<EncodingRow>
{
};

TEST_P(EncodingPopUp, StoresSignExtendedValueAndShowsFirstMatchOfLow32Bits)
{
    const EncodingRow& row = GetParam();
    RKEncodingPopUpButton popUp;
    if (row.selectIndex >= 0) {
        popUp.setCurrentIndex(row.selectIndex);
        EXPECT_EQ(popUp.selectedEncoding(), row.value);
    }
    popUp.setCurrentIndex(4);
    popUp.setSelectEncoding(row.value);
    EXPECT_EQ(popUp.currentIndex(), row.shownIndex < 0 ? 4 : row.shownIndex);
}

INSTANTIATE_TEST_SUITE_P(
    PopUp, EncodingPopUp,
    ::testing::Values(
        EncodingRow{"ShiftJis", 7, 8, 7},
        // Two rows carry 10: a profile saved from row 17 shows row 9.
        EncodingRow{"Utf16SecondRowShowsFirst", 17, 10, 9},
        // Negative as signed 32-bit: widened with the sign.
        EncodingRow{"Utf32LittleEndian", 22, 0xFFFFFFFF9C000100ULL, 22},
        EncodingRow{"Utf16BigEndian", 18, 0xFFFFFFFF90000100ULL, 18},
        EncodingRow{"Utf32LeWithoutUpperBits", -1, 0x9C000100ULL, 22},
        EncodingRow{"StrayUpperBitsIgnored", -1, 0x0000000100000008ULL, 7},
        EncodingRow{"UnknownValueKeepsSelection", -1, 999, -1}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(OptionPopUps, TitlesAsUsersKnowThem)
{
    RKEncodingPopUpButton encoding;
    ASSERT_EQ(encoding.count(), 23);
    EXPECT_TRUE(encoding.itemText(13).endsWith(QStringLiteral("NSWindowsCP1254StringEncodin")));
    encoding.awakeFromNib();
    EXPECT_EQ(encoding.count(), 23) << "filling again replaces";

    RKArchiveLevelPopUpButton level;
    ASSERT_EQ(level.count(), 10);
    EXPECT_EQ(level.itemText(0), QString::fromUtf16(u"0\u3000(非圧縮)"));
    EXPECT_EQ(level.itemText(1), QString::fromUtf16(u"1\u3000(速度重視)"));
    EXPECT_EQ(level.itemText(5), QStringLiteral("5"));
    EXPECT_EQ(level.itemText(9), QString::fromUtf16(u"9\u3000(圧縮率重視)"));

    RKArchiveModePopUpButton archiveMode;
    RKUnArchiveModePopUpButton unArchiveMode;
    EXPECT_EQ(archiveMode.itemText(1), QString::fromUtf16(u"個別のファイルで圧縮する"));
    EXPECT_EQ(unArchiveMode.itemText(1), QString::fromUtf16(u"フォルダを作成してから解凍"));
}

struct SetValueRow {
    const char* name;
    qint32 value;
    int expectedIndex; // -1: the selection stays where it was
};

class LevelPopUp : public ::testing::TestWithParam<SetValueRow>
{
};

TEST_P(LevelPopUp, SelectsLevelOrLeavesSelection)
{
    const SetValueRow& row = GetParam();
    RKArchiveLevelPopUpButton popUp;
    popUp.setCurrentIndex(6);
    popUp.setSelectArchiveLevel(row.value);
    const int expected = row.expectedIndex < 0 ? 6 : row.expectedIndex;
    EXPECT_EQ(popUp.currentIndex(), expected);
    EXPECT_EQ(popUp.selectedArchiveLevel(), expected);
}

INSTANTIATE_TEST_SUITE_P(PopUp, LevelPopUp,
                         ::testing::Values(SetValueRow{"Zero", 0, 0}, SetValueRow{"Nine", 9, 9},
                                           SetValueRow{"TenKeepsSelection", 10, -1},
                                           SetValueRow{"MinusOneKeepsSelection", -1, -1}),
                         [](const auto& info) { return std::string(info.param.name); });

class ModePopUps : public ::testing::TestWithParam<SetValueRow>
{
};

TEST_P(ModePopUps, MapIndexToValue)
{
    const SetValueRow& row = GetParam();
    RKArchiveModePopUpButton archiveMode;
    RKUnArchiveModePopUpButton unArchiveMode;
    archiveMode.setCurrentIndex(1);
    unArchiveMode.setCurrentIndex(1);
    archiveMode.setSelecteArchiveMode(row.value);
    unArchiveMode.setSelecteUnArchiveMode(row.value);
    const int expected = row.expectedIndex < 0 ? 1 : row.expectedIndex;
    EXPECT_EQ(archiveMode.selectedArchiveMode(), expected);
    EXPECT_EQ(unArchiveMode.selectedUnArchiveMode(), expected);
}

INSTANTIATE_TEST_SUITE_P(PopUp, ModePopUps,
                         ::testing::Values(SetValueRow{"Zero", 0, 0}, SetValueRow{"One", 1, 1},
                                           SetValueRow{"TwoKeepsSelection", 2, -1}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(OptionPopUps, NothingSelectedReadsAsZero)
{
    RKArchiveLevelPopUpButton level;
    RKArchiveModePopUpButton mode;
    RKEncodingPopUpButton encoding;
    level.setCurrentIndex(-1);
    mode.setCurrentIndex(-1);
    encoding.setCurrentIndex(-1);
    EXPECT_EQ(level.selectedArchiveLevel(), 0);
    EXPECT_EQ(mode.selectedArchiveMode(), 0);
    EXPECT_EQ(encoding.selectedEncoding(), 0u);
}

} // namespace
