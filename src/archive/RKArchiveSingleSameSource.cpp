#include "archive/RKArchiveSingleSameSource.h"

void RKArchiveSingleSameSource::prepareSavePaths()
{
    const QString item = items().constFirst();
    decideLocation(archiveLocation(item, folderOf(item)),
                   [this](const QStringList& urls) { decisionSavePaths(urls); });
}

void RKArchiveSingleSameSource::prepareArchiveFiles()
{
    prepareSingleArchiveFiles();
}
