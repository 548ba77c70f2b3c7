#pragma once

#include "platform/RKNotifier.h"

#include <QString>
#include <QVariantList>

// Delivers notifications as org.freedesktop.Notifications.Notify calls:
// app_name "MOKUZA-FULL", summary = the title, body = the subtitle and the
// informative text on lines of their own. The call is sent without waiting
// for the answer, so a missing or hung notification service never holds up a
// job. Any thread.
class RKDBusNotifier : public RKNotifier
{
public:
    // connectionName: a connection made with QDBusConnection::connectToBus;
    // empty: the session bus.
    explicit RKDBusNotifier(const QString& connectionName = QString());

    void deliver(const QString& title, const QString& subtitle,
                 const QString& informativeText) override;

    // The arguments of the Notify call for one notification, in order.
    static QVariantList notifyArguments(const QString& title, const QString& subtitle,
                                        const QString& informativeText);

private:
    QString m_connectionName;
};
