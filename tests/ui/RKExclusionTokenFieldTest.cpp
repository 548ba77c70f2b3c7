#include "ui/RKExclusionFoldersTokenField.h"

#include <QTest>
#include <gtest/gtest.h>

namespace {

// Tokens about to be added at an index are kept out when the field holds
// them at another position (exact, case-sensitive comparison).
TEST(RKExclusionTokenField, DuplicateCheckOfAddedTokens)
{
    const std::tuple<QString, QStringList, int, QStringList> rows[] = {
        {"a,b", {"a"}, 2, {}},
        {"a,b", {"c"}, 2, {"c"}},
        {"a,b,c", {"c"}, 2, {"c"}}, // its own position is skipped
        {"a,b,c", {"a"}, 2, {}},
        {"a,b", {"A"}, 2, {"A"}},
        {"a,b", {"x", "b", "y"}, 2, {"x", "y"}},
    };
    RKExclusionFilesTokenField field;
    for (const auto& [text, tokens, index, accepted] : rows) {
        field.setText(text);
        EXPECT_EQ(field.shouldAddObjects(tokens, index), accepted) << text.toStdString() << " + " << tokens.join(',').toStdString();
    }
}

// When editing ends, later repeats go (the first occurrence wins, case
// counts); nothing is trimmed, and empty pieces are patterns like any other.
TEST(RKExclusionTokenField, CleanUpWhenEditingEnds)
{
    const std::pair<QString, QString> rows[] = {
        {"a,b,a,c,b", "a,b,c"}, {"A,a", "A,a"}, {"a,,b,", "a,,b"}, {"a, a", "a, a"}, {"", ""},
    };
    RKExclusionFilesTokenField field;
    for (const auto& [text, cleaned] : rows) {
        field.setText(text);
        emit field.editingFinished();
        EXPECT_EQ(field.text(), cleaned) << text.toStdString();
    }
}

TEST(RKExclusionTokenField, ListsRoundTripThroughTheTextAndTypedRepeatsAreNotAdded)
{
    RKExclusionFoldersTokenField field;
    field.setExclusionFolders({"__MACOSX", ".git"});
    EXPECT_EQ(field.text(), QStringLiteral("__MACOSX,.git"));
    EXPECT_EQ(field.arrayExclusionFolders(), (QStringList{"__MACOSX", ".git"}));
    field.setExclusionFiles({});
    // An empty field holds one empty pattern, which matches no name.
    EXPECT_EQ(field.arrayExclusionFiles(), QStringList{QString()});

    field.show();
    field.setFocus();
    QTest::keyClicks(&field, "a,b,a,c");
    EXPECT_EQ(field.text(), QStringLiteral("a,b,c"));
    QTest::keyClicks(&field, ",c");
    QTest::keyClick(&field, Qt::Key_Return);
    EXPECT_EQ(field.text(), QStringLiteral("a,b,c"));
}

} // namespace
