#pragma once

#include "modbus_result.h"

#include "Mutex.h"
#include "RavikSrvExtApi.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <utility>

namespace Modbus
{

/// The sessions in which the device could not be reached, each with the outcome that is left for whatever else they
/// ask of it. Thread-safe.
///
/// Nobody tells when a session has ended, so only the newest failures are kept. One that is forgotten while its
/// session goes on costs a further attempt. The session 0, which is nobody's, is never known.
class FailedSessions
{
public:
    std::optional<Outcome> find(RavikSrv::Session session) const;
    /// Keeps the outcome where it shows that a further attempt would wait or fail in the same way. A connection that
    /// broke does not: it may be opened anew.
    void note(RavikSrv::Session session, Outcome const& outcome);

private:
    mutable RavikSrv::Mutex m_mutex;
    /// The oldest stands first.
    std::deque<std::pair<std::uint64_t, Outcome>> m_failures RAVIK_GUARDED_BY(m_mutex);
};

} // namespace Modbus
