#pragma once

#include "Http/HttpServer.h"
#include "Http/Seats.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_set>
#include <utility>

namespace Ravik::Service
{

namespace asio = boost::asio;
using Clock = std::chrono::steady_clock;

/// Someone who is connected, with HTTP or a WebSocket. On the thread of input and output alone.
class Client : public std::enable_shared_from_this<Client>
{
public:
    virtual ~Client() = default;

    /// Takes no further request: ends at once or, where one runs, with its answer. Leaves streams alone.
    virtual void drain() = 0;
    /// Ends a stream with the reason.
    virtual void dismiss(std::string const& reason) = 0;
    /// Ends here and now.
    virtual void abort() = 0;
    /// The answer to the request of that number, if it is still waited for.
    virtual void answer(std::uint64_t request, Response response) = 0;
};

/// A request as the log tells of it.
struct RequestRecord
{
    std::uint64_t id = 0;
    std::string method = "-";
    std::string path = "-";
    std::string who;
    std::string address;
    Clock::time_point begin;
};

/// What the connections of a server share. On the thread of input and output alone, but for what says otherwise.
class Core
{
public:
    Core(HttpSettings settings, Handler& handler, Log& log);
    Core(Core const&) = delete;
    Core& operator=(Core const&) = delete;
    virtual ~Core() = default;

    asio::io_context& io() noexcept { return m_io; }
    HttpLimits const& limits() const noexcept { return m_settings.limits; }
    Handler& handler() noexcept { return m_handler; }
    Log& log() noexcept { return m_log; }
    Seats& seats() noexcept { return m_seats; }
    bool is_proxy(std::string const& address) const;
    bool is_draining() const noexcept { return m_is_draining; }

    void enter(std::shared_ptr<Client> client, bool is_stream);
    /// The client is kept no longer. Called once for each that entered.
    void leave(std::shared_ptr<Client> const& client, bool is_stream);

    std::uint64_t next_request() { return ++m_requests; }
    /// The time as HTTP writes it, made once a second.
    std::string const& date();
    Response too_many_connections();
    /// One line; a status of 0 for a client that went before it was answered.
    void log_request(RequestRecord const& record, unsigned status);
    /// Does what a handler has a part in; what it throws is logged and leads to false.
    template <typename Work> [[nodiscard]] bool guarded(Work const& work);

    /// Thread-safe.
    HttpCounts counts() const;

protected:
    HttpSettings const& settings() const noexcept { return m_settings; }
    void set_draining() noexcept { m_is_draining = true; }
    /// A copy, since whoever is told to go leaves it.
    std::unordered_set<std::shared_ptr<Client>> clients() const { return m_clients; }
    /// The last client has left.
    virtual void became_empty() = 0;

private:
    void log_failure(std::string const& what);

    HttpSettings m_settings;
    Handler& m_handler;
    Log& m_log;
    bool m_is_draining = false;
    std::string m_date;
    Clock::time_point m_date_ends;
    std::atomic<std::uint64_t> m_requests = 0;
    std::atomic<std::size_t> m_connections = 0;
    std::atomic<std::size_t> m_streams = 0;
    // In this order: what waits in the context when it goes may hold clients, which hold seats.
    Seats m_seats;
    asio::io_context m_io{1};
    std::unordered_set<std::shared_ptr<Client>> m_clients;
};

template <typename Work> bool Core::guarded(Work const& work)
{
    try
    {
        work();
        return true;
    }
    catch (std::exception const& error)
    {
        log_failure(error.what());
    }
    catch (...)
    {
        log_failure("of an unknown kind");
    }
    return false;
}

/// A point in time that may be put off at no cost: the timer that waits for it is started again only when it ends.
class Deadline
{
public:
    explicit Deadline(asio::io_context& io) : m_timer(io) {}

    /// `reached` is called once the point has come, on behalf of `owner`, which lives until then or until `cancel`.
    template <typename Owner>
    void set(std::shared_ptr<Owner> owner, Clock::duration from_now, void (Owner::*reached)());
    /// The point never comes.
    void clear() noexcept { m_point = Clock::time_point::max(); }
    void cancel();

private:
    template <typename Owner> void wait(std::shared_ptr<Owner> owner, void (Owner::*reached)());

    asio::steady_timer m_timer;
    Clock::time_point m_point = Clock::time_point::max();
    /// What the timer waits for now, if for anything.
    Clock::time_point m_timer_ends = Clock::time_point::max();
};

template <typename Owner>
void Deadline::set(std::shared_ptr<Owner> owner, Clock::duration from_now, void (Owner::*reached)())
{
    m_point = Clock::now() + from_now;
    if (m_point < m_timer_ends)
    {
        wait(std::move(owner), reached);
    }
}

inline void Deadline::cancel()
{
    clear();
    m_timer_ends = Clock::time_point::max();
    m_timer.cancel();
}

template <typename Owner> void Deadline::wait(std::shared_ptr<Owner> owner, void (Owner::*reached)())
{
    m_timer_ends = m_point;
    m_timer.expires_at(m_point);
    m_timer.async_wait(
        [this, owner = std::move(owner), reached](boost::system::error_code error) mutable
        {
            if (error)
            {
                return;
            }
            m_timer_ends = Clock::time_point::max();
            if (Clock::now() >= m_point)
            {
                clear();
                (owner.get()->*reached)();
            }
            else if (m_point != Clock::time_point::max())
            {
                wait(std::move(owner), reached);
            }
        });
}

} // namespace Ravik::Service
