#pragma once

#include <QByteArray>
#include <QString>

// The computer's user-visible name: the pretty host name of the machine
// (PRETTY_HOSTNAME in /etc/machine-info), else the host name. Any thread.
class RKComputerName
{
public:
    // A null QString when the system has no name to give.
    static QString computerName();

    // The same decision from given sources, so it can be tested: the contents
    // of a machine-info file (null: none) and the host name.
    static QString computerName(const QByteArray& machineInfo, const QString& hostName);

    // PRETTY_HOSTNAME of a machine-info file (shell-style KEY=VALUE lines,
    // values optionally quoted); a null QString when it is absent or empty.
    static QString prettyHostName(const QByteArray& machineInfo);
};
