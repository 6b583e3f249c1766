#include "Http/HttpServer.h"

#include "Http/HttpConnection.h"
#include "Http/Tls.h"

#include "Mutex.h"

#include <boost/asio/ip/v6_only.hpp>

#include <cstring>
#include <list>
#include <stdexcept>
#include <thread>
#include <utility>

namespace Ravik::Service
{
namespace
{

using boost::asio::ip::tcp;

/// How many connections beyond the limit are told so at a time; the others are just closed.
constexpr std::size_t most_turned_away = 64;
/// What the system holds for a client that does not read.
constexpr int send_buffer = 128 * 1024;
/// Before the next connection is taken where none could be, for want of file descriptors for example.
constexpr auto pause_after_failure = std::chrono::milliseconds(100);

std::string host_in_address(tcp::endpoint const& endpoint)
{
    auto const address = endpoint.address();
    return address.is_v6() ? '[' + address.to_string() + ']' : address.to_string();
}

std::vector<tcp::endpoint> resolve(asio::io_context& io, Endpoint const& endpoint)
{
    boost::system::error_code error;
    tcp::resolver resolver(io);
    auto const found = resolver.resolve(endpoint.host, std::to_string(endpoint.port), tcp::resolver::passive, error);
    if (error)
    {
        throw std::runtime_error("Can't listen on " + endpoint.host + ": " + error.message());
    }
    std::vector<tcp::endpoint> endpoints;
    for (auto const& each : found)
    {
        endpoints.push_back(each.endpoint());
    }
    return endpoints;
}

tcp::acceptor listen(asio::io_context& io, tcp::endpoint const& endpoint)
{
    try
    {
        tcp::acceptor acceptor(io, endpoint.protocol());
        acceptor.set_option(asio::socket_base::reuse_address(true));
        if (endpoint.address().is_v6())
        {
            // "::" and "0.0.0.0" can be listened on side by side, and an address says what it serves.
            acceptor.set_option(asio::ip::v6_only(true));
        }
        acceptor.bind(endpoint);
        acceptor.listen();
        return acceptor;
    }
    catch (boost::system::system_error const& error)
    {
        throw std::runtime_error("Can't listen on " + host_in_address(endpoint) + ':' +
                                 std::to_string(endpoint.port()) + ": " + error.code().message());
    }
}

} // namespace

class HttpServer::Implementation final : public Core
{
public:
    Implementation(HttpSettings const& given, Handler& handler, Log& log);

    std::vector<std::string> const& addresses() const noexcept { return m_addresses; }
    void start();
    void drain();
    void stop(std::string const& reason, std::chrono::milliseconds patience);
    std::string reload_tls();
    std::optional<double> certificate_days() const;

private:
    friend class HttpServer;

    void run();
    void accept(tcp::acceptor& acceptor);
    void accept_later(tcp::acceptor& acceptor, boost::system::error_code const& error);
    void take(tcp::socket socket);
    template <typename Transport> void serve(Transport transport, Seats::Seat seat, Peer peer);
    void begin_drain();
    void begin_stop(std::string const& reason, std::chrono::milliseconds patience);
    void end();
    void became_empty() override;

    std::weak_ptr<Implementation> m_self;
    std::list<tcp::acceptor> m_acceptors;
    std::vector<std::string> m_addresses;
    asio::steady_timer m_patience;
    bool m_is_stopping = false;
    bool m_has_told_of_failure = false;
    std::thread m_thread;
    mutable RavikSrv::Mutex m_mutex;
    TlsContext m_tls RAVIK_GUARDED_BY(m_mutex);
};

HttpServer::Implementation::Implementation(HttpSettings const& given, Handler& handler, Log& log)
    : Core(given, handler, log), m_patience(io())
{
    if (settings().tls)
    {
        m_tls = make_tls_context(*settings().tls);
    }
    auto const* const scheme = settings().tls ? "https://" : "http://";
    for (auto const& endpoint : settings().listen)
    {
        for (auto const& each : resolve(io(), endpoint))
        {
            auto const bound = m_acceptors.emplace_back(listen(io(), each)).local_endpoint();
            m_addresses.push_back(scheme + host_in_address(bound) + ':' + std::to_string(bound.port()) + '/');
        }
    }
}

void HttpServer::Implementation::start()
{
    for (auto& acceptor : m_acceptors)
    {
        accept(acceptor);
    }
    m_thread = std::thread([this] { run(); });
}

void HttpServer::Implementation::run()
{
    auto const work = asio::make_work_guard(io());
    // What throws here is a step that no client waits for; the next one is none the worse for it.
    while (!guarded([this] { io().run(); }))
    {
    }
}

void HttpServer::Implementation::accept(tcp::acceptor& acceptor)
{
    acceptor.async_accept(
        [this, &acceptor](boost::system::error_code error, tcp::socket socket)
        {
            if (!acceptor.is_open())
            {
                return;
            }
            if (error)
            {
                accept_later(acceptor, error);
                return;
            }
            m_has_told_of_failure = false;
            static_cast<void>(guarded([&] { take(std::move(socket)); }));
            accept(acceptor);
        });
}

void HttpServer::Implementation::accept_later(tcp::acceptor& acceptor, boost::system::error_code const& error)
{
    if (!std::exchange(m_has_told_of_failure, true))
    {
        log().tell("connection", "Connections can't be taken: " + error.message(), {{"what", error.message()}});
    }
    auto const timer = std::make_shared<asio::steady_timer>(io(), pause_after_failure);
    timer->async_wait(
        [this, &acceptor, timer](boost::system::error_code /*error*/)
        {
            if (acceptor.is_open())
            {
                accept(acceptor);
            }
        });
}

void HttpServer::Implementation::take(tcp::socket socket)
{
    boost::system::error_code error;
    auto const remote = socket.remote_endpoint(error);
    auto const local = socket.local_endpoint(error);
    if (error)
    {
        return;
    }
    socket.set_option(tcp::no_delay(true), error);
    socket.set_option(asio::socket_base::send_buffer_size(send_buffer), error);
    Peer peer{.address = plain_address(remote.address().to_string()), .port = local.port()};
    if (peer.address.empty())
    {
        // One of a link alone, which names its interface.
        peer.address = remote.address().to_string();
    }
    // Behind a proxy there are many, whom it tells apart.
    auto seat = seats().take(is_proxy(peer.address) ? std::string() : peer.address);
    auto const now = counts();
    if (!seat && (settings().tls || now.connections + now.streams >= seats().taken() + most_turned_away))
    {
        return;
    }
    if (!settings().tls)
    {
        serve(std::move(socket), std::move(seat), std::move(peer));
        return;
    }
    SSL* session = nullptr;
    {
        RavikSrv::Lock const lock(m_mutex);
        session = ::SSL_new(m_tls.get());
    }
    if (session != nullptr)
    {
        serve(TlsTransport(std::move(socket), session), std::move(seat), std::move(peer));
    }
}

template <typename Transport> void HttpServer::Implementation::serve(Transport transport, Seats::Seat seat, Peer peer)
{
    auto const connection = std::make_shared<HttpConnection<Transport>>(m_self.lock(), std::move(transport),
                                                                        std::move(seat), std::move(peer));
    enter(connection, false);
    connection->start();
}

void HttpServer::Implementation::drain()
{
    asio::dispatch(io(), [this] { begin_drain(); });
}

void HttpServer::Implementation::begin_drain()
{
    set_draining();
    for (auto& acceptor : m_acceptors)
    {
        boost::system::error_code ignored;
        acceptor.close(ignored);
    }
    for (auto const& client : clients())
    {
        client->drain();
    }
}

void HttpServer::Implementation::stop(std::string const& reason, std::chrono::milliseconds patience)
{
    if (m_thread.joinable())
    {
        asio::post(io(), [this, reason, patience] { begin_stop(reason, patience); });
        m_thread.join();
    }
    else
    {
        begin_drain();
    }
}

void HttpServer::Implementation::begin_stop(std::string const& reason, std::chrono::milliseconds patience)
{
    begin_drain();
    m_is_stopping = true;
    m_patience.expires_after(patience);
    m_patience.async_wait(
        [this](boost::system::error_code error)
        {
            if (!error)
            {
                end();
            }
        });
    auto const all = clients();
    for (auto const& client : all)
    {
        client->dismiss(reason);
    }
    if (all.empty())
    {
        became_empty();
    }
}

void HttpServer::Implementation::end()
{
    for (auto const& client : clients())
    {
        client->abort();
    }
}

void HttpServer::Implementation::became_empty()
{
    if (m_is_stopping)
    {
        // Behind what the last ones left to do.
        asio::post(io(), [this] { io().stop(); });
    }
}

std::string HttpServer::Implementation::reload_tls()
{
    if (!settings().tls)
    {
        return "There is no TLS";
    }
    try
    {
        auto fresh = make_tls_context(*settings().tls);
        RavikSrv::Lock const lock(m_mutex);
        std::swap(m_tls, fresh);
        return {};
    }
    catch (std::exception const& error)
    {
        return error.what();
    }
}

std::optional<double> HttpServer::Implementation::certificate_days() const
{
    RavikSrv::Lock const lock(m_mutex);
    return m_tls ? std::optional(days_left(*m_tls)) : std::nullopt;
}

HttpServer::HttpServer(HttpSettings const& settings, Handler& handler, Log& log)
    : m_implementation(std::make_shared<Implementation>(settings, handler, log))
{
    m_implementation->m_self = m_implementation;
}

HttpServer::~HttpServer()
{
    stop("The service ends", std::chrono::milliseconds(0));
}

std::vector<std::string> HttpServer::addresses() const
{
    return m_implementation->addresses();
}

void HttpServer::start()
{
    m_implementation->start();
}

void HttpServer::drain()
{
    m_implementation->drain();
}

void HttpServer::stop(std::string const& reason, std::chrono::milliseconds patience)
{
    m_implementation->stop(reason, patience);
}

std::string HttpServer::reload_tls()
{
    return m_implementation->reload_tls();
}

std::optional<double> HttpServer::certificate_days() const
{
    return m_implementation->certificate_days();
}

HttpCounts HttpServer::counts() const
{
    return m_implementation->counts();
}

void HttpServer::post(std::function<void()> work)
{
    asio::post(m_implementation->io(), std::move(work));
}

void HttpServer::after(std::chrono::milliseconds delay, std::function<void()> work)
{
    auto const timer = std::make_shared<asio::steady_timer>(m_implementation->io(), delay);
    timer->async_wait(
        [timer, work = std::move(work)](boost::system::error_code error)
        {
            if (!error)
            {
                work();
            }
        });
}

} // namespace Ravik::Service
