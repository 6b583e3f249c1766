#pragma once

#include "Access/Role.h"
#include "Http/Message.h"

#include "RavikSrvExtApi.h"

#include <chrono>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace Ravik::Service
{

struct Parts;

/// Who asks.
struct Caller
{
    /// "user:anna", "token:panel", "account:root"; empty for nobody.
    std::string who{};
    Role role = Role::Viewer;
    /// The session's cookie, empty where there is none.
    std::string cookie{};
    /// How long the browser is to keep the cookie from now on; nothing for as long as it runs.
    std::optional<std::chrono::seconds> cookie_lifetime{};
    /// The bearer token, empty where there is none.
    std::string token{};
    /// Whether the request has a cookie alone, which browsers send for every page of this machine.
    bool is_unproven = false;
};

/// A request on its way through the API.
struct Call
{
    Parts& parts;
    RequestHead head;
    Caller caller;
    /// What stands in the path for "{id}".
    std::string id{};
    std::string body{};
    bool is_table = false;
    /// Kept as long as the request is; see `Api`.
    std::shared_ptr<void const> place{};

    /// The query's parameter; throws the `Problem` of one that is missing or stands twice.
    std::string required(std::string_view name) const;
    /// Empty where it is not given; throws where it stands twice.
    std::string parameter(std::string_view name) const;
    /// A parameter that is "true" or "false" (the default).
    bool flag(std::string_view name) const;
    /// The body as a JSON object.
    RavikSrv::Value object() const;
    /// The same with these members alone: one that nobody reads is a mistake, such as a dry run that is misspelt.
    RavikSrv::Value object(std::initializer_list<char const*> members) const;
    /// A field of the header, empty where it is not given.
    std::string field(std::string_view name) const;
};

/// Which of the API's bodies a route takes.
enum class BodyKind
{
    None,
    /// application/json; an empty body is an empty object where `Optional`.
    Json,
    OptionalJson,
    /// application/merge-patch+json
    Patch,
    /// application/json or text/csv, up to the limit of imports.
    Import,
};

/// Where the work of a route is done.
enum class Runs
{
    /// At once, on the thread of input and output: it looks something up in memory.
    AtOnce,
    /// What takes time but no turn and no device.
    Aside,
    /// What takes the turn of edits.
    Store,
    /// Large bodies, one at a time.
    Import,
};

/// The right of a route that anybody may use.
struct Anybody
{
};
/// The right of a route that needs to be signed in, in whatever role.
struct SignedIn
{
};
using Need = std::variant<Anybody, SignedIn, Right>;

/// A query's parameter, or a field of the header, that a route takes.
struct Parameter
{
    std::string_view name;
    bool required = false;
    std::string_view description;
    bool in_header = false;
};

using Serve = Response (*)(Call& call);
/// Takes the call over, and sees to the reply.
using ServeLater = void (*)(Call call, Reply reply);

/// A route: what the dispatch, the check of rights and the description of the API know of it.
struct Route
{
    std::string_view method;
    /// Below "/api/v1"; "{id}" stands for one component.
    std::string_view path;
    Need need;
    BodyKind body = BodyKind::None;
    Runs runs = Runs::AtOnce;
    std::variant<Serve, ServeLater> serve;
    /// One line.
    std::string_view summary;
    std::vector<Parameter> parameters{};
    /// Statuses of success.
    std::vector<unsigned> statuses{200};
};

/// Whether the route is that of the stream of events.
bool is_stream(Route const& route) noexcept;
/// Whether the route is that of the page's files, which have no parameters: what stands in an address is the page's.
bool is_page(Route const& route) noexcept;
/// The types of a body, for a message.
char const* content_type_of(BodyKind kind) noexcept;

inline constexpr std::string_view api_root = "/api/v1";

/// All routes.
std::span<Route const> all_routes();

/// What a path leads to.
struct Match
{
    /// The route of the method, none where the path has other methods only.
    Route const* route = nullptr;
    /// Where there is no route, the path's methods, for "Allow"; empty where nothing stands at the path.
    std::string allowed{};
    std::string id{};
};

Match find_route(std::string_view method, std::string_view path);
/// The same for a path at which a file of the page stands. The page is no part of the API.
Match find_page(std::string_view method);
/// The same for the service as a whole, of which there is nothing but its methods.
Match find_service();

} // namespace Ravik::Service
