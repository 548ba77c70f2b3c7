#include "ui/RKExclusionFoldersTokenField.h"

#include <QTest>
#include <gtest/gtest.h>

namespace {

struct CheckCase {
    const char* name;
    QString text;
    QStringList tokens;
    int index;
    QStringList accepted;
};

class RKExclusionTokenFieldCheck : public ::testing::TestWithParam<CheckCase>
{
};

TEST_P(RKExclusionTokenFieldCheck, KeepsOutDuplicates)
{
    const CheckCase& row = GetParam();
    RKExclusionFilesTokenField field;
    field.setText(row.text);
    EXPECT_EQ(field.checkTokens(row.tokens, row.index), row.accepted);
    EXPECT_EQ(field.shouldAddObjects(row.tokens, row.index), row.accepted);
}

INSTANTIATE_TEST_SUITE_P(
    Tokens, RKExclusionTokenFieldCheck,
    ::testing::Values(
        CheckCase{"ExistingTokenNotAdded", "a,b", {"a"}, 2, {}},
        CheckCase{"NewTokenAdded", "a,b", {"c"}, 2, {"c"}},
        CheckCase{"OwnPositionSkipped", "a,b,c", {"c"}, 2, {"c"}},
        CheckCase{"RepeatElsewhereFound", "a,b,c", {"a"}, 2, {}},
        CheckCase{"CaseSensitive", "a,b", {"A"}, 2, {"A"}},
        CheckCase{"SeveralInOrder", "a,b", {"x", "b", "y"}, 2, {"x", "y"}}),
    [](const ::testing::TestParamInfo<CheckCase>& info) { return std::string(info.param.name); });

struct CleanCase {
    const char* name;
    QString text;
    QString cleaned;
};

class RKExclusionTokenFieldClean : public ::testing::TestWithParam<CleanCase>
{
};

TEST_P(RKExclusionTokenFieldClean, FirstOccurrenceWins)
{
    RKExclusionFilesTokenField field;
    field.setText(GetParam().text);
    emit field.editingFinished();
    EXPECT_EQ(field.text(), GetParam().cleaned);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, RKExclusionTokenFieldClean,
    ::testing::Values(
        CleanCase{"RepeatsRemoved", "a,b,a,c,b", "a,b,c"},
        CleanCase{"CaseSensitive", "A,a", "A,a"},
        CleanCase{"EmptyPiecesKeptOnce", "a,,b,", "a,,b"},
        CleanCase{"BlanksNotTrimmed", "a, a", "a, a"},
        CleanCase{"EmptyText", "", ""}),
    [](const ::testing::TestParamInfo<CleanCase>& info) { return std::string(info.param.name); });

TEST(RKExclusionTokenField, ListsRoundTripThroughTheText)
{
    RKExclusionFoldersTokenField field;
    field.setExclusionFolders({"__MACOSX", ".git"});
    EXPECT_EQ(field.text(), QStringLiteral("__MACOSX,.git"));
    EXPECT_EQ(field.arrayExclusionFolders(), (QStringList{"__MACOSX", ".git"}));
    field.setExclusionFiles({});
    // An empty field holds one empty pattern, which matches no name.
    EXPECT_EQ(field.arrayExclusionFiles(), QStringList{QString()});
}

TEST(RKExclusionTokenField, TypedRepeatIsNotAdded)
{
    RKExclusionFilesTokenField field;
    field.show();
    field.setFocus();
    QTest::keyClicks(&field, "a,b,a,c");
    EXPECT_EQ(field.text(), QStringLiteral("a,b,c"));
    QTest::keyClicks(&field, ",c");
    QTest::keyClick(&field, Qt::Key_Return);
    EXPECT_EQ(field.text(), QStringLiteral("a,b,c"));
}

} // namespace
