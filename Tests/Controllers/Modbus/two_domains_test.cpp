#include "ScriptedDevice.h"

#include "Project/Project.h"
#include "Support/TemporaryFolder.h"
#include "Json/Json.h"

#include <gtest/gtest.h>

#include <chrono>

#include <unistd.h>

using namespace Ravik;
using namespace Ravik::Test;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

constexpr int timeout = 300;
constexpr int symbols_of_each = 20;

std::string symbol(std::string const& domain, int index)
{
    return domain + std::to_string(index);
}

/// What is told of a domain whose symbols all failed.
std::string all_failed(std::string const& domain, std::string const& why)
{
    auto text = "Server: " + std::to_string(symbols_of_each) + " Symbol(s) failed. " + domain + ": ";
    for (int index = 0; index < symbols_of_each; ++index)
    {
        text += symbol(domain, index).append(": ").append(why).append("; ");
    }
    return text;
}

/// The recipe R over two devices, each with many symbols of which no request reaches two. Each symbol's value is its
/// index.
class ModbusTwoDomains : public testing::Test
{
protected:
    /// The domains in the order in which the recipe meets them, with their ports.
    void open(std::vector<std::pair<std::string, std::uint16_t>> const& domains)
    {
        auto project_file = Json::parse(R"({"extensions":[{"domain":"RavikRecipeManagement"}],"symbols":{}})");
        project_file["extensions"][0].insert("library", Value(RECIPE_MANAGEMENT_LIBRARY));
        auto recipes = Json::parse(R"({"recipeTypeList":{"T":{"members":{}}},
                                       "recipeList":{"R":{"recipeTypeName":"T","values":{}}}})");
        for (auto const& [domain, port] : domains)
        {
            auto extension = Json::parse(R"({"configuration":{"host":"127.0.0.1"}})");
            extension.insert("domain", Value(domain.c_str()));
            extension.insert("library", Value(MODBUS_LIBRARY));
            extension["configuration"].insert("port", static_cast<int>(port));
            extension["configuration"].insert("timeoutMs", timeout);
            project_file["extensions"] << extension;
            for (int index = 0; index < symbols_of_each; ++index)
            {
                auto const name = symbol(domain, index);
                auto entry = Json::parse(R"({"SCHEMA":{"$ref":"ravik:general#/definitions/INT"}})");
                entry.insert("DOMAIN", Value(domain.c_str()));
                entry.insert("MAPPING", Value(("holding:" + std::to_string(100 * index) + ":int16").c_str()));
                project_file["symbols"].insert(name.c_str(), entry);
                auto& member = recipes["recipeTypeList"]["T"]["members"][name.c_str()];
                member.insert("symbol", Value(name.c_str()));
                member.insert("enabled", true);
                recipes["recipeList"]["R"]["values"].insert(name.c_str(), index);
            }
        }
        m_folder.write("ravik.json", Json::write(project_file));
        m_project = Project::open(m_folder.path());
        auto const imported = m_project->import(std::string(recipe_domain), recipes, {});
        ASSERT_TRUE(imported.succeeded()) << imported.text;
        m_recipe = recipes["recipeList"]["R"];
    }

    /// Calls the function for the recipe. One timeout of a domain is all that it may take, however many symbols stand
    /// there.
    FunctionOutcome call(char const* function)
    {
        Value parameters(ValueType::Struct);
        parameters.insert("path", Value("R"));
        auto const start = std::chrono::steady_clock::now();
        auto outcome = m_project->call(std::string(recipe_domain), function, parameters);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(2 * timeout));
        return outcome;
    }

    /// Whether the device holds the recipe's values.
    static bool holds_recipe(ScriptedDevice const& device)
    {
        bool all = true;
        for (std::size_t index = 0; index < symbols_of_each; ++index)
        {
            all = all && device.registers.at(100 * index) == static_cast<int>(index);
        }
        return all;
    }

    std::atomic<bool> silent = true;
    ScriptedDevice near;
    ScriptedDevice far{[this](ScriptedDevice& self, ScriptedDevice::Request const& request)
                       { return silent ? ScriptedDevice::Bytes() : self.right_answer(request); }};
    Value m_recipe;

private:
    Ravik::Testing::TemporaryFolder m_folder;
    std::unique_ptr<Project> m_project;
};

TEST_F(ModbusTwoDomains, the_one_that_answers_is_served_before_the_one_that_does_not)
{
    open({{"Near", near.port()}, {"Far", far.port()}});
    auto const activated = call("ActivateRecipe");
    EXPECT_EQ(activated.name, "ACTIVATING_RECIPE_PARTLY_FAILED");
    EXPECT_EQ(activated.text, all_failed("Far", "TIMEOUT"));
    EXPECT_TRUE(holds_recipe(near)) << "nothing is rolled back";
    ASSERT_EQ(activated.record.size(), 2U) << "and nothing comes after the failure";
    for (std::size_t index = 0; index < symbols_of_each; ++index)
    {
        EXPECT_EQ(activated.record[0].commands.at(index).failure, "");
        EXPECT_EQ(activated.record[1].commands.at(index).failure, "TIMEOUT");
    }

    near.requests();
    auto const read = call("ReadFromTarget");
    EXPECT_EQ(read.name, "READ_FROM_TARGET_PARTLY_FAILED");
    EXPECT_EQ(read.text, all_failed("Far", "TIMEOUT"));
    EXPECT_EQ(read.value, Value()) << "half an answer is none";
    EXPECT_EQ(near.requests().substr(0, 13), "3@0x1 3@100x1");
    EXPECT_EQ(read.record.at(0).commands.at(7).value, Value(7));
    EXPECT_EQ(far.requests(), "16@0x1 3@0x1") << "one request each told that nobody answers";

    silent = false;
    EXPECT_EQ(call("ActivateRecipe").name, "SUCCESS");
    EXPECT_TRUE(holds_recipe(far));
    Value const recipes = call("ReadFromTarget").value;
    EXPECT_EQ(recipes["R"], m_recipe);
}

TEST_F(ModbusTwoDomains, the_ones_behind_one_that_can_not_be_reached_are_left_alone)
{
    std::uint16_t closed = 0;
    close(listening_socket(1, closed));
    open({{"Far", closed}, {"Near", near.port()}});
    for (auto const& [function, name] : {std::pair{"ActivateRecipe", "ACTIVATING_RECIPE_PARTLY_FAILED"},
                                         {"ReadFromTarget", "READ_FROM_TARGET_PARTLY_FAILED"}})
    {
        auto const outcome = call(function);
        EXPECT_EQ(outcome.name, name);
        EXPECT_EQ(outcome.text, all_failed("Far", "CONNECTION_REFUSED"));
        EXPECT_EQ(outcome.value, Value());
    }
    EXPECT_EQ(near.requests(), "");
}

} // namespace
