#include "archive/RKArchiveSingleStaticFolder.h"

void RKArchiveSingleStaticFolder::prepareSavePaths()
{
    decideLocation(archiveLocation(items().constFirst(), staticFolder()),
                   [this](const QStringList& urls) { decisionSavePaths(urls); });
}

void RKArchiveSingleStaticFolder::prepareArchiveFiles()
{
    prepareSingleArchiveFiles();
}
