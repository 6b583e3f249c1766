#include "TestServer.h"

#include "Service/Support/HttpClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <thread>

namespace Ravik::Test
{
namespace
{

using namespace Service;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;

class StreamTest : public testing::Test
{
protected:
    void serve(HttpLimits const& limits = {}) { m_server = std::make_unique<TestServer>(limits); }

    /// A client whose stream is open.
    std::unique_ptr<HttpClient> open(int receive_buffer = 0)
    {
        auto client = std::make_unique<HttpClient>(m_server->address(), receive_buffer);
        // What is offered besides is taken for nothing.
        client->send(upgrade_request("/stream", "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Protocol: a, b\r\n"
                                                "Sec-WebSocket-Extensions: permessage-deflate\r\n"));
        m_answer = client->read_answer();
        EXPECT_EQ(m_answer.status, 101);
        m_stream = m_server->handler.streams.take().value_or(nullptr);
        EXPECT_EQ(m_stream->told.take(), "opened");
        return client;
    }

    /// The handler hears of the end, and of nothing after it.
    void expect_closed()
    {
        EXPECT_TRUE(m_stream->told.find([](std::string const& told) { return told == "closed"; }));
        EXPECT_EQ(m_stream->told.all().back(), "closed");
    }

    std::unique_ptr<TestServer> m_server;
    Answer m_answer;
    std::shared_ptr<TestStream> m_stream;
};

TEST_F(StreamTest, hands_messages_on_both_ways_until_the_client_closes)
{
    serve();
    auto const client = open();
    EXPECT_EQ(m_answer.field("sec-websocket-accept"), "s3pPLMBiTxaQ9kYGzzhZRbK+xOo=");
    EXPECT_EQ(m_answer.field("x-content-type-options"), "nosniff");
    EXPECT_EQ(m_answer.fields.count("sec-websocket-extensions") + m_answer.fields.count("sec-websocket-protocol"), 0);
    EXPECT_THAT(m_server->line_of("/stream"), HasSubstr("GET /stream 101 "));
    EXPECT_EQ(m_server->server.counts().streams, 1);
    EXPECT_EQ(m_server->server.counts().connections, 0);

    client->send(frame(Frame::text, "one") + frame(Frame::text, "t", false) + frame(0, "wo"));
    EXPECT_EQ(read_frame(*client).payload, "heard one");
    EXPECT_EQ(read_frame(*client).payload, "heard two");
    client->send(frame(Frame::ping, "?"));
    auto const pong = read_frame(*client);
    EXPECT_EQ(pong.opcode, Frame::pong);
    EXPECT_EQ(pong.payload, "?");
    client->send(frame(Frame::closing, "\x03\xe8"));
    EXPECT_EQ(read_frame(*client).close_code(), 1000);
    client->shut_down_sending();
    EXPECT_TRUE(client->is_closed_by_server());
    expect_closed();
    EXPECT_THAT(m_stream->told.all(), ElementsAre("opened", "message one", "message two", "closed"));
    // What comes too late goes nowhere.
    m_stream->stream()->send(std::make_shared<std::string const>("late"));
    m_stream->stream()->close(1000, "late");
}

TEST_F(StreamTest, closes_with_a_reason)
{
    struct Case
    {
        std::string what;
        std::string bytes;
        unsigned code;
    };
    std::vector<Case> const cases{
        {"at the handler's wish", frame(Frame::text, "close"), 1000},
        {"a handler that throws", frame(Frame::text, "throw"), 1011},
        {"a binary message", frame(2, "x"), 1003},
        {"a message too long", frame(Frame::text, std::string(1001, 'x')), 1009},
        {"a message too long in pieces",
         frame(Frame::text, std::string(600, 'x'), false) + frame(0, std::string(600, 'x')), 1009},
        {"wrong UTF-8", frame(Frame::text, "\xff"), 1007},
        {"a frame without a mask", std::string("\x81\x01x"), 1002},
        {"a reserved bit", std::string("\xc1\x80mask"), 1002},
        {"an unknown frame", frame(3, ""), 1002},
        {"a ping in pieces", frame(Frame::ping, "", false), 1002},
        {"a piece of nothing", frame(0, "x"), 1002},
    };
    HttpLimits limits;
    limits.stream_message = 1000;
    serve(limits);
    for (auto const& each : cases)
    {
        SCOPED_TRACE(each.what);
        auto const client = open();
        client->send(each.bytes);
        EXPECT_EQ(read_frame(*client).close_code(), each.code);
        client->send(frame(Frame::closing, "\x03\xe8"));
        client->shut_down_sending();
        EXPECT_TRUE(client->is_closed_by_server());
        expect_closed();
    }
}

TEST_F(StreamTest, closes_a_client_that_does_not_keep_up)
{
    HttpLimits limits;
    limits.stream_queue = 4;
    limits.closing_time = 50ms;
    serve(limits);
    auto const lazy = open(4096);
    auto const stream = m_stream->stream();
    auto const message = std::make_shared<std::string const>(100'000, 'x');
    for (int count = 0; count < 100; ++count)
    {
        stream->send(message);
    }
    EXPECT_TRUE(lazy->is_cut_off());
    expect_closed();

    // One that reads what is on its way learns why.
    limits.closing_time = 10s;
    serve(limits);
    auto const late = open(4096);
    for (int count = 0; count < 100; ++count)
    {
        m_stream->stream()->send(message);
    }
    auto got = read_frame(*late);
    while (got.opcode == Frame::text)
    {
        EXPECT_EQ(got.payload.size(), message->size());
        got = read_frame(*late);
    }
    EXPECT_EQ(got.close_code(), 1013);
    EXPECT_THAT(got.payload, HasSubstr("does not keep up"));
}

TEST_F(StreamTest, cuts_off_a_client_that_neither_speaks_nor_answers_a_ping)
{
    HttpLimits limits;
    limits.idle_time = 100ms;
    serve(limits);
    auto const client = open();
    auto const ping = read_frame(*client);
    EXPECT_EQ(ping.opcode, Frame::ping);
    client->send(frame(Frame::pong, ping.payload));
    EXPECT_EQ(read_frame(*client).opcode, Frame::ping);
    EXPECT_TRUE(client->is_closed_by_server());
    expect_closed();
}

TEST_F(StreamTest, survives_a_client_that_hangs_up)
{
    serve();
    open()->hang_up();
    expect_closed();
    auto const client = open();
    client->send(frame(Frame::text, "half").substr(0, 5));
    client->hang_up();
    expect_closed();
}

TEST_F(StreamTest, ends_with_a_reason_when_the_service_ends)
{
    serve();
    auto const client = open();
    m_server->server.drain();
    client->send(frame(Frame::text, "still here"));
    EXPECT_EQ(read_frame(*client).payload, "heard still here");
    std::thread stopping([&] { m_server->server.stop(std::string(122, '-') + "\u00e4", 10s); });
    auto const end = read_frame(*client);
    EXPECT_EQ(end.close_code(), 1001);
    EXPECT_EQ(end.payload.substr(2), std::string(122, '-'));
    client->send(frame(Frame::closing, "\x03\xe9"));
    client->shut_down_sending();
    stopping.join();
    expect_closed();
    m_server.reset();
    m_stream->stream()->send(std::make_shared<std::string const>("too late"));
}

} // namespace
} // namespace Ravik::Test
