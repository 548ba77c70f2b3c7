#include "zip/ZipArchiveDelegate.h"

void ZipArchiveDelegate::ErrorMessage(const QString&) {}

bool ZipArchiveDelegate::OverWriteOperation(const QString&)
{
    return true;
}
