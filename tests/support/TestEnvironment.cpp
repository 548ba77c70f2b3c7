#include "support/TestEnvironment.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QThread>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>
extern char** environ;

namespace TestEnvironment {

// Not QProcess: it starts a child with clone(CLONE_VM | CLONE_VFORK) and runs
// its own code in it, on this process's memory, through functions that
// ThreadSanitizer intercepts, which corrupts TSan's record of the calling
// thread and shows correct code as racing. posix_spawn's child runs only the
// C library's own code; one path serves every build.
ProcessResult run(const QString& program, const QStringList& arguments,
                  const QString& workingDirectory, int timeoutMs)
{
    ProcessResult result;
    int out[2], err[2];
    if (::pipe2(out, O_CLOEXEC) != 0 || ::pipe2(err, O_CLOEXEC) != 0) {
        return result;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    posix_spawn_file_actions_adddup2(&actions, err[1], 2);
    const QByteArray folder = QFile::encodeName(workingDirectory);
    if (!workingDirectory.isEmpty()) {
        posix_spawn_file_actions_addchdir_np(&actions, folder.constData());
    }
    QList<QByteArray> words{QFile::encodeName(program)};
    for (const QString& argument : arguments) {
        words << argument.toUtf8();
    }
    std::vector<char*> argv;
    for (QByteArray& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    pid_t pid = -1;
    result.started = ::posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ) == 0;
    posix_spawn_file_actions_destroy(&actions);
    ::close(out[1]);
    ::close(err[1]);
    pollfd fds[2] = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}};
    QByteArray* sinks[2] = {&result.out, &result.err};
    const QDeadlineTimer deadline(timeoutMs);
    int open = result.started ? 2 : 0;
    while (open > 0) {
        // A child's SIGCHLD, caught by a handler of Qt's, interrupts poll.
        const int ready = ::poll(fds, 2, int(qMax<qint64>(deadline.remainingTime(), 0)));
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        if (ready <= 0) {
            break;
        }
        for (int i = 0; i < 2; ++i) {
            char buffer[65536];
            const ssize_t n = fds[i].revents ? ::read(fds[i].fd, buffer, sizeof buffer) : -1;
            if (n > 0) {
                sinks[i]->append(buffer, n);
            } else if (fds[i].revents) {
                fds[i].fd = -1;
                --open;
            }
        }
    }
    ::close(out[0]);
    ::close(err[0]);
    if (result.started) {
        if (open > 0) {
            ::kill(pid, SIGKILL);
        }
        int status = 0;
        ::waitpid(pid, &status, 0);
        result.exitCode = open == 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    return result;
}

bool hasProgram(const QString& program)
{
    return !QStandardPaths::findExecutable(program).isEmpty();
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        return false;
    }
    return file.write(bytes) == bytes.size();
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return file.readAll();
}

bool waitFor(const std::function<bool()>& predicate, int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    while (!predicate()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(1);
    }
    return true;
}

QStringList listTree(const QString& root)
{
    QStringList entries;
    QDir base(root);
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QFileInfo info(path);
        QString relative = base.relativeFilePath(path);
        if (info.isDir() && !info.isSymLink()) {
            relative += QLatin1Char('/');
        }
        entries << relative;
    }
    entries.sort();
    return entries;
}

} // namespace TestEnvironment
