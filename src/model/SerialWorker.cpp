// SerialWorker: one mutex-guarded queue drained in batches by one thread.
#include "SerialWorker.h"

#include <future>

SerialWorker::SerialWorker(std::function<void()> onIdle)
    : m_onIdle(std::move(onIdle))
    , m_thread([this] { run(); })
{}

SerialWorker::~SerialWorker()
{
    {
        std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_wake.notify_one();
    m_thread.join();
}

void SerialWorker::post(std::function<void()> task)
{
    bool wake = false;
    {
        std::lock_guard lock(m_mutex);
        m_queue.push_back(std::move(task));
        wake = m_idle;
    }
    // Waking costs a system call; skip it while the worker is still draining.
    if (wake)
        m_wake.notify_one();
}

void SerialWorker::flush()
{
    std::promise<void> done;
    std::future<void> finished = done.get_future();
    post([&done] { done.set_value(); });
    finished.wait();
}

void SerialWorker::run()
{
    std::deque<std::function<void()>> batch;
    for (;;) {
        {
            std::unique_lock lock(m_mutex);
            while (m_queue.empty() && !m_stopping) {
                m_idle = true;
                m_wake.wait(lock);
            }
            m_idle = false;
            if (m_queue.empty())
                return; // stopping, and nothing left to run
            batch.swap(m_queue);
        }
        for (std::function<void()> &task : batch)
            task();
        batch.clear();
        if (m_onIdle)
            m_onIdle();
    }
}
