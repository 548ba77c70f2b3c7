#pragma once

#include <QObject>

#include <deque>
#include <functional>
#include <mutex>

// Hands work from worker threads to the thread of its owner (the main
// thread), in the order it was posted.
//
// The work and everything it captured pass through a standard mutex, never
// through Qt's event queue alone: Qt's own locks are invisible to
// ThreadSanitizer, which would otherwise see every hand-off as a race (and,
// depending on timing, sometimes not). Only a bare wake-up call goes through
// Qt.
//
// A child of its owner: work still pending when the owner is destroyed is
// dropped with it.
class RKMainThreadQueue : public QObject
{
    Q_OBJECT

public:
    explicit RKMainThreadQueue(QObject* owner);
    ~RKMainThreadQueue() override;

    // The queue of the application's main thread, for code that has no
    // window of its own to own one. Made on first use, from any thread, once
    // the application object exists; it lives as long as the process.
    static RKMainThreadQueue* application();

    // Runs fn on the owner's thread later, without waiting. Any thread.
    void post(std::function<void()> fn);
    // Runs fn on the owner's thread and returns once it has run; runs it at
    // once when called on that thread. The owner's thread must keep turning
    // its event loop (a modal loop does).
    void postAndWait(const std::function<void()>& fn);

private:
    Q_INVOKABLE void drain();

    std::mutex m_mutex;
    std::deque<std::function<void()>> m_pending;
    bool m_wakeUpPosted = false;
};
