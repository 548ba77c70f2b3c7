#include "app/WaylandSession.h"

#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <csignal>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

constexpr int kUser = 65534; // nobody

QStringList asUser(const QString& folder)
{
    return {QStringLiteral("setpriv"), QStringLiteral("--reuid=%1").arg(kUser), QStringLiteral("--regid=%1").arg(kUser),
            QStringLiteral("--clear-groups"), QStringLiteral("env"), QStringLiteral("-i"),
            QStringLiteral("HOME=") + folder, QStringLiteral("XDG_RUNTIME_DIR=") + folder + QStringLiteral("/run"),
            QStringLiteral("XDG_CONFIG_HOME=") + folder + QStringLiteral("/config"),
            QStringLiteral("PATH=/usr/bin:/bin"), QStringLiteral("LANG=C.UTF-8"),
            // No session bus: Qt would start one through X11 and leave it behind.
            QStringLiteral("DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent")};
}

// Run in every child before its program starts. The session must never
// outlive the test, however the test ends (a failure, a timeout's SIGKILL):
// the child dies with the test, and takes none of the test's descriptors
// along (a build lock held by whoever started the test, say).
void bindToTest()
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (DIR* fds = ::opendir("/proc/self/fd")) {
        while (const dirent* entry = ::readdir(fds)) {
            const int fd = std::atoi(entry->d_name);
            if (fd > 2 && fd != ::dirfd(fds)) {
                ::fcntl(fd, F_SETFD, ::fcntl(fd, F_GETFD) | FD_CLOEXEC);
            }
        }
        ::closedir(fds);
    }
}

} // namespace

WaylandSession::WaylandSession()
    // Outside /tmp, which the namespace replaces with a private one, and
    // beside the test's own temporary folder, which only root may enter.
    : m_dir(QStringLiteral("/var/tmp/mokuza-wayland-XXXXXX"))
{
    for (const char* tool : {"unshare", "nsenter", "setpriv", "sway", "Xwayland"}) {
        if (!TestEnvironment::hasProgram(QString::fromLatin1(tool))) {
            m_error = std::string(tool) + " is not installed (scripts/install-deps.sh installs it)";
            return;
        }
    }
    if (::geteuid() != 0) {
        m_error = "a private namespace and another user need root";
        return;
    }
    const QString folder = m_dir.path();
    QDir().mkpath(folder + "/run");
    QDir().mkpath(folder + "/config");
    QFile::setPermissions(folder + "/run", QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    TestEnvironment::writeFile(folder + "/sway.conf", "output HEADLESS-1 resolution 1280x800\n"
                                                      "focus_on_window_activation focus\n");
    handOver();

    // A PID namespace as well. Its first process, the shell, dies with
    // unshare (--kill-child), unshare with the test, and the kernel then
    // kills everything in the namespace (sway, XWayland). The shell keeps
    // sway as its child rather than becoming it, since changing to another
    // user would drop the parent-death signal. The programs the test starts
    // stay in the test's PID namespace, so that killing one kills it (and
    // lock files name process ids everyone sees); they end with the
    // compositor's connection.
    // A private /tmp, not only /tmp/.X11-unix: XWayland's lock files
    // (/tmp/.X<n>-lock) name a process id of the namespace, which the host
    // takes for a live process once the namespace is gone. Left in the
    // host's /tmp, 33 of them leave no display for the next session.
    const QString script = QStringLiteral("mount -t tmpfs -o mode=1777 tmpfs /tmp && mkdir -m 1777 /tmp/.X11-unix"
                                          " || exit 1; echo up; ")
                           + asUser(folder).join(' ')
                           + QStringLiteral(" WLR_BACKENDS=headless WLR_LIBINPUT_NO_DEVICES=1 WLR_RENDERER=pixman"
                                            " sway -c ")
                           + folder + QStringLiteral("/sway.conf");
    m_compositor.setProcessChannelMode(QProcess::SeparateChannels);
    m_compositor.setStandardErrorFile(folder + "/sway.log");
    m_compositor.setChildProcessModifier(bindToTest);
    m_compositor.start("unshare", {"-mnp", "--fork", "--kill-child=SIGKILL", "sh", "-c", script});
    if (!m_compositor.waitForReadyRead(10000)) {
        m_error = "the namespace did not start: " + TestEnvironment::readFile(folder + "/sway.log").toStdString();
        return;
    }
    const qint64 unsharePid = m_compositor.processId();
    m_compositorPid = TestEnvironment::readFile(QStringLiteral("/proc/%1/task/%1/children").arg(unsharePid))
                          .trimmed()
                          .toLongLong();
    if (m_compositorPid <= 0) {
        m_error = "the namespace's first process was not found";
        return;
    }
    const bool up = TestEnvironment::waitFor(
        [&] {
            const QStringList sockets = QDir(folder + "/run").entryList({"wayland-*"}, QDir::System);
            for (const QString& socket : sockets) {
                if (!socket.endsWith(".lock")) {
                    m_waylandDisplay = socket;
                }
            }
            return !m_waylandDisplay.isEmpty() || m_compositor.state() != QProcess::Running;
        },
        10000);
    if (!up || m_waylandDisplay.isEmpty()) {
        m_error = "sway did not start: " + TestEnvironment::readFile(folder + "/sway.log").toStdString();
        return;
    }
    // XWayland listens from the start (and runs on the first connection);
    // its socket is the only one in the namespace's folder.
    QString socket;
    TestEnvironment::waitFor(
        [&] {
            QProcess list;
            list.start("nsenter", {"-t", QString::number(m_compositorPid), "-m", "ls", "/tmp/.X11-unix"});
            list.waitForFinished(10000);
            socket = QString::fromUtf8(list.readAllStandardOutput()).trimmed();
            return socket.startsWith('X');
        },
        10000);
    if (!socket.startsWith('X')) {
        m_error = "sway started no XWayland";
        return;
    }
    m_xDisplay = ':' + socket.mid(1);

    start(m_keyboard, VIRTUAL_KEYBOARD_HELPER, {});
    if (!m_keyboard.waitForStarted(10000)) {
        m_error = "the virtual keyboard did not start";
    }
}

WaylandSession::~WaylandSession()
{
    if (m_keyboard.state() != QProcess::NotRunning) {
        m_keyboard.closeWriteChannel();
        if (!m_keyboard.waitForFinished(5000)) {
            m_keyboard.kill();
            m_keyboard.waitForFinished();
        }
    }
    // Killing unshare kills the namespace's first process and so everything
    // in the namespace; its sockets and lock files lie in folders that go
    // with it (the private /tmp) or with the test (folder()).
    if (m_compositor.state() != QProcess::NotRunning) {
        m_compositor.kill();
        m_compositor.waitForFinished(10000);
    }
}

void WaylandSession::handOver() const
{
    TestEnvironment::run("chown", {"-R", QStringLiteral("%1:%1").arg(kUser), m_dir.path()});
}

QString WaylandSession::copied(const QString& program) const
{
    const QString copy = m_dir.filePath("bin/" + QFileInfo(program).fileName());
    if (!QFileInfo::exists(copy)) {
        QDir().mkpath(m_dir.filePath("bin"));
        QFile::copy(program, copy);
        handOver();
    }
    return copy;
}

void WaylandSession::start(QProcess& process, const QString& program, const QStringList& arguments,
                           const QProcessEnvironment& environment) const
{
    QStringList command{"-t", QString::number(m_compositorPid), "-m", "-n"};
    command += asUser(m_dir.path());
    command += "WAYLAND_DISPLAY=" + m_waylandDisplay;
    const QStringList keys = environment.keys();
    for (const QString& key : keys) {
        command += key + '=' + environment.value(key);
    }
    command += copied(program);
    command += arguments;
    process.setChildProcessModifier(bindToTest);
    process.start("nsenter", command);
}

bool WaylandSession::key(const char* verb, int evdevCode)
{
    m_keyboard.write(QStringLiteral("%1 %2\n").arg(QLatin1String(verb)).arg(evdevCode).toLatin1());
    while (!m_keyboard.canReadLine()) {
        if (!m_keyboard.waitForReadyRead(10000)) {
            return false;
        }
    }
    return m_keyboard.readLine().trimmed() == "ok";
}
