#include "platform/RKLeftovers.h"

#include "platform/RKAppInfo.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QRegularExpression>

#include <array>
#include <atomic>
#include <string>
#include <vector>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <mutex>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

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
// two users apart.
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

bool isLeftoverName(const QString& name, bool folder)
{
    // Extraction's working folders, and the private folders that mokuza -o
    // writes its archive in.
    static const QRegularExpression workingFolder(QStringLiteral("^(\\.mokuza-work|\\.?mokuza-out)-[A-Za-z0-9]{6}$"));
    static const QRegularExpression partFile(QStringLiteral("^\\..+\\.[0-9a-z]+\\.part$"));
    return (folder ? workingFolder : partFile).match(name).hasMatch();
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

// Opens a folder below parentFd, opening it up for its owner when it is
// closed to the user (an extracted read-only folder).
int openFolderAt(int parentFd, const char* name)
{
    const int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    int fd = ::openat(parentFd, name, flags);
    if (fd < 0 && errno == EACCES && ::fchmodat(parentFd, name, 0700, 0) == 0) {
        fd = ::openat(parentFd, name, flags);
    }
    return fd;
}

// Removes everything in the folder fd (taken over and closed).
bool removeEntries(int fd)
{
    DIR* dir = ::fdopendir(fd);
    if (!dir) {
        ::close(fd);
        return false;
    }
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir(dir)) {
        const char* name = entry->d_name;
        if (!(name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0')))) {
            names.emplace_back(name);
        }
    }
    const int folder = ::dirfd(dir);
    bool openedUp = false;
    bool ok = true;
    for (const std::string& name : names) {
        for (int attempt = 0; attempt < 2; ++attempt) {
            if (::unlinkat(folder, name.c_str(), 0) == 0) {
                break;
            }
            if (errno == EISDIR) {
                const int child = openFolderAt(folder, name.c_str());
                const bool emptied = child >= 0 && removeEntries(child);
                if (emptied && ::unlinkat(folder, name.c_str(), AT_REMOVEDIR) == 0) {
                    break;
                }
            }
            // A folder without write permission keeps its entries.
            if (errno == EACCES && !openedUp && ::fchmod(folder, 0700) == 0) {
                openedUp = true;
                continue;
            }
            ok = false;
            break;
        }
    }
    ::closedir(dir);
    return ok;
}

// Files a signal handler may unlink: fixed slots, so that the handler needs
// neither locks nor allocation.
struct FileSlot {
    std::atomic<bool> used{false};
    std::array<char, 4096> path{};
};
std::array<FileSlot, 16> g_fileSlots;

struct State {
    std::mutex mutex;
    RootPlace place;
    QString root;
    QString processFolder;
    // Open and locked for as long as the process folder exists.
    int lockFd = -1;
    int nextToken = 1;
    QHash<int, int> slotOfToken; // registered files: their signal slot
    int registrations = 0;
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
    // keeps the registry working.
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

// Removes the process folders in root that no process holds locked, with
// what their registrations name.
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
            for (const QString& entry : entriesOf(path)) {
                const QString target = QFile::symLinkTarget(path + QLatin1Char('/') + entry);
                if (!target.isEmpty()) {
                    RKLeftovers::removeIfAbandoned(target);
                }
            }
            RKLeftovers::removeTree(path);
            ++removed;
        }
        ::close(fd);
    }
    return removed;
}

} // namespace

int RKLeftovers::add(const QString& path, bool isFile)
{
    State& s = state();
    const std::lock_guard<std::mutex> lock(s.mutex);
    if (!makeProcessFolder(s)) {
        return 0;
    }
    const int token = s.nextToken++;
    const QByteArray link = native(s.processFolder + QLatin1Char('/') + QString::number(token));
    if (::symlink(native(path).constData(), link.constData()) != 0) {
        return 0;
    }
    ++s.registrations;
    if (isFile) {
        const QByteArray bytes = native(path);
        for (int i = 0; i < int(g_fileSlots.size()); ++i) {
            FileSlot& slot = g_fileSlots[size_t(i)];
            if (!slot.used.load() && bytes.size() < qsizetype(slot.path.size())) {
                std::memcpy(slot.path.data(), bytes.constData(), size_t(bytes.size()) + 1);
                slot.used.store(true);
                s.slotOfToken.insert(token, i);
                break;
            }
        }
    }
    return token;
}

void RKLeftovers::remove(int token)
{
    if (token <= 0) {
        return;
    }
    State& s = state();
    const std::lock_guard<std::mutex> lock(s.mutex);
    const auto slot = s.slotOfToken.constFind(token);
    if (slot != s.slotOfToken.constEnd()) {
        g_fileSlots[size_t(slot.value())].used.store(false);
        s.slotOfToken.erase(slot);
    }
    if (s.processFolder.isEmpty()) {
        return;
    }
    ::unlink(native(s.processFolder + QLatin1Char('/') + QString::number(token)).constData());
    if (--s.registrations <= 0) {
        // Nothing registered: the folder goes until the next registration.
        s.registrations = 0;
        removeTree(s.processFolder);
        releaseProcessFolder(s);
    }
}

bool RKLeftovers::removeIfAbandoned(const QString& path)
{
    const QByteArray bytes = native(path);
    struct stat st;
    if (::lstat(bytes.constData(), &st) != 0 || st.st_uid != ::geteuid()
        || !(S_ISDIR(st.st_mode) || S_ISREG(st.st_mode))
        || !isLeftoverName(path.mid(path.lastIndexOf(QLatin1Char('/')) + 1), S_ISDIR(st.st_mode))) {
        return false;
    }
    const bool folder = S_ISDIR(st.st_mode);
    const int fd = ::open(bytes.constData(),
                          (folder ? O_DIRECTORY : O_NONBLOCK) | O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    // Its run holds the lock for as long as it lives.
    bool removed = false;
    struct stat opened;
    if (::flock(fd, LOCK_EX | LOCK_NB) == 0 && ::fstat(fd, &opened) == 0 && sameInode(st, opened)) {
        removed = folder ? removeTree(path) : ::unlink(bytes.constData()) == 0;
    }
    ::close(fd);
    return removed;
}

int RKLeftovers::removeStale()
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

bool RKLeftovers::removeTree(const QString& path)
{
    const QByteArray bytes = native(path);
    const int fd = openFolderAt(AT_FDCWD, bytes.constData());
    if (fd < 0) {
        return ::unlink(bytes.constData()) == 0 || errno == ENOENT;
    }
    const bool emptied = removeEntries(fd);
    return ::rmdir(bytes.constData()) == 0 && emptied;
}

void RKLeftovers::removeFilesNow()
{
    for (FileSlot& slot : g_fileSlots) {
        if (slot.used.load()) {
            ::unlink(slot.path.data());
        }
    }
}

QString RKLeftovers::processFolder()
{
    State& s = state();
    const std::lock_guard<std::mutex> lock(s.mutex);
    return s.processFolder;
}

QString RKLeftovers::root()
{
    return rootPath(temporaryPlace());
}
