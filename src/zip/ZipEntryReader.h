#pragma once

#include "zip/ZipCentralDirectory.h"

#include <QByteArray>
#include <QList>

#include <functional>
#include <memory>

// Reads the data of one entry of an archive: local header, decryption
// (traditional PKWARE, WinZip AES), and the methods stored (0), deflate (8),
// Deflate64 (9), bzip2 (12) and LZMA (14), in layers: the data are decrypted
// as they are read, then decoded, then checked. Reused from entry to entry,
// so that buffers and the inflater are set up once per archive.
class ZipEntryReader
{
public:
    enum class Result {
        Ok,
        UnsupportedMethod,     // PPMd, XZ, Zstandard and the like
        UnsupportedEncryption, // PKWARE's strong encryption
        Overlaps,              // its data run into another entry's
        BadLocalHeader,        // missing, or naming another entry
        WrongPassword,         // no password form passes the check byte or AES verifier
        ReadFailed,            // the file could not be read (cut short)
        Damaged,               // data that do not decode, or not the stated size
        CrcMismatch,
        AuthenticationFailed,  // AES data whose authentication code differs
        SinkFailed,
    };
    // Whether a result tells of damaged archive data (as opposed to a wrong
    // password, a method not read here, or a sink that failed).
    static bool isDamage(Result result);
    // Takes a piece of the entry's uncompressed data; false stops reading.
    using Sink = std::function<bool(const char*, qsizetype)>;

    ZipEntryReader();
    ~ZipEntryReader();

    ZipEntryReader(const ZipEntryReader&) = delete;
    ZipEntryReader& operator=(const ZipEntryReader&) = delete;

    // Checks everything that can be known before any data are written: the
    // method and encryption, the local header against the central record, the
    // entry's bounds, and for an encrypted entry which password form (tried in
    // order) passes the encryption header's check byte, or for AES the
    // verifier (deriving an AES entry's keys takes a few milliseconds).
    Result open(int fd, const ZipCentralDirectory& directory, const ZipCentralRecord& record,
                const QList<QByteArray>& passwords);
    // The index into the passwords of the form that fitted; -1 when the entry
    // is not encrypted.
    int passwordIndex() const { return m_passwordIndex; }

    // Decodes the opened entry's data into sink, then checks its size, its
    // AES authentication code, and its CRC (not stored in AE-2 entries). The
    // sink has had every byte when the entry fails a check.
    Result read(const Sink& sink);

private:
    Result openAes(const QList<QByteArray>& passwords);

    struct Private;
    std::unique_ptr<Private> d;
    int m_passwordIndex = -1;
};
