#include "unarchive/RKWorkingFolder.h"

#include "platform/RKAppInfo.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <mutex>

namespace {

QByteArray native(const QString& path)
{
    return QFile::encodeName(path);
}

bool isPrivate(const struct stat& st)
{
    return S_ISDIR(st.st_mode) && st.st_uid == ::geteuid() && (st.st_mode & 077) == 0;
}

// A real folder (a link is not followed) of the user's, closed to everyone else.
bool isPrivateFolder(const QString& path)
{
    struct stat st;
    return ::lstat(native(path).constData(), &st) == 0 && isPrivate(st);
}

bool sameInode(const struct stat& a, const struct stat& b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// The folder the root lies in, and the root's name there.
struct RootPlace {
    QString base;
    QString name;
    bool operator==(const RootPlace&) const = default;
};

// The shared temporary directory is everyone's: the user id in the name keeps
// two users apart. Not $XDG_RUNTIME_DIR, although it is private too: it is a
// small memory file system (a tenth of the memory, typically), in which a
// large archive would not fit.
RootPlace temporaryPlace()
{
    return {QDir::cleanPath(QDir::tempPath()),
            RKAppInfo::bundleIdentifier() + QLatin1Char('-') + QString::number(::geteuid())};
}

QString rootPath(const RootPlace& place)
{
    return place.base + QLatin1Char('/') + place.name;
}

// A fresh root made beside a root that could not be used: its name and six
// characters of mkdtemp's.
bool isFreshRootName(const QString& entry, const RootPlace& place)
{
    return entry.size() == place.name.size() + 7 && entry.startsWith(place.name + QLatin1Char('-'));
}

bool isProcessFolderName(const QString& name)
{
    static const QRegularExpression pattern(QStringLiteral("^[0-9]+-[A-Za-z0-9]{6}$"));
    return pattern.match(name).hasMatch();
}

QStringList entriesOf(const QString& folder)
{
    QStringList names;
    DIR* dir = ::opendir(native(folder).constData());
    if (!dir) {
        return names;
    }
    while (const dirent* entry = ::readdir(dir)) {
        const QString name = QFile::decodeName(entry->d_name);
        if (name != QLatin1String(".") && name != QLatin1String("..")) {
            names.append(name);
        }
    }
    ::closedir(dir);
    return names;
}

struct State {
    std::mutex mutex;
    RootPlace place;
    QString root;
    QString processFolder;
    // Open and locked for as long as the process folder exists: the lock is
    // how other processes tell a folder in use from one left by a killed run,
    // and the kernel releases it however the process ends.
    int lockFd = -1;
};

State& state()
{
    static State instance;
    return instance;
}

void releaseProcessFolder(State& s)
{
    if (s.lockFd >= 0) {
        ::close(s.lockFd);
    }
    s.lockFd = -1;
    s.processFolder.clear();
}

QString chooseRoot(State& s)
{
    const RootPlace place = temporaryPlace();
    if (!s.root.isEmpty() && s.place == place && isPrivateFolder(s.root)) {
        return s.root;
    }
    s.place = place;
    s.root.clear();
    const QString natural = rootPath(place);
    if ((::mkdir(native(natural).constData(), 0700) == 0 || errno == EEXIST)
        && isPrivateFolder(natural)) {
        s.root = natural;
        return s.root;
    }
    // Someone else's folder, a link or a folder open to others under the
    // name: never used, never touched. A fresh root of this process's own
    // keeps extraction working.
    QByteArray fresh = native(natural + QStringLiteral("-XXXXXX"));
    if (::mkdtemp(fresh.data())) {
        s.root = QFile::decodeName(fresh);
    }
    return s.root;
}

bool holdsProcessFolder(State& s)
{
    if (s.processFolder.isEmpty()) {
        return false;
    }
    struct stat atPath, held;
    if (::lstat(native(s.processFolder).constData(), &atPath) == 0
        && ::fstat(s.lockFd, &held) == 0 && sameInode(atPath, held)) {
        return true;
    }
    // Removed from outside while held: a new one is made.
    releaseProcessFolder(s);
    return false;
}

bool makeProcessFolder(State& s)
{
    if (holdsProcessFolder(s)) {
        return true;
    }
    // A cleaner of another process may lock and remove a folder between its
    // making and its locking here, or remove a fresh root that looks
    // abandoned: then it is made again.
    for (int attempt = 0; attempt < 8; ++attempt) {
        const QString root = chooseRoot(s);
        if (root.isEmpty()) {
            return false;
        }
        QByteArray folder =
            native(root + QLatin1Char('/') + QString::number(::getpid()) + QStringLiteral("-XXXXXX"));
        if (!::mkdtemp(folder.data())) {
            s.root.clear();
            continue;
        }
        const int fd = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        struct stat atPath, opened;
        if (fd >= 0 && ::flock(fd, LOCK_EX | LOCK_NB) == 0 && ::fstat(fd, &opened) == 0
            && ::lstat(folder.constData(), &atPath) == 0 && sameInode(atPath, opened)) {
            s.processFolder = QFile::decodeName(folder);
            s.lockFd = fd;
            return true;
        }
        if (fd >= 0) {
            ::close(fd);
        }
    }
    return false;
}

// Removes the process folders in root that no process holds locked.
int removeStaleIn(const QString& root)
{
    int removed = 0;
    for (const QString& name : entriesOf(root)) {
        if (!isProcessFolderName(name)) {
            continue;
        }
        const QString path = root + QLatin1Char('/') + name;
        const int fd = ::open(native(path).constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (fd < 0) {
            continue;
        }
        // Held while the folder goes, so that its owner, had it just made
        // it, sees that it is gone and makes another.
        if (::flock(fd, LOCK_EX | LOCK_NB) == 0) {
            QDir(path).removeRecursively();
            ++removed;
        }
        ::close(fd);
    }
    return removed;
}

} // namespace

QString RKWorkingFolder::make(qint64 hash)
{
    State& s = state();
    const std::lock_guard<std::mutex> lock(s.mutex);
    if (!makeProcessFolder(s)) {
        return {};
    }
    const QString folder = s.processFolder + QLatin1Char('/') + QString::number(hash);
    QDir(folder).removeRecursively();
    if (::mkdir(native(folder).constData(), 0700) != 0) {
        return {};
    }
    return folder + QLatin1Char('/');
}

QString RKWorkingFolder::processFolder()
{
    State& s = state();
    const std::lock_guard<std::mutex> lock(s.mutex);
    return s.processFolder;
}

void RKWorkingFolder::removeProcessFolder()
{
    State& s = state();
    const std::lock_guard<std::mutex> lock(s.mutex);
    if (!s.processFolder.isEmpty()) {
        QDir(s.processFolder).removeRecursively();
    }
    releaseProcessFolder(s);
}

int RKWorkingFolder::removeStale()
{
    QString ownRoot;
    {
        State& s = state();
        const std::lock_guard<std::mutex> lock(s.mutex);
        ownRoot = s.root;
    }
    int removed = 0;
    const RootPlace place = temporaryPlace();
    for (const QString& name : entriesOf(place.base)) {
        const bool fresh = isFreshRootName(name, place);
        const QString root = place.base + QLatin1Char('/') + name;
        if ((name != place.name && !fresh) || !isPrivateFolder(root)) {
            continue;
        }
        removed += removeStaleIn(root);
        // A fresh root serves the one process that made it.
        if (fresh && root != ownRoot) {
            ::rmdir(native(root).constData());
        }
    }
    return removed;
}

QString RKWorkingFolder::root()
{
    return rootPath(temporaryPlace());
}
