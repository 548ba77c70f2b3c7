#include "cli/RKTerminalResultDisplay.h"

#include "cli/RKCommandLineHost.h"
#include "cli/RKTerminal.h"

RKTerminalResultDisplay::RKTerminalResultDisplay(const RKCommandLineHost& host, bool showPassword)
    : m_host(host)
    , m_showPassword(showPassword)
{
}

void RKTerminalResultDisplay::showResults(QObject*, const QList<RKProcessResultInfo>& results)
{
    m_shown = true;
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
                text += QStringLiteral("    [%1] %2: %3\n")
                            .arg(error.code())
                            .arg(error.localizedRecoverySuggestion(),
                                 error.localizedDescription());
            }
        }
    }
    return text;
}
