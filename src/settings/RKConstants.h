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

    // Encoding values are stored as signed 32-bit numbers: the low 32 bits,
    // so values from 0x80000000 up become negative, and they come back
    // sign-extended (0x94000100 → 0xFFFFFFFF94000100).
    static qint32 storedEncodingValue(quint64 encoding);
    static quint64 encodingValueFromStored(qint32 stored);
};
