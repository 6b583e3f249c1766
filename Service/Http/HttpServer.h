#pragma once

#include "Http/Log.h"
#include "Http/Message.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Ravik::Service
{

/// Where to listen: a host name or address (IPv6 without brackets), and a port, 0 for a free one.
struct Endpoint
{
    std::string host;
    std::uint16_t port = 0;
};

/// Files in PEM.
struct TlsFiles
{
    std::string certificate;
    std::string key;
};

struct HttpLimits
{
    std::size_t header = 16'384;
    std::chrono::milliseconds header_time{10'000};
    /// What bodies and answers have to come to in a second at least, in bytes.
    std::size_t least_rate = 1000;
    /// The span over which that is taken.
    std::chrono::milliseconds rate_time{5'000};
    std::size_t connections = 4000;
    /// Of an address whose requests nobody has been let in for yet.
    std::size_t unknown_connections = 50;
    /// Of a user, by `Admission::who`.
    std::size_t user_connections = 100;
    /// How long a connection may wait for its next request, and a WebSocket client say nothing; it is sent a ping
    /// halfway.
    std::chrono::milliseconds idle_time{60'000};
    /// How long one that is closed is waited for, so that it sees why.
    std::chrono::milliseconds closing_time{2'000};
    /// A message of a WebSocket client, and what may wait for one.
    std::size_t stream_message = 1'048'576;
    std::size_t stream_queue = 64;
};

struct HttpSettings
{
    std::vector<Endpoint> listen;
    std::optional<TlsFiles> tls;
    /// Addresses of proxies whose X-Forwarded-For and -Proto (last hop) are believed.
    std::vector<std::string> proxies;
    HttpLimits limits;
};

/// What is counted for the metrics.
struct HttpCounts
{
    std::size_t connections = 0;
    std::size_t streams = 0;
    std::uint64_t requests = 0;
};

/// Listens for HTTP/1.1 and WebSocket clients, in the clear or with TLS 1.2 and newer, on one thread of its own that
/// all handlers are called on. Operations are thread-safe unless they say otherwise.
class HttpServer
{
public:
    /// The handler and the log outlive it. Throws `std::runtime_error` with a message for a person where an endpoint
    /// can't be listened on or a file of TLS can't be used. Nobody is served before `start`.
    HttpServer(HttpSettings const& settings, Handler& handler, Log& log);
    HttpServer(HttpServer const&) = delete;
    HttpServer& operator=(HttpServer const&) = delete;
    ~HttpServer();

    /// Where it listens: "http://127.0.0.1:8420/" each, free ports found.
    std::vector<std::string> addresses() const;

    void start();
    /// Takes no new connections and requests any more; answers what runs with `Connection: close`.
    void drain();
    /// Drains, closes all streams with the reason, waits until all answers have left or the time is over, and ends the
    /// thread. Not from that thread.
    void stop(std::string const& reason, std::chrono::milliseconds patience);

    /// Reads the files of TLS again: both or neither. Returns why the old pair stays, empty where the new one serves.
    std::string reload_tls();
    /// Days until the certificate ends, none without TLS.
    std::optional<double> certificate_days() const;

    HttpCounts counts() const;

    /// Has the work done on the thread of input and output, now or after a while. Never after `stop`.
    void post(std::function<void()> work);
    void after(std::chrono::milliseconds delay, std::function<void()> work);

private:
    class Implementation;
    /// Shared, since a reply that comes late looks whether it is still there.
    std::shared_ptr<Implementation> m_implementation;
};

} // namespace Ravik::Service
