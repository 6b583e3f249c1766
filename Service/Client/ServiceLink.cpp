#include "Client/ServiceLink.h"

#include "Client/Decoder.h"
#include "Client/project_socket.h"
#include "Client/protocol.h"

#include "Configuration/ProjectError.h"

#include <optional>
#include <utility>

namespace Ravik::Wire
{

namespace
{

/// A service that is alive says hello at once; one that is stopped by its terminal, say, never does.
constexpr std::chrono::milliseconds hello_patience = std::chrono::seconds(10);
/// So often it is looked whether the caller wants the call to end.
constexpr std::chrono::milliseconds stop_pace{50};

std::string place_of(std::filesystem::path const& directory)
{
    return (directory / socket_name).lexically_normal().string() + ": ";
}

/// The first message, nothing from a service that is ending.
std::optional<Message> hello_of(Channel& channel, std::string const& place)
{
    try
    {
        auto message = channel.receive(hello_patience);
        if (!message)
        {
            throw ProjectError(place + "the service does not answer (pid " +
                               std::to_string(peer_of(channel.descriptor()).process) + ")");
        }
        if (message->kind == MessageKind::refusal)
        {
            throw ProjectInUse(place + message->content);
        }
        return message;
    }
    catch (LinkLost const&)
    {
        return std::nullopt;
    }
}

[[noreturn]] void refuse_version(std::string const& place, std::string const& theirs)
{
    throw ProjectError(place + "the service is " + (theirs.empty() ? "of another version" : "ravik " + theirs) +
                       ", this program is ravik " + own_versions().program +
                       " with another protocol or version; restart the service");
}

/// What the service has to say, once it is known to be of the same version; nothing where it is ending.
std::optional<Welcome> greet(Channel& channel, std::string const& place)
{
    ByteWriter own;
    Encoder(own).write(own_versions());
    channel.offer(MessageKind::hello, own.bytes());
    std::string theirs;
    try
    {
        auto const hello = hello_of(channel, place);
        if (!hello)
        {
            return std::nullopt;
        }
        ByteReader reader(hello->content);
        Decoder decoder(reader);
        auto const versions = decoder.read<Versions>();
        theirs = versions.program;
        if (hello->kind == MessageKind::hello && versions == own_versions())
        {
            return decoder.read<Welcome>();
        }
    }
    catch (BrokenMessage const&)
    {
        // Some later version.
    }
    refuse_version(place, theirs);
}

} // namespace

std::unique_ptr<ServiceLink> ServiceLink::open(std::filesystem::path const& directory)
{
    std::unique_ptr<ServiceLink> link(new ServiceLink(directory));
    auto channel = link->connect(link->m_warnings);
    if (channel == nullptr)
    {
        return nullptr;
    }
    RavikSrv::Lock const lock(link->m_mutex);
    link->m_idle.push_back(std::move(channel));
    return link;
}

std::unique_ptr<Channel> ServiceLink::connect(std::vector<std::string>& warnings) const
{
    auto socket = connect_to_service(m_directory);
    if (!socket.is_open())
    {
        return nullptr;
    }
    auto channel = std::make_unique<Channel>(std::move(socket));
    auto welcome = greet(*channel, place_of(m_directory));
    if (!welcome)
    {
        return nullptr;
    }
    warnings = std::move(welcome->warnings);
    return channel;
}

std::unique_ptr<Channel> ServiceLink::take_channel()
{
    {
        RavikSrv::Lock const lock(m_mutex);
        if (!m_idle.empty())
        {
            auto channel = std::move(m_idle.back());
            m_idle.pop_back();
            return channel;
        }
    }
    try
    {
        std::vector<std::string> known;
        if (auto channel = connect(known))
        {
            return channel;
        }
    }
    catch (ProjectError const& error)
    {
        throw CallFailed(RavikSrv::ErrorValue::NETWORK, error.what());
    }
    throw CallFailed(RavikSrv::ErrorValue::NETWORK, place_of(m_directory) + "the service has ended");
}

namespace
{

/// Sends the call, after which nobody can say any more that nothing has happened.
void begin(Channel& channel, std::string_view message)
{
    try
    {
        channel.send(MessageKind::call, message);
    }
    catch (LinkLost const& error)
    {
        throw CallFailed(RavikSrv::ErrorValue::NETWORK,
                         std::string("the service has ended, and nothing was asked of it: ") + error.what());
    }
    catch (BrokenMessage const& error)
    {
        throw CallFailed(RavikSrv::ErrorValue::REQUEST_TOO_LARGE, error.what());
    }
}

/// The next message; meanwhile the service is told, once, where the caller wants the call to end.
Message next_message(Channel& channel, StopMark stop, bool& is_cancelled)
{
    while (stop != nullptr && !is_cancelled)
    {
        if (auto message = channel.receive(stop_pace))
        {
            return std::move(*message);
        }
        if (*stop)
        {
            channel.send(MessageKind::cancel, {});
            is_cancelled = true;
        }
    }
    return channel.receive();
}

void call_back(CallerSide const& caller, std::string_view message)
{
    ByteReader reader(message);
    auto const number = reader.number();
    if (number >= caller.callbacks.size())
    {
        throw BrokenMessage("there is no such callback");
    }
    caller.callbacks[static_cast<std::size_t>(number)](reader);
}

/// Does what the service asks until it has the outcome.
std::string outcome_of(Channel& channel, CallerSide const& caller, ServiceLink::OnData const& on_data)
{
    auto is_cancelled = false;
    for (;;)
    {
        auto message = next_message(channel, caller.stop, is_cancelled);
        if (message.kind == MessageKind::outcome)
        {
            return std::move(message.content);
        }
        if (message.kind == MessageKind::failure)
        {
            throw CallFailed(RavikSrv::ErrorValue::UNEXPECTED, message.content);
        }
        if (message.kind == MessageKind::call_back)
        {
            call_back(caller, message.content);
        }
        else if (message.kind == MessageKind::data && on_data)
        {
            on_data(message.content);
        }
        else
        {
            throw BrokenMessage("the service sent what nobody asked for");
        }
    }
}

[[noreturn]] void tell_unknown_outcome(std::string const& why)
{
    throw CallFailed(RavikSrv::ErrorValue::NETWORK,
                     "the connection to the service was lost (" + why +
                         "), so it is not known whether this was carried out; 'ravik history' tells");
}

} // namespace

std::string ServiceLink::call(std::string_view message, CallerSide const& caller, OnData const& on_data)
{
    auto channel = take_channel();
    begin(*channel, message);
    try
    {
        auto outcome = outcome_of(*channel, caller, on_data);
        RavikSrv::Lock const lock(m_mutex);
        m_idle.push_back(std::move(channel));
        return outcome;
    }
    catch (LinkLost const& error)
    {
        tell_unknown_outcome(error.what());
    }
    catch (BrokenMessage const& error)
    {
        tell_unknown_outcome(error.what());
    }
}

} // namespace Ravik::Wire
