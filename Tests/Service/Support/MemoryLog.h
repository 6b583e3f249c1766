#pragma once

#include "Http/Log.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace Ravik::Test
{

/// What the thread of the server tells the test, and the test waits for.
template <typename Item> class Mailbox
{
public:
    void put(Item item)
    {
        std::lock_guard const lock(m_mutex);
        m_items.push_back(std::move(item));
        m_has_come.notify_all();
    }

    /// The oldest that was not taken yet; none where it does not come for long.
    std::optional<Item> take()
    {
        std::unique_lock lock(m_mutex);
        if (!m_has_come.wait_for(lock, std::chrono::seconds(10), [&] { return m_taken < m_items.size(); }))
        {
            return std::nullopt;
        }
        return m_items[m_taken++];
    }

    /// The first that fits, old or new; none where it does not come for long.
    template <typename Fits> std::optional<Item> find(Fits const& fits)
    {
        std::unique_lock lock(m_mutex);
        std::size_t place = 0;
        auto const is_there = [&]
        {
            while (place < m_items.size() && !fits(m_items[place]))
            {
                ++place;
            }
            return place < m_items.size();
        };
        return m_has_come.wait_for(lock, std::chrono::seconds(10), is_there) ? std::optional(m_items[place])
                                                                             : std::nullopt;
    }

    std::vector<Item> all() const
    {
        std::lock_guard const lock(m_mutex);
        return m_items;
    }

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_has_come;
    std::vector<Item> m_items;
    std::size_t m_taken = 0;
};

class MemoryLog : public Service::Log
{
public:
    explicit MemoryLog(Form form = Form::text) : Log(form) {}

    Mailbox<std::string> lines;

protected:
    void write(std::string const& line) override { lines.put(line); }
};

} // namespace Ravik::Test
