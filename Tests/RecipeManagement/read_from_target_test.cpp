#include "RecipeNotation.h"

#include <gtest/gtest.h>

#include <functional>

using namespace Ravik::Test;
using namespace RavikSrv;

namespace
{

class ReadFromTarget : public testing::Test, protected RecipeManagementFixture
{
protected:
    ReadFromTarget()
    {
        for (auto const* const name : {"A", "B", "C", "D", "V", "W", "X", "Y"})
        {
            host.symbols[name] = static_cast<int>(host.symbols.size()) + 1;
        }
    }

    /// "executed groups | result | text | recipe:type values".
    std::string read(char const* path)
    {
        auto const command = extension.call("ReadFromTarget", parameters("path", path));
        auto text = host.executed() + " | " + told(command);
        Value const& answer = command.read_value();
        for (auto recipe = answer.begin(); recipe != answer.end(); ++recipe)
        {
            Value const& entry = *recipe;
            text += " | " + std::string(recipe.name()) + ":" + text_of(entry["recipeTypeName"]) +
                    entry["recipeTypeName"].get_string() + " " + text_of(entry["values"]);
        }
        return text + (answer.isset() ? "" : " | nothing");
    }
};

} // namespace

TEST_F(ReadFromTarget, answers_what_the_symbols_hold_for_the_members_that_the_recipe_names)
{
    struct Case
    {
        char const* path;
        char const* types;
        char const* recipes;
        char const* answer;
    };
    Case const cases[] = {
        {"R", "T { a:A -b:B=7 c:C }", "R:T { b=9 a=9 other=1 }", "Line[A B C] | SUCCESS |  | R:T a=1 b=2"},
        {"F::R", "F::T { a:A }", "F::R:F::T { a=9 }", "Line[A] | SUCCESS |  | F::R:F::T a=1"},
        {"R", "T { a:A }", "R:T { }", "Line[A] | SUCCESS |  | R:T "},
        {"R", "T { }", "R:T { a=9 }", " | SUCCESS | "},
        {"R", "T { a:A b:A }", "R:T { a=9 b=9 }", "Line[A A] | SUCCESS |  | R:T a=1 b=1"},
        {"R", "P { a:A } T(P) { a:B }", "R:T { a=9 }", "Line[A B] | SUCCESS |  | R:T a=1"},
        {"R", "T { n>U a:A } U { x:X b:B }", "R:T { a=9 n=S x=9 } S:U { b=6 }",
         "Other[X] Line[B A] | SUCCESS |  | R:T x=7 a=1"},
        {"R", "T { v:V a:A w:W }", "R:T { w=9 v=9 a=9 }", "Line[A] Line[V W] | SUCCESS |  | R:T a=1 v=5 w=6"},
        {"S", "T { a:A }", "R:T { }", " | READ_FROM_TARGET_FAILED | Server: MISSING_RECIPETYPE | nothing"},
        {"R", "U { a:A }", "R:T { }", " | READ_FROM_TARGET_FAILED | Server: MISSING_RECIPETYPE - T | nothing"},
        {"R", "T(P) { a:A } P(T) { }", "R:T { }", " | READ_FROM_TARGET_FAILED | Server:  | nothing"},
        {"R", "T { a:A q:Q }", "R:T { }", " | SYMBOL_NOT_MAPPED |  | nothing"},
    };
    for (auto const& [path, types, recipes, answer] : cases)
    {
        configure(types, recipes);
        EXPECT_EQ(read(path), answer) << types;
    }
    for (auto const& value : {Value(ValueType::Map), Value("R"), Value()})
    {
        EXPECT_EQ(told(extension.call("ReadFromTarget", value)), "INVALID_WRITEVALUE | ");
    }
}

TEST_F(ReadFromTarget, reads_symbols_that_the_server_itself_serves)
{
    // Those without the mapping's use are read with the server's domain and once more at the end, the others never.
    auto& table = host.configuration["RavikSrv"]["SYMBOLS"];
    table["V"]["DOMAIN"] = "RavikSrv";
    table["A"]["DOMAIN"] = "RavikSrv";
    configure("T { v:V a:A b:B }", "R:T { v=9 a=9 b=9 }");
    EXPECT_EQ(read("R"), "RavikSrv[V] Line[B] RavikSrv[V] | SUCCESS |  | R:T v=5 b=2");
}

TEST_F(ReadFromTarget, tells_what_failed_and_answers_nothing)
{
    struct Case
    {
        std::function<void(RecordingHost&)> prepare;
        std::string outcome;
    };
    auto const fail = [](char const* symbol, ErrorValue result, unsigned code, char const* text) {
        return [=](RecordingHost& server) { server.symbol_failures[symbol] = {result, code, text}; };
    };
    auto const fail_group = [](char const* failing, ErrorValue error)
    { return [=](RecordingHost& server) { server.group_failures[failing] = error; }; };
    std::string const partly = "READ_FROM_TARGET_PARTLY_FAILED | Server: ";
    Case const cases[] = {
        {fail("B", ErrorValue::EXTENSION, 5, "ignored"),
         "Line[A B] | " + partly + "1 Symbol(s) failed. Line: B: BROKEN; "},
        {fail("A", ErrorValue::EXTENSION, 6, ""),
         "Line[A B] | " + partly + "2 Symbol(s) failed. Line: A: Line 6; B: BROKEN; "},
        {fail("A", ErrorValue::INVALID_DOMAIN, 0, "gone"), "Line[A B] | SERVER_ERROR | Server: SUCCESS, gone"},
        {fail_group("Line", ErrorValue::FAIL), "Line[A B] | SERVER_ERROR | Server: FAIL"},
        {fail("V", ErrorValue::EXTENSION, 7, ""),
         "Line[A B] Other[X] Line[V] | " + partly + "1 Symbol(s) failed. Line: V: Line 7; "},
    };
    host.error_names["Line 5"] = "BROKEN";
    for (auto const& [prepare, outcome] : cases)
    {
        configure("T { a:A b:B x:X v:V }", "R:T { a=9 b=9 x=9 v=9 }");
        prepare(host);
        EXPECT_EQ(read("R"), outcome + " | nothing");
        host.group_failures.clear();
        host.symbol_failures.erase("A");
        if (outcome.find("A:") != std::string::npos)
        {
            host.symbol_failures.clear();
        }
    }
}

// What each function comes to when the first, second, … of its calls to the host fails; when one throws, all come to
// the same.
TEST_F(ReadFromTarget, and_the_other_functions_survive_the_failure_of_any_call_to_the_host)
{
    struct Case
    {
        char const* function;
        Value parameters;
        std::vector<std::string> failed;
    };
    auto const recipe = parameters("path", "R");
    std::string const server = "SERVER_ERROR | Server: SERVER";
    std::string const update = "UPDATING_RECIPE_FAILED | Server: SERVER";
    std::string const schema = "SCHEMA | Server: SERVER - ";
    Case const cases[] = {
        {"ActivateRecipe",
         recipe,
         {"ACTIVATING_FAILED | Server: MISSING_RECIPETYPE", "SYMBOL_NOT_MAPPED | ",
          "ACTIVATING_RECIPE_PARTLY_FAILED | Server: SERVER - Line", "SUCCESS | Server: SERVER - RavikSrv"}},
        {"ReadFromTarget",
         recipe,
         {"READ_FROM_TARGET_FAILED | Server: MISSING_RECIPETYPE", "SYMBOL_NOT_MAPPED | ", server, server}},
        {"UpdateRecipe",
         recipe,
         {"UPDATING_RECIPE_FAILED | Server: MISSING_RECIPETYPE", "UPDATING_RECIPE_PARTLY_FAILED | Server: SERVER",
          update, update, update, schema, schema, schema, schema}},
        {"GetRecipes", parameters("recipeTypePath", "T"), {"MISSING_RECIPE_VALUES | "}},
        {"GetActiveRecipes",
         Value(),
         {"MISSING_RECIPE_DATA | ", "SYMBOL_NOT_MAPPED | ", "SERVER_ERROR | ", "SERVER_ERROR | "}},
    };
    auto const prepare = [&]
    {
        configure("P { p:B=1 } U { u:D } T(P) { a:A b:C=2 v:V n>U }", "R:T { a=1 stale=2 v=5 }");
        host.configuration[domain]["recipeTypeList"]["T"]["members"]["a"]["schema"].set_type(ValueType::Map);
        announce();
    };
    for (auto const& [function, sent, failed] : cases)
    {
        for (std::size_t call = 1; call <= failed.size(); ++call)
        {
            prepare();
            host.failing_call = call;
            auto const answer = extension.call(function, sent);
            EXPECT_EQ(told(answer), failed[call - 1]) << function << ' ' << call;
            EXPECT_FALSE(answer.read_value().isset() && call < 3) << function << ' ' << call;
            host.failing_call = 0;
            prepare();
            host.throwing_call = call;
            auto const thrown = extension.call(function, sent);
            EXPECT_EQ(told(thrown), "SERVER_ERROR | Server: unexpected failure: host out of order") << function;
            host.throwing_call = 0;
        }
        // No call is left out.
        prepare();
        EXPECT_EQ(told(extension.call(function, sent)), "SUCCESS | ") << function;
        EXPECT_EQ(host.call_count, failed.size()) << function;
    }
}
