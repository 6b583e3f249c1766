#include "FailedSessions.h"

#include <algorithm>

namespace Modbus
{

namespace
{

/// More than there are requests at work at any one time.
constexpr std::size_t most_failures = 64;

bool would_fail_again(ModbusResult result)
{
    return result == ModbusResult::TIMEOUT || result == ModbusResult::CONNECTION_REFUSED ||
           result == ModbusResult::GATEWAY_TARGET_FAILED;
}

} // namespace

std::optional<Outcome> FailedSessions::find(RavikSrv::Session session) const
{
    RavikSrv::Lock const lock(m_mutex);
    auto const found = std::find_if(m_failures.begin(), m_failures.end(),
                                    [&](auto const& failure) { return failure.first == session.id(); });
    return found == m_failures.end() ? std::nullopt : std::optional(found->second);
}

void FailedSessions::note(RavikSrv::Session session, Outcome const& outcome)
{
    if (session.id() == 0 || !would_fail_again(outcome.result))
    {
        return;
    }
    RavikSrv::Lock const lock(m_mutex);
    m_failures.emplace_back(session.id(), outcome);
    if (m_failures.size() > most_failures)
    {
        m_failures.pop_front();
    }
}

} // namespace Modbus
