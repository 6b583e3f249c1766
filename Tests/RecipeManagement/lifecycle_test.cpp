#include "RecipeNotation.h"

#include <gtest/gtest.h>

using namespace Ravik::Test;
using namespace RavikSrv;

TEST(EntryFunction, does_nothing_without_a_place_for_the_answer)
{
    RecordingHost host;
    auto const entry = LoadedExtension::entry(RECIPE_MANAGEMENT_LIBRARY);
    double version = 1;
    EXPECT_EQ(entry(&host, nullptr, &version), 0);
    EXPECT_EQ(version, 1);
    auto* const untouched = reinterpret_cast<IRavikSrvExt*>(&host);
    auto* extension = untouched;
    EXPECT_EQ(entry(&host, &extension, nullptr), 0);
    EXPECT_EQ(extension, untouched);
    EXPECT_EQ(host.call_count, 0U);
}

TEST(Lifecycle, registers_three_listeners_in_order)
{
    RecipeManagementFixture fixture;
    auto const& listeners = fixture.host.listeners;
    EXPECT_EQ(fixture.extension.version(), 19.0);
    EXPECT_EQ(RavikSrv::host(), &fixture.host);
    ASSERT_EQ(listeners.size(), 3U);
    ListenerType const types[] = {ListenerType::REQUEST, ListenerType::EXPORT, ListenerType::CONFIG};
    for (std::size_t i = 0; i < listeners.size(); ++i)
    {
        EXPECT_EQ(listeners[i].listener->type(), types[i]);
    }
    EXPECT_FALSE(listeners[0].settings.isset());
    EXPECT_FALSE(listeners[1].settings.isset());
    auto const& settings = listeners[2].settings;
    ASSERT_EQ(settings.type(), ValueType::Vector);
    ASSERT_EQ(settings.size(), 1U);
    auto const& only = settings[0];
    EXPECT_EQ(only.type(), ValueType::Struct);
    EXPECT_STREQ(only.begin().name(), "flags");
    EXPECT_EQ(only["flags"], Value(255));
    EXPECT_EQ(only["paths"].size(), 1U);
    EXPECT_STREQ(only["paths"][0].get_string(), "*");
}

TEST(Lifecycle, a_host_that_throws_fails_init)
{
    for (std::size_t call = 1; call <= 3; ++call)
    {
        RecordingHost host;
        IRavikSrvExt* made = nullptr;
        double version = 0;
        LoadedExtension::entry(RECIPE_MANAGEMENT_LIBRARY)(&host, &made, &version);
        std::unique_ptr<IRavikSrvExt> const extension(made);
        host.throwing_call = call;
        auto const answer = extension->init(Context());
        EXPECT_EQ(answer.result(), ErrorValue::UNEXPECTED);
        EXPECT_STREQ(answer.text(), "unexpected failure: host out of order");
    }
}

TEST(Lifecycle, names_its_results)
{
    RecipeManagementFixture fixture;
    std::pair<unsigned, char const*> const names[] = {
        {0, "SUCCESS"},
        {1, "ACTIVATING_FAILED"},
        {10, "MISSING_RECIPE_DATA"},
        {15, "INHERITED_AND_NESTED_RECIPETYPE_IS_EQUAL"},
        {19, "RECURSION"},
        {22, "SERVER_ERROR"},
        {23, ""},
        {~0U, ""},
    };
    for (auto const& [code, name] : names)
    {
        EXPECT_STREQ(fixture.extension.object().error_string(code).name(), name);
    }
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
        std::string results = std::to_string(group.result()) + ":";
        for (auto command = group.begin_vector(); command != group.end_vector(); ++command)
        {
            results += " " + std::to_string(command->extension_result());
        }
        return results;
    };
    auto const good = parameters("path", "R");
    auto const bad = parameters("path", "S");
    auto const* const activate = "ActivateRecipe";
    EXPECT_EQ(send({}), "77:");
    EXPECT_EQ(send({{activate, good}}), "77: 0");
    EXPECT_EQ(send({{activate, {}}, {activate, bad}, {activate, good}}), "1: 9 1 0");
    EXPECT_EQ(send({{"activateRecipe", bad}, {"ActivateRecip", bad}, {"ActivateRecipes", bad}, {"", bad}}),
              "77: 0 0 0 0");
    fixture.host.call_count = 0;
    fixture.host.throwing_call = 1;
    EXPECT_EQ(send({{activate, good}, {activate, good}}), "22: 22 0");
}

TEST(Callbacks, accept_exports_and_what_is_not_checked)
{
    RecipeManagementFixture fixture;
    auto& changes = fixture.extension.changes();
    auto const& context = fixture.extension.context();
    Value value;
    ResultPair const answers[] = {
        changes.before_delete(context, "recipeList::R", value, "recipe"),
        changes.before_rename(context, "recipeList::R", "recipeList::S", "recipe"),
        fixture.extension.exports().before_export(context, "", value, value, ""),
    };
    for (auto const& answer : answers)
    {
        EXPECT_EQ(answer.result(), ErrorValue::SUCCESS);
    }
}
