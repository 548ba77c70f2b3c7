#include "platform/RKInterruptWatcher.h"

#include "platform/RKLeftovers.h"

#include <atomic>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace {

std::atomic<int> g_signal{0};
int g_pipe[2] = {-1, -1};
void (*g_beforeExit)() = nullptr;

void onSignal(int signalNumber)
{
    int expected = 0;
    if (!g_signal.compare_exchange_strong(expected, signalNumber)) {
        // Asked twice: the user does not want to wait for the cancel. What a
        // signal handler can remove goes; the rest the next start removes.
        RKLeftovers::removeFilesNow();
        if (g_beforeExit) {
            g_beforeExit();
        }
        ::_exit(128 + signalNumber);
    }
    const char byte = char(signalNumber);
    [[maybe_unused]] const ssize_t ignored = ::write(g_pipe[1], &byte, 1);
}

void install(int signalNumber)
{
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    // No SA_RESTART: a terminal read in progress returns, so a question
    // does not hold up the cancel.
    action.sa_flags = 0;
    ::sigaction(signalNumber, &action, nullptr);
}

} // namespace

RKInterruptWatcher::RKInterruptWatcher(const QList<int>& signalNumbers, void (*beforeExit)(),
                                       QObject* parent)
    : QObject(parent)
    , m_signals(signalNumbers)
{
    if (::pipe2(g_pipe, O_CLOEXEC | O_NONBLOCK) != 0) {
        return; // without the pipe the default actions (ending at once) stay
    }
    g_beforeExit = beforeExit;
    m_notifier = std::make_unique<QSocketNotifier>(g_pipe[0], QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] {
        char byte = 0;
        while (::read(g_pipe[0], &byte, 1) == 1) {
        }
        emit interrupted(g_signal.load());
    });
    for (const int signalNumber : m_signals) {
        install(signalNumber);
    }
}

RKInterruptWatcher::~RKInterruptWatcher()
{
    for (const int signalNumber : m_signals) {
        ::signal(signalNumber, SIG_DFL);
    }
    m_notifier.reset();
    for (int& fd : g_pipe) {
        if (fd >= 0) {
            ::close(fd);
            fd = -1;
        }
    }
}

int RKInterruptWatcher::signalNumber()
{
    return g_signal.load();
}
