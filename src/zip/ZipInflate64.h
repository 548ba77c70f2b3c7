#pragma once

#include <QtGlobal>

#include <array>
#include <functional>
#include <vector>

// A decoder of Deflate64 (ZIP method 9), the "enhanced deflate" that Windows
// and 7-Zip write for large files. It is deflate with three changes: a 64 KiB
// window, length code 285 meaning 3 plus 16 extra bits (not 258), and the
// distance codes 30 and 31 (32,769 and 49,153 plus 14 extra bits). Debian has
// no library for it; this one follows the published format.
class ZipInflate64
{
public:
    // Hands out the next piece of input: a pointer to it and its size; 0 at
    // the end of the input, negative on a read error.
    using Refill = std::function<qint64(const unsigned char**)>;
    // Takes a piece of output; false stops decoding.
    using Sink = std::function<bool(const char*, qsizetype)>;

    enum class Result { Ok, Damaged, InputFailed, SinkFailed };

    ZipInflate64();

    // Decodes one whole stream. Damaged for invalid data, or input that ends
    // before the final block does.
    Result run(const Refill& refill, const Sink& sink);

private:
    // A code as a table indexed by the next 15 bits of input (least
    // significant bit first); an entry holds symbol << 4 | code length, 0 for
    // bit patterns that are no code.
    using Table = std::vector<quint16>;

    bool need(int bits);
    quint32 take(int bits);
    bool decode(const Table& table, int* symbol);
    static bool build(Table& table, const quint8* lengths, int count);
    bool put(quint8 byte);
    bool dynamicTables();
    Result block(const Table& literals, const Table& distances);

    const Refill* m_refill = nullptr;
    const Sink* m_sink = nullptr;
    const unsigned char* m_in = nullptr;
    const unsigned char* m_end = nullptr;
    quint64 m_bits = 0;
    int m_count = 0;
    // Zero bits appended after the input ended, so that a 15-bit look-ahead
    // works at the end; consuming any of them means the input was cut short.
    int m_padding = 0;
    bool m_inputFailed = false;
    bool m_sinkFailed = false;

    std::vector<quint8> m_window;
    quint32 m_fill = 0;   // bytes in the window since its last flush
    quint64 m_total = 0;  // bytes produced
    Table m_literals;
    Table m_distances;
    Table m_fixedLiterals;
    Table m_fixedDistances;
};
