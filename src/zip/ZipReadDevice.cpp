#include "zip/ZipReadDevice.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr qint64 kBlockSize = 64 * 1024;

qint64 preadFully(int fd, char* data, qint64 size, qint64 offset)
{
    qint64 done = 0;
    while (done < size) {
        const ssize_t n = ::pread(fd, data + done, size_t(size - done), off_t(offset + done));
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            return done > 0 ? done : -1;
        }
        if (n == 0) {
            break;
        }
        done += n;
    }
    return done;
}

} // namespace

ZipReadDevice::~ZipReadDevice()
{
    close();
}

bool ZipReadDevice::openFile(const QString& path)
{
    close();
    int fd;
    do {
        fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    } while (fd < 0 && errno == EINTR);
    struct stat st;
    if (fd < 0 || ::fstat(fd, &st) != 0 || S_ISDIR(st.st_mode)) {
        setErrorString(QString::fromLocal8Bit(std::strerror(fd < 0 ? errno : EISDIR)));
        if (fd >= 0) {
            ::close(fd);
        }
        return false;
    }
    m_fd = fd;
    m_size = st.st_size;
    for (Block& block : m_blocks) {
        block.start = -1;
        block.length = 0;
    }
    return QIODevice::open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

void ZipReadDevice::close()
{
    if (isOpen()) {
        QIODevice::close();
    }
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
    m_size = 0;
}

qint64 ZipReadDevice::readData(char* data, qint64 maxSize)
{
    if (m_fd < 0) {
        return -1;
    }
    qint64 position = pos();
    qint64 wanted = qMin(maxSize, m_size - position);
    // The library takes a short read for an error: fill the request whole.
    qint64 done = 0;
    while (wanted > 0) {
        Block* hit = nullptr;
        for (Block& block : m_blocks) {
            if (block.start >= 0 && position >= block.start
                && position < block.start + block.length) {
                hit = &block;
                break;
            }
        }
        if (!hit && wanted >= kBlockSize) {
            const qint64 n = preadFully(m_fd, data + done, wanted, position);
            return n < 0 ? (done > 0 ? done : -1) : done + n;
        }
        if (!hit) {
            hit = m_blocks[0].used <= m_blocks[1].used ? &m_blocks[0] : &m_blocks[1];
            hit->bytes.resize(size_t(kBlockSize));
            const qint64 n = preadFully(m_fd, hit->bytes.data(), kBlockSize, position);
            if (n <= 0) {
                hit->start = -1;
                return done > 0 ? done : n;
            }
            hit->start = position;
            hit->length = n;
        }
        hit->used = ++m_clock;
        const qint64 n = qMin(wanted, hit->start + hit->length - position);
        std::memcpy(data + done, hit->bytes.data() + (position - hit->start), size_t(n));
        done += n;
        position += n;
        wanted -= n;
    }
    return done;
}
