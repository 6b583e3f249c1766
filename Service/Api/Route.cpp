#include "Api/Route.h"

#include "Api/problem.h"
#include "Api/resources.h"

#include "Json/Json.h"

#include <boost/algorithm/string/join.hpp>

#include <algorithm>

namespace Ravik::Service
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

constexpr std::string_view id_component = "{id}";

/// The path without the API's root; nothing for one outside of it. What watches the service from outside knows the
/// usual places beside the API, too.
std::string_view below_root(std::string_view path)
{
    if (path.starts_with(api_root))
    {
        return path.substr(api_root.size());
    }
    return path == "/healthz" || path == "/readyz" || path == "/metrics" ? path : std::string_view();
}

/// Whether the path fits the pattern, and what stands for "{id}".
bool fits(std::string_view pattern, std::string_view path, std::string& id)
{
    auto const place = pattern.find(id_component);
    if (place == std::string_view::npos)
    {
        return pattern == path;
    }
    auto const before = pattern.substr(0, place);
    auto const behind = pattern.substr(place + id_component.size());
    if (path.size() <= before.size() + behind.size() || !path.starts_with(before) || !path.ends_with(behind))
    {
        return false;
    }
    auto const component = path.substr(before.size(), path.size() - before.size() - behind.size());
    if (component.find('/') != std::string_view::npos)
    {
        return false;
    }
    id = component;
    return true;
}

Problem bad(std::string detail)
{
    return {.status = 400, .code = "INVALID_PARAMETER", .detail = std::move(detail)};
}

/// The query's parameter, none where it is not given.
std::string const* find(RequestHead const& head, std::string_view name)
{
    std::string const* found = nullptr;
    for (auto const& [key, value] : head.query)
    {
        if (key == name)
        {
            if (found != nullptr)
            {
                throw bad("the parameter '" + std::string(name) + "' stands twice");
            }
            found = &value;
        }
    }
    return found;
}

} // namespace

std::string Call::required(std::string_view name) const
{
    auto const* const value = find(head, name);
    if (value == nullptr || value->empty())
    {
        throw bad("the parameter '" + std::string(name) + "' is missing: ?" + std::string(name) + "=…");
    }
    return *value;
}

std::string Call::parameter(std::string_view name) const
{
    auto const* const value = find(head, name);
    return value == nullptr ? std::string() : *value;
}

bool Call::flag(std::string_view name) const
{
    auto const value = parameter(name);
    if (!value.empty() && value != "true" && value != "false")
    {
        throw bad("the parameter '" + std::string(name) + "' is true or false, not '" + value + "'");
    }
    return value == "true";
}

Value Call::object() const
{
    try
    {
        auto value = body.empty() ? Value(ValueType::Map) : Json::parse(body);
        if (value.type() == ValueType::Map)
        {
            return value;
        }
        throw Problem{.status = 422, .code = "TYPE_MISMATCH", .detail = "the body has to be an object"};
    }
    catch (Json::ParseError const& error)
    {
        throw syntax_problem(error);
    }
}

Value Call::object(std::initializer_list<char const*> members) const
{
    auto value = object();
    for (auto member = value.begin(); member != value.end(); ++member)
    {
        std::string const name = member.name();
        if (std::find(members.begin(), members.end(), name) == members.end())
        {
            throw Problem{.status = 422,
                          .code = "UNEXPECTED_FIELD",
                          .detail = "the body has no member '" + name + "' here",
                          .errors = {{'/' + name, "not a member of this request"}}};
        }
    }
    return value;
}

std::string Call::field(std::string_view name) const
{
    if (head.count(name) > 1)
    {
        throw bad("the header has " + std::string(name) + " more than once");
    }
    return std::string(head.field(name).value_or(""));
}

bool is_stream(Route const& route) noexcept
{
    return route.path == "/events";
}

bool is_page(Route const& route) noexcept
{
    return route.path.empty();
}

char const* content_type_of(BodyKind kind) noexcept
{
    switch (kind)
    {
    case BodyKind::None:
        return "empty";
    case BodyKind::Json:
    case BodyKind::OptionalJson:
        return "application/json";
    case BodyKind::Patch:
        return "application/merge-patch+json";
    case BodyKind::Import:
        return "application/json or text/csv";
    }
    return "";
}

Match find_route(std::string_view method, std::string_view path)
{
    Match match;
    auto const wanted = below_root(path);
    if (wanted.empty())
    {
        return match;
    }
    for (auto const& route : all_routes())
    {
        if (route.method == method && fits(route.path, wanted, match.id))
        {
            match.route = &route;
            return match;
        }
    }
    for (auto const& route : all_routes())
    {
        if (std::string id; fits(route.path, wanted, id))
        {
            match.allowed += (match.allowed.empty() ? "" : ", ") + std::string(route.method);
            match.allowed += route.method == "GET" ? ", HEAD" : "";
        }
    }
    match.allowed += match.allowed.empty() ? "" : ", OPTIONS";
    return match;
}

Match find_page(std::string_view method)
{
    static Route const page{
        "GET", "", Anybody(), BodyKind::None, Runs::AtOnce, &get_page_file, "The page for browsers"};
    return method == page.method ? Match{.route = &page} : Match{.allowed = "GET, HEAD, OPTIONS"};
}

Match find_service()
{
    std::vector<std::string> methods{"OPTIONS", "HEAD"};
    for (auto const& route : all_routes())
    {
        if (std::find(methods.begin(), methods.end(), route.method) == methods.end())
        {
            methods.emplace_back(route.method);
        }
    }
    return {.route = nullptr, .allowed = boost::algorithm::join(methods, ", "), .id = {}};
}

} // namespace Ravik::Service
