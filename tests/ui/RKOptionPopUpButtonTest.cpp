// The fixed option pop-ups: what a profile value shows and what a selection stores.
#include "ui/RKArchiveLevelPopUpButton.h"
#include "ui/RKArchiveModePopUpButton.h"
#include "ui/RKEncodingPopUpButton.h"
#include "ui/RKUnArchiveModePopUpButton.h"

#include <gtest/gtest.h>

namespace {

// --- encodings --------------------------------------------------------------

struct EncodingRow {
    const char* name;
    int selectIndex;       // index the user picks
    quint64 storedValue;   // what selectedEncoding() then gives
    int shownIndexAgain;   // what setSelectEncoding(storedValue) then shows
};

class EncodingRoundTrip : public ::testing::TestWithParam<EncodingRow>
{
};

TEST_P(EncodingRoundTrip, StoresValueAndShowsFirstMatch)
{
    const EncodingRow& row = GetParam();
    RKEncodingPopUpButton popUp;
    popUp.setCurrentIndex(row.selectIndex);
    EXPECT_EQ(popUp.selectedEncoding(), row.storedValue);

    popUp.setCurrentIndex(0);
    popUp.setSelectEncoding(row.storedValue);
    EXPECT_EQ(popUp.currentIndex(), row.shownIndexAgain);
}

INSTANTIATE_TEST_SUITE_P(
    PopUp, EncodingRoundTrip,
    ::testing::Values(
        EncodingRow{"ShiftJis", 7, 8, 7},
        EncodingRow{"Utf8", 3, 4, 3},
        // Two rows carry 10; a profile saved from row 17 shows row 9.
        EncodingRow{"Utf16FromSecondRowShowsFirst", 17, 10, 9},
        EncodingRow{"Utf16FirstRow", 9, 10, 9},
        // The last five values are negative as signed 32-bit: widened with the sign.
        EncodingRow{"Utf32LittleEndianSignExtended", 22, 0xFFFFFFFF9C000100ULL, 22},
        EncodingRow{"Utf16BigEndianSignExtended", 18, 0xFFFFFFFF90000100ULL, 18},
        EncodingRow{"MacRoman", 16, 30, 16}),
    [](const auto& info) { return std::string(info.param.name); });

struct EncodingLookupRow {
    const char* name;
    quint64 value;
    int expectedIndex; // -1: the selection stays where it was
};

class EncodingLookup : public ::testing::TestWithParam<EncodingLookupRow>
{
};

TEST_P(EncodingLookup, SelectsByLow32BitsOrLeavesSelection)
{
    const EncodingLookupRow& row = GetParam();
    RKEncodingPopUpButton popUp;
    popUp.setCurrentIndex(4);
    popUp.setSelectEncoding(row.value);
    EXPECT_EQ(popUp.currentIndex(), row.expectedIndex < 0 ? 4 : row.expectedIndex);
}

INSTANTIATE_TEST_SUITE_P(
    PopUp, EncodingLookup,
    ::testing::Values(
        EncodingLookupRow{"Utf32LeWithoutUpperBits", 0x9C000100ULL, 22},
        EncodingLookupRow{"Utf32LeWithUpperBits", 0xFFFFFFFF9C000100ULL, 22},
        EncodingLookupRow{"ShiftJisWithStrayUpperBits", 0x0000000100000008ULL, 7},
        EncodingLookupRow{"UnknownValueKeepsSelection", 999, -1},
        EncodingLookupRow{"ZeroKeepsSelection", 0, -1}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(EncodingPopUp, ShowsTheTableTitlesIncludingTheTruncatedOne)
{
    RKEncodingPopUpButton popUp;
    ASSERT_EQ(popUp.count(), 23);
    EXPECT_TRUE(popUp.itemText(13).endsWith(QStringLiteral("NSWindowsCP1254StringEncodin")));
    EXPECT_EQ(popUp.itemText(17), QString::fromUtf16(u"UTF-16 （Unicode） - NSUTF16StringEncoding"));
    // Filling again does not add a second set.
    popUp.awakeFromNib();
    EXPECT_EQ(popUp.count(), 23);
}

// --- compression levels -----------------------------------------------------

TEST(ArchiveLevelPopUp, TitlesUseIdeographicSpaceAfterTheDigit)
{
    RKArchiveLevelPopUpButton popUp;
    ASSERT_EQ(popUp.count(), 10);
    EXPECT_EQ(popUp.itemText(0), QString::fromUtf16(u"0\u3000(非圧縮)"));
    EXPECT_EQ(popUp.itemText(1), QString::fromUtf16(u"1\u3000(速度重視)"));
    EXPECT_EQ(popUp.itemText(9), QString::fromUtf16(u"9\u3000(圧縮率重視)"));
    EXPECT_EQ(popUp.itemText(5), QStringLiteral("5"));
    EXPECT_FALSE(popUp.itemText(0).contains(QLatin1Char(' ')));
}

struct SetValueRow {
    const char* name;
    qint32 value;
    int expectedIndex; // -1: the selection stays where it was
};

class ArchiveLevelSet : public ::testing::TestWithParam<SetValueRow>
{
};

TEST_P(ArchiveLevelSet, SelectsLevelOrLeavesSelection)
{
    const SetValueRow& row = GetParam();
    RKArchiveLevelPopUpButton popUp;
    popUp.setCurrentIndex(6);
    popUp.setSelectArchiveLevel(row.value);
    const int expected = row.expectedIndex < 0 ? 6 : row.expectedIndex;
    EXPECT_EQ(popUp.currentIndex(), expected);
    EXPECT_EQ(popUp.selectedArchiveLevel(), expected);
}

INSTANTIATE_TEST_SUITE_P(PopUp, ArchiveLevelSet,
                         ::testing::Values(SetValueRow{"Zero", 0, 0}, SetValueRow{"One", 1, 1},
                                           SetValueRow{"Nine", 9, 9},
                                           SetValueRow{"TenKeepsSelection", 10, -1},
                                           SetValueRow{"MinusOneKeepsSelection", -1, -1}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ArchiveLevelPopUp, NothingSelectedReadsAsLevelZero)
{
    RKArchiveLevelPopUpButton popUp;
    popUp.setCurrentIndex(-1);
    EXPECT_EQ(popUp.selectedArchiveLevel(), 0);
}

// --- modes --------------------------------------------------------------------

class ModeSet : public ::testing::TestWithParam<SetValueRow>
{
};

TEST_P(ModeSet, ArchiveAndUnArchiveModesMapIndexToValue)
{
    const SetValueRow& row = GetParam();
    RKArchiveModePopUpButton archiveMode;
    RKUnArchiveModePopUpButton unArchiveMode;
    archiveMode.setCurrentIndex(1);
    unArchiveMode.setCurrentIndex(1);
    archiveMode.setSelecteArchiveMode(row.value);
    unArchiveMode.setSelecteUnArchiveMode(row.value);
    const int expected = row.expectedIndex < 0 ? 1 : row.expectedIndex;
    EXPECT_EQ(archiveMode.currentIndex(), expected);
    EXPECT_EQ(unArchiveMode.currentIndex(), expected);
    EXPECT_EQ(archiveMode.selectedArchiveMode(), expected);
    EXPECT_EQ(unArchiveMode.selectedUnArchiveMode(), expected);
}

INSTANTIATE_TEST_SUITE_P(PopUp, ModeSet,
                         ::testing::Values(SetValueRow{"Zero", 0, 0}, SetValueRow{"One", 1, 1},
                                           SetValueRow{"TwoKeepsSelection", 2, -1},
                                           SetValueRow{"MinusOneKeepsSelection", -1, -1}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ModePopUps, Titles)
{
    RKArchiveModePopUpButton archiveMode;
    RKUnArchiveModePopUpButton unArchiveMode;
    ASSERT_EQ(archiveMode.count(), 2);
    ASSERT_EQ(unArchiveMode.count(), 2);
    EXPECT_EQ(archiveMode.itemText(0), QString::fromUtf16(u"1つのファイルに圧縮する"));
    EXPECT_EQ(archiveMode.itemText(1), QString::fromUtf16(u"個別のファイルで圧縮する"));
    EXPECT_EQ(unArchiveMode.itemText(0), QString::fromUtf16(u"そのまま解凍"));
    EXPECT_EQ(unArchiveMode.itemText(1), QString::fromUtf16(u"フォルダを作成してから解凍"));
}

} // namespace
