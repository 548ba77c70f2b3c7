#include "ui/RKWindowFit.h"

#include <QApplication>
#include <QBoxLayout>
#include <QFontMetrics>
#include <QGridLayout>
#include <QLabel>
#include <QMessageBox>
#include <QScreen>
#include <QStringList>

#include <algorithm>

namespace {

// Characters after which a Japanese line may break. Latin punctuation is
// left out: "a.txt" must not break after its dot; after a sentence in Latin
// letters the space that follows is the place.
bool breaksAfter(QChar c)
{
    static const QString marks = QString::fromUtf16(u"、。，．！？）」』】〕・：；");
    return marks.contains(c);
}

// Makes layout (a window's top-level one) at least width wide without
// fixing the window's minimum size, which would stop the layout from
// raising it for its contents: a zero-height item across it.
bool addWidthStrut(QLayout* layout, int width)
{
    const QMargins margins = layout->contentsMargins();
    auto* strut = new QSpacerItem(std::max(0, width - margins.left() - margins.right()), 0,
                                  QSizePolicy::Minimum, QSizePolicy::Minimum);
    if (auto* grid = qobject_cast<QGridLayout*>(layout)) {
        grid->addItem(strut, grid->rowCount(), 0, 1, std::max(1, grid->columnCount()));
        return true;
    }
    if (auto* box = qobject_cast<QBoxLayout*>(layout);
        box != nullptr && (box->direction() == QBoxLayout::TopToBottom
                           || box->direction() == QBoxLayout::BottomToTop)) {
        box->addSpacerItem(strut);
        return true;
    }
    delete strut;
    return false;
}

// The line cut into the pieces between its break opportunities, each piece
// keeping its punctuation (or its trailing space).
QStringList pieces(const QString& line)
{
    QStringList result;
    QString current;
    for (const QChar c : line) {
        current.append(c);
        if (c == QLatin1Char(' ') || breaksAfter(c)) {
            result.append(current);
            current.clear();
        }
    }
    if (!current.isEmpty()) {
        result.append(current);
    }
    return result;
}

} // namespace

void RKFitLabelToText(QLabel* label, int maxWidth)
{
    if (label == nullptr || label->text().isEmpty() || label->textFormat() == Qt::RichText
        || (label->textFormat() == Qt::AutoText && Qt::mightBeRichText(label->text()))) {
        return;
    }
    const QFontMetrics metrics = label->fontMetrics();
    const QString broken = RKBreakAfterPunctuation(label->text(), metrics, maxWidth);
    if (broken != label->text()) {
        label->setText(broken);
    }
    // One pixel more: a width rounded down would wrap the last character.
    label->setMinimumWidth(RKWidestLine(broken, metrics) + 1);
}

int RKTitleWidth(const QWidget* window)
{
    QFont font = QApplication::font();
    font.setBold(true);
    const QFontMetrics metrics(font);
    return metrics.horizontalAdvance(window->windowTitle()) + 6 * metrics.height();
}

int RKLongestLineWidth(const QWidget* widget)
{
    const int em = widget->fontMetrics().horizontalAdvance(QChar(0x3042));
    const QScreen* screen = widget->screen() ? widget->screen() : QGuiApplication::primaryScreen();
    const int screenShare = screen ? screen->availableGeometry().width() * 3 / 5 : 40 * em;
    return std::min(40 * em, screenShare);
}

int RKWidestLine(const QString& text, const QFontMetrics& metrics)
{
    int widest = 0;
    for (const QString& line : text.split(QLatin1Char('\n'))) {
        widest = std::max(widest, metrics.horizontalAdvance(line));
    }
    return widest;
}

QString RKBreakAfterPunctuation(const QString& text, const QFontMetrics& metrics, int maxWidth)
{
    QStringList lines;
    for (const QString& line : text.split(QLatin1Char('\n'))) {
        if (metrics.horizontalAdvance(line) <= maxWidth) {
            lines.append(line);
            continue;
        }
        QString current;
        for (const QString& piece : pieces(line)) {
            const QString candidate = current + piece;
            if (!current.isEmpty() && metrics.horizontalAdvance(candidate.trimmed()) > maxWidth) {
                // The space stays at the line's end, where it shows nothing.
                lines.append(current);
                current = piece;
            } else {
                current = candidate;
            }
        }
        lines.append(current);
    }
    return lines.join(QLatin1Char('\n'));
}

void RKFitToText(QWidget* window)
{
    const int maxWidth = RKLongestLineWidth(window);
    for (QLabel* label : window->findChildren<QLabel*>()) {
        if (label->wordWrap()) {
            RKFitLabelToText(label, maxWidth);
        }
    }
    if (window->layout() == nullptr || !addWidthStrut(window->layout(), RKTitleWidth(window))) {
        window->setMinimumWidth(std::max({window->minimumWidth(), window->minimumSizeHint().width(),
                                          RKTitleWidth(window)}));
    }
}

void RKFitAlertToText(QMessageBox* alert)
{
    const int maxWidth = RKLongestLineWidth(alert);
    RKFitLabelToText(alert->findChild<QLabel*>(QStringLiteral("qt_msgbox_label")), maxWidth);
    RKFitLabelToText(alert->findChild<QLabel*>(QStringLiteral("qt_msgbox_informativelabel")), maxWidth);
    if (alert->layout() != nullptr) {
        addWidthStrut(alert->layout(), RKTitleWidth(alert));
    }
}
