#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

// The two modal file panels that jobs and editors use to ask for a save
// location or an existing file or folder. The application installs a service
// that shows real panels (RKSavePanel, RKOpenPanel); tests install scripted ones.
//
// Both operations may be called from any thread: the service runs the panel
// on the main thread and the caller waits for the answer.
class RKPanelService
{
public:
    virtual ~RKPanelService() = default;

    // parent: the window to centre over (a QWidget, or nullptr).
    // url: proposed location (absolute path); its folder is the initial folder
    //      and its last component the proposed name.
    // types: allowed file extensions without dot ("zip"); empty allows any.
    // Returns the chosen absolute path, or a null QString when cancelled.
    virtual QString showModalSavePanel(QObject* parent, const QString& title,
                                       const QString& message, const QString& url,
                                       const QStringList& types) = 0;

    // selectMode: 0 files only, 1 folders only, 2 both. url: initial folder.
    // Returns the chosen absolute path, or a null QString when cancelled.
    virtual QString showModalOpenPanel(QObject* parent, const QString& title,
                                       const QString& message, const QString& url,
                                       int selectMode) = 0;

    // The installed service; nullptr when none is installed.
    static RKPanelService* current();
    // Installs a service (not owned); nullptr removes it.
    static void setCurrent(RKPanelService* service);
};

// Free forms of the two operations: they use RKPanelService::current() and
// answer a null QString (as if cancelled) when no service is installed.
QString showModalSavePanel(QObject* parent, const QString& title, const QString& message,
                           const QString& url, const QStringList& types);
QString showModalOpenPanel(QObject* parent, const QString& title, const QString& message,
                           const QString& url, int selectMode);
