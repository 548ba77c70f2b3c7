#include "ui/KSPasswordField.h"

#include <QAction>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QCoreApplication>
#include <QDropEvent>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLinearGradient>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QRadialGradient>
#include <QRegularExpression>
#include <QSet>
#include <QStyle>
#include <QStyleOptionFrame>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <cmath>

namespace {

constexpr int kBarHeight = 5;
constexpr int kLightSize = 16;
constexpr int kLightRoom = 18;
constexpr int kRatingInset = 4;

float clampUnit(float value)
{
    return std::clamp(value, 0.0f, 1.0f);
}

// Colour stops at equal positions would let a later colour win at that spot
// (QGradient keeps one colour per position); the earlier one must hold up to
// it, so a coinciding stop is moved just past it, or dropped at the end.
QGradientStops strictlyIncreasing(const QGradientStops& stops)
{
    QGradientStops result;
    for (QGradientStop stop : stops) {
        if (!result.isEmpty() && stop.first <= result.last().first) {
            if (result.last().first >= 1.0) {
                continue;
            }
            stop.first = std::min(1.0, result.last().first + 1e-6);
        }
        result.append(stop);
    }
    return result;
}

} // namespace

KSPasswordField::KSPasswordField(QWidget* parent)
    : QLineEdit(parent)
{
    setEchoMode(QLineEdit::Password);
    connect(this, &QLineEdit::textChanged, this, &KSPasswordField::textDidChange);
}

void KSPasswordField::setShowsText(bool showsText)
{
    const bool editing = hasFocus();
    const int selectionStart = this->selectionStart();
    const int selectionLength = this->selectionLength();
    const int cursor = cursorPosition();

    m_showsText = showsText;
    setEchoMode(showsText ? QLineEdit::Normal : QLineEdit::Password);

    if (selectionStart >= 0 && selectionLength > 0) {
        // Keep the end the cursor was at, so that extending the selection
        // with the keyboard goes on in the same direction.
        if (cursor == selectionStart) {
            setSelection(selectionStart + selectionLength, -selectionLength);
        } else {
            setSelection(selectionStart, selectionLength);
        }
    } else {
        setCursorPosition(cursor);
    }
    if (editing) {
        setFocus(Qt::OtherFocusReason);
    } else if (m_becomesFirstResponderWhenToggled) {
        setFocus(Qt::OtherFocusReason);
    }
    update();
}

void KSPasswordField::showText()
{
    setShowsText(true);
}

void KSPasswordField::secureText()
{
    setShowsText(false);
}

void KSPasswordField::toggleTextShown()
{
    setShowsText(!m_showsText);
}

void KSPasswordField::setShowStrength(bool on)
{
    m_showStrength = on;
    updateMargins();
    textDidChange(text());
}

void KSPasswordField::setShowMatchIndicator(bool on)
{
    m_showMatchIndicator = on;
    updateMargins();
    update();
}

void KSPasswordField::setStrength(float strength, uint length)
{
    m_strength = strength;
    m_length = length;
    update();
}

void KSPasswordField::setMatching(int matching)
{
    m_matching = matching;
    update();
}

int KSPasswordField::displayedMatchState() const
{
    const qsizetype units = text().size();
    if (!m_showMatchIndicator && units >= 1 && units <= 7) {
        return MatchUnavailable;
    }
    return m_matching;
}

float KSPasswordField::strengthOfPassword(const QString& string)
{
    const qsizetype n = string.size();
    int lower = 0;
    int upper = 0;
    int digit = 0;
    int other = 0;
    // Classes are counted per UTF-16 unit, like the length.
    for (const QChar unit : string) {
        switch (unit.category()) {
        case QChar::Letter_Lowercase:
            ++lower;
            break;
        case QChar::Letter_Uppercase:
        case QChar::Letter_Titlecase:
            ++upper;
            break;
        case QChar::Number_DecimalDigit:
            ++digit;
            break;
        default:
            ++other;
            break;
        }
    }
    int score = (lower > 0) + (upper > 0) + (digit > 0) + (other > 0);

    if (n >= 12) {
        QSet<QString> distinct;
        QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, string);
        qsizetype start = 0;
        for (qsizetype end = finder.toNextBoundary(); end != -1; end = finder.toNextBoundary()) {
            distinct.insert(string.mid(start, end - start));
            start = end;
        }
        if (float(distinct.size()) / float(n) > 0.4f) {
            score += 1;
        }
    }

    // A run of four or more characters that comes again later.
    static const QRegularExpression repeatedRun(QStringLiteral("(.{4,}).*\\1"),
                                                QRegularExpression::CaseInsensitiveOption);
    if (repeatedRun.match(string).hasMatch()) {
        score -= 1;
    }

    const float result = float(score) * 0.015625f * float(n);
    return std::min(result, 1.0f);
}

QString KSPasswordField::cleanedPasswordForString(const QString& string)
{
    const bool hasContent =
        std::any_of(string.cbegin(), string.cend(), [](QChar c) { return !c.isSpace(); });
    return hasContent ? string.trimmed() : string;
}

QString KSPasswordField::ratingWord(int index)
{
    switch (index) {
    case 1:
        return QCoreApplication::translate("KSPasswordField", "weak");
    case 2:
        return QCoreApplication::translate("KSPasswordField", "fair");
    case 3:
        return QCoreApplication::translate("KSPasswordField", "strong");
    default:
        return QString(QLatin1String(""));
    }
}

int KSPasswordField::ratingIndex(const QString& string, float strength)
{
    if (string.size() < 8) {
        return 0;
    }
    if (strength < 0.4f) {
        return 1;
    }
    if (strength <= 0.7f) {
        return 2;
    }
    return 3;
}

QColor KSPasswordField::barRedColor()
{
    return QColor::fromHsvF(1.0f, 1.0f, 0.7f, 1.0f);
}

QColor KSPasswordField::barYellowColor()
{
    return QColor::fromHsvF(0.13f, 1.0f, 1.0f, 1.0f);
}

QColor KSPasswordField::barGreenColor()
{
    return QColor::fromHsvF(0.283f, 0.7f, 0.8f, 1.0f);
}

QColor KSPasswordField::trackColor()
{
    return QColor::fromHsvF(0.672f, 0.06f, 0.85f, 1.0f);
}

QColor KSPasswordField::ratingColor(float strength)
{
    if (strength < 0.4f) {
        return barRedColor();
    }
    if (strength <= 0.7f) {
        return QColor::fromHsvF(0.13f, 1.0f, 0.7f, 1.0f);
    }
    return barGreenColor();
}

void KSPasswordField::textDidChange(const QString& text)
{
    // Rated on every change of the text, also one made by the program (a
    // window emptying the field), so that word and bar never go stale.
    if (m_showStrength) {
        const float value = strengthOfPassword(text);
        m_descriptionOfStrength = ratingWord(ratingIndex(text, value));
        setStrength(value, uint(text.size()));
    }
    update();
}

bool KSPasswordField::shouldChangeTextInRange(int start, int length, const QString& replacement)
{
    if (start != 0 || length != text().size()) {
        return true;
    }
    const QString cleaned = cleanedPasswordForString(replacement);
    if (cleaned == replacement) {
        return true;
    }
    setText(cleaned);
    emit textEdited(cleaned);
    emit passwordCleaned(cleaned);
    return false;
}

void KSPasswordField::pasteText(const QString& pasted)
{
    if (isReadOnly()) {
        return;
    }
    const int start = hasSelectedText() ? selectionStart() : cursorPosition();
    const int length = hasSelectedText() ? selectionLength() : 0;
    if (shouldChangeTextInRange(start, length, pasted)) {
        paste();
    }
}

void KSPasswordField::keyPressEvent(QKeyEvent* event)
{
    if (event == QKeySequence::Paste && !isReadOnly()) {
        pasteText(QGuiApplication::clipboard()->text(QClipboard::Clipboard));
        event->accept();
        return;
    }
    QLineEdit::keyPressEvent(event);
}

void KSPasswordField::contextMenuEvent(QContextMenuEvent* event)
{
    QMenu* menu = createStandardContextMenu();
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (QAction* pasteAction = menu->findChild<QAction*>(QStringLiteral("edit-paste"))) {
        disconnect(pasteAction, &QAction::triggered, nullptr, nullptr);
        connect(pasteAction, &QAction::triggered, this, [this] {
            pasteText(QGuiApplication::clipboard()->text(QClipboard::Clipboard));
        });
    }
    menu->popup(event->globalPos());
}

void KSPasswordField::dropEvent(QDropEvent* event)
{
    // A drop into an empty field replaces the whole text, like a paste.
    if (event->mimeData()->hasText() && text().isEmpty() && !isReadOnly()) {
        if (!shouldChangeTextInRange(0, 0, event->mimeData()->text())) {
            event->acceptProposedAction();
            return;
        }
    }
    QLineEdit::dropEvent(event);
}

void KSPasswordField::changeEvent(QEvent* event)
{
    QLineEdit::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::LanguageChange) {
        updateMargins();
    }
}

QFont KSPasswordField::ratingFont() const
{
    // The small system size is to the regular one as 11 to 13.
    QFont small = font();
    if (small.pointSizeF() > 0) {
        small.setPointSizeF(small.pointSizeF() * 11.0 / 13.0);
    } else if (small.pixelSize() > 0) {
        small.setPixelSize(std::max(1, small.pixelSize() * 11 / 13));
    }
    return small;
}

int KSPasswordField::ratingWidth() const
{
    const QFontMetricsF metrics(ratingFont());
    qreal widest = 0;
    for (int index = 0; index <= 3; ++index) {
        widest = std::max(widest, metrics.horizontalAdvance(ratingWord(index)));
    }
    return int(std::ceil(widest));
}

int KSPasswordField::textWidth() const
{
    const QString current = text();
    if (current.isEmpty()) {
        return 0;
    }
    if (m_showsText) {
        return fontMetrics().horizontalAdvance(current);
    }
    QStyleOptionFrame option;
    initStyleOption(&option);
    const QChar mask(style()->styleHint(QStyle::SH_LineEdit_PasswordCharacter, &option, this));
    return fontMetrics().horizontalAdvance(mask) * int(current.size());
}

void KSPasswordField::updateMargins()
{
    int right = 0;
    if (m_showStrength) {
        right = ratingWidth() + kRatingInset;
    } else if (m_showMatchIndicator) {
        right = kLightRoom;
    }
    // Room at the bottom for the strength bar.
    setTextMargins(0, 0, right, m_showStrength ? 2 : 0);
}

void KSPasswordField::paintEvent(QPaintEvent* event)
{
    QLineEdit::paintEvent(event);

    QStyleOptionFrame option;
    initStyleOption(&option);
    const QRect frame = style()->subElementRect(QStyle::SE_LineEditContents, &option, this);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);

    if (m_showStrength) {
        const QRect track(frame.left(), frame.bottom() - kBarHeight + 1, frame.width(), kBarHeight);
        painter.fillRect(track, trackColor());

        int w = textWidth();
        if (w != 0) {
            w += 5;
        }
        const int barWidth = std::min(w, frame.width());
        if (barWidth > 0) {
            const float a = clampUnit(0.05f - (m_strength - 1.0f) * 1.4f);
            const float b = clampUnit(0.15f - (m_strength - 1.0f) * 2.7f);
            const auto next = [](float value) { return double(std::min(value + 0.05f, 1.0f)); };
            QLinearGradient gradient(track.left(), 0, track.left() + barWidth, 0);
            gradient.setStops(strictlyIncreasing({
                {0.0, barRedColor()},
                {double(a), barRedColor()},
                {next(a), barYellowColor()},
                {double(b), barYellowColor()},
                {next(b), barGreenColor()},
                {1.0, barGreenColor()},
            }));
            painter.fillRect(QRect(track.left(), track.top(), barWidth, kBarHeight), gradient);
        }

        painter.setFont(ratingFont());
        painter.setPen(ratingColor(m_strength));
        const QRect wordRect = frame.adjusted(kRatingInset, 0, -kRatingInset, -kBarHeight + 1);
        painter.drawText(wordRect, Qt::AlignRight | Qt::AlignVCenter, m_descriptionOfStrength);
    }

    const int state = displayedMatchState();
    if (state != MatchNone) {
        QColor colour = barRedColor();
        if (state == MatchPartiallyAvailable) {
            colour = barYellowColor();
        } else if (state == MatchAvailable) {
            colour = barGreenColor();
        }
        const QRectF light(frame.x() + frame.width() - kLightRoom + 1.5,
                           frame.y() + (frame.height() - kLightSize) / 2.0 + 1.5,
                           kLightSize - 3.0, kLightSize - 3.0);
        QRadialGradient shine(light.center() - QPointF(2, 2), light.width() / 1.4);
        shine.setColorAt(0.0, colour.lighter(170));
        shine.setColorAt(1.0, colour);
        painter.setPen(QPen(colour.darker(150), 1.0));
        painter.setBrush(shine);
        painter.drawEllipse(light);
    }
}
