#pragma once

#include "Client/Descriptor.h"

#include <filesystem>
#include <optional>
#include <string>
#include <sys/types.h>

/// The socket in a project's folder that its service listens on, however long the folder's path is.
namespace Ravik::Wire
{

constexpr char const* socket_name = "ravik.sock";

/// Who is on the other side of a connected socket, as the system knows it.
struct Peer
{
    pid_t process = 0;
    uid_t user = 0;
};

Peer peer_of(int socket);

/// A connection to the service of the project in `directory`; not open where none listens there. Throws `ProjectError`
/// where the caller may not connect, or where the one who answers is neither the owner of the folder nor root nor the
/// caller.
Descriptor connect_to_service(std::filesystem::path const& directory);

/// Listens on the socket of a project as long as it lives.
class ListeningSocket
{
public:
    /// Called by who has the project open, so that a socket that stands there is nobody's any more, and its place is
    /// taken. The owner alone may connect or, where a group is named, its members too. Throws `ProjectError`: somebody
    /// does answer there, something else has the name, there is no such group, or the system refuses.
    ListeningSocket(std::filesystem::path const& directory, std::string const& group);
    ListeningSocket(ListeningSocket const&) = delete;
    ListeningSocket& operator=(ListeningSocket const&) = delete;
    ~ListeningSocket() { remove(); }

    int descriptor() const noexcept { return m_socket.number(); }
    /// The next who connects, not open where that failed. Call it where the descriptor is ready to be read.
    Descriptor accept() const;
    /// Takes the socket's name away, so that nobody finds it any more.
    void remove() noexcept;
    /// Turns away who has connected and was not accepted.
    void close() noexcept { m_socket = Descriptor(); }

private:
    void make_room(std::string const& shown) const;
    /// Where it fails errno tells why, as the system's functions do.
    bool bind();

    Descriptor m_folder;
    Descriptor m_socket;
    /// The file that bears the name.
    ino_t m_file = 0;
};

} // namespace Ravik::Wire
