#include "platform/RKDBusNotifier.h"

#include "platform/RKAppInfo.h"
#include "platform/RKFileManager.h"
#include "platform/RKMainThreadQueue.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QStringList>
#include <QVariantMap>

namespace {

const QString kService = QStringLiteral("org.freedesktop.Notifications");
const QString kPath = QStringLiteral("/org/freedesktop/Notifications");
const QString kInterface = QStringLiteral("org.freedesktop.Notifications");
const QString kShowItemAction = QStringLiteral("show-folder");
const QString kDefaultAction = QStringLiteral("default");

QDBusConnection connectionNamed(const QString& name)
{
    return name.isEmpty() ? QDBusConnection::sessionBus() : QDBusConnection(name);
}

QDBusMessage notifyCall(const QVariantList& arguments)
{
    QDBusMessage message =
        QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("Notify"));
    message.setArguments(arguments);
    return message;
}

} // namespace

RKDBusNotifier::RKDBusNotifier(const QString& connectionName)
    : m_connectionName(connectionName)
{
}

RKDBusNotifier::~RKDBusNotifier() = default;

QVariantList RKDBusNotifier::notifyArguments(const QString& title, const QString& subtitle,
                                             const QString& informativeText,
                                             const QStringList& actions)
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
        actions,                       // actions
        hints,                         // hints
        int(-1),                       // expire_timeout: the server's default
    };
}

QStringList RKDBusNotifier::showItemActions()
{
    return {kDefaultAction, QStringLiteral("フォルダを開く"), kShowItemAction,
            QStringLiteral("フォルダを開く")};
}

void RKDBusNotifier::deliver(const QString& title, const QString& subtitle,
                             const QString& informativeText, const QString& showItemPath)
{
    const QVariantList plain = notifyArguments(title, subtitle, informativeText);
    if (m_offerActions.load() && !showItemPath.isEmpty()) {
        const QVariantList withAction =
            notifyArguments(title, subtitle, informativeText, showItemActions());
        m_mainThread->post([this, withAction, plain, showItemPath] {
            deliverWithAction(withAction, plain, showItemPath);
        });
        return;
    }
    const QDBusConnection connection = connectionNamed(m_connectionName);
    if (!connection.isConnected()) {
        return;
    }
    // Fire and forget: the answer (an id, or an error when no server is
    // there) is of no use to a job, and waiting for it could stall the caller.
    connection.send(notifyCall(plain));
}

void RKDBusNotifier::offerShowItemAction()
{
    if (m_offerActions.load()) {
        return;
    }
    m_mainThread = new RKMainThreadQueue(this);
    QDBusConnection connection = connectionNamed(m_connectionName);
    connection.connect(kService, kPath, kInterface, QStringLiteral("ActionInvoked"), this,
                       SLOT(actionInvoked(uint, QString)));
    connection.connect(kService, kPath, kInterface, QStringLiteral("ActivationToken"), this,
                       SLOT(activationToken(uint, QString)));
    connection.connect(kService, kPath, kInterface, QStringLiteral("NotificationClosed"), this,
                       SLOT(notificationClosed(uint, uint)));
    m_offerActions = true;
}

void RKDBusNotifier::askCapabilities()
{
    m_actions = Actions::Asking;
    const QDBusMessage call = QDBusMessage::createMethodCall(
        kService, kPath, kInterface, QStringLiteral("GetCapabilities"));
    auto* watcher =
        new QDBusPendingCallWatcher(connectionNamed(m_connectionName).asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        const QDBusPendingReply<QStringList> reply = *watcher;
        watcher->deleteLater();
        // No answer (no server yet): ask again with the next notification.
        m_actions = reply.isError() ? Actions::Unknown
            : reply.value().contains(QStringLiteral("actions")) ? Actions::Offered
                                                                : Actions::NotOffered;
        const QList<std::function<void()>> waiting = std::exchange(m_waitingForCapabilities, {});
        for (const auto& deliverNow : waiting) {
            deliverNow();
        }
    });
}

void RKDBusNotifier::deliverWithAction(const QVariantList& withAction, const QVariantList& without,
                                       const QString& showItemPath)
{
    const QDBusConnection connection = connectionNamed(m_connectionName);
    if (!connection.isConnected()) {
        return;
    }
    if (m_actions == Actions::Unknown || m_actions == Actions::Asking) {
        m_waitingForCapabilities.append([this, withAction, without, showItemPath] {
            if (m_actions == Actions::Offered) {
                deliverWithAction(withAction, without, showItemPath);
            } else {
                connectionNamed(m_connectionName).send(notifyCall(without));
            }
        });
        if (m_actions == Actions::Unknown) {
            askCapabilities();
        }
        return;
    }
    if (m_actions == Actions::NotOffered) {
        connection.send(notifyCall(without));
        return;
    }
    // The id in the answer is what an invoked action names.
    auto* watcher = new QDBusPendingCallWatcher(connection.asyncCall(notifyCall(withAction)), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, showItemPath] {
        const QDBusPendingReply<uint> reply = *watcher;
        watcher->deleteLater();
        if (!reply.isError()) {
            m_itemOfNotification.insert(reply.value(), showItemPath);
        }
    });
}

void RKDBusNotifier::activationToken(uint id, const QString& token)
{
    // Sent just before ActionInvoked: the token lets the file manager's
    // window come to the front on Wayland.
    if (m_itemOfNotification.contains(id)) {
        m_tokenOfNotification.insert(id, token);
    }
}

void RKDBusNotifier::actionInvoked(uint id, const QString& actionKey)
{
    if (actionKey != kShowItemAction && actionKey != kDefaultAction) {
        return;
    }
    const auto item = m_itemOfNotification.constFind(id);
    if (item == m_itemOfNotification.cend()) {
        return; // another application's notification
    }
    RKFileManager::current()->showItem(*item, m_tokenOfNotification.value(id));
}

void RKDBusNotifier::notificationClosed(uint id, uint)
{
    m_itemOfNotification.remove(id);
    m_tokenOfNotification.remove(id);
}
