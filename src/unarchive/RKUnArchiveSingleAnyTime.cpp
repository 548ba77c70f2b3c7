#include "unarchive/RKUnArchiveSingleAnyTime.h"

void RKUnArchiveSingleAnyTime::prepareSavePaths()
{
    const QString folder = askDestinationFolder(QStringLiteral("%1 の解凍先を選択してください。"));
    if (folder.isEmpty()) {
        stopProcess();
        return;
    }
    postDecisionSavePaths({folder});
}
