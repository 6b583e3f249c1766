#include "Domain.h"
#include "ScriptedDevice.h"

#include "Project/Project.h"
#include "Support/RecipeNotation.h"
#include "Support/TemporaryFolder.h"
#include "Json/Json.h"

#include <gtest/gtest.h>

#include <chrono>

namespace Ravik::Test
{

namespace
{

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
    EXPECT_NE(far_commands.at(0).text.find(maybe), std::string::npos) << far_commands.at(0).text;
    EXPECT_EQ(far_commands.at(2).text.find(maybe), std::string::npos) << "not tried: " << far_commands.at(2).text;

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

} // namespace

} // namespace Ravik::Test
