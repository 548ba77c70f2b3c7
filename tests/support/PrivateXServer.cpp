#include "support/PrivateXServer.h"

#include "support/TestEnvironment.h"

#include <QDeadlineTimer>

PrivateXServer::PrivateXServer()
{
    m_server.start(QStringLiteral("Xvfb"), {"-displayfd", "1", "-screen", "0", "1024x768x24", "-noreset", "-nolisten", "tcp"});
    QByteArray reported;
    const QDeadlineTimer deadline(20000);
    while (m_server.waitForStarted(10000) && !reported.contains('\n')
           && m_server.waitForReadyRead(int(deadline.remainingTime()))) {
        reported += m_server.readAllStandardOutput();
    }
    bool ok = false;
    const int number = reported.trimmed().toInt(&ok);
    if (ok) {
        m_display = ":" + QByteArray::number(number);
    } else {
        m_error = "Xvfb cannot run: " + m_server.readAllStandardError().toStdString();
    }
}

PrivateXServer::~PrivateXServer()
{
    m_server.terminate();
    if (!m_server.waitForFinished(10000)) {
        m_server.kill();
        m_server.waitForFinished(10000);
    }
}

int PrivateXServer::runClient(const QString& program, const QStringList& arguments) const
{
    return TestEnvironment::run(QStringLiteral("env"),
                                QStringList{"DISPLAY=" + QString::fromLatin1(m_display), program} + arguments,
                                QString(), 30000)
        .exitCode;
}
