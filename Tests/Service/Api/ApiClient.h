#pragma once

#include "Service/Support/HttpClient.h"

#include "Support/api_types.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Ravik::Test
{

/// The body of an answer; null where it is no JSON.
Value json(Answer const& answer);
/// The problem's "code", or what else stands at the top of the body under the name; empty without it.
std::string text_in(Answer const& answer, char const* name = "code");

/// Whether the value is none that stands for a missing one.
bool is_there(Value const& value);

/// A client of the API on one connection. It expects that a route succeeds only with the statuses that the description
/// of the API names.
class ApiClient
{
public:
    /// `identity` are the lines of the header that tell who asks, each with its end.
    explicit ApiClient(std::string address, std::string identity = "");

    /// The target is that below the root of the API, or the whole where it begins with "/api" or is "*". `more` are
    /// further lines; a "Host" or "Content-Type" among them takes the place of the right one.
    Answer send(std::string const& method, std::string const& target, std::string const& body = "",
                std::string const& more = "");
    Answer get(std::string const& target, std::string const& more = "") { return send("GET", target, "", more); }
    /// The head alone, which announces so many bytes of body.
    Answer announce(std::string const& method, std::string const& target, std::size_t length,
                    std::string const& more = "");

    /// The entry's current tag as a condition.
    std::string if_match(std::string const& target);
    /// The body of a GET.
    Value read(std::string const& target) { return json(get(target)); }

    std::string const& address() const { return m_address; }
    std::string const& identity() const { return m_identity; }

private:
    Answer exchange(std::string const& method, std::string const& target, std::string const& request);
    std::string head(std::string const& method, std::string const& target, std::size_t length,
                     std::string const& more) const;

    std::string m_address;
    std::string m_identity;
    std::unique_ptr<HttpClient> m_connection;
};

/// A client of the stream of events.
class EventStream
{
public:
    explicit EventStream(std::string const& address, std::string const& identity);

    unsigned status() const { return m_status; }
    void say(std::string const& message) { m_connection.send(frame(Frame::text, message)); }
    void watch(std::vector<std::string> const& symbols);
    /// The next message; null where the stream has ended.
    Value next();
    /// The next that fits, what comes before is passed over; null where none comes.
    Value find(std::function<bool(Value const&)> const& fits);
    /// The status that the stream is closed with, 0 where it is not.
    unsigned closed();

private:
    HttpClient m_connection;
    unsigned m_status;
    unsigned m_close_code = 0;
};

} // namespace Ravik::Test
