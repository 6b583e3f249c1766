#include "Project/Project.h"
#include "Support/TemporaryFolder.h"
#include "Json/Json.h"

#include <gtest/gtest.h>

#include <cstring>

namespace Ravik
{
namespace
{

using RavikSrv::Value;
using RavikSrv::ValueType;

/// A member of its own for each value; what it is changed to must make the recipe inactive.
struct Case
{
    char const* type;
    char const* value;
    char const* changed;
};

Case const cases[] = {
    {"BOOL", "true", "false"},
    {"SINT", "-128", "127"},
    {"USINT", "255", "0"},
    {"INT", "-32768", "-32767"},
    {"UINT", "65535", "65534"},
    {"DINT", "-2147483648", "2147483647"},
    {"UDINT", "4294967295", "4294967294"},
    {"LINT", "-9223372036854775808", "-9223372036854775807"},
    {"ULINT", "9223372036854775807", "9223372036854775806"},
    {"LINT", "5", "6"},
    {"REAL", "0.10000000149011612", "0.100001"},
    {"REAL", "-3.4028234663852886e+38", "3.4028234663852886e+38"},
    {"REAL32", "1.401298464324817e-45", "2.0e-7"},
    {"LREAL", "0.1", "0.10000000000000031"},
    {"LREAL", "5e-324", "1.0"},
    {"REAL64", "-1.7976931348623157e+308", "0.0"},
    {"REAL64", "123456789012345680.0", "123456789012345696.0"},
    {"STRING", "\"\"", "\"x\""},
    {"STRING", R"("Apfelsaft 0,5 l \"trüb\" 果汁\n\u0001")", "\"Apfelsaft\""},
};

std::string member(std::size_t index)
{
    return "m" + std::to_string(index);
}

/// The first half of the members belongs to a nested type, the rest to the recipe itself.
bool is_nested(std::size_t index)
{
    return index < std::size(cases) / 2;
}

std::string joined(std::string const& left, std::string const& right)
{
    return left.empty() ? right : left + "," + right;
}

class RoundTrip : public testing::Test
{
protected:
    RoundTrip()
    {
        std::string symbols;
        std::string variables;
        std::string members[2];
        std::string values[2];
        for (std::size_t index = 0; index < std::size(cases); ++index)
        {
            auto const name = "\"" + member(index) + "\":";
            symbols = joined(symbols, name + R"({"DOMAIN":"S","SCHEMA":{"$ref":"ravik:general#/definitions/)" +
                                          cases[index].type + "\"}}");
            variables = joined(variables, name + "null");
            auto& own_members = members[is_nested(index) ? 1 : 0];
            own_members = joined(own_members, name + R"({"enabled":true,"symbol":")" + member(index) + "\"}");
            auto& own_values = values[is_nested(index) ? 1 : 0];
            own_values = joined(own_values, name + cases[index].value);
        }
        folder.write("ravik.json",
                     R"({"extensions":[{"domain":"RavikRecipeManagement","library":")" RECIPE_MANAGEMENT_LIBRARY
                     R"("},{"domain":"S","library":")" SIMULATION_LIBRARY R"(","configuration":{"variables":{)" +
                         variables + "}}}],\"symbols\":{" + symbols + "}}");
        reopen();
        auto const data = R"({"recipeTypeList":{"T":{"members":{)" + members[0] +
                          R"(,"n":{"recipeType":"N","enabled":true}}},"N":{"members":{)" + members[1] +
                          R"(}}},"recipeList":{"R":{"recipeTypeName":"T","values":{)" + values[0] +
                          R"(,"n":"Inner"}},"Inner":{"recipeTypeName":"N","values":{)" + values[1] + "}}}}";
        auto const report = project->import(std::string(recipe_domain), Json::parse(data), {});
        EXPECT_TRUE(report.succeeded()) << report.path << ": " << report.text;
    }

    void reopen()
    {
        project.reset();
        project = Project::open(folder.path());
    }

    FunctionOutcome call(char const* function, std::string const& recipe)
    {
        Value parameters(ValueType::Struct);
        parameters.insert("path", Value(recipe.c_str()));
        auto outcome = project->call(std::string(recipe_domain), function, parameters);
        EXPECT_TRUE(outcome.succeeded()) << outcome.name << " " << outcome.text;
        return outcome;
    }

    std::string active()
    {
        return Json::write(project->call(std::string(recipe_domain), "GetActiveRecipes", Value()).value);
    }

    Testing::TemporaryFolder folder;
    std::unique_ptr<Project> project;
};

TEST_F(RoundTrip, every_type_comes_back_as_it_was_and_the_recipe_is_active)
{
    reopen();
    call("ActivateRecipe", "R");
    reopen();
    EXPECT_EQ(active(), R"(["R","Inner"])");
    Value const outer = call("ReadFromTarget", "R").value["R"];
    Value const inner = call("ReadFromTarget", "Inner").value["Inner"];
    for (std::size_t index = 0; index < std::size(cases); ++index)
    {
        Value const& holder = is_nested(index) ? inner : outer;
        Value const& read = holder["values"][member(index).c_str()];
        auto const stored = Json::parse(cases[index].value);
        EXPECT_EQ(read.type(), stored.type()) << cases[index].value;
        EXPECT_EQ(read, stored) << cases[index].value << " came back as " << Json::write(read);
        auto const expected = stored.get_double();
        auto const actual = read.get_double();
        EXPECT_EQ(std::memcmp(&expected, &actual, sizeof expected), 0) << cases[index].value;
    }
}

TEST_F(RoundTrip, a_change_of_any_one_symbol_makes_the_recipe_inactive)
{
    call("ActivateRecipe", "R");
    for (std::size_t index = 0; index < std::size(cases); ++index)
    {
        SCOPED_TRACE(cases[index].changed);
        auto const written = project->write_symbol(member(index), Json::parse(cases[index].changed));
        EXPECT_EQ(written.commands.at(0).failure, "");
        EXPECT_EQ(active(), is_nested(index) ? "[]" : R"(["Inner"])");
        EXPECT_EQ(project->write_symbol(member(index), Json::parse(cases[index].value)).commands.at(0).failure, "");
        EXPECT_EQ(active(), R"(["R","Inner"])");
    }
}

} // namespace
} // namespace Ravik
