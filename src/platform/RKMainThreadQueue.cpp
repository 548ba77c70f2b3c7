#include "platform/RKMainThreadQueue.h"

#include <QCoreApplication>
#include <QThread>

#include <condition_variable>

RKMainThreadQueue::RKMainThreadQueue(QObject* owner) : QObject(owner) {}

RKMainThreadQueue::~RKMainThreadQueue() = default;

RKMainThreadQueue* RKMainThreadQueue::application()
{
    static RKMainThreadQueue* const queue = [] {
        auto* made = new RKMainThreadQueue(nullptr);
        made->moveToThread(QCoreApplication::instance()->thread());
        return made;
    }();
    return queue;
}

void RKMainThreadQueue::post(std::function<void()> fn)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_pending.push_back(std::move(fn));
        if (m_wakeUpPosted) {
            return;
        }
        m_wakeUpPosted = true;
    }
    // By name: the call event is then made inside Qt, and nothing of ours
    // crosses the threads through it.
    QMetaObject::invokeMethod(this, "drain", Qt::QueuedConnection);
}

void RKMainThreadQueue::postAndWait(const std::function<void()>& fn)
{
    if (QThread::currentThread() == thread()) {
        fn();
        return;
    }
    std::mutex mutex;
    std::condition_variable ran;
    bool done = false;
    post([&] {
        fn();
        const std::lock_guard<std::mutex> lock(mutex);
        done = true;
        ran.notify_one();
    });
    std::unique_lock<std::mutex> lock(mutex);
    ran.wait(lock, [&] { return done; });
}

void RKMainThreadQueue::drain()
{
    // One piece per wake-up, the next wake-up posted before it runs: a piece
    // that opens a modal loop does not hold up the rest, which keep their
    // order.
    std::function<void()> fn;
    bool more = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_pending.empty()) {
            m_wakeUpPosted = false;
            return;
        }
        fn = std::move(m_pending.front());
        m_pending.pop_front();
        more = !m_pending.empty();
        m_wakeUpPosted = more;
    }
    if (more) {
        QMetaObject::invokeMethod(this, "drain", Qt::QueuedConnection);
    }
    fn();
}
