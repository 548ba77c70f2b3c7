#include "unarchive/RKWorkingFolder.h"

#include "platform/RKLeftovers.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstring>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QByteArray native(const QString& path)
{
    return QFile::encodeName(path);
}

const QString kPrefix = QStringLiteral(".mokuza-work-");

// Makes folder and its missing parents; the ones it made, outermost first.
bool makeFolders(const QString& folder, QStringList* made, int* error)
{
    QStringList missing;
    QString at = QDir::cleanPath(folder);
    struct stat st;
    while (::stat(native(at).constData(), &st) != 0) {
        if (errno != ENOENT) {
            *error = errno;
            return false;
        }
        missing.prepend(at);
        const qsizetype slash = at.lastIndexOf(QLatin1Char('/'));
        if (slash <= 0) {
            break;
        }
        at = at.left(slash);
    }
    for (const QString& path : std::as_const(missing)) {
        if (::mkdir(native(path).constData(), 0777) != 0 && errno != EEXIST) {
            *error = errno;
            return false;
        }
        made->append(path);
    }
    return true;
}

// Working folders in the destination that ended runs left behind: a killed
// run whose registration went with a cleared temporary directory.
void removeAbandonedIn(const QString& folder)
{
    DIR* dir = ::opendir(native(folder).constData());
    if (!dir) {
        return;
    }
    QStringList found;
    const QByteArray prefix = native(kPrefix);
    while (const dirent* entry = ::readdir(dir)) {
        if (std::strncmp(entry->d_name, prefix.constData(), size_t(prefix.size())) == 0) {
            found.append(folder + QLatin1Char('/') + QFile::decodeName(entry->d_name));
        }
    }
    ::closedir(dir);
    for (const QString& path : std::as_const(found)) {
        RKLeftovers::removeIfAbandoned(path);
    }
}

} // namespace

RKWorkingFolder::~RKWorkingFolder()
{
    remove();
}

bool RKWorkingFolder::make(const QString& destination)
{
    remove();
    m_error = 0;
    const QString folder = QDir::cleanPath(destination);
    if (!makeFolders(folder, &m_madeFolders, &m_error)) {
        remove();
        return false;
    }
    removeAbandonedIn(folder);
    QByteArray path = native(folder + QLatin1Char('/') + kPrefix + QStringLiteral("XXXXXX"));
    if (!::mkdtemp(path.data())) {
        m_error = errno;
        remove();
        return false;
    }
    // Registered before it holds anything: a kill from here on leaves a name
    // that the next start finds.
    m_path = QFile::decodeName(path);
    m_token = RKLeftovers::add(m_path, false);
    m_lockFd = ::open(path.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (m_lockFd < 0 || ::flock(m_lockFd, LOCK_EX | LOCK_NB) != 0) {
        m_error = errno;
        remove();
        return false;
    }
    m_path += QLatin1Char('/');
    return true;
}

void RKWorkingFolder::remove()
{
    if (!m_path.isEmpty()) {
        RKLeftovers::removeTree(m_path);
        m_path.clear();
    }
    if (m_lockFd >= 0) {
        ::close(m_lockFd);
        m_lockFd = -1;
    }
    RKLeftovers::remove(m_token);
    m_token = 0;
    // A failed extraction leaves no empty folders in the destination.
    while (!m_madeFolders.isEmpty()) {
        ::rmdir(native(m_madeFolders.takeLast()).constData());
    }
}

int RKWorkingFolder::removeStale()
{
    return RKLeftovers::removeStale();
}
