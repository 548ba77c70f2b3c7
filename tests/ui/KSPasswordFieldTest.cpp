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

#include <cmath>

namespace {

struct StrengthCase {
    const char* name;
    QString password;
    float strength;
    int rating; // 0 none, 1 weak, 2 fair, 3 strong
};

class KSPasswordFieldStrength : public ::testing::TestWithParam<StrengthCase>
{
};

TEST_P(KSPasswordFieldStrength, RatesThePassword)
{
    const StrengthCase& row = GetParam();
    EXPECT_FLOAT_EQ(KSPasswordField::strengthOfPassword(row.password), row.strength);

    KSPasswordField field;
    field.setShowStrength(true);
    field.setText(row.password);
    EXPECT_FLOAT_EQ(field.strength(), row.strength);
    EXPECT_EQ(field.length(), uint(row.password.size()));
    EXPECT_EQ(field.descriptionOfStrength(), KSPasswordField::ratingWord(row.rating));
}

// Four decomposed letters: "e" with four different accents.
const QString e1 = QString::fromUtf8("e\xCC\x81");
const QString e2 = QString::fromUtf8("e\xCC\x80");
const QString e3 = QString::fromUtf8("e\xCC\x82");
const QString e4 = QString::fromUtf8("e\xCC\x83");

INSTANTIATE_TEST_SUITE_P(
    Passwords, KSPasswordFieldStrength,
    ::testing::Values(
        StrengthCase{"RepeatedRunCancelsTheClass", "aaaaaaaa", 0.0f, 1},
        StrengthCase{"ThreeClassesTenUnits", "Abcdefgh12", 0.46875f, 2},
        StrengthCase{"VarietyOfALongPassword", "Password1234", 0.75f, 3},
        StrengthCase{"SevenUnitsGetNoWord", "abcdefg", 2 * 0.0f + 7.0f / 64.0f, 0},
        StrengthCase{"SixteenLowercaseWithoutRepeat", "abcdefghijklmnop", 0.5f, 2},
        StrengthCase{"EmptyField", "", 0.0f, 0},
        StrengthCase{"TwoClassesEightUnits", "abcd1234", 0.25f, 1},
        StrengthCase{"RepeatIgnoresCase", "abcdABCD", 0.125f, 1},
        StrengthCase{"CappedAtOne", "Aa1!Bb2@Cc3#Dd4$Ee5%Ff6^Gg7&", 1.0f, 3},
        StrengthCase{"ElevenOfTwelveUnitsDistinctIsVariety", "abcdefghijka", 0.375f, 1},
        StrengthCase{"FourOfTwelveDistinctIsNoVariety", "abcdabcdabcd", 0.0f, 1},
        // Distinct characters are composed ones: four of six letters (not
        // five of twelve units) are distinct, so there is no variety point.
        StrengthCase{"DistinctCountsComposedCharacters", e1 + e2 + e3 + e4 + e2 + e1, 0.375f, 1},
        StrengthCase{"SymbolsAreAClass", "!!??--++", 0.125f, 1},
        StrengthCase{"RepeatAndVarietyTogether", "Abcd1234abcdXYZ", 0.703125f, 3}),
    [](const ::testing::TestParamInfo<StrengthCase>& info) { return std::string(info.param.name); });

TEST(KSPasswordField, RatingBoundaries)
{
    const QString eight = QStringLiteral("12345678");
    EXPECT_EQ(KSPasswordField::ratingIndex(eight, 0.39f), 1);
    EXPECT_EQ(KSPasswordField::ratingIndex(eight, 0.4f), 2);
    EXPECT_EQ(KSPasswordField::ratingIndex(eight, 0.7f), 2);
    EXPECT_EQ(KSPasswordField::ratingIndex(eight, 0.71f), 3);
    EXPECT_EQ(KSPasswordField::ratingIndex(QStringLiteral("1234567"), 1.0f), 0);
}

struct LightCase {
    const char* name;
    QString text;
    bool matchIndicator;
    int matching;
    int light;
};

class KSPasswordFieldLight : public ::testing::TestWithParam<LightCase>
{
};

TEST_P(KSPasswordFieldLight, ShowsTheState)
{
    const LightCase& row = GetParam();
    KSPasswordField field;
    field.setShowMatchIndicator(row.matchIndicator);
    field.setMatching(row.matching);
    field.setText(row.text);
    EXPECT_EQ(field.displayedMatchState(), row.light);
}

INSTANTIATE_TEST_SUITE_P(
    States, KSPasswordFieldLight,
    ::testing::Values(
        LightCase{"ShortTextWithoutIndicatorIsRed", "abcdefg", false, 0, 1},
        LightCase{"EmptyTextShowsNoLight", "", false, 0, 0},
        LightCase{"EightUnitsShowNoLight", "abcdefgh", false, 0, 0},
        LightCase{"IndicatorShowsMatching", "abc", true, 3, 3},
        LightCase{"IndicatorOffStillShowsMatchingForLongText", "abcdefgh", false, 2, 2}),
    [](const ::testing::TestParamInfo<LightCase>& info) { return std::string(info.param.name); });

struct CleanCase {
    const char* name;
    QString input;
    QString cleaned;
};

class KSPasswordFieldClean : public ::testing::TestWithParam<CleanCase>
{
};

TEST_P(KSPasswordFieldClean, CleansTheString)
{
    EXPECT_EQ(KSPasswordField::cleanedPasswordForString(GetParam().input), GetParam().cleaned);
}

INSTANTIATE_TEST_SUITE_P(
    Strings, KSPasswordFieldClean,
    ::testing::Values(
        CleanCase{"BlanksAround", " secret ", "secret"},
        CleanCase{"LineBreaksAndTabs", "\n\tpw\r\n", "pw"},
        CleanCase{"InnerBlankKept", " a b ", "a b"},
        CleanCase{"IdeographicSpace", QString::fromUtf8("\xE3\x80\x80pw\xE3\x80\x80"), "pw"},
        CleanCase{"OnlyBlanksUnchanged", "   ", "   "},
        CleanCase{"EmptyUnchanged", "", ""}),
    [](const ::testing::TestParamInfo<CleanCase>& info) { return std::string(info.param.name); });

// A field in a shown, active window, so that focus and key events behave.
class KSPasswordFieldWindow : public ::testing::Test
{
protected:
    void SetUp() override
    {
        auto* layout = new QVBoxLayout(&window);
        field = new KSPasswordField(&window);
        other = new QLineEdit(&window);
        layout->addWidget(field);
        layout->addWidget(other);
        window.show();
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    }

    void paste(const QString& clip)
    {
        QApplication::clipboard()->setText(clip);
        QTest::keyClick(field, Qt::Key_V, Qt::ControlModifier);
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
}

TEST_F(KSPasswordFieldWindow, ToggleTakesFocusOnlyWhenAsked)
{
    other->setFocus();
    ASSERT_TRUE(TestEnvironment::waitFor([&] { return other->hasFocus(); }));
    field->setBecomesFirstResponderWhenToggled(false);
    field->toggleTextShown();
    EXPECT_TRUE(field->showsText());
    EXPECT_TRUE(other->hasFocus());
    field->setBecomesFirstResponderWhenToggled(true);
    field->toggleTextShown();
    EXPECT_FALSE(field->showsText());
    EXPECT_TRUE(field->hasFocus());
}

TEST_F(KSPasswordFieldWindow, PasteOverTheWholeTextIsCleaned)
{
    QSignalSpy cleaned(field, &KSPasswordField::passwordCleaned);
    field->setText(QStringLiteral("old"));
    field->setFocus();
    field->selectAll();
    paste(QStringLiteral(" secret "));
    EXPECT_EQ(field->text(), QStringLiteral("secret"));
    ASSERT_EQ(cleaned.size(), 1);
    EXPECT_EQ(cleaned.first().first().toString(), QStringLiteral("secret"));
}

TEST_F(KSPasswordFieldWindow, PasteIntoAnEmptyFieldIsCleaned)
{
    field->setFocus();
    paste(QStringLiteral("\tsecret\n"));
    EXPECT_EQ(field->text(), QStringLiteral("secret"));
}

TEST_F(KSPasswordFieldWindow, PasteIntoPartOfTheTextIsKeptAsIs)
{
    QSignalSpy cleaned(field, &KSPasswordField::passwordCleaned);
    field->setText(QStringLiteral("ab"));
    field->setFocus();
    field->setCursorPosition(1);
    paste(QStringLiteral(" x "));
    EXPECT_EQ(field->text(), QStringLiteral("a x b"));
    EXPECT_EQ(cleaned.size(), 0);
}

TEST_F(KSPasswordFieldWindow, CleanPasteGoesThroughUnchanged)
{
    QSignalSpy cleaned(field, &KSPasswordField::passwordCleaned);
    field->setFocus();
    paste(QStringLiteral("secret"));
    EXPECT_EQ(field->text(), QStringLiteral("secret"));
    EXPECT_EQ(cleaned.size(), 0);
}

// Colour of the strength bar at a fraction of the bar's drawn width.
class KSPasswordFieldDrawing : public ::testing::Test
{
protected:
    QImage render(const QString& text, bool showsText)
    {
        field.resize(300, 30);
        field.setShowStrength(true);
        field.setShowsText(showsText);
        field.setText(text);
        return field.grab().toImage();
    }

    // The bar's row and its last coloured column, found from the track.
    static int barRow(const QImage& image)
    {
        for (int y = image.height() - 1; y >= 0; --y) {
            if (near(image.pixelColor(image.width() - 10, y), KSPasswordField::trackColor(), 3)) {
                return y;
            }
        }
        return -1;
    }

    static bool near(const QColor& a, const QColor& b, int tolerance = 40)
    {
        const QColor x = a.toRgb();
        const QColor y = b.toRgb();
        return std::abs(x.red() - y.red()) < tolerance && std::abs(x.green() - y.green()) < tolerance
            && std::abs(x.blue() - y.blue()) < tolerance;
    }

    KSPasswordField field;
};

TEST_F(KSPasswordFieldDrawing, ZeroStrengthBarIsRedToItsEnd)
{
    const QImage image = render(QStringLiteral("aaaaaaaa"), true);
    const int y = barRow(image);
    ASSERT_GE(y, 0);
    const int end = field.fontMetrics().horizontalAdvance(field.text()) + 5;
    const int left = field.rect().left() + 4;
    EXPECT_TRUE(near(image.pixelColor(left + 3, y), KSPasswordField::barRedColor()));
    EXPECT_TRUE(near(image.pixelColor(left + end - 6, y), KSPasswordField::barRedColor()));
    EXPECT_TRUE(near(image.pixelColor(left + end + 10, y), KSPasswordField::trackColor()));
}

TEST_F(KSPasswordFieldDrawing, FullStrengthBarIsMostlyGreen)
{
    const QImage image = render(QStringLiteral("Aa1!Bb2@Cc3#Dd4$Ee5%Ff6^Gg7&"), false);
    const int y = barRow(image);
    ASSERT_GE(y, 0);
    EXPECT_TRUE(near(image.pixelColor(image.width() / 2 - 40, y), KSPasswordField::barGreenColor()));
}

TEST(KSPasswordFieldWords, JapaneseThroughTheTranslator)
{
    EXPECT_EQ(KSPasswordField::ratingWord(1), QStringLiteral("weak"));
    ASSERT_TRUE(RKTranslations::install(*QCoreApplication::instance()));
    EXPECT_EQ(KSPasswordField::ratingWord(0), QString());
    EXPECT_EQ(KSPasswordField::ratingWord(1), QStringLiteral("弱い"));
    EXPECT_EQ(KSPasswordField::ratingWord(2), QStringLiteral("普通"));
    EXPECT_EQ(KSPasswordField::ratingWord(3), QStringLiteral("強い"));
    // Leave the other tests in English.
    for (QTranslator* translator : QCoreApplication::instance()->findChildren<QTranslator*>()) {
        QCoreApplication::removeTranslator(translator);
        delete translator;
    }
    EXPECT_EQ(KSPasswordField::ratingWord(3), QStringLiteral("strong"));
}

} // namespace
