#include "platform/RKDBusNotifier.h"

#include "platform/RKAppInfo.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QStringList>
#include <QVariantMap>

namespace {

const QString kService = QStringLiteral("org.freedesktop.Notifications");
const QString kPath = QStringLiteral("/org/freedesktop/Notifications");
const QString kInterface = QStringLiteral("org.freedesktop.Notifications");

} // namespace

RKDBusNotifier::RKDBusNotifier(const QString& connectionName)
    : m_connectionName(connectionName)
{
}

QVariantList RKDBusNotifier::notifyArguments(const QString& title, const QString& subtitle,
                                             const QString& informativeText)
{
    QStringList lines;
    for (const QString& line : {subtitle, informativeText}) {
        if (!line.isEmpty()) {
            lines.append(line);
        }
    }
    // Most servers read the body as simple markup; a path holding "&" or "<"
    // would otherwise make them drop the text.
    const QString body = lines.join(QLatin1Char('\n')).toHtmlEscaped();

    QVariantMap hints;
    hints.insert(QStringLiteral("desktop-entry"), QStringLiteral("mokuza-full"));
    return {
        RKAppInfo::applicationTitle(), // app_name
        uint(0),                       // replaces_id: always a new notification
        QString(QLatin1String("")),    // app_icon
        title,                         // summary
        body,                          // body
        QStringList(),                 // actions
        hints,                         // hints
        int(-1),                       // expire_timeout: the server's default
    };
}

void RKDBusNotifier::deliver(const QString& title, const QString& subtitle,
                             const QString& informativeText)
{
    const QDBusConnection connection = m_connectionName.isEmpty()
        ? QDBusConnection::sessionBus()
        : QDBusConnection(m_connectionName);
    if (!connection.isConnected()) {
        return;
    }
    QDBusMessage message =
        QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("Notify"));
    message.setArguments(notifyArguments(title, subtitle, informativeText));
    // Fire and forget: the answer (an id, or an error when no server is
    // there) is of no use to a job, and waiting for it could stall the caller.
    connection.send(message);
}
