#include "Fixture.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>

using namespace Ravik::Test;

namespace
{

/// Here a schema is the largest value that fits, with no text in the answer where it is odd.
ResultPair check_limit(Value const& schema, Value const& value)
{
    if (schema.type() != ValueType::Int || value.get_int32() <= schema.get_int32())
    {
        return {};
    }
    return {ErrorValue::RANGE_MISMATCH, schema.get_int32() % 2 == 0 ? "too large" : ""};
}

struct Case
{
    char const* about;
    char const* entry;
    std::string answer;
};

class ImportChange : public testing::Test, protected RecipeManagementFixture
{
protected:
    ImportChange()
    {
        auto& table = host.configuration["RavikSrv"]["SYMBOLS"];
        table["A"]["SCHEMA"] = 10;
        table["B"]["SCHEMA"] = 7;
        auto& schema = table["D"]["SCHEMA"];
        schema["properties"]["x"]["items"] << Value(2) << Value(4);
        schema["items"]["properties"]["y"] = 6;
        schema["definitions"]["known"] = true;
        host.on_validate = check_limit;
        host.on_validate_symbol = [&table](char const* symbol, Value const& value)
        { return check_limit(std::as_const(table)[symbol]["SCHEMA"], value); };
    }

    std::string before(std::string const& path, Value value, char const* type, Value const& import_data = {})
    {
        auto const& context = extension.context();
        auto const changed = told(extension.changes().before_change(context, path.c_str(), value, type));
        auto imported = told(extension.exports().before_import(context, path.c_str(), value, import_data, type));
        EXPECT_TRUE(!import_data.empty() || changed == imported) << path;
        return imported;
    }

    std::string before_type(std::string const& notation, Value const& import_data = {})
    {
        auto const types = types_of(notation);
        return before(std::string("recipeTypeList::") + types.begin().name(), *types.begin(), "recipeType",
                      import_data);
    }

    std::string before_recipe(std::string const& notation, Value const& import_data = {})
    {
        auto const recipes = recipes_of(notation);
        return before(std::string("recipeList::") + recipes.begin().name(), *recipes.begin(), "recipe", import_data);
    }
};

} // namespace

TEST_F(ImportChange, reserves_words_and_checks_symbols)
{
    for (auto const* path : {"recipeList::my members", "recipeList::options", "recipeList::xvaluesx",
                             "recipeTypeList::recipeTypeNames", "recipeList::recipeTypeName::R",
                             "recipeList::recipeTypeList", "xrecipeTypeList", "recipeTypeList::F::options"})
    {
        EXPECT_EQ(before(path, {}, "recipeType"), "BLACKLISTED | recipeType") << path;
        EXPECT_EQ(before(path, {}, ""), "SUCCESS | ") << path;
        EXPECT_EQ(before(path, {}, "ravik:server#/x"), "SUCCESS | ") << path;
    }
    for (auto const* path : {"recipeList", "recipeTypeList", "", "recipeList::Members"})
    {
        EXPECT_EQ(before(path, {}, "recipe"), "SUCCESS | ") << path;
    }
    std::string const member = "recipeTypeList::T::members::a::";
    EXPECT_EQ(before(member + "symbol", "A::x[1]", ""), "SUCCESS | ");
    EXPECT_EQ(before(member + "symbol", "Z::A", ""), "SYMBOL_NOT_MAPPED | Z::A");
    EXPECT_EQ(before(member + "symbol", 5, ""), "SUCCESS | ");
    EXPECT_EQ(before("recipeList::symbol", "Z", ""), "SUCCESS | ") << "no member's";
    EXPECT_EQ(before("recipeTypeList::symbol", "Z", "recipeType"), "SYMBOL_NOT_MAPPED | Z");
}

TEST_F(ImportChange, keeps_nested_and_inherited_types_apart)
{
    auto const equal = [](std::string const& name)
    { return "INVALID_PARAMETER | " + name + " - INHERITED_AND_NESTED_RECIPETYPE_IS_EQUAL"; };
    configure("P(Q,G) { } G(H) { } H { } F::I(J) { }", "");
    auto const cases = std::to_array<Case>({
        {"inherited", "T(P) { n>p }", equal("p")},
        {"inherited by an inherited type", "T(H,P) { n>U m>g }", equal("g")},
        {"inherited further up", "T(P) { n>H }", "SUCCESS | "},
        {"inherited types that are not there", "T(Gone,,P) { n>U }", "SUCCESS | "},
        {"another case of letters leads to no type", "T(p) { n>G }", "SUCCESS | "},
        {"members in order", "T(P) { a:A=11 n>P }", "RANGE_MISMATCH | Invalid default value at: A"},
        {"the nested type before the default", "T(P) { n:A=11>P }", equal("P")},
        {"good", "T { a:A=10 b:B=7 n>T }", "SUCCESS | "},
    });
    for (auto const& [about, entry, answer] : cases)
    {
        SCOPED_TRACE(about);
        EXPECT_EQ(before_type(entry), answer);
    }
    EXPECT_EQ(before_type("T(P) { m>G n>r }", configuration_of("P(R) { }", "")), equal("r"));
    Value type = types_of("T { a:A=11 }")["T"];
    auto const with = [&](char const* key, Value const& value)
    {
        type["members"]["a"][key] = value;
        return before("recipeTypeList::T", type, "recipeType");
    };
    EXPECT_EQ(with("schema", Value(8)), "RANGE_MISMATCH | too large") << "before the symbol's";
    EXPECT_EQ(with("schema", Value(20)), "RANGE_MISMATCH | Invalid default value at: A");
    EXPECT_EQ(before("recipeTypeList::T", type, "other"), "SUCCESS | ");
    EXPECT_EQ(with("symbol", Value()), "SUCCESS | ");
}

TEST_F(ImportChange, holds_recipes_against_their_type)
{
    configure("T { a:A b:B n>U } U { d:D } E { } C { c:C } V(E) { } W { x:D::x[1] y:D[0]::y u:D::z[7] } L(L) { } "
              "H { h:Z } K { n>O } O { o:A } F::T(T) { }",
              "S:U { d=9 } Q:O { o=99 }");
    auto const missing = [](char const* type) { return std::string("TYPE_MISSING | ") + type; };
    auto const cases = std::to_array<Case>({
        {"no such type", "R:Gone { }", missing("Gone")},
        {"a folder", "R:F { }", missing("MISSING_RECIPETYPE_MEMBERS")},
        {"good", "R:T { a=10 b=7 other=99 n=S }", "SUCCESS | "},
        {"the first that is too large", "R:T { a=11 b=8 }", "RANGE_MISMATCH | too large [a]"},
        {"without a text of the host", "R:T { a=10 b=8 }", "RANGE_MISMATCH | b"},
        {"inherited, in a folder", "R:F::T { a=11 }", "RANGE_MISMATCH | too large [a]"},
        {"a nested recipe is checked for itself", "R:K { n=Q }", "SUCCESS | "},
        {"a symbol that is not mapped", "R:H { }", "SYMBOL_NOT_MAPPED | Z"},
        {"inherits itself", "R:L { }", "RECURSION | "},
        {"parts of a symbol", "R:W { x=4 y=6 u=99 }", "SUCCESS | "},
        {"below the symbol's own index", "R:W { y=7 }", "RANGE_MISMATCH | too large [y]"},
    });
    for (auto const& [about, entry, answer] : cases)
    {
        SCOPED_TRACE(about);
        EXPECT_EQ(before_recipe(entry), answer);
    }
    auto const gone = configuration_of("X { a:A }", "");
    EXPECT_EQ(before_recipe("R:X { a=11 }", gone), "RANGE_MISMATCH | too large [a]");
    EXPECT_EQ(before_recipe("R:T { a=11 }", gone), "TYPE_MISSING | MISSING_RECIPETYPE - T") << "not found by fallback";
    EXPECT_EQ(before_recipe("R:T { a=11 }", configuration_of("T { a:D }", "")), "SUCCESS | ");

    auto& types = host.configuration[domain]["recipeTypeList"];
    types["T"]["members"]["b"]["schema"] = 6;
    EXPECT_EQ(before_recipe("R:T { b=7 }"), "RANGE_MISMATCH | too large");
    types["Y"]["members"]["y"]["symbol"] = "D[0]";
    EXPECT_EQ(before_recipe("R:Y { y=7 }"), "SUCCESS | ");
    host.on_validate = [](Value const& schema, Value const&)
    { return ResultPair(schema["definitions"]["known"].get_bool() ? ErrorValue::FORMAT : ErrorValue::SUCCESS); };
    EXPECT_EQ(before_recipe("R:Y { y=7 }"), "FORMAT | y") << "a part of a schema may refer to them";
    auto recipe = recipes_of("R:C { }")["R"];
    EXPECT_EQ(before("recipeList::R", recipe, "recipe"), "SYMBOL_NOT_MAPPED | C");
    EXPECT_EQ(before("recipeList::R", recipe, "recipeType"), "SUCCESS | ");
    recipe["values"] = "no map";
    EXPECT_EQ(before("recipeList::R", recipe, "recipe"), "SUCCESS | ");
}

TEST(ImportChangeAlone, makes_the_other_checks_without_the_hosts_validation)
{
    BareHost host;
    IRavikSrvExt* made = nullptr;
    double version = 0;
    LoadedExtension::entry(RECIPE_MANAGEMENT_LIBRARY)(&host, &made, &version);
    std::unique_ptr<IRavikSrvExt> const extension(made);
    EXPECT_EQ(extension->init({}).result(), ErrorValue::SUCCESS);
    host.configuration[""] = configuration_of("T { a:A }", "");
    host.configuration["RavikSrv"]["SYMBOLS"]["A"]["SCHEMA"] = 10;
    auto type = types_of("T(P) { a:A=11 n>P }")["T"];
    auto recipe = recipes_of("R:T { a=11 }")["R"];
    auto& changes = dynamic_cast<IRavikSrvConfigListener&>(*host.listeners.at(2).listener);
    EXPECT_EQ(changes.before_change({}, "recipeTypeList::T", type, "recipeType").result(),
              ErrorValue::INVALID_PARAMETER);
    EXPECT_EQ(changes.before_change({}, "recipeList::R", recipe, "recipe").result(), ErrorValue::SUCCESS);
}
