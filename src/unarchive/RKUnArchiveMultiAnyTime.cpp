#include "unarchive/RKUnArchiveMultiAnyTime.h"

void RKUnArchiveMultiAnyTime::prepareSavePaths()
{
    const QString folder = askDestinationFolder(QStringLiteral("%1 の解凍先を選択して下さい。"));
    if (folder.isEmpty()) {
        stopProcess();
        return;
    }
    QStringList savePaths;
    for (qsizetype i = 0; i < items().size(); ++i) {
        savePaths.append(folder);
    }
    postDecisionSavePaths(savePaths);
}
