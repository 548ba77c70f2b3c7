#pragma once

#include "platform/RKNotifier.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantList>

#include <atomic>
#include <functional>

class RKMainThreadQueue;

// Delivers notifications as org.freedesktop.Notifications.Notify calls:
// app_name "MOKUZA-FULL", summary = the title, body = the subtitle and the
// informative text on lines of their own. The call is sent without waiting
// for the answer, so a missing or hung notification service never holds up a
// job. Any thread.
//
// Once offerShowItemAction() was called, a notification with an item to show
// carries the action 「フォルダを開く」 where the server has the "actions"
// capability; when the user picks it, RKFileManager shows the item.
class RKDBusNotifier : public QObject, public RKNotifier
{
    Q_OBJECT

public:
    // connectionName: a connection made with QDBusConnection::connectToBus;
    // empty: the session bus.
    explicit RKDBusNotifier(const QString& connectionName = QString());
    ~RKDBusNotifier() override;

    void deliver(const QString& title, const QString& subtitle, const QString& informativeText,
                 const QString& showItemPath) override;

    // Call on the main thread, which then talks to the server about actions
    // (its capabilities, the ids of the notifications, the action picked).
    // Not for a process that ends right after its job: nobody would be left
    // to answer the action.
    void offerShowItemAction();

    // The arguments of the Notify call for one notification, in order.
    static QVariantList notifyArguments(const QString& title, const QString& subtitle,
                                        const QString& informativeText,
                                        const QStringList& actions = {});
    // The action list of a notification that can show its item: the default
    // action (a click on the notification) and the button, both one action.
    static QStringList showItemActions();

private slots:
    void actionInvoked(uint id, const QString& actionKey);
    void activationToken(uint id, const QString& token);
    void notificationClosed(uint id, uint reason);

private:
    enum class Actions { Unknown, Asking, Offered, NotOffered };

    // Main thread.
    void deliverWithAction(const QVariantList& withAction, const QVariantList& without,
                           const QString& showItemPath);
    void askCapabilities();

    QString m_connectionName;
    std::atomic<bool> m_offerActions{false};
    RKMainThreadQueue* m_mainThread = nullptr;
    // Main thread only, below.
    Actions m_actions = Actions::Unknown;
    QList<std::function<void()>> m_waitingForCapabilities;
    QHash<uint, QString> m_itemOfNotification;
    QHash<uint, QString> m_tokenOfNotification;
};
