#include "Api/Api.h"

#include "Api/events.h"
#include "Api/problem.h"
#include "Http/forwarding.h"
#include "Http/text.h"

#include <algorithm>
#include <charconv>
#include <exception>

namespace Ravik::Service
{

namespace
{

/// A host without its port: "[::1]:8420" gives "::1".
std::string without_port(std::string_view host)
{
    auto name = host.starts_with('[') ? host.substr(1, host.find(']') - 1) : host.substr(0, host.find(':'));
    return lower_case(name);
}

/// "127.0.0.1.somewhere" is a name like any other, which somebody else's name server may lead here.
bool is_loopback(std::string const& name)
{
    return name == "localhost" || name == "::1" || (name.starts_with("127.") && !plain_address(name).empty());
}

bool writes(Route const& route)
{
    return route.method != "GET";
}

/// The value of a cookie, empty where there is none or more than one of the name.
std::string cookie_of(RequestHead const& request)
{
    auto const wanted = cookie_name(request.port);
    std::vector<std::string> found;
    for (auto const& [name, value] : request.fields)
    {
        if (name != "cookie")
        {
            continue;
        }
        std::size_t begin = 0;
        while (begin < value.size())
        {
            auto const end = std::min(value.find(';', begin), value.size());
            auto const cookie = trimmed(std::string_view(value).substr(begin, end - begin));
            if (cookie.starts_with(wanted + '='))
            {
                found.emplace_back(cookie.substr(wanted.size() + 1));
            }
            begin = end + 1;
        }
    }
    return found.size() == 1 ? found.front() : std::string();
}

/// The media type of a body, in lower case and without parameters.
std::string media_type(RequestHead const& request)
{
    auto const field = request.field("content-type").value_or("");
    return lower_case(trimmed(field.substr(0, field.find(';'))));
}

bool has_body(RequestHead const& request)
{
    auto const length = request.field("content-length");
    return request.count("transfer-encoding") > 0 || (length && *length != "0");
}

bool is_taken(BodyKind kind, std::string const& type)
{
    switch (kind)
    {
    case BodyKind::None:
        return false;
    case BodyKind::Json:
    case BodyKind::OptionalJson:
        return type == "application/json";
    case BodyKind::Patch:
        return type == "application/merge-patch+json";
    case BodyKind::Import:
        return type == "application/json" || type == "text/csv";
    }
    return false;
}

/// What the listener's failures are called.
char const* failure_code(unsigned status)
{
    switch (status)
    {
    case 408:
        return "TIMEOUT";
    case 413:
        return "REQUEST_TOO_LARGE";
    case 417:
        return "EXPECTATION_FAILED";
    case 426:
        return "UPGRADE_REQUIRED";
    case 431:
        return "HEADER_TOO_LARGE";
    case 500:
        return "UNEXPECTED";
    default:
        return "BAD_REQUEST";
    }
}

[[noreturn]] void fail(unsigned status, std::string code, std::string detail, Fields fields = {})
{
    throw Problem{.status = status, .code = std::move(code), .detail = std::move(detail), .fields = std::move(fields)};
}

/// What runs, and what waits with its body.
constexpr long most_imports = 4;

struct Place
{
    char const* lane;
    LaneSize size;
};

Place place_of(Runs runs)
{
    switch (runs)
    {
    case Runs::Import:
        return {"imports", {1, 4}};
    case Runs::Store:
        return {"store", {1, 512}};
    case Runs::AtOnce:
    case Runs::Aside:
        break;
    }
    return {"aside", {2, 512}};
}

/// A parameter that nobody reads is a mistake: one that is misspelt would change what comes back.
void check_parameters(Route const& route, RequestHead const& head)
{
    for (auto const& [name, value] : head.query)
    {
        auto const is_known = std::any_of(route.parameters.begin(), route.parameters.end(),
                                          [&name = name](Parameter const& parameter)
                                          { return !parameter.in_header && parameter.name == name; });
        if (!is_known)
        {
            fail(400, "INVALID_PARAMETER", "'" + name + "' is no parameter of " + std::string(route.path));
        }
    }
}

void serve_now_or_later(Route const& route, Call call, Reply const& reply)
{
    if (auto const* const serve = std::get_if<Serve>(&route.serve))
    {
        reply(answered([&] { return (*serve)(call); }));
        return;
    }
    try
    {
        std::get<ServeLater>(route.serve)(std::move(call), reply);
    }
    catch (...)
    {
        // What could not be taken over is answered here.
        reply(answered([]() -> Response { throw; }));
    }
}

void run(Route const& route, Call call, Reply reply)
{
    if (route.runs == Runs::AtOnce)
    {
        serve_now_or_later(route, std::move(call), reply);
        return;
    }
    auto const [lane, size] = place_of(route.runs);
    auto& lanes = call.parts.lanes;
    auto const busy = reply;
    auto const shared = std::make_shared<Call>(std::move(call));
    auto const is_taken = lanes.post(lane, size,
                                     [&route, shared, reply = std::move(reply)]
                                     { serve_now_or_later(route, std::move(*shared), reply); });
    if (!is_taken)
    {
        busy(answer_of(too_busy("too much is waiting for its turn")));
    }
}

} // namespace

std::string cookie_name(std::uint16_t port)
{
    return "__Host-ravik-" + std::to_string(port);
}

Admission Api::admit(RequestHead const& request)
{
    std::string who;
    try
    {
        return admitted(request, who);
    }
    catch (Problem const& problem)
    {
        m_parts.metrics.count(problem.status);
        Admission refused;
        refused.who = who;
        refused.refusal = answer_of(problem);
        return refused;
    }
}

Admission Api::admitted(RequestHead const& request, std::string& who)
{
    check_host(request);
    auto const head = request.method == "HEAD";
    auto const method = head ? std::string_view("GET") : request.method;
    auto const match = request.path == "*"              ? find_service()
                       : m_parts.page.has(request.path) ? find_page(method)
                                                        : find_route(method, request.path);
    if (match.route == nullptr && match.allowed.empty())
    {
        fail(404, "NOT_FOUND",
             "nothing stands at " + request.path + "; " + std::string(api_root) + "/openapi.json lists what there is");
    }
    if (request.method == "OPTIONS")
    {
        Admission options;
        options.refusal = Response{.status = 204, .content_type = {}, .fields = {{"Allow", match.allowed}}, .body = {}};
        return options;
    }
    if (match.route == nullptr)
    {
        fail(405, "METHOD_NOT_ALLOWED", request.path + " takes " + match.allowed, {{"Allow", match.allowed}});
    }
    auto const& route = *match.route;
    auto caller = identify(request);
    auto const anybody = std::holds_alternative<Anybody>(route.need);
    if (caller.who.empty() && !anybody)
    {
        fail(401, "UNAUTHORIZED", "sign in: POST " + std::string(api_root) + "/session, or send a token as a bearer",
             {{"WWW-Authenticate", "Bearer"}});
    }
    // A cookie alone proves nobody, and takes up nobody's connections.
    who = caller.is_unproven ? std::string() : caller.who;
    check_origin(request, route);
    check_right(caller, route);

    if (is_stream(route) && request.count("upgrade") > 0)
    {
        Admission stream;
        stream.who = caller.who;
        stream.stream = open_events(m_parts, std::move(caller));
        return stream;
    }
    return let_in(request, route, std::move(caller), match.id);
}

Admission Api::let_in(RequestHead const& request, Route const& route, Caller caller, std::string id)
{
    Admission admission;
    admission.who = caller.who;
    admission.body_limit = check_body(request, route);
    if (!is_page(route))
    {
        check_parameters(route, request);
    }
    if (route.runs == Runs::Import && m_imports.use_count() > most_imports)
    {
        throw too_busy("imports are taken one at a time, and enough of them wait");
    }
    Call call{.parts = m_parts,
              .head = request,
              .caller = std::move(caller),
              .id = std::move(id),
              .body = {},
              .is_table = media_type(request) == "text/csv",
              .place = route.runs == Runs::Import ? m_imports : nullptr};
    admission.run = [this, &route, shared = std::make_shared<Call>(std::move(call))](std::string body, Reply reply)
    {
        shared->body = std::move(body);
        auto& metrics = m_parts.metrics;
        run(route, std::move(*shared),
            [&metrics, reply = std::move(reply)](Response response)
            {
                metrics.count(response.status);
                reply(std::move(response));
            });
    };
    return admission;
}

Response Api::failure(unsigned status, std::string const& detail)
{
    m_parts.metrics.count(status);
    return answer_of(status == 503 ? too_busy(detail)
                                   : Problem{.status = status, .code = failure_code(status), .detail = detail});
}

void Api::check_host(RequestHead const& request) const
{
    auto const host = without_port(request.field("host").value_or(""));
    if (!is_loopback(host) &&
        std::find(m_settings.names.begin(), m_settings.names.end(), host) == m_settings.names.end())
    {
        fail(421, "MISDIRECTED",
             "this service does not go by the name '" + host +
                 "'; \"service\": {\"names\": […]} in ravik.json lists "
                 "the names it goes by");
    }
}

/// A page of another origin must not make a browser write here, sign in or listen.
void Api::check_origin(RequestHead const& request, Route const& route)
{
    if (!writes(route) && !is_stream(route))
    {
        return;
    }
    if (request.count("origin") == 0)
    {
        return;
    }
    auto const origin = request.field("origin").value_or("null");
    auto const own = (request.secure ? "https://" : "http://") + std::string(request.field("host").value_or(""));
    if (!equals_ignoring_case(origin, own))
    {
        fail(403, "FOREIGN_ORIGIN", "the request comes from a page of '" + std::string(origin) + "', not of " + own);
    }
}

Caller Api::identify(RequestHead const& request) const
{
    if (request.count("authorization") > 0)
    {
        auto const value = request.field("authorization").value_or("");
        constexpr std::string_view scheme = "bearer ";
        auto const token = value.size() > scheme.size() && equals_ignoring_case(value.substr(0, scheme.size()), scheme)
                               ? std::string(value.substr(scheme.size()))
                               : std::string();
        auto const identity = token.empty() ? std::nullopt : m_parts.access.bearer(token);
        return identity ? Caller{.who = identity->who, .role = identity->role, .cookie = {}, .token = token} : Caller();
    }
    auto const cookie = cookie_of(request);
    auto const csrf = std::string(request.field("x-csrf-token").value_or(""));
    auto const visitor = cookie.empty() ? std::nullopt : m_parts.access.visitor(cookie, csrf);
    if (!visitor)
    {
        return {};
    }
    return {.who = visitor->identity.who,
            .role = visitor->identity.role,
            .cookie = cookie,
            .cookie_lifetime = visitor->lifetime,
            .token = {},
            .is_unproven = !visitor->is_proven};
}

void Api::check_right(Caller const& caller, Route const& route)
{
    auto const may_prove_later = std::holds_alternative<Anybody>(route.need) || is_stream(route);
    if (caller.is_unproven && !may_prove_later)
    {
        fail(403, "CSRF", "a request with a cookie carries its session's X-CSRF-Token, as POST /session returns it");
    }
    auto const* const right = std::get_if<Right>(&route.need);
    if (right != nullptr && !may(caller.role, *right))
    {
        fail(403, "FORBIDDEN",
             std::string("this is not for the role ") + name_of(caller.role) + "; somebody with a higher one may");
    }
}

std::size_t Api::check_body(RequestHead const& request, Route const& route) const
{
    auto const limit = route.body == BodyKind::None     ? 0
                       : route.body == BodyKind::Import ? m_settings.import
                                                        : m_settings.body;
    if (!has_body(request))
    {
        return limit;
    }
    auto const type = media_type(request);
    if (route.body != BodyKind::None && !is_taken(route.body, type))
    {
        fail(415, "UNSUPPORTED_MEDIA_TYPE",
             std::string("the body has to be ") + content_type_of(route.body) + ", not '" + type + "'");
    }
    std::uint64_t length = 0;
    auto const text = request.field("content-length").value_or("");
    std::from_chars(text.data(), text.data() + text.size(), length);
    if (length > limit)
    {
        fail(413, "REQUEST_TOO_LARGE",
             limit == 0 ? "this request takes no body"
                        : "a body of " + std::to_string(limit) + " bytes is the longest");
    }
    return limit;
}

} // namespace Ravik::Service
