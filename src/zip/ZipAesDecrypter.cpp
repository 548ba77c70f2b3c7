#include "zip/ZipAesDecrypter.h"

#include <QtEndian>

#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/params.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <sched.h>
#include <thread>
#include <vector>

namespace {

constexpr int kIterations = 1000;
constexpr int kBlock = 16;
// Key stream made per call of the cipher: enough blocks that AES-NI works on
// many at once, few enough to stay in the first-level cache with the data.
constexpr int kBatchBlocks = 512;
constexpr int kBatch = kBatchBlocks * kBlock;
// Entries from this size on are authenticated on a second core.
constexpr quint64 kHelperFrom = quint64(4) << 20;
constexpr int kSlots = 4;
constexpr size_t kSlotSize = size_t(256) << 10;

const EVP_CIPHER* cipherOf(int strength)
{
    switch (strength) {
    case 1:
        return EVP_aes_128_ecb();
    case 2:
        return EVP_aes_192_ecb();
    case 3:
        return EVP_aes_256_ecb();
    default:
        return nullptr;
    }
}

// Whether this process may run on more than one processor (a process pinned
// to one gains nothing from a helper thread, and pays for the hand-over).
bool severalProcessors()
{
    cpu_set_t set;
    CPU_ZERO(&set);
    return sched_getaffinity(0, sizeof set, &set) == 0 ? CPU_COUNT(&set) > 1
                                                       : std::thread::hardware_concurrency() > 1;
}

} // namespace

struct ZipAesDecrypter::Private {
    EVP_CIPHER_CTX* cipher = EVP_CIPHER_CTX_new();
    EVP_MAC* hmac = EVP_MAC_fetch(nullptr, "HMAC", nullptr);
    EVP_MAC_CTX* code = hmac ? EVP_MAC_CTX_new(hmac) : nullptr;
    bool ready = false;
    // WinZip's counter is the whole 16-byte block read as a little-endian
    // number, starting at 1 (where the counter mode of most libraries counts
    // big-endian), so the blocks are numbered here and encrypted in batches.
    quint64 counterLow = 0;
    quint64 counterHigh = 0;
    alignas(64) unsigned char counters[kBatch];
    alignas(64) unsigned char stream[kBatch];
    int streamAt = kBatch;

    // The code costs three times the decryption (SHA-1 against AES-NI), so
    // large entries are authenticated on a second core: the encrypted bytes
    // are copied into slots that a helper takes into the code in order. The
    // code context is the helper's while slots are handed over; the caller
    // uses it again once they are all taken.
    struct Helper {
        std::thread thread;
        std::mutex mutex;
        std::condition_variable changed;
        std::array<std::vector<unsigned char>, kSlots> buffers;
        int first = 0;  // the oldest slot handed over
        int handed = 0; // slots handed over and not yet taken
        bool failed = false;
        bool quit = false;
    };
    std::unique_ptr<Helper> helper;
    bool helped = false; // the current entry's code is the helper's
    std::vector<unsigned char>* filling = nullptr; // the slot being filled

    ~Private()
    {
        if (helper) {
            {
                const std::lock_guard<std::mutex> lock(helper->mutex);
                helper->quit = true;
            }
            helper->changed.notify_all();
            helper->thread.join();
        }
        EVP_MAC_CTX_free(code);
        EVP_MAC_free(hmac);
        EVP_CIPHER_CTX_free(cipher);
    }
    bool refill();
    void help();
    bool authenticate(const unsigned char* data, size_t size);
    void handOver();
    // Waits until the helper has taken every slot; false when an update failed.
    bool drain();
};

void ZipAesDecrypter::Private::help()
{
    std::unique_lock<std::mutex> lock(helper->mutex);
    for (;;) {
        helper->changed.wait(lock, [this] { return helper->quit || helper->handed > 0; });
        if (helper->handed == 0) {
            return; // told to quit, nothing left
        }
        std::vector<unsigned char>& slot = helper->buffers[size_t(helper->first)];
        lock.unlock();
        const bool ok = EVP_MAC_update(code, slot.data(), slot.size()) == 1;
        slot.clear();
        lock.lock();
        helper->failed = helper->failed || !ok;
        helper->first = (helper->first + 1) % kSlots;
        --helper->handed;
        helper->changed.notify_all();
    }
}

bool ZipAesDecrypter::Private::authenticate(const unsigned char* data, size_t size)
{
    if (!helped) {
        return EVP_MAC_update(code, data, size) == 1;
    }
    while (size > 0) {
        if (!filling) {
            std::unique_lock<std::mutex> lock(helper->mutex);
            helper->changed.wait(lock, [this] { return helper->handed < kSlots; });
            filling = &helper->buffers[size_t((helper->first + helper->handed) % kSlots)];
        }
        const size_t n = std::min(size, kSlotSize - filling->size());
        filling->insert(filling->end(), data, data + n);
        data += n;
        size -= n;
        if (filling->size() == kSlotSize) {
            handOver();
        }
    }
    return true;
}

void ZipAesDecrypter::Private::handOver()
{
    {
        const std::lock_guard<std::mutex> lock(helper->mutex);
        ++helper->handed;
    }
    filling = nullptr;
    helper->changed.notify_all();
}

bool ZipAesDecrypter::Private::drain()
{
    if (!helped) {
        return true;
    }
    if (filling && !filling->empty()) {
        handOver();
    }
    std::unique_lock<std::mutex> lock(helper->mutex);
    helper->changed.wait(lock, [this] { return helper->handed == 0; });
    if (filling) {
        filling->clear();
        filling = nullptr;
    }
    const bool ok = !helper->failed;
    helper->failed = false;
    helped = false;
    return ok;
}

bool ZipAesDecrypter::Private::refill()
{
    for (int i = 0; i < kBatchBlocks; ++i) {
        if (++counterLow == 0) {
            ++counterHigh;
        }
        qToLittleEndian(counterLow, counters + i * kBlock);
        qToLittleEndian(counterHigh, counters + i * kBlock + 8);
    }
    int made = 0;
    if (EVP_EncryptUpdate(cipher, stream, &made, counters, kBatch) != 1 || made != kBatch) {
        return false;
    }
    streamAt = 0;
    return true;
}

ZipAesDecrypter::ZipAesDecrypter()
    : d(std::make_unique<Private>())
{
}

ZipAesDecrypter::~ZipAesDecrypter() = default;

qsizetype ZipAesDecrypter::saltSize(int strength)
{
    return strength >= 1 && strength <= 3 ? 4 + 4 * strength : 0;
}

bool ZipAesDecrypter::begin(int strength, QByteArrayView password, QByteArrayView salt,
                            QByteArrayView verifier, quint64 dataSize)
{
    d->drain(); // what an entry left unread is dropped
    d->ready = false;
    const EVP_CIPHER* cipher = cipherOf(strength);
    const int keySize = 8 + 8 * strength;
    if (!cipher || !d->cipher || !d->code || salt.size() != saltSize(strength)
        || verifier.size() != kVerifierSize) {
        return false;
    }
    // The AES key, the HMAC key of the same size, and the verifier.
    unsigned char keys[2 * 32 + kVerifierSize];
    const int derived = 2 * keySize + int(kVerifierSize);
    char digest[] = "SHA1";
    const OSSL_PARAM parameters[] = {
        OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, digest, 0),
        OSSL_PARAM_construct_end(),
    };
    const bool fits =
        PKCS5_PBKDF2_HMAC_SHA1(password.data(), int(password.size()),
                               reinterpret_cast<const unsigned char*>(salt.data()), int(salt.size()),
                               kIterations, derived, keys)
            == 1
        && std::memcmp(keys + 2 * keySize, verifier.data(), size_t(kVerifierSize)) == 0
        && EVP_EncryptInit_ex(d->cipher, cipher, nullptr, keys, nullptr) == 1
        && EVP_CIPHER_CTX_set_padding(d->cipher, 0) == 1
        && EVP_MAC_init(d->code, keys + keySize, size_t(keySize), parameters) == 1;
    OPENSSL_cleanse(keys, sizeof keys);
    if (!fits) {
        return false;
    }
    d->counterLow = 0;
    d->counterHigh = 0;
    d->streamAt = kBatch;
    d->ready = true;
    static const bool helpful = severalProcessors();
    if (dataSize >= kHelperFrom && helpful) {
        if (!d->helper) {
            d->helper = std::make_unique<Private::Helper>();
            for (std::vector<unsigned char>& slot : d->helper->buffers) {
                slot.reserve(kSlotSize);
            }
            d->helper->thread = std::thread([this] { d->help(); });
        }
        d->helped = true;
    }
    return true;
}

void ZipAesDecrypter::decrypt(char* data, qsizetype size)
{
    if (!d->ready) {
        return;
    }
    if (!d->authenticate(reinterpret_cast<const unsigned char*>(data), size_t(size))) {
        d->ready = false;
        return;
    }
    while (size > 0) {
        if (d->streamAt == kBatch && !d->refill()) {
            d->ready = false;
            return;
        }
        const int n = int(qMin<qsizetype>(size, kBatch - d->streamAt));
        const unsigned char* key = d->stream + d->streamAt;
        int i = 0;
        for (; i + 8 <= n; i += 8) {
            quint64 a;
            quint64 b;
            std::memcpy(&a, data + i, 8);
            std::memcpy(&b, key + i, 8);
            a ^= b;
            std::memcpy(data + i, &a, 8);
        }
        for (; i < n; ++i) {
            data[i] = char(quint8(data[i]) ^ key[i]);
        }
        data += n;
        size -= n;
        d->streamAt += n;
    }
}

bool ZipAesDecrypter::authenticates(QByteArrayView storedCode)
{
    const bool taken = d->drain();
    if (!d->ready || !taken || storedCode.size() != kCodeSize) {
        d->ready = false;
        return false;
    }
    unsigned char computed[EVP_MAX_MD_SIZE];
    size_t length = 0;
    d->ready = false;
    return EVP_MAC_final(d->code, computed, &length, sizeof computed) == 1
        && length >= size_t(kCodeSize)
        && CRYPTO_memcmp(computed, storedCode.data(), size_t(kCodeSize)) == 0;
}
