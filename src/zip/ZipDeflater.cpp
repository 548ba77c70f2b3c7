#include "zip/ZipDeflater.h"

#include <isa-l/igzip_lib.h>
#include <libdeflate.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace {

// What the container's deflate is set up with.
constexpr int kWindowBits = -MAX_WBITS;
constexpr int kMemLevel = 8;
// zlib ends its first block after this many symbols (memory level 8) and
// judges text from that block's literals.
constexpr size_t kFirstBlockSymbols = 16383;

// Whole entries up to this size go to libdeflate. Measured on 5,000 text-like
// files of 1-16 KiB, it is faster than zlib at the same level and its output
// is smaller, at every level from 1 to 9 (level 4: 455 ms against 597 ms,
// 15.08 MB against 15.19 MB); level 0 stores in both.
constexpr size_t kLibdeflateLimit = 256 * 1024;

// A piece whose bytes carry more than this many bits of information each
// (order 0) gains nothing from deflate: random data, or data compressed
// already. It is stored in blocks of its own instead, as deflate itself
// would end up doing after searching it for matches (zlib level 4 takes
// 10-20 times longer on such data than on text). Text comes out at 4-6 bits.
constexpr double kIncompressibleBits = 7.9;

bool looksIncompressible(const unsigned char* data, size_t size)
{
    if (size < 4096) {
        return false;
    }
    // Four histograms: one would stall on runs of the same byte.
    uint32_t counts[4][256] = {};
    size_t i = 0;
    for (; i + 4 <= size; i += 4) {
        ++counts[0][data[i]];
        ++counts[1][data[i + 1]];
        ++counts[2][data[i + 2]];
        ++counts[3][data[i + 3]];
    }
    for (; i < size; ++i) {
        ++counts[0][data[i]];
    }
    double bits = 0;
    const double total = double(size);
    for (int c = 0; c < 256; ++c) {
        const uint32_t n = counts[0][c] + counts[1][c] + counts[2][c] + counts[3][c];
        if (n > 0) {
            const double p = double(n) / total;
            bits -= p * std::log2(p);
        }
    }
    return bits > kIncompressibleBits;
}

// Stored blocks of at most 65,535 bytes; byte-aligned at both ends, so they
// join a stream cut at sync flushes. The last one is final when last.
void storeBlocks(const char* data, size_t size, bool last, std::vector<char>* out)
{
    constexpr size_t kBlock = 65535;
    out->resize(size + 5 * (size / kBlock + 1));
    char* at = out->data();
    size_t left = size;
    do {
        const size_t n = std::min(left, kBlock);
        left -= n;
        *at++ = char(last && left == 0 ? 1 : 0);
        *at++ = char(n & 0xFF);
        *at++ = char(n >> 8);
        *at++ = char(~n & 0xFF);
        *at++ = char((~n >> 8) & 0xFF);
        std::memcpy(at, data, n);
        at += n;
        data += n;
    } while (left > 0);
    out->resize(size_t(at - out->data()));
}

// zlib's judgment of its first block, worked out from the bytes alone: every
// byte value in the block's range first appears there as a literal (a match
// only copies what came before), so the literal values are the byte values of
// the range. The block covers at least the first 16,383 bytes (or all), at
// most more: 1 text, 0 binary, -1 when the answer depends on where it ends.
int judgeFromBytes(const unsigned char* data, size_t size)
{
    // Bytes 0-6, 14-25 and 28-31 make a block binary; 9, 10, 13 and 32-255
    // make one text unless it holds one of those.
    constexpr uint32_t kBlockListed = 0xf3ffc07fu;
    constexpr uint32_t kAllowListed = (1u << 9) | (1u << 10) | (1u << 13);
    size_t firstBlocked = size;
    size_t firstAllowed = size;
    for (size_t i = 0; i < size; ++i) {
        const unsigned c = data[i];
        if (c >= 32) {
            firstAllowed = std::min(firstAllowed, i);
        } else if (kBlockListed & (1u << c)) {
            firstBlocked = i;
            break;
        } else if (kAllowListed & (1u << c)) {
            firstAllowed = std::min(firstAllowed, i);
        }
    }
    const size_t surely = std::min(size, kFirstBlockSymbols);
    if (firstBlocked < surely) {
        return 0;
    }
    if (firstBlocked == size) {
        if (firstAllowed < surely) {
            return 1;
        }
        if (firstAllowed == size) {
            return 0;
        }
    }
    return -1;
}

} // namespace

ZipDeflater::ZipDeflater() = default;

ZipDeflater::~ZipDeflater()
{
    if (m_probing) {
        deflateEnd(&m_probe);
    }
    if (m_streamReady) {
        deflateEnd(&m_stream);
    }
    if (m_compressor) {
        libdeflate_free_compressor(m_compressor);
    }
}

bool ZipDeflater::deflatePieceFast(const char* dictionary, size_t dictionarySize,
                                   const char* data, size_t size, bool last, int level,
                                   std::vector<char>* out)
{
    if (!m_isal) {
        m_isal = std::make_unique<isal_zstream>();
    }
    const uint32_t bufferSize = level == 1 ? ISAL_DEF_LVL1_DEFAULT : ISAL_DEF_LVL2_DEFAULT;
    if (m_isalLevelBuffer.size() < bufferSize) {
        m_isalLevelBuffer.resize(bufferSize);
    }
    isal_zstream& stream = *m_isal;
    isal_deflate_init(&stream);
    stream.level = uint32_t(level);
    stream.level_buf = reinterpret_cast<uint8_t*>(m_isalLevelBuffer.data());
    stream.level_buf_size = bufferSize;
    stream.gzip_flag = IGZIP_DEFLATE;
    if (dictionarySize > 0
        && isal_deflate_set_dict(&stream,
                                 reinterpret_cast<uint8_t*>(const_cast<char*>(dictionary)),
                                 uint32_t(dictionarySize))
            != COMP_OK) {
        return false;
    }
    stream.next_in = reinterpret_cast<uint8_t*>(const_cast<char*>(data));
    stream.avail_in = uint32_t(size);
    stream.end_of_stream = last ? 1 : 0;
    stream.flush = last ? NO_FLUSH : SYNC_FLUSH;
    out->resize(size + size / 8 + 4096);
    size_t used = 0;
    for (;;) {
        stream.next_out = reinterpret_cast<uint8_t*>(out->data() + used);
        stream.avail_out = uint32_t(out->size() - used);
        if (isal_deflate(&stream) != COMP_OK) {
            return false;
        }
        used = out->size() - stream.avail_out;
        const bool done = stream.avail_in == 0
            && (last ? stream.internal_state.state == ZSTATE_END
                     : stream.internal_state.state == ZSTATE_NEW_HDR);
        if (done) {
            break;
        }
        if (stream.avail_out == 0) {
            out->resize(out->size() + out->size() / 2);
        }
    }
    out->resize(used);
    return true;
}

uLong ZipDeflater::crc32Of(uLong crc, const char* data, size_t size)
{
    return libdeflate_crc32(uint32_t(crc), data, size);
}

bool ZipDeflater::prepareStream(int level)
{
    if (m_probing) {
        deflateEnd(&m_probe);
        m_probing = false;
    }
    if (m_streamReady && m_streamLevel == level) {
        return deflateReset(&m_stream) == Z_OK;
    }
    if (m_streamReady) {
        deflateEnd(&m_stream);
        m_streamReady = false;
    }
    m_stream = z_stream {};
    if (deflateInit2(&m_stream, level, Z_DEFLATED, kWindowBits, kMemLevel, Z_DEFAULT_STRATEGY)
        != Z_OK) {
        return false;
    }
    m_streamReady = true;
    m_streamLevel = level;
    return true;
}

bool ZipDeflater::runDeflate(z_stream* stream, int flush, std::vector<char>* out)
{
    for (;;) {
        if (stream->avail_out == 0) {
            const size_t used = size_t(stream->next_out - reinterpret_cast<Bytef*>(out->data()));
            out->resize(out->size() + std::max<size_t>(4096, out->size() / 2));
            stream->next_out = reinterpret_cast<Bytef*>(out->data()) + used;
            stream->avail_out = uInt(out->size() - used);
        }
        const int status = deflate(stream, flush);
        if (status == Z_STREAM_ERROR) {
            return false;
        }
        const bool done = flush == Z_FINISH ? status == Z_STREAM_END
                                            : stream->avail_in == 0 && stream->avail_out != 0;
        if (done) {
            return true;
        }
    }
}

void ZipDeflater::feed(const char* data, size_t size, std::vector<char>* out)
{
    out->resize(deflateBound(&m_stream, uLong(size)) + 16);
    m_stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data));
    m_stream.avail_in = uInt(size);
    m_stream.next_out = reinterpret_cast<Bytef*>(out->data());
    m_stream.avail_out = uInt(out->size());
}

bool ZipDeflater::deflateWhole(const char* data, size_t size, int level, std::vector<char>* out,
                               bool* text)
{
    if (level >= 0 && level <= 9 && size <= kLibdeflateLimit) {
        const int judged =
            level == 0 ? 0 : judgeFromBytes(reinterpret_cast<const unsigned char*>(data), size);
        if (judged >= 0) {
            if (!m_compressor || m_compressorLevel != level) {
                if (m_compressor) {
                    libdeflate_free_compressor(m_compressor);
                }
                m_compressor = libdeflate_alloc_compressor(level);
                m_compressorLevel = m_compressor ? level : -1;
            }
            if (m_compressor) {
                out->resize(libdeflate_deflate_compress_bound(m_compressor, size));
                const size_t written =
                    libdeflate_deflate_compress(m_compressor, data, size, out->data(), out->size());
                if (written > 0) {
                    out->resize(written);
                    *text = judged == 1;
                    return true;
                }
            }
        }
    }

    if (!prepareStream(level)) {
        return false;
    }
    feed(data, size, out);
    if (!runDeflate(&m_stream, Z_FINISH, out)) {
        return false;
    }
    out->resize(size_t(m_stream.next_out - reinterpret_cast<Bytef*>(out->data())));
    *text = m_stream.data_type == Z_TEXT;
    return true;
}

bool ZipDeflater::deflatePiece(const char* dictionary, size_t dictionarySize, const char* data,
                               size_t size, bool last, int level, std::vector<char>* out,
                               bool* text, bool* undecided)
{
    *undecided = false;
    const bool first = dictionarySize == 0;
    if (level > 0 && looksIncompressible(reinterpret_cast<const unsigned char*>(data), size)) {
        // The judgment of a first piece comes from its bytes; random bytes
        // always hold some that make it binary.
        const int judged =
            first ? judgeFromBytes(reinterpret_cast<const unsigned char*>(data), size) : 0;
        if (judged >= 0) {
            if (first) {
                *text = judged == 1;
            }
            storeBlocks(data, size, last, out);
            return true;
        }
    }
    // ISA-L at levels 1 and 2: smaller than zlib's level 1 and several times
    // faster. The first piece stays with zlib, whose deflate makes the text
    // judgment.
    if (!first && (level == 1 || level == 2)) {
        return deflatePieceFast(dictionary, dictionarySize, data, size, last, level, out);
    }
    if (!prepareStream(level)) {
        return false;
    }
    if (dictionarySize > 0
        && deflateSetDictionary(&m_stream, reinterpret_cast<const Bytef*>(dictionary),
                                uInt(dictionarySize))
            != Z_OK) {
        return false;
    }
    feed(data, size, out);
    if (first && !last) {
        // The judgment falls in the first block; when that block does not end
        // inside this piece, the whole stream's deflate would go on into the
        // next input before making it.
        if (!runDeflate(&m_stream, Z_NO_FLUSH, out)) {
            return false;
        }
        if (m_stream.data_type == Z_UNKNOWN && level > 0) {
            if (deflateCopy(&m_probe, &m_stream) != Z_OK) {
                return false;
            }
            m_probing = true;
            *undecided = true;
        } else {
            *text = m_stream.data_type == Z_TEXT;
        }
    }
    if (!runDeflate(&m_stream, last ? Z_FINISH : Z_SYNC_FLUSH, out)) {
        return false;
    }
    out->resize(size_t(m_stream.next_out - reinterpret_cast<Bytef*>(out->data())));
    if (first && last) {
        *text = m_stream.data_type == Z_TEXT;
    }
    return true;
}

bool ZipDeflater::judgeFurther(const char* data, size_t size, bool end, bool* text)
{
    if (!m_probing) {
        return false;
    }
    if (m_scratch.size() < 65536) {
        m_scratch.resize(65536);
    }
    m_probe.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data));
    m_probe.avail_in = uInt(size);
    for (;;) {
        m_probe.next_out = reinterpret_cast<Bytef*>(m_scratch.data());
        m_probe.avail_out = uInt(m_scratch.size());
        const int status = deflate(&m_probe, end ? Z_FINISH : Z_NO_FLUSH);
        if (status == Z_STREAM_ERROR) {
            break;
        }
        if (m_probe.data_type != Z_UNKNOWN || status == Z_STREAM_END) {
            *text = m_probe.data_type == Z_TEXT;
            deflateEnd(&m_probe);
            m_probing = false;
            return true;
        }
        if (m_probe.avail_in == 0 && m_probe.avail_out != 0) {
            return false;
        }
    }
    deflateEnd(&m_probe);
    m_probing = false;
    *text = false;
    return true;
}
