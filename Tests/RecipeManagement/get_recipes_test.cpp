#include "Fixture.h"

#include "algorithm_helper.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <tuple>
#include <vector>

using namespace Ravik::Test;

namespace
{

/// A host of its own for each configuration: the extension never forgets a path.
struct Plant : RecipeManagementFixture
{
    Plant(std::string const& types, std::string const& recipes, std::string const& values = "")
    {
        configure(types, recipes);
        announce();
        auto const set = recipes_of("R:T { " + values + " }")["R"]["values"];
        for (auto value = set.begin(); value != set.end(); ++value)
        {
            host.symbols[value.name()] = *value;
        }
    }

    /// The names listed, behind the name of the failure where there is one.
    std::string call(char const* function, Value const& sent)
    {
        auto const command = extension.call(function, sent);
        auto const failure = command.extension_result() == 0 ? "" : told(command);
        return failure + text_of(command.read_value());
    }
    /// Of the recipes named, which stand between commas; of all without a name.
    std::string active(std::string const& names = "")
    {
        return call("GetActiveRecipes", types_of("T(" + names + ") { }")["T"]["recipeTypeNames"]);
    }
};

} // namespace

TEST(GetRecipes, lists_the_recipes_of_a_type_and_of_its_heirs_the_last_stored_first)
{
    auto const* const twice = "P { } Q(P) { } S(Q,P) { }"; // what inherits P in two ways
    auto const* const no_heir = "P { } Q(P) { } S { }";
    auto const* const mutually = "P(Q) { } Q(P) { } S { }";
    // Types, the one that is asked for, and what is listed.
    for (auto const& [types, requested, answer] : std::vector<std::tuple<char const*, char const*, std::string>>{
             {twice, "P", "C C B A"},
             {twice, "Q", "C B"},
             {no_heir, "p", ""},
             {no_heir, "", ""},
             {mutually, "P", "RECURSION | " + repeated(10, "B ") + "A"},
         })
    {
        SCOPED_TRACE(types + std::string(requested));
        Plant plant(types, "A:P { } B:Q { } C:S { }");
        EXPECT_EQ(plant.call("GetRecipes", parameters("recipeTypePath", requested)), answer);
        plant.configure(types, "A:P { } C:S { }");
        EXPECT_EQ(plant.call("GetRecipes", parameters("recipeTypePath", "Z")), "MISSING_RECIPE_VALUES | ");
    }
}

TEST(GetActiveRecipes, lists_the_recipes_whose_values_the_controllers_hold)
{
    auto const* const nests = "T { a:A t:C n>U } U { b:B }";
    struct Case
    {
        char const* about;
        char const* types;
        char const* recipes;
        /// What the symbols hold.
        char const* values;
        /// The recipes asked for.
        char const* names;
        char const* answer;
    };
    auto const cases = std::to_array<Case>({
        {"all, in stored order", "T { a:A b:B }", "R:T { a=1 b=2 } S:T { a=1 b=3 } E:T { } Q:T { b=2 }", "A=1 B=2", "",
         "R Q"},
        {"as asked for", "T { a:A }", "R:T { a=1 } S:T { a=2 } Q:T { a=1 }", "A=1", "Q,S,R,Q", "Q R Q"},
        {"nothing read for the first value", "T { a:A }", "R:T { other=5 a=1 } S:T { a=1 other=5 }", "A=1", "", "S"},
        {"converted exactly", "T { a:A b:B }", "R:T { a=1 } S:T { b=1 }", "A=1x B=01", "", "S"},
        {"symbols of two domains", "T { a:A x:X v:V }", "R:T { v=3 x=2 a=1 }", "A=1 X=2 V=3", "", "R"},
        {"nested by relative name", nests, "R:T { a=1 n=S } S:U { b=2 }", "A=1 B=2", "", "R S"},
        {"nested one not active", nests, "R:T { a=1 n=S } S:U { b=2 }", "A=1 B=3", "", ""},
        {"nested by full path", nests, "R:T { n=recipeList::S a=1 } S:U { b=2 }", "A=1 B=2", "R", "R"},
        {"full path decides over the text read", nests, "R:T { t=recipeList::S } S:U { b=2 }", "C=z B=2", "R", "R"},
        {"a text that is also a name", nests, "R:T { t=S n=Gone } S:U { b=2 }", "C=S B=3", "", "R"},
        {"asked for, not there", "T { a:A }", "R:T { a=1 }", "A=1", "R,Z", "MISSING_RECIPE_DATA | "},
        {"symbol not mapped", "T { q:Q }", "R:T { q=1 }", "", "", "SYMBOL_NOT_MAPPED | "},
        {"no such type", "U { a:A }", "R:T { a=1 }", "", "", "READ_FROM_TARGET_FAILED | "},
        {"names itself behind a difference", nests, "R:T { a=1 n=R }", "A=2", "", ""},
        {"name each other", nests, "R:T { a=1 n=S } S:T { a=1 n=R }", "A=1", "S", "RECURSION | "},
    });
    for (auto const& [about, types, recipes, values, names, answer] : cases)
    {
        SCOPED_TRACE(about);
        EXPECT_EQ(Plant(types, recipes, values).active(names), answer);
    }
    Plant plant("T { a:A }", "R:T { a=1 }", "A=1");
    plant.host.symbol_failures["A"] = {.extension_result = 1, .text = {}};
    EXPECT_EQ(plant.active(), "READ_FROM_TARGET_PARTLY_FAILED | ");
}

TEST(GetActiveRecipes, compares_numbers_within_the_epsilon_of_their_symbol)
{
    auto const nan = std::numeric_limits<double>::quiet_NaN();
    struct Case
    {
        Value stored;
        Value current;
        bool real;
        bool lreal;
    };
    auto const real_epsilon = std::ldexp(1.0, -23);
    auto const epsilon = std::ldexp(1.0, -52);
    auto const cases = std::to_array<Case>({
        {0.0, real_epsilon, true, false},
        {0.0, real_epsilon * 1.01, false, false},
        {1.0, 1.0 + epsilon, true, true},
        {1.0, 1.0 + 2 * epsilon, true, false},
        {0.0, -epsilon, true, true},
        {nan, nan, false, false},
        {1, 1.0, true, true},
        {1, 1.25, false, false},
        {0.0, Value(), false, false},
        {true, 1, true, true},
    });
    // The member has the symbol's name, one of its own, and that of an inherited member that nests its type.
    for (auto const* const types : {"T { A:A }", "T { a:A }", "P { n>U } T(P) { } U { n:A }"})
    {
        auto const* const member = *types == 'P' ? "n" : types[4] == 'A' ? "A" : "a";
        for (auto const* const reference : {"REAL", "REAL32", "LREAL"})
        {
            Plant plant(types, "R:T { }");
            auto& entry = plant.host.configuration["RavikSrv"]["SYMBOLS"]["A"];
            entry["SCHEMA"]["$ref"] = ("ravik:general#/definitions/" + std::string(reference)).c_str();
            for (auto const& [stored, current, real, lreal] : cases)
            {
                plant.host.configuration[Plant::domain]["recipeList"]["R"]["values"][member] = stored;
                plant.host.symbols["A"] = current;
                EXPECT_EQ(plant.active(), (*reference == 'R' ? real : lreal) ? "R" : "")
                    << types << ' ' << reference << ' ' << Algorithm::to_string(current);
            }
        }
    }
}

TEST(GetActiveRecipes, follows_twenty_levels_and_examines_each_recipe_once)
{
    auto const* const recipe = "R#:T { a=1 n=R* m=R* o=R* } ";
    auto const* const types = "T { a:A n>U m>U o>U } U { }";
    // Known from the first examination, and too deep at the second.
    EXPECT_EQ(Plant(types, repeated(20, recipe) + "R20:T { a=1 }", "A=1").active("R1,R0"), "RECURSION | ");
    Plant plant(types, repeated(19, recipe) + "R19:T { a=1 }", "A=1");
    EXPECT_EQ(plant.active("R0,R7"), "R0 R7");
    EXPECT_EQ(plant.host.groups.size(), 20U);
}
