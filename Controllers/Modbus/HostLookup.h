#pragma once

#include "Deadline.h"

#include <future>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <netdb.h>

namespace Modbus
{

struct AddressListDeleter
{
    void operator()(addrinfo* list) const noexcept { freeaddrinfo(list); }
};
using AddressList = std::unique_ptr<addrinfo, AddressListDeleter>;

/// Finds the TCP addresses of one host without ever waiting longer than it is told to, which the usual lookup of names
/// does not promise. IP addresses need no lookup. Not thread-safe.
class HostLookup
{
public:
    HostLookup(std::string host, std::string port) : m_host(std::move(host)), m_port(std::move(port)) {}

    struct Found
    {
        /// At least one address, or none with an error.
        AddressList addresses;
        /// A code for `gai_strerror`.
        int error = 0;
    };

    /// The addresses; nothing where the lookup did not end by `deadline`. It goes on then, also when this object is
    /// gone, and the next call waits for the same one. One that failed meanwhile is made again.
    std::optional<Found> find(Deadline deadline);

private:
    std::string m_host;
    std::string m_port;
    std::future<Found> m_under_way;
};

} // namespace Modbus
