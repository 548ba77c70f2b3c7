#pragma once

#include "app/RKOpenRequest.h"

#include <QObject>
#include <QString>
#include <QStringList>

class QLocalServer;
class QLocalSocket;

// One running application per user. The first start listens on a local
// socket; a later start hands its request (the paths, and whether they are
// to be opened, compressed or extracted) to it and ends, so that opening
// items with the application always reaches the instance that is already
// running.
// Main thread.
class RKSingleInstance : public QObject
{
    Q_OBJECT

public:
    enum class Role {
        // No other instance answered: this process is the running instance
        // (listening, unless the socket could not be made).
        Primary,
        // The paths were handed to the running instance, which confirmed them.
        HandedOff,
        // Another instance took the connection but never confirmed the paths.
        NoAnswer,
    };

    explicit RKSingleInstance(const QString& serverName = defaultServerName(),
                              QObject* parent = nullptr);
    ~RKSingleInstance() override;

    // Hands the request (paths and the launcher's activation token) to a
    // running instance, or becomes the running instance. Waits at most
    // timeoutMs for a running instance to answer.
    Role start(const RKOpenRequest& request, int timeoutMs = 10000);

    bool isListening() const;
    QString serverName() const { return m_serverName; }

    // The per-user socket: in XDG_RUNTIME_DIR when there is one, else a name
    // in the temporary folder; both carry the user id.
    static QString defaultServerName();

    // Command-line arguments as absolute, cleaned paths: relative ones are
    // resolved against workingDirectory, file: URLs become local paths, empty
    // arguments are dropped.
    static QStringList absolutePaths(const QStringList& arguments,
                                     const QString& workingDirectory);

signals:
    // A request handed over by a later start (possibly an open request
    // without paths: the user started the application again without items),
    // with its activation token (possibly empty).
    void openRequested(const RKOpenRequest& request);

private:
    enum class HandOffResult { NoServer, Confirmed, NoAnswer };

    HandOffResult handOff(const RKOpenRequest& request, int timeoutMs);
    bool listen();
    void acceptConnections();
    void readRequest(QLocalSocket* socket);

    QString m_serverName;
    QLocalServer* m_server = nullptr;
};
