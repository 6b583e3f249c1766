#include "Domain.h"
#include "ScriptedDevice.h"

#include <gtest/gtest.h>

#include <sys/socket.h>

namespace Ravik::Test
{

namespace
{

using Bytes = ScriptedDevice::Bytes;
using Request = ScriptedDevice::Request;

Controller::Accesses writes(std::initializer_list<int> addresses)
{
    Controller::Accesses accesses;
    for (auto const address : addresses)
    {
        accesses.emplace_back("holding:" + std::to_string(address) + ":int16", 1);
    }
    return accesses;
}

TEST(ModbusParallelRequests, keep_the_order_that_matters_and_find_their_answers_in_any)
{
    struct Case
    {
        char const* name;
        Controller::Accesses accesses;
        /// How many requests have to come before the device answers them, the last one first.
        std::vector<std::size_t> at_once;
        char const* outcomes;
        /// All of them, where their order is not that of the accesses.
        char const* requests = nullptr;
    };
    Controller::Accesses const reads = {{"holding:100:int16", {}},
                                        {"holding:200:int16", {}},
                                        {"input:300:int16", {}},
                                        {"holding:400:int32", {}},
                                        {"holding:500:int16", {}}};
    std::vector<Case> const cases = {
        {"reads", reads, {4, 1}, "100 200 0 26214801 500"},
        {"writes of different registers", writes({100, 200, 300, 400, 500}), {4, 1}, "ok ok ok ok ok"},
        {"writes of the same register", writes({100, 200, 100, 300}), {2, 2}, "ok ok ok ok"},
        {"overlapping writes", {{"holding:100:int32", 1}, {"holding:99:int32", 1}}, {1, 1}, "ok ok"},
        {"writes of different tables", {{"holding:1:int16", 1}, {"coil:1", true}}, {2}, "ok ok"},
        {"a read among writes",
         {{"holding:1:int16", 1}, {"input:9:int16", {}}, {"coil:2", true}},
         {1, 1, 1},
         "ok 0 ok"},
        {"a bit of a register", {{"holding:51.1", true}, {"holding:9:int16", 1}, {"coil:2", true}}, {1, 2}, "ok ok ok"},
        {"more than the device takes", {{"holding:1:int64", 1}, {"holding:9:int16", 1}}, {1, 1, 1}, "ok ok"},
        {"a refused one",
         writes({19, 20, 100, 200, 19}),
         {3, 2, 1},
         "ok ILLEGAL_DATA_VALUE ok ok ok",
         "16@19x2 16@100x1 16@200x1 16@19x1 16@20x1 16@19x1"},
        {"two refused ones",
         writes({20, 21, 40, 41, 100}),
         {3, 4},
         "ILLEGAL_DATA_VALUE ok ILLEGAL_DATA_VALUE ok ok",
         "16@20x2 16@40x2 16@100x1 16@20x1 16@21x1 16@40x1 16@41x1"},
    };
    for (auto const& [name, accesses, at_once, outcomes, requests] : cases)
    {
        SCOPED_TRACE(name);
        auto turn = at_once.begin();
        std::vector<Bytes> held_back;
        ScriptedDevice device(
            [&, last = at_once.end()](ScriptedDevice& self, Request const& request)
            {
                auto const touches = [&](int address)
                { return request.address() <= address && request.address() + request.word(10) > address; };
                bool const refused = touches(20) || touches(40);
                held_back.push_back(refused ? ScriptedDevice::exception(request, 3) : self.right_answer(request));
                if (turn == last || held_back.size() < *turn)
                {
                    return Bytes();
                }
                char byte = 0;
                EXPECT_LT(recv(request.socket, &byte, 1, MSG_PEEK | MSG_DONTWAIT), 0) << "more than may be at once";
                ++turn;
                Bytes answers;
                for (; !held_back.empty(); held_back.pop_back())
                {
                    answers.insert(answers.end(), held_back.back().begin(), held_back.back().end());
                }
                return answers;
            });
        Domain domain(device.port(), map({{"parallelRequests", 4}, {"registersPerWrite", 2}, {"timeoutMs", 300}}));
        EXPECT_EQ(domain.outcomes(accesses), outcomes);
        EXPECT_TRUE(turn == at_once.end()) << "fewer at once";
        auto const sent = device.requests();
        EXPECT_EQ(sent, requests == nullptr ? sent : requests);
    }
}

/// A letter for each text: nothing wrong, failed, may have been written, not tried.
std::string kinds_of_texts(std::vector<Command> const& commands)
{
    std::string kinds;
    for (auto const& command : commands)
    {
        std::string_view const text = command.result_string();
        kinds += text.empty()                                                ? '-'
                 : text.starts_with("Not tried: ")                           ? 'n'
                 : text.ends_with("; it may have been written all the same") ? 'm'
                                                                             : 'f';
    }
    return kinds;
}

TEST(ModbusParallelRequests, that_fail_take_only_those_along_of_which_nobody_can_know)
{
    struct Case
    {
        char const* name;
        /// The register of which the request is not answered rightly, but thus.
        int register_at_fault;
        std::function<Bytes(Request const& request, Bytes answer)> spoil;
        char const* texts;
        char const* result;
        int connections = 1;
    };
    std::vector<Case> const cases = {
        {"no answer", 100, [](Request const&, Bytes const&) { return Bytes(); }, "m----", "TIMEOUT", 2},
        {"no answer to the last", 500, [](Request const&, Bytes const&) { return Bytes(); }, "----m", "TIMEOUT", 2},
        {"another unit", 200, [](Request const&, Bytes answer) { return ++answer[6], answer; }, "-mmmn",
         "CONNECTION_LOST", 2},
        {"no such request", 200, [](Request const&, Bytes answer) { return ++answer[0], answer; }, "-mmmn",
         "CONNECTION_LOST", 2},
        {"the end", 200,
         [](Request const& request, Bytes const&) { return shutdown(request.socket, SHUT_RDWR), Bytes(); }, "-mm?n",
         "CONNECTION_LOST", 2},
        {"a gateway", 100, [](Request const& request, Bytes const&) { return ScriptedDevice::exception(request, 10); },
         "f--nn", "GATEWAY_TARGET_FAILED"},
        {"a refusal", 200, [](Request const& request, Bytes const&) { return ScriptedDevice::exception(request, 4); },
         "-f---", "DEVICE_FAILURE"},
    };
    auto const accesses = writes({100, 200, 300, 400, 500});
    for (auto const& test : cases)
    {
        SCOPED_TRACE(test.name);
        ScriptedDevice device(
            [&](ScriptedDevice& self, Request const& request)
            {
                auto answer = self.right_answer(request);
                bool const spoils = request.connection == 1 && request.address() == test.register_at_fault;
                return spoils ? test.spoil(request, answer) : answer;
            });
        Domain domain(device.port(), map({{"parallelRequests", 3}, {"timeoutMs", 200}}));
        auto const commands = domain.send(accesses);
        auto texts = kinds_of_texts(commands);
        for (std::size_t index = 0; index < texts.size(); ++index)
        {
            EXPECT_EQ(domain.error_name(commands[index].extension_result()),
                      texts[index] == '-' ? "SUCCESS" : test.result);
            texts[index] = test.texts[index] == '?' ? '?' : texts[index];
        }
        EXPECT_EQ(texts, test.texts);
        EXPECT_EQ(domain.outcomes(writes({600, 700})), "ok ok");
        EXPECT_EQ(device.connections(), test.connections);
    }
}

class Watcher : public IRavikSrvRequestWatcher
{
public:
    void note_done(std::size_t count) noexcept override { done += count; }
    bool is_stopped() const noexcept override { return stop; }

    std::atomic<bool> stop = false;
    std::size_t done = 0;
};

TEST(ModbusParallelRequests, are_waited_for_where_the_rest_is_stopped)
{
    struct Case
    {
        char const* name;
        int parallel;
        Controller::Accesses accesses;
        /// The request at which the whole is stopped; where several are under way, answers are held back until it
        /// comes.
        std::size_t last;
        std::size_t done;
        char const* outcomes;
    };
    std::vector<Case> const cases = {
        {"nothing is stopped", 1, writes({100, 200}), 2, 2, "ok ok"},
        {"before the first", 1, writes({100, 200}), 0, 0, "stopped stopped"},
        {"after the first", 1, writes({100, 200, 300}), 1, 1, "ok stopped stopped"},
        {"while three are under way", 3, writes({100, 200, 300, 400, 500}), 3, 3, "ok ok ok stopped stopped"},
        {"within the pieces of one value",
         1,
         {{"holding:1:int64", 1}, {"holding:9:int16", 1}, {"holding:30:int16", {}}},
         1,
         1,
         "ok stopped stopped"},
    };
    for (auto const& [name, parallel, accesses, last, done, outcomes] : cases)
    {
        SCOPED_TRACE(name);
        Watcher watcher;
        watcher.stop = last == 0;
        std::size_t come = 0;
        Bytes held_back;
        ScriptedDevice device(
            [&, last = last, alone = parallel == 1](ScriptedDevice& self, Request const& request)
            {
                auto const answer = self.right_answer(request);
                held_back.insert(held_back.end(), answer.begin(), answer.end());
                watcher.stop = ++come >= last;
                return alone || come >= last ? std::exchange(held_back, {}) : Bytes();
            });
        Domain domain(device.port(), map({{"parallelRequests", parallel}, {"registersPerWrite", 2}}));
        domain.watcher = &watcher;
        EXPECT_EQ(domain.outcomes(accesses, 1), outcomes);
        EXPECT_EQ(watcher.done, done);
        EXPECT_EQ(device.connections(), last == 0 ? 0 : 1);
        domain.watcher = nullptr;
        EXPECT_EQ(domain.outcomes({{"holding:900:int16", {}}}, 1), "900") << "the device has not failed";
    }
}

} // namespace

} // namespace Ravik::Test
