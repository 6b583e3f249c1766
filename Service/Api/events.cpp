#include "Api/events.h"

#include "Api/problem.h"

#include "algorithm_helper.h"
#include "Json/Json.h"

#include <utility>

namespace Ravik::Service
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

constexpr unsigned policy_violation = 1008;
/// More symbols than any page shows.
constexpr std::size_t most_symbols = 10'000;

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
            take(Json::parse(text));
        }
        catch (Json::ParseError const& error)
        {
            refuse(std::string("a message has to be JSON: ") + error.what());
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
    void take(Value const& message)
    {
        auto const& symbols = message["symbols"];
        if (message.type() != ValueType::Map || (symbols.isset() && symbols.type() != ValueType::Vector))
        {
            refuse("a message has to be {\"csrf\": …, \"symbols\": [NAME…]}");
            return;
        }
        if (!is_proven(message["csrf"]))
        {
            refuse("the first message has to carry the session's csrf");
            return;
        }
        watch(symbols);
    }

    void refuse(std::string const& reason) { m_stream->close(policy_violation, reason); }

    /// A program's token is proof by itself; browsers send a cookie for whoever asks.
    bool is_proven(Value const& csrf)
    {
        if (!m_is_proven && m_caller.token.empty())
        {
            auto const session = m_parts.access.session(m_caller.cookie);
            m_is_proven = session && same_secret(std::string(csrf.get_text()), session->csrf);
            return m_is_proven;
        }
        return true;
    }

    void watch(Value const& symbols)
    {
        if (symbols.size() > most_symbols)
        {
            refuse("at most " + std::to_string(most_symbols) + " symbols are watched at once");
            return;
        }
        std::vector<std::string> names;
        for (auto name = symbols.begin_vector(); name != symbols.end_vector(); ++name)
        {
            names.push_back(RavikSrv::Algorithm::to_string(*name));
        }
        m_parts.watch.watch(this, std::move(names));
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
