#include "Fixture.h"

#include "algorithm_helper.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cmath>
#include <limits>

using namespace Ravik::Test;
using namespace RavikSrv;

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

    /// The names listed, or the name of the failure; of both, where both are told.
    std::string call(char const* function, Value const& sent)
    {
        auto const command = extension.call(function, sent);
        std::string const name = extension.object().error_string(command.extension_result()).name();
        EXPECT_STREQ(command.result_string(), "");
        return command.extension_result() == 0 ? text_of(command.read_value())
               : command.read_value().isset()  ? name + ": " + text_of(command.read_value())
                                               : name;
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
    auto const loop = repeated(10, [](auto const&, auto const&) { return "B "; });
    auto const cases = std::to_array<std::array<std::string, 3>>({
        {"P { } Q { } S { }", "P", "A"},
        {"P { } Q(P) { } S { }", "P", "B A"},
        {"P { } Q(P) { } S(Q) { }", "P", "C B A"},
        {"P { } Q(P) { } S(Q,P) { }", "P", "C C B A"},
        {"P { } Q(P) { } S(Q,P) { }", "Q", "C B"},
        {"P { } Q(P) { } S { }", "p", ""},
        {"P { } Q() { } S { }", "", ""},
        {"P(Q) { } Q(P) { } S { }", "P", "RECURSION: " + loop + "A"},
    });
    for (auto const& [types, requested, answer] : cases)
    {
        Plant plant(types, "A:P { } B:Q { } C:S { }");
        EXPECT_EQ(plant.call("GetRecipes", parameters("recipeTypePath", requested.c_str())), answer) << types;
        plant.configure(types, "A:P { } C:S { }");
        EXPECT_EQ(plant.call("GetRecipes", parameters("recipeTypePath", "Z")), "MISSING_RECIPE_VALUES");
    }
}

TEST(GetActiveRecipes, lists_the_recipes_whose_values_the_controllers_hold)
{
    auto const* const nests = "T { a:A t:C n>U } U { b:B }";
    auto const cases = std::to_array<std::array<char const*, 6>>({
        {"all, in stored order", "T { a:A b:B }", "R:T { a=1 b=2 } S:T { a=1 b=3 } E:T { } Q:T { b=2 }", "A=1 B=2", "",
         "R Q"},
        {"as asked for", "T { a:A }", "R:T { a=1 } S:T { a=2 } Q:T { a=1 }", "A=1", "Q,S,R,Q", "Q R Q"},
        {"nothing read for a later value", "T { a:A }", "R:T { a=1 other=5 }", "A=1", "", "R"},
        {"nothing read for the first value", "T { a:A }", "R:T { other=5 a=1 }", "A=1", "", ""},
        {"not set in the controller", "T { a:A }", "R:T { a=0 }", "", "", ""},
        {"converted exactly", "T { a:A b:B }", "R:T { a=1 } S:T { b=1 }", "A=1x B=01", "", "S"},
        {"symbols of two domains", "T { a:A x:X v:V }", "R:T { v=3 x=2 a=1 }", "A=1 X=2 V=3", "", "R"},
        {"nested by relative name", nests, "R:T { a=1 n=S } S:U { b=2 }", "A=1 B=2", "", "R S"},
        {"nested one not active", nests, "R:T { a=1 n=S } S:U { b=2 }", "A=1 B=3", "", ""},
        {"nested by full path", nests, "R:T { n=recipeList::S a=1 } S:U { b=2 }", "A=1 B=2", "R", "R"},
        {"full path decides over the text read", nests, "R:T { t=recipeList::S } S:U { b=2 }", "C=z B=2", "R", "R"},
        {"full path of one not active", nests, "R:T { t=recipeList::S } S:U { b=2 }", "C=recipeList::S B=3", "R", ""},
        {"a text that is also a name", nests, "R:T { t=S } S:U { b=2 }", "C=S B=3", "", "R"},
        {"nobody of that name", nests, "R:T { a=1 n=Gone }", "A=1", "", "R"},
        {"nested recipe named first but not there", nests, "R:T { n= a=1 }", "A=1", "", ""},
        {"asked for, not there", "T { a:A }", "R:T { a=1 }", "A=1", "R,Z", "MISSING_RECIPE_DATA"},
        {"symbol not mapped", "T { q:Q }", "R:T { q=1 }", "", "", "SYMBOL_NOT_MAPPED"},
        {"no such type", "U { a:A }", "R:T { a=1 }", "", "", "READ_FROM_TARGET_FAILED"},
        {"names itself", nests, "R:T { a=1 n=R }", "A=1", "", "RECURSION"},
        {"names itself behind a difference", nests, "R:T { a=1 n=R }", "A=2", "", ""},
        {"name each other", nests, "R:T { a=1 n=S } S:T { a=1 n=R }", "A=1", "S", "RECURSION"},
    });
    for (auto const& [about, types, recipes, values, names, answer] : cases)
    {
        EXPECT_EQ(Plant(types, recipes, values).active(names), answer) << about;
    }
    Plant plant("T { a:A }", "R:T { a=1 }", "A=1");
    plant.host.symbol_failures["A"] = {.extension_result = 1, .text = {}};
    EXPECT_EQ(plant.active(), "READ_FROM_TARGET_PARTLY_FAILED");
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
        {0.1, static_cast<double>(0.1F), true, false},
        {1.0, 1.0000001, true, false},
        {1.0, 1.0 + real_epsilon, true, false},
        {1.0, 1.0 + 2 * real_epsilon, false, false},
        {0.0, real_epsilon, true, false},
        {0.0, real_epsilon * 1.01, false, false},
        {1.0, 1.0 + epsilon, true, true},
        {1.0, 1.0 + 2 * epsilon, true, false},
        {0.0, -epsilon, true, true},
        {1e300, 1e300, true, true},
        {nan, nan, false, false},
        {1.0, nan, false, false},
        {nan, 1.0, false, false},
        {1.0, 1, true, true},
        {1, 1.0, true, true},
        {1, 1.25, false, false},
        {0.0, "none", false, false},
        {0.0, Value(), false, false},
        {true, 1, true, true},
    });
    // The table has the member's name for the first member, the symbol's alone for the others.
    for (auto const* const member : {"A", "a", "a(P)"})
    {
        std::string const name(member, 1);
        auto const types = member[1] == 0 ? "T { " + name + ":A }" : "P { n>U } T(P) { } U { n:A }";
        for (auto const* const reference : {"REAL", "REAL32", "LREAL"})
        {
            Plant plant(types, "R:T { }");
            auto& entry = plant.host.configuration["RavikSrv"]["SYMBOLS"]["A"];
            entry["SCHEMA"]["$ref"] = ("ravik:general#/definitions/" + std::string(reference)).c_str();
            for (auto const& [stored, current, real, lreal] : cases)
            {
                auto& values = plant.host.configuration[Plant::domain]["recipeList"]["R"]["values"];
                values[member[1] == 0 ? member : "n"] = stored;
                plant.host.symbols["A"] = current;
                auto const is_active = *reference == 'R' ? real : lreal;
                EXPECT_EQ(plant.active(), is_active ? "R" : "")
                    << member << ' ' << reference << ' ' << Algorithm::to_string(stored) << ' '
                    << Algorithm::to_string(current);
            }
        }
    }
}

TEST(GetActiveRecipes, follows_twenty_levels_and_examines_each_recipe_once)
{
    auto const chain = [](int length, bool names_thrice)
    {
        auto const recipe = [names_thrice](auto const& i, auto const& next)
        { return "R" + i + ":T { a=1 n=R" + next + (names_thrice ? " m=R" + next + " o=R" + next : "") + " } "; };
        return repeated(length - 1, recipe) + "R" + std::to_string(length - 1) + ":T { a=1 }";
    };
    auto const* const types = "T { a:A n>U m>U o>U } U { }";
    EXPECT_EQ(Plant(types, chain(20, false), "A=1").active("R0"), "R0");
    EXPECT_EQ(Plant(types, chain(21, false), "A=1").active("R0"), "RECURSION");
    // Known from the first examination, and too deep at the second.
    EXPECT_EQ(Plant(types, chain(21, false), "A=1").active("R1,R0"), "RECURSION");
    Plant plant(types, chain(20, true), "A=1");
    auto const start = std::chrono::steady_clock::now();
    EXPECT_EQ(plant.active("R0,R7"), "R0 R7");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_EQ(plant.host.groups.size(), 20U);
}
