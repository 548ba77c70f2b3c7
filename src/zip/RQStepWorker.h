#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

// One long-lived thread that runs posted tasks one after the other, in the
// order posted. A front end's run is a chain of steps that must never overlap;
// handing them to a live thread is much cheaper than a thread per step.
class RQStepWorker
{
public:
    RQStepWorker() = default;
    // Runs what is still queued, then ends the thread.
    ~RQStepWorker();

    RQStepWorker(const RQStepWorker&) = delete;
    RQStepWorker& operator=(const RQStepWorker&) = delete;

    // May be called from any thread, the worker's own included.
    void post(std::function<void()> task);

private:
    void loop();

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<std::function<void()>> m_tasks;
    bool m_stopping = false;
    std::thread m_thread;
};
