#include "EditedProject.h"
#include "Json/Json.h"

#include "Support/api_types.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>

namespace Ravik::Test
{
namespace
{

/// A value of a type. Each has a member of its own.
struct Case
{
    char const* type;
    char const* value;
    /// Makes the recipe inactive.
    char const* changed;
};
constexpr auto cases = std::to_array<Case>({
    {"BOOL", "true", "false"},
    {"SINT", "-128", "127"},
    {"USINT", "255", "0"},
    {"INT", "-32768", "-32767"},
    {"UINT", "65535", "65534"},
    {"DINT", "-2147483648", "2147483647"},
    {"UDINT", "4294967295", "4294967294"},
    {"LINT", "-9223372036854775808", "-9223372036854775807"},
    {"ULINT", "9223372036854775807", "9223372036854775806"},
    {"REAL", "0.10000000149011612", "0.100001"},
    {"REAL", "-3.4028234663852886e+38", "3.4028234663852886e+38"},
    {"REAL32", "1.401298464324817e-45", "2.0e-7"},
    {"LREAL", "0.1", "0.10000000000000031"},
    {"LREAL", "5e-324", "1.0"},
    {"REAL64", "-1.7976931348623157e+308", "0.0"},
    {"REAL64", "123456789012345680.0", "123456789012345696.0"},
    {"STRING", "\"\"", "\"x\""},
    {"STRING", R"("Apfelsaft 0,5 l \"trüb\" 果汁\n\u0001")", "\"Apfelsaft\""},
});

std::string member(std::size_t index)
{
    return "m" + std::to_string(index);
}

/// The first half of the members belongs to a nested type, the rest to the recipe itself.
bool is_nested(std::size_t index)
{
    return index < cases.size() / 2;
}

std::string file_with_every_type()
{
    std::vector<std::pair<std::string, std::string>> symbols;
    for (std::size_t index = 0; index < cases.size(); ++index)
    {
        symbols.emplace_back(member(index),
                             std::string(R"({"$ref":"ravik:general#/definitions/)") + cases.at(index).type + "\"}");
    }
    return project_file(symbols);
}

Value configuration()
{
    auto lists = configuration_of("T { n>N } N { } | R:T { n=Inner } Inner:N { }");
    for (std::size_t index = 0; index < cases.size(); ++index)
    {
        auto const name = member(index);
        auto& type = lists["recipeTypeList"][is_nested(index) ? "N" : "T"];
        type["members"][name.c_str()] = types_of("T { " + name + " }")["T"]["members"][name.c_str()];
        auto& recipe = lists["recipeList"][is_nested(index) ? "Inner" : "R"];
        recipe["values"][name.c_str()] = Json::parse(cases.at(index).value);
    }
    return lists;
}

TEST(RoundTrip, each_type_comes_back_as_it_was_and_a_change_makes_the_recipe_inactive)
{
    EditedProject edited(configuration(), file_with_every_type());
    auto const call = [&](char const* function, Value const& sent)
    {
        auto outcome = edited.project->call(edited.domain, function, sent);
        EXPECT_TRUE(outcome.succeeded()) << outcome.name << " " << outcome.text;
        return outcome.value;
    };
    auto const active = [&] { return Json::write(call("GetActiveRecipes", Value())); };
    auto const both = R"(["R","Inner"])";
    edited.reopen();
    call("ActivateRecipe", parameters("path", "R"));
    edited.reopen();
    EXPECT_EQ(active(), both);
    Value const outer = call("ReadFromTarget", parameters("path", "R"))["R"];
    Value const inner = call("ReadFromTarget", parameters("path", "Inner"))["Inner"];
    for (std::size_t index = 0; index < cases.size(); ++index)
    {
        auto const& [type, value, changed] = cases.at(index);
        SCOPED_TRACE(std::string(type) + " " + value);
        Value const& read = (is_nested(index) ? inner : outer)["values"][member(index).c_str()];
        auto const stored = Json::parse(value);
        EXPECT_EQ(read.type(), stored.type());
        EXPECT_EQ(read, stored) << Json::write(read);
        EXPECT_EQ(std::bit_cast<std::uint64_t>(read.get_double()), std::bit_cast<std::uint64_t>(stored.get_double()));

        EXPECT_EQ(edited.project->write_symbol(member(index), Json::parse(changed)).commands.at(0).failure, "");
        EXPECT_EQ(active(), is_nested(index) ? "[]" : R"(["Inner"])");
        EXPECT_EQ(edited.project->write_symbol(member(index), stored).commands.at(0).failure, "");
        EXPECT_EQ(active(), both);
    }
}

} // namespace
} // namespace Ravik::Test
