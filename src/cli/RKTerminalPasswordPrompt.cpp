#include "cli/RKTerminalPasswordPrompt.h"

#include "cli/RKCommandLineHost.h"
#include "cli/RKTerminal.h"

#include <QFileInfo>

RKTerminalPasswordPrompt::RKTerminalPasswordPrompt(RKCommandLineHost& host,
                                                   std::optional<QString> given, bool interactive)
    : m_host(host)
    , m_given(std::move(given))
    , m_interactive(interactive)
{
}

QString RKTerminalPasswordPrompt::emptyPasswordMessage()
{
    return tr("The password must not be empty; type one (Ctrl-C stops).\n");
}

QString RKTerminalPasswordPrompt::showPasswordDialog(QObject*, const RKProfileSetting&)
{
    if (m_given) {
        return *m_given;
    }
    const QString archive = QFileInfo(m_host.activeArchive()).fileName();
    if (!m_interactive) {
        RKTerminal::writeError(
            tr("mokuza: %1 needs a password and there is no terminal to type it on; "
               "give it with --password-stdin\n")
                .arg(archive));
        m_host.stop(RKCommandLineHost::Stop::Refused);
        return QString(QLatin1String(""));
    }
    for (;;) {
        const std::optional<QString> first =
            RKTerminal::ask(tr("Password for %1: ").arg(archive), false);
        if (first && first->isEmpty()) {
            RKTerminal::writeError(emptyPasswordMessage());
            continue;
        }
        const std::optional<QString> second =
            first ? RKTerminal::ask(tr("Password again: "), false) : std::nullopt;
        if (!first || !second) {
            // Nothing was typed to the end: the archive is not written.
            m_host.stop(RKCommandLineHost::Stop::Interrupted);
            return QString(QLatin1String(""));
        }
        if (*first == *second) {
            return *first;
        }
        RKTerminal::writeError(tr("The two passwords differ; type them again.\n"));
    }
}

QString RKTerminalPasswordPrompt::askUnArchivePassword(QObject*, const QString& archivePath,
                                                       int attempt)
{
    if (m_given) {
        // The line given answers once; it will not fit better a second time.
        return attempt == 1 ? *m_given : QString();
    }
    const QString archive = QFileInfo(archivePath).fileName();
    if (!m_interactive) {
        RKTerminal::writeError(
            tr("mokuza: %1 is encrypted and there is no terminal to type its password on; "
               "give it with --password-stdin\n")
                .arg(archive));
        m_host.stop(RKCommandLineHost::Stop::Refused);
        return QString(QLatin1String(""));
    }
    for (;;) {
        const std::optional<QString> typed = RKTerminal::ask(
            attempt == 1 ? tr("Password for %1: ").arg(archive)
                         : tr("Wrong password. Password for %1 again: ").arg(archive),
            false);
        if (!typed) {
            m_host.stop(RKCommandLineHost::Stop::Interrupted);
            return QString(QLatin1String(""));
        }
        if (!typed->isEmpty()) {
            return *typed;
        }
        RKTerminal::writeError(emptyPasswordMessage());
    }
}
