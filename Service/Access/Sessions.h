#pragma once

#include "Access/Principal.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace Ravik::Service
{

/// The sessions that are remembered, by the hashes of their cookies; those of tokens are not, see `token_session.h`.
/// One ends 12 hours after it was made and 30 minutes after its last request. 100 are kept for each user, the latest.
/// Not thread-safe.
class Sessions
{
public:
    using Time = std::chrono::steady_clock::time_point;
    /// Hashes of cookies.
    using Keys = std::unordered_set<std::string>;

    struct Record
    {
        Principal principal;
        std::string csrf;
        Time made;
        Time used;
        /// In the order in which they were made.
        std::uint64_t number = 0;
    };

    /// Returns the sessions that end by it.
    Keys add(std::string const& key, Principal principal, std::string csrf, Time now);
    /// Null where there is none.
    Record* find(std::string const& key);
    void erase(std::string const& key);
    /// Ends those for whom this holds, and returns them.
    Keys erase_if(std::function<bool(Record const&)> const& has_ended);

private:
    std::unordered_map<std::string, Record> m_records;
    /// By whom they are, and then in their order.
    std::map<std::string, std::map<std::uint64_t, std::string>> m_order;
    std::uint64_t m_last = 0;
};

bool has_ended_by_time(Sessions::Record const& session, Sessions::Time now);

} // namespace Ravik::Service
