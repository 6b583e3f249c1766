#pragma once

#include "Api/Parts.h"
#include "Api/Route.h"
#include "Http/Message.h"

#include <memory>
#include <string>
#include <vector>

namespace Ravik::Service
{

/// What the API has to know of the service around it.
struct ApiSettings
{
    /// The host names that requests may be for besides those of loopback, in lower case.
    std::vector<std::string> names{};
    std::size_t body = std::size_t{1} << 20U;
    std::size_t import = std::size_t{64} << 20U;
};

/// Judges requests and has them served: is it for this host, is there such a route, who asks, may he, does the body
/// fit. In this order, so that nobody learns more than he may.
class Api : public Handler
{
public:
    /// The parts outlive it.
    Api(Parts& parts, ApiSettings settings) : m_parts(parts), m_settings(std::move(settings)) {}

    Admission admit(RequestHead const& request) override;
    Response failure(unsigned status, std::string const& detail) override;

    /// Ready for requests until it is told otherwise; then `readyz` says so.
    void set_ready(bool ready) noexcept { m_parts.metrics.ready = ready; }

private:
    void check_host(RequestHead const& request) const;
    static void check_origin(RequestHead const& request, Route const& route);
    Caller identify(RequestHead const& request) const;
    static void check_right(Caller const& caller, Route const& route);
    std::size_t check_body(RequestHead const& request, Route const& route) const;
    /// `who` is who asks, once that is known.
    Admission admitted(RequestHead const& request, std::string& who);
    /// Of a request that the caller may make: judges its body and its parameters.
    Admission let_in(RequestHead const& request, Route const& route, Caller caller, std::string id);

    Parts& m_parts;
    ApiSettings m_settings;
    /// Held by every import from its admission on: their bodies are large, also those that wait for their turn.
    std::shared_ptr<char const> m_imports = std::make_shared<char const>('\0');
};

/// The name of the cookie that a session goes by on this port.
std::string cookie_name(std::uint16_t port);

} // namespace Ravik::Service
