#include "support/FakeFileManager.h"

#include <QDBusConnection>

bool FakeFileManager::serveOn(const QString& connectionName)
{
    QDBusConnection connection(connectionName);
    return connection.registerObject(QStringLiteral("/org/freedesktop/FileManager1"), this,
                                     QDBusConnection::ExportAllSlots)
        && connection.registerService(QStringLiteral("org.freedesktop.FileManager1"));
}

void FakeFileManager::ShowItems(const QStringList& uris, const QString& startupId)
{
    calls.append({uris, startupId});
}
