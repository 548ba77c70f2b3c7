#include "support/PrivateSessionBus.h"

#include "support/TestEnvironment.h"

#include <QDBusConnection>

#include <csignal>
#include <sys/prctl.h>

PrivateSessionBus::PrivateSessionBus()
{
    const QString config = m_dir.filePath(QStringLiteral("bus.conf"));
    TestEnvironment::writeFile(
        config, "<busconfig><type>session</type><listen>unix:tmpdir=" + m_dir.path().toUtf8()
                    + "</listen><policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
                      "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n");
    // A test that dies must not leave its bus behind (holding whatever the
    // test inherited, such as the build lock).
    m_daemon.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
    m_daemon.start(QStringLiteral("dbus-daemon"), {QStringLiteral("--config-file=") + config,
                                                   QStringLiteral("--nofork"),
                                                   QStringLiteral("--print-address=1")});
    if (m_daemon.waitForStarted() && m_daemon.waitForReadyRead(10000)) {
        m_address = QString::fromUtf8(m_daemon.readLine().trimmed());
    }
}

PrivateSessionBus::~PrivateSessionBus()
{
    for (const QString& name : m_connections) {
        QDBusConnection::disconnectFromBus(name);
    }
    m_daemon.kill();
    m_daemon.waitForFinished();
}

bool PrivateSessionBus::connect(const QString& name)
{
    if (!isRunning()) {
        return false;
    }
    m_connections.append(name);
    return QDBusConnection::connectToBus(m_address, name).isConnected();
}
