#pragma once

#include <QtGlobal>

// Shows the progress of a job outside its own window: on the application's
// entry in the desktop's task manager or dock. The jobs tell which archive of
// how many is under way, the runners how far the current one is. Nothing is
// shown unless the application installs a display. Main thread.
class RKTaskbarProgress
{
public:
    virtual ~RKTaskbarProgress() = default;

    // Archive index (from 0) of count is about to be made or extracted.
    virtual void archiveStarting(qsizetype index, qsizetype count) = 0;
    // The share of the current archive that is done, from 0 to 1.
    virtual void archiveProgress(double share) = 0;
    // The job has made its last archive: nothing is shown any more.
    virtual void jobEnded() = 0;

    // The installed display; nullptr when none is.
    static RKTaskbarProgress* current();
    // Installs a display (not owned); nullptr removes it.
    static void setCurrent(RKTaskbarProgress* display);

    // The same three calls on the installed display, doing nothing without one.
    static void startingArchive(qsizetype index, qsizetype count);
    static void progressOfArchive(double share);
    static void endOfJob();
};
