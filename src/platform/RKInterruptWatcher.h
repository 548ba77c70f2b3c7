#pragma once

#include <QList>
#include <QObject>
#include <QSocketNotifier>

#include <memory>

// Turns the signals that ask a program to stop (Ctrl-C's SIGINT, SIGTERM,
// SIGHUP, and for a program whose output may be a pipe SIGPIPE) into a Qt
// signal on the main thread, so that the job under way is cancelled the way
// its cancel button would. A second one ends the process at once, after the
// files registered with RKLeftovers were removed. One watcher per process.
class RKInterruptWatcher : public QObject
{
    Q_OBJECT

public:
    // beforeExit: what the second signal does before ending the process;
    // async-signal-safe calls only (may be null).
    explicit RKInterruptWatcher(const QList<int>& signalNumbers, void (*beforeExit)() = nullptr,
                                QObject* parent = nullptr);
    ~RKInterruptWatcher() override;

    // The first signal received, 0 while there was none. Any thread.
    static int signalNumber();

signals:
    void interrupted(int signalNumber);

private:
    std::unique_ptr<QSocketNotifier> m_notifier;
    QList<int> m_signals;
};
