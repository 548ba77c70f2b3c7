#pragma once

#include <QString>

// Posts a desktop notification at the end of an archive or extraction.
// Delivery is best effort: when no notification service answers, the job goes
// on silently. May be called from any thread.
class RKNotifier
{
public:
    virtual ~RKNotifier() = default;

    // showItemPath: what the notification's 「フォルダを開く」 action shows in
    // the file manager (the archive written, the folder extracted into);
    // empty: no action.
    virtual void deliver(const QString& title, const QString& subtitle,
                         const QString& informativeText, const QString& showItemPath) = 0;

    // The installed notifier; by default the freedesktop D-Bus notifier.
    static RKNotifier* current();
    // Installs a notifier (not owned); nullptr restores the default.
    static void setCurrent(RKNotifier* notifier);
};
