#include "zip/ZipCentralDirectory.h"

#include "zip/ZipFileIo.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <numeric>

using ZipFileIo::u16;
using ZipFileIo::u32;
using ZipFileIo::u64;

namespace {

constexpr qint64 kEndRecordSize = 22;
constexpr qint64 kMaxComment = 0xFFFF;
constexpr qint64 kZip64LocatorSize = 20;
constexpr qint64 kZip64EndRecordSize = 56;
constexpr qint64 kCentralHeaderSize = 46;
constexpr qint64 kLocalHeaderSize = 30;
constexpr qint64 kDirectoryWindow = 256 * 1024;

// Appends to kept the fields of an extra field that are read after the walk
// (times, the Unicode path), up to the first one that overruns it, where
// their readers stop too; returns how many bytes it appended. Unix owners,
// alignment padding and the like would cost megabytes in a large directory.
quint16 keepReadLater(const char* extra, quint16 size, QByteArray* kept)
{
    const qsizetype before = kept->size();
    for (int at = 0; at + 4 <= size;) {
        const quint16 id = u16(extra + at);
        const int fieldSize = 4 + u16(extra + at + 2);
        if (at + fieldSize > size) {
            break;
        }
        if (id == 0x5455 || id == 0x000A || id == 0x7075) {
            kept->append(extra + at, fieldSize);
        }
        at += fieldSize;
    }
    return quint16(kept->size() - before);
}

bool hasSignature(const char* p, char third, char fourth)
{
    return p[0] == 'P' && p[1] == 'K' && p[2] == third && p[3] == fourth;
}

// Fills the fields a ZIP64 extra field (0x0001) carries for this record: each
// present only when its 32-bit field is all ones, in this order. A field
// without its wide form keeps its value of all ones, and the entry then fails
// on its own when it is read; a malformed extra field spoils no other entry.
void applyZip64(ZipCentralRecord& record, const char* extra, quint16 length)
{
    for (int at = 0; at + 4 <= length;) {
        const int size = u16(extra + at + 2);
        if (at + 4 + size > length) {
            return;
        }
        if (u16(extra + at) == 0x0001) {
            const char* field = extra + at + 4;
            const char* end = field + size;
            for (quint64* value : { &record.uncompressedSize, &record.compressedSize,
                                    &record.localHeaderOffset }) {
                if (*value == 0xFFFFFFFFu && field + 8 <= end) {
                    *value = u64(field);
                    field += 8;
                }
            }
            return;
        }
        at += 4 + size;
    }
}

// The WinZip AES field (0x9901): vendor version, "AE", strength, method.
void applyAes(ZipCentralRecord& record, const char* extra, quint16 length)
{
    for (int at = 0; at + 4 <= length;) {
        const int size = u16(extra + at + 2);
        if (at + 4 + size > length) {
            return;
        }
        if (u16(extra + at) == 0x9901 && size >= 7 && extra[at + 6] == 'A' && extra[at + 7] == 'E') {
            record.aesVersion = u16(extra + at + 4);
            record.aesStrength = quint8(extra[at + 8]);
            record.aesMethod = u16(extra + at + 9);
            return;
        }
        at += 4 + size;
    }
}

} // namespace

void ZipCentralDirectory::clear()
{
    m_bytes.clear();
    m_records.clear();
    m_declaredCount = 0;
}

QByteArrayView ZipCentralDirectory::name(const ZipCentralRecord& record) const
{
    return QByteArrayView(m_bytes.constData() + record.nameOffset, record.nameLength);
}

std::optional<QByteArray> ZipCentralDirectory::unicodePath(const ZipCentralRecord& record) const
{
    const char* extra = m_bytes.constData() + record.extraOffset();
    for (int at = 0; at + 4 <= record.extraLength;) {
        const quint16 id = u16(extra + at);
        const int size = u16(extra + at + 2);
        if (at + 4 + size > record.extraLength) {
            return std::nullopt;
        }
        if (id == 0x7075 && size >= 5 && extra[at + 4] == 1) {
            const QByteArrayView stored = name(record);
            const uLong crc = crc32(0L, reinterpret_cast<const Bytef*>(stored.data()),
                                    uInt(stored.size()));
            if (u32(extra + at + 5) != quint32(crc)) {
                return std::nullopt; // written for a name that was changed since
            }
            return QByteArray(extra + at + 9, size - 5);
        }
        at += 4 + size;
    }
    return std::nullopt;
}

std::optional<qint64> ZipCentralDirectory::modificationTime(const ZipCentralRecord& record) const
{
    // 100 ns units from 1601 to 1970.
    constexpr quint64 kNtfsEpoch = Q_UINT64_C(116444736000000000);
    std::optional<qint64> ntfs;
    const char* extra = m_bytes.constData() + record.extraOffset();
    for (int at = 0; at + 4 <= record.extraLength;) {
        const quint16 id = u16(extra + at);
        const int size = u16(extra + at + 2);
        const char* field = extra + at + 4;
        if (at + 4 + size > record.extraLength) {
            break;
        }
        if (id == 0x5455 && size >= 5 && (field[0] & 1)) {
            return qint64(u32(field + 1));
        }
        // Reserved word, then tagged attributes; tag 1 holds the three times.
        if (id == 0x000A && size >= 32 && u16(field + 4) == 1 && u16(field + 6) >= 24) {
            const quint64 ticks = u64(field + 8);
            if (ticks >= kNtfsEpoch) {
                ntfs = qint64((ticks - kNtfsEpoch) / 10000000);
            }
        }
        at += 4 + size;
    }
    return ntfs;
}

bool ZipCentralDirectory::read(int fd, qint64 fileSize)
{
    clear();
    const qint64 tailSize = qMin(fileSize, kEndRecordSize + kMaxComment);
    if (tailSize < kEndRecordSize) {
        return false;
    }
    const qint64 tailStart = fileSize - tailSize;
    QByteArray tail(tailSize, Qt::Uninitialized);
    if (ZipFileIo::preadFully(fd, tail.data(), tailSize, tailStart) != tailSize) {
        return false;
    }

    // Candidates from the end backwards. One whose comment reaches exactly to
    // the end of the file beats one followed by stray bytes, and a directory
    // with entries beats an empty one (an empty directory "parses" wherever a
    // fake record points).
    int bestRank = -1;
    ZipCentralDirectory best;
    for (qint64 at = tailSize - kEndRecordSize; at >= 0; --at) {
        const char* record = tail.constData() + at;
        if (!hasSignature(record, 5, 6)) {
            continue;
        }
        const qint64 position = tailStart + at;
        quint64 count = u16(record + 10);
        quint64 size = u32(record + 12);
        quint64 offset = u32(record + 16);
        const bool exact = position + kEndRecordSize + u16(record + 20) == fileSize;
        qint64 directoryEnd = position;

        // A ZIP64 locator right before the end record points at the wide one.
        if (position >= kZip64LocatorSize + kZip64EndRecordSize) {
            char locator[kZip64LocatorSize];
            if (ZipFileIo::preadFully(fd, locator, kZip64LocatorSize, position - kZip64LocatorSize)
                    == kZip64LocatorSize
                && hasSignature(locator, 6, 7)) {
                // Where the locator says, or right before it (data before the
                // archive shifts every offset).
                char wide[kZip64EndRecordSize];
                const qint64 stated = qint64(qMin<quint64>(u64(locator + 8), quint64(fileSize)));
                const qint64 adjacent = position - kZip64LocatorSize - kZip64EndRecordSize;
                for (const qint64 place : { stated, adjacent }) {
                    if (ZipFileIo::preadFully(fd, wide, kZip64EndRecordSize, place)
                            == kZip64EndRecordSize
                        && hasSignature(wide, 6, 6)) {
                        count = u64(wide + 32);
                        size = u64(wide + 40);
                        offset = u64(wide + 48);
                        directoryEnd = place;
                        break;
                    }
                }
            }
        }
        if (size > quint64(directoryEnd)) {
            continue;
        }
        const qint64 directoryStart = directoryEnd - qint64(size);
        const qint64 prefix = directoryStart - qint64(qMin<quint64>(offset, quint64(fileSize)));
        ZipCentralDirectory candidate;
        if (prefix < 0 || !candidate.walk(fd, directoryStart, directoryEnd, prefix, count)) {
            continue;
        }
        candidate.m_declaredCount = count;
        const int rank = (candidate.m_records.empty() ? 0 : 2) + (exact ? 1 : 0);
        if (rank > bestRank) {
            bestRank = rank;
            best = std::move(candidate);
            if (rank == 3) {
                break;
            }
        }
    }
    if (bestRank < 0) {
        return false;
    }
    *this = std::move(best);
    return true;
}

bool ZipCentralDirectory::walk(int fd, qint64 start, qint64 end, qint64 prefix, quint64 count)
{
    // Read through a window; of each record only the name and the extra
    // field are kept, which is half the directory or less.
    // Room for the stated count, never more than the directory can hold: the
    // peak of growing by doubling would be half as much again, with a hundred
    // thousand entries some megabytes.
    const quint64 fit = quint64(end - start) / quint64(kCentralHeaderSize);
    m_records.reserve(size_t(qMin(count, fit)));
    m_bytes.reserve(qMax<qsizetype>(
        0, qsizetype(end - start) - qsizetype(m_records.capacity()) * kCentralHeaderSize));
    std::vector<char> window;
    qint64 windowStart = start; // file position of window[0]
    qsizetype windowSize = 0;
    for (qint64 position = start; position < end;) {
        qsizetype at = qsizetype(position - windowStart);
        // Every record fits in the window whole: 46 bytes and three fields of
        // at most 65,535 bytes each.
        if (windowSize - at < kCentralHeaderSize
            || windowSize - at < kCentralHeaderSize + u16(window.data() + at + 28)
                    + u16(window.data() + at + 30) + u16(window.data() + at + 32)) {
            const qsizetype kept = windowSize - at;
            const qint64 wanted = qMin<qint64>(kDirectoryWindow, end - position);
            if (window.size() < size_t(wanted)) {
                window.resize(size_t(wanted));
            }
            std::memmove(window.data(), window.data() + at, size_t(kept));
            const qint64 more = wanted - kept;
            if (more > 0
                && ZipFileIo::preadFully(fd, window.data() + kept, more, position + kept) != more) {
                return false;
            }
            windowStart = position;
            windowSize = qsizetype(wanted);
            at = 0;
        }
        const char* header = window.data() + at;
        if (windowSize - at < kCentralHeaderSize || !hasSignature(header, 1, 2)) {
            return false;
        }
        ZipCentralRecord record;
        record.versionMadeBy = u16(header + 4);
        record.flag = u16(header + 8);
        record.method = u16(header + 10);
        record.dosDate = u32(header + 12);
        record.crc = u32(header + 16);
        record.compressedSize = u32(header + 20);
        record.uncompressedSize = u32(header + 24);
        record.nameLength = u16(header + 28);
        record.extraLength = u16(header + 30);
        const quint16 commentLength = u16(header + 32);
        record.externalAttributes = u32(header + 38);
        record.localHeaderOffset = u32(header + 42);
        const qsizetype fields = record.nameLength + record.extraLength;
        if (kCentralHeaderSize + fields + commentLength > windowSize - at) {
            return false;
        }
        const char* extra = header + kCentralHeaderSize + record.nameLength;
        applyZip64(record, extra, record.extraLength);
        if (record.method == 99) {
            applyAes(record, extra, record.extraLength);
        }
        record.nameOffset = m_bytes.size();
        m_bytes.append(header + kCentralHeaderSize, record.nameLength);
        record.extraLength = keepReadLater(extra, record.extraLength, &m_bytes);
        record.localHeaderOffset += quint64(prefix);
        m_records.push_back(record);
        position += kCentralHeaderSize + fields + commentLength;
    }
    m_bytes.squeeze();
    markOverlaps(start);
    return true;
}

void ZipCentralDirectory::markOverlaps(qint64 directoryStart)
{
    // In file order, each entry's header, name and data must end before the
    // next entry's local header begins (the last one: before the directory).
    // Writers store entries in directory order, so sorting is rarely needed.
    const qsizetype count = qsizetype(m_records.size());
    std::vector<qsizetype> order(static_cast<size_t>(count));
    std::iota(order.begin(), order.end(), 0);
    const auto before = [this](qsizetype a, qsizetype b) {
        return m_records[size_t(a)].localHeaderOffset < m_records[size_t(b)].localHeaderOffset;
    };
    if (!std::is_sorted(order.begin(), order.end(), before)) {
        std::stable_sort(order.begin(), order.end(), before);
    }
    for (qsizetype i = 0; i < count; ++i) {
        ZipCentralRecord& record = m_records[size_t(order[size_t(i)])];
        ZipCentralRecord* next = i + 1 < count ? &m_records[size_t(order[size_t(i + 1)])] : nullptr;
        record.dataLimit = next ? next->localHeaderOffset : quint64(directoryStart);
        // The local name has the central name's length when the two agree,
        // which is checked when the entry is read; its extra field may differ.
        const quint64 header = quint64(kLocalHeaderSize) + record.nameLength;
        const quint64 room = record.dataLimit >= record.localHeaderOffset
            ? record.dataLimit - record.localHeaderOffset
            : 0;
        if (room < header || room - header < record.compressedSize) {
            record.overlaps = true;
            if (next) {
                next->overlaps = true;
            }
        }
    }
}
