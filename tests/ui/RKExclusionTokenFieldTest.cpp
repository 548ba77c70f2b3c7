#include "ui/RKExclusionFoldersTokenField.h"

#include <QApplication>
#include <QClipboard>
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

// What is typed or pasted into a field; "|" marks the cursor in the texts
// before and after. In typed, "\n" is Return.
struct EditCase {
    const char* name;
    const char* before;
    const char* typed;
    const char* pasted;
    const char* after;
};

class RKExclusionTokenFieldEdit : public ::testing::TestWithParam<EditCase>
{
};

TEST_P(RKExclusionTokenFieldEdit, RepeatsAreNotAdded)
{
    const EditCase& row = GetParam();
    RKExclusionFilesTokenField field;
    field.show();
    field.setFocus();
    const QString before = QString::fromUtf8(row.before);
    field.setText(QString(before).remove(QLatin1Char('|')));
    field.setCursorPosition(int(before.indexOf(QLatin1Char('|'))));
    for (const char key : std::string(row.typed)) {
        if (key == '\n') {
            QTest::keyClick(&field, Qt::Key_Return);
        } else {
            QTest::keyClicks(&field, QString(QLatin1Char(key)));
        }
    }
    if (row.pasted) {
        QApplication::clipboard()->setText(QString::fromUtf8(row.pasted));
        QTest::keyClick(&field, Qt::Key_V, Qt::ControlModifier);
    }
    QString shown = field.text();
    shown.insert(field.cursorPosition(), QLatin1Char('|'));
    EXPECT_EQ(shown, QString::fromUtf8(row.after));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, RKExclusionTokenFieldEdit,
    ::testing::Values(
        EditCase{"TypedRepeatLeavesTheSeparatorForTheNext", "a,b,|", "a,", nullptr, "a,b,|"},
        // Only the text before the cursor is completed by a separator typed
        // in the middle of a piece; the rest of the piece stays.
        EditCase{"SeparatorInAPieceThatRepeatsAnotherSplitsIt", "abcdef,abc|def", ",", nullptr, "abcdef,abc,|def"},
        EditCase{"SeparatorAfterARepeatInAPieceKeepsTheRest", "abc,abc|def", ",", nullptr, "abc,|def"},
        EditCase{"ReturnAfterARepeatInAPieceKeepsTheRest", "abc,abc|def", "\n", nullptr, "abc,|def"},
        EditCase{"ReturnAfterARepeatTakesItsSeparator", "a,b,a|", "\n", nullptr, "a,b|"},
        EditCase{"ReturnAfterAFirstPieceRepeatedLater", "a|,b,a", "\n", nullptr, "|b,a"},
        EditCase{"PastedRepeatIsLeftOut", "a,b,|", "", "a", "a,b,|"},
        EditCase{"PastedPiecesKeepOnlyTheNew", "a,b,|", "", "c,a,d", "a,b,c,d|"},
        EditCase{"PastedPiecesRepeatingEachOther", "a,|", "", "b,b", "a,b|"},
        EditCase{"PasteIsComparedAsThePieceItMakes", "*.txt,*.|", "", "txt", "*.txt,*.|"},
        EditCase{"PasteCompletingANewPattern", "*.txt,*.|", "", "doc", "*.txt,*.doc|"},
        EditCase{"PasteIntoAnEmptyField", "|", "", "Thumbs.db,desktop.ini", "Thumbs.db,desktop.ini|"}),
    [](const auto& info) { return std::string(info.param.name); });

} // namespace
