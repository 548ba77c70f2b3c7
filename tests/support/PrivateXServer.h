#pragma once

#include <QByteArray>
#include <QProcess>

#include <string>

// An Xvfb server of the test's own. -displayfd lets the server pick a free
// display and report it once it accepts connections, so no display number is
// guessed. -noreset keeps it alive between the test's clients.
class PrivateXServer
{
public:
    PrivateXServer();
    ~PrivateXServer();

    PrivateXServer(const PrivateXServer&) = delete;
    PrivateXServer& operator=(const PrivateXServer&) = delete;

    // ":N", or empty when the server did not start.
    QByteArray display() const { return m_display; }
    // Why it did not start.
    std::string error() const { return m_error; }

    // Runs an X client program against this server; its exit code (-1 when
    // it could not run).
    int runClient(const QString& program, const QStringList& arguments) const;

private:
    QProcess m_server;
    QByteArray m_display;
    std::string m_error;
};
