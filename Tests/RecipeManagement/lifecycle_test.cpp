#include "Fixture.h"

#include <gtest/gtest.h>

using namespace Ravik::Test;

TEST(EntryFunction, does_nothing_without_a_place_for_the_answer)
{
    RecordingHost host;
    auto const entry = LoadedExtension::entry(RECIPE_MANAGEMENT_LIBRARY);
    double version = 1;
    IRavikSrvExt* extension = nullptr;
    EXPECT_TRUE(entry(&host, nullptr, &version) == 0 && version == 1);
    EXPECT_TRUE(entry(&host, &extension, nullptr) == 0 && extension == nullptr);
}

TEST(Lifecycle, registers_three_listeners_in_order_and_names_its_results)
{
    RecipeManagementFixture fixture;
    auto const& listeners = fixture.host.listeners;
    EXPECT_EQ(fixture.extension.version(), 19.0);
    EXPECT_EQ(RavikSrv::host(), &fixture.host);
    ASSERT_EQ(listeners.size(), 3U);
    EXPECT_TRUE(listeners[0].listener->type() == ListenerType::REQUEST && !listeners[0].settings.isset());
    EXPECT_TRUE(listeners[1].listener->type() == ListenerType::EXPORT && !listeners[1].settings.isset());
    EXPECT_EQ(listeners[2].listener->type(), ListenerType::CONFIG);
    auto const& settings = listeners[2].settings;
    ASSERT_TRUE(settings.type() == ValueType::Vector && settings.size() == 1 &&
                settings[0].type() == ValueType::Struct);
    EXPECT_EQ(text_of(settings[0]["paths"]) + " " + text_of(settings[0]), "* flags=255 paths=");

    std::string names;
    for (unsigned const code : {0U, 1U, 10U, 15U, 19U, 22U, 23U, ~0U})
    {
        names.append(fixture.extension.object().error_string(code).name()).append(" ");
    }
    EXPECT_EQ(names, "SUCCESS ACTIVATING_FAILED MISSING_RECIPE_DATA INHERITED_AND_NESTED_RECIPETYPE_IS_EQUAL RECURSION "
                     "SERVER_ERROR   ");
}

TEST(Requests, the_last_failure_is_the_groups_result)
{
    RecipeManagementFixture fixture;
    fixture.configure("T { a:A }", "R:T { a=1 } S:Gone { }");
    auto const send = [&](std::vector<std::pair<char const*, Value>> const& commands)
    {
        CommandGroup group;
        group.set_result(77);
        for (auto const& [mapping, value] : commands)
        {
            Command command("name");
            command.set_mapping(mapping);
            command.set_write_value(value);
            group.insert(group.end_vector(), command);
        }
        fixture.extension.requests().on_request(fixture.extension.context(), &group);
        auto results = std::to_string(group.result()) + ":";
        for (auto command = group.begin_vector(); command != group.end_vector(); ++command)
        {
            results += " " + std::to_string(command->extension_result());
        }
        return results;
    };
    auto const good = parameters("path", "R");
    auto const bad = parameters("path", "S");
    auto const* const activate = "ActivateRecipe";
    EXPECT_EQ(send({{activate, good}}), "77: 0");
    EXPECT_EQ(send({{activate, {}}, {activate, bad}, {activate, good}}), "1: 9 1 0");
    EXPECT_EQ(send({{"activateRecipe", bad}, {"ActivateRecipes", bad}, {"", bad}}), "77: 0 0 0");
    fixture.host.call_count = 0;
    fixture.host.throwing_call = 1;
    EXPECT_EQ(send({{activate, good}, {activate, good}}), "22: 22 0");
    // A map is no struct of parameters, with whatever keys.
    Value map(ValueType::Map);
    map.insert("path", "R");
    map.insert("recipeTypePath", "T");
    fixture.host.throwing_call = 0;
    for (auto const* const function : {activate, "ReadFromTarget", "UpdateRecipe", "GetRecipes"})
    {
        EXPECT_EQ(send({{function, map}, {function, Value("R")}, {function, Value()}}), "9: 9 9 9") << function;
    }
}
