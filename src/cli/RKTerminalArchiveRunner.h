#pragma once

#include "archive/RKArchiveRun.h"

#include <QCoreApplication>
#include <QEventLoop>

class RKCommandLineHost;
class RKTerminalProgress;

// The archive runner of the command line: the run's progress on the
// terminal, the run's own password, errors and notification. runArchive()
// returns when the archive has ended, as the window's modal loop does.
class RKTerminalArchiveRunner : public RKArchiveRun
{
    Q_DECLARE_TR_FUNCTIONS(RKTerminalArchiveRunner)

public:
    RKTerminalArchiveRunner(RKCommandLineHost& host, RKTerminalProgress& progress);

    void runArchive(QObject* centreOver, const QStringList& filePaths,
                    const RKProfileSetting& profile, const QString& url) override;

protected:
    bool stopRequested() const override;
    void archiveStarted(int total) override;
    void changeProgress() override;
    void archiveClosed(int code) override;

private:
    RKCommandLineHost& m_host;
    RKTerminalProgress& m_progress;
    QEventLoop m_loop;
};
