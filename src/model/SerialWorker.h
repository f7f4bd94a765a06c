// A thread of its own that runs queued tasks one at a time, in the order they were posted.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

class SerialWorker
{
public:
    // `onIdle` runs on the worker thread after each batch of tasks it found queued: a place to
    // close files kept open across a burst of tasks.
    explicit SerialWorker(std::function<void()> onIdle = {});
    // Runs every task posted so far, then ends the thread.
    ~SerialWorker();
    SerialWorker(const SerialWorker &) = delete;
    SerialWorker &operator=(const SerialWorker &) = delete;

    // Queues `task` and returns at once; callable from any thread.
    void post(std::function<void()> task);
    // Blocks until every task posted before this call has run. Never call it from a task.
    void flush();

private:
    void run();

    const std::function<void()> m_onIdle;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<std::function<void()>> m_queue;
    bool m_idle = false;
    bool m_stopping = false;
    std::thread m_thread; // last: starts once everything above is ready
};
