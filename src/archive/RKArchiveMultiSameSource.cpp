#include "archive/RKArchiveMultiSameSource.h"

void RKArchiveMultiSameSource::prepareSavePaths()
{
    wkPaths.clear();
    checkSaveUrl({});
}

void RKArchiveMultiSameSource::checkSaveUrl(const QStringList& urls)
{
    collectItemLocations(&wkPaths, urls, [](const QString& item) { return folderOf(item); });
}

void RKArchiveMultiSameSource::prepareArchiveFiles()
{
    preparePerItemArchiveFiles();
}

bool RKArchiveMultiSameSource::isChosenEarlier(const QString& location) const
{
    return wkPaths.contains(location);
}
