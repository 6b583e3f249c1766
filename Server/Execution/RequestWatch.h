#pragma once

#include "RavikSrvExtApi.h"

#include <atomic>
#include <cstddef>
#include <functional>

namespace Ravik
{

/// Watches over the execution of one group, through the extensions that it comes to.
class RequestWatch final : public RavikSrv::IRavikSrvRequestWatcher
{
public:
    /// What is told of a command that is not executed any more.
    static constexpr char const* stopped_text = "not sent, since the request was interrupted";

    /// Once `stop` is set, nothing more is executed; it may be null and outlives the watch. `executed` is told how many
    /// of the `commands` were executed since it was told last; it may be empty.
    RequestWatch(std::atomic<bool> const* stop, std::function<void(std::size_t commands)> executed,
                 std::size_t commands);

    void note_done(std::size_t count) noexcept override;
    bool is_stopped() const noexcept override { return m_stop != nullptr && m_stop->load(); }

    /// The group was executed: tells of the commands that no extension told of, unless it was stopped.
    void end() noexcept;

private:
    std::atomic<bool> const* m_stop;
    std::function<void(std::size_t commands)> m_executed;
    /// Those that nobody told of yet.
    std::size_t m_left;
};

} // namespace Ravik
