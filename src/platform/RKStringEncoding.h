#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// Text encodings of entry names, by the encoding values of the option
// vocabulary (4 UTF-8, 8 Shift-JIS, ...). Only the low 32 bits of a value are
// significant: 0xFFFFFFFF94000100 and 0x94000100 are the same encoding.
//
// Conversions are strict: a character without a mapping, or bytes that do not
// decode, make the conversion fail. Nothing is ever substituted.
class RKStringEncoding
{
public:
    // Bytes of text in the encoding; nullopt when the encoding is unknown or a
    // character has no mapping. An empty text gives an empty (non-null) array.
    static std::optional<QByteArray> encode(const QString& text, quint64 encoding);

    // Text of bytes in the encoding; nullopt when the encoding is unknown or
    // the bytes are not valid in it.
    static std::optional<QString> decode(const QByteArray& bytes, quint64 encoding);

    // True for the 22 distinct values of the encoding table.
    static bool isKnown(quint64 encoding);

    // Unicode normalisation form KC (compatibility composition): "ｶﾞ" → "ガ".
    static QString precomposedStringWithCompatibilityMapping(const QString& text);
};
