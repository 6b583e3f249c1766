#pragma once

#include "Mutex.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace Ravik::Service
{

/// How much a lane does at once, and how much may wait for it.
struct LaneSize
{
    std::size_t threads = 1;
    std::size_t waiting = 64;
};

/// Work off the thread of input and output, in lanes that do not hold up one another: what waits for a dead device
/// waits in the lane of that device. Threads are started as they are needed. Thread-safe.
class Lanes
{
public:
    Lanes();
    Lanes(Lanes const&) = delete;
    Lanes& operator=(Lanes const&) = delete;
    /// Does what has been begun and what waits, then ends.
    ~Lanes();

    /// Has the work done in the lane, made with this size where it is new. The work must not throw. Returns false, and
    /// does nothing, where the lane is full or ending.
    [[nodiscard]] bool post(std::string const& lane, LaneSize size, std::function<void()> work);

    /// Takes nothing new, does what waits, and returns when all is done.
    void finish();

    /// What runs and waits in each lane, for the metrics.
    std::map<std::string, std::size_t> busy() const;

private:
    struct Lane;

    void work(Lane& lane);

    mutable std::mutex m_mutex;
    std::map<std::string, std::unique_ptr<Lane>> m_lanes;
    bool m_ending = false;
};

} // namespace Ravik::Service
