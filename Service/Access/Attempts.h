#pragma once

#include <chrono>
#include <list>
#include <string>
#include <unordered_map>

namespace Ravik::Service
{

/// Counts wrong attempts by what they have in common, a user or an address: after five within a minute nothing is
/// looked at for a second, and for twice as long after each that follows, up to a minute. A minute after that without a
/// wrong one everything is forgotten. Remembers a bounded number, the latest. Not thread-safe.
class Attempts
{
public:
    using Time = std::chrono::steady_clock::time_point;

    explicit Attempts(std::size_t most) : m_most(most) {}

    /// How long nothing is looked at yet; 0 where something is.
    std::chrono::seconds wait(std::string const& key, Time now) const;
    void wrong(std::string const& key, Time now);
    void right(std::string const& key);
    void forget_old(Time now);

    std::size_t size() const noexcept { return m_by_key.size(); }

private:
    struct Record
    {
        std::string key;
        unsigned count = 0;
        /// The last wrong one, and from when on the next is looked at.
        Time last = {};
        Time next = {};
    };
    /// In the order of their last wrong ones.
    using Records = std::list<Record>;

    void erase(Records::iterator record);

    std::size_t m_most;
    Records m_records;
    std::unordered_map<std::string, Records::iterator> m_by_key;
};

/// What an address counts as: itself, but all that one host may choose among is one (64 bits of IPv6).
std::string attempts_key_of_address(std::string const& address);

} // namespace Ravik::Service
