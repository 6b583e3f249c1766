#include "Access/Roster.h"

#include "Access/secrets.h"
#include "Access/token_session.h"

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
        Principal const principal{Principal::Kind::Token, token.name, token.role, token.hash};
        m_marks.emplace(secret_hash(session_mark(principal)), token.hash);
        m_tokens.emplace(token.hash,
                         Token{.principal = principal,
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

std::optional<Principal> Roster::token_of_mark(std::string const& mark, WallTime now) const
{
    auto const found = m_marks.find(secret_hash(mark));
    return found == m_marks.end() ? std::nullopt : token(found->second, now);
}

std::optional<Roster::WallTime> Roster::token_end(std::string const& hash) const
{
    auto const found = m_tokens.find(hash);
    return found == m_tokens.end() ? std::nullopt : found->second.expires;
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
