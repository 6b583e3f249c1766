#include "HttpClient.h"
#include "TestServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

} // namespace
} // namespace Ravik::Test
