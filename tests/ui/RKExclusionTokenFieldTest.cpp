#include "ui/RKExclusionFilesTokenField.h"

#include <QApplication>
#include <QClipboard>
#include <QTest>
#include <gtest/gtest.h>

namespace {

// When editing ends, later repeats go (the first occurrence wins, case
// counts); nothing is trimmed, and empty pieces are patterns like any other.
// (The lists' way in and out of the text is checked through the editors.)
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

// What is typed or pasted into a field; "|" marks the cursor in the texts
// before and after. In typed, "\n" is Return.
struct EditCase {
    const char* name;
    const char* before;
    const char* typed;
    const char* pasted;
    const char* after;
};

class RKExclusionTokenFieldEdit : public ::testing::TestWithParam<EditCase> {};

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
        // A repeat is an exact, case-sensitive match of another piece.
        EditCase{"TypedRepeatLeavesTheSeparatorForTheNext", "a,b,|", "a,", nullptr, "a,b,|"},
        EditCase{"TypedPieceIsNoRepeatOfItself", "a,b,c|", ",", nullptr, "a,b,c,|"},
        EditCase{"RepeatInAnotherCaseIsNew", "a,b,|", "A,", nullptr, "a,b,A,|"},
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
