#pragma once

#include <QHash>
#include <QMultiHash>
#include <QString>
#include <QStringList>

#include <functional>

// The one place where the path an entry of an archive is extracted to is
// decided and claimed, relative to the destination, so that two entries of
// one archive never land on the same path. An entry that meets the path of
// an earlier one is numbered as placing numbers a taken name ("a 2.txt"); a
// folder entry meeting a folder merges with it; a folder that has to be
// numbered (a file holds its name) takes the entries inside it along.
// Anything that changes names before extraction (normalisation) belongs here,
// before the path is claimed.
//
// An archive may hold a hundred thousand files: a file's claim is kept as a
// hash of its path and its entry's position, and only when two paths hash
// alike is the earlier entry's path made again (from its components, which
// recall gives) to tell them apart. Folders and numbered files are kept
// whole; there are few of them.
class ZipExtractedPaths
{
public:
    struct Path {
        QStringList folders; // the folders from the destination down
        QString leaf;        // the file's name; empty for a folder entry
        bool numbered = false;
    };
    // The components an earlier claim was given for the entry at a position.
    using Recall = std::function<QStringList(qsizetype entry)>;

    // Forgets every claim: a new archive begins.
    void clear();

    // The path of the entry at position entry of the directory, named by
    // components (safe, relative; for a file the last one is its own name),
    // in composed form (NFC). The same entry asked again gets the path it got
    // the first time. recall is asked only for entries claimed before this
    // call, and gives their components as they were given here.
    Path claim(const QStringList& components, bool isFolder, qsizetype entry,
               const Recall& recall);

private:
    // The actual path of the folder named by the first count components.
    QStringList folderPath(const QStringList& components, qsizetype count, bool* numbered,
                           const Recall& recall);
    // The file claim holding the actual path, or -1.
    qsizetype fileHolding(const QString& path, const Recall& recall) const;
    // The actual path of the file entry claimed earlier.
    QString filePath(qsizetype entry, const Recall& recall) const;

    QMultiHash<size_t, qsizetype> m_files;  // hash of a file's actual path → its entry
    QHash<qsizetype, QString> m_numbered;   // a numbered file's entry → its actual path
    QHash<QString, bool> m_folderPaths;     // actual folder paths claimed
    QHash<QString, QString> m_folders;      // a folder's path as named → its actual path
    QStringList m_lastNamed;                // the folders of the last entry, as named
    QStringList m_lastActual;               // … and as they are
};
