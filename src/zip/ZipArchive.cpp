#include "zip/ZipArchive.h"

#include "platform/RKStringEncoding.h"
#include "zip/ZipCentralDirectory.h"
#include "zip/ZipDeflatedFile.h"
#include "zip/ZipEntryReader.h"
#include "zip/ZipExtractedPaths.h"
#include "zip/ZipFileIo.h"
#include "zip/ZipOutputFile.h"
#include "zip/ZipOutputFolder.h"
#include "zip/ZipStoredNames.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QScopeGuard>
#include <QThread>

#include <libdeflate.h>
#include <quazip/zip.h>
#include <zlib.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <malloc.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace {

constexpr quint64 kZip64Threshold = Q_UINT64_C(4294967296);
// Files are read 16,382 bytes at a time into a 16 KiB buffer.
constexpr qint64 kWriteChunk = 16382;
constexpr size_t kWriteBufferSize = 16384;
// Zero runs at least this long are left as holes in extracted files.
constexpr qsizetype kHoleSize = 4096;
constexpr quint64 kUtf8 = 4;
constexpr quint64 kShiftJIS = 8;
constexpr qint64 kExtractProgressStep = 4 << 20;
constexpr quint16 kUtf8Flag = 0x0800;
// "Version made by": Unix, version 3.0, as Info-ZIP's zip writes it.
constexpr uLong kMadeByUnix = (3 << 8) | 30;
constexpr uLong kDosFolder = 0x10;
constexpr uLong kDosReadOnly = 0x01;
// Extended timestamp field: tag, size, flags (modification time), the time.
constexpr uInt kTimestampFieldSize = 9;
// A final empty block: ends a deflate stream cut short.
constexpr char kEndOfStream[] = { 0x03, 0x00 };

int retryOpen(const QByteArray& path, int flags, mode_t mode = 0)
{
    int fd;
    do {
        fd = ::open(path.constData(), flags, mode);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

qint64 retryRead(int fd, char* buffer, qint64 size)
{
    ssize_t n;
    do {
        n = ::read(fd, buffer, size_t(size));
    } while (n < 0 && errno == EINTR);
    return n;
}

qint64 retryPread(int fd, char* buffer, qint64 size, qint64 offset)
{
    ssize_t n;
    do {
        n = ::pread(fd, buffer, size_t(size), off_t(offset));
    } while (n < 0 && errno == EINTR);
    return n;
}

bool writeAll(int fd, const char* data, qint64 size)
{
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size_t(size));
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        data += n;
        size -= n;
    }
    return true;
}

bool isSet(const std::atomic<bool>* flag)
{
    return flag && flag->load(std::memory_order_relaxed);
}

// CRC-32 of everything readable from fd, from offset 0 (the file position is
// left alone). Chunks are combined as they come, as zlib computes it.
std::optional<uLong> crcOfDescriptor(int fd, char* buffer, const std::atomic<bool>* cancel = nullptr)
{
    uLong crc = crc32(0L, Z_NULL, 0);
    qint64 offset = 0;
    for (;;) {
        const qint64 n = isSet(cancel) ? -1 : retryPread(fd, buffer, kWriteChunk, offset);
        if (n < 0) {
            return std::nullopt;
        }
        if (n == 0) {
            return crc;
        }
        crc = crc32_combine(crc, crc32(0L, reinterpret_cast<const Bytef*>(buffer), uInt(n)),
                            z_off_t(n));
        offset += n;
    }
}

// The password as the container takes it: 7-bit ASCII bytes, or nothing.
std::optional<QByteArray> asciiPassword(const QString& password)
{
    for (const QChar c : password) {
        if (c.unicode() > 0x7F || c.unicode() == 0) {
            return std::nullopt;
        }
    }
    return password.toLatin1();
}

// Local calendar fields of a time, kept inside the MS-DOS range 1980..2107.
tm_zip dosFields(time_t seconds)
{
    struct tm local {};
    localtime_r(&seconds, &local);
    tm_zip fields {};
    const int year = local.tm_year + 1900;
    if (year < 1980) {
        fields.tm_year = 1980;
        fields.tm_mon = 0;
        fields.tm_mday = 1;
        return fields;
    }
    if (year > 2107) {
        fields.tm_year = 2107;
        fields.tm_mon = 11;
        fields.tm_mday = 31;
        fields.tm_hour = 23;
        fields.tm_min = 59;
        fields.tm_sec = 58;
        return fields;
    }
    fields.tm_year = uInt(year);
    fields.tm_mon = uInt(local.tm_mon);
    fields.tm_mday = uInt(local.tm_mday);
    fields.tm_hour = uInt(local.tm_hour);
    fields.tm_min = uInt(local.tm_min);
    fields.tm_sec = uInt(local.tm_sec);
    return fields;
}

bool isZero(const char* data, qint64 size)
{
    return size > 0 && data[0] == 0 && std::memcmp(data, data + 1, size_t(size - 1)) == 0;
}

// Seconds since the epoch of an MS-DOS date/time read as local time.
time_t dosDateToTime(uLong dosDate)
{
    struct tm local {};
    local.tm_year = int((dosDate >> 25) & 0x7F) + 80;
    local.tm_mon = int((dosDate >> 21) & 0x0F) - 1;
    local.tm_mday = int((dosDate >> 16) & 0x1F);
    local.tm_hour = int((dosDate >> 11) & 0x1F);
    local.tm_min = int((dosDate >> 5) & 0x3F);
    local.tm_sec = int(dosDate & 0x1F) * 2;
    local.tm_isdst = -1;
    return mktime(&local);
}

// The mode an entry carries when its maker keeps Unix modes (Unix, macOS),
// with at least one permission bit or the type of a link; nullopt otherwise:
// archives made on Windows keep the default mode for new files.
std::optional<mode_t> unixMode(const ZipCentralRecord& record)
{
    const int maker = record.versionMadeBy >> 8;
    const mode_t mode = mode_t(record.externalAttributes >> 16);
    if ((maker != 3 && maker != 19) || ((mode & 0777) == 0 && !S_ISLNK(mode))) {
        return std::nullopt;
    }
    return mode;
}

// Whether a link depth folders below the destination, pointing at target,
// leads to a place inside it as the kernel resolves it. Leading ".." climb
// the real folders above the link; a ".." after a name could climb out of
// wherever a link under that name leads, so it is refused, as is an
// absolute target.
bool linkStaysInside(const QString& target, qsizetype depth)
{
    if (target.isEmpty() || target.startsWith(QLatin1Char('/')) || target.contains(QChar(u'\0'))) {
        return false;
    }
    bool descended = false;
    for (const QString& part : target.split(QLatin1Char('/'))) {
        if (part.isEmpty() || part == QLatin1String(".")) {
            continue;
        }
        if (part == QLatin1String("..")) {
            if (descended || depth == 0) {
                return false;
            }
            --depth;
        } else {
            descended = true;
        }
    }
    return true;
}

// The file mode creation mask, read without changing it (umask() would, for
// a moment, for every thread).
mode_t processUmask()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (status.open(QIODevice::ReadOnly)) {
        for (QByteArray line = status.readLine(); !line.isEmpty(); line = status.readLine()) {
            if (line.startsWith("Umask:")) {
                bool ok = false;
                const uint mask = line.mid(6).trimmed().toUInt(&ok, 8);
                if (ok) {
                    return mode_t(mask & 0777);
                }
            }
        }
    }
    return 022;
}

// Key of the entry lookup: the stored name bytes with ASCII letters folded to
// lower case (as the container's case-blind comparison does) and "\" taken
// as "/", so names written by tools that separate folders with "\" are found
// by their listed form.
QByteArray lookupKey(const char* name, qsizetype size)
{
    QByteArray key(name, size);
    for (char& c : key) {
        if (c >= 'A' && c <= 'Z') {
            c = char(c - 'A' + 'a');
        } else if (c == '\\') {
            c = '/';
        }
    }
    return key;
}

QString slashed(QString name)
{
    if (name.contains(QLatin1Char('\\'))) {
        name.replace(QLatin1Char('\\'), QLatin1Char('/'));
    }
    return name;
}

// The text a reading failure sends to the delegate.
QString readFailure(ZipEntryReader::Result result, quint16 method)
{
    switch (result) {
    case ZipEntryReader::Result::UnsupportedMethod:
        return QStringLiteral("Unsupported compression method %1").arg(method);
    case ZipEntryReader::Result::UnsupportedEncryption:
        return QStringLiteral("Unsupported encryption");
    case ZipEntryReader::Result::Overlaps:
        return QStringLiteral("Entry overlaps another entry");
    case ZipEntryReader::Result::BadLocalHeader:
        return QStringLiteral("Error occurs");
    case ZipEntryReader::Result::WrongPassword:
        return QStringLiteral("Wrong password");
    case ZipEntryReader::Result::CrcMismatch:
        return QStringLiteral("file was unzipped but failed crc check");
    case ZipEntryReader::Result::AuthenticationFailed:
        return QStringLiteral("file was unzipped but failed authentication check");
    case ZipEntryReader::Result::SinkFailed:
        return QStringLiteral("Failed to write output file");
    case ZipEntryReader::Result::Ok:
    case ZipEntryReader::Result::ReadFailed:
    case ZipEntryReader::Result::Damaged:
        break;
    }
    return QStringLiteral("Failed to read zip file");
}

ZipArchive::ReadFailure failureOf(ZipEntryReader::Result result)
{
    if (result == ZipEntryReader::Result::WrongPassword) {
        return ZipArchive::ReadFailure::WrongPassword;
    }
    return ZipEntryReader::isDamage(result) ? ZipArchive::ReadFailure::Damaged
                                            : ZipArchive::ReadFailure::Other;
}

} // namespace

struct ZipArchive::Private {
    zipFile _zipFile = nullptr;
    quint64 _numFiles = 0;
    QString _password;
    ZipArchiveDelegate* _delegate = nullptr;
    ProgressBlock _progressBlock;
    // The files written since the archive was opened, compactly: folders
    // extracted into with the UTF-8 paths below each, one after the other.
    // An archive of a hundred thousand files must not hold as many strings.
    struct UnzippedRun {
        QString folder;
        QByteArray paths; // relative paths, each ended by a zero byte
    };
    std::vector<UnzippedRun> _unzippedFiles;
    quint64 _stringEncoding = 4;
    int _compression = -1;

    // Writing: the archive being written (create mode), or the archive
    // itself (append mode).
    std::unique_ptr<QIODevice> writeDevice;
    ZipOutputFile* outputFile = nullptr; // writeDevice in create mode
    bool writeFailed = false;
    int systemError = 0;
    const std::atomic<bool>* cancel = nullptr;
    // An entry took the ZIP64 form, for which the container writes "made by"
    // as version 4.5 of MS-DOS.
    bool hasZip64Entry = false;
    ZipStoredNames storedNames;
    // What became of the name of the last entry written or extracted.
    ZipNameOutcome nameOutcome;
    // The deflated data written so far end their stream.
    bool deflatedEnded = true;
    std::vector<char> writeBuffer;

    // Reading.
    int readFd = -1;
    ZipCentralDirectory directory;
    ZipEntryReader entryReader;
    ZipOutputFolder output;
    // The last listing, asked for in listedEncoding: every name decodes in
    // listedNames, the encoding decided for the archive's names. The names
    // themselves are decoded again when an entry is extracted, and kept only
    // when the listing was asked for or a name is looked up: for a name, the
    // first entry whose stored name is the same but for the case of ASCII
    // letters.
    QStringList listed;
    std::vector<qsizetype> firstOfKey;
    QHash<QString, qsizetype> byListedName;
    quint64 listedEncoding = kUtf8;
    quint64 listedNames = kUtf8;
    bool listedValid = false;
    // The password form the last encrypted entry took; tried first.
    QByteArray fittingPassword;
    ReadFailure lastFailure = ReadFailure::None;
    // Where the entries went, below claimsRoot.
    ZipExtractedPaths extractedPaths;
    QString claimsRoot;
    struct PendingFolder {
        QStringList folders;
        std::optional<mode_t> mode;
        std::optional<time_t> modified;
    };
    std::vector<PendingFolder> pendingFolders;

    bool openForWriting(const QString& path, bool append);
    void noteWriteFailure();
    bool completeLocalHeader(qint64 headerOffset, qint64 headerLength, quint64 uncompressed);
    bool writeDeflated(const QString& path, ZipDeflatedFile& deflated,
                       const ProgressBlock& progressBlock, quint64* done);
    void discardWriting();
    // Patches "made by" of the ZIP64 entries in the closed archive at fd.
    bool markMadeByUnix(int fd, qint64 size);
    std::optional<QString> entryName(const ZipCentralRecord& record, quint64 encoding) const;
    quint64 namesEncoding(quint64 encoding) const;
    std::optional<QString> linkTargetText(const ZipCentralRecord& record, const QByteArray& target,
                                          quint64 encoding) const;
    std::optional<time_t> modificationTime(const ZipCentralRecord& record) const;
    bool list(quint64 encoding);
    // The listed name of the entry at index (listing valid).
    QString listedName(qsizetype index) const;
    void keepNames();
    // The path components of the entry at index as extraction takes them;
    // empty when its name leads outside the folder.
    QStringList safeComponentsOf(qsizetype index) const;
    void noteUnzipped(const QString& folder, const QString& relative);
    QList<QByteArray> passwordForms() const;
};

// --- construction --------------------------------------------------------------

ZipArchive::ZipArchive()
    : d(std::make_unique<Private>())
{
    // Every entry allocates and frees about 270 KB of deflate state. Under the
    // allocator's default trim threshold that memory goes back to the kernel
    // at each entry and is faulted in again at the next, which costs more than
    // compressing a small file (7x slower on 20,000 files). Keep a few
    // megabytes of freed heap instead.
    static std::once_flag tuned;
    std::call_once(tuned, [] { mallopt(M_TRIM_THRESHOLD, 8 << 20); });
}

ZipArchive::~ZipArchive()
{
    if (d->_zipFile) {
        DiscardZipFile();
    }
    if (d->readFd >= 0) {
        UnzipCloseFile();
    }
}

// --- writing -----------------------------------------------------------------

bool ZipArchive::Private::openForWriting(const QString& location, bool append)
{
    // An existing link at the location is written through, as truncating it
    // would: the new archive replaces the file the link points to.
    const QFileInfo linked(location);
    const QString path = linked.isSymLink() && linked.exists() ? linked.canonicalFilePath() : location;
    writeFailed = false;
    hasZip64Entry = false;
    storedNames.clear();
    systemError = 0;
    outputFile = nullptr;
    std::unique_ptr<QIODevice> device;
    if (append) {
        auto file = std::make_unique<QFile>(path);
        if (!file->open(QIODevice::ReadWrite)) {
            return false;
        }
        device = std::move(file);
    } else {
        auto file = std::make_unique<ZipOutputFile>();
        if (!file->create(path)) {
            systemError = file->systemError();
            return false;
        }
        outputFile = file.get();
        device = std::move(file);
    }
    _zipFile = zipOpen64(device.get(), append ? APPEND_STATUS_ADDINZIP : APPEND_STATUS_CREATE);
    if (!_zipFile) {
        outputFile = nullptr;
        return false;
    }
    // Sizes and CRC go into the local header, and the device is ours to close.
    zipClearFlags(_zipFile, ZIP_WRITE_DATA_DESCRIPTOR | ZIP_AUTO_CLOSE);
    writeDevice = std::move(device);
    return true;
}

void ZipArchive::Private::noteWriteFailure()
{
    writeFailed = true;
    if (outputFile && outputFile->systemError() != 0) {
        systemError = outputFile->systemError();
    }
}

void ZipArchive::Private::discardWriting()
{
    if (outputFile) {
        outputFile->discard();
        outputFile = nullptr;
    } else if (writeDevice) {
        writeDevice->close();
    }
    writeDevice.reset();
}

bool ZipArchive::CreateZipFile2(const QString& path)
{
    return CreateZipFile2(path, false);
}

bool ZipArchive::CreateZipFile2(const QString& path, bool append)
{
    if (d->_zipFile) {
        const QString password = d->_password;
        CloseZipFile2();
        d->_password = password;
    }
    if (!d->_password.isEmpty() && !asciiPassword(d->_password)) {
        return false;
    }
    return d->openForWriting(path, append);
}

bool ZipArchive::CreateZipFile2(const QString& path, const QString& password)
{
    d->_password = password;
    return CreateZipFile2(path, false);
}

bool ZipArchive::CreateZipFile2(const QString& path, const QString& password, bool append)
{
    d->_password = password;
    return CreateZipFile2(path, append);
}

bool ZipArchive::addFileToZip(const QString& path, const QString& newname, int level,
                              const ProgressBlock& progressBlock)
{
    return addItem(path, newname, level, progressBlock, nullptr);
}

bool ZipArchive::addDeflatedFileToZip(const QString& path, const QString& newname, int level,
                                      ZipDeflatedFile& deflated,
                                      const ProgressBlock& progressBlock)
{
    return addItem(path, newname, level, progressBlock, &deflated);
}

bool ZipArchive::addItem(const QString& path, const QString& newname, int level,
                         const ProgressBlock& progressBlock, ZipDeflatedFile* deflated)
{
    if (!d->_zipFile) {
        return false;
    }

    // Links are followed: the entry holds what the link points to, with its
    // mode and time.
    const QByteArray nativePath = QFile::encodeName(path);
    struct stat target;
    if (::stat(nativePath.constData(), &target) != 0) {
        return false;
    }
    const bool isFolder = S_ISDIR(target.st_mode);
    // What became a folder since it was read ahead is stored as a folder.
    if (isFolder) {
        deflated = nullptr;
    }

    // Files are opened before their entry so that an unreadable file leaves
    // no empty entry behind. O_NONBLOCK keeps a FIFO from hanging the run;
    // only regular files are stored.
    int fd = -1;
    quint64 size = deflated ? deflated->size() : 0;
    d->systemError = 0;
    if (!isFolder && !deflated) {
        fd = retryOpen(nativePath, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0) {
            d->systemError = errno;
            return false;
        }
        struct stat opened;
        if (::fstat(fd, &opened) != 0 || !S_ISREG(opened.st_mode)) {
            ::close(fd);
            return false;
        }
        ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
        size = quint64(opened.st_size);
    }
    const bool zip64 = !isFolder && size >= kZip64Threshold;

    const ZipStoredNames::Name stored = d->storedNames.claim(newname, isFolder, d->_stringEncoding);
    d->nameOutcome = ZipNameOutcome {};
    d->nameOutcome.storedAsDash = stored.bytes.isNull();
    d->nameOutcome.charactersReplaced = stored.charactersReplaced;
    d->nameOutcome.numbered = stored.numbered;

    // Made on Unix, as Info-ZIP writes it: the mode in the high half of the
    // external attributes beside the bits Windows reads, and the time to the
    // second in an extended timestamp field (the same field in both headers).
    zip_fileinfo info {};
    info.tmz_date = dosFields(target.st_mtim.tv_sec);
    info.external_fa = uLong(target.st_mode) << 16 | (isFolder ? kDosFolder : 0)
        | ((target.st_mode & S_IWUSR) ? 0 : kDosReadOnly);
    char timestamp[kTimestampFieldSize] = { 'U', 'T', 5, 0, 1 };
    const bool hasTimestamp = target.st_mtim.tv_sec >= 0 && target.st_mtim.tv_sec <= 0x7FFFFFFF;
    for (int i = 0; i < 4; ++i) {
        timestamp[5 + i] = char((quint32(target.st_mtim.tv_sec) >> (8 * i)) & 0xFF);
    }
    const uInt timestampSize = hasTimestamp ? kTimestampFieldSize : 0;

    if (d->writeBuffer.size() < kWriteBufferSize) {
        d->writeBuffer.resize(kWriteBufferSize);
    }
    char* buffer = d->writeBuffer.data();

    std::optional<QByteArray> password;
    uLong checkValue = 0;
    if (!d->_password.isEmpty()) {
        password = asciiPassword(d->_password);
        if (!password) {
            if (fd >= 0) {
                ::close(fd);
            }
            return false;
        }
        if (deflated) {
            checkValue = deflated->crcOfContents();
        } else if (!isFolder) {
            checkValue = crcOfDescriptor(fd, buffer, d->cancel).value_or(~0UL);
        }
        if (isSet(d->cancel)) {
            if (fd >= 0) {
                ::close(fd);
            }
            return false;
        }
    }

    // The container takes a check value of 0 as "none" and puts the time in
    // the encryption header instead, which readers then refuse. Any value
    // whose bits 16-31 are zero yields the same header as a CRC of 0.
    if (password && checkValue == 0) {
        checkValue = 1;
    }

    // The container judges text from its own deflate's first block; data
    // deflated elsewhere bring that judgment with them.
    if (deflated && deflated->isText()) {
        info.internal_fa = Z_TEXT;
    }

    // A name without a form in the encoding is stored as "-" by the container.
    const qint64 headerOffset = d->writeDevice->pos();
    const qint64 nameLength = stored.bytes.isNull() ? 1 : stored.bytes.size();
    const int opened = zipOpenNewFileInZip4_64(
        d->_zipFile, stored.bytes.isNull() ? nullptr : stored.bytes.constData(), &info, timestamp,
        timestampSize, timestamp, timestampSize, nullptr, Z_DEFLATED, level, deflated ? 1 : 0,
        MAX_WBITS, DEF_MEM_LEVEL, Z_DEFAULT_STRATEGY, password ? password->constData() : nullptr,
        checkValue, kMadeByUnix, 0, zip64 ? 1 : 0);
    if (opened != ZIP_OK) {
        d->noteWriteFailure();
        if (fd >= 0) {
            ::close(fd);
        }
        return false;
    }

    bool result = true;
    quint64 done = 0;
    // An exception from the progress block leaves with the file and the entry
    // closed, so the archive stays whole for the caller to close.
    auto closeOnThrow = qScopeGuard([&] {
        if (fd >= 0) {
            ::close(fd);
        }
        if (deflated) {
            // What was written stays a complete stream holding what it counts.
            if (!d->deflatedEnded) {
                zipWriteInFileInZip(d->_zipFile, kEndOfStream, sizeof kEndOfStream);
            }
            zipCloseFileInZipRaw64(d->_zipFile, done, deflated->crc());
        } else {
            zipCloseFileInZip(d->_zipFile);
        }
    });
    if (deflated) {
        result = d->writeDeflated(path, *deflated, progressBlock, &done);
    } else if (!isFolder) {
        for (;;) {
            if (isSet(d->cancel)) {
                result = false;
                break;
            }
            const qint64 n = retryRead(fd, buffer, kWriteChunk);
            if (n < 0) {
                d->systemError = errno;
                result = false;
                break;
            }
            const bool written =
                n == 0 || zipWriteInFileInZip(d->_zipFile, buffer, unsigned(n)) == ZIP_OK;
            if (progressBlock) {
                progressBlock(path, done, size);
            }
            if (!written) {
                d->noteWriteFailure();
                result = false;
                break;
            }
            done += quint64(n);
            if (n == 0) {
                break;
            }
        }
    }
    closeOnThrow.dismiss();
    if (fd >= 0) {
        ::close(fd);
    }
    const int closed = deflated ? zipCloseFileInZipRaw64(d->_zipFile, done, deflated->crc())
                                : zipCloseFileInZip(d->_zipFile);
    if (closed != ZIP_OK) {
        d->noteWriteFailure();
    }
    // A size or offset of all ones or more takes the ZIP64 form at closing.
    d->hasZip64Entry = d->hasZip64Entry || zip64 || done >= 0xFFFFFFFFu
        || d->writeDevice->pos() >= qint64(0xFFFFFFFF);
    if (!zip64 && !d->completeLocalHeader(headerOffset, 30 + nameLength + timestampSize, done)) {
        result = false;
    }
    return result;
}

bool ZipArchive::Private::writeDeflated(const QString& path, ZipDeflatedFile& deflated,
                                        const ProgressBlock& progressBlock, quint64* done)
{
    // The progress reports of the reading loop (after each 16,382 bytes, then
    // once more at the end), each made once the data it counts are written.
    const quint64 size = deflated.size();
    quint64 reported = 0;
    const auto report = [&](quint64 covered, bool end) {
        while (progressBlock && reported < covered
               && (reported + quint64(kWriteChunk) <= covered || end)) {
            progressBlock(path, reported, size);
            reported += quint64(kWriteChunk);
        }
        if (progressBlock && end) {
            progressBlock(path, covered, size);
        }
    };
    ZipDeflatedFile::Piece piece;
    deflatedEnded = false;
    while (!isSet(cancel) && deflated.nextPiece(&piece)) {
        if (piece.size > 0
            && zipWriteInFileInZip(_zipFile, piece.data, unsigned(piece.size)) != ZIP_OK) {
            noteWriteFailure();
            *done = piece.inputEnd;
            report(piece.inputEnd, false);
            return false;
        }
        *done = piece.inputEnd;
        deflatedEnded = piece.last;
        report(piece.inputEnd, false);
    }
    if (!deflated.isComplete()) {
        systemError = deflated.systemError();
        return false;
    }
    report(*done, true);
    return true;
}

bool ZipArchive::Private::completeLocalHeader(qint64 headerOffset, qint64 headerLength,
                                              quint64 uncompressed)
{
    // An entry without the ZIP64 form whose sizes reach 0xFFFFFFFF (a file of
    // exactly 4 GiB - 1 bytes, or data that grew in compression) is closed
    // by the container with zero sizes in its local header, which readers
    // that trust the local header refuse. The central record is right.
    const qint64 end = writeDevice->pos();
    const quint64 compressed = quint64(end - headerOffset - headerLength);
    if (uncompressed < 0xFFFFFFFFu && compressed < 0xFFFFFFFFu) {
        return true;
    }
    if (compressed >= 0xFFFFFFFFu) {
        // Not representable without ZIP64: the archive would be damaged.
        noteWriteFailure();
        return false;
    }
    char sizes[8];
    for (int i = 0; i < 4; ++i) {
        sizes[i] = char((compressed >> (8 * i)) & 0xFF);
        sizes[4 + i] = char((uncompressed >> (8 * i)) & 0xFF);
    }
    if (!writeDevice->seek(headerOffset + 18) || writeDevice->write(sizes, 8) != 8
        || !writeDevice->seek(end)) {
        noteWriteFailure();
        return false;
    }
    return true;
}

bool ZipArchive::Private::markMadeByUnix(int fd, qint64 size)
{
    // The archive was just closed, with no comment: its end record is last,
    // and a ZIP64 end record, when there is one, is found by the locator
    // right before it.
    char tail[20 + 22];
    const qint64 tailSize = qint64(sizeof tail);
    if (size < tailSize || ZipFileIo::preadFully(fd, tail, tailSize, size - tailSize) != tailSize) {
        return false;
    }
    const char* locator = tail;
    const char* end = tail + 20;
    qint64 directorySize = ZipFileIo::u32(end + 12);
    qint64 directoryOffset = ZipFileIo::u32(end + 16);
    if (std::memcmp(locator, "PK\x06\x07", 4) == 0) {
        char wide[56];
        if (ZipFileIo::preadFully(fd, wide, 56, qint64(ZipFileIo::u64(locator + 8))) != 56
            || std::memcmp(wide, "PK\x06\x06", 4) != 0) {
            return false;
        }
        directorySize = qint64(ZipFileIo::u64(wide + 40));
        directoryOffset = qint64(ZipFileIo::u64(wide + 48));
    }
    QByteArray directory(directorySize, Qt::Uninitialized);
    if (ZipFileIo::preadFully(fd, directory.data(), directorySize, directoryOffset)
        != directorySize) {
        return false;
    }
    for (qsizetype at = 0; at + 46 <= directory.size();) {
        char* header = directory.data() + at;
        if (ZipFileIo::u16(header + 4) == 45) {
            header[5] = char(kMadeByUnix >> 8);
        }
        at += 46 + ZipFileIo::u16(header + 28) + ZipFileIo::u16(header + 30)
            + ZipFileIo::u16(header + 32);
    }
    return ::pwrite(fd, directory.constData(), size_t(directorySize), off_t(directoryOffset))
        == directorySize;
}

unsigned long ZipArchive::checkCRC(const QString& path)
{
    const int fd = retryOpen(QFile::encodeName(path), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return ~0UL;
    }
    std::vector<char> buffer(kWriteBufferSize);
    const std::optional<uLong> crc = crcOfDescriptor(fd, buffer.data());
    ::close(fd);
    return crc ? *crc : ~0UL;
}

bool ZipArchive::CloseZipFile2()
{
    return CloseZipFile2(nullptr);
}

bool ZipArchive::CloseZipFile2(const std::function<bool(const QString&)>& check)
{
    d->_password.clear();
    if (!d->_zipFile) {
        return false;
    }
    const int closed = zipClose(d->_zipFile, nullptr);
    d->_zipFile = nullptr;
    if (closed != ZIP_OK) {
        d->noteWriteFailure();
    }
    bool complete = !d->writeFailed;
    if (ZipOutputFile* file = d->outputFile) {
        if (!file->flushBuffer()) {
            d->noteWriteFailure();
            complete = false;
        }
        complete = complete && (!d->hasZip64Entry || d->markMadeByUnix(file->handle(), file->size()));
        complete = complete && (!check || check(file->readablePath()));
        if (complete && !file->place()) {
            d->noteWriteFailure();
            complete = false;
        }
    } else {
        auto* appended = static_cast<QFile*>(d->writeDevice.get());
        complete = appended->flush() && complete
            && (!d->hasZip64Entry || d->markMadeByUnix(int(appended->handle()), appended->size()));
        appended->close();
        complete = complete && appended->error() == QFileDevice::NoError;
    }
    d->discardWriting();
    return complete;
}

void ZipArchive::DiscardZipFile()
{
    d->_password.clear();
    if (d->_zipFile) {
        zipClose(d->_zipFile, nullptr);
        d->_zipFile = nullptr;
    }
    d->discardWriting();
}

void ZipArchive::setCancelFlag(const std::atomic<bool>* flag)
{
    d->cancel = flag;
}

bool ZipArchive::archiveWriteFailed() const
{
    return d->writeFailed;
}

int ZipArchive::systemError() const
{
    return d->systemError;
}

// --- reading -----------------------------------------------------------------

std::optional<QString> ZipArchive::Private::entryName(const ZipCentralRecord& record,
                                                      quint64 encoding) const
{
    // A Unicode Path field written for this very name, then the UTF-8 flag,
    // then the chosen encoding; a name that is not valid there but is valid
    // UTF-8 (a tool that sets no flag) is read as UTF-8.
    if (const std::optional<QByteArray> unicode = directory.unicodePath(record)) {
        if (std::optional<QString> name = RKStringEncoding::decode(*unicode, kUtf8)) {
            return name;
        }
    }
    const QByteArray stored = directory.name(record).toByteArray();
    if (record.flag & kUtf8Flag) {
        if (std::optional<QString> name = RKStringEncoding::decode(stored, kUtf8)) {
            return name;
        }
    }
    if (std::optional<QString> name = RKStringEncoding::decode(stored, encoding)) {
        return name;
    }
    return encoding == kUtf8 ? std::nullopt : RKStringEncoding::decode(stored, kUtf8);
}

std::optional<QString> ZipArchive::Private::linkTargetText(const ZipCentralRecord& record,
                                                           const QByteArray& target,
                                                           quint64 encoding) const
{
    // In the form the name is in: UTF-8 where the maker said so, else the
    // chosen encoding, else UTF-8.
    if ((record.flag & kUtf8Flag) || directory.unicodePath(record)) {
        if (std::optional<QString> text = RKStringEncoding::decode(target, kUtf8)) {
            return text;
        }
    }
    if (std::optional<QString> text = RKStringEncoding::decode(target, encoding)) {
        return text;
    }
    return RKStringEncoding::decode(target, kUtf8);
}

std::optional<time_t> ZipArchive::Private::modificationTime(const ZipCentralRecord& record) const
{
    // To the second and in UTC where an extra field has it; else the MS-DOS
    // fields as local time, of which zero means none.
    if (const std::optional<qint64> exact = directory.modificationTime(record)) {
        return time_t(*exact);
    }
    if (record.dosDate != 0) {
        return dosDateToTime(record.dosDate);
    }
    return std::nullopt;
}

quint64 ZipArchive::Private::namesEncoding(quint64 encoding) const
{
    // Decided once per archive. Tools that write UTF-8 without saying so
    // (Info-ZIP on Linux and macOS) make archives whose names are all valid
    // UTF-8; read name by name, those that happen to be valid Shift-JIS as
    // well (ソフト) would come out garbled beside the others.
    if (encoding == kUtf8) {
        return encoding;
    }
    bool notAscii = false;
    for (const ZipCentralRecord& record : directory.records()) {
        if ((record.flag & kUtf8Flag) || directory.unicodePath(record)) {
            continue;
        }
        const QByteArrayView stored = directory.name(record);
        if (std::all_of(stored.begin(), stored.end(), [](char c) { return quint8(c) < 0x80; })) {
            continue;
        }
        if (!RKStringEncoding::decode(stored.toByteArray(), kUtf8)) {
            return encoding;
        }
        notAscii = true;
    }
    return notAscii ? kUtf8 : encoding;
}

bool ZipArchive::Private::list(quint64 encoding)
{
    listed.clear();
    firstOfKey.clear();
    byListedName.clear();
    listedValid = false;
    const quint64 names = namesEncoding(encoding);
    for (const ZipCentralRecord& record : directory.records()) {
        if (!entryName(record, names)) {
            return false;
        }
    }
    listedEncoding = encoding;
    listedNames = names;
    listedValid = true;
    return true;
}

QString ZipArchive::Private::listedName(qsizetype index) const
{
    if (index < listed.size()) {
        return listed.at(index);
    }
    return slashed(entryName(directory.records()[size_t(index)], listedNames).value_or(QString()));
}

void ZipArchive::Private::keepNames()
{
    if (!listed.isEmpty() || !listedValid) {
        return;
    }
    const std::vector<ZipCentralRecord>& records = directory.records();
    listed.reserve(qsizetype(records.size()));
    firstOfKey.reserve(records.size());
    QHash<QByteArray, qsizetype> firstByKey;
    firstByKey.reserve(qsizetype(records.size()));
    for (const ZipCentralRecord& record : records) {
        listed.append(slashed(entryName(record, listedNames).value_or(QString())));
        const QByteArrayView stored = directory.name(record);
        const qsizetype index = qsizetype(firstOfKey.size());
        const QByteArray key = lookupKey(stored.data(), stored.size());
        const auto first = firstByKey.constFind(key);
        if (first == firstByKey.constEnd()) {
            firstByKey.insert(key, index);
            firstOfKey.push_back(index);
        } else {
            firstOfKey.push_back(first.value());
        }
    }
}

QStringList ZipArchive::Private::safeComponentsOf(qsizetype index) const
{
    return ZipOutputFolder::safeComponents(listedName(index)).value_or(QStringList());
}

void ZipArchive::Private::noteUnzipped(const QString& folder, const QString& relative)
{
    if (_unzippedFiles.empty() || _unzippedFiles.back().folder != folder) {
        _unzippedFiles.push_back({ folder, QByteArray() });
    }
    QByteArray& paths = _unzippedFiles.back().paths;
    paths += relative.toUtf8();
    paths += '\0';
}

QList<QByteArray> ZipArchive::Private::passwordForms() const
{
    // A password typed on Linux is UTF-8 to Linux tools and Shift-JIS to
    // Windows ones; the encryption header tells which one the archive took.
    QList<QByteArray> forms;
    if (_password.isEmpty()) {
        return forms;
    }
    forms.append(_password.toUtf8());
    const std::optional<QByteArray> shiftJis = RKStringEncoding::encode(_password, kShiftJIS);
    if (shiftJis && *shiftJis != forms.first()) {
        forms.append(*shiftJis);
    }
    const qsizetype preferred = forms.indexOf(fittingPassword);
    if (preferred > 0) {
        forms.move(preferred, 0);
    }
    return forms;
}

bool ZipArchive::UnzipOpenFile(const QString& path)
{
    if (d->readFd >= 0) {
        const QString password = d->_password;
        UnzipCloseFile();
        d->_password = password;
    }
    d->_unzippedFiles.clear();
    d->_numFiles = 0;
    d->output.close();
    d->extractedPaths.clear();
    d->claimsRoot.clear();
    d->pendingFolders.clear();

    const int fd = retryOpen(QFile::encodeName(path), O_RDONLY | O_CLOEXEC);
    struct stat st;
    if (fd < 0) {
        return false;
    }
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || !d->directory.read(fd, st.st_size)) {
        ::close(fd);
        d->directory.clear();
        return false;
    }
    d->readFd = fd;
    d->_numFiles = d->directory.records().size();
    syslog(LOG_NOTICE, "%lu entries in the zip file", static_cast<unsigned long>(d->_numFiles));
    return true;
}

bool ZipArchive::UnzipOpenFile(const QString& path, const QString& password)
{
    d->_password = password;
    return UnzipOpenFile(path);
}

quint64 ZipArchive::declaredNumFiles() const
{
    return d->directory.declaredCount();
}

bool ZipArchive::isCrypted()
{
    for (const ZipCentralRecord& record : d->directory.records()) {
        if (record.flag & 1) {
            return true;
        }
    }
    return false;
}

bool ZipArchive::passwordFits()
{
    // One check byte says little (one wrong password in 256 passes it), so
    // several entries are asked; an AES verifier fails all but one in 65,536.
    constexpr int kEntriesChecked = 8;
    if (d->readFd < 0) {
        return true;
    }
    const QList<QByteArray> passwords = d->passwordForms();
    int checked = 0;
    for (const ZipCentralRecord& record : d->directory.records()) {
        if (!(record.flag & 1)) {
            continue;
        }
        const ZipEntryReader::Result result =
            d->entryReader.open(d->readFd, d->directory, record, passwords);
        if (result == ZipEntryReader::Result::WrongPassword) {
            return false;
        }
        if (result == ZipEntryReader::Result::Ok && ++checked == kEntriesChecked) {
            break;
        }
    }
    return true;
}

ZipArchive::ReadFailure ZipArchive::lastFailure() const
{
    return d->lastFailure;
}

std::optional<QStringList> ZipArchive::getZipFileContents64(quint64 encoding)
{
    if (d->readFd < 0) {
        return QStringList();
    }
    if (d->directory.records().empty()) {
        OutputErrorMessage(QStringLiteral("Failed"));
        OutputErrorMessage(QStringLiteral("Error occured"));
    }
    if (!d->list(encoding)) {
        return std::nullopt;
    }
    d->keepNames();
    return d->listed;
}

std::optional<qsizetype> ZipArchive::checkZipFileContents64(quint64 encoding)
{
    if (d->readFd < 0) {
        return 0;
    }
    if (d->directory.records().empty()) {
        OutputErrorMessage(QStringLiteral("Failed"));
        OutputErrorMessage(QStringLiteral("Error occured"));
    }
    if (!d->list(encoding)) {
        return std::nullopt;
    }
    return qsizetype(d->directory.records().size());
}

QString ZipArchive::listedName(qsizetype index) const
{
    if (!d->listedValid || index < 0 || index >= qsizetype(d->directory.records().size())) {
        return QString();
    }
    return d->listedName(index);
}

bool ZipArchive::UnzipFileTo64(const QString& path, const QString& inFilePath, bool overWrite,
                               quint64 encoding)
{
    if (d->readFd >= 0 && (!d->listedValid || d->listedEncoding != encoding)) {
        d->list(encoding);
    }
    d->keepNames();
    if (d->listedValid && d->byListedName.isEmpty()) {
        d->byListedName.reserve(d->listed.size());
        for (qsizetype i = d->listed.size() - 1; i >= 0; --i) {
            d->byListedName.insert(d->listed.at(i), i); // the first one stays
        }
    }
    // Of entries whose stored names differ only in the case of ASCII letters
    // the first one is found.
    const qsizetype index = d->byListedName.value(inFilePath, -1);
    return UnzipFileTo64(path, index < 0 ? index : d->firstOfKey[size_t(index)], overWrite,
                         encoding);
}

bool ZipArchive::UnzipFileTo64(const QString& path, qsizetype index, bool overWrite,
                               quint64 encoding)
{
    if (d->readFd >= 0 && (!d->listedValid || d->listedEncoding != encoding)) {
        d->list(encoding);
    }
    d->nameOutcome = ZipNameOutcome {};
    d->lastFailure = ReadFailure::Other;
    if (!d->listedValid || index < 0 || index >= qsizetype(d->directory.records().size())) {
        OutputErrorMessage(QStringLiteral("Failed"));
        return false;
    }
    // Every entry is extracted from its own record, even one whose name an
    // earlier entry has: the path decides what becomes of it.
    const qsizetype at = index;
    const ZipCentralRecord& record = d->directory.records()[size_t(at)];
    const QString name = d->listedName(at);
    // A folder ends in a separator character, judged on the decoded name: in
    // Shift-JIS the byte of "\" is also the second byte of characters such as
    // 表 and ソ, and a file whose name ends in one must stay a file.
    const bool isFolder = name.endsWith(QLatin1Char('/'));

    // Nothing is written outside the destination folder.
    const std::optional<QStringList> components = ZipOutputFolder::safeComponents(name);
    if (!components || (!isFolder && components->isEmpty())) {
        OutputErrorMessage(QStringLiteral("Entry name leads outside the destination folder"));
        return false;
    }
    const std::optional<mode_t> mode = unixMode(record);
    const bool isLink = !isFolder && mode && S_ISLNK(*mode);

    if (!isFolder) {
        const QList<QByteArray> passwords = d->passwordForms();
        const ZipEntryReader::Result opened =
            d->entryReader.open(d->readFd, d->directory, record, passwords);
        if (opened != ZipEntryReader::Result::Ok) {
            OutputErrorMessage(readFailure(opened, record.method));
            d->lastFailure = failureOf(opened);
            return false;
        }
        if (d->entryReader.passwordIndex() >= 0) {
            d->fittingPassword = passwords.at(d->entryReader.passwordIndex());
        }
    }
    QByteArray linkTarget;
    if (isLink) {
        // The data are the target. One that leaves the destination, from
        // where the link would be, is not made: nothing extracted may lead
        // the user out of the folder chosen.
        const ZipEntryReader::Result result =
            d->entryReader.read([&](const char* data, qsizetype size) {
                linkTarget.append(data, size);
                return linkTarget.size() < PATH_MAX;
            });
        const std::optional<QString> target = result == ZipEntryReader::Result::Ok
            ? d->linkTargetText(record, linkTarget, encoding)
            : std::nullopt;
        if (!target) {
            OutputErrorMessage(result == ZipEntryReader::Result::Ok
                                   ? QStringLiteral("Link target does not decode")
                                   : readFailure(result, record.method));
            d->lastFailure = failureOf(result);
            return false;
        }
        if (!linkStaysInside(*target, components->size() - 1)) {
            d->nameOutcome.linkLeftOut = true;
            OutputErrorMessage(QStringLiteral("Link target leads outside the destination folder"));
            return false;
        }
        linkTarget = QFile::encodeName(*target);
    }

    if (path != d->claimsRoot) {
        finishFolders();
        d->extractedPaths.clear();
        d->claimsRoot = path;
    }
    const ZipExtractedPaths::Path placed = d->extractedPaths.claim(
        *components, isFolder, at, [this](qsizetype entry) { return d->safeComponentsOf(entry); });
    d->nameOutcome.numbered = placed.numbered;
    QString relative = placed.folders.join(QLatin1Char('/'));
    if (!isFolder) {
        relative += relative.isEmpty() ? placed.leaf : QLatin1Char('/') + placed.leaf;
    }
    QString outputPath = path;
    if (!relative.isEmpty()) {
        if (!outputPath.endsWith(QLatin1Char('/'))) {
            outputPath += QLatin1Char('/');
        }
        outputPath += relative;
    }
    const std::optional<time_t> modified = d->modificationTime(record);

    const int folderFd = d->output.setRoot(path) ? d->output.folder(placed.folders) : -1;
    if (folderFd < 0 && isFolder) {
        OutputErrorMessage(QStringLiteral("Failed to create folder"));
        return false;
    }
    if (isFolder) {
        // Folder entries carry no file; any data they hold are ignored. Their
        // mode and time wait until everything inside them is made.
        if (!placed.folders.isEmpty() && (mode || modified)) {
            d->pendingFolders.push_back({ placed.folders, mode, modified });
        }
        d->lastFailure = ReadFailure::None;
        return true;
    }
    if (!overWrite && folderFd >= 0 && ZipOutputFolder::exists(folderFd, placed.leaf)
        && !OverWrite(outputPath)) {
        d->lastFailure = ReadFailure::None;
        return true;
    }
    if (isLink) {
        if (folderFd < 0 || !ZipOutputFolder::createLink(folderFd, placed.leaf, linkTarget)) {
            OutputErrorMessage(QStringLiteral("Failed to create link"));
            return false;
        }
        d->noteUnzipped(path, relative);
        if (modified) {
            const struct timespec times[2] = { { 0, UTIME_OMIT }, { *modified, 0 } };
            ::utimensat(folderFd, QFile::encodeName(placed.leaf).constData(), times,
                        AT_SYMLINK_NOFOLLOW);
        }
        d->lastFailure = ReadFailure::None;
        return true;
    }
    // The mode of a Unix maker through the umask, never setuid, setgid or
    // sticky; otherwise the default mode for new files.
    const int out = folderFd >= 0
        ? ZipOutputFolder::createFile(folderFd, placed.leaf, mode ? (*mode & 0777) : 0666)
        : -1;
    if (out < 0) {
        OutputErrorMessage(QStringLiteral("Failed to open output file for writing"));
        return false;
    }
    d->noteUnzipped(path, relative);

    qint64 written = 0;
    qint64 reported = 0;
    bool endsInHole = false;
    bool writeFailed = false;
    const ZipEntryReader::Result result =
        d->entryReader.read([&](const char* data, qsizetype size) {
            // Long runs of zeros become holes: a disk image or a sparse file
            // takes no more room extracted than it did before it was stored.
            endsInHole = size >= kHoleSize && isZero(data, size)
                && ::lseek(out, size, SEEK_CUR) >= 0;
            if (!endsInHole && !writeAll(out, data, size)) {
                writeFailed = true;
                return false;
            }
            written += size;
            // Every few megabytes, so that a large entry's progress moves and
            // a small one costs nothing.
            if (d->_progressBlock && written - reported >= kExtractProgressStep) {
                reported = written;
                d->_progressBlock(outputPath, quint64(written), record.uncompressedSize);
            }
            return true;
        });
    const bool complete = result == ZipEntryReader::Result::Ok
        || result == ZipEntryReader::Result::CrcMismatch;
    if (complete && endsInHole && ::ftruncate(out, off_t(written)) != 0) {
        writeFailed = true;
    }
    if (complete && modified) {
        const struct timespec times[2] = { { 0, UTIME_OMIT }, { *modified, 0 } };
        if (::futimens(out, times) != 0) {
            syslog(LOG_NOTICE, "Failed to set attributes");
        }
    }
    ::close(out);
    if (writeFailed) {
        OutputErrorMessage(QStringLiteral("Failed to write output file"));
        return false;
    }
    if (result != ZipEntryReader::Result::Ok) {
        OutputErrorMessage(readFailure(result, record.method));
        d->lastFailure = failureOf(result);
        return false;
    }
    d->lastFailure = ReadFailure::None;
    return true;
}

void ZipArchive::finishFolders()
{
    if (d->pendingFolders.empty()) {
        return;
    }
    // Deepest first: setting a folder's time before its subfolders' would
    // have them change it again. The owner keeps every right on a folder, so
    // that what is inside can still be moved or removed.
    std::stable_sort(d->pendingFolders.begin(), d->pendingFolders.end(),
                     [](const Private::PendingFolder& a, const Private::PendingFolder& b) {
                         return a.folders.size() > b.folders.size();
                     });
    const mode_t mask = processUmask();
    if (d->output.setRoot(d->claimsRoot)) {
        for (const Private::PendingFolder& folder : d->pendingFolders) {
            const int fd = d->output.folder(folder.folders);
            if (fd < 0) {
                continue;
            }
            if (folder.mode) {
                ::fchmod(fd, (*folder.mode & 0777 & ~mask) | S_IRWXU);
            }
            if (folder.modified) {
                const struct timespec times[2] = { { 0, UTIME_OMIT }, { *folder.modified, 0 } };
                ::futimens(fd, times);
            }
        }
    }
    d->pendingFolders.clear();
}

std::optional<quint32> ZipArchive::testArchive(const QString& path, const QString& password,
                                               const std::atomic<bool>* cancel)
{
    ZipArchive reader;
    if (!reader.UnzipOpenFile(path, password)) {
        return std::nullopt;
    }
    Private& r = *reader.d;
    struct stat st;
    if (::fstat(r.readFd, &st) != 0) {
        return std::nullopt;
    }
    const QList<QByteArray> passwords = r.passwordForms();
    const std::vector<ZipCentralRecord>& records = r.directory.records();
    const qint64 fileSize = qint64(st.st_size);

    // The check runs right after writing, so it is on every core as the
    // writing was: each thread decodes a run of entries of about equal
    // stored size and takes the CRC of its share of the file, and the shares'
    // CRCs are joined in file order.
    const int threads = qBound(1, QThread::idealThreadCount(), 16);
    std::vector<size_t> firstRecord(size_t(threads) + 1, records.size());
    {
        quint64 total = 0;
        for (const ZipCentralRecord& record : records) {
            total += record.compressedSize + 1;
        }
        quint64 sum = 0;
        int next = 1;
        firstRecord[0] = 0;
        for (size_t i = 0; i < records.size() && next < threads; ++i) {
            while (next < threads && sum >= total * quint64(next) / quint64(threads)) {
                firstRecord[size_t(next++)] = i;
            }
            sum += records[i].compressedSize + 1;
        }
    }
    std::atomic<bool> failed{false};
    std::vector<uLong> shareCrcs(size_t(threads), crc32(0L, Z_NULL, 0));
    const auto shareStart = [&](int share) { return fileSize * share / threads; };
    const auto check = [&](int share) {
        ZipEntryReader entries;
        const auto discard = [](const char*, qsizetype) { return true; };
        for (size_t i = firstRecord[size_t(share)]; i < firstRecord[size_t(share) + 1]; ++i) {
            if (failed.load(std::memory_order_relaxed) || isSet(cancel)) {
                failed = true;
                return;
            }
            if (entries.open(r.readFd, r.directory, records[i], passwords) != ZipEntryReader::Result::Ok
                || entries.read(discard) != ZipEntryReader::Result::Ok) {
                failed = true;
                return;
            }
        }
        std::vector<char> buffer(kWriteBufferSize);
        quint32 crc = 0;
        for (qint64 offset = shareStart(share), end = shareStart(share + 1); offset < end;) {
            const qint64 n = retryPread(r.readFd, buffer.data(), qMin<qint64>(kWriteChunk, end - offset), offset);
            if (n <= 0) {
                failed = true;
                return;
            }
            crc = libdeflate_crc32(crc, buffer.data(), size_t(n));
            offset += n;
        }
        shareCrcs[size_t(share)] = crc;
    };
    std::vector<std::thread> helpers;
    for (int share = 1; share < threads; ++share) {
        helpers.emplace_back(check, share);
    }
    check(0);
    for (std::thread& helper : helpers) {
        helper.join();
    }
    if (failed) {
        return std::nullopt;
    }
    uLong crc = shareCrcs[0];
    for (int share = 1; share < threads; ++share) {
        crc = crc32_combine(crc, shareCrcs[size_t(share)], z_off_t(shareStart(share + 1) - shareStart(share)));
    }
    return quint32(crc);
}

bool ZipArchive::UnzipCloseFile()
{
    finishFolders();
    d->extractedPaths.clear();
    d->claimsRoot.clear();
    d->_password.clear();
    d->fittingPassword.clear();
    d->output.close();
    d->directory.clear();
    d->listed.clear();
    d->firstOfKey.clear();
    d->byListedName.clear();
    d->listedValid = false;
    if (d->readFd >= 0) {
        ::close(d->readFd);
        d->readFd = -1;
    }
    return true;
}

// --- properties ----------------------------------------------------------------

QString ZipArchive::password() const { return d->_password; }
void ZipArchive::setPassword(const QString& password) { d->_password = password; }
ZipArchiveDelegate* ZipArchive::delegate() const { return d->_delegate; }
void ZipArchive::setDelegate(ZipArchiveDelegate* delegate) { d->_delegate = delegate; }
ZipArchive::ProgressBlock ZipArchive::progressBlock() const { return d->_progressBlock; }
void ZipArchive::setProgressBlock(const ProgressBlock& block) { d->_progressBlock = block; }
int ZipArchive::compression() const { return d->_compression; }
void ZipArchive::setCompression(int compression) { d->_compression = compression; }
quint64 ZipArchive::stringEncoding() const { return d->_stringEncoding; }
void ZipArchive::setStringEncoding(quint64 encoding) { d->_stringEncoding = encoding; }
quint64 ZipArchive::numFiles() const { return d->_numFiles; }
ZipNameOutcome ZipArchive::lastNameOutcome() const { return d->nameOutcome; }
QStringList ZipArchive::unzippedFiles() const
{
    QStringList files;
    for (const Private::UnzippedRun& run : d->_unzippedFiles) {
        const QString prefix =
            run.folder.endsWith(QLatin1Char('/')) ? run.folder : run.folder + QLatin1Char('/');
        for (qsizetype at = 0; at < run.paths.size();) {
            const qsizetype end = run.paths.indexOf('\0', at);
            files.append(prefix + QString::fromUtf8(run.paths.constData() + at, end - at));
            at = end + 1;
        }
    }
    return files;
}

void ZipArchive::OutputErrorMessage(const QString& message) const
{
    if (d->_delegate) {
        d->_delegate->ErrorMessage(message);
    }
}

bool ZipArchive::OverWrite(const QString& path) const
{
    return d->_delegate ? d->_delegate->OverWriteOperation(path) : true;
}

std::optional<ZipItemAttributes> ZipArchive::_attributesOfItemAtPath(const QString& path,
                                                                     bool followingSymLinks,
                                                                     QString* error)
{
    QByteArray current = QFile::encodeName(path);
    struct stat st;
    // Links are followed by hand, each target taken as stored; the bound is
    // the kernel's own limit on link chains.
    for (int hops = 0;; ++hops) {
        if (::lstat(current.constData(), &st) != 0) {
            if (error) {
                *error = QString::fromLocal8Bit(strerror(errno));
            }
            return std::nullopt;
        }
        if (!followingSymLinks || !S_ISLNK(st.st_mode)) {
            break;
        }
        if (hops >= 40) {
            if (error) {
                *error = QString::fromLocal8Bit(strerror(ELOOP));
            }
            return std::nullopt;
        }
        QByteArray target(PATH_MAX, Qt::Uninitialized);
        const ssize_t n = ::readlink(current.constData(), target.data(), size_t(target.size()));
        if (n < 0) {
            if (error) {
                *error = QString::fromLocal8Bit(strerror(errno));
            }
            return std::nullopt;
        }
        target.truncate(n);
        current = target;
    }
    ZipItemAttributes attributes;
    attributes.isDirectory = S_ISDIR(st.st_mode);
    attributes.isSymbolicLink = S_ISLNK(st.st_mode);
    attributes.size = quint64(st.st_size);
    attributes.modificationDate = QDateTime::fromMSecsSinceEpoch(
        qint64(st.st_mtim.tv_sec) * 1000 + st.st_mtim.tv_nsec / 1000000);
    return attributes;
}
