#include "service_manager.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace Ravik::CommandLine
{

void tell_service_manager(std::string const& state) noexcept
{
    auto const* const name = std::getenv("NOTIFY_SOCKET"); // NOLINT(concurrency-mt-unsafe): nobody sets variables
    sockaddr_un address = {};
    auto const length = name == nullptr ? 0 : std::strlen(name);
    if (length == 0 || length >= sizeof(address.sun_path))
    {
        return;
    }
    address.sun_family = AF_UNIX;
    std::copy_n(name, length, std::begin(address.sun_path));
    if (name[0] == '@')
    {
        address.sun_path[0] = '\0';
    }
    auto const socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket < 0)
    {
        return;
    }
    // A manager that does not hear it says so itself.
    static_cast<void>(::sendto(socket, state.data(), state.size(), MSG_NOSIGNAL,
                               reinterpret_cast<sockaddr const*>(&address),
                               static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length)));
    static_cast<void>(::close(socket));
}

} // namespace Ravik::CommandLine
