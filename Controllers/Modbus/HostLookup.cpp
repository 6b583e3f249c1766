#include "HostLookup.h"

#include <thread>

namespace Modbus
{

namespace
{

HostLookup::Found look_up(std::string const& host, std::string const& port, int flags)
{
    addrinfo hints{};
    hints.ai_flags = flags | AI_NUMERICSERV;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_protocol = IPPROTO_TCP;
    addrinfo* found = nullptr;
    auto const error = getaddrinfo(host.c_str(), port.c_str(), &hints, &found);
    return {AddressList(error == 0 ? found : nullptr), error};
}

} // namespace

std::optional<HostLookup::Found> HostLookup::find(Deadline deadline)
{
    if (auto numeric = look_up(m_host, m_port, AI_NUMERICHOST); numeric.error == 0)
    {
        return numeric;
    }
    if (m_under_way.valid() && m_under_way.wait_for(std::chrono::seconds(0)) == std::future_status::ready)
    {
        if (auto earlier = m_under_way.get(); earlier.error == 0)
        {
            return earlier;
        }
    }
    if (!m_under_way.valid())
    {
        // A thread that nobody waits for: a lookup can take far longer than whoever needs it has time.
        std::packaged_task<Found()> lookup([host = m_host, port = m_port] { return look_up(host, port, 0); });
        m_under_way = lookup.get_future();
        std::thread(std::move(lookup)).detach();
    }
    if (m_under_way.wait_until(deadline) != std::future_status::ready)
    {
        return {};
    }
    return m_under_way.get();
}

} // namespace Modbus
