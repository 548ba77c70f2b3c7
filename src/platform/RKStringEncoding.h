#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// Text encodings of entry names, by the encoding values of the option
// vocabulary (4 UTF-8, 8 Shift-JIS, ...). Only the low 32 bits of a value are
// significant: 0xFFFFFFFF94000100 and 0x94000100 are the same encoding.
//
// Conversions are strict: a character without a mapping, or bytes that do not
// decode, make the conversion fail. Nothing is ever substituted. Text with an
// unpaired surrogate never converts.
//
// Particular forms:
// - Shift-JIS (8) is the Windows code page 932 table, so the characters
//   Windows writes there (～ U+FF5E, ∥ U+2225, － U+FF0D, ￢ U+FFE2, ① U+2460,
//   the NEC and IBM extensions) round-trip. Characters that code page 932 only
//   reaches by a lossy best fit (〜 U+301C, − U+2212, ‖ U+2016) fail.
// - UTF-16 (10) and UTF-32 (0x8C000100) write a byte-order mark followed by
//   little-endian units. Reading honours a leading mark of either order and
//   takes big-endian when there is none. The forms with a fixed byte order
//   write no mark and keep a leading U+FEFF as a character.
// - Non-lossy ASCII (7) writes ASCII as it is, "\" as "\\" and every other
//   UTF-16 unit as "\u" and four lowercase hex digits. Reading accepts either
//   case of hex digit and fails on any other escape or on a byte from 0x80 up.
//
// Thread-safe: every thread keeps converters of its own.
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
    // Unicode normalisation form C (canonical composition): "か" + U+3099 →
    // "が", as macOS names in decomposed form are typed on Linux.
    static QString precomposedStringWithCanonicalMapping(const QString& text);
};
