#include "archive/RKArchiveSingleAnyTime.h"

#include "platform/RKAppInfo.h"
#include "platform/RKPanelService.h"

void RKArchiveSingleAnyTime::prepareSavePaths()
{
    const QString item = items().constFirst();
    const QString message = lastPathComponent(item) + QStringLiteral(" の保存先を選択して下さい。");
    const QString answer = showModalSavePanel(window(), RKAppInfo::applicationTitle(), message,
                                              item, {QStringLiteral("zip")});
    if (answer.isEmpty()) {
        stopProcess();
        return;
    }
    const QString location = cleanLocation(answer);
    performLater([this, location] { decisionSavePaths({location}); });
}

void RKArchiveSingleAnyTime::prepareArchiveFiles()
{
    prepareSingleArchiveFiles();
}
