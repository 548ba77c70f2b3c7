#include "archive/RKArchiveMultiSameSource.h"

void RKArchiveMultiSameSource::prepareSavePaths()
{
    wkPaths.clear();
    checkSaveUrl({});
}

void RKArchiveMultiSameSource::checkSaveUrl(const QStringList& urls)
{
    wkPaths.append(urls);
    if (wkPaths.size() >= items().size()) {
        performLater([this] { decisionSavePaths(wkPaths); });
        return;
    }
    const QString item = items().at(wkPaths.size());
    decideLocation(archiveLocation(item, folderOf(item)),
                   [this](const QStringList& decided) { checkSaveUrl(decided); });
}

void RKArchiveMultiSameSource::prepareArchiveFiles()
{
    preparePerItemArchiveFiles();
}

bool RKArchiveMultiSameSource::isChosenEarlier(const QString& location) const
{
    return wkPaths.contains(location);
}
