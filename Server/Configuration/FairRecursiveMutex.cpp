#include "Configuration/FairRecursiveMutex.h"

namespace Ravik
{

void FairRecursiveMutex::lock()
{
    auto const thread = std::this_thread::get_id();
    std::unique_lock lock(m_mutex);
    if (m_holder != thread && m_holder != std::thread::id())
    {
        Waiter waiter{.thread = thread, .turn = {}};
        m_waiting.push_back(&waiter);
        waiter.turn.wait(lock, [&] { return m_holder == thread; });
    }
    m_holder = thread;
    ++m_depth;
}

void FairRecursiveMutex::unlock()
{
    std::lock_guard const lock(m_mutex);
    if (--m_depth != 0)
    {
        return;
    }
    m_holder = {};
    if (!m_waiting.empty())
    {
        m_holder = m_waiting.front()->thread;
        // While the mutex is held: with it gone the waiter, and what it waits on, may be, too.
        m_waiting.front()->turn.notify_one();
        m_waiting.pop_front();
    }
}

} // namespace Ravik
