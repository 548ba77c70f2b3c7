#include "unarchive/RKFileCopyUtil.h"

#include "platform/RKAppInfo.h"
#include "platform/RKPanelService.h"
#include "settings/RKFilterProvider.h"
#include "zip/ZipNumberedName.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>

namespace {

QByteArray native(const QString& path)
{
    return QFile::encodeName(path);
}

// Something (file, folder, link, even a dangling one) is at the path.
bool entryExists(const QString& path)
{
    struct stat st;
    return ::lstat(native(path).constData(), &st) == 0;
}

bool isRealFolder(const QString& path)
{
    struct stat st;
    return ::lstat(native(path).constData(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool isFolderFollowingLinks(const QString& path)
{
    struct stat st;
    return ::stat(native(path).constData(), &st) == 0 && S_ISDIR(st.st_mode);
}

QString joinPath(const QString& folder, const QString& name)
{
    if (folder.endsWith(QLatin1Char('/'))) {
        return folder + name;
    }
    return folder + QLatin1Char('/') + name;
}

QString lastComponent(const QString& path)
{
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

QString parentFolder(const QString& path)
{
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    return slash <= 0 ? QStringLiteral("/") : path.left(slash);
}

// The name without its last extension, as a file name is shown to the user:
// "photos.zip" → "photos", "a.b.zip" → "a.b", ".zip" stays ".zip".
QString deletingPathExtension(const QString& name)
{
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    return dot > 0 ? name.left(dot) : name;
}

bool removeItem(const QString& path)
{
    if (isRealFolder(path)) {
        return QDir(path).removeRecursively();
    }
    return ::unlink(native(path).constData()) == 0;
}

bool copyRegularFile(const QByteArray& from, const QByteArray& to, const struct stat& st)
{
    const int in = ::open(from.constData(), O_RDONLY | O_CLOEXEC);
    if (in < 0) {
        return false;
    }
    const int out = ::open(to.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (out < 0) {
        const int error = errno;
        ::close(in);
        errno = error;
        return false;
    }
    bool ok = true;
    std::array<char, 1 << 16> buffer;
    for (;;) {
        const ssize_t got = ::read(in, buffer.data(), buffer.size());
        if (got == 0) {
            break;
        }
        if (got < 0) {
            if (errno == EINTR) {
                continue;
            }
            ok = false;
            break;
        }
        ssize_t done = 0;
        while (ok && done < got) {
            const ssize_t put = ::write(out, buffer.data() + done, size_t(got - done));
            if (put < 0 && errno == EINTR) {
                continue;
            }
            if (put <= 0) {
                ok = false;
            } else {
                done += put;
            }
        }
        if (!ok) {
            break;
        }
    }
    if (ok) {
        // The extracted file's time and mode were restored from the archive;
        // a copy must keep them.
        const struct timespec times[2] = {st.st_atim, st.st_mtim};
        ok = ::fchmod(out, st.st_mode & 07777) == 0 && ::futimens(out, times) == 0;
    }
    int error = ok ? 0 : errno;
    if (::close(out) != 0 && ok) {
        ok = false;
        error = errno;
    }
    ::close(in);
    if (!ok) {
        ::unlink(to.constData());
        errno = error;
    }
    return ok;
}

// Moves a file (or a link) from the working folder to a destination where
// nothing is. The working folder lies in the destination folder, so this is
// a rename; a destination elsewhere (a folder chosen in a panel on another
// file system) gets a copy, and the original is removed. errno tells a failure.
bool moveFile(const QString& from, const QString& to)
{
    const QByteArray source = native(from);
    const QByteArray target = native(to);
    if (::rename(source.constData(), target.constData()) == 0) {
        return true;
    }
    if (errno != EXDEV) {
        return false;
    }
    struct stat st;
    if (::lstat(source.constData(), &st) != 0) {
        return false;
    }
    bool copied = false;
    if (S_ISLNK(st.st_mode)) {
        QByteArray linkTarget(qsizetype(st.st_size) + 1, '\0');
        const ssize_t length = ::readlink(source.constData(), linkTarget.data(), size_t(linkTarget.size()));
        if (length >= 0 && length < linkTarget.size()) {
            linkTarget.truncate(length);
            copied = ::symlink(linkTarget.constData(), target.constData()) == 0;
            const struct timespec times[2] = {st.st_atim, st.st_mtim};
            copied = copied
                && ::utimensat(AT_FDCWD, target.constData(), times, AT_SYMLINK_NOFOLLOW) == 0;
        }
    } else if (S_ISREG(st.st_mode)) {
        copied = copyRegularFile(source, target, st);
    }
    if (copied) {
        // What stays behind goes with the working folder.
        ::unlink(source.constData());
    }
    return copied;
}

// A free name beside the path under which an existing item waits while the
// new one is moved in.
QString asidePath(const QString& path)
{
    static std::atomic<int> counter{0};
    const QString folder = parentFolder(path);
    for (;;) {
        const QString candidate = joinPath(
            folder, QStringLiteral(".%1.mokuza-aside-%2-%3")
                        .arg(lastComponent(path))
                        .arg(qint64(::getpid()))
                        .arg(counter.fetch_add(1)));
        if (!entryExists(candidate)) {
            return candidate;
        }
    }
}

} // namespace

RKFileCopyUtil::RKFileCopyUtil(const QString& fromPath, const QString& toPath,
                               const QString& archivePath,
                               const RKUnArchiveProfileSetting& unArchiveProfile, QObject* window)
    : m_fromPath(QDir::cleanPath(fromPath))
    , m_toPath(QDir::cleanPath(toPath))
    , m_archivePath(archivePath)
    , m_unArchiveProfile(unArchiveProfile)
    , m_window(window)
{
}

RKFileCopyUtil::~RKFileCopyUtil()
{
    if (m_worker.joinable()) {
        m_worker.join();
    }
}

void RKFileCopyUtil::beginCopy()
{
    if (m_worker.joinable()) {
        m_worker.join();
    }
    m_currentIndex = 0;
    m_destPaths.clear();
    m_madeFolders.clear();
    m_folderDestinations.clear();
    m_placedFolders.clear();
    m_worker = std::thread([this] { run(); });
}

void RKFileCopyUtil::run()
{
    if (!prepareProcess()) {
        return;
    }
    while (copyProcess()) {
        if (m_currentIndex == m_items.size()) {
            finishFolders();
            checkMacPermission();
            return;
        }
    }
}

void RKFileCopyUtil::searchSubItems(const QString& path, bool isFolder)
{
    m_items.append(path);
    m_itemIsFolder.push_back(isFolder);
    if (!isFolder) {
        return;
    }
    DIR* dir = ::opendir(native(path).constData());
    if (!dir) {
        if (m_unlisted.isEmpty()) {
            m_unlisted = path;
            m_unlistedError = errno;
        }
        return;
    }
    // Entries in the order the file system gives them; links are placed as
    // links and never followed, so nothing outside the working folder moves.
    QList<QPair<QString, bool>> entries;
    while (const dirent* entry = ::readdir(dir)) {
        const char* name = entry->d_name;
        if (name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'))) {
            continue;
        }
        const QString child = joinPath(path, QFile::decodeName(name));
        bool childIsFolder = entry->d_type == DT_DIR;
        if (entry->d_type == DT_UNKNOWN) {
            childIsFolder = isRealFolder(child);
        }
        entries.append({child, childIsFolder});
    }
    ::closedir(dir);
    for (const auto& [child, childIsFolder] : entries) {
        searchSubItems(child, childIsFolder);
    }
}

bool RKFileCopyUtil::isExcluded(const QString& relativePath, bool isFolder) const
{
    // Only the names below the working folder count: the folders of the
    // temporary directory itself must never exclude anything.
    const QStringList components = relativePath.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    if (components.isEmpty()) {
        return false;
    }
    const qsizetype folderCount = isFolder ? components.size() : components.size() - 1;
    for (const QString& pattern : m_unArchiveProfile.exclusionFolders) {
        for (qsizetype i = 0; i < folderCount; ++i) {
            if (RKFilterProvider::matches(components[i], pattern)) {
                return true;
            }
        }
    }
    if (!isFolder) {
        for (const QString& pattern : m_unArchiveProfile.exclusionFiles) {
            if (RKFilterProvider::matches(components.last(), pattern)) {
                return true;
            }
        }
    }
    return false;
}

bool RKFileCopyUtil::makeFolder(const QString& path, int* error)
{
    const QByteArray bytes = native(path);
    if (::mkdir(bytes.constData(), 0777) == 0) {
        m_madeFolders.append(path);
        return true;
    }
    if (errno == EEXIST && isFolderFollowingLinks(path)) {
        return true;
    }
    const QString parent = parentFolder(path);
    if (errno == ENOENT && parent != path && makeFolder(parent, error)) {
        if (::mkdir(bytes.constData(), 0777) == 0) {
            m_madeFolders.append(path);
            return true;
        }
    }
    if (*error == 0) {
        *error = errno;
    }
    return false;
}

bool RKFileCopyUtil::prepareProcess()
{
    m_items.clear();
    m_itemIsFolder.clear();
    m_unlisted.clear();
    m_unlistedError = 0;
    searchSubItems(m_fromPath, isFolderFollowingLinks(m_fromPath));

    // Item 0 is the working folder itself and always stays.
    QStringList kept{m_items.first()};
    std::vector<bool> keptIsFolder{m_itemIsFolder.front()};
    for (qsizetype i = 1; i < m_items.size(); ++i) {
        const QString relative = m_items[i].mid(m_fromPath.size());
        if (!isExcluded(relative, m_itemIsFolder[size_t(i)])) {
            kept.append(m_items[i]);
            keptIsFolder.push_back(m_itemIsFolder[size_t(i)]);
        }
    }
    m_items = kept;
    m_itemIsFolder = keptIsFolder;

    if (m_unArchiveProfile.unArchiveMode == 1) {
        const QString base = joinPath(m_toPath, deletingPathExtension(lastComponent(m_archivePath)));
        m_destFolderPath = base;
        for (int n = 2; entryExists(m_destFolderPath); ++n) {
            m_destFolderPath = base + QStringLiteral(" %1").arg(n);
        }
    } else {
        m_destFolderPath = m_toPath;
    }

    if (!m_unlisted.isEmpty()) {
        sendError(2, m_destFolderPath + m_unlisted.mid(m_fromPath.size()), m_unlistedError);
        return false;
    }
    int error = 0;
    if (!entryExists(m_destFolderPath) && !makeFolder(m_destFolderPath, &error)) {
        sendError(1, m_destFolderPath, error);
        return false;
    }
    if (m_delegate) {
        m_delegate->fileCopyUtilCopyStarted(this, int(m_items.size()));
    }
    return true;
}

QString RKFileCopyUtil::naturalDestination(const QString& relativePath) const
{
    const qsizetype slash = relativePath.lastIndexOf(QLatin1Char('/'));
    const QString parentRelative = relativePath.left(slash);
    if (parentRelative.isEmpty()) {
        return joinPath(m_destFolderPath, relativePath.mid(slash + 1));
    }
    const auto parent = m_folderDestinations.constFind(parentRelative);
    if (parent != m_folderDestinations.constEnd()) {
        return joinPath(parent.value(), relativePath.mid(slash + 1));
    }
    return m_destFolderPath + relativePath;
}

QString RKFileCopyUtil::numberedFileName(const QString& fileName, int number)
{
    return ZipNumberedName::fileName(fileName, number);
}

bool RKFileCopyUtil::resolveClash(const QString& item, bool isFolder, QString& destination)
{
    switch (m_unArchiveProfile.sameFileName) {
    case 0: {
        const QString title = RKAppInfo::applicationTitle();
        const QString message = QStringLiteral("%1 の保存先を選択して下さい。").arg(item);
        if (!isFolder) {
            const QString chosen = showModalSavePanel(m_window, title, message, destination, {});
            if (chosen.isEmpty()) {
                return false;
            }
            destination = chosen;
            return true;
        }
        // A folder moves into the chosen folder under its own name. The user
        // confirmed no overwrite there, so a taken place is asked again.
        const QString name = lastComponent(destination);
        QString clash = destination;
        for (;;) {
            const QString chosen = showModalOpenPanel(m_window, title, message, clash, 1);
            if (chosen.isEmpty()) {
                return false;
            }
            const QString candidate = joinPath(QDir::cleanPath(chosen), name);
            if (!entryExists(candidate)) {
                destination = candidate;
                return true;
            }
            clash = candidate;
        }
    }
    case 2: {
        const QString folder = parentFolder(destination);
        const QString name = lastComponent(destination);
        for (int n = 2;; ++n) {
            const QString candidate =
                joinPath(folder, isFolder ? ZipNumberedName::folderName(name, n)
                                          : ZipNumberedName::fileName(name, n));
            if (!entryExists(candidate)) {
                destination = candidate;
                return true;
            }
        }
    }
    default:
        // Overwrite: the existing item goes when the new one is placed.
        return true;
    }
}

RKFileCopyUtil::Placement RKFileCopyUtil::placeItem(const QString& item, bool isFolder,
                                                     const QString& destination, int* error)
{
    QString aside;
    if (entryExists(destination)) {
        aside = asidePath(destination);
        if (::rename(native(destination).constData(), native(aside).constData()) != 0) {
            *error = errno;
            return Placement::ExistingNotRemoved;
        }
    }
    const bool placed = isFolder ? makeFolder(destination, error) : moveFile(item, destination);
    if (!placed) {
        if (*error == 0) {
            *error = errno;
        }
        if (!aside.isEmpty()) {
            removeItem(destination);
            ::rename(native(aside).constData(), native(destination).constData());
        }
        return Placement::Failed;
    }
    if (!aside.isEmpty() && !removeItem(aside)) {
        *error = errno;
        // What could not be removed goes back in place of the new item: the
        // overwrite failed as a whole, and no hidden copy is left behind.
        removeItem(destination);
        ::rename(native(aside).constData(), native(destination).constData());
        return Placement::ExistingNotRemoved;
    }
    return Placement::Placed;
}

bool RKFileCopyUtil::copyProcess()
{
    if (isCancelled.load()) {
        if (m_delegate) {
            m_delegate->fileCopyUtilCopyCanceled(this);
        }
        return false;
    }
    const QString item = m_items[m_currentIndex];
    if (m_currentIndex == 0) {
        m_basePath = item;
        ++m_currentIndex;
        return true;
    }

    const bool isFolder = m_itemIsFolder[size_t(m_currentIndex)];
    const QString relative = item.mid(m_basePath.size());
    QString destination = naturalDestination(relative);
    if (m_delegate) {
        m_delegate->fileCopyUtilCopyProgress(this, m_currentIndex + 1, int(m_items.size()), item);
    }
    if (entryExists(destination) && !resolveClash(item, isFolder, destination)) {
        if (m_delegate) {
            m_delegate->fileCopyUtilCopyCanceled(this);
        }
        return false;
    }

    int error = 0;
    const Placement placement = placeItem(item, isFolder, destination, &error);
    if (placement != Placement::ExistingNotRemoved) {
        m_destPaths.append(destination);
    }
    if (placement != Placement::Placed) {
        sendError(2, destination, error);
        return false;
    }
    if (isFolder) {
        m_folderDestinations.insert(relative, destination);
        struct stat source;
        if (::lstat(native(item).constData(), &source) == 0) {
            m_placedFolders.emplace_back(destination, source);
        }
    }
    ++m_currentIndex;
    return true;
}

void RKFileCopyUtil::finishFolders()
{
    // Inner folders first, so that setting one's time does not change its
    // parent's again. Failures leave the folder as it was made.
    for (auto folder = m_placedFolders.crbegin(); folder != m_placedFolders.crend(); ++folder) {
        const QByteArray path = native(folder->first);
        const struct timespec times[2] = {folder->second.st_atim, folder->second.st_mtim};
        ::chmod(path.constData(), folder->second.st_mode & 0777);
        ::utimensat(AT_FDCWD, path.constData(), times, 0);
    }
}

void RKFileCopyUtil::checkMacPermission()
{
    const QString bundleMarker = QStringLiteral(".app/Contents/");
    const QString programMarker = QStringLiteral(".app/Contents/MacOS/");
    QStringList bundlePaths;
    for (const QString& path : std::as_const(m_destPaths)) {
        if (path.contains(bundleMarker)) {
            bundlePaths.append(path);
        }
    }

    // The four facts are gathered over every bundle placed by this run.
    bool hasResources = false;
    bool hasMacOS = false;
    bool hasPkgInfo = false;
    bool hasPlist = false;
    std::vector<bool> isFolder;
    isFolder.reserve(size_t(bundlePaths.size()));
    for (const QString& path : std::as_const(bundlePaths)) {
        const bool folder = isFolderFollowingLinks(path);
        isFolder.push_back(folder);
        const QString name = lastComponent(path);
        if (folder) {
            hasResources = hasResources || name == QLatin1String("Resources");
            hasMacOS = hasMacOS || name == QLatin1String("MacOS");
        } else {
            hasPkgInfo = hasPkgInfo || name == QLatin1String("PkgInfo");
            const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
            hasPlist = hasPlist || (dot >= 0 && name.mid(dot + 1) == QLatin1String("plist"));
        }
    }
    if (!bundlePaths.isEmpty() && hasResources && hasMacOS && hasPkgInfo && hasPlist) {
        for (qsizetype i = 0; i < bundlePaths.size(); ++i) {
            if (!isFolder[size_t(i)] && bundlePaths[i].contains(programMarker)) {
                // A failure leaves the mode as extracted; nothing to report.
                ::chmod(native(bundlePaths[i]).constData(), 0755);
            }
        }
    }
    if (m_delegate) {
        m_delegate->fileCopyUtilCopyFinished(this);
    }
}

void RKFileCopyUtil::sendError(int code, const QString& path, int systemError)
{
    // The deepest first: a folder is empty once its empty folders went.
    for (qsizetype i = m_madeFolders.size() - 1; i >= 0; --i) {
        ::rmdir(native(m_madeFolders.at(i)).constData());
    }
    if (m_delegate) {
        m_delegate->fileCopyUtilCopyError(
            this, RQError::initWithFileCopyUtilErrorCode(code, path, systemError));
    }
}
