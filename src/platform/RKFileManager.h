#pragma once

#include <QString>
#include <QStringList>

// Shows a result in the user's file manager: the file manager's
// org.freedesktop.FileManager1.ShowItems call with the item selected in its
// folder; where no file manager answers it on the session bus, xdg-open of
// the folder (the item's folder for a file, the folder itself for a folder).
// Returns at once; the answer of the bus is awaited on the main thread.
class RKFileManager
{
public:
    // connectionName: a connection made with QDBusConnection::connectToBus;
    // empty: the session bus.
    explicit RKFileManager(const QString& connectionName = QString());

    // startupId: an activation token (or X11 startup id) that lets the file
    // manager's window come to the front; may be empty. Main thread.
    void showItem(const QString& path, const QString& startupId = QString());

    // The folder xdg-open is given for path.
    static QString folderToOpen(const QString& path);

    // The installed file manager; by default the session bus's.
    static RKFileManager* current();
    // Installs one (not owned); nullptr restores the default.
    static void setCurrent(RKFileManager* fileManager);

private:
    QString m_connectionName;
};
