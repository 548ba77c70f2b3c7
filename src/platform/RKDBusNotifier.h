#pragma once

#include "platform/RKNotifier.h"

// Delivers notifications as org.freedesktop.Notifications.Notify calls on the
// session bus. When no notification service answers, nothing happens.
class RKDBusNotifier : public RKNotifier
{
public:
    void deliver(const QString& title, const QString& subtitle,
                 const QString& informativeText) override;
};
