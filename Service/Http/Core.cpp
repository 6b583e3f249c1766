#include "Http/Core.h"

#include "Http/answer_head.h"
#include "Http/forwarding.h"

#include <algorithm>

namespace Ravik::Service
{
namespace
{

/// Blanks would let a path forge what follows it in the line.
void append_without_blanks(std::string& line, std::string_view text)
{
    auto const begin = line.size();
    line += text;
    std::replace(line.begin() + static_cast<std::ptrdiff_t>(begin), line.end(), ' ', '+');
}

std::vector<std::string> plain_addresses(std::vector<std::string> addresses)
{
    for (auto& address : addresses)
    {
        auto plain = plain_address(address);
        address = plain.empty() ? address : std::move(plain);
    }
    return addresses;
}

} // namespace

Core::Core(HttpSettings settings, Handler& handler, Log& log)
    : m_settings(std::move(settings)), m_handler(handler), m_log(log),
      m_seats({.all = m_settings.limits.connections,
               .address = m_settings.limits.unknown_connections,
               .user = m_settings.limits.user_connections})
{
    m_settings.proxies = plain_addresses(std::move(m_settings.proxies));
}

bool Core::is_proxy(std::string const& address) const
{
    auto const& proxies = m_settings.proxies;
    return std::find(proxies.begin(), proxies.end(), address) != proxies.end();
}

void Core::enter(std::shared_ptr<Client> client, bool is_stream)
{
    m_clients.insert(std::move(client));
    ++(is_stream ? m_streams : m_connections);
}

void Core::leave(std::shared_ptr<Client> const& client, bool is_stream)
{
    --(is_stream ? m_streams : m_connections);
    m_clients.erase(client);
    if (m_clients.empty())
    {
        became_empty();
    }
}

std::string const& Core::date()
{
    auto const now = Clock::now();
    if (now >= m_date_ends)
    {
        m_date = http_date();
        m_date_ends = now + std::chrono::seconds(1);
    }
    return m_date;
}

Response Core::too_many_connections()
{
    auto response = m_handler.failure(503, "There are too many connections");
    if (!has_field(response.fields, "Retry-After"))
    {
        response.fields.emplace_back("Retry-After", "5");
    }
    return response;
}

void Core::log_request(RequestRecord const& record, unsigned status)
{
    auto const duration = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - record.begin);
    auto const id = std::to_string(record.id);
    auto const milliseconds = std::to_string(duration.count());
    auto const status_text = status == 0 ? std::string("-") : std::to_string(status);
    std::string line;
    line.reserve(64 + record.method.size() + record.path.size() + record.who.size() + record.address.size());
    line.append(id).append(" ").append(record.method).append(" ");
    append_without_blanks(line, record.path);
    line.append(" ").append(status_text).append(" ").append(milliseconds).append(" ms ");
    append_without_blanks(line, record.who.empty() ? std::string_view("-") : record.who);
    line.append(" ").append(record.address);
    Log::Details details;
    if (m_log.tells_details())
    {
        details = {{"id", id},
                   {"method", record.method},
                   {"path", record.path},
                   {"status", status_text},
                   {"milliseconds", milliseconds},
                   {"who", record.who},
                   {"address", record.address}};
    }
    m_log.tell("request", line, details);
}

HttpCounts Core::counts() const
{
    return {.connections = m_connections, .streams = m_streams, .requests = m_requests};
}

void Core::log_failure(std::string const& what)
{
    m_log.tell("failure", "A request failed within the service: " + what, {{"what", what}});
}

} // namespace Ravik::Service
