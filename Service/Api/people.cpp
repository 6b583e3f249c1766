#include "Api/Api.h"
#include "Api/Parts.h"
#include "Api/problem.h"
#include "Api/resources.h"
#include "Api/values.h"

#include <array>
#include <chrono>

namespace Ravik::Service
{

using RavikSrv::Value;
using RavikSrv::ValueType;

// Sessions
// -------------------------------------------------------------------------------------------------------------

namespace
{

std::string cookie_field(Call const& call, std::string const& value, std::optional<std::chrono::seconds> lifetime)
{
    return cookie_name(call.head.port) + '=' + value + "; Path=/; HttpOnly; Secure; SameSite=Strict" +
           (lifetime ? "; Max-Age=" + std::to_string(lifetime->count()) : std::string());
}

Value session_value(Call const& call, Identity const& identity, std::string const& csrf)
{
    Value value(ValueType::Map);
    value.insert("project", text_value(call.parts.project_name));
    value.insert("user", text_value(identity.who));
    value.insert("role", text_value(name_of(identity.role)));
    if (!csrf.empty())
    {
        value.insert("csrf", text_value(csrf));
    }
    return value;
}

Response sign_in_answer(Call const& call, SignIn const& sign_in)
{
    if (sign_in.outcome == SignIn::Outcome::Done && sign_in.session)
    {
        auto const& session = *sign_in.session;
        return json_answer(session_value(call, session.identity, session.csrf), 201,
                           {{"Set-Cookie", cookie_field(call, session.cookie, session.lifetime)}});
    }
    ++call.parts.metrics.sign_ins_refused;
    if (sign_in.outcome == SignIn::Outcome::TooMany)
    {
        return answer_of(
            Problem{.status = 429,
                    .code = "TOO_MANY_REQUESTS",
                    .detail = "too many attempts; try again in " + std::to_string(sign_in.wait.count()) + " seconds",
                    .errors = {},
                    .current = {},
                    .fields = {{"Retry-After", std::to_string(sign_in.wait.count())}}});
    }
    return answer_of(Problem{.status = 401, .code = "AUTH_FAILED", .detail = "the user, password or token is wrong"});
}

std::string text_in(Value const& body, char const* name)
{
    std::string text(body[name].get_text());
    if (text.empty())
    {
        throw Problem{.status = 422,
                      .code = "REQUIRED_FIELD",
                      .detail = '"' + std::string(name) + R"(" has to be a text)",
                      .errors = {{std::string("/") + name, "a text is missing"}}};
    }
    return text;
}

} // namespace

void post_session(Call call, Reply reply)
{
    auto const body = call.object({"user", "password", "token"});
    auto& access = call.parts.access;
    auto const address = call.head.address;
    if (body["token"].isset())
    {
        reply(sign_in_answer(call, access.sign_in_by_token(text_in(body, "token"), address)));
        return;
    }
    auto const user = text_in(body, "user");
    auto const password = text_in(body, "password");
    access.sign_in(user, password, address,
                   [call = std::move(call), reply = std::move(reply)](SignIn const& sign_in)
                   { reply(sign_in_answer(call, sign_in)); });
}

Response get_session(Call& call)
{
    auto const& caller = call.caller;
    // Browsers drop what is not given to them again in time.
    auto fields = caller.cookie_lifetime
                      ? Fields{{"Set-Cookie", cookie_field(call, caller.cookie, caller.cookie_lifetime)}}
                      : Fields{};
    return json_answer(session_value(call, {caller.who, caller.role}, {}), 200, std::move(fields));
}

Response delete_session(Call& call)
{
    if (call.caller.cookie.empty())
    {
        throw Problem{.status = 409,
                      .code = "NO_SESSION",
                      .detail = "a token is no session; an admin removes it with DELETE /tokens"};
    }
    call.parts.access.end_session(call.caller.cookie);
    return {.status = 204,
            .content_type = {},
            .fields = {{"Set-Cookie", cookie_field(call, "", std::chrono::seconds(0))}},
            .body = {}};
}

// Users and tokens
// -----------------------------------------------------------------------------------------------------

namespace
{

void check(AccessRefusal const& refusal)
{
    if (!refusal)
    {
        return;
    }
    using Kind = AccessRefusal::Kind;
    struct Status
    {
        Kind kind;
        unsigned status;
        char const* code;
    };
    constexpr std::array<Status, 5> statuses{{{Kind::Exists, 409, "UNIQUE"},
                                              {Kind::Unknown, 404, "ENTRY_NOT_FOUND"},
                                              {Kind::LastAdmin, 409, "LAST_ADMIN"},
                                              {Kind::Unfit, 422, "INVALID_PARAMETER"},
                                              {Kind::Storage, 507, "STORAGE"}}};
    for (auto const& each : statuses)
    {
        if (each.kind == refusal.kind)
        {
            throw Problem{.status = each.status, .code = each.code, .detail = refusal.text};
        }
    }
}

Role role_in(Value const& body)
{
    auto const text = text_in(body, "role");
    auto const role = role_of(text);
    if (!role)
    {
        throw Problem{.status = 422,
                      .code = "ENUM_VALUE_MISMATCH",
                      .detail = "a role is viewer, operator, engineer or admin, not '" + text + "'",
                      .errors = {{"/role", "no such role"}}};
    }
    return *role;
}

/// What stands in the file of users; one that can't be read is no empty list.
UserList read_list(Call const& call)
{
    try
    {
        return call.parts.access.users().read();
    }
    catch (std::exception const& error)
    {
        throw Problem{.status = 500, .code = "STORAGE_LOAD", .detail = error.what()};
    }
}

template <typename Entries, typename Describe> Response list_answer(Entries const& entries, Describe const& describe)
{
    Value items(ValueType::Vector);
    for (auto const& entry : entries)
    {
        items << describe(entry);
    }
    Value value(ValueType::Map);
    value.insert("items", items);
    return json_answer(value);
}

template <typename Entry> Value entry_value(Entry const& entry)
{
    Value value(ValueType::Map);
    value.insert("name", text_value(entry.name));
    value.insert("role", text_value(name_of(entry.role)));
    value.insert("created", text_value(entry.created));
    return value;
}

Response done()
{
    return {.status = 204, .content_type = {}, .fields = {}, .body = {}};
}

std::optional<std::chrono::days> days_in(Value const& body)
{
    auto const& value = body["expires"];
    if (!value.isset())
    {
        return std::nullopt;
    }
    constexpr int most = 36500;
    auto const days = value.get_int32();
    if (value.type() != ValueType::Int || days < 1 || days > most)
    {
        throw Problem{.status = 422,
                      .code = "RANGE_MISMATCH",
                      .detail = R"("expires" is a number of days from 1 to 36500)",
                      .errors = {{"/expires", "not a number of days"}}};
    }
    return std::chrono::days(days);
}

} // namespace

void put_password(Call call, Reply reply)
{
    auto const body = call.object({"old", "new"});
    auto const old_password = text_in(body, "old");
    auto const new_password = text_in(body, "new");
    constexpr std::string_view prefix = "user:";
    if (!call.caller.who.starts_with(prefix))
    {
        throw Problem{.status = 409, .code = "NO_USER", .detail = "only users have passwords"};
    }
    auto const user = call.caller.who.substr(prefix.size());
    auto& access = call.parts.access;
    auto const address = call.head.address;
    access.check_password(user, old_password, address,
                          [call = std::move(call), user, new_password, reply = std::move(reply)](SignIn const& sign_in)
                          {
                              reply(answered(
                                  [&]
                                  {
                                      if (sign_in.outcome != SignIn::Outcome::Done)
                                      {
                                          return sign_in_answer(call, sign_in);
                                      }
                                      check(call.parts.access.users().set_password(user, new_password));
                                      return done();
                                  }));
                          });
}

Response get_users(Call& call)
{
    return list_answer(read_list(call).users, entry_value<UserEntry>);
}

Response post_user(Call& call)
{
    auto const body = call.object({"name", "password", "role"});
    check(call.parts.access.users().add_user(text_in(body, "name"), text_in(body, "password"), role_in(body)));
    return {.status = 201, .content_type = {}, .fields = {}, .body = {}};
}

Response put_user(Call& call)
{
    auto const name = call.required("name");
    auto const body = call.object({"role", "password"});
    if (!body["role"].isset() && !body["password"].isset())
    {
        throw Problem{.status = 422, .code = "REQUIRED_FIELD", .detail = R"(a user is given a "role" or a "password")"};
    }
    auto& users = call.parts.access.users();
    if (body["role"].isset())
    {
        check(users.set_role(name, role_in(body)));
    }
    if (body["password"].isset())
    {
        check(users.set_password(name, text_in(body, "password")));
    }
    return done();
}

Response delete_user(Call& call)
{
    check(call.parts.access.users().remove_user(call.required("name")));
    return done();
}

Response get_tokens(Call& call)
{
    return list_answer(read_list(call).tokens,
                       [](TokenEntry const& token)
                       {
                           auto value = entry_value(token);
                           value.insert("expires", token.expires.empty() ? Value() : text_value(token.expires));
                           return value;
                       });
}

Response post_token(Call& call)
{
    auto const body = call.object({"name", "role", "expires"});
    std::string token;
    check(call.parts.access.users().add_token(text_in(body, "name"), role_in(body), days_in(body), token));
    Value value(ValueType::Map);
    value.insert("token", text_value(token));
    return json_answer(value, 201);
}

Response put_token(Call& call)
{
    auto const name = call.required("name");
    check(call.parts.access.users().set_token_role(name, role_in(call.object({"role"}))));
    return done();
}

Response delete_token(Call& call)
{
    check(call.parts.access.users().remove_token(call.required("name")));
    return done();
}

} // namespace Ravik::Service
