#include "cli/RKCommandLine.h"

#include "app/RKDispatch.h"
#include "cli/RKCommandLineHost.h"
#include "platform/RKInterruptWatcher.h"
#include "cli/RKTerminal.h"
#include "cli/RKTerminalPanelService.h"
#include "cli/RKTerminalPasswordPrompt.h"
#include "cli/RKTerminalProgress.h"
#include "platform/RKLeftovers.h"
#include "platform/RKNotifier.h"
#include "platform/RKPanelService.h"

#include <QDir>
#include <QFileInfo>

#include <csignal>
#include <memory>
#include <unistd.h>

namespace {

class SilentNotifier : public RKNotifier
{
public:
    void deliver(const QString&, const QString&, const QString&, const QString&) override {}
};

// Installs a job's services for the length of a run and puts back what was
// there before.
template <typename Service>
class Installed
{
public:
    explicit Installed(Service* service)
        : m_previous(Service::current())
    {
        Service::setCurrent(service);
    }
    ~Installed() { Service::setCurrent(m_previous); }
    Installed(const Installed&) = delete;
    Installed& operator=(const Installed&) = delete;

private:
    Service* m_previous;
};

template <typename Profile>
std::optional<Profile> findProfile(const QList<Profile>& profiles, const QString& text)
{
    for (const Profile& profile : profiles) {
        if (profile.profileName == text) {
            return profile;
        }
    }
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    if (isNumber && number >= 1 && number <= profiles.size()) {
        return profiles.at(number - 1);
    }
    return std::nullopt;
}

// The value of "--name VALUE" or "--name=VALUE" at arguments[i]; advances i
// past a separate value. nullopt when the argument is another one.
std::optional<QString> valueOf(const QString& name, const QStringList& arguments, qsizetype& i,
                               QString& error)
{
    const QString& argument = arguments.at(i);
    if (argument.startsWith(name + QLatin1Char('='))) {
        return argument.mid(name.size() + 1);
    }
    if (argument != name) {
        return std::nullopt;
    }
    if (i + 1 >= arguments.size()) {
        error = RKCommandLine::tr("%1 needs a value").arg(name);
        return QString();
    }
    return arguments.at(++i);
}

// "    1 * Mac To Win": number, the mark of the profile used by default, name.
template <typename Profile>
QString profileLines(const QList<Profile>& profiles, const QString& defaultID)
{
    QString text;
    for (qsizetype i = 0; i < profiles.size(); ++i) {
        text += QStringLiteral("  %1 %2 %3\n")
                    .arg(i + 1, 3)
                    .arg(profiles[i].profileID == defaultID ? QLatin1Char('*') : QLatin1Char(' '))
                    .arg(profiles[i].profileName);
    }
    return text;
}

// The second interrupt ends the process from its signal handler: the
// terminal gets its echo back and the line under the progress is ended.
void beforeExitFromSignal()
{
    RKTerminal::restoreEchoFromSignal();
    static const char line[] = "\n";
    [[maybe_unused]] const ssize_t ignored = ::write(STDERR_FILENO, line, sizeof line - 1);
}

QString absolutePath(const QString& path, const QString& workingFolder)
{
    return QDir::cleanPath(QDir(workingFolder).absoluteFilePath(path));
}

} // namespace

RKCommandLine::Options RKCommandLine::parse(const QStringList& arguments,
                                            const QString& workingFolder)
{
    Options options;
    if (arguments.isEmpty()) {
        options.error = tr("no command given");
        return options;
    }
    const QString command = arguments.constFirst();
    if (command == QStringLiteral("--help") || command == QStringLiteral("-h")
        || command == QStringLiteral("help")) {
        options.command = Command::Help;
        return options;
    }
    if (command == QStringLiteral("--version")) {
        options.command = Command::Version;
        return options;
    }
    if (command == QStringLiteral("profiles")) {
        options.command = Command::Profiles;
    } else if (command == QStringLiteral("compress")) {
        options.command = Command::Compress;
    } else if (command == QStringLiteral("extract")) {
        options.command = Command::Extract;
    } else {
        options.error = tr("unknown command: %1").arg(command);
        return options;
    }

    bool onlyPaths = false;
    for (qsizetype i = 1; i < arguments.size() && options.error.isEmpty(); ++i) {
        const QString& argument = arguments.at(i);
        if (onlyPaths || !argument.startsWith(QLatin1Char('-')) || argument == QStringLiteral("-")) {
            options.paths.append(absolutePath(argument, workingFolder));
            continue;
        }
        if (argument == QStringLiteral("--")) {
            onlyPaths = true;
        } else if (argument == QStringLiteral("--help") || argument == QStringLiteral("-h")) {
            options.command = Command::Help;
            return options;
        } else if (argument == QStringLiteral("--password-stdin")) {
            options.passwordStdin = true;
        } else if (argument == QStringLiteral("--show-password")) {
            options.showPassword = true;
        } else if (argument == QStringLiteral("--notify")) {
            options.notify = true;
        } else if (const auto profile = valueOf(QStringLiteral("--profile"), arguments, i,
                                                options.error)) {
            options.profile = *profile;
        } else if (const auto dest = valueOf(QStringLiteral("--dest"), arguments, i,
                                             options.error)) {
            options.dest = dest->isEmpty() ? QString() : absolutePath(*dest, workingFolder);
            if (dest->isEmpty() && options.error.isEmpty()) {
                options.error = tr("--dest needs a folder");
            }
        } else if (const auto policy = valueOf(QStringLiteral("--on-conflict"), arguments, i,
                                               options.error)) {
            options.onConflict = *policy;
            const QStringList known = {QStringLiteral("ask"), QStringLiteral("overwrite"),
                                       QStringLiteral("rename")};
            if (!known.contains(*policy) && options.error.isEmpty()) {
                options.error = tr("--on-conflict takes ask, overwrite or rename, not %1")
                                    .arg(*policy);
            }
        } else {
            options.error = tr("unknown option: %1").arg(argument);
        }
    }
    if (!options.error.isEmpty()) {
        return options;
    }
    if (options.command == Command::Profiles) {
        if (!options.paths.isEmpty() || !options.profile.isEmpty() || !options.dest.isEmpty()
            || !options.onConflict.isEmpty() || options.passwordStdin) {
            options.error = tr("profiles takes no paths or options");
        }
    } else if (options.paths.isEmpty()) {
        options.error = options.command == Command::Compress ? tr("no files or folders given")
                                                              : tr("no archives given");
    }
    return options;
}

std::optional<RKProfileSetting> RKCommandLine::findArchiveProfile(const RKSetting& setting,
                                                                  const QString& text)
{
    return findProfile(setting.archiveProfiles, text);
}

std::optional<RKUnArchiveProfileSetting>
RKCommandLine::findUnArchiveProfile(const RKSetting& setting, const QString& text)
{
    return findProfile(setting.unArchiveProfiles, text);
}

int RKCommandLine::usageError(const QString& message)
{
    RKTerminal::writeError(QStringLiteral("mokuza: ") + message + QLatin1Char('\n')
                           + tr("Try 'mokuza --help' for more information.\n"));
    return ExitUsage;
}

int RKCommandLine::run(const Options& options)
{
    if (!options.error.isEmpty()) {
        return usageError(options.error);
    }
    switch (options.command) {
    case Command::Help:
        RKTerminal::writeOutput(helpText());
        return ExitDone;
    case Command::Version:
        RKTerminal::writeOutput(QStringLiteral("mokuza (MOKUZA-FULL) %1\n")
                                    .arg(QCoreApplication::applicationVersion()));
        return ExitDone;
    case Command::Profiles:
        // What killed runs left behind goes at every start that works with
        // files (the application does the same).
        RKLeftovers::removeStale();
        return listProfiles();
    case Command::Compress:
    case Command::Extract:
        RKLeftovers::removeStale();
        return runJob(options);
    case Command::None:
        break;
    }
    return usageError(tr("no command given"));
}

int RKCommandLine::listProfiles()
{
    const RKSetting setting = RKSetting::Setting();
    RKTerminal::writeOutput(
        tr("Archive profiles (compress):") + QLatin1Char('\n')
        + profileLines(setting.archiveProfiles, setting.finderDragArchiveProfileID)
        + tr("Unarchive profiles (extract):") + QLatin1Char('\n')
        + profileLines(setting.unArchiveProfiles, setting.finderDragUnArchiveProfileID)
        + tr("* the profile used when none is given (the file manager's)") + QLatin1Char('\n'));
    return ExitDone;
}

int RKCommandLine::runJob(const Options& options)
{
    const bool compress = options.command == Command::Compress;
    // Paths that do not exist are left to the job, which lists them among
    // the results; only when none exists is there nothing to do.
    QStringList missing;
    for (const QString& path : options.paths) {
        const QFileInfo info(path);
        if (!info.exists() && !info.isSymLink()) {
            missing.append(tr("no such file or folder: %1").arg(path));
        } else if (!compress && info.isDir()) {
            return usageError(tr("%1 is a folder, not an archive").arg(path));
        }
    }
    if (missing.size() == options.paths.size()) {
        return usageError(missing.join(QStringLiteral("\nmokuza: ")));
    }
    if (!options.dest.isEmpty() && QFileInfo::exists(options.dest)
        && !QFileInfo(options.dest).isDir()) {
        return usageError(tr("--dest %1 is not a folder").arg(options.dest));
    }

    const RKSetting setting = RKSetting::Setting();
    const bool interactive = RKTerminal::interactive();
    qint32 sameFileName = -1;
    if (options.onConflict == QStringLiteral("ask")) {
        sameFileName = RKProfileSetting::SameNameAnyTime;
    } else if (options.onConflict == QStringLiteral("overwrite")) {
        sameFileName = RKProfileSetting::SameNameOverwrite;
    } else if (options.onConflict == QStringLiteral("rename")) {
        sameFileName = RKProfileSetting::SameNameAutoRename;
    }

    RKProfileSetting archiveProfile;
    RKUnArchiveProfileSetting unArchiveProfile;
    qint32 saveLocation = 0;
    if (compress) {
        const auto found = options.profile.isEmpty()
            ? setting.archiveProfileWithID(setting.finderDragArchiveProfileID)
            : findArchiveProfile(setting, options.profile);
        if (!found) {
            return usageError(tr("no archive profile %1; 'mokuza profiles' lists them")
                                  .arg(options.profile));
        }
        archiveProfile = found->copy();
        if (!options.dest.isEmpty()) {
            archiveProfile.saveLocation = RKProfileSetting::SaveLocationStaticFolder;
            archiveProfile.saveStaticFolderPath = options.dest;
        }
        if (sameFileName >= 0) {
            archiveProfile.sameFileName = sameFileName;
        }
        if (options.passwordStdin) {
            // The line is the password of every archive, as typed (no template).
            archiveProfile.passMode = RKProfileSetting::PassModeAnytime;
        } else if (archiveProfile.passMode == RKProfileSetting::PassModeAnytime && !interactive) {
            return usageError(tr("profile %1 asks for a password and there is no terminal to "
                                 "type it on; give it with --password-stdin")
                                  .arg(archiveProfile.profileName));
        }
        saveLocation = archiveProfile.saveLocation;
    } else {
        const auto found = options.profile.isEmpty()
            ? setting.unArchiveProfileWithID(setting.finderDragUnArchiveProfileID)
            : findUnArchiveProfile(setting, options.profile);
        if (!found) {
            return usageError(tr("no unarchive profile %1; 'mokuza profiles' lists them")
                                  .arg(options.profile));
        }
        unArchiveProfile = *found;
        if (!options.dest.isEmpty()) {
            unArchiveProfile.saveLocation = RKProfileSetting::SaveLocationStaticFolder;
            unArchiveProfile.saveStaticFolderPath = options.dest;
        }
        if (sameFileName >= 0) {
            unArchiveProfile.sameFileName = sameFileName;
        }
        saveLocation = unArchiveProfile.saveLocation;
    }
    if (saveLocation == RKProfileSetting::SaveLocationAnyTime && !interactive) {
        return usageError(tr("the profile asks where to save and there is no terminal to "
                             "answer on; give --dest DIR"));
    }

    std::optional<QString> password;
    if (options.passwordStdin) {
        password = RKTerminal::readStandardInputLine();
        if (!password) {
            return usageError(tr("--password-stdin: standard input ended before a line"));
        }
        // An empty password would make an archive without encryption, as
        // if none had been asked for.
        if (password->isEmpty()) {
            return usageError(tr("--password-stdin: the password is empty"));
        }
    }

    RKTerminalProgress progress(RKTerminal::isTerminal(STDERR_FILENO));
    RKCommandLineHost host(progress, options.showPassword);
    RKTerminalPanelService panels(host, interactive);
    RKTerminalPasswordPrompt prompt(host, password, interactive);
    SilentNotifier silent;
    const Installed<RKJobHost> installedHost(&host);
    const Installed<RKPanelService> installedPanels(&panels);
    const Installed<RKPasswordPrompt> installedPrompt(&prompt);
    const Installed<RKNotifier> installedNotifier(options.notify ? nullptr : &silent);

    // SIGPIPE too: a reader that went away ends the job as Ctrl-C would,
    // without leaving a partial archive behind.
    RKInterruptWatcher watcher({SIGINT, SIGTERM, SIGHUP, SIGPIPE}, beforeExitFromSignal);
    QObject::connect(&watcher, &RKInterruptWatcher::interrupted, &watcher, [&host] {
        if (!host.stopping()) {
            RKTerminal::writeError(tr("mokuza: cancelling; an archive being written is not kept "
                                      "(Ctrl-C again to quit at once)\n"));
        }
        host.stop(RKCommandLineHost::Stop::Interrupted);
    });

    std::shared_ptr<QObject> job;
    qsizetype runs = 0;
    if (compress) {
        auto archiveJob = RKDispatch::makeArchiveJob(
            RKDispatch::archiveJobClass(options.paths.size(), archiveProfile.archiveMode,
                                        saveLocation),
            options.paths, archiveProfile, nullptr);
        if (archiveJob) {
            QObject::connect(archiveJob.get(), &RKArchiveBase::finished,
                             QCoreApplication::instance(), &QCoreApplication::quit,
                             Qt::QueuedConnection);
            job = archiveJob;
            archiveJob->startProcess();
        }
    } else {
        auto unArchiveJob = RKDispatch::makeUnArchiveJob(
            RKDispatch::unArchiveJobClass(options.paths.size(), saveLocation), options.paths,
            unArchiveProfile, nullptr);
        if (unArchiveJob) {
            QObject::connect(unArchiveJob.get(), &RKUnArchiveBase::finished,
                             QCoreApplication::instance(), &QCoreApplication::quit,
                             Qt::QueuedConnection);
            job = unArchiveJob;
            unArchiveJob->startProcess();
        }
    }
    if (!job) {
        return usageError(tr("the profile's settings are not ones this program knows"));
    }
    QCoreApplication::exec();
    runs = host.endings().size();

    switch (host.stopReason()) {
    case RKCommandLineHost::Stop::Interrupted: {
        const int signal = RKInterruptWatcher::signalNumber();
        return signal != 0 ? 128 + signal : 130;
    }
    case RKCommandLineHost::Stop::Refused:
        return ExitUsage;
    case RKCommandLineHost::Stop::None:
        break;
    }
    if (!host.resultsShown() || runs == 0) {
        RKTerminal::writeError(tr("mokuza: nothing was made\n"));
        return ExitErrors;
    }
    static_assert(RKCommandLineHost::EndingWrongPassword == ExitWrongPassword
                  && RKCommandLineHost::EndingDamaged == ExitDamaged);
    return host.allDone() ? ExitDone : host.failureStatus();
}

QString RKCommandLine::helpText()
{
    return tr(
        "Usage: mokuza profiles\n"
        "       mokuza compress [OPTION]... PATH...\n"
        "       mokuza extract [OPTION]... ZIP...\n"
        "\n"
        "Compresses files and folders into ZIP archives, or extracts ZIP archives, exactly\n"
        "as a profile of MOKUZA-FULL says (name encoding, level, one archive or one per\n"
        "item, where archives go, names that are taken, left-out names, password). The\n"
        "profiles are the application's own; without --profile the file manager's profile\n"
        "is used.\n"
        "\n"
        "Commands:\n"
        "  profiles              list the archive and unarchive profiles with their numbers\n"
        "  compress PATH...      make archives of files and folders\n"
        "  extract ZIP...        extract archives\n"
        "\n"
        "Options:\n"
        "  --profile NAME|NUMBER  the profile, by name or by its number in 'mokuza profiles'\n"
        "  --dest DIR             put the archives (or the extracted items) in DIR, whatever\n"
        "                         the profile's save location; DIR is made when missing\n"
        "  --on-conflict ask|overwrite|rename\n"
        "                         what to do when a name is taken (default: the profile's)\n"
        "  --password-stdin       read the password from the first line of standard input:\n"
        "                         compress encrypts every archive with it, extract uses it\n"
        "                         for every encrypted archive\n"
        "  --show-password        show passwords in the results instead of ********\n"
        "  --notify               post a desktop notification for every archive\n"
        "  -h, --help             show this help and exit\n"
        "      --version          show the version and exit\n"
        "\n"
        "Where the profile asks (a save location, a taken name, a typed password), mokuza\n"
        "asks on the terminal; without a terminal it refuses and names the option that\n"
        "answers. Progress goes to standard error: a bar on a terminal, plain lines\n"
        "elsewhere. The result of every archive goes to standard output.\n"
        "\n"
        "An archive gets its name only once it is complete and read back whole; a file\n"
        "of that name stays as it was until then. Paths that do not exist are listed\n"
        "among the errors and the others are done.\n"
        "\n"
        "Ctrl-C (or SIGTERM, SIGHUP) cancels at once: the archive being written is\n"
        "discarded and nothing more is started; an extraction that is cancelled places\n"
        "nothing more. A second one quits at once.\n"
        "\n"
        "Exit status:\n"
        "  0    every archive done\n"
        "  1    done, with other errors (or something cancelled)\n"
        "  2    bad usage, unknown profile, none of the paths exists, or a question\n"
        "       with no terminal to answer it\n"
        "  3    a password did not fit an encrypted archive (asked up to three times\n"
        "       on a terminal)\n"
        "  4    an archive is damaged: it does not open, or an entry fails its checks\n"
        "  130  interrupted (Ctrl-C); 128+N for signal N (143 SIGTERM, 129 SIGHUP)\n"
        "\n"
        "The settings are MOKUZA-FULL's: ~/.config/MOKUZA/MOKUZA-FULL.conf.\n"
        "See mokuza(1).\n");
}
