#include "settings/RKConstants.h"

QStringList RKConstants::EncodeNameLists()
{
    // Titles exactly as the users know them, "Encodin" at index 13 included.
    static const char16_t* const titles[] = {
        u"ASCII 7BIT(0 から 127) - NSASCIIStringEncoding",
        u"NEXTSTEP ASCII(ASCII 独自拡張) - NSNEXTSTEPStringEncoding",
        u"日本語 EUC(EUC-JP) - NSJapaneseEUCStringEncoding",
        u"UTF-8 - NSUTF8StringEncoding",
        u"ISO Latin 1(8bit ISO) - NSISOLatin1StringEncoding",
        u"アドビシンボルエンコード(8bit Adobe Symbol) - NSSymbolStringEncoding",
        u"ASCII 7BIT(損失なし) - NSNonLossyASCIIStringEncoding",
        u"日本語 Shift-JIS - NSShiftJISStringEncoding",
        u"ISO Latin 2(8bit ISO Latin 2) - NSISOLatin2StringEncoding",
        u"Unicode(UTF-16) - NSUnicodeStringEncoding",
        u"Adobe スタンダード Cyrillic(キリル文字) - NSWindowsCP1251StringEncoding",
        u"Windows Latin 1 - NSWindowsCP1252StringEncoding",
        u"Windows Greek(ギリシャ語) - NSWindowsCP1253StringEncoding",
        u"Windows Turkish(トルコ語) - NSWindowsCP1254StringEncodin",
        u"Windows Latin 2 - NSWindowsCP1250StringEncoding",
        u"日本語ISO 2022（JIS) - NSISO2022JPStringEncoding",
        u"Classic Macintosh Roman - NSMacOSRomanStringEncoding",
        u"UTF-16 （Unicode） - NSUTF16StringEncoding",
        u"UTF-16 Big Endian - NSUTF16BigEndianStringEncoding",
        u"UTF-16 Little Endian - NSUTF16LittleEndianStringEncoding",
        u"UTF-32 - NSUTF32StringEncoding",
        u"UTF-32 Big Endian - NSUTF32BigEndianStringEncoding",
        u"UTF-32 Little Endian - NSUTF32LittleEndianStringEncoding",
    };
    QStringList names;
    for (const char16_t* title : titles) {
        names.append(QString::fromUtf16(title));
    }
    return names;
}

qint32 RKConstants::storedEncodingValue(quint64 encoding)
{
    return static_cast<qint32>(static_cast<quint32>(encoding & 0xFFFFFFFFu));
}

quint64 RKConstants::encodingValueFromStored(qint32 stored)
{
    return static_cast<quint64>(static_cast<qint64>(stored));
}

QList<qint32> RKConstants::EncodeCodeLists()
{
    return {1,
            2,
            3,
            4,
            5,
            6,
            7,
            8,
            9,
            10,
            11,
            12,
            13,
            14,
            15,
            21,
            30,
            10,
            static_cast<qint32>(0x90000100u),
            static_cast<qint32>(0x94000100u),
            static_cast<qint32>(0x8C000100u),
            static_cast<qint32>(0x98000100u),
            static_cast<qint32>(0x9C000100u)};
}
