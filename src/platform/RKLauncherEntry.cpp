#include "platform/RKLauncherEntry.h"

#include <QDBusConnection>
#include <QDBusMessage>

#include <algorithm>

namespace {

const QString kPath = QStringLiteral("/jp/mokuza/MOKUZA_FULL/LauncherEntry");
const QString kInterface = QStringLiteral("com.canonical.Unity.LauncherEntry");

} // namespace

RKLauncherEntry::RKLauncherEntry(const QString& connectionName)
    : m_connectionName(connectionName)
{
}

RKLauncherEntry::~RKLauncherEntry()
{
    if (m_count > 0) {
        jobEnded();
    }
}

QString RKLauncherEntry::appUri()
{
    return QStringLiteral("application://mokuza-full.desktop");
}

QVariantMap RKLauncherEntry::properties(qsizetype index, qsizetype count, double share)
{
    const bool visible = count > 0;
    const double done = visible ? (double(index) + std::clamp(share, 0.0, 1.0)) / double(count) : 0.0;
    return {
        {QStringLiteral("progress"), std::clamp(done, 0.0, 1.0)},
        {QStringLiteral("progress-visible"), visible},
        {QStringLiteral("count"), qint64(visible ? count - index : 0)},
        {QStringLiteral("count-visible"), visible},
    };
}

void RKLauncherEntry::archiveStarting(qsizetype index, qsizetype count)
{
    m_index = index;
    m_count = count;
    m_share = 0.0;
    publish();
}

void RKLauncherEntry::archiveProgress(double share)
{
    if (m_count < 1) {
        return; // a run outside a job
    }
    m_share = share;
    publish();
}

void RKLauncherEntry::jobEnded()
{
    m_index = 0;
    m_count = 0;
    m_share = 0.0;
    publish();
}

void RKLauncherEntry::publish()
{
    const QVariantMap shown = properties(m_index, m_count, m_share);
    const int permille = int(shown.value(QStringLiteral("progress")).toDouble() * 1000.0);
    const qsizetype left = shown.value(QStringLiteral("count")).toLongLong();
    if (permille == m_sentPermille && left == m_sentLeft) {
        return;
    }
    const QDBusConnection connection = m_connectionName.isEmpty()
        ? QDBusConnection::sessionBus()
        : QDBusConnection(m_connectionName);
    if (!connection.isConnected()) {
        return;
    }
    m_sentPermille = permille;
    m_sentLeft = left;
    QDBusMessage update = QDBusMessage::createSignal(kPath, kInterface, QStringLiteral("Update"));
    update.setArguments({appUri(), shown});
    connection.send(update);
}
