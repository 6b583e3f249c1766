#include "Fixture.h"

#include <gtest/gtest.h>

#include <array>

using namespace Ravik::Test;

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
            EXPECT_EQ(std::string(sent.name()).substr(0, values_command.size()), values_command);
            text.append(" -").append(sent.name() + values_command.size() + 2);
        }
        return text + " | " + told(command);
    }

    static std::string deleted(std::string const& value)
    {
        return "recipeList::R::values::" + value + " not found in recipeType: Deleted";
    }

    std::string const values_command = "RavikRecipeManagement.Config::recipeList::R::values";
    std::string info;
};

} // namespace

TEST_F(UpdateRecipe, drops_what_the_type_lost_and_fills_in_what_the_recipe_lacks)
{
    constexpr auto cases = std::to_array<RequestCase>({
        {"nothing to do", "T { a:A=1 n>U } U { b:B=2 }", "R:T { a=5 n= }", " | SUCCESS | "},
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
    expect_each(cases, [this] { return update(); });
    EXPECT_EQ(info, "");
    configure("T(P) { a:A n>U } P { p:C } U { b:B }", "R:T { z=1 a=5 p=1 y=2 n= b=3 U=4 }");
    EXPECT_EQ(update(), " -z -y | SUCCESS | ");
    EXPECT_EQ(info, deleted("z") + " " + deleted("y"));
    configure("T { }", "R:T { a=1 }");
    EXPECT_EQ(told(call("UpdateRecipe")), "SUCCESS | ");
    EXPECT_EQ(host.commands.at(0).name(), values_command);
    EXPECT_EQ(static_cast<unsigned>(host.commands[0].options()), 128U);
    EXPECT_EQ(std::as_const(host.commands[0]).write_value(), Value(ValueType::Map));
    host.symbol_failures[values_command] = {.result = ErrorValue::STORAGE, .text = {}};
    EXPECT_EQ(told(call("UpdateRecipe")), "UPDATING_RECIPE_FAILED | Server: STORAGE");
}

// A value goes to the first record of its name, so it is the default of that record's member that may be filled in.
TEST_F(UpdateRecipe, fills_in_nothing_that_an_activation_would_not_write)
{
    constexpr auto cases = std::to_array<RequestCase>({
        {"at the level of the first record", "T(I) { } I(K) { m:A=1 } K { m:B=2 }", "R:T { }", "{m=2} | SUCCESS | "},
        {"whose own default is null", "T(I) { } I(K) { m:A=1 } K { m:B }", "R:T { }", " | SUCCESS | "},
        {"in the order of inheritance", "T(I,K) { } I { m:A=1 } K { m:B=2 }", "R:T { }", "{m=1} | SUCCESS | "},
        {"behind a member that nests a type", "T(I) { } I(K) { n>U m:A=1 } K { n>U m:A=1 } U { }", "R:T { }",
         "{n=}{m=1} | SUCCESS | "},
        {"first in a nested type", "T(I) { } I { n>U m:A=1 } U { m:B=2 }", "R:T { }", "{n=} | SUCCESS | "},
        {"a value that a nested recipe brings", "T(I) { n>U } I { m:A=1 } U { b:B }", "R:T { n=S } S:U { m=5 }",
         " | SUCCESS | "},
        {"a symbol below, nested above", "T(I) { } I(K) { m>U } K { m:A=1 } U { b:B }", "R:T { }",
         "{m=1} | SUCCESS | "},
    });
    auto const update_between_activations = [this]
    {
        auto const written = outcome();
        host.groups.clear();
        auto updated = update();
        EXPECT_EQ(outcome(), written);
        return updated;
    };
    expect_each(cases, update_between_activations);
}

TEST_F(UpdateRecipe, goes_on_behind_a_value_that_can_not_be_dropped)
{
    configure("T { a:A=1 }", "R:T { z=1 y=2 }");
    host.symbol_failures[values_command + "::z"] = {.result = ErrorValue::STORAGE, .text = {}};
    EXPECT_EQ(update(), "{a=1} -z -y | UPDATING_RECIPE_PARTLY_FAILED | Server: STORAGE");
    EXPECT_EQ(info, deleted("y"));
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
    struct CheckCase
    {
        char const* about;
        char const* values;
        /// The symbol whose check comes to `checked`; that of a's schema comes to `schema`.
        char const* symbol;
        ErrorValue checked;
        ErrorValue schema;
        char const* outcome;
    };
    auto const good = ErrorValue::SUCCESS;
    auto const mismatch = ErrorValue::TYPE_MISMATCH;
    auto const cases = std::to_array<CheckCase>({
        {"reset", "a=5 d=3", "A", mismatch, good, "{a=1} | SUCCESS | "},
        {"reset as no enumerator", "a=5 d=3", "A", ErrorValue::ENUM_VALUE_MISMATCH, good, "{a=1} | SUCCESS | "},
        {"out of range", "a=5 d=3", "A", ErrorValue::RANGE_MISMATCH, good, " | SCHEMA | Server: RANGE_MISMATCH - of A"},
        {"reset to what the schema refuses", "a=5 d=3", "A", mismatch, ErrorValue::FORMAT,
         "{a=1} | SCHEMA | Server: FORMAT - of 1"},
        {"filled in, and checked as the recipe's", "d=3", "A", ErrorValue::RANGE_MISMATCH, good,
         "{a=1} | SCHEMA | Server: RANGE_MISMATCH - of A"},
        {"without a default nothing to reset to", "a=5 d=3", "D", mismatch, good,
         " | SCHEMA | Server: TYPE_MISMATCH - of D"},
        {"without a value nothing to reset", "a=5", "D", mismatch, good, " | SUCCESS | "},
        {"members of other types", "a=5 d=3 p=6 n=S", "C", mismatch, good, " | SUCCESS | "},
    });
    for (auto const& [about, values, symbol, checked, schema, outcome] : cases)
    {
        SCOPED_TRACE(about);
        configure("T(P) { a:A=1 d:D n>U } P { p:B } U { u:C }", "R:T { n= " + std::string(values) + " } S:U { u=1 }");
        host.configuration[domain]["recipeTypeList"]["T"]["members"]["a"]["schema"].set_type(ValueType::Map);
        host.on_validate_symbol = [&, failing = symbol, error = checked](std::string const& name, Value const&)
        { return name == failing ? ResultPair(error, ("of " + name).c_str()) : ResultPair(); };
        host.on_validate = [&, error = schema](Value const&, Value const& value)
        { return ResultPair(error, ("of " + std::to_string(value.get_int32())).c_str()); };
        EXPECT_EQ(update(), outcome);
    }
    host.on_validate_symbol = [](char const*, Value const&) { return ErrorValue::TYPE_MISMATCH; };
    configure("T { a:A=1 }", "R:T { a=5 }");
    host.call_count = 0;
    host.failing_calls = {3};
    EXPECT_EQ(update(), "{a=1} | VALIDATION_FAILED | Server: SERVER");
}
