#include "Client/Channel.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <poll.h>
#include <sys/socket.h>
#include <system_error>

namespace Ravik::Wire
{

namespace
{

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// Whoever takes nothing for so long is given up.
constexpr milliseconds longest_stall = std::chrono::seconds(60);
constexpr std::size_t head_size = 5;
/// So much is read at once.
constexpr std::size_t portion = 65'536;

[[noreturn]] void lose(int error)
{
    throw LinkLost(std::generic_category().message(error));
}

std::string head_of(MessageKind kind, std::size_t length)
{
    std::string head(1, static_cast<char>(kind));
    for (unsigned shift = 0; shift < 32; shift += 8)
    {
        head.push_back(static_cast<char>(static_cast<unsigned char>(length >> shift)));
    }
    return head;
}

std::size_t length_in(std::string_view head)
{
    std::size_t length = 0;
    for (std::size_t position = head_size - 1; position > 0; --position)
    {
        length = length << 8U | static_cast<unsigned char>(head[position]);
    }
    return length;
}

} // namespace

void Channel::send(MessageKind kind, std::string_view content)
{
    if (content.size() > longest_message)
    {
        throw BrokenMessage("a message is too long");
    }
    write(m_unsent, true);
    m_unsent.clear();
    write(head_of(kind, content.size()), true);
    write(content, true);
}

void Channel::offer(MessageKind kind, std::string_view content)
{
    try
    {
        m_unsent.erase(0, write(m_unsent, false));
        if (m_unsent.empty())
        {
            auto message = head_of(kind, content.size()).append(content);
            auto const taken = write(message, false);
            // What was begun has to be ended; what was not may be left out.
            m_unsent = taken == 0 ? std::string() : message.erase(0, taken);
        }
    }
    catch (LinkLost const&)
    {
        // It shows where something has to be sent.
    }
}

std::size_t Channel::write(std::string_view bytes, bool waits)
{
    std::size_t done = 0;
    while (done < bytes.size())
    {
        auto const taken =
            ::send(m_socket.number(), bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (taken >= 0)
        {
            done += static_cast<std::size_t>(taken);
        }
        else if (errno == EAGAIN && !waits)
        {
            break;
        }
        else if (errno == EAGAIN && !wait_for(POLLOUT, longest_stall))
        {
            throw LinkLost("the other side takes nothing");
        }
        else if (errno != EAGAIN && errno != EINTR)
        {
            lose(errno);
        }
    }
    return done;
}

bool Channel::wait_for(short events, milliseconds patience) const
{
    pollfd polled{.fd = m_socket.number(), .events = events, .revents = 0};
    auto const ready = ::poll(&polled, 1, static_cast<int>(patience.count()));
    if (ready < 0 && errno != EINTR)
    {
        lose(errno);
    }
    return ready > 0;
}

std::optional<Message> Channel::receive(milliseconds patience, std::size_t longest)
{
    auto const end = steady_clock::now() + patience;
    for (;;)
    {
        if (auto message = next_received(longest))
        {
            return message;
        }
        auto const left = std::chrono::ceil<milliseconds>(end - steady_clock::now());
        if (wait_for(POLLIN, std::max(left, milliseconds(0))))
        {
            read_some();
        }
        else if (left.count() <= 0)
        {
            return std::nullopt;
        }
    }
}

Message Channel::receive()
{
    for (;;)
    {
        if (auto message = receive(std::chrono::hours(1)))
        {
            return std::move(*message);
        }
    }
}

std::optional<Message> Channel::next_received(std::size_t longest)
{
    if (m_received.size() < head_size)
    {
        return std::nullopt;
    }
    auto const kind = static_cast<MessageKind>(m_received.front());
    auto const length = length_in(m_received);
    if (kind < MessageKind::hello || kind > MessageKind::failure || length > std::min(longest, longest_message))
    {
        throw BrokenMessage("this is no message of the protocol");
    }
    if (m_received.size() - head_size < length)
    {
        return std::nullopt;
    }
    Message message{.kind = kind, .content = m_received.substr(head_size, length)};
    m_received.erase(0, head_size + length);
    if (m_received.empty())
    {
        // The memory of a long one.
        m_received.shrink_to_fit();
    }
    return message;
}

void Channel::read_some()
{
    std::array<char, portion> buffer;
    auto const count = ::recv(m_socket.number(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (count == 0)
    {
        throw LinkLost("the connection was closed");
    }
    if (count > 0)
    {
        m_received.append(buffer.data(), static_cast<std::size_t>(count));
    }
    else if (errno != EAGAIN && errno != EINTR)
    {
        lose(errno);
    }
}

} // namespace Ravik::Wire
