#include "Api/events.h"

#include "Api/problem.h"
#include "Api/stream_message.h"

#include <stdexcept>
#include <utility>

namespace Ravik::Service
{

namespace
{

constexpr unsigned policy_violation = 1008;

/// A client of the stream. Until it has shown that it is a page of ours it is sent nothing.
class EventClient : public StreamHandler, public Watch::Client
{
public:
    EventClient(Parts& parts, Caller caller) : m_parts(parts), m_caller(std::move(caller)) {}

    void opened(std::shared_ptr<Stream> stream) override
    {
        m_stream = std::move(stream);
        auto const ended = [weak = std::weak_ptr<Stream>(m_stream)]
        {
            if (auto const open = weak.lock())
            {
                open->close(policy_violation, "the session has ended");
            }
        };
        m_session = m_caller.token.empty() ? m_parts.access.watch_session(m_caller.cookie, ended)
                                           : m_parts.access.watch_token(m_caller.token, ended);
    }

    void message(std::string text) override
    {
        try
        {
            take(read_stream_message(text));
        }
        catch (std::runtime_error const& error)
        {
            refuse(error.what());
        }
    }

    void closed() override
    {
        m_parts.watch.leave(this);
        m_session.reset();
        m_stream.reset();
    }

    void send(std::shared_ptr<std::string const> message) override { m_stream->send(std::move(message)); }

private:
    void take(StreamMessage message)
    {
        if (!is_proven(message.csrf))
        {
            refuse("the first message has to carry the session's csrf");
            return;
        }
        m_parts.watch.watch(this, std::move(message.symbols));
    }

    void refuse(std::string const& reason) { m_stream->close(policy_violation, reason); }

    /// A program's token is proof by itself; browsers send a cookie for whoever asks.
    bool is_proven(std::string const& csrf)
    {
        if (!m_is_proven && m_caller.token.empty())
        {
            auto const visitor = m_parts.access.visitor(m_caller.cookie, csrf);
            m_is_proven = visitor && visitor->is_proven;
            return m_is_proven;
        }
        return true;
    }

    Parts& m_parts;
    Caller m_caller;
    std::shared_ptr<Stream> m_stream;
    std::shared_ptr<void> m_session;
    bool m_is_proven = false;
};

} // namespace

Response get_events(Call& /*call*/)
{
    throw Problem{.status = 426,
                  .code = "UPGRADE_REQUIRED",
                  .detail = "this is a WebSocket; connect with ws:// or wss://",
                  .errors = {},
                  .current = {},
                  .fields = {{"Upgrade", "websocket"}}};
}

std::shared_ptr<StreamHandler> open_events(Parts& parts, Caller caller)
{
    return std::make_shared<EventClient>(parts, std::move(caller));
}

} // namespace Ravik::Service
