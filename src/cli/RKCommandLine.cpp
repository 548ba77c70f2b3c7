#include "cli/RKCommandLine.h"

#include "app/RKDispatch.h"
#include "cli/RKCommandLineHost.h"
#include "platform/RKInterruptWatcher.h"
#include "cli/RKTerminal.h"
#include "cli/RKTerminalArchiveCheck.h"
#include "cli/RKTerminalResultDisplay.h"
#include "zip/ZipNumberedName.h"
#include "cli/RKTerminalPanelService.h"
#include "cli/RKTerminalPasswordPrompt.h"
#include "cli/RKTerminalProgress.h"
#include "platform/RKLeftovers.h"
#include "platform/RKNotifier.h"
#include "platform/RKPanelService.h"
#include "settings/RKConstants.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QScopeGuard>
#include <QTemporaryDir>

#include <cerrno>

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

// Copies standard input into a file of the private folder; its path, or
// empty when it could not be kept.
QString spoolStandardInput(const QTemporaryDir& folder)
{
    if (!folder.isValid()) {
        return QString();
    }
    const QString path = folder.filePath(QStringLiteral("stdin.zip"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return QString();
    }
    QByteArray buffer(1 << 16, Qt::Uninitialized);
    for (;;) {
        const ssize_t n = ::read(STDIN_FILENO, buffer.data(), size_t(buffer.size()));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n < 0) {
            return QString();
        }
        if (n == 0) {
            break;
        }
        if (file.write(buffer.constData(), n) != n) {
            return QString();
        }
    }
    return file.flush() ? path : QString();
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
    // --help and --version answer wherever they stand (before "--").
    for (const QString& argument : arguments) {
        if (argument == QStringLiteral("--")) {
            break;
        }
        if (argument == QStringLiteral("--help") || argument == QStringLiteral("-h")) {
            options.command = Command::Help;
            return options;
        }
        if (argument == QStringLiteral("--version")) {
            options.command = Command::Version;
            return options;
        }
    }
    if (arguments.isEmpty()) {
        options.error = tr("no command given");
        return options;
    }
    const QString command = arguments.constFirst();
    if (command == QStringLiteral("help")) {
        options.command = Command::Help;
        return options;
    }
    if (command == QStringLiteral("profiles")) {
        options.command = Command::Profiles;
    } else if (command == QStringLiteral("compress")) {
        options.command = Command::Compress;
    } else if (command == QStringLiteral("extract")) {
        options.command = Command::Extract;
    } else if (command == QStringLiteral("list")) {
        options.command = Command::List;
    } else if (command == QStringLiteral("test")) {
        options.command = Command::Test;
    } else {
        options.error = tr("unknown command: %1").arg(command);
        return options;
    }

    bool onlyPaths = false;
    bool profileOptions = false; // an option that only compress or extract takes
    for (qsizetype i = 1; i < arguments.size() && options.error.isEmpty(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument == QStringLiteral("-") && !onlyPaths) {
            options.paths.append(argument);
            continue;
        }
        if (onlyPaths || !argument.startsWith(QLatin1Char('-'))) {
            options.paths.append(absolutePath(argument, workingFolder));
            continue;
        }
        if (argument == QStringLiteral("--")) {
            onlyPaths = true;
        } else if (argument == QStringLiteral("--password-stdin")) {
            options.passwordStdin = true;
        } else if (argument == QStringLiteral("--show-password")) {
            options.showPassword = true;
        } else if (argument == QStringLiteral("--notify")) {
            options.notify = profileOptions = true;
        } else if (argument == QStringLiteral("-q") || argument == QStringLiteral("--quiet")) {
            options.quiet = true;
        } else if (argument == QStringLiteral("-v") || argument == QStringLiteral("--verbose")) {
            options.verbose = true;
        } else if (argument == QStringLiteral("--json")) {
            options.json = true;
        } else if (argument == QStringLiteral("--one-per-item")) {
            options.archiveMode = RKProfileSetting::ArchiveModeMulti;
            profileOptions = true;
        } else if (argument == QStringLiteral("--single-archive")) {
            options.archiveMode = RKProfileSetting::ArchiveModeSingle;
            profileOptions = true;
        } else if (const auto profile = valueOf(QStringLiteral("--profile"), arguments, i,
                                                options.error)) {
            options.profile = *profile;
        } else if (const auto dest = valueOf(QStringLiteral("--dest"), arguments, i,
                                             options.error)) {
            profileOptions = true;
            options.dest = dest->isEmpty() ? QString() : absolutePath(*dest, workingFolder);
            if (dest->isEmpty() && options.error.isEmpty()) {
                options.error = tr("--dest needs a folder");
            } else if (*dest == QStringLiteral("-")) {
                options.error = tr("--dest - is not a folder; 'mokuza compress -o -' writes the "
                                   "archive to standard output");
            }
        } else if (const auto output = argument == QStringLiteral("-o")
                       ? valueOf(QStringLiteral("-o"), arguments, i, options.error)
                       : valueOf(QStringLiteral("--output"), arguments, i, options.error)) {
            profileOptions = true;
            options.output = *output == QStringLiteral("-") ? *output
                                                            : absolutePath(*output, workingFolder);
            if (output->isEmpty() && options.error.isEmpty()) {
                options.error = tr("-o needs a file name, or - for standard output");
            }
        } else if (const auto policy = valueOf(QStringLiteral("--on-conflict"), arguments, i,
                                               options.error)) {
            profileOptions = true;
            options.onConflict = *policy;
            const QStringList known = {QStringLiteral("ask"), QStringLiteral("overwrite"),
                                       QStringLiteral("rename")};
            if (!known.contains(*policy) && options.error.isEmpty()) {
                options.error = tr("--on-conflict takes ask, overwrite or rename, not %1")
                                    .arg(*policy);
            }
        } else if (const auto level = valueOf(QStringLiteral("--level"), arguments, i,
                                              options.error)) {
            profileOptions = true;
            bool isNumber = false;
            options.level = level->toInt(&isNumber);
            if ((!isNumber || options.level < 0 || options.level > 9) && options.error.isEmpty()) {
                options.error = tr("--level takes 0 to 9, not %1").arg(*level);
            }
        } else if (const auto encoding = valueOf(QStringLiteral("--encoding"), arguments, i,
                                                 options.error)) {
            options.encoding = encodingNamed(*encoding);
            if (!options.encoding && options.error.isEmpty()) {
                options.error = tr("unknown encoding: %1 (names as in the profile window's "
                                   "list, or utf-8, cp932)")
                                    .arg(*encoding);
            }
        } else if (const auto pattern = valueOf(QStringLiteral("--exclude"), arguments, i,
                                                options.error)) {
            profileOptions = true;
            options.excludes.append(*pattern);
        } else {
            options.error = tr("unknown option: %1").arg(argument);
        }
    }
    if (!options.error.isEmpty()) {
        return options;
    }
    const bool compress = options.command == Command::Compress;
    if (options.command == Command::Profiles) {
        if (!options.paths.isEmpty() || !options.profile.isEmpty() || profileOptions
            || options.passwordStdin || options.encoding) {
            options.error = tr("profiles takes no paths or options");
        }
    } else if (options.paths.isEmpty()) {
        options.error = compress ? tr("no files or folders given") : tr("no archives given");
    } else if ((options.command == Command::List || options.command == Command::Test)
               && profileOptions) {
        options.error = tr("%1 takes only --profile, --encoding, --password-stdin, --json and -q")
                            .arg(command);
    } else if (options.paths.count(QStringLiteral("-")) > 1) {
        options.error = tr("standard input (-) can be given once");
    } else if (compress && options.paths.contains(QStringLiteral("-"))) {
        options.error = tr("compress takes files and folders, not standard input (-)");
    } else if (options.passwordStdin && options.paths.contains(QStringLiteral("-"))) {
        options.error = tr("--password-stdin and an archive on standard input (-) cannot "
                           "both be read");
    } else if (!options.output.isEmpty() && !compress) {
        options.error = tr("-o names the archive that compress makes");
    } else if (!options.output.isEmpty()
               && (!options.dest.isEmpty() || options.archiveMode == RKProfileSetting::ArchiveModeMulti)) {
        options.error = tr("-o makes one archive; it takes no --dest or --one-per-item");
    } else if (options.quiet && options.verbose) {
        options.error = tr("-q and -v cannot both be given");
    }
    return options;
}

std::optional<quint64> RKCommandLine::encodingNamed(const QString& name)
{
    const QString wanted = name.trimmed();
    if (wanted.compare(QStringLiteral("utf-8"), Qt::CaseInsensitive) == 0
        || wanted.compare(QStringLiteral("utf8"), Qt::CaseInsensitive) == 0) {
        return 4;
    }
    for (const char* alias : {"cp932", "shift-jis", "shift_jis", "sjis", "windows-31j"}) {
        if (wanted.compare(QLatin1String(alias), Qt::CaseInsensitive) == 0) {
            return 8;
        }
    }
    const QStringList titles = RKConstants::EncodeNameLists();
    const QList<qint32> codes = RKConstants::EncodeCodeLists();
    for (qsizetype i = 0; i < titles.size() && i < codes.size(); ++i) {
        const QString& title = titles.at(i);
        const qsizetype dash = title.lastIndexOf(QStringLiteral(" - "));
        const QStringList forms{title, title.left(dash).trimmed(), title.mid(dash + 3).trimmed()};
        for (const QString& form : forms) {
            if (dash >= 0 && form.compare(wanted, Qt::CaseInsensitive) == 0) {
                return RKConstants::encodingValueFromStored(codes.at(i));
            }
        }
    }
    return std::nullopt;
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
    int status = runCommand(options);
    // A result that could not be written is not a success (a full disk,
    // /dev/full); a reader that went away ends the process by SIGPIPE.
    if (const int failure = RKTerminal::outputError()) {
        RKTerminal::writeError(tr("mokuza: standard output: %1\n")
                                   .arg(RKTerminalResultDisplay::systemReason(failure)));
        status = qMax(status, ExitErrors);
    }
    return status;
}

int RKCommandLine::runCommand(const Options& options)
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
    case Command::List:
    case Command::Test:
        return checkArchives(options);
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

int RKCommandLine::checkArchives(const Options& options)
{
    const RKSetting setting = RKSetting::Setting();
    const auto profile = options.profile.isEmpty()
        ? setting.unArchiveProfileWithID(setting.finderDragUnArchiveProfileID)
        : findUnArchiveProfile(setting, options.profile);
    if (!profile) {
        return usageError(tr("no unarchive profile %1; 'mokuza profiles' lists them")
                              .arg(options.profile));
    }
    RKTerminalArchiveCheck::Options check;
    check.encoding = options.encoding.value_or(profile->sourceEncoding);
    check.json = options.json;
    check.quiet = options.quiet;
    check.interactive = RKTerminal::interactive();
    QStringList archives = options.paths;
    std::optional<QTemporaryDir> spool;
    for (QString& archive : archives) {
        if (archive == QStringLiteral("-")) {
            spool.emplace(QDir::tempPath() + QStringLiteral("/mokuza-stdin-XXXXXX"));
            const QString spooled = spoolStandardInput(*spool);
            if (spooled.isEmpty()) {
                return usageError(tr("standard input could not be kept in a temporary file"));
            }
            archive = spooled;
        } else if (!QFileInfo::exists(archive)) {
            return usageError(tr("no such file or folder: %1").arg(archive));
        } else if (QFileInfo(archive).isDir()) {
            return usageError(tr("%1 is a folder, not an archive").arg(archive));
        }
    }
    if (options.passwordStdin) {
        check.password = RKTerminal::readStandardInputLine();
        if (!check.password || check.password->isEmpty()) {
            return usageError(tr("--password-stdin: the password is empty"));
        }
    }
    return options.command == Command::List ? RKTerminalArchiveCheck::list(archives, check)
                                            : RKTerminalArchiveCheck::test(archives, check);
}

int RKCommandLine::runJob(const Options& options)
{
    const bool compress = options.command == Command::Compress;
    // Paths that do not exist are left to the job, which lists them among
    // the results; only when none exists is there nothing to do.
    QStringList missing;
    for (const QString& path : options.paths) {
        if (path == QStringLiteral("-")) {
            continue;
        }
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
    // -o: the archive is made in a private folder (beside the file, so that
    // it is put in place by a rename), then moved there or copied out.
    const bool toStandardOutput = options.output == QStringLiteral("-");
    QString outputFile;
    if (!options.output.isEmpty() && !toStandardOutput) {
        const QFileInfo target(options.output);
        if (!target.dir().exists()) {
            return usageError(tr("-o %1: the folder does not exist").arg(options.output));
        }
        outputFile = options.output;
        if (target.isDir()) {
            return usageError(tr("-o %1 is a folder").arg(options.output));
        }
        if (target.exists() || target.isSymLink()) {
            if (options.onConflict == QStringLiteral("rename")) {
                for (int n = 2; QFileInfo::exists(outputFile) || QFileInfo(outputFile).isSymLink(); ++n) {
                    outputFile = target.dir().filePath(ZipNumberedName::fileName(target.fileName(), n));
                }
            } else if (options.onConflict != QStringLiteral("overwrite")) {
                return usageError(tr("-o %1 exists; give --on-conflict overwrite or rename")
                                      .arg(options.output));
            }
        }
    }
    std::optional<QTemporaryDir> made;
    if (!options.output.isEmpty()) {
        made.emplace(toStandardOutput
                         ? QDir::tempPath() + QStringLiteral("/mokuza-out-XXXXXX")
                         : QFileInfo(outputFile).dir().filePath(QStringLiteral(".mokuza-out-XXXXXX")));
        if (!made->isValid()) {
            return usageError(tr("-o: no private folder could be made: %1").arg(made->errorString()));
        }
    }
    // A killed run leaves its private folder behind: registered, the next
    // start of either program removes it.
    const int madeToken = made ? RKLeftovers::add(made->path(), false) : 0;
    const auto forgetMade = qScopeGuard([madeToken] { RKLeftovers::remove(madeToken); });
    std::optional<QTemporaryDir> spool;
    QStringList paths = options.paths;
    for (QString& path : paths) {
        if (path == QStringLiteral("-")) {
            spool.emplace(QDir::tempPath() + QStringLiteral("/mokuza-stdin-XXXXXX"));
            path = spoolStandardInput(*spool);
            if (path.isEmpty()) {
                return usageError(tr("standard input could not be kept in a temporary file"));
            }
        }
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
        if (options.level >= 0) {
            archiveProfile.archiveLevel = options.level;
        }
        if (options.encoding) {
            archiveProfile.destEncoding = *options.encoding;
        }
        archiveProfile.exclusionFiles += options.excludes;
        archiveProfile.exclusionFolders += options.excludes;
        if (options.archiveMode >= 0) {
            archiveProfile.archiveMode = options.archiveMode;
        }
        if (!options.output.isEmpty()) {
            archiveProfile.archiveMode = RKProfileSetting::ArchiveModeSingle;
            archiveProfile.saveLocation = RKProfileSetting::SaveLocationStaticFolder;
            archiveProfile.saveStaticFolderPath = made->path();
            archiveProfile.sameFileName = RKProfileSetting::SameNameOverwrite;
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
        if (options.encoding) {
            unArchiveProfile.sourceEncoding = *options.encoding;
        }
        unArchiveProfile.exclusionFiles += options.excludes;
        unArchiveProfile.exclusionFolders += options.excludes;
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
    progress.setQuiet(options.quiet);
    RKTerminalResultDisplay::Output output;
    output.showPassword = options.showPassword;
    output.json = options.json;
    output.quiet = options.quiet;
    output.recordsToError = toStandardOutput;
    RKCommandLineHost host(progress, output);
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
            RKDispatch::archiveJobClass(paths.size(), archiveProfile.archiveMode,
                                        saveLocation),
            paths, archiveProfile, nullptr);
        if (archiveJob) {
            QObject::connect(archiveJob.get(), &RKArchiveBase::finished,
                             QCoreApplication::instance(), &QCoreApplication::quit,
                             Qt::QueuedConnection);
            job = archiveJob;
            archiveJob->startProcess();
        }
    } else {
        auto unArchiveJob = RKDispatch::makeUnArchiveJob(
            RKDispatch::unArchiveJobClass(paths.size(), saveLocation), paths,
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

    // The archive made for -o goes where it was asked for.
    QHash<QString, QString> moved;
    bool outputFailed = false;
    if (!options.output.isEmpty() && host.stopReason() == RKCommandLineHost::Stop::None) {
        for (const QString& archive : host.results().destinations()) {
            if (!archive.startsWith(made->path() + QLatin1Char('/')) || !QFileInfo::exists(archive)) {
                continue;
            }
            if (toStandardOutput) {
                moved.insert(archive, QStringLiteral("-"));
                QFile file(archive);
                if (!file.open(QIODevice::ReadOnly)) {
                    outputFailed = true;
                    continue;
                }
                while (!file.atEnd() && !outputFailed) {
                    const QByteArray piece = file.read(1 << 20);
                    outputFailed = piece.isEmpty() || !RKTerminal::writeOutputBytes(piece.constData(), piece.size());
                }
            } else if (::rename(QFile::encodeName(archive).constData(),
                                QFile::encodeName(outputFile).constData())
                       == 0) {
                moved.insert(archive, outputFile);
            } else {
                RKTerminal::writeError(tr("mokuza: %1: %2\n")
                                           .arg(RKTerminal::escapedName(outputFile),
                                                RKTerminalResultDisplay::systemReason(errno)));
                outputFailed = true;
            }
        }
    }
    host.results().print(moved);
    if (options.verbose) {
        const RKSetting current = RKSetting::Setting();
        QStringList listed = compress ? QStringList() : paths;
        if (compress) {
            for (const QString& archive : host.results().destinations()) {
                listed.append(moved.value(archive, archive));
            }
        }
        for (const QString& archive : listed) {
            if (archive != QStringLiteral("-") && QFileInfo(archive).isFile()) {
                RKTerminalArchiveCheck::Options names;
                names.encoding = compress ? archiveProfile.destEncoding : unArchiveProfile.sourceEncoding;
                RKTerminalArchiveCheck::printNames(archive, names, toStandardOutput);
            }
        }
    }

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
    if (outputFailed) {
        return ExitErrors;
    }
    return host.allDone() ? ExitDone : host.failureStatus();
}

QString RKCommandLine::helpText()
{
    return tr(
        "Usage: mokuza profiles\n"
        "       mokuza compress [OPTION]... PATH...\n"
        "       mokuza extract [OPTION]... ZIP...\n"
        "       mokuza list [OPTION]... ZIP...\n"
        "       mokuza test [OPTION]... ZIP...\n"
        "\n"
        "Compresses files and folders into ZIP archives, or extracts ZIP archives, exactly\n"
        "as a profile of MOKUZA-FULL says (name encoding, level, one archive or one per\n"
        "item, where archives go, names that are taken, left-out names, password). The\n"
        "profiles are the application's own; without --profile the file manager's profile\n"
        "is used. The options below change one run, not the profile.\n"
        "\n"
        "Commands:\n"
        "  profiles              list the archive and unarchive profiles with their numbers\n"
        "  compress PATH...      make archives of files and folders\n"
        "  extract ZIP...        extract archives (- reads one from standard input)\n"
        "  list ZIP...           list the entries: size, packed size, method, date and\n"
        "                        time, whether encrypted, CRC and name\n"
        "  test ZIP...           read every entry and check it; nothing is written\n"
        "\n"
        "Options:\n"
        "  --profile NAME|NUMBER  the profile, by name or by its number in 'mokuza profiles'\n"
        "  --dest DIR             put the archives (or the extracted items) in DIR, whatever\n"
        "                         the profile's save location; DIR is made when missing\n"
        "  -o, --output FILE      compress: make one archive named FILE; - writes it to\n"
        "                         standard output (the results then go to standard error)\n"
        "  --on-conflict ask|overwrite|rename\n"
        "                         what to do when a name is taken (default: the profile's)\n"
        "  --level N              compression level 0 (stored) to 9\n"
        "  --encoding NAME        encoding of entry names: a name of the profile window's\n"
        "                         list (such as NSShiftJISStringEncoding), utf-8 or cp932\n"
        "  --exclude PATTERN      leave out files and folders of this name (* and ?, any\n"
        "                         case); may be repeated\n"
        "  --one-per-item, --single-archive\n"
        "                         one archive per item given, or one for all of them\n"
        "  --password-stdin       read the password from the first line of standard input:\n"
        "                         compress encrypts every archive with it, extract and test\n"
        "                         use it for every encrypted archive\n"
        "  --show-password        show passwords in the results instead of ********\n"
        "  --json                 results as JSON lines: one object per archive (archive,\n"
        "                         destination, status, errors with codes), or per entry\n"
        "                         for list\n"
        "  -q, --quiet            print nothing but errors\n"
        "  -v, --verbose          also print every item of each archive\n"
        "  --notify               post a desktop notification for every archive\n"
        "  -h, --help             show this help and exit\n"
        "      --version          show the version and exit\n"
        "\n"
        "Where the profile asks (a save location, a taken name, a typed password), mokuza\n"
        "asks on the terminal; without a terminal it refuses and names the option that\n"
        "answers. Progress goes to standard error, measured in bytes: a bar with the\n"
        "rate and the time left on a terminal, plain lines elsewhere. The result of every\n"
        "archive goes to standard output; errors go to standard error, each with its path\n"
        "and the system's reason. Names with control characters are quoted as ls does.\n"
        "Messages are Japanese under a ja_* locale, English otherwise.\n"
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
        "  1    done, with other errors (or something cancelled); or standard output\n"
        "       could not be written\n"
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
