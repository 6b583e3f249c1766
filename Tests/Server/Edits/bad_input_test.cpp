#include "EditedProject.h"
#include "Json/Json.h"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <sqlite3.h>
#include <sstream>

namespace Ravik
{
namespace
{

using RavikSrv::Value;
using RavikSrv::ValueType;
using Testing::EditedProject;
using Testing::name;

constexpr char const* initial = "A(m,n) B<A>(k@N) N(o) F/T(p) E/ | R1:A(m=1,n=2) R2:B(k=R3) R3:N(o=1) F/R4:F/T(p=4)";

/// An edit that must be refused: what is set ("PATH JSON"), moved ("PATH > NEW PATH") or imported (JSON), the error,
/// and a part of the place that the answer names.
struct BadEdit
{
    char const* edit;
    char const* error;
    char const* place;
};

constexpr std::initializer_list<BadEdit> bad_sets = {
    // Paths.
    {"|1", "INVALID_PATH", "path"},
    {"T|{}", "TYPE_MISMATCH", "recipeTypeList::A"},
    {"R|{}", "TYPE_MISMATCH", "recipeList::R1"},
    {"R|[]", "TYPE_MISMATCH", "recipeList"},
    {"T|1", "TYPE_MISMATCH", "recipeTypeList"},
    {"Tx|{}", "INVALID_PATH", "recipeTypeListx"},
    {"other|1", "INVALID_PATH", "other"},
    {"Rx/y|1", "INVALID_PATH", "recipeListx"},
    {"R/|{}", "INVALID_PATH", "recipeList::"},
    {"R//x|{}", "INVALID_PATH", "recipeList::::x"},
    {"R/x/|{}", "INVALID_PATH", "recipeList::x::"},
    {"R/x:|{}", "INVALID_PATH", "x:"},
    {"R[0]|{}", "INVALID_PATH", "recipeList[0]"},
    {"R/a[0]|{}", "INVALID_PATH", "recipeList::a[0]"},
    {"R/R1[0]|1", "UNEXPECTED_FIELD", "recipeList::R1"},
    {"R/R1/values/m/x|1", "ENTRY_NOT_FOUND", "recipeList::R1::values::m::x"},
    {"R/R1/values/m[0]|1", "ENTRY_NOT_FOUND", "m[0]"},
    {"T/B/recipeTypeNames[7]|\"A\"", "ENTRY_NOT_FOUND", "recipeTypeNames[7]"},
    {"T/B/recipeTypeNames/x|\"A\"", "ENTRY_NOT_FOUND", "recipeTypeNames::x"},
    // What would become of entries and folders.
    {"R/R1|{}", "TYPE_MISMATCH", "recipeList::R1"},
    {"R/R1|1", "TYPE_MISMATCH", "recipeList::R1"},
    {"R/R1|null", "TYPE_MISMATCH", "recipeList::R1"},
    {"R/R1|{\"x\":{}}", "TYPE_MISMATCH", "recipeList::R1"},
    {"T/A|{}", "TYPE_MISMATCH", "recipeTypeList::A"},
    {"T/A|[1]", "TYPE_MISMATCH", "recipeTypeList::A"},
    {"R/F|{}", "TYPE_MISMATCH", "recipeList::F::R4"},
    {R"(R/F|{"recipeTypeName":"A","values":{}})", "TYPE_MISMATCH", "recipeList::F"},
    {"R/F|{\"R4\":{}}", "TYPE_MISMATCH", "recipeList::F::R4"},
    {"R/F|{\"R4\":7}", "TYPE_MISMATCH", "recipeList::F::R4"},
    {"R/F/values|{}", "TYPE_MISMATCH", "recipeList::F"},
    {"R/F/recipeTypeName|\"A\"", "TYPE_MISMATCH", "recipeList::F"},
    {"T/F/members|{}", "TYPE_MISMATCH", "recipeTypeList::F"},
    {R"(T/F/members/m|{"symbol":"m"})", "TYPE_MISMATCH", "recipeTypeList::F"},
    {"T/F|{\"members\":{}}", "TYPE_MISMATCH", "recipeTypeList::F"},
    {"R/X|5", "TYPE_MISMATCH", "recipeList::X"},
    {"R/X|\"text\"", "TYPE_MISMATCH", "recipeList::X"},
    {"R/X|{\"Y\":5}", "TYPE_MISMATCH", "recipeList::X::Y"},
    {"T/X|{\"Y\":null}", "TYPE_MISMATCH", "recipeTypeList::X::Y"},
    // Names.
    {"R/X|{\"\":{}}", "INVALID_PATH", "recipeList::X"},
    {"R/X|{\"a::b\":{}}", "INVALID_PATH", "recipeList::X"},
    {"R/X|{\":a\":{}}", "INVALID_PATH", "recipeList::X"},
    {"R/X|{\"a[1]\":{}}", "INVALID_PATH", "recipeList::X"},
    {R"(T/A/members|{"":{"symbol":"m"}})", "INVALID_PATH", "recipeTypeList::A::members"},
    {R"(T/A/members|{"a::b":{"symbol":"m"}})", "INVALID_PATH", "recipeTypeList::A::members"},
    {R"(T/A/members|{"a[2]":{"symbol":"m"}})", "INVALID_PATH", "recipeTypeList::A::members"},
    {"R/R1/values|{\"a:\":1}", "INVALID_PATH", "recipeList::R1::values"},
    {"R/R1/values|{\"a::b\":1}", "INVALID_PATH", "recipeList::R1::values"},
    // Reserved words.
    {R"(R/members|{"R":{"recipeTypeName":"A","values":{}}})", "BLACKLISTED", "recipeList::members"},
    {R"(R/myvalues|{"recipeTypeName":"A","values":{}})", "BLACKLISTED", "recipeList::myvalues"},
    {"T/options|{\"members\":{}}", "BLACKLISTED", "recipeTypeList::options"},
    {R"(R/recipeTypeList|{"recipeTypeName":"A","values":{}})", "BLACKLISTED", "recipeList::recipeTypeList"},
    // Recipe types.
    {"T/X|{\"members\":5}", "TYPE_MISMATCH", "recipeTypeList::X"},
    {"T/X|{\"members\":[]}", "TYPE_MISMATCH", "recipeTypeList::X"},
    {R"(T/X|{"members":{},"other":1})", "UNEXPECTED_FIELD", "recipeTypeList::X"},
    {R"(T/X|{"members":{"m":5}})", "TYPE_MISMATCH", "recipeTypeList::X"},
    {R"(T/X|{"members":{"m":{"symbol":5}}})", "TYPE_MISMATCH", "recipeTypeList::X"},
    {R"(T/X|{"members":{"m":{"enabled":"yes"}}})", "TYPE_MISMATCH", "recipeTypeList::X"},
    {R"(T/X|{"members":{"m":{"recipeType":1}}})", "TYPE_MISMATCH", "recipeTypeList::X"},
    {R"(T/X|{"members":{"m":{"schema":7}}})", "TYPE_MISMATCH", "recipeTypeList::X"},
    {R"(T/X|{"members":{"m":{"sybmol":"m"}}})", "UNEXPECTED_FIELD", "recipeTypeList::X"},
    {R"(T/X|{"members":{},"recipeTypeNames":"A"})", "TYPE_MISMATCH", "recipeTypeList::X"},
    {R"(T/X|{"members":{},"recipeTypeNames":[1]})", "TYPE_MISMATCH", "recipeTypeList::X"},
    {R"(T/X|{"members":{},"options":{"enabled":true}})", "ENUM_VALUE_MISMATCH", "recipeTypeList::X"},
    {R"(T/X|{"members":{},"options":{"x":1}})", "UNEXPECTED_FIELD", "recipeTypeList::X"},
    {R"(T/X|{"members":{"m":{"symbol":"a","defaultValue":1}}})", "SYMBOL_NOT_MAPPED", "recipeTypeList::X"},
    {R"(T/X|{"members":{"m":{"symbol":"m","defaultValue":"x"}}})", "TYPE_MISMATCH", "recipeTypeList::X"},
    {R"(T/X|{"members":{"m":{"schema":{"type":"string"},"defaultValue":1}}})", "TYPE_MISMATCH", "recipeTypeList::X"},
    {R"(T/X|{"members":{"m":{"schema":{"$ref":"#/nowhere"},"defaultValue":1}}})", "TYPE_MISSING", "recipeTypeList::X"},
    {R"(T/X|{"members":{"m":{"schema":{"$ref":"#"},"defaultValue":1}}})", "RECURSION", "recipeTypeList::X"},
    {R"(T/X|{"members":{"m":{"recipeType":"a"}},"recipeTypeNames":["A"]})", "INVALID_PARAMETER", "recipeTypeList::X"},
    {R"(T/X|{"members":{"m":{"recipeType":"A"}},"recipeTypeNames":["B"]})", "INVALID_PARAMETER", "recipeTypeList::X"},
    {"T/A/members/m/symbol|\"nothing\"", "SYMBOL_NOT_MAPPED", "recipeTypeList::A::members::m::symbol"},
    {"T/A/members/m/symbol|[]", "TYPE_MISMATCH", "recipeTypeList::A"},
    {"T/A/members/m/enabled|1", "TYPE_MISMATCH", "recipeTypeList::A"},
    {"T/A/members/m/defaultValue|true", "TYPE_MISMATCH", "recipeTypeList::A"},
    {"T/A/members|7", "TYPE_MISMATCH", "recipeTypeList::A"},
    {"T/A/recipeTypeNames|{}", "TYPE_MISMATCH", "recipeTypeList::A"},
    {"T/A/extra|1", "UNEXPECTED_FIELD", "recipeTypeList::A"},
    {"T/B/members/k/recipeType|\"A\"", "INVALID_PARAMETER", "recipeTypeList::B"},
    {"T/New/members/m|5", "TYPE_MISMATCH", "recipeTypeList::New"},
    // Recipes.
    {R"(R/X|{"recipeTypeName":"A"})", "REQUIRED_FIELD", "recipeList::X"},
    {"R/X|{\"values\":{}}", "REQUIRED_FIELD", "recipeList::X"},
    {R"(R/X|{"recipeTypeName":5,"values":{}})", "TYPE_MISMATCH", "recipeList::X"},
    {R"(R/X|{"recipeTypeName":"A","values":[]})", "TYPE_MISMATCH", "recipeList::X"},
    {R"(R/X|{"recipeTypeName":"A","values":{},"isActive":true})", "UNEXPECTED_FIELD", "recipeList::X"},
    {R"(R/X|{"recipeTypeName":"Nobody","values":{}})", "TYPE_MISSING", "recipeList::X"},
    {R"(R/X|{"recipeTypeName":"F","values":{}})", "TYPE_MISSING", "recipeList::X"},
    {R"(R/X|{"recipeTypeName":"A","values":{"m":"one"}})", "TYPE_MISMATCH", "recipeList::X"},
    {R"(R/X|{"recipeTypeName":"A","values":{"m":1.5}})", "TYPE_MISMATCH", "recipeList::X"},
    {"R/R1/values/m|\"x\"", "TYPE_MISMATCH", "recipeList::R1"},
    {"R/R1/values/m|{}", "TYPE_MISMATCH", "recipeList::R1"},
    {"R/R1/recipeTypeName|\"nobody\"", "TYPE_MISSING", "recipeList::R1"},
    {"R/R1/values|5", "TYPE_MISMATCH", "recipeList::R1"},
    {"R/New/values/m|1", "REQUIRED_FIELD", "recipeList::New"},
};

constexpr std::initializer_list<BadEdit> bad_moves = {
    {" >", "INVALID_PATH", "path"},
    {"R/nobody >", "ENTRY_NOT_FOUND", "recipeList::nobody"},
    {"R/R1/values/q >", "ENTRY_NOT_FOUND", "recipeList::R1::values::q"},
    {"T/B/recipeTypeNames[1] >", "ENTRY_NOT_FOUND", "recipeTypeNames[1]"},
    {"R// >", "INVALID_PATH", "recipeList"},
    {"x >", "INVALID_PATH", "x"},
    {"T/A/members >", "REQUIRED_FIELD", "recipeTypeList::A"},
    {"R/R1/values >", "REQUIRED_FIELD", "recipeList::R1"},
    {"R/R1/recipeTypeName >", "REQUIRED_FIELD", "recipeList::R1"},
    {"R/nobody > R/x", "ENTRY_NOT_FOUND", "recipeList::nobody"},
    {"R/R1 > R/R2", "ID_IN_USE", "recipeList::R2"},
    {"R/R1 > R/R1", "INVALID_PATH", "recipeList::R1"},
    {"R/F > R/F/G", "INVALID_PATH", "recipeList::F::G"},
    {"R/R1 > T/R1", "INVALID_PATH", "recipeTypeList::R1"},
    {"T/A > R/A", "INVALID_PATH", "recipeList::A"},
    {"R/R1 > x", "INVALID_PATH", "x"},
    {"R > Rx", "INVALID_PATH", "recipeListx"},
    {"R > T", "INVALID_PATH", "recipeList"},
    {"R/R1 > R/R2/values/x", "INVALID_PATH", "recipeList::R2::values::x"},
    {"R/R1 > R/a[0]", "INVALID_PATH", "recipeList::a[0]"},
    {"R/R1 > R/:a", "INVALID_PATH", "recipeList"},
    {"R/R1 > R/a/", "INVALID_PATH", "recipeList::a::"},
    {"R/R1 > R/values", "BLACKLISTED", "recipeList::values"},
    {"R/F > R/members", "BLACKLISTED", "recipeList::members"},
    {"T/A > T/Xoptions", "BLACKLISTED", "recipeTypeList::Xoptions"},
    {"T/F > T/G/members", "BLACKLISTED", "members"},
    {"T/A/members/m > T/B/members/m", "INVALID_PATH", "recipeTypeList::B::members::m"},
    {"T/A/members > T/A/member", "REQUIRED_FIELD", "recipeTypeList::A"},
    {"T/A/members/m > T/A/members/n", "ID_IN_USE", "members::n"},
    {"T/A/members/m > T/A/members/a:b:", "INVALID_PATH", "members"},
    {"T/A/members/m/symbol > T/A/members/m/sybmol", "UNEXPECTED_FIELD", "recipeTypeList::A"},
    {"T/B/recipeTypeNames[0] > T/B/recipeTypeNames[1]", "INVALID_PATH", "recipeTypeNames[1]"},
    {"R/R1/values/m > R/R2/values/m", "INVALID_PATH", "recipeList::R2::values::m"},
};

constexpr std::initializer_list<BadEdit> bad_imports = {
    {"[]", "TYPE_MISMATCH", "recipeTypeList"},
    {"{}", "REQUIRED_FIELD", "recipeTypeList"},
    {"5", "TYPE_MISMATCH", "recipeList"},
    {"{\"other\":{}}", "UNEXPECTED_FIELD", "other"},
    {"{\"recipeList\":[]}", "TYPE_MISMATCH", "recipeList"},
    {R"({"recipeList":{},"x":1})", "UNEXPECTED_FIELD", "x"},
    {R"({"recipeList":{"X":5}})", "TYPE_MISMATCH", "recipeList::X"},
    {R"({"recipeList":{"R1":{}}})", "TYPE_MISMATCH", "recipeList::R1"},
    {R"({"recipeList":{"F":{"recipeTypeName":"A","values":{}}}})", "TYPE_MISMATCH", "recipeList::F"},
    {R"({"recipeList":{"":{}}})", "INVALID_PATH", "recipeList"},
    {R"({"recipeList":{"a::b":{}}})", "INVALID_PATH", "recipeList"},
    {R"({"recipeList":{"a[0]":{}}})", "INVALID_PATH", "recipeList"},
    {R"({"recipeList":{"N":{"recipeTypeName":"no","values":{}}}})", "TYPE_MISSING", "recipeList::N"},
    {R"({"recipeList":{"values":{"recipeTypeName":"A","values":{}}}})", "BLACKLISTED", "recipeList::values"},
    {R"({"recipeList":{"N":{"recipeTypeName":"A","values":{"m":"x"}}}})", "TYPE_MISMATCH", "recipeList::N"},
    {R"({"recipeTypeList":{"X":{"members":{"m":{"symbol":"none","defaultValue":1}}}}})", "SYMBOL_NOT_MAPPED",
     "recipeTypeList::X"},
    // A cycle, which the recipe of its type meets.
    {"{\"recipeTypeList\":{\"X\":{\"members\":{},\"recipeTypeNames\":[\"Y\"]},\"Y\":{\"members\":{},"
     "\"recipeTypeNames\":[\"X\"]}},\"recipeList\":{\"N\":{\"recipeTypeName\":\"X\",\"values\":{}}}}",
     "RECURSION", "recipeList::N"},
    {R"({"recipeTypeList":{"X":{"members":{"m":{"recipeType":"y"}},"recipeTypeNames":["Y"]},"Y":{"members":{}}}})",
     "INVALID_PARAMETER", "recipeTypeList::X"},
};

/// Every row of the store, in order.
std::string rows(std::filesystem::path const& file)
{
    std::ostringstream text;
    sqlite3* database = nullptr;
    EXPECT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
    auto const append = [](void* out, int count, char** values, char** /*names*/)
    {
        for (int column = 0; column < count; ++column)
        {
            *static_cast<std::ostringstream*>(out) << (values[column] == nullptr ? "NULL" : values[column]) << '|';
        }
        return 0;
    };
    EXPECT_EQ(sqlite3_exec(database, "SELECT * FROM entry ORDER BY rank", append, &text, nullptr), SQLITE_OK);
    sqlite3_close(database);
    return text.str();
}

class BadInput : public testing::Test
{
protected:
    BadInput() : edited(initial)
    {
        before = Json::write(edited.get(""));
        edited.project.reset();
        rows_before = rows(edited.folder.path() / "ravik.db");
        edited.reopen();
    }

    /// The store is as it was, row by row.
    void TearDown() override
    {
        edited.project.reset();
        EXPECT_EQ(rows(edited.folder.path() / "ravik.db"), rows_before);
    }

    void expect_refused(EditReport const& report, std::string const& what, std::string const& error,
                        std::string const& place)
    {
        EXPECT_EQ(name(report.error), error) << what << ": " << report.path << ": " << report.text;
        EXPECT_NE((report.path + "|" + report.text).find(place), std::string::npos)
            << what << " is said to be wrong at " << report.path << ": " << report.text;
        EXPECT_FALSE(report.text.empty()) << what;
        EXPECT_LT(report.text.size(), 2000U) << what;
        EXPECT_FALSE(report.made);
        EXPECT_TRUE(Json::write(edited.get("")) == before) << what;
    }

    void set(std::string const& path, Value const& value, std::string const& error, std::string const& place)
    {
        expect_refused(edited.project->set(edited.domain, path, value), path.substr(0, 60), error, place);
    }

    EditedProject edited;
    std::string before;
    std::string rows_before;
};

TEST_F(BadInput, sets_are_refused_and_change_nothing)
{
    for (auto const& [edit, error, place] : bad_sets)
    {
        std::string const text = edit;
        auto const bar = text.find('|');
        expect_refused(edited.set(text.substr(0, bar), text.c_str() + bar + 1), edit, error, place);
    }
    expect_refused(edited.project->set("Nobody", "x", Value(1)), "unknown domain", "INVALID_DOMAIN", "Nobody");
}

TEST_F(BadInput, moves_are_refused_and_change_nothing)
{
    for (auto const& [edit, error, place] : bad_moves)
    {
        expect_refused(edited.move(edit), edit, error, place);
        expect_refused(edited.move(edit, {.force = true, .dry_run = false}), edit, error, place);
    }
}

TEST_F(BadInput, imports_are_refused_and_change_nothing)
{
    for (auto const& [edit, error, place] : bad_imports)
    {
        for (auto const dry_run : {false, true})
        {
            ImportOptions options;
            options.dry_run = dry_run;
            expect_refused(edited.project->import(edited.domain, Json::parse(edit), options), edit, error, place);
        }
    }
    EXPECT_THROW(Json::parse(R"({"recipeList":{"a":{},"a":{}}})"), std::exception) << "a key that stands twice";
}

TEST_F(BadInput, what_no_text_can_hold_is_refused)
{
    std::string const huge(1 << 20, 'x');
    set("recipeList::" + huge, Json::parse("{}"), "STRING_LENGTH_MISMATCH", "recipeList");
    set("recipeList::" + huge + "::y", Json::parse("{}"), "STRING_LENGTH_MISMATCH", "recipeList");
    set("recipeTypeList::A::members", Json::parse("{\"" + huge + "\":{}}"), "STRING_LENGTH_MISMATCH", "members");
    set("recipeList::R1::values", Json::parse("{\"" + huge + "\":1}"), "STRING_LENGTH_MISMATCH", "values");
    set(huge, Value(1), "INVALID_PATH", "recipeTypeList");
    expect_refused(edited.project->import(edited.domain, Json::parse("{\"" + huge + "\":1}"), {}), "huge list",
                   "UNEXPECTED_FIELD", "xxx");
    expect_refused(edited.project->rename(edited.domain, "recipeList::R1", "recipeList::" + huge, {}), "huge name",
                   "STRING_LENGTH_MISMATCH", "recipeList");

    set("recipeList::\xff", Json::parse("{}"), "ENCODE", "path");
    set("recipeList::R1::values::m", Value("\xff"), "ENCODE", "recipeList::R1::values::m");
    Value invalid(ValueType::Map);
    invalid.insert("\xc3", Value(1));
    set("recipeList::X", invalid, "ENCODE", "recipeList::X");
    set("recipeTypeList::A::members::m::defaultValue", Value(std::string_view("a\0b", 3)), "ENCODE", "defaultValue");
    set("recipeTypeList::A::members::m::defaultValue", Value(std::nan("")), "TYPE_MISMATCH", "recipeTypeList::A");

    for (auto const depth : {150, 100000})
    {
        Value deep(ValueType::Map);
        for (int level = 0; level < depth; ++level)
        {
            Value outer(ValueType::Map);
            outer.insert("a", deep);
            deep = outer;
        }
        set("recipeList::X", deep, "ENCODE", "recipeList::X");
        set("recipeTypeList::A::members::m::defaultValue", deep, "ENCODE", "defaultValue");
        Value import(ValueType::Map);
        import.insert("recipeList", deep);
        expect_refused(edited.project->import(edited.domain, import, {}), "deep import", "ENCODE", "recipeList::a::a");
    }
    std::string path = "recipeList";
    for (int level = 0; level < 130; ++level)
    {
        path += "::f";
    }
    set(path, Json::parse("{}"), "ENCODE", "recipeList::f::f");
    expect_refused(edited.project->rename(edited.domain, "recipeList::R1", path, {}), "deep rename", "ENCODE", "f::f");
}

} // namespace
} // namespace Ravik
