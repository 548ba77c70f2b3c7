#include "cli/RKTerminalResultDisplay.h"

#include "cli/RKCommandLineHost.h"
#include "cli/RKTerminal.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>

namespace {

QString statusWord(int ending, const RKProcessResultInfo& result)
{
    return ending == -2 ? QStringLiteral("not-started")
        : ending == -1  ? QStringLiteral("cancelled")
        : result.hasErrors() ? QStringLiteral("errors")
                             : QStringLiteral("done");
}

// The messages of the windows are Japanese; elsewhere these say the same.
QString englishDescription(const RQError& error)
{
    switch (error.family()) {
    case RQError::Family::Archiver:
        switch (error.code()) {
        case 1: return QStringLiteral("The item was not found.");
        case 2: return QStringLiteral("Adding the file to the archive failed.");
        case 4: return QStringLiteral("The name has no form in the archive's encoding, so it was stored as \"-\".");
        case 5: return QStringLiteral("The written archive failed its check; it may be damaged.");
        case 6: return QStringLiteral("Characters the archive's encoding lacks were stored as \"_\".");
        case 7: return QStringLiteral("An item of the same name is in the archive, so the name was numbered.");
        case 8: return QStringLiteral("The item could not be read.");
        case 9: return QStringLiteral("Items that are neither files nor folders (pipes, sockets, devices) cannot be stored.");
        case 10: return QStringLiteral("The link's target does not exist.");
        case 11: return QStringLiteral("The archive could not be written.");
        case 12: return QStringLiteral("Nothing could be stored, so no archive was made.");
        case 200: return QStringLiteral("The archive is larger than 4 GB; it may be damaged.");
        case 999: return QStringLiteral("Unknown error.");
        }
        break;
    case RQError::Family::UnArchiver:
        switch (error.code()) {
        case 1: return QStringLiteral("The item was not found.");
        case 2: return QStringLiteral("The archive could not be opened: it is damaged, or check the password and the encoding.");
        case 3: return QStringLiteral("The entry could not be extracted.");
        case 4: return QStringLiteral("The entry count recorded in the archive differs from its entries; it may be damaged.");
        case 5: return QStringLiteral("An item of the same name is in the archive, so it was extracted under a numbered name.");
        case 6: return QStringLiteral("The link was not made: its target is outside the destination folder.");
        case 7: return QStringLiteral("The password is wrong.");
        case 999: return QStringLiteral("Unknown error.");
        }
        break;
    case RQError::Family::FileCopy:
        switch (error.code()) {
        case 1: return QStringLiteral("The destination folder could not be made.");
        case 2: return QStringLiteral("Moving the extracted item failed.");
        }
        break;
    }
    return QStringLiteral("The operation could not be completed (%1 error %2).")
        .arg(error.domain())
        .arg(error.code());
}

} // namespace

RKTerminalResultDisplay::RKTerminalResultDisplay(const RKCommandLineHost& host,
                                                 const Output& output)
    : m_host(host)
    , m_output(output)
{
}

void RKTerminalResultDisplay::showResults(QObject*, const QList<RKProcessResultInfo>& results)
{
    m_shown = true;
    for (const RKProcessResultInfo& result : results) {
        m_hasErrors = m_hasErrors || result.hasErrors();
    }
    m_results = results;
    m_endings = m_host.endings();
}

QStringList RKTerminalResultDisplay::destinations() const
{
    QStringList paths;
    for (const RKProcessResultInfo& result : m_results) {
        paths.append(result.destPath.stringValue);
    }
    return paths;
}

void RKTerminalResultDisplay::print(const QHash<QString, QString>& moved) const
{
    QList<RKProcessResultInfo> results = m_results;
    for (RKProcessResultInfo& result : results) {
        result.destPath.stringValue = moved.value(result.destPath.stringValue,
                                                  result.destPath.stringValue);
    }
    RKTerminal::writeError(formatErrors(results));
    if (m_output.quiet && !m_output.json) {
        return;
    }
    const QString records = m_output.json
        ? formatJson(results, m_endings, m_output.showPassword)
        : format(results, m_endings, m_output.showPassword);
    if (m_output.recordsToError) {
        RKTerminal::writeError(records);
    } else {
        RKTerminal::writeOutput(records);
    }
}

QString RKTerminalResultDisplay::format(const QList<RKProcessResultInfo>& results,
                                        const QList<int>& endings, bool showPassword)
{
    QString text;
    for (qsizetype i = 0; i < results.size(); ++i) {
        const RKProcessResultInfo& result = results[i];
        const int ending = endings.value(i, -2);
        text += RKTerminal::escapedName(result.title) + QLatin1Char('\n');
        text += QStringLiteral("  ")
            + tr("destination: %1").arg(RKTerminal::escapedName(result.destPath.stringValue))
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
            text += QStringLiteral("  ") + tr("errors: %1").arg(result.errors.items.size())
                + QLatin1Char('\n');
        }
    }
    return text;
}

QString RKTerminalResultDisplay::formatJson(const QList<RKProcessResultInfo>& results,
                                            const QList<int>& endings, bool showPassword)
{
    QString text;
    for (qsizetype i = 0; i < results.size(); ++i) {
        const RKProcessResultInfo& result = results[i];
        QJsonObject record{{QStringLiteral("archive"), result.title},
                           {QStringLiteral("destination"), result.destPath.stringValue},
                           {QStringLiteral("status"), statusWord(endings.value(i, -2), result)}};
        if (!result.verify.crc.isNull()) {
            record.insert(QStringLiteral("crc"), result.verify.crc);
        }
        if (!result.password.stringValue.isNull() || result.password.leftEmpty()) {
            record.insert(QStringLiteral("encrypted"), !result.password.leftEmpty());
            if (showPassword && !result.password.leftEmpty()) {
                record.insert(QStringLiteral("password"), result.password.stringValue);
            }
        }
        QJsonArray errors;
        for (const RQError& error : result.errors.items) {
            QJsonObject item{{QStringLiteral("code"), error.code()},
                             {QStringLiteral("path"), error.localizedRecoverySuggestion()},
                             {QStringLiteral("message"), description(error)}};
            if (error.systemError() != 0) {
                item.insert(QStringLiteral("errno"), error.systemError());
                item.insert(QStringLiteral("reason"), systemReason(error.systemError()));
            }
            errors.append(item);
        }
        record.insert(QStringLiteral("errors"), errors);
        text += QString::fromUtf8(QJsonDocument(record).toJson(QJsonDocument::Compact))
            + QLatin1Char('\n');
    }
    return text;
}

QString RKTerminalResultDisplay::formatErrors(const QList<RKProcessResultInfo>& results)
{
    QString text;
    for (const RKProcessResultInfo& result : results) {
        for (const RQError& error : result.errors.items) {
            QString message = description(error);
            if (error.systemError() != 0) {
                message = tr("%1 (%2)").arg(message, systemReason(error.systemError()));
            }
            text += QStringLiteral("mokuza: [%1] %2: %3\n")
                        .arg(error.code())
                        .arg(RKTerminal::escapedName(error.localizedRecoverySuggestion()), message);
        }
    }
    return text;
}

QString RKTerminalResultDisplay::description(const RQError& error)
{
    return RKTerminal::japaneseMessages() ? error.localizedDescription()
                                          : englishDescription(error);
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
