#include "app/widgets/RKAppPasswordPrompt.h"

#include "ui/RKPasswordWindow.h"
#include "unarchive/widgets/RKUnArchivePasswordWindow.h"

#include <QWidget>

QString RKAppPasswordPrompt::showPasswordDialog(QObject* window, const RKProfileSetting& profile)
{
    return RKPasswordWindow::runModal(qobject_cast<QWidget*>(window), profile);
}

QString RKAppPasswordPrompt::askUnArchivePassword(QObject* runnerWindow, const QString& archivePath,
                                                  int attempt)
{
    return RKUnArchivePasswordWindow::runModal(qobject_cast<QWidget*>(runnerWindow), archivePath,
                                               attempt > 1);
}
