#include "cli/RKTerminalArchiveRunner.h"

#include "cli/RKCommandLineHost.h"
#include "cli/RKTerminalProgress.h"

#include <QFileInfo>

RKTerminalArchiveRunner::RKTerminalArchiveRunner(RKCommandLineHost& host,
                                                 RKTerminalProgress& progress)
    : m_host(host)
    , m_progress(progress)
{
}

void RKTerminalArchiveRunner::runArchive(QObject*, const QStringList& paths,
                                         const RKProfileSetting& profile, const QString& url)
{
    m_progress.begin(tr("compressing"), QFileInfo(url).fileName());
    m_host.setActiveRun([this] { cansel(); }, url);
    doArchive(paths, profile, url);
    if (isRunning()) {
        m_loop.exec();
    }
    m_host.setActiveRun({});
}

bool RKTerminalArchiveRunner::stopRequested() const
{
    return m_host.stopping();
}

void RKTerminalArchiveRunner::archiveStarted(int total)
{
    m_progress.show(0, total, 0, progress().total, QString());
}

void RKTerminalArchiveRunner::changeProgress()
{
    const Progress latest = progress();
    m_progress.show(latest.value, int(filePaths().size()), latest.done, latest.total,
                    latest.fileName);
}

void RKTerminalArchiveRunner::archiveClosed(int code)
{
    if (code != -1) {
        changeProgress();
    }
    m_progress.finish();
    m_host.recordEnding(code);
    m_loop.quit();
}
