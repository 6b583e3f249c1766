#include "ApiClient.h"

#include "Api/Route.h"
#include "Json/Json.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

namespace Ravik::Test
{

Value json(Answer const& answer)
{
    try
    {
        return Json::parse(answer.body);
    }
    catch (Json::ParseError const&)
    {
        return {};
    }
}

std::string text_in(Answer const& answer, char const* name)
{
    auto const body = json(answer);
    return std::string(body[name].get_text());
}

bool is_there(Value const& value)
{
    return value.isset();
}

namespace
{

void expect_described(std::string const& method, std::string const& target, unsigned status)
{
    auto const path = std::string(Service::api_root) + target.substr(0, target.find('?'));
    auto const* const route = Service::find_route(method == "HEAD" ? "GET" : method, path).route;
    if (route != nullptr && status < 400)
    {
        EXPECT_EQ(std::count(route->statuses.begin(), route->statuses.end(), status), 1)
            << method << ' ' << target << " answers " << status;
    }
}

} // namespace

ApiClient::ApiClient(std::string address, std::string identity)
    : m_address(std::move(address)), m_identity(std::move(identity))
{
}

Answer ApiClient::send(std::string const& method, std::string const& target, std::string const& body,
                       std::string const& more)
{
    auto const type = body.empty() || more.find("Content-Type:") != std::string::npos ? ""
                      : method == "PATCH" ? "Content-Type: application/merge-patch+json\r\n"
                                          : "Content-Type: application/json\r\n";
    auto answer = exchange(method, target, head(method, target, body.size(), type + more) + body);
    expect_described(method, target, answer.status);
    return answer;
}

Answer ApiClient::announce(std::string const& method, std::string const& target, std::size_t length,
                           std::string const& more)
{
    return exchange(method, target, head(method, target, length, more));
}

std::string ApiClient::if_match(std::string const& target)
{
    return "If-Match: " + get(target).field("etag") + "\r\n";
}

std::string ApiClient::head(std::string const& method, std::string const& target, std::size_t length,
                            std::string const& more) const
{
    auto const root = target.starts_with("/api") || target == "*" ? std::string() : std::string(Service::api_root);
    auto const host = m_address.substr(m_address.find("//") + 2, m_address.rfind('/') - m_address.find("//") - 2);
    return method + ' ' + root + target + " HTTP/1.1\r\n" +
           (more.find("Host:") == std::string::npos ? "Host: " + host + "\r\n" : "") + m_identity +
           (length == 0 ? "" : "Content-Length: " + std::to_string(length) + "\r\n") + more + "\r\n";
}

Answer ApiClient::exchange(std::string const& method, std::string const& target, std::string const& request)
{
    if (!m_connection)
    {
        m_connection = std::make_unique<HttpClient>(m_address);
    }
    m_connection->send(request);
    auto answer = m_connection->read_answer(method != "HEAD");
    if (answer.status == 0)
    {
        ADD_FAILURE() << "no answer to " << method << ' ' << target;
    }
    if (answer.status == 0 || answer.field("connection") == "close")
    {
        m_connection.reset();
    }
    return answer;
}

// The stream
// -----------------------------------------------------------------------------------------------------------

EventStream::EventStream(std::string const& address, std::string const& identity) : m_connection(address)
{
    m_connection.send(upgrade_request("/api/v1/events", "Sec-WebSocket-Version: 13\r\n" + identity));
    m_status = m_connection.read_answer().status;
}

void EventStream::watch(std::vector<std::string> const& symbols)
{
    Value names(ValueType::Vector);
    for (auto const& symbol : symbols)
    {
        names << Value(symbol.c_str());
    }
    Value message(ValueType::Map);
    message.insert("symbols", names);
    say(Json::write(message));
}

Value EventStream::next()
{
    while (true)
    {
        auto const got = read_frame(m_connection);
        switch (got.opcode)
        {
        case Frame::ping:
            m_connection.send(frame(Frame::pong, got.payload));
            break;
        case Frame::text:
            return Json::parse(got.payload);
        default:
            m_close_code = got.close_code();
            return {};
        }
    }
}

Value EventStream::find(std::function<bool(Value const&)> const& fits)
{
    auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < end)
    {
        auto message = next();
        if (!message.isset() || fits(message))
        {
            return message;
        }
    }
    return {};
}

unsigned EventStream::closed()
{
    while (m_close_code == 0 && next().isset())
    {
    }
    return m_close_code;
}

} // namespace Ravik::Test
