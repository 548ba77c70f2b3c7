#pragma once

#include "ui/RKExclusionFilesTokenField.h"

// The folder-pattern field: the file-pattern field under other accessor names.
class RKExclusionFoldersTokenField : public RKExclusionFilesTokenField
{
    Q_OBJECT

public:
    using RKExclusionFilesTokenField::RKExclusionFilesTokenField;

    void setExclusionFolders(const QStringList& exclusionFolders)
    {
        setExclusionFiles(exclusionFolders);
    }
    QStringList arrayExclusionFolders() const { return arrayExclusionFiles(); }
};
