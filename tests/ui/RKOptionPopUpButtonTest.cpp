// The fixed option pop-ups: what a stored value shows and what a selection stores.
#include "ui/RKArchiveLevelPopUpButton.h"
#include "ui/RKArchiveModePopUpButton.h"
#include "ui/RKEncodingPopUpButton.h"
#include "ui/RKUnArchiveModePopUpButton.h"

#include <gtest/gtest.h>

namespace {

// A selection stores the value sign-extended; a stored value shows the first
// row that matches its low 32 bits.
TEST(OptionPopUps, EncodingStoresSignExtendedValueAndShowsFirstMatchOfLow32Bits)
{
    // row the user picks (-1: none, only the value is set), the value it gives
    // and is set, the row then shown (-1: the selection stays)
    const std::tuple<int, quint64, int> rows[] = {
        {7, 8, 7},                          // Shift-JIS
        {17, 10, 9},                        // two rows carry 10: one saved from row 17 shows row 9
        {22, 0xFFFFFFFF9C000100ULL, 22},    // negative as signed 32-bit: widened with the sign
        {-1, 0x9C000100ULL, 22},            // the same without the upper bits
        {-1, 0x0000000100000008ULL, 7},     // stray upper bits ignored
        {-1, 999, -1},                      // unknown value keeps the selection
    };
    for (const auto& [selectIndex, value, shownIndex] : rows) {
        RKEncodingPopUpButton popUp;
        if (selectIndex >= 0) {
            popUp.setCurrentIndex(selectIndex);
            EXPECT_EQ(popUp.selectedEncoding(), value) << selectIndex;
        }
        popUp.setCurrentIndex(4);
        popUp.setSelectEncoding(value);
        EXPECT_EQ(popUp.currentIndex(), shownIndex < 0 ? 4 : shownIndex) << value;
    }
}

TEST(OptionPopUps, TitlesAsUsersKnowThem)
{
    RKEncodingPopUpButton encoding;
    encoding.awakeFromNib(); // filling again replaces
    ASSERT_EQ(encoding.count(), 23);
    EXPECT_TRUE(encoding.itemText(13).endsWith("NSWindowsCP1254StringEncodin"));
    RKArchiveLevelPopUpButton level;
    ASSERT_EQ(level.count(), 10);
    EXPECT_EQ(level.itemText(0), QString::fromUtf16(u"0\u3000(非圧縮)"));
    EXPECT_EQ(level.itemText(1), QString::fromUtf16(u"1\u3000(速度重視)"));
    EXPECT_EQ(level.itemText(5), "5");
    EXPECT_EQ(level.itemText(9), QString::fromUtf16(u"9\u3000(圧縮率重視)"));
    EXPECT_EQ(RKArchiveModePopUpButton().itemText(1), "個別のファイルで圧縮する");
    EXPECT_EQ(RKUnArchiveModePopUpButton().itemText(1), "フォルダを作成してから解凍");
}

// A value outside the pop-up leaves the selection; nothing selected reads 0.
TEST(OptionPopUps, LevelAndModesSelectTheValueOrLeaveTheSelection)
{
    // selected before (-1: nothing), value set, selected after, value read
    using Row = std::tuple<int, qint32, int, qint32>;
    for (const auto& [start, value, index, read] : {Row{6, 0, 0, 0}, Row{6, 9, 9, 9}, Row{6, 10, 6, 6}, Row{6, -1, 6, 6}, Row{-1, 42, -1, 0}}) {
        RKArchiveLevelPopUpButton levels;
        levels.setCurrentIndex(start);
        levels.setSelectArchiveLevel(value);
        EXPECT_EQ(levels.currentIndex(), index) << "level " << value;
        EXPECT_EQ(levels.selectedArchiveLevel(), read) << "level " << value;
    }
    for (const auto& [start, value, index, read] : {Row{1, 0, 0, 0}, Row{0, 1, 1, 1}, Row{1, 2, 1, 1}, Row{-1, 2, -1, 0}}) {
        RKArchiveModePopUpButton archiveModes;
        RKUnArchiveModePopUpButton unArchiveModes;
        archiveModes.setCurrentIndex(start);
        unArchiveModes.setCurrentIndex(start);
        archiveModes.setSelecteArchiveMode(value);
        unArchiveModes.setSelecteUnArchiveMode(value);
        EXPECT_EQ(archiveModes.currentIndex(), index) << "mode " << start << " " << value;
        EXPECT_EQ(archiveModes.selectedArchiveMode(), read) << "mode " << start << " " << value;
        EXPECT_EQ(unArchiveModes.currentIndex(), index) << "mode " << start << " " << value;
        EXPECT_EQ(unArchiveModes.selectedUnArchiveMode(), read) << "mode " << start << " " << value;
    }
}

} // namespace
