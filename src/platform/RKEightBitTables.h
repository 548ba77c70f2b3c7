#pragma once

// Byte-to-Unicode tables of the two 8-bit character sets that ICU does not
// carry. Each has 256 entries; kUnmapped marks a byte with no character. No
// two bytes of a table map to the same character, so each table inverts
// without choice.
namespace RKEightBitTables {

inline constexpr char16_t kUnmapped = 0xFFFF;

// NeXTSTEP: ASCII below 0x80, accented Latin letters and typography above.
extern const char16_t nextStep[256];

// Adobe Symbol: Greek letters where ASCII has Latin ones, mathematical signs,
// and private-use code points for the glyph pieces Unicode does not encode.
extern const char16_t adobeSymbol[256];

} // namespace RKEightBitTables
