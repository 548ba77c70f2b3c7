#include "platform/RKFileManager.h"

#include "platform/RKXdgOpen.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QFileInfo>
#include <QUrl>

#include <atomic>

namespace {

std::atomic<RKFileManager*> g_fileManager{nullptr};

} // namespace

RKFileManager::RKFileManager(const QString& connectionName)
    : m_connectionName(connectionName)
{
}

QString RKFileManager::folderToOpen(const QString& path)
{
    const QFileInfo info(path);
    return info.isDir() ? info.absoluteFilePath() : info.absolutePath();
}

void RKFileManager::showItem(const QString& path, const QString& startupId)
{
    const QString folder = folderToOpen(path);
    const QDBusConnection connection = m_connectionName.isEmpty()
        ? QDBusConnection::sessionBus()
        : QDBusConnection(m_connectionName);
    if (!connection.isConnected()) {
        RKXdgOpen::open(folder);
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call.setArguments({QStringList{QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded)}, startupId});
    // A file manager that is installed but not running is started by the bus
    // for the call; only an error answer (nobody provides the service) sends
    // the folder to xdg-open.
    auto* watcher = new QDBusPendingCallWatcher(connection.asyncCall(call));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [watcher, folder] {
                         if (watcher->isError()) {
                             RKXdgOpen::open(folder);
                         }
                         watcher->deleteLater();
                     });
}

RKFileManager* RKFileManager::current()
{
    if (RKFileManager* fileManager = g_fileManager.load()) {
        return fileManager;
    }
    static RKFileManager sessionBusFileManager;
    return &sessionBusFileManager;
}

void RKFileManager::setCurrent(RKFileManager* fileManager)
{
    g_fileManager.store(fileManager);
}
