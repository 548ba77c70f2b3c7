#pragma once

#include <QString>

// Where archives are extracted before their items are placed: folders that
// only the user can reach, so that another user of the machine can neither
// read what is being extracted nor block it by taking the name first.
//
// The root is "jp.mokuza.MOKUZA-FULL-<uid>" in the temporary directory. A
// root is used only when it is a real folder
// (not a link) owned by the user with no access for anyone else; otherwise
// the process makes a fresh private root of its own beside it. In the root,
// each process that extracts holds a folder of its own, locked for as long as
// it exists; each run works in a folder in it named after the reader's hash.
//
// Any thread.
class RKWorkingFolder
{
public:
    // Makes this process's folder when it has none and returns a new, empty
    // working folder in it for the reader with the given hash ("…/<hash>/").
    // Empty when no private folder can be made.
    static QString make(qint64 hash);

    // This process's folder (no trailing "/"); empty when it holds none.
    static QString processFolder();

    // Removes this process's folder with everything in it. A failure is
    // ignored: what stays is removed by a later start.
    static void removeProcessFolder();

    // Removes the folders of processes that have ended without removing them
    // (killed in the middle of an extraction). The folders of running
    // processes and anything else in the roots stay. Returns how many it removed.
    static int removeStale();

    // The root this process would use now (not made).
    static QString root();
};
