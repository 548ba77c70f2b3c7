#include "zip/RQDeflatePool.h"

#include <QThread>

namespace {

// What a thread keeps from one job to the next: compressor states and an
// input buffer whose pages are already touched.
struct ThreadState {
    ZipDeflater deflater;
    std::vector<char> input;
};

ThreadState& threadState()
{
    thread_local ThreadState state;
    return state;
}

} // namespace

RQDeflatePool::RQDeflatePool()
    : m_threadCount(qMax(1, QThread::idealThreadCount()))
{
}

RQDeflatePool::~RQDeflatePool()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
        m_jobs.clear();
    }
    m_wake.notify_all();
    for (std::thread& helper : m_helpers) {
        helper.join();
    }
}

void RQDeflatePool::execute(RQDeflateJob& job)
{
    ThreadState& state = threadState();
    job.run(state.deflater, state.input);
    job.m_done.store(true, std::memory_order_release);
    job.m_done.notify_all();
}

void RQDeflatePool::post(std::shared_ptr<RQDeflateJob> job)
{
    if (m_threadCount < 2) {
        return;
    }
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_jobs.push_back(std::move(job));
        // Started on first use: most archivers never write a file.
        if (m_helpers.empty()) {
            for (int i = 1; i < m_threadCount; ++i) {
                m_helpers.emplace_back([this] { loop(); });
            }
        }
    }
    m_wake.notify_one();
}

void RQDeflatePool::complete(const std::shared_ptr<RQDeflateJob>& job)
{
    if (job->claim()) {
        execute(*job);
        return;
    }
    // A helper has it: do queued work meanwhile rather than wait idle.
    while (!job->isDone()) {
        std::shared_ptr<RQDeflateJob> other;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (!m_jobs.empty()) {
                other = std::move(m_jobs.front());
                m_jobs.pop_front();
            }
        }
        if (!other) {
            job->m_done.wait(false, std::memory_order_acquire);
        } else if (other->claim()) {
            execute(*other);
        }
    }
}

void RQDeflatePool::loop()
{
    for (;;) {
        std::shared_ptr<RQDeflateJob> job;
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_wake.wait(lock, [this] { return m_stopping || !m_jobs.empty(); });
            if (m_stopping) {
                return;
            }
            job = std::move(m_jobs.front());
            m_jobs.pop_front();
        }
        if (job->claim()) {
            execute(*job);
        }
    }
}
