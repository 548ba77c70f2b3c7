#include "zip/ZipOutputFolder.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

int openFolderAt(int parentFd, const QByteArray& name)
{
    int fd;
    do {
        fd = ::openat(parentFd, name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

} // namespace

ZipOutputFolder::~ZipOutputFolder()
{
    close();
}

std::optional<QStringList> ZipOutputFolder::safeComponents(const QString& name)
{
    if (name.startsWith(QLatin1Char('/')) || name.contains(QChar(u'\0'))) {
        return std::nullopt;
    }
    QStringList components;
    for (const QString& part : name.split(QLatin1Char('/'))) {
        if (part.isEmpty() || part == QLatin1String(".")) {
            continue;
        }
        if (part == QLatin1String("..")) {
            return std::nullopt;
        }
        components.append(part);
    }
    return components;
}

bool ZipOutputFolder::setRoot(const QString& root)
{
    if (m_rootFd >= 0 && root == m_root) {
        return true;
    }
    close();
    // The root itself is the user's choice and may be reached through links.
    QDir().mkpath(root);
    const QByteArray bytes = QFile::encodeName(root);
    int fd;
    do {
        fd = ::open(bytes.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) {
        return false;
    }
    m_root = root;
    m_rootFd = fd;
    return true;
}

int ZipOutputFolder::folder(const QStringList& components)
{
    if (m_rootFd < 0) {
        return -1;
    }
    if (components.isEmpty()) {
        return m_rootFd;
    }
    if (m_cachedFd >= 0 && components == m_cachedComponents) {
        return m_cachedFd;
    }
    dropCachedFolder();

    int fd = m_rootFd;
    for (const QString& component : components) {
        const QByteArray name = QFile::encodeName(component);
        int next = openFolderAt(fd, name);
        if (next < 0 && errno == ENOENT) {
            if (::mkdirat(fd, name.constData(), 0777) == 0 || errno == EEXIST) {
                next = openFolderAt(fd, name);
            }
        }
        if (fd != m_rootFd) {
            ::close(fd);
        }
        if (next < 0) {
            return -1;
        }
        fd = next;
    }
    m_cachedComponents = components;
    m_cachedFd = fd;
    return fd;
}

int ZipOutputFolder::createFile(int folderFd, const QString& leaf, mode_t mode)
{
    const QByteArray name = QFile::encodeName(leaf);
    for (int attempt = 0; attempt < 2; ++attempt) {
        int fd;
        do {
            fd = ::openat(folderFd, name.constData(),
                          O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
        } while (fd < 0 && errno == EINTR);
        if (fd >= 0 || errno != EEXIST || attempt > 0) {
            return fd;
        }
        // Replace rather than truncate: an existing link (symbolic or hard)
        // must never carry the data to a file elsewhere. A folder stays.
        if (::unlinkat(folderFd, name.constData(), 0) != 0) {
            return -1;
        }
    }
    return -1;
}

bool ZipOutputFolder::createLink(int folderFd, const QString& leaf, const QByteArray& target)
{
    const QByteArray name = QFile::encodeName(leaf);
    if (::symlinkat(target.constData(), folderFd, name.constData()) == 0) {
        return true;
    }
    return errno == EEXIST && ::unlinkat(folderFd, name.constData(), 0) == 0
        && ::symlinkat(target.constData(), folderFd, name.constData()) == 0;
}

bool ZipOutputFolder::exists(int folderFd, const QString& leaf)
{
    struct stat st;
    return ::fstatat(folderFd, QFile::encodeName(leaf).constData(), &st, AT_SYMLINK_NOFOLLOW) == 0;
}

void ZipOutputFolder::close()
{
    dropCachedFolder();
    if (m_rootFd >= 0) {
        ::close(m_rootFd);
        m_rootFd = -1;
    }
    m_root.clear();
}

void ZipOutputFolder::dropCachedFolder()
{
    if (m_cachedFd >= 0) {
        ::close(m_cachedFd);
        m_cachedFd = -1;
    }
    m_cachedComponents.clear();
}
