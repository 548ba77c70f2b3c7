#include "platform/RKComputerName.h"

#include <QFile>
#include <QList>
#include <QSysInfo>

namespace {

// One value of an environment-style file: quotes are removed, and inside
// double quotes (or outside any) a backslash takes the next character as is.
QString unquote(const QByteArray& raw)
{
    QByteArray value;
    char quote = 0;
    for (qsizetype i = 0; i < raw.size(); ++i) {
        const char c = raw[i];
        if (quote == 0 && (c == '"' || c == '\'')) {
            quote = c;
        } else if (quote != 0 && c == quote) {
            quote = 0;
        } else if (c == '\\' && quote != '\'' && i + 1 < raw.size()) {
            value.append(raw[++i]);
        } else {
            value.append(c);
        }
    }
    return QString::fromUtf8(value);
}

} // namespace

QString RKComputerName::computerName()
{
    QFile file(QStringLiteral("/etc/machine-info"));
    QByteArray machineInfo;
    if (file.open(QIODevice::ReadOnly)) {
        machineInfo = file.readAll();
    }
    return computerName(machineInfo, QSysInfo::machineHostName());
}

QString RKComputerName::computerName(const QByteArray& machineInfo, const QString& hostName)
{
    const QString pretty = prettyHostName(machineInfo);
    if (!pretty.isEmpty()) {
        return pretty;
    }
    if (hostName.isEmpty()) {
        return QString();
    }
    return hostName;
}

QString RKComputerName::prettyHostName(const QByteArray& machineInfo)
{
    const QByteArray key("PRETTY_HOSTNAME=");
    QString found;
    // The last assignment wins, as when the file is sourced by a shell.
    for (const QByteArray& rawLine : machineInfo.split('\n')) {
        const QByteArray line = rawLine.trimmed();
        if (line.startsWith(key)) {
            found = unquote(line.mid(key.size()));
        }
    }
    if (found.isEmpty()) {
        return QString();
    }
    return found;
}
