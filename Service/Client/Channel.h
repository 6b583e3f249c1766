#pragma once

#include "Client/BrokenMessage.h"
#include "Client/Descriptor.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Ravik::Wire
{

/// The other side is gone, or takes nothing any more.
class LinkLost : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// What a message is, by its first byte; see protocol.h.
enum class MessageKind : std::uint8_t
{
    hello = 1,
    /// Instead of the service's hello: why nobody is served, for a person.
    refusal,
    call,
    /// The caller wants the running call to end early.
    cancel,
    call_back,
    /// A piece of a file.
    data,
    outcome,
    /// Instead of an outcome: the call could not be carried out; a text for a person.
    failure,
};

struct Message
{
    MessageKind kind = MessageKind::hello;
    std::string content{};
};

/// Messages over a stream socket: each is its kind, its length (four bytes, the lowest first) and its content. Memory
/// for one grows with what has come of it.
///
/// One thread may send while another receives.
class Channel
{
public:
    /// Longer messages are neither sent nor received.
    static constexpr std::size_t longest_message = std::size_t{1} << 30U;

    explicit Channel(Descriptor socket) noexcept : m_socket(std::move(socket)) {}

    int descriptor() const noexcept { return m_socket.number(); }

    /// Sends the message, waiting for the other side to take it. Throws `LinkLost`, also where that takes nothing for
    /// long, and `BrokenMessage` where it is too long.
    void send(MessageKind kind, std::string_view content);
    /// The same, if that is possible at once; otherwise nothing is sent, and nothing said about it.
    void offer(MessageKind kind, std::string_view content);

    /// The next message, or nothing where none has come in full within that time. Throws `LinkLost` at the end, and
    /// `BrokenMessage` for what is none or longer than `longest`.
    std::optional<Message> receive(std::chrono::milliseconds patience, std::size_t longest = longest_message);
    Message receive();

private:
    std::optional<Message> next_received(std::size_t longest);
    bool wait_for(short events, std::chrono::milliseconds patience) const;
    void read_some();
    /// Returns how much the socket has taken, which is everything where it `waits`.
    std::size_t write(std::string_view bytes, bool waits);

    Descriptor m_socket;
    std::string m_received;
    /// The rest of a message that was taken in part.
    std::string m_unsent;
};

} // namespace Ravik::Wire
