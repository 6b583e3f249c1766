#include "Domain.h"
#include "ScriptedDevice.h"

#include "Project/Project.h"
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
    "Server: 3 Symbol(s) failed. Far: Far0: TIMEOUT; Far100: TIMEOUT; Far200: TIMEOUT; ";

/// The recipe R over two devices, each with several symbols of which no request reaches two. Each symbol's value is 7.
class ModbusTwoDomains : public testing::Test
{
protected:
    void SetUp() override
    {
        Value extensions;
        extensions << map({{"domain", "RavikRecipeManagement"}, {"library", RECIPE_MANAGEMENT_LIBRARY}});
        auto symbols = map({});
        auto members = map({});
        auto values = map({});
        for (auto const& [name, port] :
             {std::pair<std::string, std::uint16_t>("Near", near.port()), {"Far", far.port()}})
        {
            auto const* const domain = name.c_str();
            extensions << map({{"domain", domain},
                               {"library", MODBUS_LIBRARY},
                               {"configuration", Domain::at(port, map({{"timeoutMs", timeout}}))}});
            for (std::string const place : {"0", "100", "200"})
            {
                auto const symbol = name + place;
                symbols.insert(symbol.c_str(), map({{"DOMAIN", domain},
                                                    {"MAPPING", ("holding:" + place + ":int16").c_str()},
                                                    {"SCHEMA", map({{"$ref", "ravik:general#/definitions/INT"}})}}));
                members.insert(symbol.c_str(), map({{"symbol", symbol.c_str()}, {"enabled", true}}));
                values.insert(symbol.c_str(), 7);
            }
        }
        m_folder.write("ravik.json", Json::write(map({{"extensions", extensions}, {"symbols", symbols}})));
        m_project = Project::open(m_folder.path(), {.wait = {}, .trust = true});
        m_recipe = map({{"recipeTypeName", "T"}, {"values", values}});
        auto const recipes = map(
            {{"recipeTypeList", map({{"T", map({{"members", members}})}})}, {"recipeList", map({{"R", m_recipe}})}});
        auto const imported = m_project->import(std::string(recipe_domain), recipes, {});
        ASSERT_TRUE(imported.succeeded()) << imported.text;
    }

    /// Calls the function for the recipe. One timeout of a domain is all that it may take, however many symbols stand
    /// there.
    FunctionOutcome call(char const* function)
    {
        Value parameters(ValueType::Struct);
        parameters.insert("path", "R");
        auto const start = std::chrono::steady_clock::now();
        auto outcome = m_project->call(std::string(recipe_domain), function, parameters);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(2 * timeout));
        return outcome;
    }

    std::atomic<bool> silent = true;
    ScriptedDevice near;
    ScriptedDevice far{[this](ScriptedDevice& self, ScriptedDevice::Request const& request)
                       { return silent ? ScriptedDevice::Bytes() : self.right_answer(request); }};
    Value m_recipe;
    TemporaryFolder m_folder;
    std::unique_ptr<Project> m_project;
};

TEST_F(ModbusTwoDomains, the_one_that_answers_is_served_before_the_one_that_does_not)
{
    auto const activated = call("ActivateRecipe");
    EXPECT_EQ(activated.name, "ACTIVATING_RECIPE_PARTLY_FAILED");
    EXPECT_EQ(activated.text, all_of_far_failed);
    EXPECT_EQ(near.holding(200), 7) << "nothing is rolled back";
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
    EXPECT_EQ(near.requests(), "3@0x1 3@100x1 3@200x1");
    EXPECT_EQ(read.record.at(0).commands.at(1).value, Value(7));
    EXPECT_EQ(far.requests(), "16@0x1 3@0x1") << "one request each told that nobody answers";

    auto const symbols = m_project->read_symbols({"Far0", "Near0", "Far100", "Near100", "Far200"});
    EXPECT_EQ(symbols.commands.at(3).value, Value(7));
    EXPECT_EQ(symbols.commands.at(4).failure, "TIMEOUT");
    EXPECT_EQ(far.requests(), "3@0x1") << "once a request, whatever stands between";

    silent = false;
    EXPECT_EQ(call("ActivateRecipe").name, "SUCCESS");
    EXPECT_EQ(far.holding(200), 7);
    EXPECT_EQ(call("ReadFromTarget").value, map({{"R", m_recipe}}));
}

} // namespace

} // namespace Ravik::Test
