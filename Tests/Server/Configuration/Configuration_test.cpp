#include "Configuration/Configuration.h"
#include "Configuration/Pin.h"
#include "Configuration/configuration_keys.h"

#include "Support/TemporaryFolder.h"
#include "Json/Json.h"

#include <gtest/gtest.h>

#include <random>
#include <thread>

namespace Ravik::Test
{
namespace
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using namespace std::chrono_literals;
using Turn = Configuration::Turn;

constexpr auto merge = Tree::WriteMode::Merge;
constexpr auto replace = Tree::WriteMode::Replace;

std::string text(Configuration const& configuration)
{
    return Json::write(configuration.tree("D"));
}

TEST(Configuration, a_turn_lasts_whole_or_not_at_all)
{
    TemporaryFolder const folder;
    Configuration configuration(Store::open(folder.path() / "s.db", 0s));
    configuration.add_domain("D", Value());
    auto const entry = Json::parse(R"({"values":{}})");
    auto const* const before = R"({"recipeList":{"a":{"values":{}}}})";
    {
        Turn turn(configuration);
        EXPECT_EQ(turn.write("D", "recipeList", Json::parse(R"({"a":{"values":{}}})"), merge), ErrorValue::SUCCESS);
        EXPECT_EQ(turn.commit(), ErrorValue::SUCCESS);
    }
    {
        Turn turn(configuration);
        EXPECT_EQ(turn.write("D", "recipeList::b", entry, merge), ErrorValue::SUCCESS);
        // In functions of their own, since the analysis of locks knows of no thread that takes one twice.
        [&]
        {
            Turn inner(configuration);
            EXPECT_EQ(inner.remove("D", "recipeList::a"), ErrorValue::SUCCESS);
            EXPECT_EQ(inner.commit(), ErrorValue::SUCCESS);
        }();
        [&]
        {
            Turn abandoned(configuration);
            EXPECT_EQ(abandoned.write("D", "recipeList::b", Value(1), merge), ErrorValue::SUCCESS);
        }();
        EXPECT_EQ(text(configuration), R"({"recipeList":{"b":{"values":{}}}})");
        std::thread([&] { EXPECT_TRUE(configuration.tree("D").isset()) << "readers never wait for a turn"; }).join();
        EXPECT_EQ(turn.write("nobody", "x", Value(1), merge), ErrorValue::INVALID_DOMAIN);
    }
    EXPECT_EQ(text(configuration), before);
}

TEST(Configuration, a_pin_holds_on_to_the_recipes_of_its_thread)
{
    std::string const recipes(recipe_domain);
    Configuration configuration(nullptr);
    auto const held = [&](std::string const& domain) { return Json::write(configuration.tree(domain)["x"]); };
    auto const set = [&](int value)
    {
        Turn turn(configuration);
        for (auto const& domain : {recipes, std::string("D")})
        {
            configuration.has_domain(domain) ? void() : configuration.add_domain(domain, Value());
            EXPECT_EQ(turn.write(domain, "x", Value(value), merge), ErrorValue::SUCCESS);
        }
        EXPECT_EQ(held(recipes), std::to_string(value)) << "in its own turn everybody sees what stands";
        EXPECT_EQ(turn.commit(), ErrorValue::SUCCESS);
    };
    set(1);
    {
        Configuration const another(nullptr);
        Configuration::Pin const outer(configuration);
        std::thread(set, 2).join();
        {
            Configuration::Pin const inner(configuration);
            Configuration::Pin const of_another(another);
            EXPECT_EQ(held(recipes) + held("D"), "12");
        }
        set(3);
        EXPECT_EQ(held(recipes) + held("D"), "13");
        std::thread([&] { EXPECT_EQ(held(recipes), "3"); }).join();
    }
    EXPECT_EQ(held(recipes), "3");
}

TEST(Configuration, what_the_project_file_fixes_wins_and_is_not_stored)
{
    TemporaryFolder const folder;
    auto const open = [&](char const* fixed)
    {
        auto configuration = std::make_unique<Configuration>(Store::open(folder.path() / "s.db", 0s));
        configuration->add_domain("D", Json::parse(fixed));
        return configuration;
    };
    {
        auto const configuration = open(R"({"host":"a"})");
        Turn turn(*configuration);
        EXPECT_EQ(turn.write("D", "", Json::parse(R"({"host":"changed","values":{"x":1}})"), merge),
                  ErrorValue::SUCCESS);
        EXPECT_EQ(turn.commit(), ErrorValue::SUCCESS);
    }
    EXPECT_EQ(text(*open("{}")), R"({"values":{"x":1}})");
    EXPECT_EQ(text(*open(R"({"host":"b"})")), R"({"values":{"x":1},"host":"b"})");
}

/// Edits at random, among them ones that turn entries into folders and back, and compares each turn's outcome with what
/// a restart finds: every row in its place, none left over.
TEST(Configuration, a_restart_finds_the_tree_as_it_was)
{
    TemporaryFolder const folder;
    std::mt19937 random(20); // NOLINT(cert-msc51-cpp,cert-msc32-c): the same edits in every run
    auto const pick = [&random](std::vector<std::string> const& from) { return from[random() % from.size()]; };
    std::vector<std::string> const lists{"recipeList", "recipeTypeList", "other"};
    std::vector<std::string> const names{"A",    "AB",      "F",         "G::A",        "F::A",
                                         "F::B", "F::G::A", "A::values", "A::values::x"};
    std::vector<std::string> const values{R"({"values":{"x":1},"recipeTypeName":"T"})",
                                          R"({"members":{"m":{}}})",
                                          "{}",
                                          R"({"A":{"values":{}},"B":{}})",
                                          "7",
                                          R"({"x":[5e-324,-0.0,0.1,3.0,3,9223372036854775807,"\"\u0001ü\n",null]})"};
    std::string expected = "{}";
    for (int round = 0; round < 60; ++round)
    {
        Configuration configuration(Store::open(folder.path() / "s.db", 0s));
        configuration.add_domain("D", Value());
        ASSERT_EQ(text(configuration), expected) << "round " << round;
        Turn turn(configuration);
        EXPECT_EQ(turn.write("D", pick(lists), Json::parse("{}"), merge), ErrorValue::SUCCESS);
        for (int edit = 0; edit < 12; ++edit)
        {
            auto const path = Tree::join(pick(lists), pick(names));
            auto const mode = random() % 2 == 0 ? merge : replace;
            random() % 3 == 0 ? turn.remove("D", path) : turn.write("D", path, Json::parse(pick(values)), mode);
        }
        if (random() % 4 != 0)
        {
            ASSERT_EQ(turn.commit(), ErrorValue::SUCCESS) << turn.failure();
            expected = text(configuration);
        }
    }
}

} // namespace
} // namespace Ravik::Test
