#include "cli/RKCommandLineHost.h"

#include "cli/RKTerminalArchiveRunner.h"
#include "cli/RKTerminalUnArchiveRunner.h"

RKCommandLineHost::RKCommandLineHost(RKTerminalProgress& progress,
                                     const RKTerminalResultDisplay::Output& output)
    : m_progress(progress)
    , m_results(std::make_unique<RKTerminalResultDisplay>(*this, output))
{
}

RKCommandLineHost::~RKCommandLineHost() = default;

RKArchiveRunner* RKCommandLineHost::progressWindow()
{
    if (!m_archiveRunner) {
        m_archiveRunner = std::make_unique<RKTerminalArchiveRunner>(*this, m_progress);
    }
    return m_archiveRunner.get();
}

RKUnArchiveRunner* RKCommandLineHost::unArchveProgressWindow()
{
    if (!m_unArchiveRunner) {
        m_unArchiveRunner = std::make_unique<RKTerminalUnArchiveRunner>(*this, m_progress);
    }
    return m_unArchiveRunner.get();
}

RKResultDisplay* RKCommandLineHost::processResultWindow()
{
    return m_results.get();
}

void RKCommandLineHost::stop(Stop why)
{
    if (m_stop != Stop::None) {
        return;
    }
    m_stop = why;
    if (m_cancelActive) {
        m_cancelActive();
    }
}

void RKCommandLineHost::setActiveRun(std::function<void()> cancel, const QString& archivePath)
{
    m_cancelActive = std::move(cancel);
    m_activeArchive = archivePath;
}

bool RKCommandLineHost::resultsShown() const
{
    return m_results->shown();
}

bool RKCommandLineHost::allDone() const
{
    if (m_results->hasErrors()) {
        return false;
    }
    for (const int code : m_endings) {
        if (code != 0) {
            return false;
        }
    }
    return true;
}

int RKCommandLineHost::failureStatus() const
{
    if (m_endings.contains(EndingWrongPassword)) {
        return EndingWrongPassword;
    }
    return m_endings.contains(EndingDamaged) ? EndingDamaged : EndingErrors;
}
