#pragma once

#include <QString>

// Where the result went: the written archive, or the extraction folder.
struct RKProcessResultDestPath
{
    QString stringValue;
};
