#include "TestServer.h"

#include "Service/Support/HttpClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <thread>

namespace Ravik::Test
{
namespace
{

using namespace Service;
using namespace std::chrono_literals;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

/// A request with "Host: localhost" and these further lines, each with its end.
std::string request(std::string const& line, std::string const& more = "", std::string const& body = "")
{
    return line + " HTTP/1.1\r\nHost: localhost\r\n" + more + "\r\n" + body;
}

TEST(HttpServer, answers_one_request_after_the_other_on_one_connection)
{
    struct Case
    {
        std::string what;
        std::string bytes;
        std::string body;
    };
    std::vector<Case> const cases{
        {"no body", request("GET /echo"), "GET /echo "},
        {"a body", request("PUT /echo", "Content-Length: 3\r\n", "abc"), "PUT /echo abc"},
        {"an empty body", request("PUT /echo", "Content-Length: 0\r\n"), "PUT /echo "},
        {"chunks", request("PUT /echo", "Transfer-Encoding: chunked\r\n", "2\r\nab\r\n1;x=y\r\nc\r\n0\r\nX: y\r\n\r\n"),
         "PUT /echo abc"},
        {"no chunk", request("PUT /echo", "Transfer-Encoding: Chunked\r\n", "0\r\n\r\n"), "PUT /echo "},
        {"a line end before it", "\r\n" + request("GET /echo"), "GET /echo "},
        {"an absolute target", request("GET http://other/echo"), "GET /echo "},
        {"the service itself", request("OPTIONS *"), "OPTIONS * "},
        {"an unknown method", request("BREW /echo"), "BREW /echo "},
        {"an upgrade to something else", request("GET /echo", "Connection: Upgrade\r\nUpgrade: h2c\r\n"), "GET /echo "},
    };
    TestServer server;
    HttpClient one_by_one(server.address());
    HttpClient pipelined(server.address());
    HttpClient byte_by_byte(server.address());
    std::string all;
    for (auto const& each : cases)
    {
        SCOPED_TRACE(each.what);
        EXPECT_EQ(one_by_one.exchange(each.bytes).body, each.body);
        for (char const byte : each.bytes)
        {
            byte_by_byte.send({&byte, 1});
        }
        EXPECT_EQ(byte_by_byte.read_answer().body, each.body);
        all += each.bytes;
    }
    pipelined.send(all);
    for (auto const& each : cases)
    {
        EXPECT_EQ(pipelined.read_answer().body, each.body) << each.what;
    }
}

TEST(HttpServer, answers_head_like_get_without_the_body)
{
    TestServer server;
    HttpClient client(server.address());
    client.send(request("HEAD /echo") + request("GET /echo"));
    auto const head = client.read_answer(false);
    EXPECT_EQ(head.field("content-length"), std::to_string(std::string("HEAD /echo ").size()));
    EXPECT_EQ(client.read_answer().body, "GET /echo ");
}

TEST(HttpServer, says_in_every_answer_what_holds_for_all)
{
    TestServer server;
    for (auto const& bytes : {request("GET /echo"), request("GET /secret"), std::string("nonsense\r\n\r\n")})
    {
        SCOPED_TRACE(bytes);
        HttpClient client(server.address());
        auto const answer = client.exchange(bytes);
        EXPECT_EQ(answer.field("x-content-type-options"), "nosniff");
        EXPECT_EQ(answer.field("content-security-policy"), "default-src 'self'; frame-ancestors 'none'");
        EXPECT_EQ(answer.field("referrer-policy"), "no-referrer");
        EXPECT_EQ(answer.field("cache-control"), "no-store");
        EXPECT_THAT(answer.field("date"), EndsWith(" GMT"));
        EXPECT_THAT(server.log.lines.take().value_or(""), HasSubstr("request " + answer.field("x-request-id") + ' '));
    }
}

TEST(HttpServer, keeps_what_an_answer_says_of_itself_and_breaks_no_header)
{
    TestServer server;
    HttpClient client(server.address());
    client.send(request("GET /hold"));
    auto response = text_response("", 204);
    response.fields = {{"cache-control", "max-age=60"}, {"X-Name", "a\r\nSet-Cookie: b"}};
    (*server.handler.held.take())(response);
    auto const answer = client.read_answer();
    EXPECT_EQ(answer.status, 204);
    EXPECT_EQ(answer.field("cache-control"), "max-age=60");
    EXPECT_EQ(answer.field("x-name"), "a  Set-Cookie: b");
    EXPECT_EQ(answer.fields.count("set-cookie") + answer.fields.count("content-length"), 0);
    EXPECT_EQ(client.exchange(request("GET /echo")).status, 200);
}

TEST(HttpServer, tells_the_handler_what_was_asked)
{
    TestServer server;
    HttpClient client(server.address());
    client.send(
        request("GET /%C3%A4/b%20c?n%61me=x+y%2B&empty&twice=1&twice=2", "X-One: 1\r\nx-two:a\r\nX-Two: b \r\n"));
    auto const asked = server.handler.requests.take().value_or(RequestHead{});
    EXPECT_EQ(asked.path, "/\u00e4/b c");
    EXPECT_EQ(asked.parameter("name"), "x y+");
    EXPECT_EQ(asked.parameter("empty"), "");
    EXPECT_EQ(asked.parameter("twice"), std::nullopt);
    EXPECT_EQ(asked.field("x-one"), "1");
    EXPECT_EQ(asked.field("x-two"), std::nullopt);
    EXPECT_EQ(asked.count("x-two"), 2);
    EXPECT_EQ(asked.address, "127.0.0.1");
    EXPECT_THAT(server.address(), HasSubstr(':' + std::to_string(asked.port) + '/'));
    EXPECT_FALSE(asked.secure);
    client.read_answer();

    client.send(request("GET HTTP://other:80/echo"));
    EXPECT_EQ(server.handler.requests.take().value_or(RequestHead{}).field("host"), "other:80");
}

TEST(HttpServer, refuses_what_can_be_read_in_two_ways)
{
    struct Case
    {
        std::string what;
        std::string bytes;
        unsigned status = 400;
    };
    auto const with = [](std::string const& lines) { return request("POST /echo", lines, "0\r\n\r\n"); };
    auto const line = [](std::string const& first) { return first + "\r\nHost: localhost\r\n\r\n"; };
    auto const path = [](std::string const& target) { return request("GET " + target); };
    std::string parameters;
    for (int number = 0; number < 101; ++number)
    {
        parameters += "&a";
    }
    std::vector<Case> const cases{
        {"no blank", line("GET")},
        {"no version", line("GET /")},
        {"HTTP/0.9", "GET /\r\n\r\n"},
        {"a lower case version", line("GET / http/1.1")},
        {"HTTP/1.10", line("GET / HTTP/1.10")},
        {"two blanks before the target", line("GET  / HTTP/1.1")},
        {"a tabulator for a blank", line("GET\t/ HTTP/1.1")},
        {"a method that is no token", line("GE(T / HTTP/1.1")},
        {"two line ends before it", "\r\n\r\n" + path("/echo")},
        {"TLS on a port without", std::string("\x16\x03\x01\x02\x00\x01\x00\x01", 8)},
        {"U+0000", std::string("GET /\0 HTTP/1.1\r\n", 17)},
        {"lines that end with LF", "GET /echo HTTP/1.1\nHost: localhost\n\n"},
        {"one line that ends with LF", "GET /echo HTTP/1.1\r\nHost: localhost\nX: y\r\n\r\n"},
        {"a CR within a value", request("GET /echo", "X: a\rb\r\n")},
        {"two CR", "GET /echo HTTP/1.1\r\nHost: localhost\r\r\n\r\n"},
        {"a DEL within a value", request("GET /echo", "X: a\x7f\r\n")},
        {"a folded line", request("GET /echo", "X: a\r\n b\r\n")},
        {"a fold with a tabulator", request("GET /echo", "X: a\r\n\tb\r\n")},
        {"a fold first", "GET /echo HTTP/1.1\r\n X: y\r\nHost: localhost\r\n\r\n"},
        {"a line without a colon", request("GET /echo", "X\r\n")},
        {"a field without a name", request("GET /echo", ": x\r\n")},
        {"a blank before the colon", request("GET /echo", "X : y\r\n")},
        {"no Host", "GET /echo HTTP/1.1\r\n\r\n"},
        {"two Hosts", request("GET /echo", "Host: localhost\r\n")},
        {"two lengths", with("Content-Length: 5\r\nContent-Length: 5\r\n")},
        {"a list of lengths", with("Content-Length: 5, 5\r\n")},
        {"a length with a plus", with("Content-Length: +5\r\n")},
        {"an empty length", with("Content-Length:\r\n")},
        {"a length of 2^64 + 5", with("Content-Length: 18446744073709551621\r\n")},
        {"a length and chunks", with("Content-Length: 5\r\nTransfer-Encoding: chunked\r\n")},
        {"chunks and a length", with("Transfer-Encoding: chunked\r\nContent-Length: 5\r\n")},
        {"chunks twice", with("Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n")},
        {"chunks twice in a line", with("Transfer-Encoding: chunked, chunked\r\n")},
        {"a coding before the chunks", with("Transfer-Encoding: gzip, chunked\r\n")},
        {"no coding", with("Transfer-Encoding: identity\r\n")},
        {"a coding with a vertical tabulator", with("Transfer-Encoding: \vchunked\r\n")},
        {"HTTP/1.0 with chunks", "POST /echo HTTP/1.0\r\nHost: a\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n"},
        {"HTTP/1.0 that stays", "GET /echo HTTP/1.0\r\nHost: a\r\nConnection: x, Keep-Alive\r\n\r\n"},
        {"a chunk without a length", request("PUT /echo", "Transfer-Encoding: chunked\r\n", "\r\na\r\n0\r\n\r\n")},
        {"a chunk of -1", request("PUT /echo", "Transfer-Encoding: chunked\r\n", "-1\r\na\r\n0\r\n\r\n")},
        {"a chunk of 2^64", request("PUT /echo", "Transfer-Encoding: chunked\r\n", "10000000000000000\r\na\r\n")},
        {"a chunk that is longer", request("PUT /echo", "Transfer-Encoding: chunked\r\n", "1\r\nab\r\n0\r\n\r\n")},
        {"a chunk that ends with LF", request("PUT /echo", "Transfer-Encoding: chunked\r\n", "1\na\n0\n\n")},
        {"a chunk beyond the limit", request("PUT /echo", "Transfer-Encoding: chunked\r\n", "65\r\n"), 413},
        {"a length beyond the limit", request("PUT /echo", "Content-Length: 101\r\n"), 413},
        {"another expectation", request("PUT /echo", "Content-Length: 1\r\nExpect: 200-ok\r\n"), 417},
        {"an empty host", path("http:///echo")},
        {"a user in the address", path("http://a@b/echo")},
        {"a tunnel", request("CONNECT localhost:443")},
        {"the service itself with GET", path("*")},
        {"U+0000 in the path", path("/a%00b")},
        {"U+0000 in the query", path("/a?b=%00")},
        {"a slash in the path", path("/a%2fb")},
        {"a backslash in the path", path("/a%5cb")},
        {"the folder itself", path("/a/./b")},
        {"the folder above", path("/a/../b")},
        {"the folder above last", path("/a/..")},
        {"the folder above, escaped", path("/a/%2e%2E/b")},
        {"an escape without digits", path("/%zz")},
        {"a broken escape in the query", path("/?a=%4")},
        {"a lone byte", path("/%ff")},
        {"a slash in three bytes", path("/%e0%80%af")},
        {"wrong UTF-8 in the query", path("/?%c3=1")},
        {"a target beyond ASCII", path("/\xc3\xa4")},
        {"a fragment", path("/a#b")},
        {"too many parameters", path("/?a" + parameters)},
        {"a header too long", request("GET /echo", "X: " + std::string(17'000, 'x') + "\r\n"), 431},
        {"a header without end", "GET /" + std::string(17'000, 'x'), 431},
        {"too many lines",
         "GET / HTTP/1.1\r\n" +
             []
             {
                 std::string lines;
                 for (int number = 0; number < 6'000; ++number)
                 {
                     lines += "a:\r\n";
                 }
                 return lines;
             }(),
         431},
        {"a request for a stream with more behind", upgrade_request("/stream") + "x"},
        {"a stream of another version", upgrade_request("/stream", "Sec-WebSocket-Version: 8\r\n"), 426},
        {"a stream with no request for one", path("/stream"), 426},
    };
    TestServer server;
    for (auto const& each : cases)
    {
        SCOPED_TRACE(each.what);
        HttpClient client(server.address());
        auto const answer = client.exchange(each.bytes);
        EXPECT_EQ(answer.status, each.status);
        EXPECT_EQ(answer.field("connection"), "close");
        client.shut_down_sending();
        EXPECT_TRUE(client.is_closed_by_server());
    }
    EXPECT_EQ(HttpClient(server.address()).exchange(path("/echo")).status, 200);
}

TEST(HttpServer, closes_where_the_client_wants_it_and_where_a_body_was_not_read)
{
    struct Case
    {
        std::string what;
        std::string bytes;
        unsigned status = 200;
    };
    std::vector<Case> const cases{
        {"at the client's wish", request("GET /echo", "Connection: x, close\r\n")},
        {"HTTP/1.0", "GET /echo HTTP/1.0\r\nHost: a\r\n\r\n"},
        {"a body that nobody read", request("PUT /secret", "Content-Length: 3\r\n"), 401},
    };
    TestServer server;
    for (auto const& each : cases)
    {
        SCOPED_TRACE(each.what);
        HttpClient client(server.address());
        // What follows is not served any more, and whoever sends goes on without harm to the answer.
        auto const answer = client.exchange(each.bytes + "abc" + request("PUT /echo"));
        EXPECT_EQ(answer.status, each.status);
        EXPECT_EQ(answer.field("connection"), "close");
        EXPECT_TRUE(client.send(std::string(100'000, 'x')));
        client.shut_down_sending();
        EXPECT_TRUE(client.is_closed_by_server());
    }
    HttpClient client(server.address());
    EXPECT_EQ(client.exchange(request("GET /secret")).status, 401);
    EXPECT_EQ(client.exchange(request("GET /echo")).status, 200);
}

TEST(HttpServer, asks_for_a_body_that_waits_to_be_asked_for)
{
    TestServer server;
    HttpClient client(server.address());
    client.send(request("PUT /echo", "Content-Length: 3\r\nExpect: 100-Continue\r\n"));
    EXPECT_EQ(client.read_answer(false).status, 100);
    EXPECT_EQ(client.exchange("abc").body, "PUT /echo abc");
    EXPECT_EQ(client.exchange(request("PUT /secret", "Content-Length: 3\r\nExpect: 100-continue\r\n")).status, 401);
}

TEST(HttpServer, replies_late_or_never_or_twice)
{
    TestServer server;
    HttpClient client(server.address());
    EXPECT_EQ(client.exchange(request("GET /drop")).status, 500);
    EXPECT_EQ(client.exchange(request("GET /throw")).status, 500);
    EXPECT_EQ(HttpClient(server.address()).exchange(request("GET /bad")).status, 500);
    EXPECT_TRUE(server.log.lines.find([](auto const& line) { return line.find("not in the mood") != line.npos; }));
    client.send(request("GET /hold"));
    auto const reply = server.handler.held.take();
    (*reply)(text_response("first"));
    (*reply)(text_response("second"));
    EXPECT_EQ(client.read_answer().body, "first");
    EXPECT_EQ(client.exchange(request("GET /echo")).body, "GET /echo ");
}

TEST(HttpServer, gives_up_clients_that_are_too_slow)
{
    struct Case
    {
        std::string what;
        std::string bytes;
        unsigned status = 0;
    };
    std::vector<Case> const cases{
        {"nothing", ""},
        {"half a header", "GET /echo HT", 408},
        {"a line end", "\r\n", 408},
        {"half a second header", request("GET /echo") + "GET", 408},
        {"no second header", request("GET /echo")},
        {"half a body", request("PUT /echo", "Content-Length: 9\r\n", "abc"), 408},
        {"half a chunk", request("PUT /echo", "Transfer-Encoding: chunked\r\n", "9\r\nabc"), 408},
    };
    HttpLimits limits;
    limits.header_time = limits.idle_time = limits.rate_time = 60ms;
    TestServer server(limits);
    for (auto const& each : cases)
    {
        SCOPED_TRACE(each.what);
        HttpClient client(server.address());
        client.send(each.bytes);
        if (each.bytes.find("/echo HTTP/1.1\r\nHost: localhost\r\n\r\n") != std::string::npos)
        {
            EXPECT_EQ(client.read_answer().status, 200);
        }
        EXPECT_EQ(client.read_answer().status, each.status);
        client.shut_down_sending();
        EXPECT_TRUE(client.is_closed_by_server());
    }
}

TEST(HttpServer, gives_up_clients_that_do_not_read_and_serves_the_others)
{
    HttpLimits limits;
    limits.rate_time = 100ms;
    TestServer server(limits);
    HttpClient lazy(server.address(), 4096);
    lazy.send(request("GET /large"));
    HttpClient other(server.address());
    EXPECT_EQ(other.exchange(request("GET /large")).body.size(), TestHandler::large);
    EXPECT_TRUE(lazy.is_cut_off());
}

TEST(HttpServer, lets_clients_hang_up_whenever_they_like)
{
    TestServer server;
    {
        HttpClient(server.address()).send("GET /e");
        HttpClient(server.address()).send(request("PUT /echo", "Content-Length: 9\r\n", "abc"));
        HttpClient(server.address()).send(request("GET /large"));
        HttpClient gone(server.address());
        gone.send(request("GET /hold") + request("GET /echo"));
        auto const reply = server.handler.held.take();
        gone.hang_up();
        (*reply)(text_response(std::string(1'000'000, 'x')));
    }
    HttpClient client(server.address());
    EXPECT_EQ(client.exchange(request("GET /echo")).status, 200);
    EXPECT_THAT(server.line_of("/hold"), HasSubstr(" 200 "));
    // The one that never became whole has a line too.
    EXPECT_TRUE(server.log.lines.find([](std::string const& line) { return line.find("PUT /echo - ") != line.npos; }));
    server.server.stop("", 10s);
    EXPECT_EQ(server.server.counts().connections, 0);
}

TEST(HttpServer, bounds_the_connections)
{
    HttpLimits limits;
    limits.connections = 4;
    limits.unknown_connections = 3;
    limits.user_connections = 2;
    TestServer server(limits);
    HttpClient anna(server.address());
    HttpClient annas_panel(server.address());
    EXPECT_EQ(anna.exchange(request("GET /user/anna")).status, 200);
    EXPECT_EQ(annas_panel.exchange(request("GET /user/anna")).status, 200);
    {
        HttpClient third(server.address());
        auto const refused = third.exchange(request("GET /user/anna"));
        EXPECT_EQ(refused.status, 503);
        EXPECT_NE(refused.field("retry-after"), "");
        EXPECT_TRUE(third.is_closed_by_server());
    }
    EXPECT_EQ(anna.exchange(request("GET /user/anna")).status, 200);

    HttpClient unknown(server.address());
    HttpClient bert(server.address());
    EXPECT_EQ(unknown.exchange(request("GET /echo")).status, 200);
    EXPECT_EQ(bert.exchange(request("GET /user/bert")).status, 200);
    HttpClient fifth(server.address());
    EXPECT_EQ(fifth.read_answer().status, 503);
}

TEST(HttpServer, bounds_the_connections_of_an_address_until_a_user_is_known)
{
    HttpLimits limits;
    limits.unknown_connections = 1;
    TestServer server(limits);
    HttpClient first(server.address());
    EXPECT_EQ(first.exchange(request("GET /echo")).status, 200);
    EXPECT_EQ(HttpClient(server.address()).read_answer().status, 503);
    EXPECT_EQ(first.exchange(request("GET /user/anna")).status, 200);
    HttpClient second(server.address());
    EXPECT_EQ(second.exchange(request("GET /echo")).status, 200);
}

TEST(HttpServer, believes_the_last_hop_of_a_known_proxy_alone)
{
    std::string const forwarded = "X-Forwarded-For: 1.1.1.1\r\nX-Forwarded-For: 9.9.9.9, 2001:DB8::0:1\r\n"
                                  "X-Forwarded-Proto: http, HTTPS\r\n";
    auto settings = TestServer::settings_of({});
    settings.limits.unknown_connections = 0;
    settings.proxies = {"::ffff:127.0.0.1"};
    TestServer behind(settings);
    HttpClient(behind.address()).exchange(request("GET /echo", forwarded));
    auto asked = behind.handler.requests.take().value_or(RequestHead{});
    EXPECT_EQ(asked.address, "2001:db8::1");
    EXPECT_TRUE(asked.secure);
    EXPECT_THAT(behind.line_of("/echo"), EndsWith(" 2001:db8::1"));
    HttpClient(behind.address()).exchange(request("GET /echo", "X-Forwarded-For: 1.1.1.1, unknown\r\n"));
    EXPECT_EQ(behind.handler.requests.take().value_or(RequestHead{}).address, "127.0.0.1");

    TestServer open;
    HttpClient(open.address()).exchange(request("GET /echo", forwarded));
    asked = open.handler.requests.take().value_or(RequestHead{});
    EXPECT_EQ(asked.address, "127.0.0.1");
    EXPECT_FALSE(asked.secure);
}

TEST(HttpServer, tells_of_a_request_in_one_line_without_its_query)
{
    TestServer server;
    HttpClient client(server.address());
    client.exchange(request("GET /user/anna?token=secret"));
    EXPECT_THAT(server.line_of("/user/anna"),
                testing::ContainsRegex("Z request 1 GET /user/anna 200 [0-9]+ ms user:anna 127.0.0.1$"));
    client.exchange(request("GET /a%20200%0a%1b%5b?x=secret"));
    EXPECT_THAT(server.log.lines.all().back(), HasSubstr(" GET /a+200\\x0a\\x1b[ 200 "));
    for (auto const& line : server.log.lines.all())
    {
        EXPECT_THAT(line, Not(HasSubstr("secret")));
    }
}

TEST(HttpServer, drains_and_stops_in_order)
{
    TestServer server;
    HttpClient idle(server.address());
    EXPECT_EQ(idle.exchange(request("GET /echo")).status, 200);
    HttpClient half(server.address());
    half.send("GET /");
    HttpClient running(server.address());
    running.send(request("GET /hold") + request("GET /echo"));
    auto const reply = server.handler.held.take();
    server.server.drain();
    EXPECT_TRUE(idle.is_closed_by_server());
    EXPECT_TRUE(half.is_closed_by_server());
    EXPECT_THROW(HttpClient{server.address()}, std::runtime_error);

    std::thread stopping([&] { server.server.stop("", 10s); });
    (*reply)(text_response("done"));
    auto const answer = running.read_answer();
    EXPECT_EQ(answer.body, "done");
    EXPECT_EQ(answer.field("connection"), "close");
    EXPECT_EQ(running.read_answer().status, 0);
    running.shut_down_sending();
    stopping.join();
}

TEST(HttpServer, stops_at_the_end_of_its_patience_and_takes_replies_after_that)
{
    auto server = std::make_unique<TestServer>();
    HttpClient running(server->address());
    running.send(request("GET /hold"));
    auto const reply = server->handler.held.take();
    server->server.stop("", 20ms);
    EXPECT_TRUE(running.is_closed_by_server());
    (*reply)(text_response("too late"));
    server.reset();
    (*reply)(text_response("far too late"));
}

TEST(HttpServer, does_work_on_its_thread_now_and_later)
{
    TestServer server;
    Mailbox<std::thread::id> ran;
    server.server.after(10ms, [&] { ran.put(std::this_thread::get_id()); });
    server.server.post([] { throw std::runtime_error("oh"); });
    server.server.post([&] { ran.put(std::this_thread::get_id()); });
    auto const first = ran.take();
    EXPECT_TRUE(first);
    EXPECT_EQ(ran.take(), first);
    EXPECT_NE(first, std::this_thread::get_id());
}

TEST(HttpServer, listens_on_several_addresses_and_says_where_it_can_not)
{
    auto settings = TestServer::settings_of({});
    settings.listen.push_back({.host = "::1", .port = 0});
    TestServer server(settings);
    ASSERT_EQ(server.server.addresses().size(), 2);
    EXPECT_THAT(server.server.addresses()[1], testing::StartsWith("http://[::1]:"));
    EXPECT_EQ(HttpClient(server.server.addresses()[1]).exchange(request("GET /echo")).status, 200);

    auto const port = server.address().substr(17, server.address().size() - 18);
    settings.listen = {{.host = "127.0.0.1", .port = static_cast<std::uint16_t>(std::stoul(port))}};
    try
    {
        HttpServer(settings, server.handler, server.log);
        FAIL();
    }
    catch (std::runtime_error const& error)
    {
        EXPECT_EQ(error.what(), "Can't listen on 127.0.0.1:" + port + ": Address already in use");
    }
}

} // namespace
} // namespace Ravik::Test
