#include "Domain.h"
#include "ScriptedDevice.h"

#include "Project/Project.h"
#include "Support/RecipeNotation.h"
#include "Support/TemporaryFolder.h"
#include "Json/Json.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include <sys/socket.h>
#include <unistd.h>

namespace Ravik::Test
{

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

TEST(ModbusFaults, nobody_listens)
{
    std::uint16_t port = 0;
    close(listening_socket(1, port));
    Domain domain(port);
    EXPECT_EQ(domain.outcomes(scattered, 1), thrice("CONNECTION_REFUSED"));
    EXPECT_EQ(std::string(domain.send(only_100, 1).front().result_string()).rfind("Not tried: No connection", 0), 0U);
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
    auto const failure = "No connection to 127.0.0.1:" + std::to_string(port) + " within 200 ms";
    auto expected = failure;
    auto const start = std::chrono::steady_clock::now();
    for (auto const& command : second.send(scattered))
    {
        EXPECT_EQ(command.result_string(), expected);
        expected = "Not tried: " + failure;
    }
    auto const took = std::chrono::steady_clock::now() - start;
    EXPECT_GE(took, std::chrono::milliseconds(200));
    EXPECT_LT(took, std::chrono::milliseconds(600)) << "one timeout, not one for each request";
    close(listening);
}

TEST(ModbusFaults, an_answer_that_is_none_ends_the_connection_and_the_group)
{
    struct Case
    {
        char const* name;
        char const* result;
        std::function<void(Bytes& answer)> spoil;
        bool hangs_up = false;
        char const* why = "";
    };
    std::vector<Case> const cases = {
        {"half an answer", "TIMEOUT", [](Bytes& answer) { answer.resize(10); }},
        {"hung up in the middle", "CONNECTION_LOST", [](Bytes& answer) { answer.resize(8); }, true},
        {"wrong transaction", "CONNECTION_LOST", [](Bytes& answer) { ++answer[1]; }},
        {"wrong protocol", "CONNECTION_LOST", [](Bytes& answer) { answer[3] = 1; }, false, "of the protocol 1"},
        {"wrong unit", "CONNECTION_LOST", [](Bytes& answer) { answer[6] = 2; }, false, "the unit 2 answered"},
        {"another function", "CONNECTION_LOST", [](Bytes& answer) { answer[7] = 4; }},
        {"more registers", "CONNECTION_LOST", [](Bytes& answer) { answer.resize(9 + (answer[8] = 250)); }},
        {"garbage", "CONNECTION_LOST", [](Bytes& answer) { answer.assign(300, 0xA5); }},
    };
    for (auto const& test : cases)
    {
        ScriptedDevice device(
            [&](ScriptedDevice& self, Request const& request)
            {
                auto answer = self.right_answer(request);
                if (request.connection == 1)
                {
                    test.spoil(answer);
                    ScriptedDevice::send(request.socket, std::exchange(answer, {}));
                    if (test.hangs_up)
                    {
                        shutdown(request.socket, SHUT_RDWR);
                    }
                }
                return answer;
            });
        Domain domain(device.port(), map({{"timeoutMs", 200}}));
        for (auto const& command : domain.send(scattered))
        {
            EXPECT_EQ(domain.error_name(command.extension_result()), test.result) << test.name;
            EXPECT_NE(std::string(command.result_string()).find(test.why), std::string::npos) << test.name;
        }
        EXPECT_EQ(device.requests(), "3@100x1") << test.name << ": the rest of the group is not tried";
        EXPECT_EQ(domain.outcomes(scattered), "100 200 300") << test.name;
        EXPECT_EQ(device.connections(), 2) << test.name;
    }
}

TEST(ModbusFaults, a_device_out_of_reach_is_tried_once_a_session)
{
    struct Case
    {
        char const* result;
        bool tried_again;
        std::function<Bytes(Request const&)> answer;
    };
    std::vector<Case> const cases = {
        {"TIMEOUT", false, [](Request const&) { return Bytes(); }},
        {"GATEWAY_TARGET_FAILED", false, [](Request const& request) { return ScriptedDevice::exception(request, 11); }},
        {"CONNECTION_LOST", true, [](Request const&) { return Bytes(12, 0xA5); }},
        {"DEVICE_BUSY", true, [](Request const& request) { return ScriptedDevice::exception(request, 6); }},
    };
    for (auto const& test : cases)
    {
        SCOPED_TRACE(test.result);
        std::atomic<bool> out_of_reach = true;
        ScriptedDevice device([&](ScriptedDevice& self, Request const& request)
                              { return out_of_reach ? test.answer(request) : self.right_answer(request); });
        Domain domain(device.port(), map({{"timeoutMs", 200}}));
        for (std::uint64_t const session : {1UL, 2UL, 0UL})
        {
            EXPECT_EQ(domain.outcomes(only_100, session), test.result) << "of a session of its own: " << session;
        }
        EXPECT_EQ(device.requests(), "3@100x1 3@100x1 3@100x1");
        out_of_reach = false;
        for (std::uint64_t const session : {1UL, 2UL})
        {
            EXPECT_EQ(domain.outcomes(scattered, session), test.tried_again ? "100 200 300" : thrice(test.result));
        }
        for (std::uint64_t const session : {0UL, 3UL})
        {
            EXPECT_EQ(domain.outcomes(only_100, session), "100") << "one without a failure of its own: " << session;
        }
    }
}

TEST(ModbusFaults, of_sessions_at_once_are_kept_apart_and_the_oldest_go)
{
    ScriptedDevice device([](ScriptedDevice& /*self*/, Request const& request)
                          { return ScriptedDevice::exception(request, 10); });
    Domain domain(device.port());
    auto const requests_of = [&](std::uint64_t first, std::uint64_t last)
    {
        std::vector<std::jthread> clients;
        for (auto session = first; session <= last; ++session)
        {
            clients.emplace_back(
                [&, session]
                {
                    domain.outcomes(only_100, session);
                    auto const later = domain.send(scattered, session);
                    EXPECT_EQ(std::string(later[2].result_string()).rfind("Not tried: The device", 0), 0U);
                });
        }
        clients.clear(); // joins them
        auto const requests = device.requests();
        return std::count(requests.begin(), requests.end(), '@');
    };
    EXPECT_EQ(requests_of(1, 8), 8);
    EXPECT_EQ(requests_of(1, 8), 0);
    for (std::uint64_t first = 9; first <= 65; first += 8)
    {
        EXPECT_EQ(requests_of(first, first + 7), 8);
    }
    EXPECT_EQ(requests_of(1, 1), 1);
}

TEST(ModbusFaults, an_answer_byte_by_byte_has_one_timeout)
{
    ScriptedDevice device(
        [](ScriptedDevice& self, Request const& request)
        {
            for (auto const byte : self.right_answer(request))
            {
                ScriptedDevice::send(request.socket, {byte});
                std::this_thread::sleep_for(std::chrono::milliseconds(40));
            }
            return Bytes();
        });
    EXPECT_EQ(Domain(device.port(), map({{"timeoutMs", 200}})).outcomes(scattered), thrice("TIMEOUT"));
    EXPECT_EQ(device.requests(), "3@100x1");
}

TEST(ModbusFaults, a_late_answer_is_never_taken_for_the_next_one)
{
    // The answer to the first request comes when the second is there: over its own connection, and where the device
    // mixes them up, over the new one.
    for (auto const& [mixed_up, parallel_requests] : {std::pair(false, 1), {true, 1}, {false, 4}, {true, 4}})
    {
        int first_connection = -1;
        Bytes held_back;
        ScriptedDevice device(
            [&, mixed_up = mixed_up](ScriptedDevice& self, Request const& request)
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
        Domain domain(device.port(), map({{"timeoutMs", 200}, {"parallelRequests", parallel_requests}}));
        EXPECT_EQ(domain.outcomes(only_100), "TIMEOUT");
        EXPECT_EQ(domain.outcomes({scattered[1]}), mixed_up ? "CONNECTION_LOST" : "200");
        EXPECT_EQ(device.connections(), 2);
        close(first_connection);
    }
}

TEST(ModbusFaults, a_connection_that_is_lost_between_requests_is_opened_anew)
{
    for (bool const hangs_up : {true, false})
    {
        std::atomic<bool> lost = false;
        ScriptedDevice device(
            [&](ScriptedDevice& self, Request const& request)
            {
                auto answer = self.right_answer(request);
                answer.resize(answer.size() + (hangs_up ? 0 : 1)); // something of which nobody knows what it is to be
                ScriptedDevice::send(request.socket, answer);
                if (hangs_up)
                {
                    shutdown(request.socket, SHUT_RDWR);
                }
                lost = true;
                lost.notify_one();
                return Bytes();
            });
        Domain domain(device.port());
        EXPECT_EQ(domain.outcomes(only_100), "100");
        lost.wait(false);
        EXPECT_EQ(domain.outcomes(only_100), "100");
        EXPECT_EQ(device.connections(), 2);
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

constexpr int timeout = 300;

constexpr char const* all_of_far_failed =
    "Server: 3 Symbol(s) failed. Far: Far1: TIMEOUT; Far2: TIMEOUT; Far3: TIMEOUT; ";

std::string extension(char const* domain, std::uint16_t port)
{
    auto const configuration = Domain::at(port, map({{"timeoutMs", timeout}}));
    return Json::write(map({{"domain", domain}, {"library", MODBUS_LIBRARY}, {"configuration", configuration}}));
}

/// The symbols of a device, of which no request reaches two, each with a comma behind it.
std::string symbols(std::string const& domain)
{
    return repeated(3, "\"" + domain + R"(*":{"DOMAIN":")" + domain +
                           R"(","MAPPING":"holding:*00:int16","SCHEMA":{"type":"integer"}},)");
}

/// The recipe R over two devices. Each symbol's value is 7.
class ModbusTwoDomains : public testing::Test
{
protected:
    void SetUp() override
    {
        std::string const recipes = R"({"domain":"RavikRecipeManagement","library":")" RECIPE_MANAGEMENT_LIBRARY "\"}";
        m_folder.write("ravik.json", "{\"extensions\":[" + recipes + "," + extension("Near", near.port()) + "," +
                                         extension("Far", far.port()) + "],\"symbols\":{" + symbols("Near") +
                                         symbols("Far") + R"("Other":{"DOMAIN":"Far"}}})");
        m_project = Project::open(m_folder.path(), {.wait = {}, .trust = true});
        auto const imported = m_project->import(
            std::string(recipe_domain), configuration_of("T { " + repeated(3, "Near* Far* ") + "} | " + recipe), {});
        ASSERT_TRUE(imported.succeeded()) << imported.text;
    }

    /// Calls the function for the recipe. One timeout of a domain is all that it may take, however many symbols stand
    /// there.
    FunctionOutcome call(char const* function)
    {
        auto const start = std::chrono::steady_clock::now();
        auto outcome = m_project->call(std::string(recipe_domain), function, parameters("path", "R"));
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(2 * timeout));
        return outcome;
    }

    std::atomic<bool> silent = true;
    ScriptedDevice near;
    ScriptedDevice far{[this](ScriptedDevice& self, ScriptedDevice::Request const& request)
                       { return silent ? ScriptedDevice::Bytes() : self.right_answer(request); }};
    std::string const recipe = "R:T { " + repeated(3, "Near*=7 Far*=7 ") + "}";
    TemporaryFolder m_folder;
    std::unique_ptr<Project> m_project;
};

TEST_F(ModbusTwoDomains, the_one_that_answers_is_served_before_the_one_that_does_not)
{
    auto const activated = call("ActivateRecipe");
    EXPECT_EQ(activated.name, "ACTIVATING_RECIPE_PARTLY_FAILED");
    EXPECT_EQ(activated.text, all_of_far_failed);
    EXPECT_EQ(near.holding(300), 7) << "nothing is rolled back";
    ASSERT_EQ(activated.record.size(), 2U) << "and nothing comes after the failure";
    EXPECT_EQ(activated.record[0].commands.at(2).failure, "");
    auto const& far_commands = activated.record[1].commands;
    EXPECT_EQ(far_commands.at(2).failure, "TIMEOUT");
    constexpr auto maybe = "may have been written";
    EXPECT_NE(far_commands.at(0).text.str().find(maybe), std::string::npos) << far_commands.at(0).text.c_str();
    EXPECT_EQ(far_commands.at(2).text.str().find(maybe), std::string::npos) << far_commands.at(2).text.c_str();

    near.requests();
    auto const read = call("ReadFromTarget");
    EXPECT_EQ(read.name, "READ_FROM_TARGET_PARTLY_FAILED");
    EXPECT_EQ(read.text, all_of_far_failed);
    EXPECT_EQ(read.value, Value()) << "half an answer is none";
    EXPECT_EQ(near.requests(), "3@100x1 3@200x1 3@300x1");
    EXPECT_EQ(read.record.at(0).commands.at(1).value, Value(7));
    EXPECT_EQ(far.requests(), "16@100x1 3@100x1") << "one request each told that nobody answers";

    auto const symbols = m_project->read_symbols({"Far1", "Near1", "Far2", "Near2", "Far3"});
    EXPECT_EQ(symbols.commands.at(3).value, Value(7));
    EXPECT_EQ(symbols.commands.at(4).failure, "TIMEOUT");
    EXPECT_EQ(far.requests(), "3@100x1") << "once a request, whatever stands between";

    silent = false;
    EXPECT_EQ(call("ActivateRecipe").name, "SUCCESS");
    EXPECT_EQ(far.holding(300), 7);
    EXPECT_EQ(call("ReadFromTarget").value, recipes_of(recipe));
}

TEST_F(ModbusTwoDomains, a_symbol_is_read_once_in_a_request)
{
    silent = false;
    std::string const domain(recipe_domain);
    auto const imported =
        m_project->import(domain, configuration_of("P { Near2 } | S:P { Near2=7 } U:T { Far2=7 }"), {});
    ASSERT_TRUE(imported.succeeded()) << imported.text;
    ASSERT_TRUE(call("ActivateRecipe").succeeded());
    near.requests();
    for (int request = 0; request < 2; ++request)
    {
        EXPECT_EQ(m_project->call(domain, "GetActiveRecipes", Value()).value.size(), 3U);
        EXPECT_EQ(near.requests(), "3@100x1 3@200x1 3@300x1") << "each request reads anew";
    }
    auto const several = m_project->begin_request();
    for (auto const* const name : {"S", "R", "U"})
    {
        Value recipes(ValueType::Vector);
        recipes << Value(name);
        EXPECT_EQ(m_project->call(several, domain, "GetActiveRecipes", recipes).value, recipes);
    }
    EXPECT_EQ(near.requests(), "3@200x1 3@100x1 3@300x1") << "each of its calls but what it lacks";
    ASSERT_TRUE(m_project->write_symbol("Near2", 8).commands.at(0).failure.empty());
    EXPECT_EQ(m_project->call(domain, "GetActiveRecipes", Value()).value.size(), 1U);
}

} // namespace

} // namespace Ravik::Test
