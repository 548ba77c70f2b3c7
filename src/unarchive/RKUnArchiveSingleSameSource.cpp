#include "unarchive/RKUnArchiveSingleSameSource.h"

void RKUnArchiveSingleSameSource::prepareSavePaths()
{
    postDecisionSavePaths({holdingFolder(items().value(0))});
}
