#include "Api/Lanes.h"

#include <utility>

namespace Ravik::Service
{

struct Lanes::Lane
{
    LaneSize size;
    std::condition_variable changed;
    std::deque<std::function<void()>> waiting;
    std::size_t running = 0;
    std::vector<std::thread> threads;
};

Lanes::Lanes() = default;

Lanes::~Lanes()
{
    finish();
}

bool Lanes::post(std::string const& name, LaneSize size, std::function<void()> work)
{
    std::unique_lock const lock(m_mutex);
    if (m_ending)
    {
        return false;
    }
    auto& entry = m_lanes[name];
    if (!entry)
    {
        entry = std::make_unique<Lane>();
        entry->size = size;
    }
    auto& lane = *entry;
    if (lane.waiting.size() >= lane.size.waiting)
    {
        return false;
    }
    lane.waiting.push_back(std::move(work));
    auto const is_short_of_threads = lane.running + lane.waiting.size() > lane.threads.size();
    if (is_short_of_threads && lane.threads.size() < lane.size.threads)
    {
        lane.threads.emplace_back([this, &lane] { this->work(lane); });
    }
    lane.changed.notify_one();
    return true;
}

void Lanes::work(Lane& lane)
{
    std::unique_lock lock(m_mutex);
    while (true)
    {
        lane.changed.wait(lock, [&] { return m_ending || !lane.waiting.empty(); });
        if (lane.waiting.empty())
        {
            return;
        }
        {
            auto const work = std::move(lane.waiting.front());
            lane.waiting.pop_front();
            ++lane.running;
            lock.unlock();
            work();
            // The work is destroyed before the lock is taken again: it may hold the last of anything.
        }
        lock.lock();
        --lane.running;
    }
}

void Lanes::finish()
{
    std::vector<std::thread> threads;
    {
        std::unique_lock const lock(m_mutex);
        m_ending = true;
        for (auto& [name, lane] : m_lanes)
        {
            lane->changed.notify_all();
            std::move(lane->threads.begin(), lane->threads.end(), std::back_inserter(threads));
            lane->threads.clear();
        }
    }
    for (auto& thread : threads)
    {
        thread.join();
    }
}

std::map<std::string, std::size_t> Lanes::busy() const
{
    std::unique_lock const lock(m_mutex);
    std::map<std::string, std::size_t> counts;
    for (auto const& [name, lane] : m_lanes)
    {
        counts[name] = lane->running + lane->waiting.size();
    }
    return counts;
}

} // namespace Ravik::Service
