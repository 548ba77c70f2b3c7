#pragma once

#include "platform/RKPanelService.h"

#include <QCoreApplication>

class RKCommandLineHost;

// The save and open panels of the command line: the question and a proposed
// answer on the terminal, answered by typing a path (Enter takes the
// proposal). Without a terminal the question is refused with a message that
// names the option that answers it, and the job is stopped. Callable from
// any thread; the terminal is used from the main thread.
class RKTerminalPanelService : public RKPanelService
{
    Q_DECLARE_TR_FUNCTIONS(RKTerminalPanelService)

public:
    RKTerminalPanelService(RKCommandLineHost& host, bool interactive);

    QString showModalSavePanel(QObject* parent, const QString& title, const QString& message,
                               const QString& url, const QStringList& types) override;
    QString showModalOpenPanel(QObject* parent, const QString& title, const QString& message,
                               const QString& url, int selectMode) override;

    // A typed answer as a clean absolute path: "~" is the home folder, a
    // relative path is taken from the working folder.
    static QString absoluteAnswer(const QString& typed);

private:
    QString askSave(const QString& message, const QString& url, const QStringList& types);
    QString askOpen(const QString& message, const QString& url, int selectMode);
    QString refuse(const QString& message);

    RKCommandLineHost& m_host;
    bool m_interactive;
};
