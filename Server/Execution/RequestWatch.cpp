#include "Execution/RequestWatch.h"

#include "boundary_guard.h"

#include <algorithm>
#include <utility>

namespace Ravik
{

RequestWatch::RequestWatch(std::atomic<bool> const* stop, std::function<void(std::size_t commands)> executed,
                           std::size_t commands)
    : m_stop(stop), m_executed(std::move(executed)), m_left(commands)
{
}

void RequestWatch::note_done(std::size_t count) noexcept
{
    auto const done = std::min(count, m_left);
    m_left -= done;
    if (done != 0 && m_executed)
    {
        // Who is told loses this piece of news and no more.
        RavikSrv::guarded(
            "note_done", [&] { m_executed(done); }, [](char const*) {});
    }
}

void RequestWatch::end() noexcept
{
    if (!is_stopped())
    {
        note_done(m_left);
    }
}

} // namespace Ravik
