#pragma once

#include "shortcut/SRHotKeyProbe.h"

#include <QString>

// Plasma's global shortcuts (KWin's, Plasma's, every application's that
// registered one), asked of the desktop's global-shortcut service on the
// session bus as KDE's own key-sequence editor asks it: org.kde.kglobalaccel,
// /kglobalaccel, org.kde.KGlobalAccel.globalShortcutsByKey, or
// getGlobalShortcutsByKey on releases before it. The combination is asked as
// the Qt key the layout gives the key, with Qt's modifiers.
class SRKGlobalAccelProbe : public SRHotKeyProbe
{
public:
    // connectionName: a connection made with QDBusConnection::connectToBus;
    // empty means the session bus.
    explicit SRKGlobalAccelProbe(const QString& connectionName = QString());

    // Whether the service runs (it is not started on demand).
    bool canProbe() override;
    bool isTaken(qint64 keyCode, quint32 carbonFlags) override;

    // The key combination as Qt codes it (key | modifiers), 0 when the key
    // has no Qt key in the current layout.
    static int qtKeyCombination(qint64 keyCode, quint32 carbonFlags);

private:
    QString m_connectionName;
};
