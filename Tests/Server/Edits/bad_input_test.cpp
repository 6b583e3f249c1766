#include "EditedProject.h"
#include "Support/values.h"
#include "Json/Json.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <sstream>

namespace Ravik::Test
{
namespace
{

constexpr char const* initial = "A { m n } B(A) { k>N } N { o } F::T { p } E/ | "
                                "R1:A { m=1 n=2 } R2:B { k=R3 } R3:N { o=1 } F::R4:F::T { p=4 }";

/// Edits that must be refused, "import JSON" among them. Before each stand the error and the place, or a part of it,
/// that the answer names.
constexpr char const* bad_edits = R"(
INVALID_PATH path  = 1
TYPE_MISMATCH T::A T = {}
INVALID_PATH Tx Tx = {}
INVALID_PATH R::x:: R::x:: = {}
INVALID_PATH R::a[0] R::a[0] = {}
ENTRY_NOT_FOUND R::R1::values::m::x R::R1::values::m::x = 1
ENTRY_NOT_FOUND recipeTypeNames[7] T::B::recipeTypeNames[7] = "A"
TYPE_MISMATCH R::R1 R::R1 = {}
TYPE_MISMATCH R::F::R4 R::F = {}
TYPE_MISMATCH R::F R::F = {"recipeTypeName":"A","values":{}}
TYPE_MISMATCH R::F::R4 R::F = {"R4":{}}
TYPE_MISMATCH R::X R::X = 5
INVALID_PATH R::X R::X = {"":{}}
INVALID_PATH R::X R::X = {"a::b":{}}
INVALID_PATH T::A::members T::A::members = {"":{"symbol":"m"}}
INVALID_PATH R::R1::values R::R1::values = {"a:":1}
BLACKLISTED R::members R::members = {"R":{"recipeTypeName":"A","values":{}}}
TYPE_MISMATCH T::X T::X = {"members":5}
TYPE_MISMATCH T::X T::X = {"members":{"m":{"symbol":5}}}
UNEXPECTED_FIELD T::X T::X = {"members":{"m":{"sybmol":"m"}}}
TYPE_MISMATCH T::X T::X = {"members":{},"recipeTypeNames":"A"}
ENUM_VALUE_MISMATCH T::X T::X = {"members":{},"options":{"enabled":true}}
UNEXPECTED_FIELD T::X T::X = {"members":{},"options":{"x":1}}
SYMBOL_NOT_MAPPED T::X T::X = {"members":{"m":{"symbol":"a","defaultValue":1}}}
TYPE_MISMATCH T::X T::X = {"members":{"m":{"symbol":"m","defaultValue":"x"}}}
TYPE_MISMATCH T::X T::X = {"members":{"m":{"schema":{"type":"string"},"defaultValue":1}}}
TYPE_MISSING T::X T::X = {"members":{"m":{"schema":{"$ref":"#/nowhere"},"defaultValue":1}}}
RECURSION T::X T::X = {"members":{"m":{"schema":{"$ref":"#"},"defaultValue":1}}}
INVALID_PARAMETER T::X T::X = {"members":{"m":{"recipeType":"a"}},"recipeTypeNames":["A"]}
INVALID_PARAMETER T::X T::X = {"members":{"m":{"recipeType":"A"}},"recipeTypeNames":["B"]}
SYMBOL_NOT_MAPPED T::A::members::m::symbol T::A::members::m::symbol = "nothing"
TYPE_MISMATCH T::A T::A::members::m::defaultValue = true
UNEXPECTED_FIELD T::A T::A::extra = 1
INVALID_PARAMETER T::B T::B::members::k::recipeType = "A"
REQUIRED_FIELD R::X R::X = {"recipeTypeName":"A"}
TYPE_MISMATCH R::X R::X = {"recipeTypeName":5,"values":{}}
UNEXPECTED_FIELD R::X R::X = {"recipeTypeName":"A","values":{},"isActive":true}
TYPE_MISSING R::X R::X = {"recipeTypeName":"Nobody","values":{}}
TYPE_MISMATCH R::X R::X = {"recipeTypeName":"A","values":{"m":1.5}}
REQUIRED_FIELD R::New R::New::values::m = 1
INVALID_PATH path  >
ENTRY_NOT_FOUND R::nobody R::nobody >
REQUIRED_FIELD T::A T::A::members >
ID_IN_USE R::R2 R::R1 > R::R2
INVALID_PATH R::F::G R::F > R::F::G
INVALID_PATH T::R1 R::R1 > T::R1
INVALID_PATH R::R2::values::x R::R1 > R::R2::values::x
INVALID_PATH R R::R1 > R:::a
BLACKLISTED members T::F > T::G::members
INVALID_PATH T::B::members::m T::A::members::m > T::B::members::m
REQUIRED_FIELD T::A T::A::members > T::A::member
ID_IN_USE members::n T::A::members::m > T::A::members::n
UNEXPECTED_FIELD T::A T::A::members::m::symbol > T::A::members::m::sybmol
INVALID_PATH recipeTypeNames[1] T::B::recipeTypeNames[0] > T::B::recipeTypeNames[1]
INVALID_PATH R::R2::values::m R::R1::values::m > R::R2::values::m
TYPE_MISMATCH T import []
REQUIRED_FIELD T import {}
UNEXPECTED_FIELD other import {"other":{}}
TYPE_MISMATCH R::F import {"recipeList":{"F":{"recipeTypeName":"A","values":{}}}}
RECURSION R::N + X(Y) { } Y(X) { } | N:X { }
INVALID_PARAMETER T::X + X(Y) { n>y } Y { } |)";

class BadInput : public testing::Test
{
protected:
    BadInput() : edited(initial), before(Json::write(edited.get(""))), stored(store()) {}

    /// The store is as it was, byte by byte.
    void TearDown() override { EXPECT_TRUE(store() == stored); }

    /// The bytes of the store, which the project is closed for.
    std::string store()
    {
        edited.project.reset();
        auto bytes = content_of(edited.folder.path() / "ravik.db");
        edited.reopen();
        return bytes;
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

    EditedProject edited;
    std::string before;
    std::string stored;
};

TEST_F(BadInput, is_refused_and_changes_nothing)
{
    std::istringstream lines(bad_edits);
    std::string error;
    std::string place;
    for (std::string edit; lines >> error >> place && lines.get() && std::getline(lines, edit);)
    {
        auto const is_import = edit.starts_with("import ");
        auto const data = is_import ? Json::parse(edit.substr(edit.find(' '))) : Value();
        for (auto const again : {false, true})
        {
            ImportOptions options;
            options.dry_run = again;
            auto const report = is_import ? edited.project->import(edited.domain, data, options)
                                          : edited.edit(edit, {.dry_run = again});
            expect_refused(report, edit, error, full_path(place));
        }
    }
    expect_refused(edited.project->set("Nobody", "x", Value(1)), "unknown domain", "INVALID_DOMAIN", "Nobody");
    EXPECT_THROW(Json::parse(R"({"recipeList":{"a":{},"a":{}}})"), std::exception) << "a key that stands twice";
}

TEST_F(BadInput, that_no_text_can_hold_is_refused)
{
    auto const deep = [](int depth) {
        return nested(Value(ValueType::Map), depth, [](Value const& inner) { return map({{"a", inner}}); });
    };
    /// Path, value, error and place.
    using Case = std::tuple<std::string, Value, char const*, char const*>;
    std::string const huge(1 << 20, 'x');
    std::string const member_default = "recipeTypeList::A::members::m::defaultValue";
    Value const empty(ValueType::Map);
    auto deep_path = std::string("recipeList") + repeated(130, "::f");
    auto const cases = std::to_array<Case>({
        {"recipeList::" + huge, empty, "STRING_LENGTH_MISMATCH", "recipeList"},
        {"recipeTypeList::A::members", map({{huge.c_str(), empty}}), "STRING_LENGTH_MISMATCH", "members"},
        {"recipeList::R1::values", map({{huge.c_str(), 1}}), "STRING_LENGTH_MISMATCH", "values"},
        {huge, Value(1), "INVALID_PATH", "recipeTypeList"},
        {"recipeList::\xff", empty, "ENCODE", "path"},
        {"recipeList::R1::values::m", Value("\xff"), "ENCODE", "recipeList::R1::values::m"},
        {"recipeList::X", map({{"\xc3", 1}}), "ENCODE", "recipeList::X"},
        {member_default, Value(std::string_view("a\0b", 3)), "ENCODE", "defaultValue"},
        {member_default, Value(std::nan("")), "TYPE_MISMATCH", "recipeTypeList::A"},
        {"recipeList::X", deep(100'000), "ENCODE", "recipeList::X"},
        {member_default, deep(150), "ENCODE", "defaultValue"},
        {deep_path, empty, "ENCODE", "recipeList::f::f"},
    });
    auto& project = *edited.project;
    for (auto const& [path, value, error, place] : cases)
    {
        expect_refused(project.set(edited.domain, path, value), path.substr(0, 60), error, place);
    }
    expect_refused(project.import(edited.domain, map({{huge.c_str(), 1}}), {}), "huge list", "UNEXPECTED_FIELD", "xxx");
    expect_refused(project.import(edited.domain, map({{"recipeList", deep(100'000)}}), {}), "deep import", "ENCODE",
                   "recipeList::a::a");
    expect_refused(project.rename(edited.domain, "recipeList::R1", "recipeList::" + huge, {}), "huge name",
                   "STRING_LENGTH_MISMATCH", "recipeList");
    expect_refused(project.rename(edited.domain, "recipeList::R1", deep_path, {}), "deep name", "ENCODE", "f::f");
}

} // namespace
} // namespace Ravik::Test
