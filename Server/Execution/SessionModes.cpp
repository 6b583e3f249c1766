#include "Execution/SessionModes.h"

#include <utility>

namespace Ravik
{

SessionModes::Scope::Scope(SessionModes& modes, RavikSrv::Session session, SessionMode mode)
    : m_modes(modes), m_session(session)
{
    RavikSrv::Lock const lock(m_modes.m_mutex);
    m_modes.m_modes.insert_or_assign(m_session.id(), std::move(mode));
    ++m_modes.m_count;
}

SessionModes::Scope::~Scope()
{
    RavikSrv::Lock const lock(m_modes.m_mutex);
    m_modes.m_modes.erase(m_session.id());
    --m_modes.m_count;
}

std::optional<SessionMode> SessionModes::of(RavikSrv::Session session) const
{
    if (m_count == 0)
    {
        return {};
    }
    RavikSrv::Lock const lock(m_mutex);
    auto const found = m_modes.find(session.id());
    return found == m_modes.end() ? std::nullopt : std::optional(found->second);
}

} // namespace Ravik
