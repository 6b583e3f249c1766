#include "Access/Gate.h"

#include "Access/secrets.h"
#include "Access/token_session.h"

#include <algorithm>
#include <iterator>

namespace Ravik::Service
{

namespace
{

using Outcome = SignIn::Outcome;

/// How old what is known of the file may be when somebody is let in by it.
constexpr std::chrono::milliseconds look_interval{250};
/// How long what was last read is good while the file can't be read.
constexpr std::chrono::seconds longest_trouble{60};
constexpr std::chrono::minutes start_token_lifetime{10};
/// How long browsers keep a cookie at most, whatever they are told.
constexpr std::chrono::nanoseconds longest_kept = std::chrono::days{400};
constexpr std::size_t most_attempts = 10000;

void append(Gate::Calls& calls, Gate::Calls more)
{
    calls.insert(calls.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

Identity identity_of(Principal const& principal)
{
    return {.who = principal.who(), .role = principal.role};
}

/// Names may be of any length here, so their hashes are remembered.
std::string attempts_key_of_user(std::string const& name)
{
    return secret_hash(name);
}

} // namespace

Gate::Gate(UserFile const& users, AccessClocks clocks)
    : m_clocks(std::move(clocks)), m_roster(users), m_by_user(most_attempts), m_by_address(most_attempts)
{
    // It takes as long as a check, and nobody is to see when it is made.
    static_cast<void>(nobodys_password_hash());
}

bool Gate::has_anybody(Calls& calls)
{
    look(calls);
    return !m_roster.now().empty();
}

// Signing in ----------------------------------------------------------------------------------------------------------

std::optional<std::string> Gate::make_start_token(Calls& calls)
{
    look(calls);
    if (!is_good({.kind = Principal::Kind::Start}))
    {
        return std::nullopt;
    }
    auto token = random_secret();
    m_start = {.hash = secret_hash(token), .end = m_clocks.steady() + start_token_lifetime};
    return token;
}

std::optional<std::chrono::seconds> Gate::wait_for(PasswordAttempt const& attempt) const
{
    auto const now = m_clocks.steady();
    auto const wait = std::max(m_by_user.wait(attempts_key_of_user(attempt.user), now),
                               m_by_address.wait(attempts_key_of_address(attempt.address), now));
    return wait.count() > 0 ? std::optional(wait) : std::nullopt;
}

std::string Gate::hash_for(PasswordAttempt const& attempt, Calls& calls)
{
    look(calls);
    auto const user = m_roster.now().user(attempt.user);
    return user ? user->hash : nobodys_password_hash();
}

SignIn Gate::settle(PasswordAttempt const& attempt, std::string const& hash, bool is_right, Calls& calls)
{
    look(calls);
    auto const user = m_roster.now().user(attempt.user);
    // The password may have changed since.
    if (!is_right || !user || user->hash != hash)
    {
        auto const now = m_clocks.steady();
        m_by_user.wrong(attempts_key_of_user(attempt.user), now);
        m_by_address.wrong(attempts_key_of_address(attempt.address), now);
        return {.outcome = Outcome::Wrong};
    }
    if (is_shut())
    {
        return {.outcome = Outcome::Wrong};
    }
    m_by_user.right(attempts_key_of_user(attempt.user));
    SignIn done{.outcome = Outcome::Done};
    if (attempt.purpose == PasswordAttempt::Purpose::Session)
    {
        done.session = make_session(*user, calls);
    }
    return done;
}

SignIn Gate::sign_in_by_token(std::string const& token, std::string const& address, Calls& calls)
{
    look(calls);
    auto const now = m_clocks.steady();
    auto const address_key = attempts_key_of_address(address);
    auto const wait = m_by_address.wait(address_key, now);
    if (wait.count() > 0)
    {
        return {.outcome = Outcome::TooMany, .wait = wait};
    }
    auto const hash = secret_hash(token);
    if (auto const principal = principal_of(hash))
    {
        return {.outcome = Outcome::Done, .session = make_token_session(token, *principal)};
    }
    if (auto const principal = take_start_token(hash))
    {
        return {.outcome = Outcome::Done, .session = make_session(*principal, calls)};
    }
    m_by_address.wrong(address_key, now);
    return {.outcome = Outcome::Wrong};
}

std::optional<Principal> Gate::principal_of(std::string const& token_hash) const
{
    return is_shut() ? std::nullopt : m_roster.now().token(token_hash, m_clocks.wall());
}

std::optional<Principal> Gate::take_start_token(std::string const& token_hash)
{
    Principal const principal{
        .kind = Principal::Kind::Start, .name = start_token_name, .role = Role::Admin, .hash = token_hash};
    if (!m_start || m_start->hash != token_hash || m_clocks.steady() >= m_start->end || !is_good(principal))
    {
        return std::nullopt;
    }
    m_start.reset();
    return principal;
}

Session Gate::make_token_session(std::string const& token, Principal const& principal) const
{
    auto halves = halves_of(token, principal);
    return {.identity = identity_of(principal),
            .cookie = std::move(halves.cookie),
            .csrf = std::move(halves.csrf),
            .lifetime = lifetime_of(principal)};
}

std::optional<std::chrono::seconds> Gate::lifetime_of(Principal const& token) const
{
    auto const end = m_roster.now().token_end(token.hash);
    auto const rest = end ? *end - m_clocks.wall() : longest_kept;
    return std::chrono::duration_cast<std::chrono::seconds>(std::min<std::chrono::nanoseconds>(rest, longest_kept));
}

Session Gate::make_session(Principal const& principal, Calls& calls)
{
    Session session{.identity = identity_of(principal), .cookie = random_secret(), .csrf = random_secret()};
    auto const ended = m_sessions.add(secret_hash(session.cookie), principal, session.csrf, m_clocks.steady());
    end_watches_of(ended, calls);
    return session;
}

// Letting in ----------------------------------------------------------------------------------------------------------

std::optional<Visitor> Gate::visitor(std::string const& cookie, std::string const& csrf, Calls& calls)
{
    if (auto const token = token_of_cookie(cookie, calls))
    {
        return Visitor{.identity = identity_of(*token),
                       .is_proven = is_proof(cookie, csrf, *token),
                       .lifetime = lifetime_of(*token)};
    }
    auto* const found = good_session(cookie, calls);
    if (found == nullptr)
    {
        return std::nullopt;
    }
    auto const is_proven = same_secret(csrf, found->csrf);
    // Otherwise any page in the browser could keep the session of somebody who has gone.
    found->used = is_proven ? m_clocks.steady() : found->used;
    return Visitor{.identity = identity_of(found->principal), .is_proven = is_proven};
}

std::optional<Principal> Gate::token_of_cookie(std::string const& cookie, Calls& calls)
{
    look(calls);
    auto const mark = mark_of(cookie);
    return mark.empty() || is_shut() ? std::nullopt : m_roster.now().token_of_mark(mark, m_clocks.wall());
}

Sessions::Record* Gate::good_session(std::string const& cookie, Calls& calls)
{
    look(calls);
    auto const key = secret_hash(cookie);
    auto* const found = m_sessions.find(key);
    if (found == nullptr || is_shut())
    {
        return nullptr;
    }
    if (has_ended_by_time(*found, m_clocks.steady()) || !is_good(found->principal))
    {
        m_sessions.erase(key);
        end_watches_of({key}, calls);
        return nullptr;
    }
    return found;
}

void Gate::end_session(std::string const& cookie, Calls& calls)
{
    auto const key = secret_hash(cookie);
    m_sessions.erase(key);
    end_watches_of({key}, calls);
}

std::optional<Identity> Gate::bearer(std::string const& token, Calls& calls)
{
    look(calls);
    auto const principal = principal_of(secret_hash(token));
    return principal ? std::optional(identity_of(*principal)) : std::nullopt;
}

// Watching ------------------------------------------------------------------------------------------------------------

std::shared_ptr<void> Gate::watch_session(std::string const& cookie, std::function<void()> ended, Calls& calls)
{
    auto const token = token_of_cookie(cookie, calls);
    auto const* const found = token ? nullptr : good_session(cookie, calls);
    if (!token && found == nullptr)
    {
        calls.push_back(std::move(ended));
        return nullptr;
    }
    return m_watches.add(
        {.session = secret_hash(cookie), .principal = token ? *token : found->principal, .ended = std::move(ended)});
}

std::shared_ptr<void> Gate::watch_token(std::string const& token, std::function<void()> ended, Calls& calls)
{
    look(calls);
    auto const principal = principal_of(secret_hash(token));
    if (!principal)
    {
        calls.push_back(std::move(ended));
        return nullptr;
    }
    return m_watches.add({.session = {}, .principal = *principal, .ended = std::move(ended)});
}

void Gate::end_watches_of(Sessions::Keys const& sessions, Calls& calls)
{
    if (!sessions.empty())
    {
        append(calls, m_watches.take([&](Watches::Watch const& watch) { return sessions.contains(watch.session); }));
    }
}

// Following -----------------------------------------------------------------------------------------------------------

void Gate::refresh(Calls& calls)
{
    static_cast<void>(m_roster.look(m_clocks.steady()));
    end_what_is_not_good(calls);
    m_by_user.forget_old(m_clocks.steady());
    m_by_address.forget_old(m_clocks.steady());
}

void Gate::look(Calls& calls)
{
    auto const now = m_clocks.steady();
    if (now - m_roster.looked() >= look_interval && m_roster.look(now))
    {
        end_what_is_not_good(calls);
    }
}

void Gate::end_what_is_not_good(Calls& calls)
{
    if (!m_roster.now().empty() || (m_start && m_clocks.steady() >= m_start->end))
    {
        m_start.reset();
    }
    auto const ended =
        m_sessions.erase_if([&](Sessions::Record const& session)
                            { return has_ended_by_time(session, m_clocks.steady()) || !is_good(session.principal); });
    append(calls, m_watches.take([&, shut = is_shut()](Watches::Watch const& watch)
                                 { return shut || !is_good(watch.principal) || ended.contains(watch.session); }));
}

bool Gate::is_shut() const
{
    return !m_roster.problem().empty() && m_clocks.steady() >= m_roster.troubled_since() + longest_trouble;
}

bool Gate::is_good(Principal const& principal) const
{
    // Where the file can't be read, somebody may well stand in it.
    auto const is_in_doubt = principal.kind == Principal::Kind::Start && !m_roster.problem().empty();
    return !is_in_doubt && m_roster.now().is_good(principal, m_clocks.wall());
}

} // namespace Ravik::Service
