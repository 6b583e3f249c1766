#include "Access/Attempts.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <string_view>

namespace Ravik::Service
{

namespace
{

constexpr unsigned free_attempts = 5;
constexpr std::chrono::seconds quiet{60};
constexpr std::chrono::seconds longest_delay{60};

/// After so many wrong ones.
std::chrono::seconds delay(unsigned count)
{
    constexpr unsigned steps = 6; // the next would be beyond the longest
    auto const step = count < free_attempts ? 0 : count - free_attempts;
    return count < free_attempts ? std::chrono::seconds{0}
                                 : std::min(std::chrono::seconds{1U << std::min(step, steps)}, longest_delay);
}

} // namespace

std::chrono::seconds Attempts::wait(std::string const& key, Time now) const
{
    auto const found = m_by_key.find(key);
    return found == m_by_key.end() || found->second->next <= now
               ? std::chrono::seconds{0}
               : std::chrono::ceil<std::chrono::seconds>(found->second->next - now);
}

void Attempts::wrong(std::string const& key, Time now)
{
    forget_old(now);
    Record record{.key = key};
    if (auto const found = m_by_key.find(key); found != m_by_key.end())
    {
        record.count = now < found->second->next + quiet ? found->second->count : 0;
        erase(found->second);
    }
    else if (m_by_key.size() >= m_most)
    {
        erase(m_records.begin());
    }
    ++record.count;
    record.last = now;
    record.next = now + delay(record.count);
    m_records.push_back(std::move(record));
    m_by_key.emplace(key, std::prev(m_records.end()));
}

void Attempts::right(std::string const& key)
{
    if (auto const found = m_by_key.find(key); found != m_by_key.end())
    {
        erase(found->second);
    }
}

void Attempts::forget_old(Time now)
{
    while (!m_records.empty() && m_records.front().last + longest_delay + quiet <= now)
    {
        erase(m_records.begin());
    }
}

void Attempts::erase(Records::iterator record)
{
    m_by_key.erase(record->key);
    m_records.erase(record);
}

std::string attempts_key_of_address(std::string const& address)
{
    constexpr std::size_t network = 8;
    constexpr std::string_view mapped("\0\0\0\0\0\0\0\0\0\0\xFF\xFF", 12);
    std::array<char, sizeof(in6_addr)> bytes{};
    if (::inet_pton(AF_INET6, address.c_str(), bytes.data()) != 1)
    {
        return address;
    }
    std::string const all(bytes.begin(), bytes.end());
    if (!all.starts_with(mapped))
    {
        return all.substr(0, network);
    }
    std::array<char, INET_ADDRSTRLEN> text{};
    return ::inet_ntop(AF_INET, bytes.data() + mapped.size(), text.data(), text.size());
}

} // namespace Ravik::Service
