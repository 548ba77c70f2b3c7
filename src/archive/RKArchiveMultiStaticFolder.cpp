#include "archive/RKArchiveMultiStaticFolder.h"

void RKArchiveMultiStaticFolder::prepareSavePaths()
{
    wkPaths.clear();
    checkSaveUrl({});
}

void RKArchiveMultiStaticFolder::checkSaveUrl(const QStringList& urls)
{
    wkPaths.append(urls);
    if (wkPaths.size() >= items().size()) {
        performLater([this] { decisionSavePaths(wkPaths); });
        return;
    }
    const QString item = items().at(wkPaths.size());
    decideLocation(archiveLocation(item, staticFolder()),
                   [this](const QStringList& decided) { checkSaveUrl(decided); });
}

void RKArchiveMultiStaticFolder::prepareArchiveFiles()
{
    preparePerItemArchiveFiles();
}

bool RKArchiveMultiStaticFolder::isChosenEarlier(const QString& location) const
{
    return wkPaths.contains(location);
}
