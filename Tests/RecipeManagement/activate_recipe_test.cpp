#include "RecipeNotation.h"

#include <gtest/gtest.h>

#include <functional>

using namespace Ravik::Test;
using namespace RavikSrv;

namespace
{

struct ActivationCase
{
    char const* about;
    char const* types;
    char const* recipes;
    /// Of the recipe R.
    char const* outcome;
};

ActivationCase const written[] = {
    {"value, default, not enabled, neither", "T { a:A b:B=2 -c:C=3 d:D }", "R:T { a=1 c=9 other=5 }", "Line[A=1 B=2]"},
    {"one symbol twice: its first record", "T { a:A b:A }", "R:T { a=1 b=2 }", "Line[A=1]"},
    {"one symbol twice: first with content", "T { a:A b:A c:A=3 }", "R:T { b=2 }", "Line[A=2]"},
    {"null value of a sub-symbol", "T { a:A::x[2] }", "R:T { a=4 }", "Line[A::x[2]=4]"},
    {"own members first, values to the inherited", "P { a:A=1 b:B=2 } T(P) { a:C=3 }", "R:T { a=7 }",
     "Line[C=3 A=7 B=2]"},
    {"inherited twice", "P { a:A } Q(P) { b:B=2 } T(P,Q) { }", "R:T { a=1 }", "Line[A=1 B=2]"},
    {"two domains in the order of the records", "T { n>U a:A } U { x:X b:B }", "R:T { a=1 n=S } S:U { x=5 b=6 }",
     "Other[X=5] Line[B=6 A=1]"},
    {"nested by full path, in folders", "T { n>F::U } F::U { a:A }", "R:T { n=recipeList::G::S } G::S:F::U { a=1 }",
     "Line[A=1]"},
    {"nested recipe missing or not named", "T { n>U m>U a:A } U { b:B }", "R:T { n=Gone m= a=1 }", "Line[A=1]"},
    {"same value twice", "T { n>U a:A } U { b:B }", "R:T { n=S a=1 } S:U { a=1 b=2 }", "Line[B=2 A=1]"},
    {"a fault in a nested recipe ends that recipe alone", "T { a:A n>U c:C } U { b:B }",
     "R:T { a=1 n=S c=3 } S:U { a=2 b=2 }", "Line[A=1 C=3]"},
    {"symbol and type: the symbol alone", "T { a:A>U } U { b:B=1 }", "R:T { a=1 }", "Line[A=1]"},
    {"disabled type, with all below", "T { n>U a:A } U!(P) { b:B=1 } P { c:C=1 }", "R:T { a=1 }", "Line[A=1]"},
    {"disabled recipe type", "T! { a:A }", "R:T { a=1 }", "Line[]"},
    {"server symbols", "T { v:V a:A w:W x:X=5 }", "R:T { v=1 a=2 w=3 }", "Line[A=2] Other[X=5] RavikSrv[V=1 W=3]"},
};

ActivationCase const refused[] = {
    {"two values", "T { n>U a:A } U { b:B }", "R:T { n=S a=1 } S:U { a=2 }",
     "Server: MULTIPLE_VALUES_ASSIGNED_TO_SYMBOL"},
    {"no recipe", "T { a:A }", "S:T { a=1 }", "Server: MISSING_RECIPETYPE"},
    {"no type", "U { a:A }", "R:F::T { a=1 }", "Server: MISSING_RECIPETYPE - F::T"},
    {"no inherited type", "T(P) { a:A }", "R:T { }", "Server: MISSING_RECIPETYPE - P"},
    {"no nested type", "T { -n>U }", "R:T { }", "Server: MISSING_RECIPETYPE - U"},
    {"member without anything", "T { a:A m }", "R:T { }", "Server: MISSING_RECIPETYPE_SYMBOLS"},
    {"inherits itself", "T(T) { a:A }", "R:T { }", "Server: "},
    {"inherit each other", "T(P) { a:A } P(T) { b:B }", "R:T { }", "Server: "},
    {"nests itself", "T { a:A n>T }", "R:T { }", "Server: "},
};

/// A chain of types, each of which nests or inherits the next, and the recipe R of the first.
std::string chain(int length, bool inherits)
{
    std::string types;
    for (int i = 0; i < length; ++i)
    {
        auto const name = i == 0 ? "T" : "T" + std::to_string(i);
        auto const next = i + 1 < length ? "T" + std::to_string(i + 1) : "";
        types += inherits ? name + (next.empty() ? "" : "(" + next + ")") + " { a:A=1 } "
                          : name + " { " + (next.empty() ? "a:A=1" : "n>" + next) + " } ";
    }
    return types;
}

class ActivateRecipe : public testing::Test, protected RecipeManagementFixture
{
};

} // namespace

TEST_F(ActivateRecipe, writes_each_symbol_in_the_group_that_serves_it)
{
    for (auto const& [about, types, recipes, executed] : written)
    {
        configure(types, recipes);
        std::string const expected = executed;
        auto const server_group = expected.find("RavikSrv") == std::string::npos ? " RavikSrv[]" : "";
        EXPECT_EQ(outcome("R"), expected + server_group + " | SUCCESS | ") << about;
    }
}

TEST_F(ActivateRecipe, writes_nothing_where_the_recipe_cannot_be_resolved)
{
    for (auto const& [about, types, recipes, text] : refused)
    {
        configure(types, recipes);
        EXPECT_EQ(outcome("R"), std::string(" | ACTIVATING_FAILED | ") + text) << about;
    }
    configure("T { a:A q:Q }", "R:T { a=1 q=2 }");
    EXPECT_EQ(outcome("R"), " | SYMBOL_NOT_MAPPED | ");
    Value map(ValueType::Map);
    map.insert("path", "R");
    for (auto const& value : {map, Value("R"), Value()})
    {
        EXPECT_EQ(extension.call("ActivateRecipe", value).extension_result(), 9U);
    }
}

TEST_F(ActivateRecipe, follows_twenty_levels)
{
    for (auto const inherits : {true, false})
    {
        configure(chain(20, inherits), "R:T { }");
        EXPECT_EQ(outcome("R"), "Line[A=1] RavikSrv[] | SUCCESS | ");
        configure(chain(21, inherits), "R:T { }");
        EXPECT_EQ(outcome("R"), " | ACTIVATING_FAILED | Server: ");
    }
    std::string recipes = "R:T { n=R1 } ";
    for (int i = 1; i <= 20; ++i)
    {
        recipes += "R" + std::to_string(i) + ":T { n=R" + std::to_string(i + 1) + (i == 19 ? " a=1" : "") +
                   (i == 20 ? " b=1" : "") + " } ";
    }
    configure("T { n>U m>U } U { a:A b:B }", recipes);
    EXPECT_EQ(outcome("R"), "Line[A=1] RavikSrv[] | SUCCESS | ");
    // Reached at a smaller depth as well, the recipe names one that is not too deep there.
    configure("T { n>U m>U } U { a:A b:B }", recipes + "S:T { n=R1 m=R19 }");
    EXPECT_EQ(outcome("S"), "Line[A=1 B=1] RavikSrv[] | SUCCESS | ");
}

TEST_F(ActivateRecipe, tells_what_failed_and_stops_there)
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
    std::string const line = "Line[A=1 B=2]";
    std::string const all = line + " Other[X=3] RavikSrv[V=4] | ";
    Case const cases[] = {
        {fail("B", ErrorValue::EXTENSION, 5, "ignored"),
         line + " | ACTIVATING_RECIPE_PARTLY_FAILED | Server: 1 Symbol(s) failed. Line: B: BROKEN; "},
        {fail("X", ErrorValue::EXTENSION, 6, ""),
         line + " Other[X=3] | ACTIVATING_RECIPE_PARTLY_FAILED | Server: 1 Symbol(s) failed. Other: X: Other 6; "},
        {fail("A", ErrorValue::INVALID_DOMAIN, 0, "no such"), line + " | SERVER_ERROR | Server: SUCCESS, no such"},
        {fail("A", ErrorValue::INVALID_DOMAIN, 0, ""), line + " | SERVER_ERROR | Server: SUCCESS"},
        {fail_group("Line", ErrorValue::DOMAIN_DISABLED),
         line + " | ACTIVATING_RECIPE_PARTLY_FAILED | Server: DOMAIN_DISABLED - Line"},
        {fail("V", ErrorValue::EXTENSION, 7, ""),
         all + "SUCCESS | Server: 1 Symbol(s) failed. RavikSrv: V: RavikSrv 7; "},
        {fail_group("RavikSrv", ErrorValue::FAIL), all + "SUCCESS | Server: FAIL - RavikSrv"},
    };
    for (auto const& [prepare, expected] : cases)
    {
        configure("T { a:A b:B x:X v:V }", "R:T { a=1 b=2 x=3 v=4 }");
        host.symbol_failures.clear();
        host.group_failures.clear();
        host.error_names["Line 5"] = "BROKEN";
        prepare(host);
        EXPECT_EQ(outcome("R"), expected);
    }
    host.group_failures["Line"] = ErrorValue::FAIL;
    fail("A", ErrorValue::EXTENSION, 5, "")(host);
    fail("B", ErrorValue::EXTENSION, 1, "")(host);
    EXPECT_STREQ(activate("R").result_string(), "Server: 2 Symbol(s) failed. Line: A: BROKEN; B: Line 1; ");
    fail("B", ErrorValue::SYMBOL_NOT_MAPPED, 0, "B")(host);
    EXPECT_STREQ(activate("R").result_string(), "Server: FAIL, B");
}

TEST_F(ActivateRecipe, survives_the_failure_of_any_call_to_the_host)
{
    // Configuration, symbol table, one group a domain, the server's group; the name of an error where one is asked for.
    char const* const failed[] = {
        " | ACTIVATING_FAILED | Server: MISSING_RECIPETYPE",
        " | SYMBOL_NOT_MAPPED | ",
        "Line[A=1] | ACTIVATING_RECIPE_PARTLY_FAILED | Server: SERVER - Line",
        "Line[A=1] Other[X=2] | ACTIVATING_RECIPE_PARTLY_FAILED | Server: SERVER - Other",
        "Line[A=1] Other[X=2] | ACTIVATING_RECIPE_PARTLY_FAILED | Server: 1 Symbol(s) failed. Other: X: ; ",
    };
    host.symbol_failures["X"] = {.extension_result = 3, .text = {}};
    for (std::size_t call = 1; call <= std::size(failed); ++call)
    {
        configure("T { a:A x:X }", "R:T { a=1 x=2 }");
        host.failing_call = call;
        EXPECT_EQ(outcome("R"), failed[call - 1]) << call;
        host.failing_call = 0;
        configure("T { a:A x:X }", "R:T { a=1 x=2 }");
        host.throwing_call = call;
        auto const thrown = activate("R");
        EXPECT_EQ(thrown.extension_result(), 22U) << call;
        EXPECT_STREQ(thrown.result_string(), "Server: unexpected failure: host out of order") << call;
        host.throwing_call = 0;
    }
}
