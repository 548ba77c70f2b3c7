#include "ui/KSPasswordField.h"
#include "ui/RKTranslations.h"
#include "support/TestEnvironment.h"

#include <QApplication>
#include <QClipboard>
#include <QSignalSpy>
#include <QTest>
#include <QTranslator>
#include <QVBoxLayout>
#include <gtest/gtest.h>

namespace {

struct StrengthCase {
    const char* name;
    QString password;
    float strength;
    int rating; // 0 none, 1 weak, 2 fair, 3 strong
};

class KSPasswordFieldStrength : public ::testing::TestWithParam<StrengthCase> {};

// Rated on every change of the text while the strength is shown.
TEST_P(KSPasswordFieldStrength, RatesThePassword)
{
    const StrengthCase& row = GetParam();
    EXPECT_FLOAT_EQ(KSPasswordField::strengthOfPassword(row.password), row.strength);
    KSPasswordField field;
    field.setShowStrength(true);
    field.setText(row.password);
    EXPECT_FLOAT_EQ(field.strength(), row.strength);
    EXPECT_EQ(field.descriptionOfStrength(), KSPasswordField::ratingWord(row.rating));
}

INSTANTIATE_TEST_SUITE_P(
    Passwords, KSPasswordFieldStrength,
    ::testing::Values(
        StrengthCase{"RepeatedRunCancelsTheClass", "aaaaaaaa", 0.0f, 1},
        StrengthCase{"ThreeClassesTenUnits", "Abcdefgh12", 0.46875f, 2},
        StrengthCase{"VarietyOfALongPassword", "Password1234", 0.75f, 3},
        StrengthCase{"SevenUnitsGetNoWord", "abcdefg", 7.0f / 64.0f, 0},
        StrengthCase{"SixteenLowercaseWithoutRepeat", "abcdefghijklmnop", 0.5f, 2},
        StrengthCase{"EmptyField", "", 0.0f, 0},
        StrengthCase{"RepeatIgnoresCase", "abcdABCD", 0.125f, 1},
        StrengthCase{"SymbolsAreAClass", "!!?" "?--++", 0.125f, 1},
        StrengthCase{"CappedAtOne", "Aa1!Bb2@Cc3#Dd4$Ee5%Ff6^Gg7&", 1.0f, 3},
        StrengthCase{"FourOfTwelveDistinctIsNoVariety", "abcdabcdabcd", 0.0f, 1},
        // Distinct characters are composed ones: four of six letters (not
        // five of twelve units) are distinct, so there is no variety point.
        StrengthCase{"DistinctCountsComposedCharacters", "e\u0301e\u0300e\u0302e\u0303e\u0300e\u0301", 0.375f, 1}),
    [](const ::testing::TestParamInfo<StrengthCase>& info) { return std::string(info.param.name); });

TEST(KSPasswordField, RatingBoundariesStatusLightAndCleaning)
{
    const QString eight = QStringLiteral("12345678");
    const std::pair<float, int> ratings[] = {{0.39f, 1}, {0.4f, 2}, {0.7f, 2}, {0.71f, 3}};
    for (const auto& [strength, rating] : ratings) {
        EXPECT_EQ(KSPasswordField::ratingIndex(eight, strength), rating) << strength;
    }
    EXPECT_EQ(KSPasswordField::ratingIndex(QStringLiteral("1234567"), 1.0f), 0);

    // The light is `matching`, except that without the match indicator a text
    // of 1 to 7 units shows the red one.
    const std::tuple<QString, bool, int, int> lights[] = {{"abcdefg", false, 0, 1}, {"", false, 0, 0},
        {"abcdefgh", false, 0, 0}, {"abc", true, 3, 3}, {"abcdefgh", false, 2, 2}};
    for (const auto& [text, indicator, matching, light] : lights) {
        KSPasswordField field;
        field.setShowMatchIndicator(indicator);
        field.setMatching(matching);
        field.setText(text);
        EXPECT_EQ(field.displayedMatchState(), light) << text.toStdString() << " " << indicator;
    }

    const std::pair<QString, QString> cleaned[] = {{" secret ", "secret"}, {"\n\tpw\r\n", "pw"}, {" a b ", "a b"},
        {"\u3000pw\u3000", "pw"}, {"   ", "   "}, {"", ""}};
    for (const auto& [input, expected] : cleaned) {
        EXPECT_EQ(KSPasswordField::cleanedPasswordForString(input), expected) << input.toStdString();
    }
}

// A field in a shown, active window, so that focus and key events behave.
class KSPasswordFieldWindow : public ::testing::Test
{
protected:
    void SetUp() override
    {
        auto* layout = new QVBoxLayout(&window);
        layout->addWidget(field = new KSPasswordField(&window));
        layout->addWidget(other = new QLineEdit(&window));
        window.show();
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    }

    QWidget window;
    KSPasswordField* field = nullptr;
    QLineEdit* other = nullptr;
};

TEST_F(KSPasswordFieldWindow, TogglingKeepsTextSelectionAndFocus)
{
    field->setText(QStringLiteral("secret123"));
    field->setFocus();
    ASSERT_TRUE(TestEnvironment::waitFor([&] { return field->hasFocus(); }));
    field->setSelection(2, 3);
    for (const bool shows : {true, false, true}) {
        field->setShowsText(shows);
        EXPECT_EQ(field->echoMode(), shows ? QLineEdit::Normal : QLineEdit::Password);
        EXPECT_EQ(field->text(), QStringLiteral("secret123"));
        EXPECT_EQ(field->selectionStart(), 2);
        EXPECT_EQ(field->selectedText(), QStringLiteral("cre"));
        EXPECT_TRUE(field->hasFocus());
    }

    // Not being edited, it takes the focus only when asked to.
    other->setFocus();
    ASSERT_TRUE(TestEnvironment::waitFor([&] { return other->hasFocus(); }));
    field->setBecomesFirstResponderWhenToggled(false);
    field->toggleTextShown();
    EXPECT_TRUE(!field->showsText() && other->hasFocus());
    field->setBecomesFirstResponderWhenToggled(true);
    field->toggleTextShown();
    EXPECT_TRUE(field->showsText() && field->hasFocus());
}

// A paste that replaces the whole text (an empty field's included) is stored
// cleaned and reported; any other paste goes in as it is.
TEST_F(KSPasswordFieldWindow, PasteOverTheWholeTextIsCleaned)
{
    const std::tuple<QString, int, int, QString, QString, int> rows[] = {
        // text, selection start, length (0: cursor only), clipboard, result, reported
        {"old", 0, 3, " secret ", "secret", 1},
        {"", 0, 0, "\tsecret\n", "secret", 1},
        {"ab", 1, 0, " x ", "a x b", 0},
        {"", 0, 0, "secret", "secret", 0},
    };
    for (const auto& [text, start, length, clip, result, reported] : rows) {
        QSignalSpy cleaned(field, &KSPasswordField::passwordCleaned);
        field->setText(text);
        field->setFocus();
        field->setCursorPosition(start);
        field->setSelection(start, length);
        QApplication::clipboard()->setText(clip);
        QTest::keyClick(field, Qt::Key_V, Qt::ControlModifier);
        EXPECT_EQ(field->text(), result) << clip.toStdString();
        EXPECT_EQ(cleaned.size(), reported) << clip.toStdString();
    }
}

// The strength bar as drawn: red to the end of the text at strength 0, mostly
// green at strength 1, the track beyond the text.
TEST(KSPasswordFieldDrawing, BarColoursFollowTheStrength)
{
    const auto near = [](QColor a, QColor b, int tolerance = 60) {
        return std::abs(a.red() - b.red()) + std::abs(a.green() - b.green()) + std::abs(a.blue() - b.blue()) < tolerance;
    };
    KSPasswordField field;
    field.resize(300, 30);
    field.setShowStrength(true);
    for (const bool strong : {false, true}) {
        field.setShowsText(!strong);
        field.setText(strong ? QStringLiteral("Aa1!Bb2@Cc3#Dd4$Ee5%Ff6^Gg7&") : QStringLiteral("aaaaaaaa"));
        const QImage image = field.grab().toImage();
        int y = image.height() - 1; // the bar's row, found from the track
        while (y >= 0 && !near(image.pixelColor(image.width() - 10, y), KSPasswordField::trackColor(), 6)) {
            --y;
        }
        ASSERT_GE(y, 0);
        if (strong) {
            EXPECT_TRUE(near(image.pixelColor(image.width() / 2 - 40, y), KSPasswordField::barGreenColor()));
        } else {
            const int left = 4, end = field.fontMetrics().horizontalAdvance(field.text()) + 5;
            EXPECT_TRUE(near(image.pixelColor(left + 3, y), KSPasswordField::barRedColor()));
            EXPECT_TRUE(near(image.pixelColor(left + end - 6, y), KSPasswordField::barRedColor()));
            EXPECT_TRUE(near(image.pixelColor(left + end + 10, y), KSPasswordField::trackColor()));
        }
    }
}

TEST(KSPasswordFieldWords, JapaneseThroughTheTranslator)
{
    ASSERT_TRUE(RKTranslations::install(*QCoreApplication::instance()));
    EXPECT_EQ(QStringList({KSPasswordField::ratingWord(0), KSPasswordField::ratingWord(1), KSPasswordField::ratingWord(2),
                           KSPasswordField::ratingWord(3)}),
              QStringList({"", "弱い", "普通", "強い"}));
    // Leave the other tests in English.
    for (QTranslator* translator : QCoreApplication::instance()->findChildren<QTranslator*>()) {
        QCoreApplication::removeTranslator(translator);
        delete translator;
    }
}

} // namespace
