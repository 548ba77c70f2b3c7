#include "unarchive/RKUnArchiveMultiSameSource.h"

void RKUnArchiveMultiSameSource::prepareSavePaths()
{
    QStringList savePaths;
    for (const QString& item : items()) {
        savePaths.append(holdingFolder(item));
    }
    postDecisionSavePaths(savePaths);
}
