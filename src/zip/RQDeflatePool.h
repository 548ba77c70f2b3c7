#pragma once

#include "zip/ZipDeflater.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

// A piece of deflate work: run once, by a helper thread or by the thread
// that needs its result first, whichever comes to it first.
class RQDeflateJob
{
public:
    virtual ~RQDeflateJob() = default;

    // Takes the job; false when somebody already has it.
    bool claim() { return !m_claimed.exchange(true); }
    bool isDone() const { return m_done.load(std::memory_order_acquire); }

protected:
    friend class RQDeflatePool;
    // deflater and input belong to the running thread and are kept for its
    // next job.
    virtual void run(ZipDeflater& deflater, std::vector<char>& input) = 0;

private:
    std::atomic<bool> m_claimed { false };
    std::atomic<bool> m_done { false };
};

// Deflate on every core: QThread::idealThreadCount() threads in all, one of
// them the writer, which runs the job it waits for itself when no helper has
// started it, and helps with queued jobs while it waits. With one core there
// are no helpers and every job runs on the writer when it is needed.
class RQDeflatePool
{
public:
    RQDeflatePool();
    // Lets running jobs end; queued ones are dropped.
    ~RQDeflatePool();

    RQDeflatePool(const RQDeflatePool&) = delete;
    RQDeflatePool& operator=(const RQDeflatePool&) = delete;

    // Threads that deflate at once, the writer included (at least 1).
    int threadCount() const { return m_threadCount; }

    // Queues the job for a helper (jobs start in the order posted).
    void post(std::shared_ptr<RQDeflateJob> job);
    // Returns when the job has run, running it here if nobody has taken it.
    void complete(const std::shared_ptr<RQDeflateJob>& job);

private:
    void loop();
    static void execute(RQDeflateJob& job);

    int m_threadCount = 1;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<std::shared_ptr<RQDeflateJob>> m_jobs;
    bool m_stopping = false;
    std::vector<std::thread> m_helpers;
};
