#include "Fixture.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

using namespace Ravik::Test;

namespace
{

class HostFailures : public testing::Test, protected RecipeManagementFixture
{
};

} // namespace

TEST_F(HostFailures, stop_an_activation_or_a_reading_and_are_told)
{
    struct Case
    {
        char const* about;
        /// Symbols and the extension results that they fail with.
        std::map<char const*, unsigned> symbols;
        char const* group;
        std::string activated;
        std::string answer;
    };
    std::string const line = "Line[A=1 B=2]";
    std::string const all = line + " Other[X=3] RavikSrv[V=4] | SUCCESS | Server: ";
    std::string const partly = " | ACTIVATING_RECIPE_PARTLY_FAILED | Server: ";
    std::string const unread = " | READ_FROM_TARGET_PARTLY_FAILED | Server: ";
    std::string const one = "1 Symbol(s) failed. ";
    std::string const two = "2 Symbol(s) failed. Line: A: Line 6; B: Line 5; ";
    std::string const group_failed = "Line[A B] | SERVER_ERROR | Server: FAIL";
    std::vector<Case> const cases = {
        {"two symbols", {{"A", 6}, {"B", 5}}, "", line + partly + two, "Line[A B]" + unread + two},
        {"a group", {}, "Line", line + partly + "FAIL - Line", group_failed},
        {"a symbol and its group", {{"B", 5}}, "Line", line + partly + one + "Line: B: Line 5; ", group_failed},
        {"a symbol of the server's own group, an activation in its text alone",
         {{"V", 7}},
         "",
         all + one + "RavikSrv: V: RavikSrv 7; ",
         "Line[A B] Other[X] Line[V]" + unread + one + "Line: V: Line 7; "},
        {"the server's own group", {}, "RavikSrv", all + "FAIL - RavikSrv", "Line[A B] Other[X] Line[V] | SUCCESS | "},
    };
    auto const read = [this]
    {
        host.groups.clear();
        auto const answer = call("ReadFromTarget");
        EXPECT_EQ(answer.read_value().isset(), answer.extension_result() == 0);
        return host.executed() + " | " + told(answer);
    };
    for (auto const& [about, symbols, group, activated, answer] : cases)
    {
        SCOPED_TRACE(about);
        configure("T { a:A b:B x:X v:V }", "R:T { a=1 b=2 x=3 v=4 }");
        host.symbol_failures.clear();
        for (auto const& [symbol, code] : symbols)
        {
            host.symbol_failures[symbol] = {ErrorValue::EXTENSION, code, "ignored"};
        }
        host.failing_group = group;
        EXPECT_EQ(outcome(), activated);
        EXPECT_EQ(read(), answer);
    }
    // What the server itself refused, named by the group's error.
    host.symbol_failures = {{"A", {ErrorValue::EXTENSION, 5, ""}}, {"B", {ErrorValue::INVALID_DOMAIN, 0, "gone"}}};
    host.failing_group.clear();
    EXPECT_EQ(told(call("ActivateRecipe")), "SERVER_ERROR | Server: SUCCESS, gone");
    EXPECT_EQ(read(), "Line[A B] | SERVER_ERROR | Server: SUCCESS, gone");
}

// What each function comes to when the first, second, … of its calls to the host fails; when one throws, all come to
// the same.
TEST_F(HostFailures, of_any_one_call_are_survived_by_each_function)
{
    auto const check = [this](char const* function, Value const& sent, std::vector<std::string> const& failed,
                              std::string const& succeeded)
    {
        auto const run = [&]
        {
            configure("P { p:B=1 } U { u:D } T(P) { a:A b:C=2 v:V n>U }", "R:T { a=1 stale=2 v=5 }");
            host.configuration[domain]["recipeTypeList"]["T"]["members"]["a"]["schema"].set_type(ValueType::Map);
            announce();
            return extension.call(function, sent);
        };
        SCOPED_TRACE(function);
        for (std::size_t call = 1; call <= failed.size(); ++call)
        {
            SCOPED_TRACE(call);
            host.failing_calls = {call};
            auto const answer = run();
            EXPECT_EQ(told(answer), failed[call - 1]);
            EXPECT_FALSE(answer.read_value().isset() && call < 3);
            host.failing_calls.clear();
            host.throwing_call = call;
            EXPECT_EQ(told(run()),
                      "SERVER_ERROR | Server: " + std::string(function) + ": unexpected failure: host out of order");
            host.throwing_call = 0;
        }
        // No call is left out.
        EXPECT_EQ(told(run()), succeeded);
        EXPECT_EQ(host.call_count, failed.size());
    };
    auto const recipe = parameters("path", "R");
    std::string const unmapped = "SYMBOL_NOT_MAPPED | ";
    std::string const server = "SERVER_ERROR | Server: SERVER";
    std::string const update = "UPDATING_RECIPE_FAILED | Server: ";
    std::string const schema = "SCHEMA | Server: SERVER - ";
    std::string const partly = "ACTIVATING_RECIPE_PARTLY_FAILED | Server: ";
    std::string const one = partly + "1 Symbol(s) failed. Line: A: ";
    std::string const unresolved = "ACTIVATING_FAILED | Server: MISSING_RECIPETYPE";
    std::string const good = "SUCCESS | ";
    check("ActivateRecipe", recipe,
          {unresolved, unmapped, partly + "SERVER - Line", good + "Server: SERVER - RavikSrv"}, good);
    check("ReadFromTarget", recipe, {"READ_FROM_TARGET_FAILED | Server: MISSING_RECIPETYPE", unmapped, server, server},
          good);
    check("UpdateRecipe", recipe,
          {update + "MISSING_RECIPETYPE", "UPDATING_RECIPE_PARTLY_FAILED | Server: SERVER", update + "SERVER",
           update + "SERVER", update + "SERVER", schema, schema, schema, schema},
          good);
    check("GetRecipes", parameters("recipeTypePath", "T"), {"MISSING_RECIPE_VALUES | "}, good);
    check("GetActiveRecipes", Value(), {"MISSING_RECIPE_DATA | ", unmapped, "SERVER_ERROR | ", "SERVER_ERROR | "},
          good);
    host.symbol_failures["A"] = {ErrorValue::EXTENSION, 3, ""};
    check("ActivateRecipe", recipe, {unresolved, unmapped, partly + "SERVER - Line", one + "; "}, one + "Line 3; ");
}

TEST_F(HostFailures, by_an_exception_are_answered_to_every_call_of_the_server)
{
    configure("T { }", "R:T { }");
    auto& changes = extension.changes();
    auto const& context = extension.context();
    auto type = types_of("T { }")["T"];
    host.throwing_call = 1;
    std::map<std::string, std::function<ResultPair()>> const calls = {
        {"before_change", [&] { return changes.before_change(context, "recipeTypeList::T", type, "recipeType"); }},
        {"on_delete", [&] { return changes.on_delete(context, "recipeList::R", Value(), ""); }},
        {"on_rename", [&] { return changes.on_rename(context, "recipeList::R", "recipeList::S", ""); }},
        {"before_import",
         [&] { return extension.exports().before_import(context, "recipeTypeList::T", type, {}, "recipeType"); }},
        {"init", [&] { return extension.object().init(context); }},
    };
    for (auto const& [operation, call] : calls)
    {
        SCOPED_TRACE(operation);
        host.call_count = 0;
        EXPECT_EQ(told(call()), "UNEXPECTED | " + operation + ": unexpected failure: host out of order");
    }
}
