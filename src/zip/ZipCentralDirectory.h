#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <optional>
#include <vector>

// One record of the central directory, with the ZIP64 extra field applied.
// A hundred thousand of them are held at once: the fields go widest first,
// so no padding lies between them.
struct ZipCentralRecord {
    quint64 compressedSize = 0;
    quint64 uncompressedSize = 0;
    // Position of the local header in the file (data before the archive, as
    // in a self-extracting program, already added).
    quint64 localHeaderOffset = 0;
    // Where the next entry's local header, or the directory, begins: no byte
    // of this entry may lie at or beyond it.
    quint64 dataLimit = 0;
    // Offset of the name into the names and extra fields the directory
    // keeps; the extra field follows the name.
    qsizetype nameOffset = 0;
    quint32 dosDate = 0; // date in the high 16 bits, time in the low
    quint32 crc = 0;
    quint32 externalAttributes = 0; // a Unix maker's mode in the high 16 bits
    quint16 versionMadeBy = 0; // the maker's system in the high byte (3: Unix)
    quint16 flag = 0;
    quint16 method = 0;
    quint16 nameLength = 0;
    // Only the fields read after the walk (times, Unicode path) are kept.
    quint16 extraLength = 0;
    // From a WinZip AES extra field (0x9901), for method 99: the vendor
    // version (1 AE-1, 2 AE-2), the key strength (1, 2, 3 for 128, 192,
    // 256 bits; 0 when there is no such field) and the method of the data.
    quint16 aesVersion = 0;
    quint16 aesMethod = 0;
    quint8 aesStrength = 0;
    // The entry's data range runs into another entry's (a zip bomb
    // construction); it is never read.
    bool overlaps = false;

    qsizetype extraOffset() const { return nameOffset + nameLength; }
};

// The central directory of an archive, walked by its size and offset rather
// than by the entry count of the end record, which wraps at 65,535 in some
// writers and which a hostile archive may state freely.
class ZipCentralDirectory
{
public:
    // Finds the end record in the last 65,535 + 22 bytes of the file (ZIP64
    // end record when there is one) and walks the directory it points at. A
    // candidate end record whose directory does not parse (a fake inside the
    // comment, a cut-off archive) is passed over. False when no candidate
    // leads to a directory that parses; the object is then empty.
    bool read(int fd, qint64 fileSize);

    void clear();

    const std::vector<ZipCentralRecord>& records() const { return m_records; }
    // The stored name bytes of a record.
    QByteArrayView name(const ZipCentralRecord& record) const;
    // The UTF-8 name of an Info-ZIP Unicode Path extra field (0x7075) whose
    // CRC matches the stored name; nullopt when there is none or it is stale.
    std::optional<QByteArray> unicodePath(const ZipCentralRecord& record) const;
    // The modification time (seconds since the epoch) of an extended
    // timestamp field (0x5455) or, failing that, an NTFS field (0x000A);
    // nullopt when the record has neither.
    std::optional<qint64> modificationTime(const ZipCentralRecord& record) const;
    // The entry count the end record states (ZIP64 when present).
    quint64 declaredCount() const { return m_declaredCount; }

private:
    // Walks the directory in [start, end); false when it does not parse.
    // count is what the end record states, a hint only.
    bool walk(int fd, qint64 start, qint64 end, qint64 prefix, quint64 count);
    void markOverlaps(qint64 directoryStart);

    // The name and extra field of every record, one after the other.
    QByteArray m_bytes;
    std::vector<ZipCentralRecord> m_records;
    quint64 m_declaredCount = 0;
};
