#include "cli/RKTerminal.h"

#include "platform/RKInterruptWatcher.h"

#include <QByteArray>

#include <cerrno>
#include <csignal>
#include <cstdio>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace {

bool g_statusLineShown = false;

// The terminal and its settings while a password is read with echo off, for
// the signal handler that ends the process meanwhile.
volatile sig_atomic_t g_echoOffFd = -1;
struct termios g_savedTermios;

void writeAll(int fd, const QByteArray& bytes)
{
    qsizetype done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.constData() + done, size_t(bytes.size() - done));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return;
        }
        done += n;
    }
}

} // namespace

bool RKTerminal::isTerminal(int fd)
{
    return ::isatty(fd) == 1;
}

bool RKTerminal::interactive()
{
    if (!isTerminal(STDIN_FILENO)) {
        return false;
    }
    const int fd = ::open("/dev/tty", O_RDWR | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    ::close(fd);
    return true;
}

int RKTerminal::columns()
{
    struct winsize size {};
    if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
        return size.ws_col;
    }
    return 80;
}

std::optional<QString> RKTerminal::ask(const QString& prompt, bool echo)
{
    clearStatusLine();
    const int fd = ::open("/dev/tty", O_RDWR | O_CLOEXEC);
    if (fd < 0) {
        return std::nullopt;
    }
    writeAll(fd, prompt.toUtf8());

    struct termios saved {};
    const bool echoOff = !echo && ::tcgetattr(fd, &saved) == 0;
    if (echoOff) {
        g_savedTermios = saved;
        g_echoOffFd = fd;
        struct termios quiet = saved;
        quiet.c_lflag &= ~tcflag_t(ECHO);
        quiet.c_lflag |= ECHONL;
        ::tcsetattr(fd, TCSAFLUSH, &quiet);
    }

    QByteArray line;
    bool complete = false;
    for (;;) {
        char c = 0;
        const ssize_t n = ::read(fd, &c, 1);
        if (n < 0 && errno == EINTR) {
            // The interrupt handler has run; Ctrl-C ends the question.
            if (RKInterruptWatcher::signalNumber() != 0) {
                break;
            }
            continue;
        }
        if (n <= 0) {
            break; // end of input
        }
        if (c == '\n') {
            complete = true;
            break;
        }
        line.append(c);
    }

    if (echoOff) {
        ::tcsetattr(fd, TCSAFLUSH, &saved);
        g_echoOffFd = -1;
    }
    if (!complete) {
        writeAll(fd, "\n");
    }
    ::close(fd);
    if (!complete || RKInterruptWatcher::signalNumber() != 0) {
        return std::nullopt;
    }
    if (line.endsWith('\r')) {
        line.chop(1);
    }
    return QString::fromUtf8(line);
}

std::optional<QString> RKTerminal::readStandardInputLine()
{
    QByteArray line;
    bool any = false;
    for (;;) {
        char c = 0;
        const ssize_t n = ::read(STDIN_FILENO, &c, 1);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            break;
        }
        any = true;
        if (c == '\n') {
            break;
        }
        line.append(c);
    }
    if (!any) {
        return std::nullopt;
    }
    if (line.endsWith('\r')) {
        line.chop(1);
    }
    return QString::fromUtf8(line);
}

void RKTerminal::writeOutput(const QString& text)
{
    std::fflush(stdout);
    writeAll(STDOUT_FILENO, text.toUtf8());
}

void RKTerminal::writeError(const QString& text)
{
    clearStatusLine();
    writeAll(STDERR_FILENO, text.toUtf8());
}

void RKTerminal::setStatusLineShown(bool shown)
{
    g_statusLineShown = shown;
}

void RKTerminal::clearStatusLine()
{
    if (g_statusLineShown) {
        g_statusLineShown = false;
        writeAll(STDERR_FILENO, QByteArrayLiteral("\r\x1b[K"));
    }
}

void RKTerminal::restoreEchoFromSignal()
{
    const int fd = g_echoOffFd;
    if (fd >= 0) {
        ::tcsetattr(fd, TCSANOW, &g_savedTermios);
    }
}
