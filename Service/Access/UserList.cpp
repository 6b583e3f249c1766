#include "Access/UserList.h"

#include "Access/obstacles.h"
#include "Access/secrets.h"

#include "History/timestamp.h"
#include "Json/Document.h"
#include "Json/Json.h"

#include <algorithm>
#include <initializer_list>
#include <set>
#include <stdexcept>

namespace Ravik::Service
{

namespace
{

using RavikSrv::Value;
using RavikSrv::ValueType;

constexpr int version = 1;

namespace Key
{
constexpr auto version = "version";
constexpr auto users = "users";
constexpr auto tokens = "tokens";
constexpr auto name = "name";
constexpr auto role = "role";
constexpr auto hash = "hash";
constexpr auto created = "created";
constexpr auto expires = "expires";
} // namespace Key

bool is_token_hash(std::string const& text)
{
    constexpr std::size_t size = 64;
    return text.size() == size && text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

/// One object of the file, read member by member; what is wrong is told with its place.
class ObjectReader
{
public:
    ObjectReader(Json::Document const& document, std::vector<std::string> place, Value const& value,
                 std::initializer_list<std::string_view> members)
        : m_document(document), m_place(std::move(place)), m_value(value)
    {
        check(m_value.type() == ValueType::Map, "an object belongs here");
        for (auto entry = m_value.begin(); entry != m_value.end(); ++entry)
        {
            auto const is_known = std::find(members.begin(), members.end(), entry.name()) != members.end();
            check(is_known, "a member that is unknown here", entry.name());
        }
    }

    Value const& member(char const* name, ValueType type) const
    {
        auto const& value = m_value[name];
        check(value.type() == type, std::string("\"") + name + "\" is missing or of the wrong type", name);
        return value;
    }

    std::string text(char const* name) const { return std::string(member(name, ValueType::String).get_text()); }

    std::string time(char const* name) const
    {
        auto time = text(name);
        check(read_timestamp(time).has_value(), "a time belongs here, as 2026-11-21T08:30:00.000Z", name);
        return time;
    }

    bool has(char const* name) const { return m_value[name].isset(); }

    Role role() const
    {
        auto const found = role_of(text(Key::role));
        check(found.has_value(), "a role belongs here: viewer, operator, engineer or admin", Key::role);
        return *found;
    }

    /// A name that stands here for the first time.
    std::string name(std::set<std::string>& names) const
    {
        auto name = text(Key::name);
        auto const obstacle = name_obstacle(name);
        check(obstacle.empty(), obstacle, Key::name);
        check(names.insert(name).second, "the name stands here for the second time", Key::name);
        return name;
    }

    void check(bool holds, std::string const& message, char const* member = nullptr) const
    {
        if (holds)
        {
            return;
        }
        auto place = m_place;
        if (member != nullptr)
        {
            place.emplace_back(member);
        }
        auto const at = m_document.locate(place);
        throw std::runtime_error(std::to_string(at.line) + ':' + std::to_string(at.column) + ": " + message);
    }

private:
    Json::Document const& m_document;
    std::vector<std::string> m_place;
    Value const& m_value;
};

Json::Document document_of(std::string const& text)
{
    try
    {
        return Json::Document(text);
    }
    catch (Json::ParseError const& error)
    {
        auto const at = error.location();
        throw std::runtime_error(std::to_string(at.line) + ':' + std::to_string(at.column) + ": " + error.what());
    }
}

UserEntry read_user(ObjectReader const& reader, std::set<std::string>& names)
{
    UserEntry user{.name = reader.name(names),
                   .role = reader.role(),
                   .hash = reader.text(Key::hash),
                   .created = reader.time(Key::created)};
    reader.check(is_password_hash(user.hash), "this is no hash of a password; 'ravik user password' makes one",
                 Key::hash);
    return user;
}

TokenEntry read_token(ObjectReader const& reader, std::set<std::string>& names)
{
    TokenEntry token{.name = reader.name(names),
                     .role = reader.role(),
                     .hash = reader.text(Key::hash),
                     .created = reader.time(Key::created),
                     .expires = reader.has(Key::expires) ? reader.time(Key::expires) : ""};
    reader.check(is_token_hash(token.hash), "this is no hash of a token; 'ravik token add' makes one", Key::hash);
    return token;
}

Value object_of(std::initializer_list<std::pair<char const*, std::string_view>> members)
{
    Value object(ValueType::Map);
    for (auto const& [name, text] : members)
    {
        object.insert(name, Value(text));
    }
    return object;
}

} // namespace

bool has_expired(TokenEntry const& token, std::chrono::system_clock::time_point now)
{
    auto const end = read_timestamp(token.expires);
    return end && *end <= now;
}

UserList read_user_list(std::string const& text)
{
    auto const document = document_of(text);
    ObjectReader const whole(document, {}, document.value(), {Key::version, Key::users, Key::tokens});
    whole.check(whole.member(Key::version, ValueType::Int).get_int32() == version,
                "a newer ravik has written this, or something else", Key::version);
    UserList list;
    std::set<std::string> names;
    auto const& users = whole.member(Key::users, ValueType::Vector);
    for (std::size_t index = 0; index < users.size(); ++index)
    {
        list.users.push_back(read_user(ObjectReader(document, {Key::users, std::to_string(index)}, users[index],
                                                    {Key::name, Key::role, Key::hash, Key::created}),
                                       names));
    }
    names.clear();
    auto const& tokens = whole.member(Key::tokens, ValueType::Vector);
    for (std::size_t index = 0; index < tokens.size(); ++index)
    {
        list.tokens.push_back(read_token(ObjectReader(document, {Key::tokens, std::to_string(index)}, tokens[index],
                                                      {Key::name, Key::role, Key::hash, Key::created, Key::expires}),
                                         names));
    }
    return list;
}

std::string write_user_list(UserList const& list)
{
    Value users(ValueType::Vector);
    for (auto const& user : list.users)
    {
        users << object_of({{Key::name, user.name},
                            {Key::role, name_of(user.role)},
                            {Key::hash, user.hash},
                            {Key::created, user.created}});
    }
    Value tokens(ValueType::Vector);
    for (auto const& token : list.tokens)
    {
        auto object = object_of({{Key::name, token.name},
                                 {Key::role, name_of(token.role)},
                                 {Key::hash, token.hash},
                                 {Key::created, token.created}});
        if (!token.expires.empty())
        {
            object.insert(Key::expires, Value(std::string_view(token.expires)));
        }
        tokens << object;
    }
    Value whole(ValueType::Map);
    whole.insert(Key::version, version);
    whole.insert(Key::users, users);
    whole.insert(Key::tokens, tokens);
    return Json::write(whole, Json::Layout::Indented) + '\n';
}

} // namespace Ravik::Service
