#include "cli/RKTerminalUnArchiveRunner.h"

#include "cli/RKCommandLineHost.h"
#include "cli/RKTerminalProgress.h"

#include <QFileInfo>

RKTerminalUnArchiveRunner::RKTerminalUnArchiveRunner(RKCommandLineHost& host,
                                                     RKTerminalProgress& progress)
    : m_host(host)
    , m_progress(progress)
{
}

void RKTerminalUnArchiveRunner::runUnArchive(QObject*, const QString& archivePath,
                                             const RKUnArchiveProfileSetting& profile,
                                             const QString& destinationFolder)
{
    m_label = QFileInfo(archivePath).fileName();
    m_cancelled = m_host.stopping();
    m_phaseShown = false;
    m_host.setActiveRun(
        [this] {
            m_cancelled = true;
            cancel();
        },
        archivePath);
    doUnArchive(archivePath, profile, destinationFolder);
    if (isRunning()) {
        m_loop.exec();
    }
    m_host.setActiveRun({});
}

bool RKTerminalUnArchiveRunner::stopRequested() const
{
    return m_host.stopping();
}

void RKTerminalUnArchiveRunner::changeProgress()
{
    const Progress latest = progress();
    if (!latest.reported) {
        return;
    }
    if (!m_phaseShown || latest.phase != m_shownPhase) {
        m_phaseShown = true;
        m_shownPhase = latest.phase;
        m_progress.begin(latest.phase == Phase::UnArchive ? tr("extracting") : tr("placing"),
                         m_label);
    }
    m_progress.show(latest.value, latest.total, latest.done, latest.workTotal, latest.fileName);
}

int RKTerminalUnArchiveRunner::endingOf(const QList<RQError>& errors)
{
    if (errors.isEmpty()) {
        return RKCommandLineHost::EndingDone;
    }
    bool damage = false;
    for (const RQError& error : errors) {
        if (error.family() == RQError::Family::UnArchiver && error.code() == 7) {
            return RKCommandLineHost::EndingWrongPassword;
        }
        damage = damage || error.isDamage();
    }
    return damage ? RKCommandLineHost::EndingDamaged : RKCommandLineHost::EndingErrors;
}

void RKTerminalUnArchiveRunner::runClosed()
{
    m_progress.finish();
    m_host.recordEnding(m_cancelled ? RKCommandLineHost::EndingCancelled : endingOf(errors()));
    m_loop.quit();
}
