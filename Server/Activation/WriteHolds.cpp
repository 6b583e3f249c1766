#include "Activation/WriteHolds.h"

#include <array>
#include <ctime>

namespace Ravik
{

namespace
{

/// RFC 3339, in UTC.
std::string present_time()
{
    std::array<char, sizeof "2000-01-01T00:00:00Z"> text{};
    auto const now = std::time(nullptr);
    std::tm parts{};
    static_cast<void>(::gmtime_r(&now, &parts));
    auto const size = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
    return {text.data(), size};
}

} // namespace

WriteHolds::Hold::Hold(WriteHolds& holds, std::vector<Place> const& places, std::string const& writer) : m_holds(holds)
{
    auto const holder = std::make_shared<std::string const>(writer + " since " + present_time());
    RavikSrv::Lock const lock(m_holds.m_mutex);
    for (auto const& place : places)
    {
        if (auto const found = m_holds.m_held.find({place.domain, place.mapping}); found != m_holds.m_held.end())
        {
            m_refusal = place.symbol + " is being written: " + *found->second;
            return;
        }
    }
    for (auto const& place : places)
    {
        Key key(place.domain, place.mapping);
        if (m_holds.m_held.emplace(key, holder).second)
        {
            m_keys.push_back(std::move(key));
        }
    }
}

WriteHolds::Hold::~Hold()
{
    RavikSrv::Lock const lock(m_holds.m_mutex);
    for (auto const& key : m_keys)
    {
        m_holds.m_held.erase(key);
    }
}

} // namespace Ravik
