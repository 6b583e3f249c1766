#include "Access/Access.h"

#include "Access/CheckThreads.h"
#include "Access/Gate.h"
#include "Access/obstacles.h"
#include "Access/secrets.h"

#include "Mutex.h"
#include "boundary_guard.h"

#include <utility>

namespace Ravik::Service
{

namespace
{

using Lock = RavikSrv::Lock<std::mutex>;
using Purpose = PasswordAttempt::Purpose;

/// Where too many wait: long enough for the first of them to be through.
constexpr std::chrono::seconds full_wait{1};

/// Makes calls at the end of its life; it stands before the lock that is not held then.
class CallsDue
{
public:
    CallsDue() = default;
    CallsDue(CallsDue const&) = delete;
    CallsDue& operator=(CallsDue const&) = delete;
    ~CallsDue()
    {
        for (auto const& call : calls)
        {
            call();
        }
    }

    Gate::Calls calls;
};

} // namespace

class Access::State
{
public:
    State(std::filesystem::path const& file, AccessClocks clocks)
        : users(file, [this] { refresh(); }), gate(users, std::move(clocks))
    {
    }

    void refresh()
    {
        CallsDue due;
        Lock const lock(mutex);
        gate.refresh(due.calls);
    }

    void check(PasswordAttempt const& attempt, std::function<void(SignIn)> const& done)
    {
        auto const wait = wait_for(attempt);
        if (wait)
        {
            done({.outcome = SignIn::Outcome::TooMany, .wait = *wait});
            return;
        }
        auto const is_taken = threads.add(
            [this, attempt, done]
            {
                SignIn result;
                RavikSrv::guarded(
                    "sign-in", [&] { result = checked(attempt); }, [](char const* /*text*/) {});
                done(std::move(result));
            });
        if (!is_taken)
        {
            done({.outcome = SignIn::Outcome::TooMany, .wait = full_wait});
        }
    }

    RavikSrv::Mutex mutex;
    UserFile users;
    Gate gate RAVIK_GUARDED_BY(mutex);

private:
    SignIn checked(PasswordAttempt const& attempt)
    {
        // Those before it may have been wrong.
        if (auto const wait = wait_for(attempt))
        {
            return {.outcome = SignIn::Outcome::TooMany, .wait = *wait};
        }
        auto const hash = hash_for(attempt);
        auto const matches = is_password(hash, attempt.password);
        CallsDue due;
        Lock const lock(mutex);
        return gate.settle(attempt, hash, matches && password_obstacle(attempt.password).empty(), due.calls);
    }

    std::optional<std::chrono::seconds> wait_for(PasswordAttempt const& attempt)
    {
        Lock const lock(mutex);
        return gate.wait_for(attempt);
    }

    std::string hash_for(PasswordAttempt const& attempt)
    {
        CallsDue due;
        Lock const lock(mutex);
        return gate.hash_for(attempt, due.calls);
    }

    /// The last member: its threads use the others.
    CheckThreads threads;
};

Access::Access(std::filesystem::path const& users_file, AccessClocks clocks)
    : m_state(std::make_unique<State>(users_file, std::move(clocks)))
{
}

Access::~Access() = default;

bool Access::has_anybody()
{
    CallsDue due;
    Lock const lock(m_state->mutex);
    return m_state->gate.has_anybody(due.calls);
}

std::optional<std::string> Access::make_start_token()
{
    CallsDue due;
    Lock const lock(m_state->mutex);
    return m_state->gate.make_start_token(due.calls);
}

void Access::sign_in(std::string user, std::string password, std::string address,
                     std::function<void(SignIn)> const& done)
{
    m_state->check({Purpose::Session, std::move(user), std::move(password), std::move(address)}, done);
}

void Access::check_password(std::string user, std::string password, std::string address,
                            std::function<void(SignIn)> const& done)
{
    m_state->check({Purpose::Check, std::move(user), std::move(password), std::move(address)}, done);
}

SignIn Access::sign_in_by_token(std::string const& token, std::string const& address)
{
    CallsDue due;
    Lock const lock(m_state->mutex);
    return m_state->gate.sign_in_by_token(token, address, due.calls);
}

std::optional<Visitor> Access::visitor(std::string const& cookie, std::string const& csrf)
{
    CallsDue due;
    Lock const lock(m_state->mutex);
    return m_state->gate.visitor(cookie, csrf, due.calls);
}

void Access::end_session(std::string const& cookie)
{
    CallsDue due;
    Lock const lock(m_state->mutex);
    m_state->gate.end_session(cookie, due.calls);
}

std::optional<Identity> Access::bearer(std::string const& token)
{
    CallsDue due;
    Lock const lock(m_state->mutex);
    return m_state->gate.bearer(token, due.calls);
}

std::shared_ptr<void> Access::watch_session(std::string const& cookie, std::function<void()> ended)
{
    CallsDue due;
    Lock const lock(m_state->mutex);
    return m_state->gate.watch_session(cookie, std::move(ended), due.calls);
}

std::shared_ptr<void> Access::watch_token(std::string const& token, std::function<void()> ended)
{
    CallsDue due;
    Lock const lock(m_state->mutex);
    return m_state->gate.watch_token(token, std::move(ended), due.calls);
}

void Access::refresh()
{
    m_state->refresh();
}

std::string Access::problem()
{
    Lock const lock(m_state->mutex);
    return m_state->gate.problem();
}

UserFile& Access::users() noexcept
{
    return m_state->users;
}

} // namespace Ravik::Service
