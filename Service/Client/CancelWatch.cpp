#include "Client/CancelWatch.h"

#include "boundary_guard.h"

#include <array>
#include <cerrno>
#include <poll.h>
#include <sys/socket.h>

namespace Ravik::Wire
{

CancelWatch::CancelWatch(Channel& channel, std::atomic<bool>& mark)
    : m_channel(channel), m_mark(mark), m_thread([this] { watch(); })
{
}

CancelWatch::~CancelWatch()
{
    m_end.raise();
    m_thread.join();
}

void CancelWatch::watch() noexcept
{
    // A connection that is lost or broken shows to whoever receives next.
    RavikSrv::guarded(
        "service",
        [this]
        {
            std::array<pollfd, 2> polled{{{.fd = m_end.descriptor(), .events = POLLIN, .revents = 0},
                                          {.fd = m_channel.descriptor(), .events = POLLIN, .revents = 0}}};
            for (;;)
            {
                auto const ready = ::poll(polled.data(), polled.size(), -1);
                if (ready < 0 && errno == EINTR)
                {
                    continue;
                }
                if (ready < 0 || polled[0].revents != 0)
                {
                    return;
                }
                auto const message = m_channel.receive(std::chrono::milliseconds(0));
                if (message && message->kind != MessageKind::cancel)
                {
                    // A call in the middle of another; the connection ends with this one.
                    static_cast<void>(::shutdown(m_channel.descriptor(), SHUT_RD));
                    return;
                }
                m_mark = m_mark || message.has_value();
            }
        },
        [](char const* /*text*/) {});
}

} // namespace Ravik::Wire
