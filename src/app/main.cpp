#include "app/RKSingleInstance.h"
#include "app/widgets/RKAppDelegate.h"
#include "app/widgets/RKAppPasswordPrompt.h"
#include "app/widgets/RKLogoImageView.h"
#include "app/widgets/RKSettingAlert.h"
#include "app/widgets/RKTopWindow.h"
#include "archive/RKArchiveBase.h"
#include "platform/RKAppInfo.h"
#include "platform/RKDBusNotifier.h"
#include "platform/RKInterruptWatcher.h"
#include "platform/RKLauncherEntry.h"
#include "platform/RKLeftovers.h"
#include "platform/RKPanelService.h"
#include "platform/wayland/RKWaylandKeyStateSource.h"
#include "settings/RKKeychainSecretStore.h"
#include "settings/RKPasswordPrompt.h"
#include "settings/RKSettingNotice.h"
#include "ui/RKQtPanelService.h"
#include "ui/RKTranslations.h"

#include <QApplication>
#include <QDir>
#include <QTextStream>
#include <QTimer>

#include <csignal>
#include <cstdio>
#include <optional>
#include <thread>

namespace {

// With MOKUZA_TEST_HOOKS set, the application reports on stdout what reached
// it, so that tests can drive two real processes against each other.
class TestHooks
{
public:
    TestHooks()
        : m_enabled(!qEnvironmentVariableIsEmpty("MOKUZA_TEST_HOOKS"))
    {
    }

    void report(const QString& event, const QStringList& values = {}) const
    {
        if (!m_enabled) {
            return;
        }
        QStringList fields{event};
        fields += values;
        std::fputs(fields.join(QLatin1Char('\t')).toUtf8().append('\n').constData(), stdout);
        std::fflush(stdout);
    }

private:
    bool m_enabled;
};

// The manual password window, reported once it runs (for the tests' hooks).
class ReportingPasswordPrompt : public RKAppPasswordPrompt
{
public:
    explicit ReportingPasswordPrompt(const TestHooks& hooks)
        : m_hooks(hooks)
    {
    }

    QString showPasswordDialog(QObject* window, const RKProfileSetting& profile) override
    {
        QTimer::singleShot(0, [this] { m_hooks.report(QStringLiteral("password-window")); });
        return RKAppPasswordPrompt::showPasswordDialog(window, profile);
    }

private:
    const TestHooks& m_hooks;
};

// Asks for the keyboard focus with the launcher's activation token: a
// Wayland compositor gives the focus to a window only with one, and only
// with the focus does the application learn which keys are held. Qt's
// Wayland plug-in hands XDG_ACTIVATION_TOKEN over when the window asks to be
// activated (and then forgets it).
void activateWithToken(QWidget* window, const QString& token)
{
    if (!token.isEmpty()) {
        qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
    }
    window->activateWindow();
}

void bringToFront(QWidget* window, const QString& activationToken)
{
    window->show();
    window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
    window->raise();
    activateWithToken(window, activationToken);
}

// --help and --version print and exit, before any window or display is
// needed; "--" ends the options (a file may be called --help).
bool answeredOption(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        const QByteArray argument(argv[i]);
        if (argument == "--") {
            return false;
        }
        if (argument == "--version") {
            std::printf("mokuza-full (MOKUZA-FULL) %s\n", MOKUZA_VERSION);
            return true;
        }
        if (argument == "--help" || argument == "-h") {
            std::fputs("Usage: mokuza-full [FILE|FOLDER|ZIP]...\n"
                       "Opens the drop window of MOKUZA-FULL; items given are compressed, and\n"
                       "ZIP archives extracted, as the file manager's profiles say.\n"
                       "  -h, --help     show this help and exit\n"
                       "      --version  show the version and exit\n"
                       "For scripts, see mokuza(1); the application: mokuza-full(1).\n",
                       stdout);
            return true;
        }
    }
    return false;
}

} // namespace

int main(int argc, char** argv)
{
    if (answeredOption(argc, argv)) {
        return std::fflush(stdout) == 0 && !std::ferror(stdout) ? 0 : 1;
    }
    QApplication app(argc, argv);
    QApplication::setOrganizationName(RKAppInfo::organizationName());
    QApplication::setApplicationName(RKAppInfo::applicationName());
    QApplication::setDesktopFileName(QStringLiteral("mokuza-full"));
    QApplication::setWindowIcon(RKLogoImageView::appIconFULL());
    const TestHooks hooks;

    // Items given on the command line are the open-files request (or, after
    // --compress / --extract, a request of that kind); relative paths mean
    // the caller's working folder, which a running instance does not share.
    QString usageError;
    std::optional<RKOpenRequest> request = RKOpenRequest::fromArguments(
        QCoreApplication::arguments().mid(1), QDir::currentPath(), &usageError);
    if (!request) {
        std::fputs(QStringLiteral("mokuza-full: %1\n"
                                  "usage: mokuza-full [PATH…]\n"
                                  "       mokuza-full --compress PATH…\n"
                                  "       mokuza-full --extract ZIP…\n")
                       .arg(usageError)
                       .toLocal8Bit()
                       .constData(),
                   stderr);
        return 2;
    }

    request->activationToken = qEnvironmentVariable("XDG_ACTIVATION_TOKEN");
    RKSingleInstance instance;
    switch (instance.start(*request)) {
    case RKSingleInstance::Role::HandedOff:
        hooks.report(QStringLiteral("handed-off"), request->paths);
        return 0;
    case RKSingleInstance::Role::NoAnswer:
        std::fputs("MOKUZA-FULL: the running instance did not take the items\n", stderr);
        return 1;
    case RKSingleInstance::Role::Primary:
        break;
    }

    // What runs that were killed left behind (working folders, hidden
    // archives being written) goes at the next start, on a thread of its
    // own: a killed run may have left a large tree.
    std::thread staleWorkingFolders([] { RKLeftovers::removeStale(); });

    // Before the first window: its first keyboard focus tells which keys are
    // held (the drop or open-files request's profile and password keys).
    const std::unique_ptr<RKWaylandKeyStateSource> waylandKeys = RKWaylandKeyStateSource::create();
    if (waylandKeys) {
        RKKeyStateSource::setCurrent(waylandKeys.get());
    }

    RKTranslations::install(app);
    RKQtPanelService panels;
    RKPanelService::setCurrent(&panels);
    ReportingPasswordPrompt passwordPrompt(hooks);
    RKPasswordPrompt::setCurrent(&passwordPrompt);
    RKLauncherEntry launcherEntry;
    RKTaskbarProgress::setCurrent(&launcherEntry);
    // Installed before the delegate's first load of the settings.
    RKSettingAlert settingAlert;
    RKSettingNotice::setCurrent(&settingAlert);
    // Profile passwords go to the desktop's keyring when one answers.
    RKKeychainSecretStore keyring;
    RKSecretStore::setCurrent(&keyring);
    // The running application answers the notifications' 「フォルダを開く」.
    RKDBusNotifier notifier;
    notifier.offerShowItemAction();
    RKNotifier::setCurrent(&notifier);

    int exitCode = 0;
    {
        RKAppDelegate delegate;
        settingAlert.setWindow(delegate.window());
        QApplication::setQuitOnLastWindowClosed(
            delegate.applicationShouldTerminateAfterLastWindowClosed());
        QObject::connect(&instance, &RKSingleInstance::openRequested, &delegate,
                         [&delegate, &hooks](const RKOpenRequest& handed) {
                             hooks.report(RKOpenRequest::modeName(handed.mode)
                                              + QStringLiteral("-files"),
                                          handed.paths);
                             const QString& token = handed.activationToken;
                             if (!token.isEmpty()) {
                                 hooks.report(QStringLiteral("activation"), {token});
                             }
                             // With a token the window may take the focus, and
                             // so see the keys held for this request.
                             if (handed.paths.isEmpty() || !token.isEmpty()) {
                                 bringToFront(delegate.window(), token);
                             }
                             if (!handed.paths.isEmpty()) {
                                 delegate.applicationOpenFiles(handed.paths, handed.mode);
                             }
                         });
        // Logging out, a closed terminal or Ctrl-C cancel what runs, as the
        // cancel button would, and end the application.
        RKInterruptWatcher stopSignals({SIGINT, SIGTERM, SIGHUP});
        QObject::connect(&stopSignals, &RKInterruptWatcher::interrupted, &delegate,
                         [&delegate] { delegate.stopForSignal(); });
        QObject::connect(&delegate, &RKAppDelegate::jobStarted, &delegate, [&delegate, &hooks] {
            // The archive job's profile name and password, as the held keys made them.
            const RKArchiveBase* job = delegate.archiver().get();
            hooks.report(QStringLiteral("job-started"),
                         job ? QStringList{job->profile().profileName, job->profile().password} : QStringList());
        });
        QObject::connect(&delegate, &RKAppDelegate::jobFinished, &delegate,
                         [&hooks] { hooks.report(QStringLiteral("job-finished")); });

        delegate.window()->show();
        activateWithToken(delegate.window(), QString());
        if (!request->paths.isEmpty()) {
            hooks.report(RKOpenRequest::modeName(request->mode) + QStringLiteral("-files"),
                         request->paths);
            delegate.applicationOpenFiles(request->paths, request->mode);
        }
        delegate.applicationDidFinishLaunching();
        hooks.report(QStringLiteral("ready"), {instance.serverName()});
        exitCode = QApplication::exec();
    }

    RKSecretStore::setCurrent(nullptr);
    RKNotifier::setCurrent(nullptr);
    RKSettingNotice::setCurrent(nullptr);
    RKKeyStateSource::setCurrent(nullptr);
    RKTaskbarProgress::setCurrent(nullptr);
    RKPasswordPrompt::setCurrent(nullptr);
    RKPanelService::setCurrent(nullptr);
    staleWorkingFolders.join();
    return exitCode;
}
