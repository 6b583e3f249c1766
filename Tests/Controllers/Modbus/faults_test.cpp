#include "Domain.h"
#include "ScriptedDevice.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace RavikSrv;
using namespace Ravik::Test;
using testing::ElementsAre;

namespace
{

using Texts = std::vector<std::string>;
using Request = ScriptedDevice::Request;

/// Three requests, since none of these registers is near another.
std::vector<std::pair<std::string, Value>> const scattered = {
    {"holding:100:int16", {}}, {"holding:200:int16", {}}, {"holding:300:int16", {}}};

TEST(ModbusFaults, nobody_listens)
{
    std::uint16_t port = 0;
    {
        ScriptedDevice const gone;
        port = gone.port();
    }
    Domain domain(port);
    EXPECT_EQ(domain.outcomes(scattered), Texts(3, "CONNECTION_REFUSED"));

    Domain unknown(port, {{"host", "no-such-device.invalid"}});
    auto const outcome = unknown.outcomes({scattered.front()}).front();
    EXPECT_TRUE(outcome == "CONNECTION_REFUSED" || outcome == "TIMEOUT") << outcome;
}

TEST(ModbusFaults, a_host_that_takes_no_connection_stalls_a_group_once)
{
    // The one place in the queue of a socket that nobody accepts from is taken, so the next connection gets no answer.
    int const listening = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    ASSERT_EQ(bind(listening, generic, size), 0);
    ASSERT_EQ(listen(listening, 0), 0);
    ASSERT_EQ(getsockname(listening, generic, &size), 0);
    int const filling = socket(AF_INET, SOCK_STREAM, 0);
    ASSERT_EQ(connect(filling, generic, size), 0);

    Domain domain(ntohs(address.sin_port), {{"timeoutMs", 200}});
    auto const start = std::chrono::steady_clock::now();
    EXPECT_EQ(domain.outcomes(scattered), Texts(3, "TIMEOUT"));
    auto const took = std::chrono::steady_clock::now() - start;
    EXPECT_GE(took, std::chrono::milliseconds(200));
    EXPECT_LT(took, std::chrono::milliseconds(600)) << "one timeout, not one for each request";
    close(filling);
    close(listening);
}

TEST(ModbusFaults, an_answer_that_is_none_ends_the_connection_and_the_group)
{
    struct Case
    {
        char const* name;
        ScriptedDevice::Script first_answer;
        char const* result;
    };
    auto const spoilt = [](std::function<void(ScriptedDevice::Bytes&)> const& spoil)
    {
        return [spoil](ScriptedDevice& device, Request const& request)
        {
            auto answer = device.right_answer(request);
            spoil(answer);
            request.send(answer);
        };
    };
    std::vector<Case> const cases = {
        {"silence", [](ScriptedDevice&, Request const&) {}, "TIMEOUT"},
        {"hung up", [](ScriptedDevice&, Request const& request) { request.hang_up(); }, "CONNECTION_LOST"},
        {"hung up in the middle",
         [](ScriptedDevice& device, Request const& request)
         {
             auto answer = device.right_answer(request);
             answer.resize(8);
             request.send(answer);
             request.hang_up();
         },
         "CONNECTION_LOST"},
        {"half an answer", spoilt([](auto& answer) { answer.resize(10); }), "TIMEOUT"},
        {"wrong transaction", spoilt([](auto& answer) { ++answer[1]; }), "CONNECTION_LOST"},
        {"wrong function", spoilt([](auto& answer) { answer[7] = 4; }), "CONNECTION_LOST"},
        {"more registers than asked for",
         spoilt(
             [](auto& answer)
             {
                 answer[8] = 250;
                 answer.resize(9 + 250);
             }),
         "CONNECTION_LOST"},
        {"more bytes than an answer can have",
         spoilt(
             [](auto& answer)
             {
                 answer[8] = 255;
                 answer.resize(2000, 0xEE);
             }),
         "CONNECTION_LOST"},
        {"garbage", spoilt([](auto& answer) { answer.assign(300, 0xA5); }), "CONNECTION_LOST"},
        {"byte by byte, too slowly",
         [](ScriptedDevice& device, Request const& request)
         {
             for (auto const byte : device.right_answer(request))
             {
                 request.send({byte});
                 if (request.is_left_within(40))
                 {
                     return;
                 }
             }
         },
         "TIMEOUT"},
    };
    for (auto const& [name, first_answer, result] : cases)
    {
        ScriptedDevice device([script = first_answer](ScriptedDevice& self, Request const& request)
                              { request.connection == 1 ? script(self, request) : self.answer(request); });
        device.registers[100] = 11;
        device.registers[200] = 22;
        Domain domain(device.port(), {{"timeoutMs", 200}});
        EXPECT_EQ(domain.outcomes(scattered), Texts(3, result)) << name;
        EXPECT_EQ(device.requests().size(), 1U) << name << ": the rest of the group is not tried";
        EXPECT_THAT(domain.outcomes(scattered), ElementsAre("11", "22", "0")) << name;
        EXPECT_EQ(device.connections(), 2) << name;
    }
}

TEST(ModbusFaults, a_late_answer_is_never_taken_for_the_next_one)
{
    // The answer to the first request comes when the second is there: over its own connection, and where the device
    // mixes them up, over the new one.
    for (bool const mixed_up : {false, true})
    {
        int first_connection = -1;
        ScriptedDevice::Bytes held_back;
        ScriptedDevice device(
            [&](ScriptedDevice& self, Request const& request)
            {
                if (request.address() == 100)
                {
                    first_connection = dup(request.socket);
                    held_back = self.right_answer(request);
                    return;
                }
                auto late = request;
                late.socket = mixed_up ? request.socket : first_connection;
                late.send(held_back);
                self.answer(request);
            });
        device.registers[100] = 11;
        device.registers[200] = 22;
        Domain domain(device.port(), {{"timeoutMs", 200}});
        EXPECT_THAT(domain.outcomes({scattered[0]}), ElementsAre("TIMEOUT"));
        EXPECT_THAT(domain.outcomes({scattered[1]}), ElementsAre(mixed_up ? "CONNECTION_LOST" : "22"));
        EXPECT_EQ(device.connections(), 2);
        close(first_connection);
    }
}

TEST(ModbusFaults, a_lost_connection_is_opened_anew_without_a_failure)
{
    std::atomic<bool> hung_up = false;
    ScriptedDevice device(
        [&](ScriptedDevice& self, Request const& request)
        {
            auto answer = self.right_answer(request);
            if (request.connection == 1)
            {
                answer.push_back(0); // something of which nobody knows what it is to be
            }
            request.send(answer);
            if (request.connection == 2)
            {
                request.hang_up();
                hung_up = true;
                hung_up.notify_one();
            }
        });
    device.registers[100] = 11;
    Domain domain(device.port());
    for (int connection = 1; connection <= 3; ++connection)
    {
        EXPECT_THAT(domain.outcomes({scattered[0]}), ElementsAre("11"));
        EXPECT_EQ(device.connections(), connection);
        if (connection == 2)
        {
            hung_up.wait(false);
        }
    }
    EXPECT_THAT(domain.outcomes({scattered[0]}), ElementsAre("11"));
    EXPECT_EQ(device.connections(), 3) << "a sound connection stays";
}

TEST(ModbusFaults, exceptions_bear_their_names)
{
    std::atomic<int> code = 0;
    ScriptedDevice device([&](ScriptedDevice&, Request const& request)
                          { request.send(ScriptedDevice::exception(request, code)); });
    Domain domain(device.port());
    std::vector<std::pair<int, char const*>> const cases = {{1, "ILLEGAL_FUNCTION"},
                                                            {2, "ILLEGAL_DATA_ADDRESS"},
                                                            {3, "ILLEGAL_DATA_VALUE"},
                                                            {4, "DEVICE_FAILURE"},
                                                            {5, "DEVICE_BUSY"},
                                                            {6, "DEVICE_BUSY"},
                                                            {7, "DEVICE_FAILURE"},
                                                            {8, "DEVICE_FAILURE"},
                                                            {9, "DEVICE_FAILURE"},
                                                            {10, "GATEWAY_TARGET_FAILED"},
                                                            {11, "GATEWAY_TARGET_FAILED"},
                                                            {99, "DEVICE_FAILURE"},
                                                            {0, "DEVICE_FAILURE"}};
    for (auto const& [sent, name] : cases)
    {
        code = sent;
        auto const before = device.requests().size();
        EXPECT_EQ(domain.outcomes(scattered), Texts(3, name)) << sent;
        auto const gateway = sent == 10 || sent == 11;
        EXPECT_EQ(device.requests().size() - before, gateway ? 1U : 3U) << sent << ": a gateway is asked once";
    }
    EXPECT_EQ(device.connections(), 1) << "an exception is an answer";
}

TEST(ModbusFaults, a_refused_request_is_repeated_symbol_by_symbol)
{
    ScriptedDevice device(
        [](ScriptedDevice& self, Request const& request)
        {
            auto const touches = request.address() <= 2 && request.address() + request.word(10) > 2;
            touches ? request.send(ScriptedDevice::exception(request, 3)) : self.answer(request);
        });
    Domain domain(device.port());
    EXPECT_THAT(domain.outcomes(adjacent("holding", 1, 4, ":int16", [](int index) { return Value(index + 1); })),
                ElementsAre("ok", "ILLEGAL_DATA_VALUE", "ok", "ok"));
    EXPECT_THAT(device.requests(), ElementsAre("16@1x4", "16@1x1", "16@2x1", "16@3x1", "16@4x1"));
    EXPECT_THAT(domain.outcomes({{"holding:0:int16", {}}, {"holding:1:int16", {}}, {"holding:4:int16", {}}}),
                ElementsAre("0", "1", "4"));
    EXPECT_THAT(device.requests(), testing::Contains("3@0x5"));
    EXPECT_THAT(device.requests(), testing::Contains("3@0x2")) << "only the gap was at fault";
    EXPECT_EQ(device.requests().size(), 8U);
}

TEST(ModbusFaults, the_wire_sees_the_fewest_requests_in_the_groups_order)
{
    ScriptedDevice device;
    Domain domain(device.port());
    auto const number = [](int index) { return Value(index); };
    domain.send(adjacent("holding", 0, 1000, ":uint16", number));
    EXPECT_EQ(device.requests().size(), 9U);
    auto reads = adjacent("holding", 0, 1000, ":uint16", [](int) { return Value(); });
    std::reverse(reads.begin(), reads.end());
    EXPECT_EQ(domain.send(reads).front().read_value(), Value(999));
    EXPECT_EQ(device.requests().size(), 9U + 8U);

    ScriptedDevice old;
    Domain single(old.port(), {{"singleWritesOnly", true}, {"registersPerRead", 2}});
    EXPECT_THAT(single.outcomes({{"holding:7:int32", 65538},
                                 {"holding:3:string[3]", "ABC"},
                                 {"holding:3:string[6]", {}},
                                 {"holding:7:int32", {}}}),
                ElementsAre("ok", "ok", "ABC", "65538"));
    EXPECT_THAT(old.requests(), ElementsAre("6@7", "6@8", "6@3", "6@4", "3@3x2", "3@5x1", "3@7x2"));
}

TEST(ModbusFaults, bits_of_a_register_leave_the_others_alone)
{
    std::atomic<bool> knows_masks = true;
    ScriptedDevice device(
        [&](ScriptedDevice& self, Request const& request)
        {
            bool const refused = request.function() == 22 && !knows_masks;
            refused ? request.send(ScriptedDevice::exception(request, 1)) : self.answer(request);
        });
    device.registers[5] = 0xF00F;
    Domain domain(device.port());
    std::vector<std::pair<std::string, Value>> const bits = {
        {"holding:5.0", false}, {"holding:5.8", true}, {"holding:5.15", true}, {"holding:5:uint16", {}}};
    EXPECT_THAT(domain.outcomes(bits), ElementsAre("ok", "ok", "ok", std::to_string(0xF10E)));
    EXPECT_THAT(device.requests(), ElementsAre("22@5", "3@5x1"));

    knows_masks = false;
    domain.send({{"holding:5.1", false}, {"holding:6.1", true}});
    EXPECT_THAT(domain.outcomes({{"holding:5:uint16", {}}, {"holding:6.1", {}}}),
                ElementsAre(std::to_string(0xF10C), "true"));
    EXPECT_THAT(device.requests(), ElementsAre("22@5", "3@5x1", "22@5", "3@5x1", "16@5x1", "3@6x1", "16@6x1", "3@5x2"))
        << "the device is asked once whether it knows masked writes";
}

} // namespace
