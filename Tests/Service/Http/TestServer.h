#pragma once

#include "Service/Support/MemoryLog.h"

#include "Http/HttpServer.h"

#include <memory>
#include <mutex>
#include <string>

namespace Ravik::Test
{

/// What the stream's handler is told: "opened", "message …", "closed".
class TestStream : public Service::StreamHandler
{
public:
    void opened(std::shared_ptr<Service::Stream> stream) override;
    void message(std::string text) override;
    void closed() override { told.put("closed"); }

    /// What has been opened.
    std::shared_ptr<Service::Stream> stream();

    Mailbox<std::string> told;

private:
    std::mutex m_mutex;
    std::shared_ptr<Service::Stream> m_stream;
};

/// Serves: "/echo" gives back what was sent (at most 100 bytes of body), "/hold" leaves the reply to the test, "/drop"
/// never replies, "/throw" throws, "/bad" before it is let in, "/secret" is refused with 401, "/large" is long,
/// "/user/NAME" is asked by NAME, and
/// "/stream" is a WebSocket that throws at "throw" and closes with 1000 at "close".
class TestHandler : public Service::Handler
{
public:
    Service::Admission admit(Service::RequestHead const& request) override;
    Service::Response failure(unsigned status, std::string const& detail) override;

    Mailbox<Service::RequestHead> requests;
    Mailbox<Service::Reply> held;
    Mailbox<std::shared_ptr<TestStream>> streams;

    static constexpr std::size_t large = 8'000'000;
};

Service::Response text_response(std::string text, unsigned status = 200);

/// A server on a free port of the loopback, in the clear unless the settings say otherwise.
class TestServer
{
public:
    explicit TestServer(Service::HttpLimits const& limits = {}) : TestServer(settings_of(limits)) {}
    explicit TestServer(Service::HttpSettings const& settings) : server(settings, handler, log) { server.start(); }

    static Service::HttpSettings settings_of(Service::HttpLimits const& limits)
    {
        return {.listen = {{.host = "127.0.0.1", .port = 0}}, .tls = {}, .proxies = {}, .limits = limits};
    }

    std::string address() const { return server.addresses().front(); }
    /// The line that the log has of the request to the path.
    std::string line_of(std::string const& path);

    MemoryLog log;
    TestHandler handler;
    Service::HttpServer server;
};

} // namespace Ravik::Test
