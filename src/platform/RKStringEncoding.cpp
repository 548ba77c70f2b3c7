#include "platform/RKStringEncoding.h"

#include "platform/RKEightBitTables.h"

#include <unicode/ucnv.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>
#include <unicode/utf.h>
#include <unicode/utf16.h>

#include <array>
#include <unordered_map>

namespace {

enum class Form {
    Icu,  // an ICU converter, used with STOP callbacks both ways
    Utf8, // ICU's strict UTF-8 string functions
    // The UTF-16 and UTF-32 forms are plain unit copies, done here without a
    // converter; the marked forms choose the order by the mark.
    Utf16BE,
    Utf16LE,
    Utf16WithMark, // byte-order mark, then little-endian
    Utf32BE,
    Utf32LE,
    Utf32WithMark,
    NeXTSTEP,
    AdobeSymbol,
    NonLossyAscii,
};

struct EncodingEntry {
    quint32 value;
    Form form;
    const char* icuName; // Form::Icu only
};

// Index into this table is also the slot of a thread's converter cache.
constexpr std::array<EncodingEntry, 22> kEncodings{{
    {1, Form::Icu, "US-ASCII"},
    {2, Form::NeXTSTEP, nullptr},
    {3, Form::Icu, "EUC-JP"},
    {4, Form::Utf8, nullptr},
    {5, Form::Icu, "ISO-8859-1"},
    {6, Form::AdobeSymbol, nullptr},
    {7, Form::NonLossyAscii, nullptr},
    // ICU's own name for the Windows code page 932 table; the aliases
    // "Shift_JIS", "windows-932" and "cp932" resolve to it in ICU 72, but
    // naming it keeps an alias change in another ICU from silently switching
    // to a table where 0x8160 is U+301C.
    {8, Form::Icu, "ibm-943_P15A-2003"},
    {9, Form::Icu, "ISO-8859-2"},
    {10, Form::Utf16WithMark, nullptr},
    {11, Form::Icu, "windows-1251"},
    {12, Form::Icu, "windows-1252"},
    {13, Form::Icu, "windows-1253"},
    {14, Form::Icu, "windows-1254"},
    {15, Form::Icu, "windows-1250"},
    {21, Form::Icu, "ISO-2022-JP"},
    {30, Form::Icu, "macintosh"},
    {0x90000100u, Form::Utf16BE, nullptr},
    {0x94000100u, Form::Utf16LE, nullptr},
    {0x8C000100u, Form::Utf32WithMark, nullptr},
    {0x98000100u, Form::Utf32BE, nullptr},
    {0x9C000100u, Form::Utf32LE, nullptr},
}};

int entryIndex(quint64 encoding)
{
    const auto low = static_cast<quint32>(encoding);
    for (std::size_t i = 0; i < kEncodings.size(); ++i) {
        if (kEncodings[i].value == low) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

const UChar* uchars(const QString& text)
{
    return reinterpret_cast<const UChar*>(text.utf16());
}

QByteArray emptyBytes()
{
    return QByteArray("", 0);
}

QString emptyText()
{
    return QString(QLatin1String(""));
}

// Control bytes that switch state in ISO-2022-JP (SO, SI, ESC) stay out of the
// fast path, so it needs no knowledge of any one encoding's state machine.
constexpr bool isPlainAscii(char16_t unit)
{
    return unit < 0x80 && unit != 0x0E && unit != 0x0F && unit != 0x1B;
}

bool isPlainAscii(const QString& text)
{
    for (const QChar ch : text) {
        if (!isPlainAscii(ch.unicode())) {
            return false;
        }
    }
    return true;
}

bool isPlainAscii(const QByteArray& bytes)
{
    for (const char byte : bytes) {
        if (!isPlainAscii(static_cast<unsigned char>(byte))) {
            return false;
        }
    }
    return true;
}

bool hasUnpairedSurrogate(const QString& text)
{
    const qsizetype size = text.size();
    const char16_t* units = reinterpret_cast<const char16_t*>(text.utf16());
    for (qsizetype i = 0; i < size; ++i) {
        if (U16_IS_LEAD(units[i]) && i + 1 < size && U16_IS_TRAIL(units[i + 1])) {
            ++i;
        } else if (U16_IS_SURROGATE(units[i])) {
            return true;
        }
    }
    return false;
}

// ---------------------------------------------------------------- ICU

std::optional<QByteArray> icuEncode(UConverter* converter, const QString& text)
{
    const int32_t length = static_cast<int32_t>(text.size());
    int32_t capacity = length * ucnv_getMaxCharSize(converter) + 16;
    QByteArray out(capacity, Qt::Uninitialized);
    UErrorCode status = U_ZERO_ERROR;
    int32_t written = ucnv_fromUChars(converter, out.data(), capacity, uchars(text), length, &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        capacity = written;
        out.resize(capacity);
        status = U_ZERO_ERROR;
        written = ucnv_fromUChars(converter, out.data(), capacity, uchars(text), length, &status);
    }
    if (U_FAILURE(status)) {
        return std::nullopt;
    }
    out.resize(written);
    return out;
}

std::optional<QString> icuDecode(UConverter* converter, const char* bytes, qsizetype size)
{
    const auto length = static_cast<int32_t>(size);
    int32_t capacity = length * 2 + 2;
    QString out(capacity, Qt::Uninitialized);
    UErrorCode status = U_ZERO_ERROR;
    auto* dest = reinterpret_cast<UChar*>(out.data());
    int32_t written = ucnv_toUChars(converter, dest, capacity, bytes, length, &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        capacity = written;
        out.resize(capacity);
        dest = reinterpret_cast<UChar*>(out.data());
        status = U_ZERO_ERROR;
        written = ucnv_toUChars(converter, dest, capacity, bytes, length, &status);
    }
    if (U_FAILURE(status)) {
        return std::nullopt;
    }
    out.resize(written);
    return out;
}

struct ConverterSlot {
    UConverter* converter = nullptr;
    bool opened = false;
    // The converter maps every plain ASCII character to the same byte and
    // back, so pure ASCII text may bypass it.
    bool asciiIdentity = false;
};

bool mapsAsciiToItself(UConverter* converter)
{
    QString text;
    QByteArray bytes;
    for (char16_t unit = 0; unit < 0x80; ++unit) {
        if (isPlainAscii(unit)) {
            text.append(QChar(unit));
            bytes.append(static_cast<char>(unit));
        }
    }
    const std::optional<QByteArray> encoded = icuEncode(converter, text);
    const std::optional<QString> decoded = icuDecode(converter, bytes.constData(), bytes.size());
    return encoded == bytes && decoded == text;
}

// Converters are stateful and not thread-safe, and opening one costs far more
// than converting a name, so every thread keeps one per encoding.
class ThreadConverters
{
public:
    ThreadConverters() = default;
    ThreadConverters(const ThreadConverters&) = delete;
    ThreadConverters& operator=(const ThreadConverters&) = delete;

    ~ThreadConverters()
    {
        for (ConverterSlot& slot : m_slots) {
            if (slot.converter) {
                ucnv_close(slot.converter);
            }
        }
    }

    // nullptr when ICU cannot open the converter (a broken ICU data set).
    ConverterSlot* slot(int index)
    {
        ConverterSlot& slot = m_slots[static_cast<std::size_t>(index)];
        if (!slot.opened) {
            slot.opened = true;
            UErrorCode status = U_ZERO_ERROR;
            UConverter* converter = ucnv_open(kEncodings[static_cast<std::size_t>(index)].icuName, &status);
            if (U_FAILURE(status)) {
                return nullptr;
            }
            status = U_ZERO_ERROR;
            ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                                  &status);
            ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                                &status);
            // Fallback mappings write a character that reads back as another.
            ucnv_setFallback(converter, false);
            if (U_FAILURE(status)) {
                ucnv_close(converter);
                return nullptr;
            }
            slot.converter = converter;
            slot.asciiIdentity = mapsAsciiToItself(converter);
        }
        return slot.converter ? &slot : nullptr;
    }

private:
    std::array<ConverterSlot, kEncodings.size()> m_slots;
};

ConverterSlot* converterSlot(int index)
{
    thread_local ThreadConverters converters;
    return converters.slot(index);
}

std::optional<QByteArray> encodeWithIcu(const QString& text, int index)
{
    ConverterSlot* slot = converterSlot(index);
    if (!slot) {
        return std::nullopt;
    }
    if (slot->asciiIdentity && isPlainAscii(text)) {
        return text.toLatin1();
    }
    return icuEncode(slot->converter, text);
}

std::optional<QString> decodeWithIcu(const char* bytes, qsizetype size, int index)
{
    ConverterSlot* slot = converterSlot(index);
    if (!slot) {
        return std::nullopt;
    }
    if (slot->asciiIdentity) {
        const QByteArray view = QByteArray::fromRawData(bytes, size);
        if (isPlainAscii(view)) {
            return QString::fromLatin1(bytes, size);
        }
    }
    return icuDecode(slot->converter, bytes, size);
}

// ---------------------------------------------------------------- UTF-8

std::optional<QByteArray> encodeUtf8(const QString& text)
{
    if (text.isEmpty()) {
        return emptyBytes();
    }
    const auto length = static_cast<int32_t>(text.size());
    QByteArray out(qsizetype(length) * 3, Qt::Uninitialized);
    int32_t written = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8(out.data(), static_cast<int32_t>(out.size()), &written, uchars(text), length, &status);
    if (U_FAILURE(status)) {
        return std::nullopt;
    }
    out.resize(written);
    return out;
}

std::optional<QString> decodeUtf8(const QByteArray& bytes)
{
    if (isPlainAscii(bytes)) {
        return QString::fromLatin1(bytes);
    }
    const auto length = static_cast<int32_t>(bytes.size());
    QString out(length, Qt::Uninitialized);
    int32_t written = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8(reinterpret_cast<UChar*>(out.data()), length, &written, bytes.constData(), length,
                  &status);
    if (U_FAILURE(status)) {
        return std::nullopt;
    }
    out.resize(written);
    return out;
}

// ---------------------------------------------------------------- UTF-16 and UTF-32

enum class Order { Big, Little };

void appendUnit(QByteArray& out, quint32 value, int width, Order order)
{
    for (int i = 0; i < width; ++i) {
        const int shift = order == Order::Big ? 8 * (width - 1 - i) : 8 * i;
        out.append(static_cast<char>((value >> shift) & 0xFF));
    }
}

quint32 readUnit(const char* bytes, int width, Order order)
{
    quint32 value = 0;
    for (int i = 0; i < width; ++i) {
        const quint32 byte = static_cast<unsigned char>(bytes[i]);
        const int shift = order == Order::Big ? 8 * (width - 1 - i) : 8 * i;
        value |= byte << shift;
    }
    return value;
}

std::optional<QByteArray> encodeUtf16(const QString& text, Order order, const QByteArray& mark)
{
    if (hasUnpairedSurrogate(text)) {
        return std::nullopt;
    }
    QByteArray out = mark.isEmpty() ? emptyBytes() : mark;
    out.reserve(mark.size() + text.size() * 2);
    for (const QChar ch : text) {
        appendUnit(out, ch.unicode(), 2, order);
    }
    return out;
}

std::optional<QString> decodeUtf16(const char* bytes, qsizetype size, Order order)
{
    if (size % 2 != 0) {
        return std::nullopt;
    }
    QString out = emptyText();
    out.reserve(size / 2);
    for (qsizetype i = 0; i < size; i += 2) {
        out.append(QChar(static_cast<char16_t>(readUnit(bytes + i, 2, order))));
    }
    if (hasUnpairedSurrogate(out)) {
        return std::nullopt;
    }
    return out;
}

std::optional<QByteArray> encodeUtf32(const QString& text, Order order, const QByteArray& mark)
{
    if (hasUnpairedSurrogate(text)) {
        return std::nullopt;
    }
    QByteArray out = mark.isEmpty() ? emptyBytes() : mark;
    out.reserve(mark.size() + text.size() * 4);
    const qsizetype size = text.size();
    for (qsizetype i = 0; i < size; ++i) {
        char32_t codePoint = text[i].unicode();
        if (QChar::isHighSurrogate(codePoint)) {
            codePoint = QChar::surrogateToUcs4(text[i], text[i + 1]);
            ++i;
        }
        appendUnit(out, codePoint, 4, order);
    }
    return out;
}

std::optional<QString> decodeUtf32(const char* bytes, qsizetype size, Order order)
{
    if (size % 4 != 0) {
        return std::nullopt;
    }
    QString out = emptyText();
    out.reserve(size / 4);
    for (qsizetype i = 0; i < size; i += 4) {
        const char32_t codePoint = readUnit(bytes + i, 4, order);
        if (codePoint > 0x10FFFF || U_IS_SURROGATE(codePoint)) {
            return std::nullopt;
        }
        if (QChar::requiresSurrogates(codePoint)) {
            out.append(QChar(QChar::highSurrogate(codePoint)));
            out.append(QChar(QChar::lowSurrogate(codePoint)));
        } else {
            out.append(QChar(static_cast<char16_t>(codePoint)));
        }
    }
    return out;
}

const QByteArray& utf16LittleMark()
{
    static const QByteArray mark("\xFF\xFE", 2);
    return mark;
}

const QByteArray& utf16BigMark()
{
    static const QByteArray mark("\xFE\xFF", 2);
    return mark;
}

const QByteArray& utf32LittleMark()
{
    static const QByteArray mark("\xFF\xFE\x00\x00", 4);
    return mark;
}

const QByteArray& utf32BigMark()
{
    static const QByteArray mark("\x00\x00\xFE\xFF", 4);
    return mark;
}

// A leading mark names the order and is not part of the text; without one the
// units are big-endian.
std::optional<QString> decodeUtf16WithMark(const QByteArray& bytes)
{
    const qsizetype markSize = utf16LittleMark().size();
    if (bytes.startsWith(utf16LittleMark())) {
        return decodeUtf16(bytes.constData() + markSize, bytes.size() - markSize, Order::Little);
    }
    if (bytes.startsWith(utf16BigMark())) {
        return decodeUtf16(bytes.constData() + markSize, bytes.size() - markSize, Order::Big);
    }
    return decodeUtf16(bytes.constData(), bytes.size(), Order::Big);
}

std::optional<QString> decodeUtf32WithMark(const QByteArray& bytes)
{
    const qsizetype markSize = utf32LittleMark().size();
    if (bytes.startsWith(utf32LittleMark())) {
        return decodeUtf32(bytes.constData() + markSize, bytes.size() - markSize, Order::Little);
    }
    if (bytes.startsWith(utf32BigMark())) {
        return decodeUtf32(bytes.constData() + markSize, bytes.size() - markSize, Order::Big);
    }
    return decodeUtf32(bytes.constData(), bytes.size(), Order::Big);
}

// ---------------------------------------------------------------- 8-bit tables

using ReverseTable = std::unordered_map<char16_t, unsigned char>;

ReverseTable reverseOf(const char16_t (&table)[256])
{
    ReverseTable reverse;
    for (int byte = 0; byte < 256; ++byte) {
        if (table[byte] != RKEightBitTables::kUnmapped) {
            reverse.emplace(table[byte], static_cast<unsigned char>(byte));
        }
    }
    return reverse;
}

std::optional<QByteArray> encodeEightBit(const QString& text, const ReverseTable& reverse)
{
    QByteArray out = emptyBytes();
    out.reserve(text.size());
    for (const QChar ch : text) {
        const auto found = reverse.find(ch.unicode());
        if (found == reverse.end()) {
            return std::nullopt;
        }
        out.append(static_cast<char>(found->second));
    }
    return out;
}

std::optional<QString> decodeEightBit(const QByteArray& bytes, const char16_t (&table)[256])
{
    QString out = emptyText();
    out.reserve(bytes.size());
    for (const char byte : bytes) {
        const char16_t unit = table[static_cast<unsigned char>(byte)];
        if (unit == RKEightBitTables::kUnmapped) {
            return std::nullopt;
        }
        out.append(QChar(unit));
    }
    return out;
}

// ---------------------------------------------------------------- non-lossy ASCII

std::optional<QByteArray> encodeNonLossy(const QString& text)
{
    if (hasUnpairedSurrogate(text)) {
        return std::nullopt;
    }
    static constexpr char kHex[] = "0123456789abcdef";
    QByteArray out = emptyBytes();
    out.reserve(text.size());
    for (const QChar ch : text) {
        const char16_t unit = ch.unicode();
        if (unit == u'\\') {
            out.append("\\\\", 2);
        } else if (unit < 0x80) {
            out.append(static_cast<char>(unit));
        } else {
            const char escape[6] = {'\\', 'u', kHex[(unit >> 12) & 0xF], kHex[(unit >> 8) & 0xF],
                                    kHex[(unit >> 4) & 0xF], kHex[unit & 0xF]};
            out.append(escape, 6);
        }
    }
    return out;
}

int hexValue(char digit)
{
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    if (digit >= 'a' && digit <= 'f') {
        return digit - 'a' + 10;
    }
    if (digit >= 'A' && digit <= 'F') {
        return digit - 'A' + 10;
    }
    return -1;
}

std::optional<QString> decodeNonLossy(const QByteArray& bytes)
{
    QString out = emptyText();
    out.reserve(bytes.size());
    const qsizetype size = bytes.size();
    for (qsizetype i = 0; i < size; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if (byte >= 0x80) {
            return std::nullopt;
        }
        if (byte != '\\') {
            out.append(QChar(char16_t(byte)));
            continue;
        }
        if (i + 1 < size && bytes[i + 1] == '\\') {
            out.append(QLatin1Char('\\'));
            ++i;
            continue;
        }
        if (i + 6 > size || bytes[i + 1] != 'u') {
            return std::nullopt;
        }
        char16_t unit = 0;
        for (qsizetype k = i + 2; k < i + 6; ++k) {
            const int value = hexValue(bytes[k]);
            if (value < 0) {
                return std::nullopt;
            }
            unit = static_cast<char16_t>((unit << 4) | value);
        }
        out.append(QChar(unit));
        i += 5;
    }
    if (hasUnpairedSurrogate(out)) {
        return std::nullopt;
    }
    return out;
}

} // namespace

std::optional<QByteArray> RKStringEncoding::encode(const QString& text, quint64 encoding)
{
    const int index = entryIndex(encoding);
    if (index < 0) {
        return std::nullopt;
    }
    const EncodingEntry& entry = kEncodings[static_cast<std::size_t>(index)];
    switch (entry.form) {
    case Form::Icu:
        return text.isEmpty() ? emptyBytes() : encodeWithIcu(text, index);
    case Form::Utf8:
        return encodeUtf8(text);
    case Form::Utf16BE:
        return encodeUtf16(text, Order::Big, QByteArray());
    case Form::Utf16LE:
        return encodeUtf16(text, Order::Little, QByteArray());
    case Form::Utf16WithMark:
        return encodeUtf16(text, Order::Little, utf16LittleMark());
    case Form::Utf32BE:
        return encodeUtf32(text, Order::Big, QByteArray());
    case Form::Utf32LE:
        return encodeUtf32(text, Order::Little, QByteArray());
    case Form::Utf32WithMark:
        return encodeUtf32(text, Order::Little, utf32LittleMark());
    case Form::NeXTSTEP: {
        static const ReverseTable reverse = reverseOf(RKEightBitTables::nextStep);
        return encodeEightBit(text, reverse);
    }
    case Form::AdobeSymbol: {
        static const ReverseTable reverse = reverseOf(RKEightBitTables::adobeSymbol);
        return encodeEightBit(text, reverse);
    }
    case Form::NonLossyAscii:
        return encodeNonLossy(text);
    }
    return std::nullopt;
}

std::optional<QString> RKStringEncoding::decode(const QByteArray& bytes, quint64 encoding)
{
    const int index = entryIndex(encoding);
    if (index < 0) {
        return std::nullopt;
    }
    const EncodingEntry& entry = kEncodings[static_cast<std::size_t>(index)];
    if (bytes.isEmpty()) {
        return emptyText();
    }
    switch (entry.form) {
    case Form::Icu:
        return decodeWithIcu(bytes.constData(), bytes.size(), index);
    case Form::Utf8:
        return decodeUtf8(bytes);
    case Form::Utf16BE:
        return decodeUtf16(bytes.constData(), bytes.size(), Order::Big);
    case Form::Utf16LE:
        return decodeUtf16(bytes.constData(), bytes.size(), Order::Little);
    case Form::Utf16WithMark:
        return decodeUtf16WithMark(bytes);
    case Form::Utf32BE:
        return decodeUtf32(bytes.constData(), bytes.size(), Order::Big);
    case Form::Utf32LE:
        return decodeUtf32(bytes.constData(), bytes.size(), Order::Little);
    case Form::Utf32WithMark:
        return decodeUtf32WithMark(bytes);
    case Form::NeXTSTEP:
        return decodeEightBit(bytes, RKEightBitTables::nextStep);
    case Form::AdobeSymbol:
        return decodeEightBit(bytes, RKEightBitTables::adobeSymbol);
    case Form::NonLossyAscii:
        return decodeNonLossy(bytes);
    }
    return std::nullopt;
}

bool RKStringEncoding::isKnown(quint64 encoding)
{
    return entryIndex(encoding) >= 0;
}

namespace {

QString normalized(const UNormalizer2* form, const QString& text)
{
    UErrorCode status = U_ZERO_ERROR;
    const auto length = static_cast<int32_t>(text.size());
    if (unorm2_quickCheck(form, uchars(text), length, &status) == UNORM_YES && U_SUCCESS(status)) {
        return text;
    }
    status = U_ZERO_ERROR;
    int32_t capacity = length * 2 + 8;
    QString out(capacity, Qt::Uninitialized);
    int32_t written = unorm2_normalize(form, uchars(text), length, reinterpret_cast<UChar*>(out.data()),
                                       capacity, &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        capacity = written;
        out.resize(capacity);
        status = U_ZERO_ERROR;
        written = unorm2_normalize(form, uchars(text), length, reinterpret_cast<UChar*>(out.data()),
                                   capacity, &status);
    }
    if (U_FAILURE(status)) {
        return text;
    }
    out.resize(written);
    return out;
}

} // namespace

QString RKStringEncoding::precomposedStringWithCompatibilityMapping(const QString& text)
{
    UErrorCode status = U_ZERO_ERROR;
    const UNormalizer2* nfkc = unorm2_getNFKCInstance(&status);
    return U_FAILURE(status) ? text : normalized(nfkc, text);
}

QString RKStringEncoding::precomposedStringWithCanonicalMapping(const QString& text)
{
    // Names of Latin letters, kana without marks and the like are left as
    // they are without asking the normaliser: nothing below U+0300 composes.
    bool plain = true;
    for (const QChar c : text) {
        if (c.unicode() >= 0x0300) {
            plain = false;
            break;
        }
    }
    if (plain) {
        return text;
    }
    UErrorCode status = U_ZERO_ERROR;
    const UNormalizer2* nfc = unorm2_getNFCInstance(&status);
    return U_FAILURE(status) ? text : normalized(nfc, text);
}
