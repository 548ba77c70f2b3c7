#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

// The one place where the path an entry of an archive is extracted to is
// decided and claimed, relative to the destination, so that two entries of
// one archive never land on the same path. An entry that meets the path of
// an earlier one is numbered as placing numbers a taken name ("a 2.txt"); a
// folder entry meeting a folder merges with it; a folder that has to be
// numbered (a file holds its name) takes the entries inside it along.
// Anything that changes names before extraction (normalisation) belongs here,
// before the path is claimed.
class ZipExtractedPaths
{
public:
    struct Path {
        QStringList folders; // the folders from the destination down
        QString leaf;        // the file's name; empty for a folder entry
        bool numbered = false;
    };

    // Forgets every claim: a new archive begins.
    void clear();

    // The path of the entry at position entry of the directory, named by
    // components (safe, relative; for a file the last one is its own name),
    // in composed form (NFC). The same entry asked again gets the path it got
    // the first time.
    Path claim(const QStringList& components, bool isFolder, qsizetype entry);

private:
    struct Claim {
        qsizetype entry = -1; // -1: a folder
    };
    // The actual path of the folder named by the first count components.
    QStringList folderPath(const QStringList& components, qsizetype count, bool* numbered);

    QHash<QString, Claim> m_claimed;    // actual relative path → what holds it
    QHash<QString, QString> m_folders;  // a folder's path as named → its actual path
    QStringList m_lastNamed;            // the folders of the last entry, as named
    QStringList m_lastActual;           // … and as they are
};
