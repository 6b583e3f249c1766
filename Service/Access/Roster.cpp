#include "Access/Roster.h"

#include "History/timestamp.h"

#include <stdexcept>

namespace Ravik::Service
{

Roster::Roster(UserList const& list)
{
    for (auto const& user : list.users)
    {
        m_users.emplace(user.name, Principal{Principal::Kind::User, user.name, user.role, user.hash});
    }
    for (auto const& token : list.tokens)
    {
        m_tokens.emplace(token.hash,
                         Token{.principal = {Principal::Kind::Token, token.name, token.role, token.hash},
                               .expires = token.expires.empty() ? std::nullopt : read_timestamp(token.expires)});
    }
}

std::optional<Principal> Roster::user(std::string const& name) const
{
    auto const found = m_users.find(name);
    return found == m_users.end() ? std::nullopt : std::optional(found->second);
}

std::optional<Principal> Roster::token(std::string const& hash, WallTime now) const
{
    auto const found = m_tokens.find(hash);
    auto const is_good = found != m_tokens.end() && (!found->second.expires || now < *found->second.expires);
    return is_good ? std::optional(found->second.principal) : std::nullopt;
}

bool Roster::is_good(Principal const& principal, WallTime now) const
{
    switch (principal.kind)
    {
    case Principal::Kind::User:
        return user(principal.name) == principal;
    case Principal::Kind::Token:
        return token(principal.hash, now) == principal;
    case Principal::Kind::Start:
        return empty();
    }
    return false;
}

FollowedRoster::FollowedRoster(UserFile const& file)
    : m_file(file), m_identity(m_file.identity()), m_roster(m_file.read())
{
}

bool FollowedRoster::look(Time time)
{
    m_looked = time;
    auto identity = m_file.identity();
    if (identity == m_identity && m_problem.empty())
    {
        return false;
    }
    try
    {
        m_roster = Roster(m_file.read());
        // Only now: what has not been read is read again.
        m_identity = std::move(identity);
        m_problem.clear();
        return true;
    }
    catch (std::runtime_error const& error)
    {
        auto const is_new = m_problem.empty();
        m_troubled_since = is_new ? time : m_troubled_since;
        m_problem = error.what();
        return is_new;
    }
}

} // namespace Ravik::Service
