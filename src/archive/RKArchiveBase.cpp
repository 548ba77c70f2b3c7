#include "archive/RKArchiveBase.h"

#include "archive/RKArchiveRunner.h"
#include "platform/RKAppInfo.h"
#include "platform/RKJobHost.h"
#include "platform/RKPanelService.h"
#include "platform/RKTaskbarProgress.h"
#include "results/RKProcessResultInfo.h"
#include "results/RKResultDisplay.h"
#include "settings/RKFilterProvider.h"
#include "settings/RKSetting.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QTimer>

#include <sys/stat.h>

namespace {

const QChar kSlash = QLatin1Char('/');

QString joined(const QString& folder, const QString& name)
{
    return folder.endsWith(kSlash) ? folder + name : folder + kSlash + name;
}

} // namespace

QString RKArchiveBase::cleanLocation(const QString& path)
{
    return QDir::cleanPath(QDir::current().absoluteFilePath(path));
}

QString RKArchiveBase::folderOf(const QString& path)
{
    const qsizetype slash = path.lastIndexOf(kSlash);
    return slash <= 0 ? QString(kSlash) : path.left(slash);
}

QString RKArchiveBase::lastPathComponent(const QString& path)
{
    return path.mid(path.lastIndexOf(kSlash) + 1);
}

QString RKArchiveBase::staticFolder() const
{
    QString folder = m_profile.saveStaticFolderPath;
    if (folder == QStringLiteral("~") || folder.startsWith(QStringLiteral("~/"))) {
        folder = QDir::homePath() + folder.mid(1);
    }
    return QDir::cleanPath(QDir::home().absoluteFilePath(folder));
}

RKArchiveBase::RKArchiveBase(const QStringList& items, const RKProfileSetting& profile,
                             QObject* window)
    : m_profile(profile)
    , m_window(window)
{
    for (const QString& item : items) {
        m_items.append(cleanLocation(item));
    }
    m_items.removeDuplicates();
}

RKArchiveBase::~RKArchiveBase() = default;

void RKArchiveBase::startProcess()
{
    m_missing.clear();
    QStringList present;
    for (const QString& item : std::as_const(m_items)) {
        struct stat st;
        if (::lstat(QFile::encodeName(item).constData(), &st) == 0) {
            present.append(item);
        } else {
            m_missing.append(RQError::initWithErrorCode(1, item));
        }
    }
    m_items = present;
    if (!m_missing.isEmpty() && m_items.isEmpty()) {
        // Nothing to ask about and nothing to write: only what was not found.
        RKProcessResultInfo info;
        info.title = lastPathComponent(m_missing.constFirst().localizedRecoverySuggestion());
        info.errors.items = m_missing;
        showResults({info});
        return;
    }
    if (m_items.isEmpty()) {
        stopProcess();
        return;
    }
    prepareSavePaths();
}

void RKArchiveBase::prepareSavePaths() {}

void RKArchiveBase::prepareArchiveFiles() {}

void RKArchiveBase::decisionSavePaths(const QStringList& urls)
{
    m_savePaths = urls;
    for (const QString& url : urls) {
        // A folder that cannot be made shows up as the writer's error.
        QDir().mkpath(folderOf(url));
    }
    prepareArchiveFiles();
}

void RKArchiveBase::decisionArchiveFiles(const QList<QStringList>& files)
{
    QList<QStringList> filtered;
    filtered.reserve(files.size());
    for (const QStringList& paths : files) {
        QStringList kept;
        kept.reserve(paths.size());
        for (const QString& path : paths) {
            if (RKFilterProvider::Filter(path, m_profile)) {
                kept.append(path);
            }
        }
        filtered.append(kept);
    }
    m_totalArchiveFiles = filtered;
    m_indexOfPaths = 0;
    performLater([this] { doArchive(); });
}

void RKArchiveBase::doArchive()
{
    RKJobHost* host = RKJobHost::current();
    RKArchiveRunner* runner = host ? host->progressWindow() : nullptr;
    if (!runner) {
        stopProcess();
        return;
    }

    QList<RKProcessResultInfo> results;
    for (m_indexOfPaths = 0; m_indexOfPaths < m_savePaths.size(); ++m_indexOfPaths) {
        const QString url = m_savePaths.at(m_indexOfPaths);
        const QStringList contents = m_indexOfPaths < m_totalArchiveFiles.size()
            ? m_totalArchiveFiles.at(m_indexOfPaths)
            : QStringList();
        // The runner's code is not consulted: a cancelled archive ends only
        // itself and the job goes on with the next one.
        RKTaskbarProgress::startingArchive(m_indexOfPaths, m_savePaths.size());
        runner->runArchive(m_window, contents, m_profile, url);

        RKProcessResultInfo info;
        info.title = lastPathComponent(url);
        info.errors.items = runner->errors();
        info.destPath.stringValue = url;
        info.password.stringValue = runner->usedPassword();
        info.verify.crc = runner->verifyCrc();
        info.cancelled = runner->wasCancelled();
        results.append(info);
    }
    RKTaskbarProgress::endOfJob();
    if (!results.isEmpty()) {
        results.first().errors.items = m_missing + results.first().errors.items;
    }
    showResults(results);
}

void RKArchiveBase::showResults(QList<RKProcessResultInfo> results)
{
    RKJobHost* host = RKJobHost::current();

    // The stored profile decides, not the job's copy: the password window of
    // this very job may have changed it.
    bool showPassword = false;
    for (const RKProfileSetting& stored : RKSetting::Setting().archiveProfiles) {
        if (stored.profileID == m_profile.profileID) {
            showPassword = stored.passwordShow;
        }
    }
    for (RKProcessResultInfo& info : results) {
        info.password.showPassword = showPassword;
    }

    if (RKResultDisplay* display = host ? host->processResultWindow() : nullptr) {
        display->showResults(m_window, results);
    }
    if (host && host->reserveExit()) {
        host->terminate();
    }
    endProcess();
}

void RKArchiveBase::prepareSingleArchiveFiles()
{
    QStringList paths;
    for (const RKFile& tree : expandFullItems(m_items)) {
        enumFilePaths(tree, paths);
    }
    decisionArchiveFiles({paths});
}

void RKArchiveBase::collectItemLocations(QStringList* chosen, const QStringList& decided,
                                        const std::function<QString(const QString&)>& targetFolder)
{
    chosen->append(decided);
    if (chosen->size() >= items().size()) {
        performLater([this, chosen] { decisionSavePaths(*chosen); });
        return;
    }
    const QString item = items().at(chosen->size());
    decideLocation(archiveLocation(item, targetFolder(item)),
                   [this, chosen, targetFolder](const QStringList& next) {
                       collectItemLocations(chosen, next, targetFolder);
                   });
}

void RKArchiveBase::preparePerItemArchiveFiles()
{
    QList<QStringList> lists;
    lists.reserve(m_items.size());
    for (const QString& item : m_items) {
        QStringList paths;
        for (const RKFile& tree : expandFullItems({item})) {
            enumFilePaths(tree, paths);
        }
        lists.append(paths);
    }
    decisionArchiveFiles(lists);
}

std::vector<RKFile> RKArchiveBase::expandFullItems(const QStringList& paths) const
{
    QStringList unique = paths;
    unique.removeDuplicates();

    std::vector<RKFile> trees;
    trees.reserve(unique.size());
    for (const QString& path : unique) {
        trees.emplace_back(path);
        searchChildFiles(trees.back());
    }

    std::vector<bool> inside(trees.size(), false);
    for (size_t a = 0; a < trees.size(); ++a) {
        for (size_t b = 0; b < trees.size(); ++b) {
            if (a != b && checkSamePath(trees[b], trees[a].filePath())) {
                inside[a] = true;
                break;
            }
        }
    }
    std::vector<RKFile> result;
    result.reserve(trees.size());
    for (size_t i = 0; i < trees.size(); ++i) {
        if (!inside[i]) {
            result.push_back(std::move(trees[i]));
        }
    }
    return result;
}

void RKArchiveBase::searchChildFiles(RKFile& node) const
{
    node.setIsFolder(QFileInfo(node.filePath()).isDir());
    QStringList foldersOnTheWay;
    searchChildFiles(node, foldersOnTheWay);
}

void RKArchiveBase::searchChildFiles(RKFile& node, QStringList& foldersOnTheWay) const
{
    // The node's folder test was made when it was created, a moment ago.
    if (!node.isFolder()) {
        return;
    }
    // A link back to a folder above would make the tree endless: such a
    // folder is listed as an entry but not entered a second time.
    const QString canonical = QFileInfo(node.filePath()).canonicalFilePath();
    if (canonical.isEmpty() || foldersOnTheWay.contains(canonical)) {
        return;
    }
    foldersOnTheWay.append(canonical);
    // Listing order as the file system gives it; the listing's own file
    // types spare a second look at every entry (links are still followed).
    QDirIterator entries(node.filePath(),
                         QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    while (entries.hasNext()) {
        entries.next();
        node.child().emplace_back(joined(node.filePath(), entries.fileName()),
                                  entries.fileInfo().isDir());
    }
    for (RKFile& child : node.child()) {
        searchChildFiles(child, foldersOnTheWay);
    }
    foldersOnTheWay.removeLast();
}

bool RKArchiveBase::checkSamePath(const RKFile& node, const QString& targetFilePath) const
{
    if (node.filePath() == targetFilePath) {
        return true;
    }
    if (!node.isFolder()) {
        return false;
    }
    // Every path below a node starts with the node's path and a slash, so a
    // tree whose path is not such a prefix cannot hold the target.
    const QString& path = node.filePath();
    const bool below = targetFilePath.startsWith(path)
        && (path.endsWith(kSlash)
            || (targetFilePath.size() > path.size() && targetFilePath.at(path.size()) == kSlash));
    if (!below) {
        return false;
    }
    for (const RKFile& child : node.child()) {
        if (checkSamePath(child, targetFilePath)) {
            return true;
        }
    }
    return false;
}

void RKArchiveBase::enumFilePaths(const RKFile& node, QStringList& array) const
{
    array.append(node.filePath());
    if (node.isFolder()) {
        for (const RKFile& child : node.child()) {
            enumFilePaths(child, array);
        }
    }
}

bool RKArchiveBase::fileExists(const QString& path) const
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

QString RKArchiveBase::archiveLocation(const QString& item, const QString& targetFolder)
{
    const QString name = lastPathComponent(item);
    QString archiveName;
    if (QFileInfo(item).isDir()) {
        archiveName = name + QStringLiteral(".zip");
    } else {
        // The leading dot of a hidden file starts no extension (the rule the
        // dispatch's zip test uses too): ".bashrc" gives ".bashrc.zip", not a
        // hidden archive named ".zip".
        const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
        const QString extension = dot <= 0 ? QString() : name.mid(dot + 1);
        if (extension.isEmpty()) {
            archiveName = name + QStringLiteral(".zip");
        } else {
            archiveName = name;
            archiveName.replace(QLatin1Char('.') + extension, QStringLiteral(".zip"));
        }
    }
    return joined(targetFolder, archiveName);
}

QString RKArchiveBase::numberedLocation(const QString& location) const
{
    const QString folder = folderOf(location);
    QString base = lastPathComponent(location);
    base.replace(QStringLiteral(".zip"), QString());
    for (qint64 n = 2;; ++n) {
        const QString candidate = joined(
            folder, base + QLatin1Char(' ') + QString::number(n) + QStringLiteral(".zip"));
        if (!isTaken(candidate)) {
            return candidate;
        }
    }
}

void RKArchiveBase::subURL(const QString& url)
{
    subURL(url, [this](const QStringList& urls) { decisionSavePaths(urls); });
}

void RKArchiveBase::subURL(const QString& url, Continuation continuation)
{
    QString location;
    switch (m_profile.sameFileName) {
    case RKProfileSetting::SameNameAnyTime: {
        QString proposal = url;
        for (;;) {
            const QString message =
                lastPathComponent(url) + QStringLiteral("の保存先を選択して下さい。");
            location = showModalSavePanel(m_window, RKAppInfo::applicationTitle(), message,
                                          proposal, {QStringLiteral("zip")});
            if (location.isEmpty()) {
                stopProcess();
                return;
            }
            location = cleanLocation(location);
            // The panel only knows the file system; an answer that an
            // earlier archive of this job already goes to is asked again.
            if (!isChosenEarlier(location)) {
                break;
            }
            proposal = numberedLocation(location);
        }
        break;
    }
    case RKProfileSetting::SameNameOverwrite:
        // Overwriting is meant for files that were there before; an archive
        // of this same job is never replaced by the next one.
        location = isChosenEarlier(url) ? numberedLocation(url) : url;
        break;
    case RKProfileSetting::SameNameAutoRename:
        location = numberedLocation(url);
        break;
    default:
        // An unknown policy must not lose the existing file.
        location = numberedLocation(url);
        break;
    }
    performLater([continuation = std::move(continuation), location] { continuation({location}); });
}

void RKArchiveBase::decideLocation(const QString& location, Continuation continuation)
{
    if (isTaken(location)) {
        subURL(location, std::move(continuation));
    } else {
        performLater(
            [continuation = std::move(continuation), location] { continuation({location}); });
    }
}

bool RKArchiveBase::isTaken(const QString& location) const
{
    return fileExists(location) || isChosenEarlier(location);
}

bool RKArchiveBase::isChosenEarlier(const QString&) const
{
    return false;
}

void RKArchiveBase::performLater(std::function<void()> step)
{
    // Not owned by a shared_ptr (a job made on the stack): the timer's
    // context object still guards against running on a destroyed job.
    QTimer::singleShot(0, this, [self = weak_from_this().lock(), step = std::move(step)] {
        step();
    });
}

void RKArchiveBase::stopProcess()
{
    endProcess();
}

void RKArchiveBase::endProcess()
{
    if (m_ended) {
        return;
    }
    m_ended = true;
    emit finished();
}
