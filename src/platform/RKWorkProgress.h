#pragma once

#include <QList>
#include <QString>

#include <vector>

// How far a run of items is, in bytes: each item weighs its size plus a
// fixed cost, so that a large file moves the share as its bytes go and a
// folder of empty files still moves. Counted once before the run; read by
// one thread at a time.
class RKWorkProgress
{
public:
    // What an item costs besides its data (a header, a name, a file made).
    static constexpr quint64 kItemWeight = 4096;

    // The items' sizes in the order they are worked on.
    void reset(const QList<quint64>& sizes);
    void clear() { m_starts.clear(); }
    // False until reset with the items (then the shares are of items).
    bool known() const { return !m_starts.empty(); }
    qsizetype count() const { return m_starts.empty() ? 0 : qsizetype(m_starts.size()) - 1; }
    quint64 total() const { return m_starts.empty() ? 0 : m_starts.back(); }
    // The work done when item index starts; with bytes of it done.
    quint64 doneAt(qsizetype index, quint64 bytes = 0) const;

    // done of total as 0..1; a run with nothing to do is complete.
    static double share(quint64 done, quint64 total);
    // The seconds left at the pace so far; -1 while that is not known (in
    // the first second, or before anything was done).
    static qint64 secondsLeft(quint64 done, quint64 total, qint64 elapsedMs);
    // "1:05", "1:02:03"
    static QString duration(qint64 seconds);

private:
    std::vector<quint64> m_starts; // the work before each item, then the total
};
