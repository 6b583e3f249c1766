#include "Access/Sessions.h"

namespace Ravik::Service
{

Sessions::Keys Sessions::add(std::string const& key, Principal principal, std::string csrf, Time now)
{
    constexpr std::size_t most = 100;
    auto& order = m_order[principal.who()];
    Keys ended;
    if (order.size() >= most)
    {
        ended.insert(order.begin()->second);
        m_records.erase(order.begin()->second);
        order.erase(order.begin());
    }
    order.emplace(++m_last, key);
    m_records.insert_or_assign(
        key,
        Record{.principal = std::move(principal), .csrf = std::move(csrf), .made = now, .used = now, .number = m_last});
    return ended;
}

Sessions::Record* Sessions::find(std::string const& key)
{
    auto const found = m_records.find(key);
    return found == m_records.end() ? nullptr : &found->second;
}

void Sessions::erase(std::string const& key)
{
    auto const found = m_records.find(key);
    if (found == m_records.end())
    {
        return;
    }
    auto const order = m_order.find(found->second.principal.who());
    order->second.erase(found->second.number);
    if (order->second.empty())
    {
        m_order.erase(order);
    }
    m_records.erase(found);
}

Sessions::Keys Sessions::erase_if(std::function<bool(Record const&)> const& has_ended)
{
    Keys ended;
    for (auto const& [key, record] : m_records)
    {
        if (has_ended(record))
        {
            ended.insert(key);
        }
    }
    for (auto const& key : ended)
    {
        erase(key);
    }
    return ended;
}

bool has_ended_by_time(Sessions::Record const& session, Sessions::Time now)
{
    constexpr std::chrono::hours longest{12};
    constexpr std::chrono::minutes longest_pause{30};
    return now >= session.made + longest || now >= session.used + longest_pause;
}

} // namespace Ravik::Service
