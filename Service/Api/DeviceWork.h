#pragma once

#include "Api/Lanes.h"
#include "Api/Route.h"

#include "Mutex.h"

#include <atomic>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Ravik::Service
{

/// Work that asks controllers. It is done in a lane for the domains that it touches, so that a dead device holds up
/// only those who ask for it; and what reads runs two at a time a user, so that nobody takes a lane for himself.
/// Thread-safe.
class DeviceWork
{
public:
    using Work = std::function<Response()>;

    /// The lanes outlive it.
    explicit DeviceWork(Lanes& lanes) : m_lanes(lanes) {}

    /// Has the caller's reading done and answered: 429 where too much of his waits, 503 where the lane is full.
    void read(std::string const& who, std::vector<std::string> const& domains, Work work, Reply reply);
    /// The same for what writes, which waits for nobody's readings.
    void write(std::vector<std::string> const& domains, Work work, Reply reply);

    /// How much of what writes was taken and has not ended.
    std::size_t writing() const noexcept { return m_writing; }

private:
    struct Job
    {
        std::string lane;
        Work work;
        Reply reply;
    };
    struct User
    {
        std::size_t running = 0;
        std::deque<Job> waiting;
    };

    void begin(std::string const& who, Job job);
    void end(std::string const& who);

    Lanes& m_lanes;
    std::atomic<std::size_t> m_writing = 0;
    RavikSrv::Mutex m_mutex;
    /// Those who have something running.
    std::map<std::string, User> m_users RAVIK_GUARDED_BY(m_mutex);
};

/// The answer of the work, whatever it throws.
Response answered(DeviceWork::Work const& work);

} // namespace Ravik::Service
