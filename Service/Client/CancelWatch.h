#pragma once

#include "Client/Channel.h"
#include "Client/Event.h"

#include <atomic>
#include <thread>

namespace Ravik::Wire
{

/// As long as it lives, the caller's wish to have a call end early sets the mark. Who just goes away wishes nothing.
class CancelWatch
{
public:
    /// Nobody else receives from the channel meanwhile.
    CancelWatch(Channel& channel, std::atomic<bool>& mark);
    CancelWatch(CancelWatch const&) = delete;
    CancelWatch& operator=(CancelWatch const&) = delete;
    ~CancelWatch();

private:
    void watch() noexcept;

    Channel& m_channel;
    std::atomic<bool>& m_mark;
    /// Raised once nothing is to be watched any more.
    Event m_end;
    std::thread m_thread;
};

} // namespace Ravik::Wire
