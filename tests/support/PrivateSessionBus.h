#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

// A message bus of one test only (nothing can be started on demand, and
// nobody else is on it). Connections made with connect() are closed and the
// bus is stopped when the object goes.
class PrivateSessionBus
{
public:
    PrivateSessionBus();
    ~PrivateSessionBus();

    PrivateSessionBus(const PrivateSessionBus&) = delete;
    PrivateSessionBus& operator=(const PrivateSessionBus&) = delete;

    // Whether the bus runs; address() is empty otherwise.
    bool isRunning() const { return !m_address.isEmpty(); }
    QString address() const { return m_address; }

    // Opens a named connection to the bus (QDBusConnection(name) uses it).
    bool connect(const QString& name);

private:
    QTemporaryDir m_dir;
    QProcess m_daemon;
    QString m_address;
    QStringList m_connections;
};
