#pragma once

#include <QColor>
#include <QLineEdit>
#include <QString>

// A password entry that can show its text in clear, rate the strength of what
// is typed (a bar along the bottom edge and a rating word on the right) and
// show a status light. Pasting a password with stray blanks around it over
// the whole text stores it without them.
class KSPasswordField : public QLineEdit
{
    Q_OBJECT
    Q_PROPERTY(bool showsText READ showsText WRITE setShowsText)
    Q_PROPERTY(bool becomesFirstResponderWhenToggled READ becomesFirstResponderWhenToggled
                   WRITE setBecomesFirstResponderWhenToggled)
    Q_PROPERTY(bool showStrength READ showStrength WRITE setShowStrength)
    Q_PROPERTY(bool showMatchIndicator READ showMatchIndicator WRITE setShowMatchIndicator)
    Q_PROPERTY(int matching READ matching WRITE setMatching)

public:
    // Status light states of `matching`.
    static constexpr int MatchNone = 0;
    static constexpr int MatchUnavailable = 1;         // red
    static constexpr int MatchPartiallyAvailable = 2;  // yellow
    static constexpr int MatchAvailable = 3;           // green

    explicit KSPasswordField(QWidget* parent = nullptr);

    bool showsText() const { return m_showsText; }
    void setShowsText(bool showsText);

    bool becomesFirstResponderWhenToggled() const { return m_becomesFirstResponderWhenToggled; }
    void setBecomesFirstResponderWhenToggled(bool on) { m_becomesFirstResponderWhenToggled = on; }

    bool showStrength() const { return m_showStrength; }
    void setShowStrength(bool on);
    bool showMatchIndicator() const { return m_showMatchIndicator; }
    void setShowMatchIndicator(bool on);

    float strength() const { return m_strength; }
    uint length() const { return m_length; }
    void setStrength(float strength, uint length);

    int matching() const { return m_matching; }
    void setMatching(int matching);

    QString descriptionOfStrength() const { return m_descriptionOfStrength; }

    // The light drawn now: `matching`, except that without the match
    // indicator a text of 1 to 7 units shows the red light.
    int displayedMatchState() const;

    // 0 … 1 from the character classes, the variety of a long password and
    // a repeated run of four or more characters.
    static float strengthOfPassword(const QString& string);
    // Leading and trailing blanks and line breaks removed, unless the string
    // holds nothing else.
    static QString cleanedPasswordForString(const QString& string);
    // The rating words: "" (not rated), "weak", "fair", "strong", translated.
    static QString ratingWord(int index);
    // The index of the rating word for a text and its strength.
    static int ratingIndex(const QString& string, float strength);

    // Colours of the bar and the rating word.
    static QColor barRedColor();
    static QColor barYellowColor();
    static QColor barGreenColor();
    static QColor trackColor();
    static QColor ratingColor(float strength);

    // Whether a change of [start, start + length) to replacement may go
    // ahead. A change of the whole text whose replacement cleans to something
    // else is refused; the cleaned value becomes the text instead and
    // passwordCleaned is emitted.
    bool shouldChangeTextInRange(int start, int length, const QString& replacement);

public slots:
    void showText();
    void secureText();
    void toggleTextShown();

signals:
    // A whole-text paste was stored without its surrounding blanks.
    void passwordCleaned(const QString& cleaned);

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void textDidChange(const QString& text);
    void pasteText(const QString& text);
    void updateMargins();
    QFont ratingFont() const;
    int ratingWidth() const;
    int textWidth() const;

    bool m_showsText = false;
    bool m_becomesFirstResponderWhenToggled = true;
    bool m_showStrength = false;
    bool m_showMatchIndicator = false;
    float m_strength = 0.0f;
    uint m_length = 0;
    int m_matching = MatchNone;
    QString m_descriptionOfStrength;
};
