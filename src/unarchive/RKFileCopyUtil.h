#pragma once

#include "settings/RKUnArchiveProfileSetting.h"
#include "unarchive/RKFileCopyUtilDelegate.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <atomic>
#include <sys/stat.h>
#include <thread>
#include <vector>

// Moves the items that a run extracted into its working folder to their
// destination, one item per step, under the unarchive profile's mode,
// exclusions and same-name policy. A placer serves one archive.
//
// The steps run one after the other on one worker thread; the panels of the
// ask policy are requested from that thread through the blocking panel
// service. Items placed before a cancel or an error stay where they are, but
// a failure leaves none of the folders it made empty. A folder of the working
// folder that cannot be listed fails the placement before anything is placed:
// its contents would otherwise be lost without a word.
class RKFileCopyUtil
{
public:
    // fromPath: the working folder; toPath: the destination folder chosen by
    // the job; window: parent of the ask policy's panels (the runner window).
    RKFileCopyUtil(const QString& fromPath, const QString& toPath, const QString& archivePath,
                   const RKUnArchiveProfileSetting& unArchiveProfile, QObject* window);
    // Waits for the worker. Never destroy a placer from the main thread while
    // its worker waits for a panel (the runner drops it only after the end notice).
    ~RKFileCopyUtil();

    RKFileCopyUtil(const RKFileCopyUtil&) = delete;
    RKFileCopyUtil& operator=(const RKFileCopyUtil&) = delete;

    void setDelegate(RKFileCopyUtilDelegate* delegate) { m_delegate = delegate; }
    RKFileCopyUtilDelegate* delegate() const { return m_delegate; }

    // Starts the placement on the worker and returns at once.
    void beginCopy();
    // The step under way finishes; the next one stops. Any thread.
    void cancel() { isCancelled.store(true); }

    // Readable once the end notice was sent.
    const QStringList& items() const { return m_items; }
    const QString& destFolderPath() const { return m_destFolderPath; }
    const QStringList& destPaths() const { return m_destPaths; }

    // The numbered name for a clashing file under the rename policy:
    // "report.final.pdf", 2 → "report.final 2.pdf"; "README", 2 → "README 2".
    static QString numberedFileName(const QString& fileName, int number);

private:
    // The chain of steps; each answers whether the chain goes on.
    void run();
    bool prepareProcess();
    bool copyProcess();
    void checkMacPermission();
    // Gives the placed folders the mode and times their extracted folders had.
    void finishFolders();
    void searchSubItems(const QString& path, bool isFolder);
    // Makes a folder and its missing parents, noting the ones it made.
    bool makeFolder(const QString& path, int* error);

    // Whether an item below the working folder is left out by the profile.
    bool isExcluded(const QString& relativePath, bool isFolder) const;
    // The item's destination: under its parent folder's actual destination,
    // so items follow a folder that was renamed or relocated.
    QString naturalDestination(const QString& relativePath) const;
    // Applies the same-name policy to a taken destination. Answers false when
    // a panel was cancelled.
    bool resolveClash(const QString& item, bool isFolder, QString& destination);
    enum class Placement { Placed, ExistingNotRemoved, Failed };
    // Places one item. An existing item is first set aside and put back when
    // the new one cannot be placed or the set-aside item cannot be removed,
    // so an overwrite never loses both and leaves no hidden copy.
    Placement placeItem(const QString& item, bool isFolder, const QString& destination,
                        int* error);

    // Sends the error that ends the placement, after removing the folders
    // it made that are empty.
    void sendError(int code, const QString& path, int systemError);

    QString m_fromPath;
    QString m_toPath;
    QString m_archivePath;
    RKUnArchiveProfileSetting m_unArchiveProfile;
    QPointer<QObject> m_window;

    QStringList m_items;
    std::vector<bool> m_itemIsFolder;
    int m_currentIndex = 0;
    QString m_basePath;
    QString m_destFolderPath;
    QStringList m_destPaths;
    // Folders this placement made, in the order made.
    QStringList m_madeFolders;
    // The first folder of the working folder that could not be listed.
    QString m_unlisted;
    int m_unlistedError = 0;
    // Relative folder path ("/a/b") → where that folder was actually placed.
    QHash<QString, QString> m_folderDestinations;
    // Each folder placed, with the mode and times of the folder it came from,
    // in placing order. Given to it at the end: moving items in changes a
    // folder's time.
    std::vector<std::pair<QString, struct stat>> m_placedFolders;

    std::atomic<bool> isCancelled{false};
    RKFileCopyUtilDelegate* m_delegate = nullptr;
    std::thread m_worker;
};
