#include "Client/project_socket.h"

#include "Configuration/ProjectError.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <grp.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <system_error>
#include <vector>

namespace Ravik::Wire
{

namespace
{

namespace fs = std::filesystem;

std::string words(int error)
{
    return std::generic_category().message(error);
}

std::string shown_name(fs::path const& directory)
{
    return (directory / socket_name).lexically_normal().string();
}

Descriptor open_folder(fs::path const& directory)
{
    Descriptor folder(::open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!folder.is_open())
    {
        throw ProjectError(directory.string() + ": the folder can't be opened: " + words(errno));
    }
    return folder;
}

Descriptor new_socket()
{
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!socket.is_open())
    {
        throw ProjectError("no socket can be made: " + words(errno));
    }
    return socket;
}

/// The socket's name as an address, which has room for 107 bytes: short, since it begins at the open folder.
sockaddr_un address_in(Descriptor const& folder)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    auto const path = "/proc/self/fd/" + std::to_string(folder.number()) + '/' + socket_name;
    path.copy(static_cast<char*>(address.sun_path), sizeof address.sun_path - 1);
    return address;
}

sockaddr const* generic(sockaddr_un const& address)
{
    return reinterpret_cast<sockaddr const*>(&address);
}

/// Connects and returns 0 or the number of the error.
int connect(Descriptor const& socket, Descriptor const& folder)
{
    auto const address = address_in(folder);
    int result = 0;
    do
    {
        result = ::connect(socket.number(), generic(address), sizeof address);
    } while (result != 0 && errno == EINTR);
    return result == 0 ? 0 : errno;
}

gid_t group_number(std::string const& name)
{
    std::vector<char> memory(1U << 16U);
    struct group entry = {};
    struct group* found = nullptr;
    auto const error = ::getgrnam_r(name.c_str(), &entry, memory.data(), memory.size(), &found);
    if (found == nullptr)
    {
        throw ProjectError("there is no group \"" + name + "\"" + (error == 0 ? std::string() : ": " + words(error)));
    }
    return found->gr_gid;
}

} // namespace

Peer peer_of(int socket)
{
    ucred credentials{};
    socklen_t size = sizeof credentials;
    if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0)
    {
        throw ProjectError("it can't be found out who is at the other end of a socket: " + words(errno));
    }
    return {.process = credentials.pid, .user = credentials.uid};
}

// Connecting ----------------------------------------------------------------------------------------------------------

namespace
{

void check_service(Descriptor const& folder, Descriptor const& socket, std::string const& shown)
{
    struct stat status = {};
    auto const peer = peer_of(socket.number());
    if (::fstat(folder.number(), &status) != 0 ||
        (peer.user != status.st_uid && peer.user != 0 && peer.user != ::geteuid()))
    {
        throw ProjectError(shown + ": a process of another user answers there (pid " + std::to_string(peer.process) +
                           ", uid " + std::to_string(peer.user) +
                           "), neither the owner of the project's folder nor root; nothing was asked of it");
    }
}

} // namespace

Descriptor connect_to_service(fs::path const& directory)
{
    auto const folder = open_folder(directory);
    auto socket = new_socket();
    auto const shown = shown_name(directory);
    switch (auto const error = connect(socket, folder))
    {
    case 0:
        check_service(folder, socket, shown);
        return socket;
    case ENOENT:
    case ECONNREFUSED:
        return Descriptor();
    default:
        throw ProjectError(shown + ": the service can't be reached: " + words(error));
    }
}

// Listening -----------------------------------------------------------------------------------------------------------

ListeningSocket::ListeningSocket(fs::path const& directory, std::string const& group)
    : m_folder(open_folder(directory)), m_socket(new_socket())
{
    auto const shown = shown_name(directory);
    auto const is_shared = !group.empty();
    auto const members = is_shared ? group_number(group) : gid_t{};
    make_room(shown);
    // The file gets the mode of the socket, and nobody can connect before it listens.
    constexpr mode_t own = 0600;
    constexpr mode_t own_and_group = 0660;
    constexpr int waiting = 128;
    auto const folder = m_folder.number();
    auto const is_made =
        ::fchmod(m_socket.number(), own) == 0 && bind() &&
        (!is_shared || (::fchownat(folder, socket_name, static_cast<uid_t>(-1), members, AT_SYMLINK_NOFOLLOW) == 0 &&
                        ::fchmodat(folder, socket_name, own_and_group, 0) == 0)) &&
        ::listen(m_socket.number(), waiting) == 0;
    if (!is_made)
    {
        auto const error = errno;
        remove();
        throw ProjectError(shown + ": the socket can't be made: " + words(error));
    }
}

void ListeningSocket::make_room(std::string const& shown) const
{
    struct stat status = {};
    if (::fstatat(m_folder.number(), socket_name, &status, AT_SYMLINK_NOFOLLOW) != 0)
    {
        return;
    }
    if (!S_ISSOCK(status.st_mode))
    {
        throw ProjectError(shown + " is no socket; move it away, the service needs its name");
    }
    auto const attempt = new_socket();
    if (connect(attempt, m_folder) == 0)
    {
        throw ProjectError(shown + ": another process answers there (pid " +
                           std::to_string(peer_of(attempt.number()).process) + ")");
    }
    static_cast<void>(::unlinkat(m_folder.number(), socket_name, 0));
}

bool ListeningSocket::bind()
{
    auto const address = address_in(m_folder);
    struct stat status = {};
    if (::bind(m_socket.number(), generic(address), sizeof address) != 0 ||
        ::fstatat(m_folder.number(), socket_name, &status, AT_SYMLINK_NOFOLLOW) != 0)
    {
        return false;
    }
    m_file = status.st_ino;
    return true;
}

Descriptor ListeningSocket::accept() const
{
    return Descriptor(::accept4(m_socket.number(), nullptr, nullptr, SOCK_CLOEXEC));
}

void ListeningSocket::remove() noexcept
{
    struct stat status = {};
    if (::fstatat(m_folder.number(), socket_name, &status, AT_SYMLINK_NOFOLLOW) == 0 && status.st_ino == m_file)
    {
        static_cast<void>(::unlinkat(m_folder.number(), socket_name, 0));
    }
}

} // namespace Ravik::Wire
