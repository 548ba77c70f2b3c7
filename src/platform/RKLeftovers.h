#pragma once

#include <QString>

// What a run makes outside the temporary directory and must not outlive it:
// the hidden working folders of extraction (in destination folders) and the
// hidden ".part" files of archives written where unnamed files are not
// supported. Each is registered while it exists; a run that is killed leaves
// its registrations behind, and the next start of either program removes what
// they name.
//
// The registrations live in a folder of the process's own in a private root,
// "jp.mokuza.MOKUZA-FULL-<uid>" in the temporary directory. A root is used only
// when it is a real folder (not a link) owned by the user with no access for
// anyone else; otherwise the process makes a fresh private root beside it.
// The process's folder is locked for as long as it exists: the lock tells a
// live process's folder from one left by a killed run, and the kernel
// releases it however the process ends. A registration is a symbolic link to
// the registered path.
//
// Any thread.
class RKLeftovers
{
public:
    // Registers an absolute path; a token for remove(), 0 when nothing could
    // be registered. A file (not a folder) is also unlinked by
    // removeFilesNow().
    static int add(const QString& path, bool isFile);
    // Forgets a registration (what it names was removed or kept on purpose).
    static void remove(int token);

    // Removes path when it is a leftover of ours that no live run holds: a
    // working folder (".mokuza-work-XXXXXX", or mokuza -o's "mokuza-out-XXXXXX"
    // with or without a dot) or a ".NAME.XXXXXX.part" file,
    // owned by the user, whose lock can be taken. Answers whether it was
    // removed.
    static bool removeIfAbandoned(const QString& path);

    // Removes what the registrations of ended processes name, and their
    // folders (also the working folders that earlier versions kept in the
    // root). Folders of running processes stay. Returns how many process
    // folders it removed.
    static int removeStale();

    // Unlinks every registered file at once. Only async-signal-safe calls:
    // for a signal handler that ends the process.
    static void removeFilesNow();

    // Removes a file, or a folder with everything in it, through descriptors
    // (no link followed; folders without write permission opened up first),
    // so that no tree is too deep for it. Answers whether nothing is left.
    static bool removeTree(const QString& path);

    // This process's registration folder; empty while it holds none.
    static QString processFolder();
    // The root this process would use now (not made).
    static QString root();
};
