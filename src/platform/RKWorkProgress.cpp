#include "platform/RKWorkProgress.h"

void RKWorkProgress::reset(const QList<quint64>& sizes)
{
    m_starts.assign(1, 0);
    m_starts.reserve(size_t(sizes.size()) + 1);
    for (const quint64 size : sizes) {
        m_starts.push_back(m_starts.back() + size + kItemWeight);
    }
}

quint64 RKWorkProgress::doneAt(qsizetype index, quint64 bytes) const
{
    if (m_starts.empty() || index < 0) {
        return 0;
    }
    if (size_t(index) + 1 >= m_starts.size()) {
        return total();
    }
    const quint64 start = m_starts[size_t(index)];
    const quint64 data = m_starts[size_t(index) + 1] - start - kItemWeight;
    return start + qMin(bytes, data);
}

double RKWorkProgress::share(quint64 done, quint64 total)
{
    return total == 0 ? 1.0 : qBound(0.0, double(done) / double(total), 1.0);
}

qint64 RKWorkProgress::secondsLeft(quint64 done, quint64 total, qint64 elapsedMs)
{
    if (elapsedMs < 1000 || done == 0 || done >= total) {
        return done >= total && total > 0 ? 0 : -1;
    }
    return qint64(double(total - done) * double(elapsedMs) / double(done) / 1000.0 + 0.5);
}

QString RKWorkProgress::duration(qint64 seconds)
{
    const qint64 h = seconds / 3600;
    const qint64 m = seconds / 60 % 60;
    const qint64 s = seconds % 60;
    return h > 0 ? QString::asprintf("%lld:%02lld:%02lld", h, m, s)
                 : QString::asprintf("%lld:%02lld", m, s);
}
