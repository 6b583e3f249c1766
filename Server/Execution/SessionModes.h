#pragma once

#include "Mutex.h"
#include "RavikSrvExtApi.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>

namespace Ravik
{

/// How the host serves the extensions in one session.
struct SessionMode
{
    /// Whether what they have executed is checked and noted, but reaches nobody: no controller, no variable of the
    /// server and no configuration.
    bool plans = false;
    /// Once it is set, nothing more is executed. May be null; outlives the mode.
    std::atomic<bool> const* stop = nullptr;
    /// Told how many more commands were executed; may be empty. An extension may be in the midst of its work: it calls
    /// none.
    std::function<void(std::size_t commands)> executed{};
};

/// The sessions that are served otherwise than usual. Thread-safe; it costs others nothing but to look whether there is
/// any.
class SessionModes
{
public:
    /// Sets the mode of a session as long as it lives. A session has one at a time.
    class Scope
    {
    public:
        Scope(SessionModes& modes, RavikSrv::Session session, SessionMode mode);
        Scope(Scope const&) = delete;
        Scope& operator=(Scope const&) = delete;
        ~Scope();

    private:
        SessionModes& m_modes;
        RavikSrv::Session m_session;
    };

    /// The mode of the session, none for most.
    std::optional<SessionMode> of(RavikSrv::Session session) const;

private:
    std::atomic<int> m_count = 0;
    mutable RavikSrv::Mutex m_mutex;
    std::map<std::uint64_t, SessionMode> m_modes RAVIK_GUARDED_BY(m_mutex);
};

} // namespace Ravik
