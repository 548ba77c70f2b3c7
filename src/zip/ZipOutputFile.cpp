#include "zip/ZipOutputFile.h"

#include "platform/RKLeftovers.h"

#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QRegularExpression>

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr size_t kBufferSize = 256 * 1024;

QByteArray native(const QString& path)
{
    return QFile::encodeName(path);
}

int retryOpen(const QByteArray& path, int flags, mode_t mode)
{
    int fd;
    do {
        fd = ::open(path.constData(), flags, mode);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

// A hidden name beside the target: ".NAME.<random>.part".
QString partName(const QString& folder, const QString& name)
{
    return folder + QStringLiteral("/.") + name + QLatin1Char('.')
        + QString::number(QRandomGenerator::global()->generate(), 36) + QStringLiteral(".part");
}

// Hidden files of the target's name that ended runs left behind, where the
// registry did not catch them (its folder went with a cleared temporary
// directory).
void removeAbandonedParts(const QString& folder, const QString& name)
{
    DIR* dir = ::opendir(native(folder).constData());
    if (!dir) {
        return;
    }
    const QRegularExpression pattern(QStringLiteral("^\\.") + QRegularExpression::escape(name)
                                     + QStringLiteral("\\.[0-9a-z]+\\.part$"));
    QStringList found;
    while (const dirent* entry = ::readdir(dir)) {
        const QString entryName = QFile::decodeName(entry->d_name);
        if (pattern.match(entryName).hasMatch()) {
            found.append(folder + QLatin1Char('/') + entryName);
        }
    }
    ::closedir(dir);
    for (const QString& path : std::as_const(found)) {
        RKLeftovers::removeIfAbandoned(path);
    }
}

} // namespace

ZipOutputFile::~ZipOutputFile()
{
    discard();
}

bool ZipOutputFile::create(const QString& target)
{
    discard();
    m_error = 0;
    m_target = target;
    m_fileSize = 0;
    m_buffer.clear();
    m_bufferOffset = 0;
    const QFileInfo info(target);
    const QString folder = info.absolutePath();
    // Readable through its descriptor's path: the read-back check and the
    // link into place both go that way.
    const bool procMounted = ::access("/proc/self/fd", X_OK) == 0;
    m_fd = procMounted ? retryOpen(native(folder), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666) : -1;
    if (m_fd < 0) {
        removeAbandonedParts(folder, info.fileName());
        for (int attempt = 0; attempt < 100 && m_fd < 0; ++attempt) {
            const QString candidate = partName(folder, info.fileName());
            // Registered first: a kill between the two leaves a registration
            // of nothing, never a file nobody knows of.
            const int token = RKLeftovers::add(candidate, true);
            m_fd = retryOpen(native(candidate), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
            if (m_fd >= 0) {
                m_partPath = candidate;
                m_token = token;
                break;
            }
            const int error = errno;
            RKLeftovers::remove(token);
            if (error != EEXIST) {
                m_error = error;
                return false;
            }
        }
        if (m_fd < 0) {
            m_error = EEXIST;
            return false;
        }
    }
    // Held while the file is written: a later run tells it from a leftover.
    ::flock(m_fd, LOCK_EX | LOCK_NB);
    struct stat existing;
    if (::stat(native(target).constData(), &existing) == 0 && S_ISREG(existing.st_mode)) {
        ::fchmod(m_fd, existing.st_mode & 07777);
    }
    m_buffer.reserve(kBufferSize);
    QIODevice::open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    return true;
}

void ZipOutputFile::fail(int error)
{
    if (m_error == 0) {
        m_error = error != 0 ? error : EIO;
    }
}

bool ZipOutputFile::writeAt(const char* data, qint64 length, qint64 offset)
{
    while (length > 0) {
        const ssize_t n = ::pwrite(m_fd, data, size_t(length), off_t(offset));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            fail(n < 0 ? errno : ENOSPC);
            return false;
        }
        data += n;
        length -= n;
        offset += n;
        m_fileSize = qMax(m_fileSize, offset);
    }
    return true;
}

bool ZipOutputFile::flushBuffer()
{
    if (m_fd < 0 || m_error != 0) {
        return false;
    }
    const bool written = writeAt(m_buffer.data(), qint64(m_buffer.size()), m_bufferOffset);
    m_bufferOffset += qint64(m_buffer.size());
    m_buffer.clear();
    return written;
}

qint64 ZipOutputFile::writeData(const char* data, qint64 length)
{
    if (m_fd < 0 || m_error != 0) {
        return -1;
    }
    // The device's position is where this write goes: the container seeks
    // back only to complete a header it wrote earlier.
    const qint64 at = pos();
    if (!m_buffer.empty() && at != m_bufferOffset + qint64(m_buffer.size()) && !flushBuffer()) {
        return -1;
    }
    if (m_buffer.empty()) {
        m_bufferOffset = at;
    }
    if (m_buffer.size() + size_t(length) > kBufferSize) {
        if (!flushBuffer()) {
            return -1;
        }
        m_bufferOffset = at;
        if (size_t(length) >= kBufferSize) {
            return writeAt(data, length, at) ? length : -1;
        }
    }
    m_buffer.insert(m_buffer.end(), data, data + length);
    return length;
}

qint64 ZipOutputFile::size() const
{
    return qMax(m_fileSize, m_bufferOffset + qint64(m_buffer.size()));
}

QString ZipOutputFile::readablePath() const
{
    if (!m_partPath.isEmpty()) {
        return m_partPath;
    }
    return m_fd >= 0 ? QStringLiteral("/proc/self/fd/%1").arg(m_fd) : QString();
}

bool ZipOutputFile::place()
{
    if (!flushBuffer()) {
        discard();
        return false;
    }
    if (::fsync(m_fd) != 0) {
        fail(errno);
        discard();
        return false;
    }
    const QByteArray target = native(m_target);
    if (m_partPath.isEmpty()) {
        const QByteArray self = native(readablePath());
        // Straight to the name when nothing is there; otherwise under a
        // hidden name first, then over the existing file in one rename.
        if (::linkat(AT_FDCWD, self.constData(), AT_FDCWD, target.constData(), AT_SYMLINK_FOLLOW)
            == 0) {
            release();
            return true;
        }
        if (errno != EEXIST) {
            fail(errno);
            discard();
            return false;
        }
        const QFileInfo info(m_target);
        for (int attempt = 0; attempt < 100 && m_partPath.isEmpty(); ++attempt) {
            const QString candidate = partName(info.absolutePath(), info.fileName());
            if (::linkat(AT_FDCWD, self.constData(), AT_FDCWD, native(candidate).constData(),
                         AT_SYMLINK_FOLLOW)
                == 0) {
                m_partPath = candidate;
            } else if (errno != EEXIST) {
                fail(errno);
                discard();
                return false;
            }
        }
    }
    if (::rename(native(m_partPath).constData(), target.constData()) != 0) {
        fail(errno);
        discard();
        return false;
    }
    m_partPath.clear();
    release();
    return true;
}

void ZipOutputFile::discard()
{
    if (!m_partPath.isEmpty()) {
        ::unlink(native(m_partPath).constData());
        m_partPath.clear();
    }
    release();
}

void ZipOutputFile::release()
{
    if (isOpen()) {
        QIODevice::close();
    }
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
    RKLeftovers::remove(m_token);
    m_token = 0;
    m_buffer.clear();
}
