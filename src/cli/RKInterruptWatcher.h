#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <memory>

// Turns Ctrl-C (SIGINT) and SIGTERM into a signal on the main thread, so
// that the job under way is cancelled the way its cancel button would. A
// second one ends the process at once. One watcher per process.
class RKInterruptWatcher : public QObject
{
    Q_OBJECT

public:
    explicit RKInterruptWatcher(QObject* parent = nullptr);
    ~RKInterruptWatcher() override;

    // The first signal received, 0 while there was none. Any thread.
    static int signalNumber();

signals:
    void interrupted(int signalNumber);

private:
    std::unique_ptr<QSocketNotifier> m_notifier;
};
