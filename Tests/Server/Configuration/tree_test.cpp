#include "Configuration/tree.h"

#include "Json/Json.h"

#include <gtest/gtest.h>

namespace Ravik
{
namespace
{

using RavikSrv::ErrorValue;

struct Case
{
    char const* what;
    char const* path;
    /// JSON text, null to remove the entry.
    char const* value;
    Tree::WriteMode mode;
    ErrorValue result;
    /// The tree afterwards, null where it stays as it was.
    char const* after;
};

constexpr auto merge = Tree::WriteMode::Merge;
constexpr auto replace = Tree::WriteMode::Replace;
constexpr char const* before = R"({"a":{"b":1,"c":{"d":2},"e":3},"v":["x",{"y":1}],"s":"t"})";

Case const cases[] = {
    {"a new entry stands last", "a::n", "9", merge, ErrorValue::SUCCESS,
     R"({"a":{"b":1,"c":{"d":2},"e":3,"n":9},"v":["x",{"y":1}],"s":"t"})"},
    {"an entry keeps its place", "a::b", "9", merge, ErrorValue::SUCCESS,
     R"({"a":{"b":9,"c":{"d":2},"e":3},"v":["x",{"y":1}],"s":"t"})"},
    {"a map merges into a map", "a", R"({"n":0,"b":5})", merge, ErrorValue::SUCCESS,
     R"({"a":{"b":5,"c":{"d":2},"e":3,"n":0},"v":["x",{"y":1}],"s":"t"})"},
    {"merging goes one level deep", "a", R"({"c":{"z":1}})", merge, ErrorValue::SUCCESS,
     R"({"a":{"b":1,"c":{"z":1},"e":3},"v":["x",{"y":1}],"s":"t"})"},
    {"replacing does not merge", "a", R"({"n":0})", replace, ErrorValue::SUCCESS,
     R"({"a":{"n":0},"v":["x",{"y":1}],"s":"t"})"},
    {"a map takes the place of a scalar", "s", R"({"n":0})", merge, ErrorValue::SUCCESS,
     R"({"a":{"b":1,"c":{"d":2},"e":3},"v":["x",{"y":1}],"s":{"n":0}})"},
    {"the root merges", "", R"({"s":1})", merge, ErrorValue::SUCCESS,
     R"({"a":{"b":1,"c":{"d":2},"e":3},"v":["x",{"y":1}],"s":1})"},
    {"the root is replaced", "", R"({"s":1})", replace, ErrorValue::SUCCESS, R"({"s":1})"},
    {"an element by index", "v[0]", "\"z\"", merge, ErrorValue::SUCCESS,
     R"({"a":{"b":1,"c":{"d":2},"e":3},"v":["z",{"y":1}],"s":"t"})"},
    {"below an element", "v[1]::y", "2", merge, ErrorValue::SUCCESS,
     R"({"a":{"b":1,"c":{"d":2},"e":3},"v":["x",{"y":2}],"s":"t"})"},
    {"no element behind the end", "v[2]", "1", merge, ErrorValue::ENTRY_NOT_FOUND, nullptr},
    {"no entry in a scalar", "s::n", "1", merge, ErrorValue::ENTRY_NOT_FOUND, nullptr},
    {"no entry in what is missing", "q::n", "1", merge, ErrorValue::ENTRY_NOT_FOUND, nullptr},
    {"an empty component", "a::::b", "1", merge, ErrorValue::INVALID_PATH, nullptr},
    {"an empty component at the end", "a::", "1", merge, ErrorValue::INVALID_PATH, nullptr},
    {"a scalar as the root", "", "1", merge, ErrorValue::INVALID_PATH, nullptr},
    {"removing an entry", "a::b", nullptr, merge, ErrorValue::SUCCESS,
     R"({"a":{"c":{"d":2},"e":3},"v":["x",{"y":1}],"s":"t"})"},
    {"removing in the middle", "a::c", nullptr, merge, ErrorValue::SUCCESS,
     R"({"a":{"b":1,"e":3},"v":["x",{"y":1}],"s":"t"})"},
    {"removing an element", "v[0]", nullptr, merge, ErrorValue::SUCCESS,
     R"({"a":{"b":1,"c":{"d":2},"e":3},"v":[{"y":1}],"s":"t"})"},
    {"removing what is missing", "a::q", nullptr, merge, ErrorValue::ENTRY_NOT_FOUND, nullptr},
    {"removing the root", "", nullptr, merge, ErrorValue::INVALID_PATH, nullptr},
};

TEST(Tree, edits_and_takes_them_back)
{
    for (auto const& test : cases)
    {
        SCOPED_TRACE(test.what);
        auto tree = Json::parse(before);
        auto const original = tree;
        std::vector<Tree::Change> changes;
        auto const result = test.value == nullptr
                                ? Tree::remove(tree, test.path, changes)
                                : Tree::write(tree, test.path, Json::parse(test.value), test.mode, changes);
        EXPECT_EQ(result, test.result);
        EXPECT_EQ(Json::write(tree), test.after == nullptr ? before : test.after);
        EXPECT_EQ(Json::write(original), before) << "a copy changed with it";
        for (auto change = changes.rbegin(); change != changes.rend(); ++change)
        {
            Tree::take_back(tree, *change);
        }
        EXPECT_EQ(Json::write(tree), before);
    }
}

} // namespace
} // namespace Ravik
