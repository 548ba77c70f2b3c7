#pragma once

class QObject;
class RKArchiveRunner;
class RKUnArchiveRunner;
class RKResultDisplay;

// What a job needs of the application: its long-lived windows, loaded on
// first use, and whether the application quits once the job is done. The
// application delegate is the host; tests install their own. Main thread.
class RKJobHost
{
public:
    virtual ~RKJobHost() = default;

    // The main window: parent of panels, centre of the job's windows.
    virtual QObject* mainWindow() = 0;
    // True when the application was started to open items and quits after
    // the job's result window.
    virtual bool reserveExit() const = 0;
    // Ends the application.
    virtual void terminate() = 0;
    // True once the program was told to stop as a whole (a signal): the run
    // under way was cancelled and no further run is started.
    virtual bool stopping() const { return false; }

    // The archive runner window, loaded on first use.
    virtual RKArchiveRunner* progressWindow() = 0;
    // The unarchive runner window, loaded on first use.
    virtual RKUnArchiveRunner* unArchveProgressWindow() = 0;
    // The result window, loaded on first use.
    virtual RKResultDisplay* processResultWindow() = 0;

    static RKJobHost* current();
    // Not owned; nullptr removes it.
    static void setCurrent(RKJobHost* host);
};
