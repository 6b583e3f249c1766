#pragma once

#include "Mutex.h"

#include "RavikSrvExtApi.h"

#include <cstdint>
#include <map>

namespace Ravik::Wire
{

/// The requests that callers of the service have begun. A request is used by one call at a time. Thread-safe.
class OpenRequests
{
public:
    void add(RavikSrv::Session request);
    void remove(RavikSrv::Session request);

    /// Takes the request for a call. Returns false where nobody has begun it or another call uses it.
    [[nodiscard]] bool take(RavikSrv::Session request);
    void give_back(RavikSrv::Session request);

private:
    RavikSrv::Mutex m_mutex;
    /// Whether each is used.
    std::map<std::uint64_t, bool> m_requests RAVIK_GUARDED_BY(m_mutex);
};

} // namespace Ravik::Wire
