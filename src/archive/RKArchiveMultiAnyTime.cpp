#include "archive/RKArchiveMultiAnyTime.h"

#include "platform/RKAppInfo.h"
#include "platform/RKPanelService.h"

void RKArchiveMultiAnyTime::prepareSavePaths()
{
    wkPaths.clear();
    checkSaveUrl();
}

void RKArchiveMultiAnyTime::checkSaveUrl()
{
    if (wkPaths.size() >= items().size()) {
        performLater([this] { decisionSavePaths(wkPaths); });
        return;
    }
    const QString item = items().at(wkPaths.size());
    const QString message =
        lastPathComponent(item) + QStringLiteral(" の保存先を選択してください。");
    QString proposal = item;
    QString location;
    for (;;) {
        const QString answer = showModalSavePanel(window(), RKAppInfo::applicationTitle(),
                                                  message, proposal, {QStringLiteral("zip")});
        if (answer.isEmpty()) {
            stopProcess();
            return;
        }
        location = cleanLocation(answer);
        // The panel's replace confirmation sees only the file system; the
        // archive of an earlier item must not be replaced by this one.
        if (!isChosenEarlier(location)) {
            break;
        }
        proposal = numberedLocation(location);
    }
    wkPaths.append(location);
    performLater([this] { checkSaveUrl(); });
}

void RKArchiveMultiAnyTime::prepareArchiveFiles()
{
    preparePerItemArchiveFiles();
}

bool RKArchiveMultiAnyTime::isChosenEarlier(const QString& location) const
{
    return wkPaths.contains(location);
}
