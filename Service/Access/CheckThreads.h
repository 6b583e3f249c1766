#pragma once

#include "Mutex.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <thread>
#include <vector>

namespace Ravik::Service
{

/// Runs checks of passwords, which cost much time and memory: two at once, while 20 wait. Thread-safe.
class CheckThreads
{
public:
    CheckThreads();
    CheckThreads(CheckThreads const&) = delete;
    CheckThreads& operator=(CheckThreads const&) = delete;
    /// Waits for those that run and drops those that wait. Not to be called by a check.
    ~CheckThreads();

    /// Has the check, which must not throw, run on another thread. Returns false where too many wait.
    [[nodiscard]] bool add(std::function<void()> check);

private:
    void work();
    /// The next check; none at the end.
    std::function<void()> next();

    RavikSrv::Mutex m_mutex;
    std::condition_variable_any m_changed;
    std::deque<std::function<void()>> m_waiting RAVIK_GUARDED_BY(m_mutex);
    /// Those that wait and those that run.
    std::size_t m_unfinished RAVIK_GUARDED_BY(m_mutex) = 0;
    bool m_stopping RAVIK_GUARDED_BY(m_mutex) = false;
    std::vector<std::thread> m_threads;
};

} // namespace Ravik::Service
