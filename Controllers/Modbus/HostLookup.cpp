#include "HostLookup.h"

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
    if (!m_under_way.valid())
    {
        m_under_way = std::async(std::launch::async, look_up, m_host, m_port, 0);
    }
    if (m_under_way.wait_until(deadline) != std::future_status::ready)
    {
        return {};
    }
    return m_under_way.get();
}

} // namespace Modbus
