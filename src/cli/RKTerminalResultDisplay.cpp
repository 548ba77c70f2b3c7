#include "cli/RKTerminalResultDisplay.h"

#include "cli/RKCommandLineHost.h"
#include "cli/RKTerminal.h"

#include <cerrno>

RKTerminalResultDisplay::RKTerminalResultDisplay(const RKCommandLineHost& host, bool showPassword)
    : m_host(host)
    , m_showPassword(showPassword)
{
}

void RKTerminalResultDisplay::showResults(QObject*, const QList<RKProcessResultInfo>& results)
{
    m_shown = true;
    for (const RKProcessResultInfo& result : results) {
        m_hasErrors = m_hasErrors || result.hasErrors();
    }
    RKTerminal::writeOutput(format(results, m_host.endings(), m_showPassword));
}

QString RKTerminalResultDisplay::format(const QList<RKProcessResultInfo>& results,
                                        const QList<int>& endings, bool showPassword)
{
    QString text;
    for (qsizetype i = 0; i < results.size(); ++i) {
        const RKProcessResultInfo& result = results[i];
        const int ending = endings.value(i, -2);
        text += result.title + QLatin1Char('\n');
        text += QStringLiteral("  ") + tr("destination: %1").arg(result.destPath.stringValue)
            + QLatin1Char('\n');
        if (result.password.leftEmpty()) {
            text += QStringLiteral("  ") + tr("password: none (it was empty), not encrypted")
                + QLatin1Char('\n');
        } else if (!result.password.stringValue.isNull()) {
            // Masked with a fixed length: the mask says nothing of the password.
            text += QStringLiteral("  ")
                + tr("password: %1")
                      .arg(showPassword ? result.password.stringValue : QStringLiteral("********"))
                + QLatin1Char('\n');
        }
        if (!result.verify.crc.isNull()) {
            text += QStringLiteral("  CRC: ") + result.verify.crc + QLatin1Char('\n');
        }
        const QString status = ending == -2 ? tr("not started")
            : ending == -1                  ? tr("cancelled")
            : result.hasErrors()            ? tr("done with errors")
                                            : tr("done");
        text += QStringLiteral("  ") + tr("status: %1").arg(status) + QLatin1Char('\n');
        if (result.hasErrors()) {
            text += QStringLiteral("  ") + tr("errors (%1):").arg(result.errors.items.size())
                + QLatin1Char('\n');
            for (const RQError& error : result.errors.items) {
                QString message = error.localizedDescription();
                if (error.systemError() != 0) {
                    message = tr("%1 (%2)").arg(message, systemReason(error.systemError()));
                }
                text += QStringLiteral("    [%1] %2: %3\n")
                            .arg(error.code())
                            .arg(error.localizedRecoverySuggestion(), message);
            }
        }
    }
    return text;
}

QString RKTerminalResultDisplay::systemReason(int errnum)
{
    switch (errnum) {
    case 0:
        return QString();
    case EPERM:
        return tr("Operation not permitted");
    case ENOENT:
        return tr("No such file or directory");
    case EIO:
        return tr("Input/output error");
    case ENXIO:
        return tr("No such device or address");
    case ENOMEM:
        return tr("Cannot allocate memory");
    case EACCES:
        return tr("Permission denied");
    case EBUSY:
        return tr("Device or resource busy");
    case EEXIST:
        return tr("File exists");
    case EXDEV:
        return tr("Invalid cross-device link");
    case ENODEV:
        return tr("No such device");
    case ENOTDIR:
        return tr("Not a directory");
    case EISDIR:
        return tr("Is a directory");
    case EINVAL:
        return tr("Invalid argument");
    case ENFILE:
        return tr("Too many open files in system");
    case EMFILE:
        return tr("Too many open files");
    case ETXTBSY:
        return tr("Text file busy");
    case EFBIG:
        return tr("File too large");
    case ENOSPC:
        return tr("No space left on device");
    case EROFS:
        return tr("Read-only file system");
    case EMLINK:
        return tr("Too many links");
    case ENAMETOOLONG:
        return tr("File name too long");
    case ENOTEMPTY:
        return tr("Directory not empty");
    case ELOOP:
        return tr("Too many levels of symbolic links");
    case EOPNOTSUPP:
        return tr("Operation not supported");
    case ESTALE:
        return tr("Stale file handle");
    case EDQUOT:
        return tr("Disk quota exceeded");
    default:
        return tr("system error %1").arg(errnum);
    }
}
