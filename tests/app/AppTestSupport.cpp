#include "app/AppTestSupport.h"

#include "support/TestEnvironment.h"

#include <QTimer>

void RecordingArchiveRunner::runArchive(QObject* centreOver, const QStringList& filePaths,
                                        const RKProfileSetting& profile, const QString& url)
{
    Q_UNUSED(centreOver);
    runs.append(Run{filePaths, profile, url});
    if (onRun) {
        onRun(runs.last());
    }
}

QString RecordingArchiveRunner::usedPassword() const
{
    return runs.isEmpty() ? QString() : runs.last().profile.password;
}

void RecordingUnArchiveRunner::runUnArchive(QObject* centreOver, const QString& archivePath,
                                            const RKUnArchiveProfileSetting& profile,
                                            const QString& destinationFolder)
{
    Q_UNUSED(centreOver);
    runs.append(Run{archivePath, profile, destinationFolder});
}

TestAppDelegate::TestAppDelegate()
{
    setTerminateAction([this] { ++terminateCount; });
}

bool TestAppDelegate::waitUntilIdle()
{
    // A request is set up on a later turn of the main loop; one turn first.
    bool turned = false;
    QTimer::singleShot(0, this, [&turned] { turned = true; });
    return TestEnvironment::waitFor([&] {
        return turned && !isJobRunning() && pendingRequestCount() == 0;
    });
}
