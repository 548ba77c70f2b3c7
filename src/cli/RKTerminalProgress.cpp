#include "cli/RKTerminalProgress.h"

#include "cli/RKTerminal.h"
#include "platform/RKWorkProgress.h"

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
    m_done = 0;
    m_work = 0;
    m_drawnPermille = -1;
    m_drawnValue = -1;
}

QString RKTerminalProgress::rateText(double bytesPerSecond)
{
    return bytesPerSecond < 1e6 ? QString::asprintf("%.0f kB/s", bytesPerSecond / 1e3)
                                : QString::asprintf("%.1f MB/s", bytesPerSecond / 1e6);
}

QString RKTerminalProgress::barLine(const QString& phase, const QString& label, int value,
                                    int total, double share, double rate, qint64 secondsLeft,
                                    int columns)
{
    share = qBound(0.0, share, 1.0);
    QString figures = QStringLiteral("] ") + QString::asprintf("%5.1f%%", share * 100.0)
        + QLatin1Char(' ') + count(value) + QLatin1Char('/') + count(total);
    if (rate > 0.0) {
        figures += QLatin1Char(' ') + rateText(rate);
    }
    if (secondsLeft >= 0 && share < 1.0) {
        figures += QLatin1Char(' ') + tr("%1 left").arg(RKWorkProgress::duration(secondsLeft));
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
    const int filled = int(share * barWidth + 1e-6);
    const QString line = phase + QLatin1Char(' ') + shownLabel + QStringLiteral(" [")
        + QString(filled, QLatin1Char('#')) + QString(barWidth - filled, QLatin1Char('-'))
        + figures;
    return fitted(line, room);
}

void RKTerminalProgress::show(int value, int total, quint64 done, quint64 work, const QString&)
{
    if (m_quiet) {
        return;
    }
    m_value = value;
    m_total = total;
    m_done = done;
    m_work = work;
    const qint64 elapsed = m_started.elapsed();
    const double share = RKWorkProgress::share(done, work);
    const double rate = elapsed >= kRateAfterMs && done > 0 ? done * 1000.0 / double(elapsed) : -1.0;
    const qint64 left = RKWorkProgress::secondsLeft(done, work, elapsed);
    if (m_bar) {
        const int permille = int(share * 1000 + 1e-6);
        const bool sameAsShown = m_shown && permille == m_drawnPermille && value == m_drawnValue;
        if (sameAsShown || (m_lastDrawn.isValid() && m_lastDrawn.elapsed() < kRedrawMs && share < 1.0)) {
            return;
        }
        m_drawnPermille = permille;
        m_drawnValue = value;
        m_lastDrawn.start();
        RKTerminal::setStatusLineShown(false); // redrawn over, not cleared first
        RKTerminal::writeError(QStringLiteral("\r")
                               + barLine(m_phase, m_label, value, total, share, rate, left,
                                         RKTerminal::columns())
                               + QStringLiteral("\x1b[K"));
        RKTerminal::setStatusLineShown(true);
        m_shown = true;
        return;
    }
    const int tenth = int(share * 10 + 1e-6);
    if (tenth == m_lastTenth) {
        return;
    }
    m_lastTenth = tenth;
    QString line = QStringLiteral("%1 %2: %3% (%4/%5)")
                       .arg(m_phase, m_label)
                       .arg(tenth * 10)
                       .arg(count(value), count(total));
    if (rate > 0.0) {
        line += QLatin1Char(' ') + rateText(rate);
    }
    if (left >= 0 && tenth < 10) {
        line += QLatin1Char(' ') + tr("%1 left").arg(RKWorkProgress::duration(left));
    }
    RKTerminal::writeError(line + QLatin1Char('\n'));
}

void RKTerminalProgress::finish()
{
    if (m_bar && m_shown && !m_quiet) {
        // The finished phase stays on screen with its final figures.
        m_lastDrawn.invalidate();
        const qint64 elapsed = m_started.elapsed();
        RKTerminal::setStatusLineShown(false);
        RKTerminal::writeError(
            QStringLiteral("\r")
            + barLine(m_phase, m_label, m_value, m_total, RKWorkProgress::share(m_done, m_work),
                      elapsed > 0 && m_done > 0 ? m_done * 1000.0 / double(elapsed) : -1.0, -1,
                      RKTerminal::columns())
            + QStringLiteral("\x1b[K\n"));
    }
    m_shown = false;
}
