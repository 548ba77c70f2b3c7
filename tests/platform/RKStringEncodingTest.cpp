#include "platform/RKStringEncoding.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

QByteArray hex(const char* digits) { return QByteArray::fromHex(digits); }

// Not QString::fromUtf16, which would swallow a leading U+FEFF.
QString text(const char16_t* units) { return QStringView(units).toString(); }

// The 23 values of the encoding pop-up, in its order (10 appears twice).
const quint64 kTable[] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15, 21, 30, 10,
                          0x90000100, 0x94000100, 0x8C000100, 0x98000100, 0x9C000100};

class EveryEncoding : public ::testing::TestWithParam<int> {};

// The byte-order forms are checked byte for byte below; every other form
// writes ASCII as it is.
TEST_P(EveryEncoding, ConvertsAsciiTextBothWaysWhateverTheUpperBits)
{
    const quint64 encoding = kTable[GetParam()];
    // Adobe Symbol has Greek letters where ASCII has Latin ones.
    const QString sample = encoding == 6 ? QStringLiteral("2024_05 (1).[0]") : QStringLiteral("Report_2024-05 (final).txt");
    const std::optional<QByteArray> bytes = RKStringEncoding::encode(sample, encoding);
    ASSERT_TRUE(bytes.has_value());
    if (encoding != 10 && encoding < 0x80000000) {
        EXPECT_EQ(*bytes, sample.toLatin1());
    }
    for (const quint64 value : {encoding, 0xFFFFFFFF00000000ull | encoding}) {
        EXPECT_TRUE(RKStringEncoding::isKnown(value));
        EXPECT_EQ(RKStringEncoding::encode(sample, value), bytes);
        EXPECT_EQ(RKStringEncoding::decode(*bytes, value), sample);
    }
    // Empty text (a marked form writes only its mark) converts both ways.
    const std::optional<QByteArray> empty = RKStringEncoding::encode(QString(), encoding);
    ASSERT_TRUE(empty.has_value() && !empty->isNull());
    EXPECT_EQ(RKStringEncoding::decode(*empty, encoding), QString());
}

INSTANTIATE_TEST_SUITE_P(RKStringEncoding, EveryEncoding, ::testing::Range(0, 23), [](const auto& info) {
    return "Index" + std::to_string(info.param) + "_" + QByteArray::number(kTable[info.param], 16).toStdString();
});

TEST(RKStringEncoding, UnknownValuesConvertNothing)
{
    for (const quint64 value : {0ull, 16ull, 0x8C000000ull}) {
        EXPECT_FALSE(RKStringEncoding::isKnown(value));
        EXPECT_FALSE(RKStringEncoding::encode(QStringLiteral("a"), value).has_value());
        EXPECT_FALSE(RKStringEncoding::decode(QByteArray("a"), value).has_value());
    }
}

struct RoundTrip {
    const char* name;
    quint64 encoding;
    const char16_t* text;
    const char* bytes;
};

class CharacteristicText : public ::testing::TestWithParam<RoundTrip> {};

TEST_P(CharacteristicText, RoundTripsWithTheExpectedBytes)
{
    const RoundTrip& row = GetParam();
    EXPECT_EQ(RKStringEncoding::encode(text(row.text), row.encoding), hex(row.bytes));
    EXPECT_EQ(RKStringEncoding::decode(hex(row.bytes), row.encoding), text(row.text));
}

// One row per converter with a character that only that one maps so, which
// catches an encoding value wired to the wrong table.
const RoundTrip kCharacteristic[] = {
    {"ShiftJisAsWindowsWritesIt", 8, u"①～∥－￢", "874081608161817c81ca"},
    {"ShiftJisKana", 8, u"アｶﾞ", "8341b6de"},
    {"ShiftJisIbmExtension", 8, u"髙", "fbfc"},
    {"ShiftJisTrailByteIsBackslash", 8, u"纊\\~", "fa5c5c7e"},
    {"EucJp", 3, u"あ", "a4a2"},
    {"Iso2022JpSwitchesAndReturns", 21, u"aあb", "611b244224221b284262"},
    {"Utf8", 4, u"日é\U0001F600", "e697a5c3a9f09f9880"},
    {"Latin2", 9, u"ł", "b3"},
    {"Cp1251", 11, u"я", "ff"},
    {"Cp1250", 15, u"ř€", "f880"},
    {"MacRoman", 30, u"é", "8e"},
    {"Utf16LESurrogatePair", 0x94000100, u"あ\U0001F600", "42303dd800de"},
    {"Utf16BEKeepsLeadingFeff", 0x90000100, u"\uFEFFa", "feff0061"},
    {"UnicodeWithMark", 10, u"あ", "fffe4230"},
    {"Utf32WithMark", 0x8C000100, u"あ", "fffe000042300000"},
    {"Utf32BE", 0x98000100, u"a\U0001F600", "000000610001f600"},
    {"Utf32LE", 0x9C000100, u"a", "61000000"},
    {"NonLossyBackslash", 7, u"a\\b", "615c5c62"},
    {"NonLossyEscapesLowercase", 7, u"日.\U0001F600", "5c7536356535" "2e" "5c7564383364" "5c7564653030"},
    // Spot values of the two tables ICU does not have.
    {"NeXTSTEPNoBreakSpaceFractionSlashFiDotlessI", 2, u"\u00A0\u2044\uFB01\u0131", "80a4aef5"},
    {"SymbolForAllAlphaMuEuro", 6, u"\u2200\u0391\u03BC\u20AC", "22416da0"},
};

INSTANTIATE_TEST_SUITE_P(RKStringEncoding, CharacteristicText, ::testing::ValuesIn(kCharacteristic),
                         [](const auto& info) { return std::string(info.param.name); });

struct Failure {
    const char* name;
    quint64 encoding;
    const char16_t* text; // encode this, or
    const char* bytes;    // decode these
};

class StrictConversion : public ::testing::TestWithParam<Failure> {};

TEST_P(StrictConversion, FailsInsteadOfSubstituting)
{
    const Failure& row = GetParam();
    if (row.text) {
        EXPECT_FALSE(RKStringEncoding::encode(text(row.text), row.encoding).has_value());
    } else {
        EXPECT_FALSE(RKStringEncoding::decode(hex(row.bytes), row.encoding).has_value());
    }
}

const char16_t kLoneSurrogate[] = {u'a', 0xD800, u'b', 0};

const Failure kFailures[] = {
    // Code page 932 reaches 〜 only by a best fit that reads back as another character.
    {"ShiftJisWaveDash", 8, u"〜", nullptr},
    {"ShiftJisAccentAfterAscii", 8, u"report_é", nullptr},
    {"AsciiAccent", 1, u"é", nullptr},
    {"Iso2022JpHalfwidthKana", 21, u"ｱ", nullptr},
    {"NeXTSTEPEuro", 2, u"€", nullptr},
    {"AdobeSymbolLatinLetter", 6, u"a", nullptr},
    {"Utf8LoneSurrogate", 4, kLoneSurrogate, nullptr},
    {"NonLossyWritesNoLoneSurrogate", 7, kLoneSurrogate, nullptr},
    {"Utf8BadContinuation", 4, nullptr, "61c328"},
    {"ShiftJisTruncatedLead", 8, nullptr, "834183"},
    {"ShiftJisUndefinedByte", 8, nullptr, "a0"},
    {"Iso2022JpEightBit", 21, nullptr, "a4a2"},
    {"UnicodeOddLength", 10, nullptr, "fffe423000"},
    {"Utf16LEUnpairedSurrogate", 0x94000100, nullptr, "00d8"},
    {"Utf32BEBeyondUnicode", 0x98000100, nullptr, "00110000"},
    {"NeXTSTEPUnmapped", 2, nullptr, "fe"},
    {"NonLossyHighByte", 7, nullptr, "c3a9"},
    {"NonLossyUnknownEscape", 7, nullptr, "5c78"},
    {"NonLossyBadHexDigit", 7, nullptr, "5c7531326734"},
    {"NonLossyReadsNoLoneSurrogate", 7, nullptr, "5c7564383030"},
};

INSTANTIATE_TEST_SUITE_P(RKStringEncoding, StrictConversion, ::testing::ValuesIn(kFailures),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(RKStringEncoding, MarkedFormsReadEitherOrderAndTakeBigEndianWithoutMark)
{
    const QString a = QStringLiteral("A");
    for (const char* bytes : {"feff0041", "fffe4100", "0041"}) {
        EXPECT_EQ(RKStringEncoding::decode(hex(bytes), 10), a) << bytes;
    }
    for (const char* bytes : {"0000feff00000041", "fffe000041000000", "00000041"}) {
        EXPECT_EQ(RKStringEncoding::decode(hex(bytes), 0x8C000100), a) << bytes;
    }
    EXPECT_EQ(RKStringEncoding::decode(QByteArray("\\u65E5"), 7), text(u"日"));
}

// A byte that reads as a character must be written back as that byte; a
// character listed under two bytes would break this for one of them.
TEST(RKStringEncoding, EveryMappedByteOfTheEightBitTablesRoundTrips)
{
    for (const quint64 encoding : {2ull, 6ull}) {
        int mapped = 0;
        for (int b = 0; b < 256; ++b) {
            const QByteArray byte(1, static_cast<char>(b));
            if (const std::optional<QString> decoded = RKStringEncoding::decode(byte, encoding)) {
                ++mapped;
                EXPECT_EQ(RKStringEncoding::encode(*decoded, encoding), byte) << encoding << " " << b;
            }
        }
        EXPECT_GT(mapped, 200) << encoding;
    }
}

TEST(RKStringEncoding, NormalisesWithCompatibilityComposition)
{
    const std::pair<const char16_t*, const char16_t*> cases[] = {
        {u"ｶﾞ①", u"ガ1"}, {u"ＡＢ～", u"AB~"}, {u"㈱", u"(株)"}, {u"か\u3099e\u0301", u"がé"},
        {u"plain.txt", u"plain.txt"},
    };
    for (const auto& [input, expected] : cases) {
        EXPECT_EQ(RKStringEncoding::precomposedStringWithCompatibilityMapping(text(input)), text(expected));
    }
}

// Each thread converts through converters of its own; shared stateful
// converters would interleave and corrupt results under this load.
TEST(RKStringEncoding, ConvertsConcurrentlyOnManyThreads)
{
    const QString sjis = text(u"資料／①～∥ｶﾞ_2024.txt"), jis = text(u"aあb漢字c");
    const QByteArray sjisBytes = RKStringEncoding::encode(sjis, 8).value(), jisBytes = RKStringEncoding::encode(jis, 21).value();
    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 2000; ++i) {
                mismatches += RKStringEncoding::encode(sjis, 8) != sjisBytes || RKStringEncoding::decode(sjisBytes, 8) != sjis
                              || RKStringEncoding::encode(jis, 21) != jisBytes || RKStringEncoding::decode(jisBytes, 21) != jis;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(mismatches.load(), 0);
}

} // namespace
