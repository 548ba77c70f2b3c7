#include "unarchive/RKUnArchiveSingleStaticFolder.h"

void RKUnArchiveSingleStaticFolder::prepareSavePaths()
{
    postDecisionSavePaths({profile().saveStaticFolderPath});
}
