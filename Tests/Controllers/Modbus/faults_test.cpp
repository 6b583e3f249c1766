#include "Domain.h"
#include "ScriptedDevice.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace RavikSrv;
using namespace Ravik::Test;

namespace
{

using Bytes = ScriptedDevice::Bytes;
using Request = ScriptedDevice::Request;

/// Three requests, since none of these registers is near another.
Controller::Accesses const scattered = {
    {"holding:100:int16", {}}, {"holding:200:int16", {}}, {"holding:300:int16", {}}};
Controller::Accesses const only_100 = {scattered[0]};

/// What the group of the three comes to where all of them have the same outcome.
std::string thrice(std::string const& outcome)
{
    return outcome + " " + outcome + " " + outcome;
}

/// A device whose registers 100 and 200 hold 11 and 22.
class Device : public ScriptedDevice
{
public:
    explicit Device(Script script) : ScriptedDevice(std::move(script))
    {
        registers[100] = 11;
        registers[200] = 22;
    }
};

TEST(ModbusFaults, nobody_listens)
{
    std::uint16_t port = 0;
    close(listening_socket(1, port));
    EXPECT_EQ(Domain(port).outcomes(scattered), thrice("CONNECTION_REFUSED"));
    auto const outcome = Domain(port, map({{"host", "no-such-device.invalid"}})).outcomes(only_100);
    EXPECT_TRUE(outcome == "CONNECTION_REFUSED" || outcome == "TIMEOUT") << outcome;
}

TEST(ModbusFaults, a_host_that_takes_no_connection_stalls_a_group_once)
{
    // The one place in the queue of a socket that nobody accepts from is taken, so the next connection gets no answer.
    std::uint16_t port = 0;
    auto const listening = listening_socket(0, port);
    Domain first(port, map({{"timeoutMs", 100}}));
    EXPECT_EQ(first.outcomes(only_100), "TIMEOUT") << "connected, but not answered";

    Domain second(port, map({{"timeoutMs", 200}}));
    auto const start = std::chrono::steady_clock::now();
    for (auto const& command : second.send(scattered))
    {
        EXPECT_EQ(command.result_string(), "No connection to 127.0.0.1:" + std::to_string(port) + " within 200 ms");
    }
    auto const took = std::chrono::steady_clock::now() - start;
    EXPECT_GE(took, std::chrono::milliseconds(200));
    EXPECT_LT(took, std::chrono::milliseconds(600)) << "one timeout, not one for each request";
    close(listening);
}

TEST(ModbusFaults, an_answer_that_is_none_ends_the_connection_and_the_group)
{
    enum
    {
        STAYS,
        HANGS_UP,
        IS_SLOW
    };
    struct Case
    {
        char const* name;
        int device;
        std::function<void(Bytes& answer)> spoil;
        char const* result;
    };
    std::vector<Case> const cases = {
        {"silence", STAYS, [](Bytes& answer) { answer.clear(); }, "TIMEOUT"},
        {"half an answer", STAYS, [](Bytes& answer) { answer.resize(10); }, "TIMEOUT"},
        {"byte by byte, too slowly", IS_SLOW, [](Bytes&) {}, "TIMEOUT"},
        {"hung up", HANGS_UP, [](Bytes& answer) { answer.clear(); }, "CONNECTION_LOST"},
        {"hung up in the middle", HANGS_UP, [](Bytes& answer) { answer.resize(8); }, "CONNECTION_LOST"},
        {"wrong transaction", STAYS, [](Bytes& answer) { ++answer[1]; }, "CONNECTION_LOST"},
        {"wrong function", STAYS, [](Bytes& answer) { answer[7] = 4; }, "CONNECTION_LOST"},
        {"more registers", STAYS, [](Bytes& answer) { answer.resize(9 + (answer[8] = 250)); }, "CONNECTION_LOST"},
        {"too many bytes", STAYS, [](Bytes& answer) { answer.resize(2000, answer[8] = 255); }, "CONNECTION_LOST"},
        {"garbage", STAYS, [](Bytes& answer) { answer.assign(300, 0xA5); }, "CONNECTION_LOST"},
    };
    for (auto const& test : cases)
    {
        Device device(
            [&](ScriptedDevice& self, Request const& request)
            {
                auto answer = self.right_answer(request);
                if (request.connection > 1)
                {
                    return answer;
                }
                test.spoil(answer);
                pollfd waiting = {request.socket, POLLIN, 0};
                for (auto byte = answer.begin(); test.device == IS_SLOW && byte != answer.end(); ++byte)
                {
                    ScriptedDevice::send(request.socket, {*byte});
                    if (poll(&waiting, 1, 40) > 0) // the other side has hung up
                    {
                        return Bytes();
                    }
                }
                if (test.device == HANGS_UP)
                {
                    ScriptedDevice::send(request.socket, answer);
                    shutdown(request.socket, SHUT_RDWR);
                }
                return answer;
            });
        Domain domain(device.port(), map({{"timeoutMs", 200}}));
        EXPECT_EQ(domain.outcomes(scattered), thrice(test.result)) << test.name;
        EXPECT_EQ(device.requests(), "3@100x1") << test.name << ": the rest of the group is not tried";
        EXPECT_EQ(domain.outcomes(scattered), "11 22 0") << test.name;
        EXPECT_EQ(device.connections(), 2) << test.name;
    }
}

TEST(ModbusFaults, a_late_answer_is_never_taken_for_the_next_one)
{
    // The answer to the first request comes when the second is there: over its own connection, and where the device
    // mixes them up, over the new one.
    for (bool const mixed_up : {false, true})
    {
        int first_connection = -1;
        Bytes held_back;
        Device device(
            [&](ScriptedDevice& self, Request const& request)
            {
                auto answer = self.right_answer(request);
                if (request.address() == 100)
                {
                    first_connection = dup(request.socket);
                    return std::exchange(held_back, answer);
                }
                ScriptedDevice::send(mixed_up ? request.socket : first_connection, held_back);
                return answer;
            });
        Domain domain(device.port(), map({{"timeoutMs", 200}}));
        EXPECT_EQ(domain.outcomes(only_100), "TIMEOUT");
        EXPECT_EQ(domain.outcomes({scattered[1]}), mixed_up ? "CONNECTION_LOST" : "22");
        EXPECT_EQ(device.connections(), 2);
        close(first_connection);
    }
}

TEST(ModbusFaults, a_lost_connection_is_opened_anew_without_a_failure)
{
    std::atomic<bool> hung_up = false;
    Device device(
        [&](ScriptedDevice& self, Request const& request)
        {
            auto answer = self.right_answer(request);
            if (request.connection == 1)
            {
                answer.push_back(0); // something of which nobody knows what it is to be
            }
            if (request.connection == 2)
            {
                ScriptedDevice::send(request.socket, std::exchange(answer, {}));
                shutdown(request.socket, SHUT_RDWR);
                hung_up = true;
                hung_up.notify_one();
            }
            return answer;
        });
    Domain domain(device.port());
    for (int const connection : {1, 2, 3, 3}) // a sound one stays
    {
        EXPECT_EQ(domain.outcomes(only_100), "11");
        EXPECT_EQ(device.connections(), connection);
        if (connection == 2)
        {
            hung_up.wait(false);
        }
    }
}

TEST(ModbusFaults, exceptions_bear_their_names)
{
    std::atomic<int> code = 0;
    ScriptedDevice device([&](ScriptedDevice&, Request const& request)
                          { return ScriptedDevice::exception(request, code); });
    Domain domain(device.port());
    std::vector<std::pair<std::string, std::vector<int>>> const cases = {
        {"ILLEGAL_FUNCTION", {1}},   {"ILLEGAL_DATA_ADDRESS", {2}},
        {"ILLEGAL_DATA_VALUE", {3}}, {"DEVICE_FAILURE", {4, 7, 8, 9, 99, 0}},
        {"DEVICE_BUSY", {5, 6}},     {"GATEWAY_TARGET_FAILED", {10, 11}}};
    for (auto const& [name, codes] : cases)
    {
        for (int const sent : codes)
        {
            code = sent;
            EXPECT_EQ(domain.outcomes(scattered), thrice(name)) << sent;
            EXPECT_EQ(device.requests(), sent == 10 || sent == 11 ? "3@100x1" : "3@100x1 3@200x1 3@300x1")
                << sent << ": a gateway is asked once";
        }
    }
    EXPECT_EQ(device.connections(), 1) << "an exception is an answer";
}

TEST(ModbusFaults, a_refused_request_is_repeated_symbol_by_symbol)
{
    ScriptedDevice device(
        [](ScriptedDevice& self, Request const& request)
        {
            auto const touches = request.address() <= 2 && request.address() + request.word(10) > 2;
            return touches ? ScriptedDevice::exception(request, 3) : self.right_answer(request);
        });
    Domain domain(device.port());
    EXPECT_EQ(domain.outcomes(adjacent(1, 4, [](int index) { return Value(index + 1); })),
              "ok ILLEGAL_DATA_VALUE ok ok");
    EXPECT_EQ(device.requests(), "16@1x4 16@1x1 16@2x1 16@3x1 16@4x1");
    EXPECT_EQ(domain.outcomes({{"holding:0:int16", {}}, {"holding:1:int16", {}}, {"holding:4:int16", {}}}), "0 1 4");
    EXPECT_EQ(device.requests(), "3@0x5 3@0x2 3@4x1") << "only the gap was at fault";
}

TEST(ModbusFaults, the_wire_sees_the_fewest_requests_in_the_groups_order)
{
    ScriptedDevice device;
    Domain domain(device.port());
    domain.send(adjacent(0, 300, [](int index) { return Value(index); }));
    EXPECT_EQ(device.requests(), "16@0x123 16@123x123 16@246x54");
    auto reads = adjacent(0, 300, nothing);
    std::reverse(reads.begin(), reads.end());
    auto const answers = domain.send(reads);
    EXPECT_EQ(answers.front().read_value(), Value(299));
    EXPECT_EQ(answers.back().read_value(), Value(0));
    EXPECT_EQ(device.requests(), "3@0x125 3@125x125 3@250x50");

    ScriptedDevice old;
    Domain single(old.port(), map({{"singleWritesOnly", true}, {"registersPerRead", 2}}));
    EXPECT_EQ(single.outcomes({{"holding:7:int32", 65538},
                               {"holding:3:string[3]", "ABC"},
                               {"holding:3:string[6]", {}},
                               {"holding:7:int32", {}}}),
              "ok ok ABC 65538");
    EXPECT_EQ(old.requests(), "6@7 6@8 6@3 6@4 3@3x2 3@5x1 3@7x2");
}

TEST(ModbusFaults, bits_of_a_register_leave_the_others_alone)
{
    std::atomic<bool> knows_masks = true;
    ScriptedDevice device(
        [&](ScriptedDevice& self, Request const& request)
        {
            bool const refused = request.function() == 22 && !knows_masks;
            return refused ? ScriptedDevice::exception(request, 1) : self.right_answer(request);
        });
    device.registers[5] = 0xF00F;
    Domain domain(device.port());
    EXPECT_EQ(domain.outcomes({{"holding:5.0", false}, {"holding:5.8", true}, {"holding:5.15", true}}), "ok ok ok");
    EXPECT_EQ(domain.read("holding:5:uint16"), Value(0xF10E));
    EXPECT_EQ(device.requests(), "22@5 3@5x1");

    knows_masks = false;
    EXPECT_EQ(
        domain.outcomes({{"holding:5.1", false}, {"holding:6.1", true}, {"holding:5:uint16", {}}, {"holding:6.1", {}}}),
        "ok ok " + std::to_string(0xF10C) + " true");
    EXPECT_EQ(device.requests(), "22@5 3@5x1 16@5x1 3@6x1 16@6x1 3@5x2")
        << "the device is asked once whether it knows masked writes";
}

} // namespace
