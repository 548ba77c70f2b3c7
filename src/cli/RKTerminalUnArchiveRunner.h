#pragma once

#include "unarchive/RKUnArchiveRun.h"

#include <QCoreApplication>
#include <QEventLoop>

class RKCommandLineHost;
class RKTerminalProgress;

// The unarchive runner of the command line: extraction and placement with
// their progress on the terminal. runUnArchive() returns when the run has
// ended, as the window's modal loop does.
class RKTerminalUnArchiveRunner : public RKUnArchiveRun
{
    Q_DECLARE_TR_FUNCTIONS(RKTerminalUnArchiveRunner)

public:
    RKTerminalUnArchiveRunner(RKCommandLineHost& host, RKTerminalProgress& progress);

    void runUnArchive(QObject* centreOver, const QString& archivePath,
                      const RKUnArchiveProfileSetting& profile,
                      const QString& destinationFolder) override;

    // How a run with these errors ended (RKCommandLineHost's endings): a
    // password that did not fit tells more than damage, damage more than
    // the rest.
    static int endingOf(const QList<RQError>& errors);

protected:
    bool stopRequested() const override;
    void changeProgress() override;
    void runClosed() override;

private:
    RKCommandLineHost& m_host;
    RKTerminalProgress& m_progress;
    QEventLoop m_loop;
    QString m_label;
    bool m_cancelled = false;
    bool m_phaseShown = false;
    Phase m_shownPhase = Phase::UnArchive;
};
