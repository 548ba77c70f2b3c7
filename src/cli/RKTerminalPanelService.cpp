#include "cli/RKTerminalPanelService.h"

#include "cli/RKCommandLineHost.h"
#include "cli/RKTerminal.h"
#include "platform/RKMainThreadQueue.h"

#include <QDir>
#include <QFileInfo>
#include <QCoreApplication>
#include <QThread>

namespace {

// Runs fn on the main thread and waits for its answer.
QString onMainThread(const std::function<QString()>& fn)
{
    QCoreApplication* app = QCoreApplication::instance();
    if (QThread::currentThread() == app->thread()) {
        return fn();
    }
    QString answer;
    RKMainThreadQueue::application()->postAndWait([&] { answer = fn(); });
    return answer;
}

bool entryExists(const QString& path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

} // namespace

RKTerminalPanelService::RKTerminalPanelService(RKCommandLineHost& host, bool interactive)
    : m_host(host)
    , m_interactive(interactive)
{
}

QString RKTerminalPanelService::absoluteAnswer(const QString& typed)
{
    QString path = typed.trimmed();
    if (path == QStringLiteral("~") || path.startsWith(QStringLiteral("~/"))) {
        path = QDir::homePath() + path.mid(1);
    }
    return QDir::cleanPath(QDir::current().absoluteFilePath(path));
}

QString RKTerminalPanelService::showModalSavePanel(QObject*, const QString&,
                                                   const QString& message, const QString& url,
                                                   const QStringList& types)
{
    return onMainThread([&] { return askSave(message, url, types); });
}

QString RKTerminalPanelService::showModalOpenPanel(QObject*, const QString&,
                                                   const QString& message, const QString& url,
                                                   int selectMode)
{
    return onMainThread([&] { return askOpen(message, url, selectMode); });
}

QString RKTerminalPanelService::refuse(const QString& message)
{
    RKTerminal::writeError(
        tr("mokuza: %1\nmokuza: there is no terminal to answer on; give --dest DIR for where "
           "to save, --on-conflict overwrite or rename for names that are taken\n")
            .arg(message));
    m_host.stop(RKCommandLineHost::Stop::Refused);
    return QString();
}

QString RKTerminalPanelService::askSave(const QString& message, const QString& url,
                                        const QStringList& types)
{
    if (!m_interactive || m_host.stopping()) {
        return m_host.stopping() ? QString() : refuse(message);
    }
    const QString extension = types.isEmpty() ? QString() : types.constFirst();
    const auto withExtension = [&](QString path) {
        if (!extension.isEmpty()
            && !path.endsWith(QLatin1Char('.') + extension, Qt::CaseInsensitive)) {
            path += QLatin1Char('.') + extension;
        }
        return path;
    };
    QString proposal = withExtension(url);
    RKTerminal::writeError(message + QLatin1Char('\n'));
    for (;;) {
        const std::optional<QString> typed = RKTerminal::ask(tr("Save as [%1]: ").arg(proposal));
        if (!typed) {
            m_host.stop(RKCommandLineHost::Stop::Interrupted);
            return QString();
        }
        const QString answer =
            withExtension(typed->trimmed().isEmpty() ? proposal : absoluteAnswer(*typed));
        if (QFileInfo(answer).isDir()) {
            RKTerminal::writeError(tr("%1 is a folder.\n").arg(answer));
            continue;
        }
        if (entryExists(answer)) {
            const std::optional<QString> replace =
                RKTerminal::ask(tr("%1 exists. Replace it? [y/N]: ").arg(answer));
            if (!replace) {
                m_host.stop(RKCommandLineHost::Stop::Interrupted);
                return QString();
            }
            if (!replace->trimmed().startsWith(QLatin1Char('y'), Qt::CaseInsensitive)) {
                proposal = answer;
                continue;
            }
        }
        return answer;
    }
}

QString RKTerminalPanelService::askOpen(const QString& message, const QString& url,
                                        int selectMode)
{
    if (!m_interactive || m_host.stopping()) {
        return m_host.stopping() ? QString() : refuse(message);
    }
    RKTerminal::writeError(message + QLatin1Char('\n'));
    for (;;) {
        const std::optional<QString> typed =
            RKTerminal::ask((selectMode == 1 ? tr("Folder [%1]: ") : tr("Path [%1]: ")).arg(url));
        if (!typed) {
            m_host.stop(RKCommandLineHost::Stop::Interrupted);
            return QString();
        }
        const QString answer = typed->trimmed().isEmpty() ? url : absoluteAnswer(*typed);
        const QFileInfo info(answer);
        const bool fits = selectMode == 1 ? info.isDir()
            : selectMode == 0             ? info.isFile()
                                          : info.exists();
        if (fits) {
            return answer;
        }
        RKTerminal::writeError(tr("%1 is not there or not of the kind asked for.\n").arg(answer));
    }
}
