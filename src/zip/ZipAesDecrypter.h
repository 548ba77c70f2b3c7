#pragma once

#include <QByteArrayView>
#include <QtGlobal>

#include <memory>

// The WinZip AES layer of one entry's data, in the order the entry reader
// meets it: the keys derived from the password and the entry's salt
// (PBKDF2-HMAC-SHA1, 1000 iterations) with the password verifier, then the
// data authenticated (HMAC-SHA1 over the encrypted bytes) and decrypted (AES
// in counter mode, WinZip's little-endian counter from 1), then the
// authentication code compared. Reused from entry to entry.
class ZipAesDecrypter
{
public:
    static constexpr qsizetype kVerifierSize = 2;
    static constexpr qsizetype kCodeSize = 10;

    ZipAesDecrypter();
    ~ZipAesDecrypter();

    ZipAesDecrypter(const ZipAesDecrypter&) = delete;
    ZipAesDecrypter& operator=(const ZipAesDecrypter&) = delete;

    // Bytes of salt for a strength of 1, 2 or 3 (128, 192, 256 bits); 0 for
    // any other strength.
    static qsizetype saltSize(int strength);

    // Derives the keys of password with salt. False when the verifier they
    // yield differs from the stored one (the password is wrong, barring one
    // chance in 65,536) or the strength is not one of the three. dataSize:
    // the encrypted bytes to come; from a few megabytes on they are
    // authenticated on a thread of the decrypter's own, started once.
    bool begin(int strength, QByteArrayView password, QByteArrayView salt,
               QByteArrayView verifier, quint64 dataSize);

    // Takes the next encrypted bytes of the entry into the authentication
    // code, then decrypts them in place.
    void decrypt(char* data, qsizetype size);

    // True when the code computed over every byte decrypted since begin()
    // starts with the stored 10 bytes.
    bool authenticates(QByteArrayView storedCode);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
