#include "zip/ZipArchive.h"

#include "platform/RKStringEncoding.h"
#include "zip/ZipDeflatedFile.h"
#include "zip/ZipOutputFolder.h"
#include "zip/ZipReadDevice.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRandomGenerator>
#include <QScopeGuard>

#include <quazip/unzip.h>
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

#include <mutex>
#include <vector>

namespace {

constexpr quint64 kZip64Threshold = Q_UINT64_C(4294967296);
// Files are read 16,382 bytes at a time into a 16 KiB buffer.
constexpr qint64 kWriteChunk = 16382;
constexpr size_t kWriteBufferSize = 16384;
// Reading side: one buffer, reused, large enough to keep write(2) calls few.
constexpr unsigned kReadBufferSize = 64 * 1024;
// A stored name is at most 65,535 bytes (16-bit length field).
constexpr size_t kNameBufferSize = 65536;
constexpr quint64 kShiftJIS = 8;
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

// CRC-32 of everything readable from fd, from offset 0 (the file position is
// left alone). Chunks are combined as they come, as zlib computes it.
std::optional<uLong> crcOfDescriptor(int fd, char* buffer)
{
    uLong crc = crc32(0L, Z_NULL, 0);
    qint64 offset = 0;
    for (;;) {
        const qint64 n = retryPread(fd, buffer, kWriteChunk, offset);
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
tm_zip dosFields(const QDateTime& when)
{
    const time_t seconds = time_t(when.toSecsSinceEpoch());
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

// Only an end record at the very start: an archive without entries, perhaps
// with a comment.
bool isEmptyArchive(const QString& path, ZipReadDevice& device)
{
    // The container closes the device when it refuses it.
    if (!device.isOpen() && !device.openFile(path)) {
        return false;
    }
    const qint64 size = device.size();
    if (size < 22 || size > 22 + 0xFFFF || !device.seek(0)) {
        return false;
    }
    const QByteArray record = device.read(22);
    const auto field = [&](int offset) {
        return int(quint8(record[offset])) | int(quint8(record[offset + 1])) << 8;
    };
    return record.size() == 22 && record.startsWith(QByteArray("PK\x05\x06", 4)) && field(8) == 0
        && field(10) == 0 && 22 + field(20) == size;
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

} // namespace

struct ZipArchive::Private {
    zipFile _zipFile = nullptr;
    unzFile _unzFile = nullptr;
    quint64 _numFiles = 0;
    QString _password;
    ZipArchiveDelegate* _delegate = nullptr;
    ProgressBlock _progressBlock;
    QStringList _unzippedFiles;
    quint64 _stringEncoding = 4;
    int _compression = -1;

    // Writing.
    std::unique_ptr<QFile> writeDevice;
    QString targetPath;
    QString temporaryPath; // empty when appending in place
    bool writeFailed = false;
    // The deflated data written so far end their stream.
    bool deflatedEnded = true;
    std::vector<char> writeBuffer;

    // Reading.
    std::unique_ptr<ZipReadDevice> readDevice;
    QHash<QByteArray, unz64_file_pos> index;
    bool indexComplete = false;
    // An archive without entries, which the container refuses to open.
    bool openEmpty = false;
    std::vector<char> readBuffer;
    std::vector<char> nameBuffer;
    ZipOutputFolder output;

    bool openForWriting(const QString& path, bool append);
    bool completeLocalHeader(qint64 headerOffset, qint64 headerLength, quint64 uncompressed);
    bool writeDeflated(const QString& path, ZipDeflatedFile& deflated,
                       const ProgressBlock& progressBlock, quint64* done);
    void discardWriting();
    void resetIndex();
    // The first entry of a name wins.
    void remember(const QByteArray& key, const unz64_file_pos& position);
    bool buildIndex();
    // Reads the current entry's information and stored name (into nameBuffer).
    bool currentInfo(unz_file_info64* info);
    int openCurrent(const unz_file_info64* info);
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
        CloseZipFile2();
    }
    if (d->_unzFile) {
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
    targetPath = path;
    temporaryPath.clear();
    writeFailed = false;
    auto device = std::make_unique<QFile>();
    if (append) {
        device->setFileName(path);
        if (!device->open(QIODevice::ReadWrite)) {
            return false;
        }
    } else {
        // A new file in the archive's folder, renamed over the archive when it
        // is complete; created with the default mode for new files.
        const QFileInfo target(path);
        const QString folder = target.absolutePath();
        const QString stem = QLatin1Char('.') + target.fileName() + QLatin1Char('.');
        int fd = -1;
        for (int attempt = 0; attempt < 100 && fd < 0; ++attempt) {
            const QString candidate = folder + QLatin1Char('/') + stem
                + QString::number(QRandomGenerator::global()->generate(), 36)
                + QStringLiteral(".part");
            fd = retryOpen(QFile::encodeName(candidate),
                           O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
            if (fd >= 0) {
                temporaryPath = candidate;
            } else if (errno != EEXIST) {
                return false;
            }
        }
        if (fd < 0) {
            return false;
        }
        struct stat existing;
        if (::stat(QFile::encodeName(path).constData(), &existing) == 0
            && S_ISREG(existing.st_mode)) {
            ::fchmod(fd, existing.st_mode & 07777);
        }
        if (!device->open(fd, QIODevice::WriteOnly, QFileDevice::AutoCloseHandle)) {
            ::close(fd);
            ::unlink(QFile::encodeName(temporaryPath).constData());
            temporaryPath.clear();
            return false;
        }
    }
    _zipFile = zipOpen64(device.get(), append ? APPEND_STATUS_ADDINZIP : APPEND_STATUS_CREATE);
    if (!_zipFile) {
        device->close();
        if (!temporaryPath.isEmpty()) {
            QFile::remove(temporaryPath);
            temporaryPath.clear();
        }
        return false;
    }
    // Sizes and CRC go into the local header, and the device is ours to close.
    zipClearFlags(_zipFile, ZIP_WRITE_DATA_DESCRIPTOR | ZIP_AUTO_CLOSE);
    writeDevice = std::move(device);
    return true;
}

void ZipArchive::Private::discardWriting()
{
    if (writeDevice) {
        writeDevice->close();
        writeDevice.reset();
    }
    if (!temporaryPath.isEmpty()) {
        QFile::remove(temporaryPath);
        temporaryPath.clear();
    }
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

    QString error;
    const std::optional<ZipItemAttributes> attributes =
        _attributesOfItemAtPath(path, true, &error);
    // An item whose attributes cannot be read at all is stored with the time
    // it was added.
    const QDateTime modified = attributes && attributes->modificationDate.isValid()
        ? attributes->modificationDate
        : QDateTime::currentDateTime();

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
    if (!isFolder && !deflated) {
        fd = retryOpen(nativePath, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0) {
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

    QString entryName = newname;
    if (isFolder) {
        entryName += QLatin1Char('/');
    }
    if (d->_stringEncoding == kShiftJIS) {
        entryName = RKStringEncoding::precomposedStringWithCompatibilityMapping(entryName);
    }
    const std::optional<QByteArray> nameBytes =
        RKStringEncoding::encode(entryName, d->_stringEncoding);

    zip_fileinfo info {};
    info.tmz_date = dosFields(modified);

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
            checkValue = crcOfDescriptor(fd, buffer).value_or(~0UL);
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
    const qint64 nameLength = nameBytes ? nameBytes->size() : 1;
    const int opened = zipOpenNewFileInZip4_64(
        d->_zipFile, nameBytes ? nameBytes->constData() : nullptr, &info, nullptr, 0, nullptr, 0,
        nullptr, Z_DEFLATED, level, deflated ? 1 : 0, MAX_WBITS, DEF_MEM_LEVEL, Z_DEFAULT_STRATEGY,
        password ? password->constData() : nullptr, checkValue, 0, 0, zip64 ? 1 : 0);
    if (opened != ZIP_OK) {
        d->writeFailed = true;
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
            const qint64 n = retryRead(fd, buffer, kWriteChunk);
            if (n < 0) {
                result = false;
                break;
            }
            const bool written =
                n == 0 || zipWriteInFileInZip(d->_zipFile, buffer, unsigned(n)) == ZIP_OK;
            if (progressBlock) {
                progressBlock(path, done, size);
            }
            if (!written) {
                d->writeFailed = true;
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
        d->writeFailed = true;
    }
    if (!zip64 && !d->completeLocalHeader(headerOffset, 30 + nameLength, done)) {
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
    while (deflated.nextPiece(&piece)) {
        if (piece.size > 0
            && zipWriteInFileInZip(_zipFile, piece.data, unsigned(piece.size)) != ZIP_OK) {
            writeFailed = true;
            *done = piece.inputEnd;
            report(piece.inputEnd, false);
            return false;
        }
        *done = piece.inputEnd;
        deflatedEnded = piece.last;
        report(piece.inputEnd, false);
    }
    if (!deflated.isComplete()) {
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
        writeFailed = true;
        return false;
    }
    char sizes[8];
    for (int i = 0; i < 4; ++i) {
        sizes[i] = char((compressed >> (8 * i)) & 0xFF);
        sizes[4 + i] = char((uncompressed >> (8 * i)) & 0xFF);
    }
    if (!writeDevice->seek(headerOffset + 18) || writeDevice->write(sizes, 8) != 8
        || !writeDevice->seek(end)) {
        writeFailed = true;
        return false;
    }
    return true;
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
    d->_password.clear();
    if (!d->_zipFile) {
        return false;
    }
    const int closed = zipClose(d->_zipFile, nullptr);
    d->_zipFile = nullptr;
    bool complete = closed == ZIP_OK && !d->writeFailed && d->writeDevice->flush();
    d->writeDevice->close();
    complete = complete && d->writeDevice->error() == QFileDevice::NoError;
    d->writeDevice.reset();
    if (!d->temporaryPath.isEmpty()) {
        if (complete) {
            complete = ::rename(QFile::encodeName(d->temporaryPath).constData(),
                                QFile::encodeName(d->targetPath).constData())
                == 0;
        }
        if (!complete) {
            QFile::remove(d->temporaryPath);
        }
        d->temporaryPath.clear();
    }
    d->targetPath.clear();
    return complete;
}

// --- reading -----------------------------------------------------------------

void ZipArchive::Private::resetIndex()
{
    index.clear();
    indexComplete = false;
}

void ZipArchive::Private::remember(const QByteArray& key, const unz64_file_pos& position)
{
    if (!index.contains(key)) {
        index.insert(key, position);
    }
}

bool ZipArchive::Private::currentInfo(unz_file_info64* info)
{
    if (nameBuffer.size() < kNameBufferSize) {
        nameBuffer.resize(kNameBufferSize);
    }
    return unzGetCurrentFileInfo64(_unzFile, info, nameBuffer.data(), uLong(nameBuffer.size()),
                                   nullptr, 0, nullptr, 0)
        == UNZ_OK;
}

int ZipArchive::Private::openCurrent(const unz_file_info64* info)
{
    // The password only goes to encrypted entries: the container would try to
    // decrypt any entry it is given a password for, and some tools encrypt
    // files but not folders. A password without a 7-bit form decrypts nothing.
    if (info && (info->flag & 1) && !_password.isEmpty()) {
        const std::optional<QByteArray> password = asciiPassword(_password);
        if (password) {
            return unzOpenCurrentFilePassword(_unzFile, password->constData());
        }
    }
    return unzOpenCurrentFile(_unzFile);
}

bool ZipArchive::Private::buildIndex()
{
    index.clear();
    int status = unzGoToFirstFile(_unzFile);
    while (status == UNZ_OK) {
        unz_file_info64 info;
        unz64_file_pos position;
        if (!currentInfo(&info) || unzGetFilePos64(_unzFile, &position) != UNZ_OK) {
            return false;
        }
        const qsizetype length = qsizetype(qMin<quint64>(info.size_filename, kNameBufferSize - 1));
        remember(lookupKey(nameBuffer.data(), length), position);
        status = unzGoToNextFile(_unzFile);
    }
    indexComplete = status == UNZ_END_OF_LIST_OF_FILE;
    return indexComplete;
}

bool ZipArchive::UnzipOpenFile(const QString& path)
{
    if (d->_unzFile) {
        const QString password = d->_password;
        UnzipCloseFile();
        d->_password = password;
    }
    d->_unzippedFiles = QStringList();
    d->openEmpty = false;
    d->_numFiles = 0;
    d->resetIndex();
    d->output.close();

    auto device = std::make_unique<ZipReadDevice>();
    if (!device->openFile(path)) {
        return false;
    }
    d->_unzFile = unzOpen64(device.get());
    if (!d->_unzFile) {
        d->openEmpty = isEmptyArchive(path, *device);
        if (d->openEmpty) {
            syslog(LOG_NOTICE, "%lu entries in the zip file", 0UL);
        }
        return d->openEmpty;
    }
    unzClearFlags(d->_unzFile, UNZ_AUTO_CLOSE);
    d->readDevice = std::move(device);

    unz_global_info64 global;
    if (unzGetGlobalInfo64(d->_unzFile, &global) == UNZ_OK) {
        d->_numFiles = global.number_entry;
    }
    syslog(LOG_NOTICE, "%lu entries in the zip file", static_cast<unsigned long>(d->_numFiles));
    return true;
}

bool ZipArchive::UnzipOpenFile(const QString& path, const QString& password)
{
    d->_password = password;
    return UnzipOpenFile(path);
}

bool ZipArchive::isCrypted()
{
    if (!d->_unzFile) {
        return false;
    }
    for (;;) {
        unz_file_info64 info;
        if (unzGetCurrentFileInfo64(d->_unzFile, &info, nullptr, 0, nullptr, 0, nullptr, 0)
            == UNZ_OK && (info.flag & 1)) {
            return true;
        }
        unzCloseCurrentFile(d->_unzFile);
        if (unzGoToNextFile(d->_unzFile) != UNZ_OK) {
            return false;
        }
    }
}

std::optional<QStringList> ZipArchive::getZipFileContents64(quint64 encoding)
{
    QStringList names;
    if (!d->_unzFile) {
        if (d->openEmpty) {
            OutputErrorMessage(QStringLiteral("Failed"));
            OutputErrorMessage(QStringLiteral("Error occured"));
        }
        return names;
    }
    if (unzGoToFirstFile(d->_unzFile) != UNZ_OK) {
        OutputErrorMessage(QStringLiteral("Failed"));
    }
    d->resetIndex();
    for (;;) {
        unz_file_info64 info;
        const bool haveInfo = d->currentInfo(&info);
        if (d->openCurrent(haveInfo ? &info : nullptr) != UNZ_OK) {
            OutputErrorMessage(QStringLiteral("Error occured"));
            break;
        }
        if (!haveInfo) {
            OutputErrorMessage(QStringLiteral("Error occurs while getting file info"));
            unzCloseCurrentFile(d->_unzFile);
            break;
        }
        const qsizetype length =
            qsizetype(qMin<quint64>(info.size_filename, kNameBufferSize - 1));
        const QByteArray stored(d->nameBuffer.data(), length);
        const std::optional<QString> name = RKStringEncoding::decode(stored, encoding);
        if (!name) {
            unzCloseCurrentFile(d->_unzFile);
            d->index.clear();
            return std::nullopt;
        }
        names.append(slashed(*name));
        unz64_file_pos position;
        if (unzGetFilePos64(d->_unzFile, &position) == UNZ_OK) {
            d->remember(lookupKey(stored.constData(), stored.size()), position);
        }
        unzCloseCurrentFile(d->_unzFile);
        const int next = unzGoToNextFile(d->_unzFile);
        if (next != UNZ_OK) {
            d->indexComplete = next == UNZ_END_OF_LIST_OF_FILE;
            break;
        }
    }
    if (!d->indexComplete) {
        d->index.clear();
    }
    return names;
}

bool ZipArchive::UnzipFileTo64(const QString& path, const QString& inFilePath, bool overWrite,
                               quint64 encoding)
{
    if (!d->_unzFile) {
        OutputErrorMessage(QStringLiteral("Failed"));
        return false;
    }
    if (!d->indexComplete) {
        d->buildIndex();
    }
    const std::optional<QByteArray> wanted = RKStringEncoding::encode(inFilePath, encoding);
    const auto found = wanted ? d->index.constFind(lookupKey(wanted->constData(), wanted->size()))
                              : d->index.constEnd();
    if (found == d->index.constEnd()) {
        OutputErrorMessage(QStringLiteral("Failed"));
        return false;
    }
    unz64_file_pos position = found.value();
    if (unzGoToFilePos64(d->_unzFile, &position) != UNZ_OK) {
        OutputErrorMessage(QStringLiteral("Failed"));
        return false;
    }

    unz_file_info64 info;
    const bool haveInfo = d->currentInfo(&info);
    if (d->openCurrent(haveInfo ? &info : nullptr) != UNZ_OK) {
        OutputErrorMessage(QStringLiteral("Error occurs"));
        return false;
    }
    const qsizetype length = haveInfo ? qsizetype(qMin<quint64>(info.size_filename,
                                                                kNameBufferSize - 1))
                                      : 0;
    const std::optional<QString> decoded = haveInfo
        ? RKStringEncoding::decode(QByteArray(d->nameBuffer.data(), length), encoding)
        : std::nullopt;
    if (!decoded) {
        OutputErrorMessage(QStringLiteral("Error occurs while getting file info"));
        unzCloseCurrentFile(d->_unzFile);
        return false;
    }
    // A folder ends in a separator character, judged on the decoded name: in
    // Shift-JIS the byte of "\" is also the second byte of characters such as
    // 表 and ソ, and a file whose name ends in one must stay a file.
    const bool isFolder =
        decoded->endsWith(QLatin1Char('/')) || decoded->endsWith(QLatin1Char('\\'));
    const QString name = slashed(*decoded);

    // Nothing is written outside the destination folder.
    std::optional<QStringList> components = ZipOutputFolder::safeComponents(name);
    if (!components || (!isFolder && components->isEmpty())) {
        OutputErrorMessage(QStringLiteral("Entry name leads outside the destination folder"));
        unzCloseCurrentFile(d->_unzFile);
        return false;
    }
    QString outputPath = path;
    if (!components->isEmpty()) {
        if (!outputPath.endsWith(QLatin1Char('/'))) {
            outputPath += QLatin1Char('/');
        }
        outputPath += components->join(QLatin1Char('/'));
    }
    const QString leaf = isFolder ? QString() : components->takeLast();

    const int folderFd = d->output.setRoot(path) ? d->output.folder(*components) : -1;
    if (isFolder) {
        // Folder entries carry no file; any data they hold are ignored.
        unzCloseCurrentFile(d->_unzFile);
        if (folderFd < 0) {
            OutputErrorMessage(QStringLiteral("Failed to create folder"));
            return false;
        }
        return true;
    }

    if (d->readBuffer.size() < kReadBufferSize) {
        d->readBuffer.resize(kReadBufferSize);
    }
    char* buffer = d->readBuffer.data();
    int out = -1;
    bool started = false;
    bool skipped = false;
    qint64 extracted = 0;
    bool endsInHole = false;
    for (;;) {
        const int n = unzReadCurrentFile(d->_unzFile, buffer, kReadBufferSize);
        if (n < 0) {
            OutputErrorMessage(QStringLiteral("Failed to read zip file"));
            if (out >= 0) {
                ::close(out);
            }
            unzCloseCurrentFile(d->_unzFile);
            return false;
        }
        if (!started) {
            started = true;
            if (!overWrite && folderFd >= 0 && ZipOutputFolder::exists(folderFd, leaf)
                && !OverWrite(outputPath)) {
                skipped = true;
                break;
            }
            out = folderFd >= 0 ? ZipOutputFolder::createFile(folderFd, leaf) : -1;
            if (out < 0) {
                OutputErrorMessage(QStringLiteral("Failed to open output file for writing"));
                unzCloseCurrentFile(d->_unzFile);
                return false;
            }
        }
        // Whole chunks of zeros become holes: a disk image or a sparse file
        // takes no more room extracted than it did before it was stored.
        const bool hole = n == int(kReadBufferSize) && isZero(buffer, n)
            && ::lseek(out, n, SEEK_CUR) >= 0;
        if (n > 0 && !hole && !writeAll(out, buffer, n)) {
            OutputErrorMessage(QStringLiteral("Failed to write output file"));
            ::close(out);
            unzCloseCurrentFile(d->_unzFile);
            return false;
        }
        extracted += n;
        endsInHole = hole || (endsInHole && n == 0);
        if (n == 0 && endsInHole && ::ftruncate(out, off_t(extracted)) != 0) {
            OutputErrorMessage(QStringLiteral("Failed to write output file"));
            ::close(out);
            unzCloseCurrentFile(d->_unzFile);
            return false;
        }
        if (n == 0) {
            d->_unzippedFiles.append(outputPath);
            if (info.dosDate != 0) {
                struct timespec times[2];
                times[0].tv_sec = 0;
                times[0].tv_nsec = UTIME_OMIT;
                times[1].tv_sec = dosDateToTime(info.dosDate);
                times[1].tv_nsec = 0;
                if (::futimens(out, times) != 0) {
                    syslog(LOG_NOTICE, "Failed to set attributes");
                }
            }
            ::close(out);
            break;
        }
    }
    const int closed = unzCloseCurrentFile(d->_unzFile);
    if (!skipped && closed == UNZ_CRCERROR) {
        OutputErrorMessage(QStringLiteral("file was unzipped but failed crc check"));
        return false;
    }
    return true;
}

bool ZipArchive::UnzipCloseFile()
{
    d->_password.clear();
    d->resetIndex();
    d->output.close();
    d->openEmpty = false;
    if (!d->_unzFile) {
        return true;
    }
    const int closed = unzClose(d->_unzFile);
    d->_unzFile = nullptr;
    d->readDevice.reset();
    return closed == UNZ_OK;
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
QStringList ZipArchive::unzippedFiles() const { return d->_unzippedFiles; }

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
