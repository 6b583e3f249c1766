#include "access_commands.h"

#include "Table.h"
#include "commands.h"
#include "password_input.h"
#include "recipe_names.h"

#include "Project/report_values.h"

#include "Access/UserFile.h"
#include "Access/obstacles.h"
#include "Project/project_store.h"

#include <boost/algorithm/string/join.hpp>

#include <algorithm>
#include <charconv>
#include <optional>

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;
using Service::AccessRefusal;
using Service::Role;
using Service::UserFile;
using Service::UserList;

UserFile user_file(Invocation const& invocation)
{
    static_cast<void>(open_project_file(invocation.directory(), invocation.open_options().trust));
    return UserFile(Service::users_file_of(invocation.directory()));
}

UserList read(UserFile const& file)
{
    try
    {
        return file.read();
    }
    catch (std::runtime_error const& error)
    {
        throw Failure(ErrorValue::STORAGE, error.what());
    }
}

void check(AccessRefusal const& refusal)
{
    switch (refusal.kind)
    {
    case AccessRefusal::Kind::None:
        return;
    case AccessRefusal::Kind::Exists:
        throw Failure(ErrorValue::ID_IN_USE, refusal.text);
    case AccessRefusal::Kind::Unknown:
        throw Failure(ErrorValue::ENTRY_NOT_FOUND, refusal.text);
    case AccessRefusal::Kind::LastAdmin:
        throw Failure(ErrorValue::STORAGE_CONSTRAINT, refusal.text);
    case AccessRefusal::Kind::Unfit:
        throw Failure(ErrorValue::INVALID_PARAMETER, refusal.text);
    case AccessRefusal::Kind::Storage:
        throw Failure(ErrorValue::STORAGE, refusal.text);
    }
}

Role role_of(Invocation const& invocation)
{
    auto const roles = boost::join(Service::role_names(), ", ");
    if (!invocation.has(Option::role))
    {
        throw UsageError("--role is missing: what may " + invocation.operands()[0] + "? One of " + roles);
    }
    auto const role = Service::role_of(invocation.value(Option::role));
    if (!role)
    {
        throw UsageError("--role takes one of " + roles + ", not '" + invocation.value(Option::role) + "'");
    }
    return *role;
}

std::optional<std::chrono::days> expiry_of(Invocation const& invocation)
{
    if (!invocation.has(Option::expires))
    {
        return std::nullopt;
    }
    auto const text = invocation.value(Option::expires);
    int days = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), days);
    if (error != std::errc() || end != text.data() + text.size() || days <= 0)
    {
        throw UsageError("--expires takes a number of days above 0, not '" + text + "'");
    }
    return std::chrono::days(days);
}

bool has_user(UserList const& list, std::string const& name)
{
    return std::any_of(list.users.begin(), list.users.end(),
                       [&](Service::UserEntry const& user) { return user.name == name; });
}

Answer answer_for(std::initializer_list<std::pair<char const*, std::string_view>> members)
{
    Answer answer;
    answer.value = Value(ValueType::Map);
    for (auto const& [name, text] : members)
    {
        answer.value.insert(name, text_value(text));
    }
    return answer;
}

/// The columns that users and tokens share.
template <typename Entry> Value row_of(Entry const& entry)
{
    Value row(ValueType::Map);
    row.insert("name", text_value(entry.name));
    row.insert("role", text_value(Service::name_of(entry.role)));
    row.insert("created", text_value(entry.created));
    return row;
}

} // namespace

UserList users_and_tokens(Invocation const& invocation)
{
    return read(user_file(invocation));
}

Answer user_add(Invocation& invocation)
{
    auto const role = role_of(invocation);
    auto const& name = invocation.operands()[0];
    auto file = user_file(invocation);
    // What is refused anyway is refused before anybody types a password.
    auto const obstacle = Service::name_obstacle(name);
    if (!obstacle.empty())
    {
        throw Failure(ErrorValue::INVALID_PARAMETER, obstacle);
    }
    if (has_user(read(file), name))
    {
        throw Failure(ErrorValue::ID_IN_USE,
                      "there is a user '" + name + "' already; 'ravik user password' gives another password");
    }
    check(file.add_user(name, read_new_password(name), role));
    invocation.output().print("Added the user " + name + ", " + Service::name_of(role) + ".");
    return answer_for({{"name", name}, {"role", Service::name_of(role)}});
}

Answer user_list(Invocation& invocation)
{
    auto const list = users_and_tokens(invocation);
    Table table({"NAME", "ROLE", "CREATED"});
    Value rows(ValueType::Vector);
    for (auto const& user : list.users)
    {
        table.add({{user.name}, {Service::name_of(user.role)}, {user.created}});
        rows << row_of(user);
    }
    table.print(invocation.output());
    invocation.output().print(counted(list.users.size(), "user") + ".");
    Answer answer;
    answer.value["counts"]["users"] = static_cast<long>(list.users.size());
    answer.value["rows"] = rows;
    return answer;
}

Answer user_remove(Invocation& invocation)
{
    auto const& name = invocation.operands()[0];
    check(user_file(invocation).remove_user(name));
    invocation.output().print("Removed the user " + name + ".");
    return answer_for({{"name", name}});
}

Answer user_password(Invocation& invocation)
{
    auto const& name = invocation.operands()[0];
    auto file = user_file(invocation);
    if (!has_user(read(file), name))
    {
        throw Failure(ErrorValue::ENTRY_NOT_FOUND, "there is no user '" + name + "'; 'ravik user list' lists them");
    }
    check(file.set_password(name, read_new_password(name)));
    invocation.output().print("Gave " + name + " another password.");
    return answer_for({{"name", name}});
}

Answer token_add(Invocation& invocation)
{
    auto const role = role_of(invocation);
    auto const expires = expiry_of(invocation);
    auto const& name = invocation.operands()[0];
    std::string token;
    check(user_file(invocation).add_token(name, role, expires, token));
    invocation.output().print("Added the token " + name + ", " + Service::name_of(role) +
                              ". It is shown this once and kept nowhere:");
    invocation.output().print(token);
    return answer_for({{"name", name}, {"role", Service::name_of(role)}, {"token", token}});
}

Answer token_list(Invocation& invocation)
{
    auto const list = users_and_tokens(invocation);
    auto const now = std::chrono::system_clock::now();
    Table table({"NAME", "ROLE", "CREATED", "EXPIRES", ""});
    Rows rows({"good", "expired"});
    for (auto const& token : list.tokens)
    {
        auto const is_over = has_expired(token, now);
        auto row = row_of(token);
        if (!token.expires.empty())
        {
            row.insert("expires", text_value(token.expires));
        }
        row.insert("state", text_value(is_over ? "expired" : "good"));
        rows.add(row);
        table.add({{token.name},
                   {Service::name_of(token.role)},
                   {token.created},
                   {token.expires.empty() ? "never" : token.expires},
                   {is_over ? "expired" : "", Colour::yellow}});
    }
    table.print(invocation.output());
    invocation.output().print(counted(list.tokens.size(), "token") + ".");
    Answer answer;
    answer.value = rows.value();
    return answer;
}

Answer token_remove(Invocation& invocation)
{
    auto const& name = invocation.operands()[0];
    check(user_file(invocation).remove_token(name));
    invocation.output().print("Removed the token " + name + ".");
    return answer_for({{"name", name}});
}

} // namespace Ravik::CommandLine
