#pragma once

#include "archive/RKFile.h"
#include "results/RKProcessResultInfo.h"
#include "settings/RKProfileSetting.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

// An archive job: turns the paths of one request into one or more archives.
// The subclasses decide where the archives go (prepareSavePaths) and which
// items go into which archive (prepareArchiveFiles); this class expands the
// items into trees, filters them through the profile's exclusion patterns,
// resolves name clashes, runs the archive runner once per archive and shows
// the results.
//
// The job is a chain of steps on the main thread; a step that may wait for
// the user or that ends a phase hands over to the next one through the main
// loop. Create jobs with std::make_shared: every deferred step keeps the job
// alive until it has run, so the owner may replace the job at any time.
class RKArchiveBase : public QObject, public std::enable_shared_from_this<RKArchiveBase>
{
    Q_OBJECT

public:
    // items: the request's paths (made absolute and clean; a path given twice
    // counts once). profile: the job's own copy. window: parent of panels and
    // centre of the job's windows (not owned).
    RKArchiveBase(const QStringList& items, const RKProfileSetting& profile, QObject* window);
    ~RKArchiveBase() override;

    // Starts the chain: locations, path lists, archives, results. Paths
    // that do not exist are taken out first, before any panel, and listed as
    // errors (archiver code 1) in the first result; when none is left,
    // nothing is asked or written and the results show just those errors.
    void startProcess();

    const QStringList& items() const { return m_items; }
    const RKProfileSetting& profile() const { return m_profile; }
    QObject* window() const { return m_window; }
    // One location per archive, in the order the archives are made.
    const QStringList& savePaths() const { return m_savePaths; }
    // For each location, the filtered paths to store, in storing order.
    const QList<QStringList>& totalArchiveFiles() const { return m_totalArchiveFiles; }
    qint32 indexOfPaths() const { return m_indexOfPaths; }

    // One tree per path, in input order, without the trees that lie inside
    // another one's tree (an item inside a dropped folder is stored once, as
    // part of that folder). Equal paths count once.
    std::vector<RKFile> expandFullItems(const QStringList& paths) const;
    // Fills a node's subtree from the file system: every entry, hidden ones
    // included, in listing order. A folder that is already on the way down
    // from the node (a symbolic link back into its own tree) is listed but not
    // entered again. A folder that cannot be listed stays empty.
    void searchChildFiles(RKFile& node) const;
    // Whether the node's tree holds a node with exactly this path.
    bool checkSamePath(const RKFile& node, const QString& targetFilePath) const;
    // Appends the tree's paths in pre-order: every folder (empty ones too)
    // before its contents.
    void enumFilePaths(const RKFile& node, QStringList& array) const;
    // Whether the file system has an entry at the path (links not followed,
    // so a dangling link counts as taken).
    bool fileExists(const QString& path) const;

    // The location of an item's own archive inside targetFolder: a folder F
    // gives "F.zip"; a file gets every ".ext" of its last extension replaced
    // by ".zip" ("archive.tar.gz" -> "archive.tar.zip"), or ".zip" appended
    // when it has no extension.
    static QString archiveLocation(const QString& item, const QString& targetFolder);
    // "base n.zip" in the location's folder for n = 2, 3, … where base is the
    // location's name with every ".zip" removed; the first that is not taken.
    QString numberedLocation(const QString& location) const;

signals:
    // The job is over: its result window was closed, or it stopped because a
    // panel was cancelled. Emitted once.
    void finished();

protected:
    using Continuation = std::function<void(const QStringList&)>;

    // Work out the archive locations, then decisionSavePaths (directly or
    // through subURL). The base versions do nothing.
    virtual void prepareSavePaths();
    // Work out the path list of each archive, then decisionArchiveFiles.
    virtual void prepareArchiveFiles();

    // Stores the locations, makes their folders, goes on to prepareArchiveFiles.
    void decisionSavePaths(const QStringList& urls);
    // Filters every list, stores them, then doArchive on the next main-loop turn.
    void decisionArchiveFiles(const QList<QStringList>& files);
    // The production loop: one runner per archive, then the result window.
    void doArchive();

    // The same-name policy for a location that is taken, then decisionSavePaths.
    void subURL(const QString& url);
    // The same-name policy for a taken location; the continuation gets a
    // one-element list on the next main-loop turn. A cancelled ask panel ends
    // the job.
    void subURL(const QString& url, Continuation continuation);
    // Continues with the location on the next main-loop turn when it is free,
    // else through the same-name policy.
    void decideLocation(const QString& location, Continuation continuation);

    // Whether a location is taken: something exists there, or an earlier
    // archive of this job goes there.
    bool isTaken(const QString& location) const;
    // Locations already chosen for earlier archives of this job. Per-item
    // variants answer their list; a single archive has no earlier ones.
    virtual bool isChosenEarlier(const QString& location) const;

    // The two groupings: all items expanded together into one list (an item
    // inside another dropped folder stored once), or every item expanded
    // alone into a list of its own. Both end in decisionArchiveFiles.
    void prepareSingleArchiveFiles();
    void preparePerItemArchiveFiles();

    // One location step of the per-item variants that name archives after
    // their items: appends the locations just decided to chosen, then decides
    // the next item's location in targetFolder(item), or goes on to
    // decisionSavePaths once every item has one. chosen must outlive the job's
    // steps (a member of the job).
    void collectItemLocations(QStringList* chosen, const QStringList& decided,
                              const std::function<QString(const QString&)>& targetFolder);

    // The folder that holds a path ("/" for an item directly under the root)
    // and the path's last component.
    static QString folderOf(const QString& path);
    static QString lastPathComponent(const QString& path);
    // A path as the job keeps it: absolute, without "." or ".." or doubled
    // or trailing slashes.
    static QString cleanLocation(const QString& path);

    // The profile's fixed folder. A typed path that is empty, relative or
    // starts with "~" is taken from the home directory, never from the
    // process's working folder.
    QString staticFolder() const;

    // Runs a step on the next main-loop turn, keeping the job alive for it.
    void performLater(std::function<void()> step);
    // Ends the job without making anything (a panel was cancelled).
    void stopProcess();

private:
    void searchChildFiles(RKFile& node, QStringList& foldersOnTheWay) const;
    // Shows the results, then quits when the application was started to
    // open items, and ends the job.
    void showResults(QList<RKProcessResultInfo> results);
    void endProcess();

    QStringList m_items;
    RKProfileSetting m_profile;
    QPointer<QObject> m_window;
    QStringList m_savePaths;
    QList<QStringList> m_totalArchiveFiles;
    QList<RQError> m_missing; // request paths that did not exist
    qint32 m_indexOfPaths = 0;
    bool m_ended = false;
};
