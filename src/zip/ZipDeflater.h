#pragma once

#include <zlib.h>

#include <cstddef>
#include <memory>
#include <vector>

struct libdeflate_compressor;
struct isal_zstream;

// Raw deflate streams made away from the archive, with what the container
// needs to describe them: the CRC-32 of the input and whether zlib's deflate,
// as the container runs it, judges the data to be text (bit 0 of the internal
// attributes). One object per thread; its compressor states are kept from one
// use to the next, because setting one up costs more than deflating a small
// file.
//
// The streams decompress to the input at the level's meaning (0 stored, 1
// fastest ... 9 smallest); their bytes may differ from what the container's
// own deflate writes.
class ZipDeflater
{
public:
    ZipDeflater();
    ~ZipDeflater();

    ZipDeflater(const ZipDeflater&) = delete;
    ZipDeflater& operator=(const ZipDeflater&) = delete;

    // Replaces out with the complete stream of data. False only when the
    // compressor could not be set up (no memory).
    bool deflateWhole(const char* data, size_t size, int level, std::vector<char>* out,
                      bool* text);

    // One piece of a stream cut into pieces: primed with dictionary (the
    // last 32 KiB before the piece, empty for the first), ended with a sync
    // flush, or finished when last. The pieces joined in order are one
    // stream. For the first piece, text is set only when the judgment falls
    // inside it; otherwise *undecided is set and the stream's state is kept
    // for judgeFurther. A piece whose bytes look random is stored in blocks
    // without searching it; levels 1 and 2 go through ISA-L after the first
    // piece.
    bool deflatePiece(const char* dictionary, size_t dictionarySize, const char* data,
                      size_t size, bool last, int level, std::vector<char>* out, bool* text,
                      bool* undecided);
    // Continues the judgment of the first piece over the input that follows
    // it (fed in any number of calls; end: nothing follows). True once the
    // judgment is made, then in *text.
    bool judgeFurther(const char* data, size_t size, bool end, bool* text);

    // The standard CRC-32 (zlib's polynomial), fast.
    static uLong crc32Of(uLong crc, const char* data, size_t size);

    // The window that primes the next piece.
    static constexpr size_t kDictionarySize = 32768;

private:
    bool prepareStream(int level);
    // Sets the stream on data, its output on out (made large enough).
    void feed(const char* data, size_t size, std::vector<char>* out);
    bool runDeflate(z_stream* stream, int flush, std::vector<char>* out);
    bool deflatePieceFast(const char* dictionary, size_t dictionarySize, const char* data,
                          size_t size, bool last, int level, std::vector<char>* out);

    z_stream m_stream {};
    bool m_streamReady = false;
    int m_streamLevel = -1;
    // A copy of the first piece's state while its judgment is still open.
    z_stream m_probe {};
    bool m_probing = false;
    std::vector<char> m_scratch;
    libdeflate_compressor* m_compressor = nullptr;
    int m_compressorLevel = -1;
    std::unique_ptr<isal_zstream> m_isal;
    std::vector<char> m_isalLevelBuffer;
};
