#pragma once

#include "settings/RKSetting.h"

#include <QCoreApplication>
#include <QString>
#include <QStringList>

#include <optional>

// The `mokuza` command: lists the profiles, or runs the archive or unarchive
// job of the application with a profile of the stored settings, answering
// what the profile would ask from the options or the terminal. Main thread.
class RKCommandLine
{
    Q_DECLARE_TR_FUNCTIONS(RKCommandLine)

public:
    // Exit statuses.
    static constexpr int ExitDone = 0;
    static constexpr int ExitErrors = 1;
    static constexpr int ExitUsage = 2;
    static constexpr int ExitWrongPassword = 3;
    static constexpr int ExitDamaged = 4;

    enum class Command { None, Help, Version, Profiles, Compress, Extract, List, Test };

    struct Options {
        Command command = Command::None;
        QString profile;     // name or number; empty: the file manager's profile
        QString dest;        // absolute; empty: as the profile says
        QString onConflict;  // "ask", "overwrite", "rename"; empty: as the profile says
        bool passwordStdin = false;
        bool showPassword = false;
        bool notify = false;
        bool quiet = false;   // nothing but errors
        bool verbose = false; // every item
        bool json = false;    // results as JSON lines
        int level = -1;       // 0..9; -1: the profile's
        std::optional<quint64> encoding; // of entry names; nullopt: the profile's
        QStringList excludes; // name patterns, added to the profile's
        int archiveMode = -1; // RKProfileSetting::ArchiveMode*; -1: the profile's
        QString output;       // the archive: absolute, "-" for standard output, empty: as named
        QStringList paths;    // absolute; "-" is standard input
        QString error;       // what is wrong with the arguments; empty: nothing
    };

    // Reads the arguments (without the program name). Paths are made
    // absolute against workingFolder; nothing is looked at on disk.
    static Options parse(const QStringList& arguments, const QString& workingFolder);

    // Runs the command; the exit status.
    static int run(const Options& options);

    // The profile named by text: the first with exactly that name, else the
    // one at that position (from 1) in the list.
    static std::optional<RKProfileSetting> findArchiveProfile(const RKSetting& setting,
                                                              const QString& text);
    static std::optional<RKUnArchiveProfileSetting> findUnArchiveProfile(const RKSetting& setting,
                                                                         const QString& text);

    // The text of --help in the user's language.
    static QString helpText();

    // The encoding value of a name of the encoding list (the whole title, the
    // part before " - " or the name after it), or utf-8, cp932, shift-jis;
    // any case. nullopt when none matches.
    static std::optional<quint64> encodingNamed(const QString& name);

private:
    static int runCommand(const Options& options);
    static int listProfiles();
    static int checkArchives(const Options& options);
    static int runJob(const Options& options);
    static int usageError(const QString& message);
};
