#include "Fixture.h"

#include <gtest/gtest.h>

#include <array>

using namespace Ravik::Test;
using namespace RavikSrv;

namespace
{

class UpdateRecipe : public testing::Test, protected RecipeManagementFixture
{
protected:
    /// "values written, a pair of brackets a call; values removed | result | text".
    std::string update()
    {
        auto const command = call("UpdateRecipe");
        info = text_of(command.read_value()["info"]);
        std::string text;
        for (auto const& [path, value] : host.config_writes)
        {
            EXPECT_EQ(path, "recipeList::R::values");
            text.append("{").append(text_of(value)).append("}");
        }
        for (auto const& sent : host.commands)
        {
            EXPECT_EQ(static_cast<unsigned>(sent.options()), 2048U);
            EXPECT_EQ(std::string(sent.name()).substr(0, values.size()), values);
            text.append(" -").append(sent.name() + values.size() + 2);
        }
        return text + " | " + told(command);
    }

    std::string const values = "RavikRecipeManagement.Config::recipeList::R::values";
    std::string info;
};

} // namespace

TEST_F(UpdateRecipe, drops_what_the_type_lost_and_fills_in_what_the_recipe_lacks)
{
    constexpr auto cases = std::to_array<std::array<char const*, 4>>({
        {"nothing to do", "T { a:A=1 n>U } U { b:B=2 }", "R:T { a=5 n= }", " | SUCCESS | "},
        {"stale values", "T(P) { a:A n>U } P { p:C } U { b:B }", "R:T { z=1 a=5 p=1 y=2 n= b=3 U=4 }",
         " -z -y | SUCCESS | "},
        {"inherited before own, null default not written",
         "S { s:D=4 a:A=9 } P(S) { a:A=1 b:B n>U c:C=2>U } U { x:X=7 } T(P) { d:D=4 v:V m>U w:W=5>U }", "R:T { a=1 }",
         "{n= c=2}{s=4}{d=4}{m=}{w=5} | SUCCESS | "},
        {"a value held by an inherited member of the same name", "T(P) { a:B=1 } P { a:A }", "R:T { a=5 }",
         " | SUCCESS | "},
        {"a value that a nested recipe brings", "T { n>U a:A=1 } U { b:B }", "R:T { n=S } S:U { a=5 }",
         " | SUCCESS | "},
        {"one symbol, two values", "T(P) { a:A b:A=1 } P { p:A }", "R:T { a=1 p=2 }",
         " | MULTIPLE_VALUES_ASSIGNED_TO_SYMBOL | Server: P: p"},
        {"value against default", "T { c:C=3 a:A b:A=2 d:D=4 }", "R:T { a=1 }",
         "{c=3} | MULTIPLE_VALUES_ASSIGNED_TO_SYMBOL | Server: : b"},
        {"missing type", "U { a:A }", "R:T { }", " | UPDATING_RECIPE_FAILED | Server: MISSING_RECIPETYPE - T"},
    });
    for (auto const& [about, types, recipes, outcome] : cases)
    {
        configure(types, recipes);
        EXPECT_EQ(update(), outcome) << about;
        std::string const told = " not found in recipeType: Deleted";
        auto const path = values.substr(values.find("recipeList")) + "::";
        auto const both = std::string(path).append("z").append(told).append(" ").append(path).append("y").append(told);
        EXPECT_EQ(info, *outcome == ' ' && outcome[1] == '-' ? both : "");
    }
    configure("T { }", "R:T { a=1 }");
    EXPECT_EQ(told(call("UpdateRecipe")), "SUCCESS | ");
    EXPECT_EQ(host.commands.at(0).name(), values);
    EXPECT_EQ(static_cast<unsigned>(host.commands[0].options()), 128U);
    EXPECT_EQ(std::as_const(host.commands[0]).write_value(), Value(ValueType::Map));
    host.symbol_failures[values] = {.result = ErrorValue::STORAGE, .text = {}};
    EXPECT_EQ(told(call("UpdateRecipe")), "UPDATING_RECIPE_FAILED | Server: STORAGE");
}

TEST_F(UpdateRecipe, goes_on_behind_a_value_that_can_not_be_dropped)
{
    configure("T { a:A=1 }", "R:T { z=1 y=2 }");
    host.symbol_failures[values + "::z"] = {.result = ErrorValue::STORAGE, .text = {}};
    EXPECT_EQ(update(), "{a=1} -z -y | UPDATING_RECIPE_PARTLY_FAILED | Server: STORAGE");
    EXPECT_EQ(info, values.substr(values.find("recipeList")) + "::y not found in recipeType: Deleted");
    host.symbol_failures.clear();
    auto const missing = [&](char const* list, char const* entry, char const* key)
    {
        configure("T(P) { a:A } P { b:B }", "R:T { }");
        host.configuration[domain][list][entry].erase(key);
        return update();
    };
    EXPECT_EQ(missing("recipeList", "R", "values"), " | MISSING_RECIPE_VALUES | ");
    EXPECT_EQ(missing("recipeTypeList", "P", "members"), " | MISSING_RECIPETYPE_MEMBERS | ");
}

TEST_F(UpdateRecipe, checks_the_values_against_the_symbols_and_the_defaults_against_the_schemas)
{
    /// A recipe, what the check of which symbol answers and that of a's schema, and the outcome.
    using Case = std::tuple<char const*, char const*, ErrorValue, ErrorValue, char const*>;
    auto const good = ErrorValue::SUCCESS;
    auto const mismatch = ErrorValue::TYPE_MISMATCH;
    auto const cases = std::to_array<Case>({
        {"a=5 d=3", "A", mismatch, good, "{a=1} | SUCCESS | "},
        {"a=5 d=3", "A", ErrorValue::ENUM_VALUE_MISMATCH, good, "{a=1} | SUCCESS | "},
        {"a=5 d=3", "A", ErrorValue::RANGE_MISMATCH, good, " | SCHEMA | Server: RANGE_MISMATCH - of A"},
        {"a=5 d=3", "A", mismatch, ErrorValue::FORMAT, "{a=1} | SCHEMA | Server: FORMAT - of 1"},
        // Filled in, it is checked as the recipe's.
        {"d=3", "A", ErrorValue::RANGE_MISMATCH, good, "{a=1} | SCHEMA | Server: RANGE_MISMATCH - of A"},
        // Without a default there is nothing to reset to, and without a value nothing to reset.
        {"a=5 d=3", "D", mismatch, good, " | SCHEMA | Server: TYPE_MISMATCH - of D"},
        {"a=5", "D", mismatch, good, " | SUCCESS | "},
        // Members of other types.
        {"a=5 d=3 p=6 n=S", "C", mismatch, good, " | SUCCESS | "},
    });
    for (auto const& [recipe, symbol, answer, schema, outcome] : cases)
    {
        configure("T(P) { a:A=1 d:D n>U } P { p:B } U { u:C }", "R:T { n= " + std::string(recipe) + " } S:U { u=1 }");
        host.configuration[domain]["recipeTypeList"]["T"]["members"]["a"]["schema"].set_type(ValueType::Map);
        host.on_validate_symbol = [&, failing = symbol, error = answer](std::string const& name, Value const&)
        { return name == failing ? ResultPair(error, ("of " + name).c_str()) : ResultPair(); };
        host.on_validate = [&, error = schema](Value const&, Value const& value)
        { return ResultPair(error, ("of " + std::to_string(value.get_int32())).c_str()); };
        EXPECT_EQ(update(), outcome) << recipe << ' ' << symbol;
    }
    host.on_validate_symbol = [](char const*, Value const&) { return ErrorValue::TYPE_MISMATCH; };
    configure("T { a:A=1 }", "R:T { a=5 }");
    host.call_count = 0;
    host.failing_calls = {3};
    EXPECT_EQ(update(), "{a=1} | VALIDATION_FAILED | Server: SERVER");
}
