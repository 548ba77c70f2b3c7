#include "zip/ZipEntryReader.h"

#include "zip/ZipAesDecrypter.h"
#include "zip/ZipFileIo.h"
#include "zip/ZipInflate64.h"
#include "zip/ZipPieceRelay.h"

#include <QThread>

#include <bzlib.h>
#include <isa-l/igzip_lib.h>
#include <libdeflate.h>
#include <lzma.h>
#include <zlib.h>

#include <cstdlib>
#include <cstring>
#include <vector>

using ZipFileIo::u16;
using ZipFileIo::u32;

namespace {

constexpr qint64 kLocalHeaderSize = 30;
constexpr qint64 kEncryptionHeaderSize = 12;
constexpr quint16 kAesMethod = 99;
constexpr qint64 kInputSize = 64 * 1024;
constexpr qint64 kOutputSize = 64 * 1024;
// The largest LZMA dictionary an entry may ask for: 7-Zip's own settings stay
// well below it (64 MiB at its strongest).
constexpr quint64 kLzmaDictionaryCap = quint64(512) << 20;
// Deflated entries up to this size (both ways) are decoded in one call of
// libdeflate, two to three times zlib's speed; larger ones stream through
// ISA-L's inflate (1.15-1.53 GB/s on one core here, zlib 0.43-0.47), so
// memory stays bounded.
constexpr quint64 kWholeEntryLimit = quint64(1) << 20;
// Entries from this size on are decoded on a second thread while this one
// takes the CRC and writes: four pieces of 256 KiB in flight at most.
constexpr quint64 kRelayLimit = quint64(8) << 20;
constexpr qsizetype kRelaySlotSize = 256 * 1024;
constexpr int kRelaySlots = 4;

// The keys of traditional PKWARE encryption.
class TraditionalKeys
{
public:
    explicit TraditionalKeys(const QByteArray& password)
    {
        for (const char c : password) {
            update(quint8(c));
        }
    }
    void decrypt(char* data, qint64 size)
    {
        for (qint64 i = 0; i < size; ++i) {
            const quint32 t = (m_keys[2] | 2u) & 0xFFFFu;
            const quint8 plain = quint8(data[i]) ^ quint8((t * (t ^ 1u)) >> 8);
            data[i] = char(plain);
            update(plain);
        }
    }

private:
    static quint32 crc(quint32 value, quint8 byte)
    {
        static const z_crc_t* table = get_crc_table();
        return table[(value ^ byte) & 0xFFu] ^ (value >> 8);
    }
    void update(quint8 byte)
    {
        m_keys[0] = crc(m_keys[0], byte);
        m_keys[1] = (m_keys[1] + (m_keys[0] & 0xFFu)) * 134775813u + 1u;
        m_keys[2] = crc(m_keys[2], quint8(m_keys[1] >> 24));
    }

    quint32 m_keys[3] = { 0x12345678u, 0x23456789u, 0x34567890u };
};

} // namespace

struct ZipEntryReader::Private {
    int fd = -1;
    ZipCentralRecord record;
    quint16 method = 0;    // of the data once decrypted
    qint64 position = 0;  // next compressed byte to read
    quint64 remaining = 0; // compressed bytes left
    std::optional<TraditionalKeys> keys;
    std::unique_ptr<ZipAesDecrypter> aes;
    bool aesActive = false;
    qint64 codePosition = 0; // of the AES authentication code
    std::vector<char> input = std::vector<char>(size_t(kInputSize));
    // Bytes of the file from prefetchStart read into input with the local
    // header, until fill overwrites them.
    qint64 prefetchStart = 0;
    qint64 prefetchSize = 0;
    std::vector<char> output = std::vector<char>(size_t(kOutputSize));
    std::unique_ptr<inflate_state> inflater;
    // While a large entry is decoded on a helper thread: where the decoded
    // pieces go.
    std::unique_ptr<ZipPieceRelay> relay;
    bool relaying = false;
    std::unique_ptr<ZipInflate64> inflate64;
    std::vector<char> wholeInput;
    std::vector<char> wholeOutput;
    std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor*)> decompressor {
        nullptr, libdeflate_free_decompressor
    };

    // The next piece of (decrypted) compressed data in input (or at, up to
    // size bytes): its size, 0 at the end of the entry's data, -1 when the
    // file could not be read.
    qint64 fill();
    qint64 fill(char* at, qint64 size);
    // Where decoded output goes next, and how much room it has; handOn hands
    // the first size bytes of it on (to the relay or to sink).
    char* outputBuffer() { return relaying ? relay->acquire() : output.data(); }
    qsizetype outputSize() const { return relaying ? kRelaySlotSize : kOutputSize; }
    bool handOn(const Sink& sink, qsizetype size)
    {
        return relaying ? relay->publish(size) : sink(output.data(), size);
    }
    // Hands decoded data that lie elsewhere on.
    bool pass(const Sink& sink, const char* data, qsizetype size)
    {
        return relaying ? relay->relay(data, size) : sink(data, size);
    }
    // Decodes the entry's data by its method.
    Result decode(quint16 method, const Sink& sink);
    // Runs a decoder over the entry's data, starting with the piece at next:
    // each call of decode takes input from (next, available), writes output
    // into (out, room) and says whether the stream goes on, ended or failed.
    enum class Step { More, End, Failed };
    template <typename Decode>
    Result pump(const Sink& sink, const char* next, qint64 available, Decode decode);
    Result stored(const Sink& sink);
    Result deflated(const Sink& sink);
    Result deflatedWhole(const Sink& sink);
    Result deflated64(const Sink& sink);
    Result bzip2(const Sink& sink);
    Result lzma(const Sink& sink);
};

qint64 ZipEntryReader::Private::fill()
{
    return fill(input.data(), kInputSize);
}

qint64 ZipEntryReader::Private::fill(char* at, qint64 size)
{
    const qint64 wanted = qint64(qMin<quint64>(remaining, quint64(size)));
    if (wanted == 0) {
        return 0;
    }
    if (position >= prefetchStart && position + wanted <= prefetchStart + prefetchSize) {
        std::memmove(at, input.data() + (position - prefetchStart), size_t(wanted));
    } else if (ZipFileIo::preadFully(fd, at, wanted, position) != wanted) {
        return -1;
    }
    prefetchSize = 0;
    if (keys) {
        keys->decrypt(at, wanted);
    } else if (aesActive) {
        aes->decrypt(at, wanted);
    }
    position += wanted;
    remaining -= quint64(wanted);
    return wanted;
}

ZipEntryReader::Result ZipEntryReader::Private::stored(const Sink& sink)
{
    for (;;) {
        char* out = outputBuffer();
        if (!out) {
            return Result::SinkFailed;
        }
        const qint64 n = fill(out, outputSize());
        if (n <= 0) {
            return n < 0 ? Result::ReadFailed : Result::Ok;
        }
        if (!handOn(sink, n)) {
            return Result::SinkFailed;
        }
    }
}

template <typename Decode>
ZipEntryReader::Result ZipEntryReader::Private::pump(const Sink& sink, const char* next,
                                                     qint64 available, Decode decode)
{
    for (;;) {
        if (available == 0) {
            available = fill();
            if (available < 0) {
                return Result::ReadFailed;
            }
            next = input.data();
        }
        const bool ended = available == 0;
        qsizetype produced = 0;
        char* out = outputBuffer();
        if (!out) {
            return Result::SinkFailed;
        }
        const Step step = decode(&next, &available, out, outputSize(), &produced);
        if (produced > 0 && !handOn(sink, produced)) {
            return Result::SinkFailed;
        }
        if (step == Step::End) {
            return Result::Ok;
        }
        // Input that ends while the stream has not is damaged as well.
        if (step == Step::Failed || (ended && produced == 0)) {
            return Result::Damaged;
        }
    }
}

ZipEntryReader::Result ZipEntryReader::Private::deflatedWhole(const Sink& sink)
{
    if (!decompressor) {
        decompressor.reset(libdeflate_alloc_decompressor());
        if (!decompressor) {
            return Result::Damaged;
        }
    }
    wholeInput.resize(size_t(remaining));
    for (size_t filled = 0; filled < wholeInput.size();) {
        const qint64 n = fill();
        if (n <= 0) {
            return n < 0 ? Result::ReadFailed : Result::Damaged;
        }
        std::memcpy(wholeInput.data() + filled, input.data(), size_t(n));
        filled += size_t(n);
    }
    // A stream longer than its stated size fails for want of space.
    wholeOutput.resize(size_t(record.uncompressedSize));
    size_t consumed = 0;
    size_t produced = 0;
    const libdeflate_result status = libdeflate_deflate_decompress_ex(
        decompressor.get(), wholeInput.data(), wholeInput.size(), wholeOutput.data(),
        wholeOutput.size(), &consumed, &produced);
    if (status != LIBDEFLATE_SUCCESS) {
        return Result::Damaged;
    }
    if (produced > 0 && !pass(sink, wholeOutput.data(), qsizetype(produced))) {
        return Result::SinkFailed;
    }
    return Result::Ok;
}

ZipEntryReader::Result ZipEntryReader::Private::deflated(const Sink& sink)
{
    if (record.uncompressedSize <= kWholeEntryLimit && remaining <= kWholeEntryLimit) {
        return deflatedWhole(sink);
    }
    if (!inflater) {
        inflater = std::make_unique<inflate_state>();
    }
    isal_inflate_init(inflater.get());
    inflater->crc_flag = ISAL_DEFLATE;
    return pump(sink, nullptr, 0,
                [this](const char** next, qint64* available, char* out, qsizetype room,
                       qsizetype* produced) {
                    inflater->next_in = reinterpret_cast<uint8_t*>(const_cast<char*>(*next));
                    inflater->avail_in = uint32_t(*available);
                    inflater->next_out = reinterpret_cast<uint8_t*>(out);
                    inflater->avail_out = uint32_t(room);
                    const int status = isal_inflate(inflater.get());
                    *next = reinterpret_cast<const char*>(inflater->next_in);
                    *available = inflater->avail_in;
                    *produced = room - qsizetype(inflater->avail_out);
                    if (status < 0) {
                        return Step::Failed;
                    }
                    return inflater->block_state == ISAL_BLOCK_FINISH ? Step::End : Step::More;
                });
}

ZipEntryReader::Result ZipEntryReader::Private::deflated64(const Sink& sink)
{
    if (!inflate64) {
        inflate64 = std::make_unique<ZipInflate64>();
    }
    bool readFailed = false;
    const auto refill = [&](const unsigned char** data) {
        const qint64 n = fill();
        readFailed = n < 0;
        *data = reinterpret_cast<const unsigned char*>(input.data());
        return n;
    };
    const auto passed = [&](const char* data, qsizetype size) { return pass(sink, data, size); };
    switch (inflate64->run(refill, passed)) {
    case ZipInflate64::Result::Ok:
        return Result::Ok;
    case ZipInflate64::Result::SinkFailed:
        return Result::SinkFailed;
    case ZipInflate64::Result::InputFailed:
        return Result::ReadFailed;
    case ZipInflate64::Result::Damaged:
        break;
    }
    return readFailed ? Result::ReadFailed : Result::Damaged;
}

ZipEntryReader::Result ZipEntryReader::Private::bzip2(const Sink& sink)
{
    bz_stream stream {};
    if (BZ2_bzDecompressInit(&stream, 0, 0) != BZ_OK) {
        return Result::Damaged;
    }
    const Result result =
        pump(sink, nullptr, 0,
             [&](const char** next, qint64* available, char* out, qsizetype room,
                 qsizetype* produced) {
            stream.next_in = const_cast<char*>(*next);
            stream.avail_in = unsigned(*available);
            stream.next_out = out;
            stream.avail_out = unsigned(room);
            const int status = BZ2_bzDecompress(&stream);
            *next = stream.next_in;
            *available = stream.avail_in;
            *produced = room - qsizetype(stream.avail_out);
            return status == BZ_STREAM_END ? Step::End : status == BZ_OK ? Step::More : Step::Failed;
        });
    BZ2_bzDecompressEnd(&stream);
    return result;
}

ZipEntryReader::Result ZipEntryReader::Private::lzma(const Sink& sink)
{
    // ZIP's LZMA data begin with the coder's version (2 bytes), the size of
    // its properties (2 bytes, 5) and the properties; then a raw LZMA stream,
    // with or without an end marker (flag bit 1), so decoding stops at the
    // stated size.
    const qint64 n = fill();
    if (n < 0) {
        return Result::ReadFailed;
    }
    if (n < 9 || u16(input.data() + 2) != 5) {
        return Result::Damaged;
    }
    lzma_filter filters[2] = { { LZMA_FILTER_LZMA1, nullptr }, { LZMA_VLI_UNKNOWN, nullptr } };
    if (lzma_properties_decode(&filters[0], nullptr,
                               reinterpret_cast<const uint8_t*>(input.data() + 4), 5)
        != LZMA_OK) {
        return Result::Damaged;
    }
    // The decoder allocates the whole dictionary the properties state (up to
    // 4 GiB) before it reads a byte. No match reaches further back than the
    // entry's start, so a dictionary of the entry's size decodes the same;
    // beyond the cap an entry needs more memory than is safe to hand to an
    // archive, and is refused as unsupported.
    auto* options = static_cast<lzma_options_lzma*>(filters[0].options);
    options->dict_size = quint32(qMin<quint64>(options->dict_size,
                                                qMax<quint64>(record.uncompressedSize, LZMA_DICT_SIZE_MIN)));
    if (options->dict_size > kLzmaDictionaryCap) {
        std::free(filters[0].options);
        return Result::UnsupportedMethod;
    }
    lzma_stream stream = LZMA_STREAM_INIT;
    const lzma_ret ready = lzma_raw_decoder(&stream, filters);
    std::free(filters[0].options);
    if (ready != LZMA_OK) {
        return Result::Damaged;
    }
    quint64 left = record.uncompressedSize;
    const Result result = pump(
        sink, input.data() + 9, n - 9,
        [&](const char** next, qint64* available, char* out, qsizetype room,
            qsizetype* produced) {
            if (left == 0) {
                return Step::End;
            }
            stream.next_in = reinterpret_cast<const uint8_t*>(*next);
            stream.avail_in = size_t(*available);
            stream.next_out = reinterpret_cast<uint8_t*>(out);
            stream.avail_out = size_t(qMin<quint64>(left, quint64(room)));
            const lzma_ret status = lzma_code(&stream, LZMA_RUN);
            *next = reinterpret_cast<const char*>(stream.next_in);
            *available = qint64(stream.avail_in);
            *produced = qsizetype(reinterpret_cast<char*>(stream.next_out) - out);
            left -= quint64(*produced);
            return status == LZMA_STREAM_END || left == 0 ? Step::End
                : status == LZMA_OK                        ? Step::More
                                                           : Step::Failed;
        });
    lzma_end(&stream);
    return result;
}

ZipEntryReader::Result ZipEntryReader::Private::decode(quint16 method, const Sink& sink)
{
    switch (method) {
    case 0:
        return stored(sink);
    case 8:
        return deflated(sink);
    case 9:
        return deflated64(sink);
    case 12:
        return bzip2(sink);
    case 14:
        return lzma(sink);
    default:
        break;
    }
    return Result::UnsupportedMethod;
}

ZipEntryReader::ZipEntryReader()
    : d(std::make_unique<Private>())
{
}

ZipEntryReader::~ZipEntryReader() = default;

ZipEntryReader::Result ZipEntryReader::open(int fd, const ZipCentralDirectory& directory,
                                            const ZipCentralRecord& record,
                                            const QList<QByteArray>& passwords)
{
    m_passwordIndex = -1;
    d->fd = fd;
    d->record = record;
    d->keys.reset();
    d->aesActive = false;
    const bool encrypted = record.flag & 0x0001;
    const bool aes = record.method == kAesMethod;
    if (encrypted && (record.flag & 0x0040)) {
        return Result::UnsupportedEncryption;
    }
    if (aes && (!encrypted || ZipAesDecrypter::saltSize(record.aesStrength) == 0)) {
        return Result::Damaged; // method 99 without its field, or not encrypted
    }
    d->method = aes ? record.aesMethod : record.method;
    switch (d->method) {
    case 0:
    case 8:
    case 9:
    case 12:
    case 14:
        break;
    default:
        return Result::UnsupportedMethod;
    }
    if (record.overlaps) {
        return Result::Overlaps;
    }

    // Header and name in one read, and a small entry's data with them: with
    // many small entries every system call counts. The local extra field is
    // rarely longer than the room left for it.
    constexpr qint64 kLocalExtraRoom = 256;
    const QByteArrayView name = directory.name(record);
    const qint64 offset = qint64(record.localHeaderOffset);
    const qint64 headerSize = kLocalHeaderSize + name.size();
    if (qint64(d->input.size()) < headerSize) {
        d->input.resize(size_t(headerSize));
    }
    qint64 readSize = headerSize;
    if (!encrypted && record.compressedSize <= quint64(kInputSize)
        && headerSize + kLocalExtraRoom + qint64(record.compressedSize) <= kInputSize) {
        readSize = headerSize + kLocalExtraRoom + qint64(record.compressedSize);
    }
    char* header = d->input.data();
    d->prefetchSize = 0;
    const qint64 got = ZipFileIo::preadFully(fd, header, readSize, offset);
    if (got < headerSize
        || std::memcmp(header, "PK\x03\x04", 4) != 0 || u16(header + 26) != name.size()
        || u16(header + 8) != record.method
        || QByteArrayView(header + kLocalHeaderSize, name.size()) != name) {
        return Result::BadLocalHeader;
    }
    d->prefetchStart = offset;
    d->prefetchSize = got;
    const quint16 localTime = u16(header + 10);
    d->position = offset + headerSize + u16(header + 28);
    d->remaining = record.compressedSize;
    if (quint64(d->position) > record.dataLimit
        || record.dataLimit - quint64(d->position) < record.compressedSize) {
        return Result::Overlaps;
    }

    if (aes) {
        return openAes(passwords);
    }
    if (encrypted) {
        if (d->remaining < quint64(kEncryptionHeaderSize)) {
            return Result::Damaged;
        }
        char stored[kEncryptionHeaderSize];
        if (ZipFileIo::preadFully(fd, stored, kEncryptionHeaderSize, d->position)
            != kEncryptionHeaderSize) {
            return Result::ReadFailed;
        }
        // The last header byte is the CRC's high byte, or with a data
        // descriptor the high byte of the time (the CRC was not known yet).
        const quint8 check = (record.flag & 0x0008) ? quint8(localTime >> 8)
                                                    : quint8(record.crc >> 24);
        for (qsizetype i = 0; i < passwords.size() && m_passwordIndex < 0; ++i) {
            TraditionalKeys keys(passwords.at(i));
            char decrypted[kEncryptionHeaderSize];
            std::memcpy(decrypted, stored, sizeof decrypted);
            keys.decrypt(decrypted, kEncryptionHeaderSize);
            if (quint8(decrypted[kEncryptionHeaderSize - 1]) == check) {
                m_passwordIndex = int(i);
                d->keys = keys;
            }
        }
        if (m_passwordIndex < 0) {
            return Result::WrongPassword;
        }
        d->position += kEncryptionHeaderSize;
        d->remaining -= quint64(kEncryptionHeaderSize);
    }
    return Result::Ok;
}

ZipEntryReader::Result ZipEntryReader::openAes(const QList<QByteArray>& passwords)
{
    // Salt and verifier before the data, the authentication code after.
    const qint64 saltSize = ZipAesDecrypter::saltSize(d->record.aesStrength);
    const qint64 headerSize = saltSize + ZipAesDecrypter::kVerifierSize;
    if (d->remaining < quint64(headerSize + ZipAesDecrypter::kCodeSize)) {
        return Result::Damaged;
    }
    char header[16 + ZipAesDecrypter::kVerifierSize];
    if (ZipFileIo::preadFully(d->fd, header, headerSize, d->position) != headerSize) {
        return Result::ReadFailed;
    }
    if (!d->aes) {
        d->aes = std::make_unique<ZipAesDecrypter>();
    }
    const QByteArrayView salt(header, saltSize);
    const QByteArrayView verifier(header + saltSize, ZipAesDecrypter::kVerifierSize);
    const quint64 dataSize = d->remaining - quint64(headerSize + ZipAesDecrypter::kCodeSize);
    for (qsizetype i = 0; i < passwords.size() && m_passwordIndex < 0; ++i) {
        if (d->aes->begin(d->record.aesStrength, passwords.at(i), salt, verifier, dataSize)) {
            m_passwordIndex = int(i);
        }
    }
    if (m_passwordIndex < 0) {
        return Result::WrongPassword;
    }
    d->aesActive = true;
    d->position += headerSize;
    d->remaining -= quint64(headerSize + ZipAesDecrypter::kCodeSize);
    d->codePosition = d->position + qint64(d->remaining);
    return Result::Ok;
}

bool ZipEntryReader::isDamage(Result result)
{
    switch (result) {
    case Result::Overlaps:
    case Result::BadLocalHeader:
    case Result::ReadFailed:
    case Result::Damaged:
    case Result::CrcMismatch:
    case Result::AuthenticationFailed:
        return true;
    case Result::Ok:
    case Result::UnsupportedMethod:
    case Result::UnsupportedEncryption:
    case Result::WrongPassword:
    case Result::SinkFailed:
        break;
    }
    return false;
}

ZipEntryReader::Result ZipEntryReader::read(const Sink& sink)
{
    quint64 produced = 0;
    // libdeflate's CRC uses carry-less multiplication where the processor
    // has it: three times zlib's speed, which the read-back check feels.
    quint32 crc = 0;
    // AE-2 stores no CRC: the authentication code stands in for it.
    const bool crcStored = !d->aesActive || d->record.aesVersion != 2;
    bool tooLong = false;
    const quint64 expected = d->record.uncompressedSize;
    // Data beyond the stated size are never written: a lying entry cannot
    // fill the disk.
    const Sink counted = [&](const char* data, qsizetype size) {
        if (quint64(size) > expected - produced) {
            tooLong = true;
            return false;
        }
        produced += quint64(size);
        if (crcStored) {
            crc = libdeflate_crc32(crc, data, size_t(size));
        }
        return sink(data, size);
    };
    Result result = Result::Damaged;
    static const bool twoCores = QThread::idealThreadCount() >= 2;
    if (twoCores && expected >= kRelayLimit) {
        // Decoding on a helper thread; the CRC and the sink stay on this one.
        if (!d->relay) {
            d->relay = std::make_unique<ZipPieceRelay>(kRelaySlotSize, kRelaySlots);
        }
        d->relaying = true;
        const auto produce = [&] { result = d->decode(d->method, counted); };
        const bool accepted = d->relay->run(produce, counted);
        d->relaying = false;
        if (!accepted && result == Result::Ok) {
            result = Result::SinkFailed;
        }
    } else {
        result = d->decode(d->method, counted);
    }
    if (result == Result::UnsupportedMethod) {
        return result;
    }
    if (tooLong) {
        return Result::Damaged;
    }
    if (result != Result::Ok) {
        return result;
    }
    if (d->aesActive) {
        // The code covers every encrypted byte, also those after the end of
        // a compressed stream.
        while (d->remaining > 0) {
            if (d->fill() < 0) {
                return Result::ReadFailed;
            }
        }
        char code[ZipAesDecrypter::kCodeSize];
        if (ZipFileIo::preadFully(d->fd, code, sizeof code, d->codePosition) != qint64(sizeof code)) {
            return Result::ReadFailed;
        }
        if (!d->aes->authenticates(QByteArrayView(code, sizeof code))) {
            return Result::AuthenticationFailed;
        }
    }
    if (produced != expected) {
        return Result::Damaged;
    }
    return !crcStored || quint32(crc) == d->record.crc ? Result::Ok : Result::CrcMismatch;
}
