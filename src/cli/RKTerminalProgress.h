#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QString>

// The progress of one phase of an archive on standard error: on a terminal a
// line redrawn in place with a bar, the percentage, the count, the rate and
// the time left; elsewhere (a log, a pipe) a plain line at every tenth of
// the way. The share follows the work in bytes (RKWorkProgress), the count
// the items. Main thread.
class RKTerminalProgress
{
    Q_DECLARE_TR_FUNCTIONS(RKTerminalProgress)

public:
    // bar: redraw a line in place; otherwise plain lines.
    explicit RKTerminalProgress(bool bar);
    // Shows nothing (-q).
    void setQuiet(bool quiet) { m_quiet = quiet; }

    // A new phase ("圧縮中", "解凍中", …) of the archive named label.
    void begin(const QString& phase, const QString& label);
    // value of total items; done of work (bytes) done; fileName: the item
    // under way.
    void show(int value, int total, quint64 done, quint64 work, const QString& fileName);
    // The phase is over: a bar's line is left as it stands.
    void finish();

    // "512 kB/s", "12.3 MB/s"
    static QString rateText(double bytesPerSecond);
    // The line of a bar: phase and label, the bar, the percentage of share
    // with one decimal, the count, then the rate and the time left once
    // known (rate < 0, secondsLeft < 0: not yet), cut to columns (a wide
    // character takes two).
    static QString barLine(const QString& phase, const QString& label, int value, int total,
                           double share, double rate, qint64 secondsLeft, int columns);

private:
    bool m_bar;
    bool m_quiet = false;
    QString m_phase;
    QString m_label;
    QElapsedTimer m_started;
    QElapsedTimer m_lastDrawn;
    int m_lastTenth = -1;
    bool m_shown = false;
    int m_value = 0;
    int m_total = 0;
    quint64 m_done = 0;
    quint64 m_work = 0;
    int m_drawnPermille = -1;
    int m_drawnValue = -1;
};
