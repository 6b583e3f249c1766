#pragma once

#include <mutex>

// What clang's -Wthread-safety checks: which mutex guards a member, and which a function takes or needs. Other
// compilers see nothing of it.
#if defined(__clang__)
#define RAVIK_THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define RAVIK_THREAD_SAFETY(attribute)
#endif

/// The member is read and written only while the mutex is held.
#define RAVIK_GUARDED_BY(mutex) RAVIK_THREAD_SAFETY(guarded_by(mutex))
/// The function is called only while the mutex is held.
#define RAVIK_REQUIRES(mutex) RAVIK_THREAD_SAFETY(requires_capability(mutex))

namespace RavikSrv
{

/// A mutex that the annotations can name; it thinly wraps another one.
template <typename Native> class RAVIK_THREAD_SAFETY(capability("mutex")) AnnotatedMutex
{
public:
    void lock() RAVIK_THREAD_SAFETY(acquire_capability()) { m_native.lock(); }
    void unlock() RAVIK_THREAD_SAFETY(release_capability()) { m_native.unlock(); }

private:
    Native m_native;
};

using Mutex = AnnotatedMutex<std::mutex>;
/// The thread that holds it may take it again.
using RecursiveMutex = AnnotatedMutex<std::recursive_mutex>;

/// Holds a mutex as long as it lives.
template <typename Native> class RAVIK_THREAD_SAFETY(scoped_lockable) Lock
{
public:
    explicit Lock(AnnotatedMutex<Native>& mutex) RAVIK_THREAD_SAFETY(acquire_capability(mutex)) : m_mutex(mutex)
    {
        m_mutex.lock();
    }
    Lock(Lock const&) = delete;
    Lock& operator=(Lock const&) = delete;
    ~Lock() RAVIK_THREAD_SAFETY(release_capability()) { m_mutex.unlock(); }

private:
    AnnotatedMutex<Native>& m_mutex;
};

} // namespace RavikSrv
