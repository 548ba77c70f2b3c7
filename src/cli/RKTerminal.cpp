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
int g_outputError = 0;

// The terminal and its settings while a password is read with echo off, for
// the signal handler that ends the process meanwhile.
volatile sig_atomic_t g_echoOffFd = -1;
struct termios g_savedTermios;

// errno of the failure; 0 when everything was written.
int writeAll(int fd, const char* data, qsizetype size)
{
    qsizetype done = 0;
    while (done < size) {
        const ssize_t n = ::write(fd, data + done, size_t(size - done));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return n < 0 ? errno : EIO;
        }
        done += n;
    }
    return 0;
}

void writeAll(int fd, const QByteArray& bytes)
{
    writeAll(fd, bytes.constData(), bytes.size());
}

} // namespace

bool RKTerminal::japaneseMessages()
{
    for (const char* name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
        const QByteArray value = qgetenv(name);
        if (!value.isEmpty()) {
            return value.startsWith("ja");
        }
    }
    return false;
}

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
    const QByteArray bytes = text.toUtf8();
    writeOutputBytes(bytes.constData(), bytes.size());
}

bool RKTerminal::writeOutputBytes(const char* data, qsizetype size)
{
    if (g_outputError != 0) {
        return false;
    }
    std::fflush(stdout);
    g_outputError = writeAll(STDOUT_FILENO, data, size);
    return g_outputError == 0;
}

int RKTerminal::outputError()
{
    return g_outputError;
}

QString RKTerminal::escapedName(const QString& name)
{
    bool control = false;
    for (const QChar c : name) {
        control = control || c.unicode() < 0x20 || c.unicode() == 0x7f;
    }
    if (!control) {
        return name;
    }
    QString text;
    bool quoted = false;
    for (const QChar c : name) {
        const char16_t u = c.unicode();
        if (u < 0x20 || u == 0x7f) {
            if (quoted) {
                text += QLatin1Char('\'');
                quoted = false;
            }
            static const char* const named[] = {"\\a", "\\b", "\\t", "\\n", "\\v", "\\f", "\\r"};
            text += QStringLiteral("$'")
                + (u >= 7 && u <= 13 ? QString::fromLatin1(named[u - 7])
                                     : QString::asprintf("\\%03o", unsigned(u)))
                + QLatin1Char('\'');
            continue;
        }
        if (!quoted) {
            text += QLatin1Char('\'');
            quoted = true;
        }
        text += u == u'\'' ? QStringLiteral("'\\''") : QString(c);
    }
    if (quoted) {
        text += QLatin1Char('\'');
    }
    return text;
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
