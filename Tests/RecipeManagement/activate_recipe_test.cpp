#include "Fixture.h"

#include "algorithm_helper.h"

#include <gtest/gtest.h>

#include <array>

using namespace Ravik::Test;

namespace
{

using Case = RecipeManagementFixture::RequestCase;

constexpr auto written = std::to_array<Case>({
    {"value, default, not enabled, neither", "T { a:A b:B=2 -c:C=3 d:D }", "R:T { a=1 c=9 other=5 }", "Line[A=1 B=2]"},
    {"one symbol twice: its first record", "T { a:A b:A }", "R:T { a=1 b=2 }", "Line[A=1]"},
    {"one symbol twice: first with content", "T { a:A b:A c:A=3 }", "R:T { b=2 }", "Line[A=2]"},
    {"own members first, values to the inherited", "P { a:A=1 b:B=2 } T(P) { a:C=3 }", "R:T { a=7 }",
     "Line[C=3 A=7 B=2]"},
    {"inherited twice", "P { a:A } Q(P) { b:B=2 } T(P,Q) { }", "R:T { a=1 }", "Line[A=1 B=2]"},
    {"two domains in the order of the records", "T { n>U a:A } U { x:X b:B }", "R:T { a=1 n=S } S:U { x=5 b=6 }",
     "Other[X=5] Line[B=6 A=1]"},
    {"nested by full path, in folders", "T { n>F::U } F::U { a:A }", "R:T { n=recipeList::G::S } G::S:F::U { a=1 }",
     "Line[A=1]"},
    {"a fault in a nested recipe ends that recipe alone", "T { a:A n>U c:C } U { b:B }",
     "R:T { a=1 n=S c=3 } S:U { a=2 b=2 }", "Line[A=1 C=3]"},
    {"symbol and type: the symbol alone", "T { a:A>U } U { b:B=1 }", "R:T { a=1 }", "Line[A=1]"},
    {"one name in two types: the first", "T { m:A c:B>U } U { m:C }", "R:T { c=2 m=5 }", "Line[A=5 B=2]"},
    {"disabled type, with all below", "T { n>U a:A } U!(P) { b:B=1 } P { c:C=1 }", "R:T { a=1 }", "Line[A=1]"},
    {"server symbols", "T { v:V a:A w:W x:X=5 }", "R:T { v=1 a=2 w=3 }", "Line[A=2] Other[X=5] RavikSrv[V=1 W=3]"},
});

constexpr auto refused = std::to_array<Case>({
    {"two values", "T { n>U a:A } U { b:B }", "R:T { n=S a=1 } S:U { a=2 }",
     " | ACTIVATING_FAILED | Server: MULTIPLE_VALUES_ASSIGNED_TO_SYMBOL"},
    {"no recipe", "T { a:A }", "S:T { a=1 }", " | ACTIVATING_FAILED | Server: MISSING_RECIPETYPE"},
    {"no type", "U { a:A }", "R:F::T { a=1 }", " | ACTIVATING_FAILED | Server: MISSING_RECIPETYPE - F::T"},
    {"no nested type", "T { -n>U }", "R:T { }", " | ACTIVATING_FAILED | Server: MISSING_RECIPETYPE - U"},
    {"member without anything", "T { a:A m: }", "R:T { }", " | ACTIVATING_FAILED | Server: MISSING_RECIPETYPE_SYMBOLS"},
    {"inherit each other", "T(P) { a:A } P(T) { b:B }", "R:T { }", " | ACTIVATING_FAILED | Server: "},
    {"nests itself", "T { a:A n>T }", "R:T { }", " | ACTIVATING_FAILED | Server: "},
});

class ActivateRecipe : public testing::Test, protected RecipeManagementFixture
{
};

} // namespace

TEST_F(ActivateRecipe, writes_each_symbol_in_the_group_that_serves_it)
{
    auto const executed = [this]
    {
        // The server's own group comes last, with or without a symbol.
        auto text = outcome();
        Algorithm::replace(text, " RavikSrv[]", "");
        EXPECT_TRUE(Algorithm::replace(text, " | SUCCESS | ", ""));
        return text;
    };
    expect_each(written, executed);
}

TEST_F(ActivateRecipe, writes_nothing_where_the_recipe_cannot_be_resolved)
{
    expect_each(refused, [this] { return outcome(); });
    configure("T { a:A q:Q }", "R:T { a=1 q=2 }");
    EXPECT_EQ(outcome(), " | SYMBOL_NOT_MAPPED | ");
}

TEST_F(ActivateRecipe, follows_twenty_levels)
{
    for (auto const* const type : {"T# { n>T* } ", "T#(T*) { } "})
    {
        configure(repeated(20, type) + "T20 { a:A=1 }", "R:T1 { } S:T0 { }");
        EXPECT_EQ(outcome("R"), "Line[A=1] RavikSrv[] | SUCCESS | ");
        host.groups.clear();
        EXPECT_EQ(outcome("S"), " | ACTIVATING_FAILED | Server: ");
    }
    auto const recipes = repeated(19, "R#:T { n=R* } ") + "R19:T { n=R20 a=1 } R20:T { b=1 } S:T { n=R1 m=R19 }";
    configure("T { n>U m>U } U { a:A b:B }", recipes);
    EXPECT_EQ(outcome("R0"), "Line[A=1] RavikSrv[] | SUCCESS | ");
    // Reached at a smaller depth as well, the recipe names one that is not too deep there.
    host.groups.clear();
    EXPECT_EQ(outcome("S"), "Line[A=1 B=1] RavikSrv[] | SUCCESS | ");
}
