#pragma once

#include <QList>
#include <QStringList>

// The encoding table of the encoding pop-up: 23 titles and, at the same
// index, their encoding values kept as signed 32-bit numbers (the last five
// values do not fit and are their two's-complement negatives).
class RKConstants
{
public:
    static QStringList EncodeNameLists();
    static QList<qint32> EncodeCodeLists();
};
