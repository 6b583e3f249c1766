#pragma once

#include "Mutex.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <thread>

namespace Ravik
{

/// A mutex that threads get in the order in which they ask for it; the thread that holds it may take it again. The
/// system's own let a thread that lets go and asks again pass all those that wait.
class FairRecursiveMutex
{
public:
    FairRecursiveMutex() = default;
    FairRecursiveMutex(FairRecursiveMutex const&) = delete;
    FairRecursiveMutex& operator=(FairRecursiveMutex const&) = delete;
    ~FairRecursiveMutex() = default;

    void lock();
    void unlock();

private:
    struct Waiter
    {
        std::thread::id thread;
        std::condition_variable turn;
    };

    std::mutex m_mutex;
    std::deque<Waiter*> m_waiting;
    /// None where nobody has it. It is handed on to the first that waits, so nobody gets in between.
    std::thread::id m_holder;
    std::size_t m_depth = 0;
};

using TurnMutex = RavikSrv::AnnotatedMutex<FairRecursiveMutex>;

} // namespace Ravik
