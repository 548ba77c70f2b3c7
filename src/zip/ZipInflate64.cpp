#include "zip/ZipInflate64.h"

namespace {

constexpr int kLookupBits = 15;
constexpr quint32 kWindowSize = 65536;

constexpr std::array<quint16, 29> kLengthBase { 3,  4,  5,  6,  7,  8,  9,  10,  11,  13,
                                                15, 17, 19, 23, 27, 31, 35, 43,  51,  59,
                                                67, 83, 99, 115, 131, 163, 195, 227, 3 };
constexpr std::array<quint8, 29> kLengthExtra { 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2,
                                                2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 16 };
constexpr std::array<quint32, 32> kDistanceBase {
    1,    2,    3,    4,    5,    7,     9,     13,    17,    25,    33,
    49,   65,   97,   129,  193,  257,   385,   513,   769,   1025,  1537,
    2049, 3073, 4097, 6145, 8193, 12289, 16385, 24577, 32769, 49153 };
constexpr std::array<quint8, 32> kDistanceExtra { 0, 0, 0,  0,  1,  1,  2,  2,  3,  3,  4,
                                                  4, 5, 5,  6,  6,  7,  7,  8,  8,  9,  9,
                                                  10, 10, 11, 11, 12, 12, 13, 13, 14, 14 };
constexpr std::array<quint8, 19> kCodeLengthOrder { 16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                    11, 4,  12, 3, 13, 2, 14, 1, 15 };

} // namespace

ZipInflate64::ZipInflate64()
    : m_window(kWindowSize)
{
    quint8 lengths[288];
    for (int i = 0; i < 288; ++i) {
        lengths[i] = i < 144 ? 8 : i < 256 ? 9 : i < 280 ? 7 : 8;
    }
    build(m_fixedLiterals, lengths, 288);
    for (int i = 0; i < 32; ++i) {
        lengths[i] = 5;
    }
    build(m_fixedDistances, lengths, 32);
}

bool ZipInflate64::need(int bits)
{
    while (m_count < bits) {
        if (m_in == m_end) {
            const qint64 n = m_padding > 0 ? 0 : (*m_refill)(&m_in);
            m_end = m_in + qMax<qint64>(n, 0);
            if (n < 0) {
                m_inputFailed = true;
                return false;
            }
            if (n == 0) {
                // Past the look-ahead of one code nothing may be consumed.
                if (m_padding >= 32) {
                    return false;
                }
                m_padding += 8;
                m_count += 8;
                continue;
            }
        }
        m_bits |= quint64(*m_in++) << m_count;
        m_count += 8;
    }
    return true;
}

quint32 ZipInflate64::take(int bits)
{
    const quint32 value = quint32(m_bits & ((quint64(1) << bits) - 1));
    m_bits >>= bits;
    m_count -= bits;
    return value;
}

bool ZipInflate64::decode(const Table& table, int* symbol)
{
    if (!need(kLookupBits)) {
        return false;
    }
    const quint16 entry = table[size_t(m_bits & ((1u << kLookupBits) - 1))];
    const int length = entry & 15;
    if (length == 0 || m_count - length < m_padding) {
        return false;
    }
    take(length);
    *symbol = entry >> 4;
    return true;
}

bool ZipInflate64::build(Table& table, const quint8* lengths, int count)
{
    int counts[16] = {};
    for (int i = 0; i < count; ++i) {
        ++counts[lengths[i]];
    }
    counts[0] = 0;
    // An over-subscribed set of lengths is no code; an incomplete one is
    // allowed (a single distance code is).
    int left = 1;
    int next[16] = {};
    for (int length = 1; length < 16; ++length) {
        left = (left << 1) - counts[length];
        if (left < 0) {
            return false;
        }
        next[length] = (next[length - 1] + counts[length - 1]) << 1;
    }
    table.assign(size_t(1) << kLookupBits, 0);
    for (int symbol = 0; symbol < count; ++symbol) {
        const int length = lengths[symbol];
        if (length == 0) {
            continue;
        }
        const quint32 code = quint32(next[length]++);
        quint32 reversed = 0;
        for (int bit = 0; bit < length; ++bit) {
            reversed |= ((code >> bit) & 1u) << (length - 1 - bit);
        }
        for (quint32 at = reversed; at < (1u << kLookupBits); at += 1u << length) {
            table[at] = quint16(symbol << 4 | length);
        }
    }
    return true;
}

bool ZipInflate64::put(quint8 byte)
{
    m_window[m_fill++] = byte;
    ++m_total;
    if (m_fill == kWindowSize) {
        m_fill = 0;
        if (!(*m_sink)(reinterpret_cast<const char*>(m_window.data()), kWindowSize)) {
            m_sinkFailed = true;
            return false;
        }
    }
    return true;
}

bool ZipInflate64::dynamicTables()
{
    if (!need(14)) {
        return false;
    }
    const int literalCount = int(take(5)) + 257;
    const int distanceCount = int(take(5)) + 1;
    const int codeLengthCount = int(take(4)) + 4;
    quint8 codeLengths[19] = {};
    for (int i = 0; i < codeLengthCount; ++i) {
        if (!need(3)) {
            return false;
        }
        codeLengths[kCodeLengthOrder[size_t(i)]] = quint8(take(3));
    }
    Table codeLengthTable;
    if (!build(codeLengthTable, codeLengths, 19)) {
        return false;
    }
    quint8 lengths[288 + 32] = {};
    const int total = literalCount + distanceCount;
    for (int i = 0; i < total;) {
        int symbol = 0;
        if (!decode(codeLengthTable, &symbol)) {
            return false;
        }
        if (symbol < 16) {
            lengths[i++] = quint8(symbol);
            continue;
        }
        int repeat = 0;
        quint8 value = 0;
        if (symbol == 16) {
            if (i == 0 || !need(2)) {
                return false;
            }
            value = lengths[i - 1];
            repeat = 3 + int(take(2));
        } else if (symbol == 17) {
            if (!need(3)) {
                return false;
            }
            repeat = 3 + int(take(3));
        } else {
            if (!need(7)) {
                return false;
            }
            repeat = 11 + int(take(7));
        }
        if (i + repeat > total) {
            return false;
        }
        while (repeat-- > 0) {
            lengths[i++] = value;
        }
    }
    return lengths[256] != 0 && build(m_literals, lengths, literalCount)
        && build(m_distances, lengths + literalCount, distanceCount);
}

ZipInflate64::Result ZipInflate64::block(const Table& literals, const Table& distances)
{
    for (;;) {
        int symbol = 0;
        if (!decode(literals, &symbol)) {
            return Result::Damaged;
        }
        if (symbol < 256) {
            if (!put(quint8(symbol))) {
                return Result::SinkFailed;
            }
            continue;
        }
        if (symbol == 256) {
            return Result::Ok;
        }
        const int index = symbol - 257;
        if (index >= int(kLengthBase.size())) {
            return Result::Damaged;
        }
        const int lengthBits = kLengthExtra[size_t(index)];
        if (!need(lengthBits)) {
            return Result::Damaged;
        }
        const quint32 length = kLengthBase[size_t(index)] + take(lengthBits);
        int distanceSymbol = 0;
        if (!decode(distances, &distanceSymbol)) {
            return Result::Damaged;
        }
        const int distanceBits = kDistanceExtra[size_t(distanceSymbol)];
        if (!need(distanceBits)) {
            return Result::Damaged;
        }
        const quint32 distance = kDistanceBase[size_t(distanceSymbol)] + take(distanceBits);
        if (distance > m_total || m_count < m_padding) {
            return Result::Damaged;
        }
        for (quint32 i = 0; i < length; ++i) {
            if (!put(m_window[(m_fill - distance) & (kWindowSize - 1)])) {
                return Result::SinkFailed;
            }
        }
    }
}

ZipInflate64::Result ZipInflate64::run(const Refill& refill, const Sink& sink)
{
    m_refill = &refill;
    m_sink = &sink;
    m_in = m_end = nullptr;
    m_bits = 0;
    m_count = 0;
    m_padding = 0;
    m_inputFailed = false;
    m_sinkFailed = false;
    m_fill = 0;
    m_total = 0;

    const auto failed = [this] {
        return m_inputFailed ? Result::InputFailed : m_sinkFailed ? Result::SinkFailed
                                                                  : Result::Damaged;
    };
    bool last = false;
    while (!last) {
        if (!need(3)) {
            return failed();
        }
        last = take(1) != 0;
        const quint32 type = take(2);
        Result result = Result::Ok;
        if (type == 0) {
            take(m_count & 7);
            if (!need(32)) {
                return failed();
            }
            const quint32 length = take(16);
            if ((take(16) ^ 0xFFFF) != length || m_count < m_padding) {
                return Result::Damaged;
            }
            for (quint32 i = 0; i < length; ++i) {
                if (!need(8) || m_count - 8 < m_padding) {
                    return failed();
                }
                if (!put(quint8(take(8)))) {
                    return Result::SinkFailed;
                }
            }
        } else if (type == 1) {
            result = block(m_fixedLiterals, m_fixedDistances);
        } else if (type == 2) {
            result = dynamicTables() ? block(m_literals, m_distances) : failed();
        } else {
            return Result::Damaged;
        }
        if (result != Result::Ok) {
            return m_inputFailed ? Result::InputFailed : result;
        }
    }
    if (m_count < m_padding) {
        return Result::Damaged;
    }
    if (m_fill > 0 && !sink(reinterpret_cast<const char*>(m_window.data()), m_fill)) {
        return Result::SinkFailed;
    }
    return Result::Ok;
}
