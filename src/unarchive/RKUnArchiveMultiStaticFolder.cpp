#include "unarchive/RKUnArchiveMultiStaticFolder.h"

void RKUnArchiveMultiStaticFolder::prepareSavePaths()
{
    QStringList savePaths;
    for (qsizetype i = 0; i < items().size(); ++i) {
        savePaths.append(profile().saveStaticFolderPath);
    }
    postDecisionSavePaths(savePaths);
}
