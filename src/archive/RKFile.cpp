#include "archive/RKFile.h"

#include <QFileInfo>

RKFile::RKFile(const QString& filePath)
    : m_filePath(filePath)
    , m_isFolder(QFileInfo(filePath).isDir())
{
}

RKFile::RKFile(const QString& filePath, bool isFolder)
    : m_filePath(filePath)
    , m_isFolder(isFolder)
{
}
