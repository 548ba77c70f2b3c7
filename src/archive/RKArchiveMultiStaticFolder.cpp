#include "archive/RKArchiveMultiStaticFolder.h"

void RKArchiveMultiStaticFolder::prepareSavePaths()
{
    wkPaths.clear();
    checkSaveUrl({});
}

void RKArchiveMultiStaticFolder::checkSaveUrl(const QStringList& urls)
{
    const QString folder = staticFolder();
    collectItemLocations(&wkPaths, urls, [folder](const QString&) { return folder; });
}

void RKArchiveMultiStaticFolder::prepareArchiveFiles()
{
    preparePerItemArchiveFiles();
}

bool RKArchiveMultiStaticFolder::isChosenEarlier(const QString& location) const
{
    return wkPaths.contains(location);
}
