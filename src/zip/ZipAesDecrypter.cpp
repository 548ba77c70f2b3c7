#include "zip/ZipAesDecrypter.h"

#include <QtEndian>

#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/params.h>

#include <cstring>

namespace {

constexpr int kIterations = 1000;
constexpr int kBlock = 16;
// Key stream made per call of the cipher: enough blocks that AES-NI works on
// many at once, few enough to stay in the first-level cache with the data.
constexpr int kBatchBlocks = 512;
constexpr int kBatch = kBatchBlocks * kBlock;

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

    ~Private()
    {
        EVP_MAC_CTX_free(code);
        EVP_MAC_free(hmac);
        EVP_CIPHER_CTX_free(cipher);
    }
    bool refill();
};

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
                            QByteArrayView verifier)
{
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
    return true;
}

void ZipAesDecrypter::decrypt(char* data, qsizetype size)
{
    if (!d->ready) {
        return;
    }
    if (EVP_MAC_update(d->code, reinterpret_cast<const unsigned char*>(data), size_t(size)) != 1) {
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
    if (!d->ready || storedCode.size() != kCodeSize) {
        return false;
    }
    unsigned char computed[EVP_MAX_MD_SIZE];
    size_t length = 0;
    d->ready = false;
    return EVP_MAC_final(d->code, computed, &length, sizeof computed) == 1
        && length >= size_t(kCodeSize)
        && CRYPTO_memcmp(computed, storedCode.data(), size_t(kCodeSize)) == 0;
}
