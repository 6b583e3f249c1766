#include "Configuration/tree.h"

#include "Json/Json.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace Ravik::Test
{
namespace
{

using RavikSrv::ErrorValue;

struct Case
{
    char const* path;
    /// JSON text, null to remove the entry.
    char const* value;
    Tree::WriteMode mode;
    /// The tree afterwards, null where it stays as it was.
    char const* after;
    ErrorValue result = ErrorValue::SUCCESS;
};

constexpr auto merge = Tree::WriteMode::Merge;
constexpr auto replace = Tree::WriteMode::Replace;
constexpr auto in_path = Tree::WriteMode::ReplaceInPath;
constexpr char const* before = R"({"a":{"b":1,"c":{"d":2}},"v":["x",{"y":1}],"s":"t"})";

constexpr auto not_found = ErrorValue::ENTRY_NOT_FOUND;
constexpr auto invalid = ErrorValue::INVALID_PATH;

constexpr auto cases = std::to_array<Case>({
    // A new entry stands last, an old one keeps its place.
    {"a::n", "9", merge, R"({"a":{"b":1,"c":{"d":2},"n":9},"v":["x",{"y":1}],"s":"t"})"},
    {"a::b", "9", merge, R"({"a":{"b":9,"c":{"d":2}},"v":["x",{"y":1}],"s":"t"})"},
    // A map merges into a map, one level deep.
    {"a", R"({"n":0,"c":{"z":1}})", merge, R"({"a":{"b":1,"c":{"z":1},"n":0},"v":["x",{"y":1}],"s":"t"})"},
    {"a", R"({"n":0})", replace, R"({"a":{"n":0},"v":["x",{"y":1}],"s":"t"})"},
    {"s", R"({"n":0})", merge, R"({"a":{"b":1,"c":{"d":2}},"v":["x",{"y":1}],"s":{"n":0}})"},
    {"", R"({"s":1})", merge, R"({"a":{"b":1,"c":{"d":2}},"v":["x",{"y":1}],"s":1})"},
    {"", R"({"s":1})", replace, R"({"s":1})"},
    {"v[0]", "\"z\"", merge, R"({"a":{"b":1,"c":{"d":2}},"v":["z",{"y":1}],"s":"t"})"},
    {"v[1]::y", "2", merge, R"({"a":{"b":1,"c":{"d":2}},"v":["x",{"y":2}],"s":"t"})"},
    {"v[2]", "1", merge, nullptr, not_found},
    {"v[2]", "1", in_path, R"({"a":{"b":1,"c":{"d":2}},"v":["x",{"y":1},1],"s":"t"})"},
    {"v[2]::y", "1", in_path, nullptr, not_found},
    {"s::n", "1", merge, nullptr, not_found},
    {"a::::b", "1", merge, nullptr, invalid},
    // Maps on the way are made.
    {"n::m::x", "1", replace, nullptr, not_found},
    {"n::m::x", "1", in_path, R"({"a":{"b":1,"c":{"d":2}},"v":["x",{"y":1}],"s":"t","n":{"m":{"x":1}}})"},
    {"", "1", merge, nullptr, invalid},
    // Removed, first of all in the middle.
    {"a::b", nullptr, merge, R"({"a":{"c":{"d":2}},"v":["x",{"y":1}],"s":"t"})"},
    {"v[0]", nullptr, merge, R"({"a":{"b":1,"c":{"d":2}},"v":[{"y":1}],"s":"t"})"},
    {"a::q", nullptr, merge, nullptr, not_found},
    {"", nullptr, merge, nullptr, invalid},
});

std::vector<Tree::Change const*> pointers(std::vector<Tree::Change> const& changes)
{
    std::vector<Tree::Change const*> all;
    std::transform(changes.begin(), changes.end(), std::back_inserter(all), [](auto const& change) { return &change; });
    return all;
}

TEST(Tree, takes_many_removals_of_one_map_back_and_makes_them_once_more)
{
    auto const* const full = R"({"m":{"a":1,"b":2,"c":3,"d":4,"e":5},"v":[1,2,3]})";
    auto tree = Json::parse(full);
    std::vector<Tree::Change> changes;
    for (auto const* const path : {"m::d", "m::a", "v[0]", "v[1]", "m::c", "m::e", "m::b"})
    {
        EXPECT_EQ(Tree::remove(tree, path, changes), ErrorValue::SUCCESS);
    }
    Tree::take_back(tree, pointers(changes));
    EXPECT_EQ(Json::write(tree), full);
    Tree::apply(tree, pointers(changes));
    EXPECT_EQ(Json::write(tree), R"({"m":{},"v":[2]})");
}

TEST(Tree, edits_takes_them_back_and_makes_them_once_more)
{
    for (auto const& test : cases)
    {
        SCOPED_TRACE(test.path);
        auto tree = Json::parse(before);
        auto const original = tree;
        std::vector<Tree::Change> changes;
        auto const result = test.value == nullptr
                                ? Tree::remove(tree, test.path, changes)
                                : Tree::write(tree, test.path, Json::parse(test.value), test.mode, changes);
        EXPECT_EQ(result, test.result);
        EXPECT_EQ(Json::write(tree), test.after == nullptr ? before : test.after);
        EXPECT_EQ(Json::write(original), before) << "a copy changed with it";
        Tree::take_back(tree, pointers(changes));
        EXPECT_EQ(Json::write(tree), before);
        Tree::apply(tree, pointers(changes));
        EXPECT_EQ(Json::write(tree), test.after == nullptr ? before : test.after);
    }
}

} // namespace
} // namespace Ravik::Test
