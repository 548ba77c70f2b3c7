#include "cli/RKTerminalProgress.h"

#include "cli/RKTerminal.h"

#include <QLocale>

namespace {

// A terminal line redrawn more often is not read, and costs the writer time.
constexpr qint64 kRedrawMs = 100;
// The rate is not worth showing until the phase has run this long.
constexpr qint64 kRateAfterMs = 500;
constexpr int kBarWidth = 24;
constexpr int kMinBarWidth = 8;

int displayWidth(QChar c)
{
    // East Asian wide and full-width forms take two columns.
    const char16_t u = c.unicode();
    return (u >= 0x1100 && u <= 0x115F) || (u >= 0x2E80 && u <= 0xA4CF)
            || (u >= 0xAC00 && u <= 0xD7A3) || (u >= 0xF900 && u <= 0xFAFF)
            || (u >= 0xFE30 && u <= 0xFE4F) || (u >= 0xFF00 && u <= 0xFF60)
            || (u >= 0xFFE0 && u <= 0xFFE6)
        ? 2
        : 1;
}

int width(const QString& text)
{
    int used = 0;
    for (const QChar c : text) {
        used += displayWidth(c);
    }
    return used;
}

QString fitted(const QString& text, int columns)
{
    int used = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        used += displayWidth(text.at(i));
        if (used > columns) {
            return text.left(i);
        }
    }
    return text;
}

QString count(int n)
{
    return QLocale::c().toString(n);
}

} // namespace

RKTerminalProgress::RKTerminalProgress(bool bar)
    : m_bar(bar)
{
}

void RKTerminalProgress::begin(const QString& phase, const QString& label)
{
    finish();
    m_phase = phase;
    m_label = label;
    m_started.start();
    m_lastDrawn.invalidate();
    m_lastTenth = -1;
    m_value = 0;
    m_total = 0;
}

QString RKTerminalProgress::duration(qint64 seconds)
{
    const qint64 h = seconds / 3600;
    const qint64 m = seconds / 60 % 60;
    const qint64 s = seconds % 60;
    return h > 0 ? QString::asprintf("%lld:%02lld:%02lld", h, m, s)
                 : QString::asprintf("%lld:%02lld", m, s);
}

QString RKTerminalProgress::barLine(const QString& phase, const QString& label, int value,
                                    int total, double rate, int columns)
{
    const double share = total > 0 ? qBound(0.0, double(value) / double(total), 1.0) : 1.0;
    QString figures = QStringLiteral("] ") + QString::asprintf("%5.1f%%", share * 100.0)
        + QLatin1Char(' ') + count(value) + QLatin1Char('/') + count(total);
    if (rate > 0.0) {
        figures += QLatin1Char(' ') + tr("%1 items/s").arg(count(int(rate + 0.5)));
        if (value < total) {
            figures += QLatin1Char(' ')
                + tr("%1 left").arg(duration(qint64(double(total - value) / rate + 0.5)));
        }
    }
    // The figures matter more than the bar's length, and both more than the
    // whole archive name: the bar gives way first, then the name.
    const int room = columns - 1;
    const int fixed = width(phase) + 1 + 2 + width(figures);
    const int barWidth = qBound(kMinBarWidth, room - fixed - width(label), kBarWidth);
    QString shownLabel = label;
    const int labelRoom = room - fixed - barWidth;
    if (width(label) > labelRoom && labelRoom >= 4) {
        shownLabel = fitted(label, labelRoom - 1) + QChar(0x2026);
    }
    const int filled = int(share * barWidth);
    const QString line = phase + QLatin1Char(' ') + shownLabel + QStringLiteral(" [")
        + QString(filled, QLatin1Char('#')) + QString(barWidth - filled, QLatin1Char('-'))
        + figures;
    return fitted(line, room);
}

void RKTerminalProgress::show(int value, int total, const QString&)
{
    m_value = value;
    m_total = total;
    const qint64 elapsed = m_started.elapsed();
    const double rate = elapsed >= kRateAfterMs && value > 0 ? value * 1000.0 / double(elapsed) : -1.0;
    if (m_bar) {
        const bool sameAsShown = m_shown && value == m_drawnValue && total == m_drawnTotal;
        if (sameAsShown
            || (m_lastDrawn.isValid() && m_lastDrawn.elapsed() < kRedrawMs && value < total)) {
            return;
        }
        m_drawnValue = value;
        m_drawnTotal = total;
        m_lastDrawn.start();
        RKTerminal::setStatusLineShown(false); // redrawn over, not cleared first
        RKTerminal::writeError(QStringLiteral("\r")
                               + barLine(m_phase, m_label, value, total, rate,
                                         RKTerminal::columns())
                               + QStringLiteral("\x1b[K"));
        RKTerminal::setStatusLineShown(true);
        m_shown = true;
        return;
    }
    const int tenth = total > 0 ? int(qint64(value) * 10 / total) : 10;
    if (tenth == m_lastTenth) {
        return;
    }
    m_lastTenth = tenth;
    QString line = QStringLiteral("%1 %2: %3% (%4/%5)")
                       .arg(m_phase, m_label)
                       .arg(tenth * 10)
                       .arg(count(value), count(total));
    if (rate > 0.0) {
        line += QLatin1Char(' ') + tr("%1 items/s").arg(count(int(rate + 0.5)));
    }
    RKTerminal::writeError(line + QLatin1Char('\n'));
}

void RKTerminalProgress::finish()
{
    if (m_bar && m_shown) {
        // The finished phase stays on screen with its final figures.
        m_lastDrawn.invalidate();
        const qint64 elapsed = m_started.elapsed();
        RKTerminal::setStatusLineShown(false);
        RKTerminal::writeError(
            QStringLiteral("\r")
            + barLine(m_phase, m_label, m_value, m_total,
                      elapsed > 0 && m_value > 0 ? m_value * 1000.0 / double(elapsed) : -1.0,
                      RKTerminal::columns())
            + QStringLiteral("\x1b[K\n"));
    }
    m_shown = false;
}
