#include "Fixture.h"

#include <gtest/gtest.h>

#include <array>

using namespace Ravik::Test;

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
    std::string read(char const* path = "R")
    {
        auto const command = call("ReadFromTarget", path);
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
    constexpr auto cases = std::to_array<RequestCase>({
        {"enabled or not, with a value alone", "T { a:A -b:B=7 c:C }", "R:T { b=9 a=9 other=1 }",
         "Line[A B C] | SUCCESS |  | R:T a=1 b=2"},
        {"no values", "T { a:A }", "R:T { }", "Line[A] | SUCCESS |  | R:T "},
        {"no symbols", "T { }", "R:T { a=9 }", " | SUCCESS | "},
        {"one symbol twice", "T { a:A b:A }", "R:T { a=9 b=9 }", "Line[A A] | SUCCESS |  | R:T a=1 b=1"},
        {"one name twice", "P { a:A } T(P) { a:B }", "R:T { a=9 }", "Line[A B] | SUCCESS |  | R:T a=1"},
        {"two domains", "T { n>U a:A } U { x:X b:B }", "R:T { a=9 n=S x=9 } S:U { b=6 }",
         "Other[X] Line[B A] | SUCCESS |  | R:T x=7 a=1"},
        {"server symbols", "T { v:V a:A w:W }", "R:T { w=9 v=9 a=9 }",
         "Line[A] Line[V W] | SUCCESS |  | R:T a=1 v=5 w=6"},
        {"no type", "U { a:A }", "R:T { }", " | READ_FROM_TARGET_FAILED | Server: MISSING_RECIPETYPE - T | nothing"},
        {"a symbol that is not mapped", "T { a:A q:Q }", "R:T { }", " | SYMBOL_NOT_MAPPED |  | nothing"},
    });
    expect_each(cases, [this] { return read(); });
    configure("F::T { a:A }", "F::R:F::T { a=9 }");
    EXPECT_EQ(read("F::R"), "Line[A] | SUCCESS |  | F::R:F::T a=1");
    // Symbols without the mapping's use are read with the server's domain and once more at the end, the others never.
    auto& table = host.configuration["RavikSrv"]["SYMBOLS"];
    table["V"]["DOMAIN"] = "RavikSrv";
    table["A"]["DOMAIN"] = "RavikSrv";
    configure("T { v:V a:A b:B }", "R:T { v=9 a=9 b=9 }");
    EXPECT_EQ(read(), "RavikSrv[V] Line[B] RavikSrv[V] | SUCCESS |  | R:T v=5 b=2");
}
