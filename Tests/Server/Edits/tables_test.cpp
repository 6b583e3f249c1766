#include "EditedProject.h"
#include "Json/Json.h"

#include <gtest/gtest.h>

#include <array>
#include <sstream>

namespace Ravik::Test
{
namespace
{

constexpr TableText::Form plain{};
constexpr TableText::Form excel{.separator = ';', .byte_order_mark = true};

/// Numbers, texts, a symbol for whatever there is, and one of listed texts; a nested recipe.
EditedProject project_of(std::string const& recipes)
{
    auto const file = project_file({{"i", R"({"$ref":"ravik:general#/definitions/INT"})"},
                                    {"f", R"({"type":"number"})"},
                                    {"b", R"({"type":"boolean"})"},
                                    {"s", R"({"$ref":"ravik:general#/definitions/STRING"})"},
                                    {"a", "{}"},
                                    {"e", R"({"enum":["x","y"]})"}});
    return {configuration_of("B { i } T(B) { f b s a e n>N } N { i } Other { i }", recipes), file};
}

std::string table_of(Project& project, std::string const& type = "T", TableText::Form const& form = plain)
{
    auto const outcome = project.export_table(std::string(recipe_domain), type, form);
    EXPECT_TRUE(outcome.succeeded()) << outcome.path << ": " << outcome.text;
    return std::string(outcome.value.get_text());
}

EditReport import(Project& project, std::string const& text, bool dry_run = false)
{
    return project.import_table(std::string(recipe_domain), "T", text,
                                {.dry_run = dry_run, .replace = false, .progress = {}});
}

/// Values of every kind, and texts that a table, a spreadsheet or a reader could take for something else.
constexpr auto kinds = std::to_array<std::pair<char const*, char const*>>({
    {"i", "0"},
    {"f", "0.1"},
    {"f", "-0.0"},
    {"f", "3"},
    {"f", "3.0"},
    {"f", "5e-324"},
    {"f", "-1.7976931348623157e+308"},
    {"f", "9223372036854775807"},
    {"b", "true"},
    {"a", "-9223372036854775808"},
    {"a", "\"\""},
    {"a", "\"3\""},
    {"a", R"({"a":[1,2.5,null,"x;y"],"b":{}})"},
    {"e", "\"y\""},
    {"a", "\"TRUE\""},
    {"n", "\"=N\""},
});
/// As they stand in JSON, between bars.
constexpr char const* texts =
    R"(|'|''a|=1+1|+1|-1|@x|\t=|\r|\n|007|1e5|1-2|.5| 12|TRUE|false| |null|\"|a,b|a;b|a |\r\n|\"\"|\",\"|[1]|{}|\\)"
    R"(|\u0001|果汁|＝1|＠x|\uFEFF|9223372036854775808|x\r\ny\nz|0.1|\"x\"|recipe|'1)";

TEST(Tables, carry_every_value_into_another_project_bit_for_bit)
{
    auto const source = project_of("=N:N { } 007:T { }");
    auto number = 0;
    auto const add = [&](std::string const& member, std::string const& value)
    {
        auto const report = source.edit("R::F" + std::to_string(number % 3) + "::r" + std::to_string(number) +
                                        R"( = {"recipeTypeName":"T","values":{")" + member + "\":" + value + "}}");
        EXPECT_TRUE(report.succeeded()) << member << value << report.text;
        ++number;
    };
    for (auto const& [member, value] : kinds)
    {
        add(member, value);
    }
    std::istringstream list(texts);
    for (std::string text; std::getline(list, text, '|');)
    {
        add("s", '"' + text + '"');
    }
    // A value that a nested type's member has, here; and one that is no value.
    add("i\":1,\"f", "null");
    auto const wanted = Json::write(source.get("recipeList"));
    for (auto const& form : {plain, excel})
    {
        auto const table = table_of(*source.project, "T", form);
        auto const target = project_of("=N:N { }");
        auto const report = import(*target.project, table);
        EXPECT_TRUE(report.succeeded()) << report.place.line << ":" << report.place.column << report.text;
        EXPECT_EQ(table_of(*target.project, "T", form), table);
        // What takes its own table back is as before.
        EXPECT_EQ(Json::write(import(*source.project, table).value),
                  R"({"new":0,"changed":0,"same":)" + std::to_string(number + 1) + "}");
        EXPECT_EQ(Json::write(source.get("recipeList")), wanted);
        auto without_null = wanted;
        without_null.erase(without_null.find(",\"f\":null"), 9);
        EXPECT_EQ(Json::write(target.get("recipeList")), without_null);
    }
}

TEST(Tables, are_read_as_spreadsheets_and_people_write_them)
{
    struct Case
    {
        char const* table;
        /// What R1 and R2 then hold.
        char const* state;
    };
    for (auto const& each : {
             Case{"recipe\nR1\n", "R1:i=1 f=2.0 s=x R2:-"},
             Case{"recipe,f\r\nR1,2", "R1:i=1 f=2.0 s=x R2:-"},
             Case{"recipe;f\r\nR1;3\r\n;\r\n\r\n", "R1:i=1 f=3.0 s=x R2:-"},
             Case{"\xEF\xBB\xBFrecipe;s;i\r\nR1;;7", "R1:i=7 f=2.0 R2:-"},
             Case{"recipe,s,b\nR1,',TRUE\n", "R1:i=1 f=2.0 s= b=true R2:-"},
             Case{"\"recipe\",\"s\"\nR1,\"a\"\"\n,\"\n\"R2\",'5", "R1:i=1 f=2.0 s=a\"\n, R2:s=5"},
             Case{"recipe,a,f\nR2,\"[1, 2]\",1E+05", "R1:i=1 f=2.0 s=x R2:a=[1,2] f=1e+05"},
             Case{"recipe,s,a\nR2,5,'5", "R1:i=1 f=2.0 s=x R2:s=5 a=5"},
         })
    {
        SCOPED_TRACE(each.table);
        auto const edited = project_of("R1:T { }");
        EXPECT_TRUE(edited.edit(R"(R::R1::values = {"i":1,"f":2.0,"s":"x"})").succeeded());
        auto const report = import(*edited.project, each.table);
        EXPECT_TRUE(report.succeeded()) << report.place.line << ":" << report.place.column << " " << report.text;
        std::string state;
        for (auto const* const name : {"R1", "R2"})
        {
            state += std::string(state.empty() ? "" : " ") + name + ":";
            Value const values = edited.get(std::string("recipeList::") + name + "::values");
            for (auto value = values.begin(); value != values.end(); ++value)
            {
                auto const is_text = value->type() == ValueType::String;
                state += std::string(state.ends_with(':') ? "" : " ") + value.name() + "=" +
                         (is_text ? std::string(value->get_text()) : Json::write(*value));
            }
            state += values.empty() ? "-" : "";
        }
        EXPECT_EQ(state, each.state);
    }
}

/// A table that is refused: the error, the line and column, and the table.
struct Wrong
{
    std::string error;
    std::size_t line;
    std::size_t column;
    std::string table;
};

/// What is wrong in a cell of each kind, put into tables of several shapes: the cell as the last of a row, in another
/// row, in front of other cells, behind wide characters and behind a line break in quotes.
std::vector<Wrong> wrong_cells()
{
    struct Cell
    {
        char const* column;
        char const* text;
        char const* error;
    };
    std::vector<Wrong> wrong;
    for (auto const& [column, text, error] : {
             Cell{"i", "32768", "RANGE_MISMATCH"},
             Cell{"i", "'1", "TYPE_MISMATCH"},
             Cell{"i", "x", "SYNTAX"},
             Cell{"f", "007", "SYNTAX"},
             Cell{"f", "1e999", "SYNTAX"},
             Cell{"f", "9223372036854775808", "SYNTAX"},
             Cell{"f", "true", "TYPE_MISMATCH"},
             Cell{"b", "1", "TYPE_MISMATCH"},
             Cell{"e", "z", "ENUM_VALUE_MISMATCH"},
             Cell{"a", "[1", "SYNTAX"},
         })
    {
        auto const head = std::string("recipe,s,") + column;
        wrong.push_back({error, 2, 6, head + "\nR1,a," + text + "\n"});
        wrong.push_back({error, 3, 5, head + "\r\nR1,a,\r\nR2,," + text});
        wrong.push_back({error, 2, 4, std::string("recipe;") + column + ";s\nR1;" + text + ";a"});
        wrong.push_back({error, 2, 7, head + "\nR1,果汁," + text});
        wrong.push_back({error, 3, 4, head + "\nR1,\"a\nb\"," + text});
    }
    return wrong;
}

TEST(Tables, that_are_wrong_are_refused_with_line_and_column_and_change_nothing)
{
    auto wrong = wrong_cells();
    for (auto const& each : std::vector<Wrong>{
             // The text.
             {"REQUIRED_FIELD", 1, 1, ""},
             {"REQUIRED_FIELD", 1, 1, "\xEF\xBB\xBF"},
             {"REQUIRED_FIELD", 1, 1, "i,recipe\n1,R1"},
             {"REQUIRED_FIELD", 1, 1, "recipe\ti\nR1\t1"},
             {"SYNTAX", 1, 7, "recipe\r,i"},
             {"SYNTAX", 2, 3, "recipe,s\nR1\r2,a"},
             {"SYNTAX", 2, 5, "recipe,s\nR1,a\"b\n"},
             {"SYNTAX", 2, 4, "recipe,s\nR1,\"a\nb\n"},
             {"SYNTAX", 2, 7, "recipe,s\nR1,\"a\"b\n"},
             {"SYNTAX", 2, 4, "recipe,s\nR1,\xFF\n"},
             {"SYNTAX", 2, 5, "recipe,s\nR1,a" + std::string(1, '\0')},
             // The headings.
             {"ENTRY_NOT_FOUND", 1, 8, "recipe,x\nR1,1"},
             {"ENTRY_NOT_FOUND", 1, 10, "recipe,i,\nR1,1,"},
             {"UNIQUE", 1, 10, "recipe,i,i\nR1,1,1"},
             // The shape.
             {"ARRAY_RANGE_MISMATCH", 2, 1, "recipe,i\nR1"},
             {"ARRAY_RANGE_MISMATCH", 2, 6, "recipe,i\nR1,1,2"},
             {"ARRAY_RANGE_MISMATCH", 3, 1, "recipe;i\nR1;1\nR2,5"},
             // The names.
             {"REQUIRED_FIELD", 2, 1, "recipe,i\n,1"},
             {"INVALID_PATH", 2, 1, "recipe,i\nA::,1"},
             {"INVALID_PATH", 2, 1, "recipe,i\nA[0],1"},
             {"STRING_LENGTH_MISMATCH", 3, 1, "recipe,i\nR1,1\n" + std::string(300, 'x') + ",1"},
             {"UNIQUE", 3, 1, "recipe,i\nR1,1\nR1,2"},
             {"TYPE_MISMATCH", 2, 1, "recipe,i\nF,1"},
             {"TYPE_MISMATCH", 2, 1, "recipe,i\nOther,1"},
             {"TYPE_MISMATCH", 2, 1, "recipe,i\nR1::values,1"},
             {"TYPE_MISMATCH", 3, 1, "recipe,i\nA,1\nA::B,1"},
             // What the extension refuses.
             {"BLACKLISTED", 2, 1, "recipe,i\nA::members,1"},
         })
    {
        wrong.push_back(each);
    }
    ASSERT_GE(wrong.size(), 70U);
    auto const edited = project_of("R1:T { i=1 } F::R:T { } Other:Other { }");
    auto const before = edited.state();
    for (auto const& each : wrong)
    {
        SCOPED_TRACE(each.table);
        auto const report = import(*edited.project, each.table);
        EXPECT_EQ(name(report.error), each.error) << report.text;
        EXPECT_EQ(report.place, (Json::Location{.line = each.line, .column = each.column}));
        EXPECT_FALSE(report.made || report.text.empty());
        EXPECT_EQ(edited.state(), before);
    }
    // All that is wrong is told by an import that only checks.
    auto const all = import(*edited.project, "recipe,i,b\nR1,x,1\n,2,\nR1,3,y\nR2,4,true", true).refused;
    std::ostringstream places;
    for (auto const& refusal : all)
    {
        places << refusal.place.line << ":" << refusal.place.column << " ";
    }
    EXPECT_EQ(places.str(), "2:4 2:6 3:1 4:1 ");
}

} // namespace
} // namespace Ravik::Test
