#include "platform/RKStringEncoding.h"

#include <gtest/gtest.h>

#include <QStringEncoder>

#include <atomic>
#include <thread>
#include <vector>

namespace {

QByteArray hex(const char* digits)
{
    return QByteArray::fromHex(digits);
}

// Not QString::fromUtf16, which would swallow a leading U+FEFF.
QString text(const char16_t* units)
{
    return QStringView(units).toString();
}

QByteArray withUnits(const QString& s, QStringConverter::Encoding encoding)
{
    QStringEncoder encoder(encoding, QStringConverter::Flag::Stateless);
    return encoder.encode(s);
}

constexpr quint64 widened(quint32 value)
{
    return 0xFFFFFFFF00000000ull | value;
}

// ---------------------------------------------------------------- every value of the table

struct TableRow {
    const char* name;
    quint64 encoding;
};

void PrintTo(const TableRow& row, std::ostream* os) { *os << row.name; }

// The 23 entries of the encoding pop-up, in its order (10 appears twice).
const TableRow kTable[] = {
    {"Ascii", 1},          {"NeXTSTEP", 2},       {"EucJp", 3},
    {"Utf8", 4},           {"Latin1", 5},         {"AdobeSymbol", 6},
    {"NonLossyAscii", 7},  {"ShiftJis", 8},       {"Latin2", 9},
    {"Unicode", 10},       {"Cp1251", 11},        {"Cp1252", 12},
    {"Cp1253", 13},        {"Cp1254", 14},        {"Cp1250", 15},
    {"Iso2022Jp", 21},     {"MacRoman", 30},      {"Utf16", 10},
    {"Utf16BE", 0x90000100}, {"Utf16LE", 0x94000100}, {"Utf32", 0x8C000100},
    {"Utf32BE", 0x98000100}, {"Utf32LE", 0x9C000100},
};

class EveryEncoding : public ::testing::TestWithParam<TableRow> {};

// ASCII letters have no place in Adobe Symbol (they are Greek letters there),
// so that set gets digits and punctuation it shares with ASCII.
QString asciiSample(quint64 encoding)
{
    return encoding == 6 ? QStringLiteral("2024_05 (1).[0]") : QStringLiteral("Report_2024-05 (final).txt");
}

QByteArray expectedAsciiBytes(quint64 encoding, const QString& s)
{
    switch (static_cast<quint32>(encoding)) {
    case 10:
        return hex("fffe") + withUnits(s, QStringConverter::Utf16LE);
    case 0x90000100:
        return withUnits(s, QStringConverter::Utf16BE);
    case 0x94000100:
        return withUnits(s, QStringConverter::Utf16LE);
    case 0x8C000100:
        return hex("fffe0000") + withUnits(s, QStringConverter::Utf32LE);
    case 0x98000100:
        return withUnits(s, QStringConverter::Utf32BE);
    case 0x9C000100:
        return withUnits(s, QStringConverter::Utf32LE);
    default:
        return s.toLatin1();
    }
}

TEST_P(EveryEncoding, ConvertsAsciiTextBothWaysAndIgnoresUpperBits)
{
    const TableRow row = GetParam();
    const QString sample = asciiSample(row.encoding);
    const QByteArray expected = expectedAsciiBytes(row.encoding, sample);

    EXPECT_TRUE(RKStringEncoding::isKnown(row.encoding));
    EXPECT_EQ(RKStringEncoding::encode(sample, row.encoding), expected);
    EXPECT_EQ(RKStringEncoding::decode(expected, row.encoding), sample);

    const quint64 signExtended = widened(static_cast<quint32>(row.encoding));
    EXPECT_TRUE(RKStringEncoding::isKnown(signExtended));
    EXPECT_EQ(RKStringEncoding::encode(sample, signExtended), expected);
    EXPECT_EQ(RKStringEncoding::decode(expected, signExtended), sample);
}

TEST_P(EveryEncoding, EmptyTextGivesEmptyNonNullResults)
{
    const TableRow row = GetParam();
    const std::optional<QByteArray> bytes = RKStringEncoding::encode(QString(), row.encoding);
    ASSERT_TRUE(bytes.has_value());
    EXPECT_FALSE(bytes->isNull());
    const std::optional<QString> back = RKStringEncoding::decode(*bytes, row.encoding);
    ASSERT_TRUE(back.has_value());
    EXPECT_TRUE(back->isEmpty());
}

INSTANTIATE_TEST_SUITE_P(RKStringEncoding, EveryEncoding, ::testing::ValuesIn(kTable),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(RKStringEncoding, UnknownValuesConvertNothing)
{
    for (const quint64 value : {quint64(0), quint64(16), quint64(0x8C000000), widened(4) ^ 0x100}) {
        EXPECT_FALSE(RKStringEncoding::isKnown(value)) << value;
        EXPECT_FALSE(RKStringEncoding::encode(QStringLiteral("a"), value).has_value()) << value;
        EXPECT_FALSE(RKStringEncoding::decode(QByteArray("a"), value).has_value()) << value;
    }
}

// ---------------------------------------------------------------- characteristic characters

struct RoundTripRow {
    const char* name;
    quint64 encoding;
    const char16_t* text;
    const char* bytes;
};

void PrintTo(const RoundTripRow& row, std::ostream* os) { *os << row.name; }

class CharacteristicText : public ::testing::TestWithParam<RoundTripRow> {};

TEST_P(CharacteristicText, RoundTripsWithTheExpectedBytes)
{
    const RoundTripRow row = GetParam();
    EXPECT_EQ(RKStringEncoding::encode(text(row.text), row.encoding), hex(row.bytes));
    EXPECT_EQ(RKStringEncoding::decode(hex(row.bytes), row.encoding), text(row.text));
}

const RoundTripRow kCharacteristic[] = {
    // Code page 932 as Windows writes it.
    {"ShiftJisWindowsSymbols", 8, u"①～∥－￢", "874081608161817c81ca"},
    {"ShiftJisKatakana", 8, u"アイウ", "834183438345"},
    {"ShiftJisHalfwidthKana", 8, u"ﾊﾟｿｺﾝ", "cadfbfbadd"},
    {"ShiftJisIbmExtension", 8, u"髙", "fbfc"},
    {"ShiftJisTrailByteIsBackslash", 8, u"纊\\~", "fa5c5c7e"},
    {"EucJp", 3, u"あ", "a4a2"},
    {"Iso2022JpSwitchesAndReturns", 21, u"aあb", "611b244224221b284262"},
    {"Utf8", 4, u"日本é", "e697a5e69cacc3a9"},
    {"Utf8Supplementary", 4, u"\U0001F600", "f09f9880"},
    {"Latin1", 5, u"é", "e9"},
    {"Latin2", 9, u"ł", "b3"},
    {"Cp1251", 11, u"я", "ff"},
    {"Cp1252", 12, u"€", "80"},
    {"Cp1253", 13, u"Ω", "d9"},
    {"Cp1254", 14, u"ğ", "f0"},
    {"Cp1250", 15, u"ř€", "f880"},
    {"MacRoman", 30, u"é", "8e"},
    {"Utf16LE", 0x94000100, u"あ\U0001F600", "42303dd800de"},
    {"Utf16BE", 0x90000100, u"あ", "3042"},
    {"Utf16BEKeepsLeadingFeff", 0x90000100, u"\uFEFFa", "feff0061"},
    {"Utf32BE", 0x98000100, u"\U0001F600", "0001f600"},
    {"Utf32LE", 0x9C000100, u"あ", "42300000"},
    {"UnicodeWithMark", 10, u"あ", "fffe4230"},
    {"Utf32WithMark", 0x8C000100, u"あ", "fffe000042300000"},
    {"NonLossyBackslash", 7, u"a\\b", "615c5c62"},
    {"NonLossyJapanese", 7, u"日本.txt", "5c7536356535" "5c7536373263" "2e747874"},
    {"NonLossySurrogatePair", 7, u"\U0001F600", "5c7564383364" "5c7564653030"},
};

INSTANTIATE_TEST_SUITE_P(RKStringEncoding, CharacteristicText, ::testing::ValuesIn(kCharacteristic),
                         [](const auto& info) { return std::string(info.param.name); });

// ---------------------------------------------------------------- strictness

struct UnmappableRow {
    const char* name;
    quint64 encoding;
    const char16_t* text;
};

void PrintTo(const UnmappableRow& row, std::ostream* os) { *os << row.name; }

class Unmappable : public ::testing::TestWithParam<UnmappableRow> {};

TEST_P(Unmappable, FailsInsteadOfSubstituting)
{
    const UnmappableRow row = GetParam();
    EXPECT_FALSE(RKStringEncoding::encode(text(row.text), row.encoding).has_value());
}

const char16_t kLoneLead[] = {u'a', 0xD800, u'b', 0};
const char16_t kLoneTrail[] = {0xDC00, 0};

const UnmappableRow kUnmappable[] = {
    // Windows reaches these only by a best fit that reads back as another character.
    {"ShiftJisWaveDash", 8, u"〜"},
    {"ShiftJisMinusSign", 8, u"−"},
    {"ShiftJisDoubleVerticalLine", 8, u"‖"},
    {"ShiftJisEmoji", 8, u"\U0001F600"},
    {"ShiftJisAccentedLatin", 8, u"café"},
    {"ShiftJisAfterAsciiPrefix", 8, u"report_é"},
    {"AsciiAccent", 1, u"é"},
    {"Latin1Euro", 5, u"€"},
    {"EucJpEmoji", 3, u"\U0001F600"},
    {"Iso2022JpHalfwidthKana", 21, u"ｱ"},
    {"Cp1251Japanese", 11, u"あ"},
    {"MacRomanCyrillic", 30, u"я"},
    {"NeXTSTEPEuro", 2, u"€"},
    {"AdobeSymbolLatinLetter", 6, u"a"},
    {"AdobeSymbolHyphen", 6, u"-"},
    {"Utf8LoneSurrogate", 4, kLoneLead},
    {"Utf16LoneSurrogate", 0x94000100, kLoneTrail},
    {"UnicodeLoneSurrogate", 10, kLoneLead},
    {"Utf32LoneSurrogate", 0x98000100, kLoneLead},
    {"NonLossyLoneSurrogate", 7, kLoneLead},
};

INSTANTIATE_TEST_SUITE_P(RKStringEncoding, Unmappable, ::testing::ValuesIn(kUnmappable),
                         [](const auto& info) { return std::string(info.param.name); });

struct InvalidBytesRow {
    const char* name;
    quint64 encoding;
    const char* bytes;
};

void PrintTo(const InvalidBytesRow& row, std::ostream* os) { *os << row.name; }

class InvalidBytes : public ::testing::TestWithParam<InvalidBytesRow> {};

TEST_P(InvalidBytes, FailToDecode)
{
    const InvalidBytesRow row = GetParam();
    EXPECT_FALSE(RKStringEncoding::decode(hex(row.bytes), row.encoding).has_value());
}

const InvalidBytesRow kInvalidBytes[] = {
    {"Utf8BadContinuation", 4, "61c328"},
    {"Utf8Overlong", 4, "c0af"},
    {"Utf8Truncated", 4, "e381"},
    {"Utf8EncodedSurrogate", 4, "eda080"},
    {"Utf8LoneContinuation", 4, "80"},
    {"ShiftJisTruncatedLead", 8, "8341 83"},
    {"ShiftJisUndefinedSingleByte", 8, "80"},
    {"ShiftJisUndefinedA0", 8, "a0"},
    {"ShiftJisBadTrail", 8, "8120"},
    {"AsciiHighByte", 1, "4180"},
    {"EucJpTruncated", 3, "a4"},
    {"Iso2022JpEightBit", 21, "a4a2"},
    {"UnicodeOddLength", 10, "fffe4230 00"},
    {"Utf16LEUnpairedSurrogate", 0x94000100, "00d8"},
    {"Utf32BEBeyondUnicode", 0x98000100, "00110000"},
    {"Utf32LETruncated", 0x9C000100, "423000"},
    {"NeXTSTEPUnmapped", 2, "fe"},
    {"AdobeSymbolUnmapped", 6, "80"},
    {"NonLossyHighByte", 7, "c3a9"},
    {"NonLossyUnknownEscape", 7, "5c78"},
    {"NonLossyTrailingBackslash", 7, "615c"},
    {"NonLossyShortEscape", 7, "5c753132"},
    {"NonLossyBadHexDigit", 7, "5c7531326734"},
    {"NonLossyLoneSurrogate", 7, "5c7564383030"},
};

INSTANTIATE_TEST_SUITE_P(RKStringEncoding, InvalidBytes, ::testing::ValuesIn(kInvalidBytes),
                         [](const auto& info) { return std::string(info.param.name); });

// ---------------------------------------------------------------- marks and escapes

TEST(RKStringEncoding, MarkedFormsReadEitherOrderAndTakeBigEndianWithoutMark)
{
    const QString a = QStringLiteral("A");
    EXPECT_EQ(RKStringEncoding::decode(hex("feff0041"), 10), a);
    EXPECT_EQ(RKStringEncoding::decode(hex("fffe4100"), 10), a);
    EXPECT_EQ(RKStringEncoding::decode(hex("0041"), 10), a);
    EXPECT_EQ(RKStringEncoding::decode(hex("0000feff00000041"), 0x8C000100), a);
    EXPECT_EQ(RKStringEncoding::decode(hex("fffe000041000000"), 0x8C000100), a);
    EXPECT_EQ(RKStringEncoding::decode(hex("00000041"), 0x8C000100), a);
}

TEST(RKStringEncoding, NonLossyReadsUppercaseHex)
{
    EXPECT_EQ(RKStringEncoding::decode(QByteArray("\\u65E5\\u672C"), 7), text(u"日本"));
}

// ---------------------------------------------------------------- the two 8-bit tables

struct TableValueRow {
    const char* name;
    quint64 encoding;
    unsigned char byte;
    char16_t unit;
};

void PrintTo(const TableValueRow& row, std::ostream* os) { *os << row.name; }

class EightBitTableValue : public ::testing::TestWithParam<TableValueRow> {};

TEST_P(EightBitTableValue, MapsBothWays)
{
    const TableValueRow row = GetParam();
    const QByteArray byte(1, static_cast<char>(row.byte));
    const QString unit(QChar(row.unit));
    EXPECT_EQ(RKStringEncoding::decode(byte, row.encoding), unit);
    EXPECT_EQ(RKStringEncoding::encode(unit, row.encoding), byte);
}

const TableValueRow kEightBitValues[] = {
    {"NeXTSTEPNoBreakSpace", 2, 0x80, 0x00A0},
    {"NeXTSTEPCCedilla", 2, 0x87, 0x00C7},
    {"NeXTSTEPMicro", 2, 0x9D, 0x00B5},
    {"NeXTSTEPFractionSlash", 2, 0xA4, 0x2044},
    {"NeXTSTEPLigatureFi", 2, 0xAE, 0xFB01},
    {"NeXTSTEPEmDash", 2, 0xD0, 0x2014},
    {"NeXTSTEPCapitalAE", 2, 0xE1, 0x00C6},
    {"NeXTSTEPCapitalLStroke", 2, 0xE8, 0x0141},
    {"NeXTSTEPDotlessI", 2, 0xF5, 0x0131},
    {"NeXTSTEPSharpS", 2, 0xFB, 0x00DF},
    {"NeXTSTEPYDiaeresis", 2, 0xFD, 0x00FF},
    {"SymbolForAll", 6, 0x22, 0x2200},
    {"SymbolMinus", 6, 0x2D, 0x2212},
    {"SymbolCapitalAlpha", 6, 0x41, 0x0391},
    {"SymbolTheta", 6, 0x51, 0x0398},
    {"SymbolRadicalExtender", 6, 0x60, 0xF8E5},
    {"SymbolSmallAlpha", 6, 0x61, 0x03B1},
    {"SymbolSmallMu", 6, 0x6D, 0x03BC},
    {"SymbolEuro", 6, 0xA0, 0x20AC},
    {"SymbolSquareRoot", 6, 0xD6, 0x221A},
    {"SymbolSerifRegistered", 6, 0xD2, 0xF6DA},
    {"SymbolSummation", 6, 0xE5, 0x2211},
    {"SymbolIntegral", 6, 0xF2, 0x222B},
};

INSTANTIATE_TEST_SUITE_P(RKStringEncoding, EightBitTableValue, ::testing::ValuesIn(kEightBitValues),
                         [](const auto& info) { return std::string(info.param.name); });

class EightBitTable : public ::testing::TestWithParam<TableRow> {};

// A byte that reads as a character must be written back as that same byte;
// a character listed under two bytes would break this for one of them.
TEST_P(EightBitTable, EveryMappedByteRoundTrips)
{
    const TableRow row = GetParam();
    int mapped = 0;
    for (int b = 0; b < 256; ++b) {
        const QByteArray byte(1, static_cast<char>(b));
        const std::optional<QString> decoded = RKStringEncoding::decode(byte, row.encoding);
        if (!decoded) {
            continue;
        }
        ++mapped;
        ASSERT_EQ(decoded->size(), 1) << b;
        EXPECT_EQ(RKStringEncoding::encode(*decoded, row.encoding), byte) << b;
    }
    EXPECT_GT(mapped, 200);
}

INSTANTIATE_TEST_SUITE_P(RKStringEncoding, EightBitTable,
                         ::testing::Values(TableRow{"NeXTSTEP", 2}, TableRow{"AdobeSymbol", 6}),
                         [](const auto& info) { return std::string(info.param.name); });

// ---------------------------------------------------------------- NFKC

struct NormalisationRow {
    const char* name;
    const char16_t* input;
    const char16_t* expected;
};

void PrintTo(const NormalisationRow& row, std::ostream* os) { *os << row.name; }

class Normalisation : public ::testing::TestWithParam<NormalisationRow> {};

TEST_P(Normalisation, ComposesWithCompatibilityMapping)
{
    const NormalisationRow row = GetParam();
    EXPECT_EQ(RKStringEncoding::precomposedStringWithCompatibilityMapping(text(row.input)),
              text(row.expected));
}

const NormalisationRow kNormalisation[] = {
    {"HalfwidthKanaAndCircledDigit", u"ｶﾞ①", u"ガ1"},
    {"FullwidthLatin", u"ＡＢＣ１", u"ABC1"},
    {"SquaredCompany", u"㈱", u"(株)"},
    {"CombiningAccentComposes", u"e\u0301", u"é"},
    {"DecomposedKanaComposes", u"か\u3099", u"が"},
    {"PlainTextUnchanged", u"report 2024.txt", u"report 2024.txt"},
    {"FullwidthTildeStays", u"～", u"~"},
};

INSTANTIATE_TEST_SUITE_P(RKStringEncoding, Normalisation, ::testing::ValuesIn(kNormalisation),
                         [](const auto& info) { return std::string(info.param.name); });

// ---------------------------------------------------------------- threads

// Each thread converts through converters of its own; shared converters would
// interleave state and corrupt results under this load.
TEST(RKStringEncoding, ConvertsConcurrentlyOnManyThreads)
{
    const QString name = text(u"資料／①～∥ｶﾞ_2024.txt");
    const std::optional<QByteArray> expected = RKStringEncoding::encode(name, 8);
    ASSERT_TRUE(expected.has_value());
    const QString iso = text(u"aあb漢字c");
    const std::optional<QByteArray> isoExpected = RKStringEncoding::encode(iso, 21);
    ASSERT_TRUE(isoExpected.has_value());

    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 2000; ++i) {
                if (RKStringEncoding::encode(name, 8) != expected
                    || RKStringEncoding::decode(*expected, 8) != name
                    || RKStringEncoding::encode(iso, 21) != isoExpected
                    || RKStringEncoding::decode(*isoExpected, 21) != iso) {
                    ++mismatches;
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(mismatches.load(), 0);
}

} // namespace
