#include "app/RKSingleInstance.h"

#include <QDataStream>
#include <QDir>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QUrl>

#include <unistd.h>

namespace {

// A request is the magic number, the mode, the path list and the activation
// token; the running instance answers one byte once it has taken them. An
// instance of an older version (magic "MKZ1", paths only) drops the request
// unanswered, so an explicit compress is never taken for an open by extension.
constexpr quint32 kRequestMagic = 0x4D4B5A32; // "MKZ2"
constexpr char kAcknowledge = 'K';
constexpr QDataStream::Version kStreamVersion = QDataStream::Qt_6_4;

QString lockFilePath(const QString& serverName)
{
    if (QDir::isAbsolutePath(serverName)) {
        return serverName + QStringLiteral(".lock");
    }
    return QDir(QDir::tempPath()).filePath(serverName + QStringLiteral(".lock"));
}

} // namespace

RKSingleInstance::RKSingleInstance(const QString& serverName, QObject* parent)
    : QObject(parent)
    , m_serverName(serverName)
{
}

RKSingleInstance::~RKSingleInstance() = default;

QString RKSingleInstance::defaultServerName()
{
    const QString name = QStringLiteral("mokuza-full-%1").arg(::getuid());
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && QFileInfo(runtime).isDir()) {
        return QDir(runtime).filePath(name + QStringLiteral(".socket"));
    }
    return name;
}

QStringList RKSingleInstance::absolutePaths(const QStringList& arguments,
                                            const QString& workingDirectory)
{
    const QDir base(workingDirectory);
    QStringList paths;
    for (const QString& argument : arguments) {
        if (argument.isEmpty()) {
            continue;
        }
        QString path = argument;
        if (argument.startsWith(QStringLiteral("file:"))) {
            const QUrl url(argument);
            if (url.isLocalFile()) {
                path = url.toLocalFile();
            }
        }
        paths.append(QDir::cleanPath(base.absoluteFilePath(path)));
    }
    return paths;
}

bool RKSingleInstance::isListening() const
{
    return m_server != nullptr && m_server->isListening();
}

RKSingleInstance::Role RKSingleInstance::start(const RKOpenRequest& request, int timeoutMs)
{
    // Two starts at the same moment must not both decide that nobody runs:
    // the look-up and the listen happen under one lock.
    QLockFile lock(lockFilePath(m_serverName));
    lock.setStaleLockTime(30000);
    const bool locked = lock.tryLock(timeoutMs);

    switch (handOff(request, timeoutMs)) {
    case HandOffResult::Confirmed:
        return Role::HandedOff;
    case HandOffResult::NoAnswer:
        return Role::NoAnswer;
    case HandOffResult::NoServer:
        break;
    }
    if (locked) {
        // Nobody answered: what is left of the socket belongs to a process
        // that ended without removing it.
        QLocalServer::removeServer(m_serverName);
    }
    listen();
    return Role::Primary;
}

RKSingleInstance::HandOffResult RKSingleInstance::handOff(const RKOpenRequest& request,
                                                          int timeoutMs)
{
    QLocalSocket socket;
    socket.connectToServer(m_serverName);
    if (!socket.waitForConnected(timeoutMs)) {
        return HandOffResult::NoServer;
    }
    QByteArray bytes;
    {
        QDataStream out(&bytes, QIODevice::WriteOnly);
        out.setVersion(kStreamVersion);
        out << kRequestMagic << static_cast<qint32>(request.mode) << request.paths << request.activationToken;
    }
    socket.write(bytes);
    while (socket.bytesToWrite() > 0) {
        if (!socket.waitForBytesWritten(timeoutMs)) {
            return HandOffResult::NoAnswer;
        }
    }
    while (socket.bytesAvailable() < 1) {
        if (!socket.waitForReadyRead(timeoutMs)) {
            return HandOffResult::NoAnswer;
        }
    }
    char answer = 0;
    socket.getChar(&answer);
    socket.disconnectFromServer();
    return answer == kAcknowledge ? HandOffResult::Confirmed : HandOffResult::NoAnswer;
}

bool RKSingleInstance::listen()
{
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(m_serverName)) {
        delete m_server;
        m_server = nullptr;
        return false;
    }
    connect(m_server, &QLocalServer::newConnection, this, &RKSingleInstance::acceptConnections);
    return true;
}

void RKSingleInstance::acceptConnections()
{
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { readRequest(socket); });
        if (socket->bytesAvailable() > 0) {
            readRequest(socket);
        }
    }
}

void RKSingleInstance::readRequest(QLocalSocket* socket)
{
    if (socket->bytesAvailable() >= 4) {
        QDataStream head(socket->peek(4));
        head.setVersion(kStreamVersion);
        quint32 magic = 0;
        head >> magic;
        if (magic != kRequestMagic) {
            // Not one of ours: drop the connection without an answer.
            socket->abort();
            socket->deleteLater();
            return;
        }
    }
    QDataStream in(socket);
    in.setVersion(kStreamVersion);
    in.startTransaction();
    quint32 magic = 0;
    qint32 mode = 0;
    RKOpenRequest request;
    in >> magic >> mode >> request.paths >> request.activationToken;
    if (!in.commitTransaction()) {
        return; // the rest of the request is still on its way
    }
    if (mode < qint32(RKOpenRequest::Mode::Open) || mode > qint32(RKOpenRequest::Mode::Extract)) {
        socket->abort();
        socket->deleteLater();
        return;
    }
    request.mode = static_cast<RKOpenRequest::Mode>(mode);
    socket->write(&kAcknowledge, 1);
    socket->flush();
    emit openRequested(request);
}
