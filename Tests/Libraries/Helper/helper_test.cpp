#include "algorithm_helper.h"
#include "api_helper.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace Ravik::Test
{
namespace
{

using namespace RavikSrv;
using namespace RavikSrv::Algorithm;

/// a: a list of 1, {b: 2, "": 3}, [4, 5]; s: a struct with x: 6; e: an event whose data hold y: 7; "n[x]": 8; 0: {x: 9}
Value tree()
{
    Value root;
    root.insert("a", Value() << 1 << Value(ValueType::Map) << (Value() << 4 << 5));
    root["a"][1]["b"] = 2;
    root["a"][1][""] = 3;
    root["s"].set_type(ValueType::Struct);
    root["s"]["x"] = 6;
    root["e"].set_type(ValueType::Event);
    root["e"]["data"]["y"] = 7;
    root["n[x]"] = 8;
    root["0"]["x"] = 9;
    return root;
}

TEST(Paths, name_and_rest_of_a_symbol)
{
    auto const parts = [](char const* path) { return std::pair(name_from_path(path), path_from_symbol(path)); };
    using Parts = std::pair<std::string, std::string>;
    EXPECT_EQ(parts(""), Parts("", ""));
    EXPECT_EQ(parts("a"), Parts("a", ""));
    EXPECT_EQ(parts("a::b::c"), Parts("a", "b::c"));
    EXPECT_EQ(parts("a[1]::b"), Parts("a", "[1]::b"));
    EXPECT_EQ(parts("::a"), Parts("", "a"));
    EXPECT_EQ(parts("a:b"), Parts("a:b", ""));
    EXPECT_EQ(parts("a:::b"), Parts("a", ":b"));
    EXPECT_EQ(path_separator(), "::");
}

void expect_walk(std::string const& path, std::string const& name, Value const& expected = {})
{
    SCOPED_TRACE(path);
    auto const root = tree();
    auto changed = root;
    auto const reading = node_path(path, root);
    auto const changing = node_path(path, changed);
    EXPECT_EQ(follow_hmi_path(path, root), std::pair(expected.isset(), expected));
    EXPECT_EQ(reading.node != nullptr, expected.isset() && path != "e::y") << "an event is no map";
    EXPECT_EQ(changing.node != nullptr, reading.node != nullptr);
    EXPECT_EQ(*reading.parent, *changing.parent);
    EXPECT_TRUE(reading.name == name && changing.name == name) << reading.name;
    if (changing.node != nullptr && reading.node != nullptr)
    {
        EXPECT_EQ(*reading.node, expected);
        *changing.node = "changed";
        EXPECT_EQ(*node_path(path, std::as_const(changed)).node, "changed");
        EXPECT_EQ(root, tree());
    }
}

TEST(Paths, node_path_and_follow_hmi_path_walk)
{
    expect_walk("a::0", "0", 1);
    expect_walk("a[0]", "0", 1);
    expect_walk("a[1]::b", "b", 2);
    expect_walk("a[2][1]", "1", 5);
    expect_walk("a::2[1]", "1", 5);
    expect_walk("s::x", "x", 6);
    expect_walk("n[x]", "n[x]", 8);
    expect_walk("e::y", "y", 7);
    expect_walk("[n[x]]", "[n[x]]");
    expect_walk("[0]::x", "x", 9);
    expect_walk("[0][x]", "[0][x]");
    expect_walk("[1]", "1");
    expect_walk("a[3]::b", "3");
    expect_walk("s::x::z", "z");
    expect_walk("a[99999999999999999999]", "99999999999999999999");
    for (auto const* const with_empty_component : {"a[1]::", "a::::0", "::a", "a:::0", "a::[0]", "::[0]"})
    {
        expect_walk(with_empty_component, "");
    }
    for (auto const* const missing : {"missing", "a[]", "a[0]b", "a[-1]", "]", "a[0]]", "s[x]", "[x]", ":"})
    {
        expect_walk(missing, missing);
    }
}

TEST(Paths, the_empty_path_leads_to_the_root)
{
    auto root = tree();
    EXPECT_EQ(node_path("", std::as_const(root)).node, &root);
    EXPECT_EQ(node_path("", root).node, &root);
    EXPECT_EQ(node_path("", root).parent, nullptr);
    EXPECT_EQ(follow_hmi_path("", root), std::pair(true, tree()));
    EXPECT_EQ(node_path("s::missing", std::as_const(root)).parent, std::as_const(root).get_map().get("s"));
}

TEST(ErrorNames, come_in_groups_with_gaps_between)
{
    auto const name_of = [](unsigned number)
    { return std::string(get_error_string(static_cast<ErrorValue>(number)).name()); };
    std::vector<unsigned> bounds; // the first number of each group and the one behind its last
    for (unsigned number = 0; number < 5'000; ++number)
    {
        if ((name_of(number) != "ERROR") != (bounds.size() % 2 == 1))
        {
            bounds.push_back(number);
        }
    }
    EXPECT_EQ(bounds, (std::vector<unsigned>{0, 10, 256, 299, 512, 516, 768, 773, 1280, 1296, 1536, 1556, 2048, 2062,
                                             4096, 4112, 4608, 4618}));
    EXPECT_TRUE(name_of(9) == "IGNORE" && name_of(298) == "PAGING" && name_of(515) == "INVALID_METHOD");
    EXPECT_TRUE(name_of(1295) == "STORAGE_BACKUP" && name_of(1537) == "TYPE_MISMATCH" && name_of(1555) == "REGEX");
    EXPECT_TRUE(name_of(2061) == "REMOTE_TIMEOUT" && name_of(4617) == "INITIALIZE_PASSWORD" && name_of(~0U) == "ERROR");
}

TEST(Algorithm, split_symbol_name_takes_a_name_apart_at_the_separators)
{
    for (auto const& [name, parts] : std::vector<std::pair<char const*, std::vector<std::string>>>{
             {"", {}},
             {"recipeList::F::R", {"recipeList", "F", "R"}},
             {"a.b[3]:c", {"a.b[3]:c"}},
             {":", {":"}},
             {"::", {"", ""}},
             {":::", {"", "", ""}},
             {"::::", {"", "", "", ""}},
             {"a:::b:c::", {"a", "", "b:c", ""}},
             {"a[x::y]", {"a[x", "y]"}},
         })
    {
        EXPECT_EQ(split_symbol_name(name), parts) << name;
    }
}

TEST(Algorithm, replace_changes_the_first_occurrence_only)
{
    auto const replaced = [](std::string text, std::string const& from, std::string const& to)
    { return replace(text, from, to) ? text : "not found in " + text; };
    EXPECT_EQ(replaced("x::A::A", "A", "B"), "x::B::A");
    EXPECT_EQ(replaced("aa", "a", "aa"), "aaa");
    EXPECT_EQ(replaced("ab", "", "z"), "zab");
    EXPECT_EQ(replaced("", "", "z"), "not found in ");
    EXPECT_EQ(replaced("ab", "abc", "z"), "not found in ab");
    EXPECT_EQ(replaced("ab", "B", "z"), "not found in ab");
}

TEST(Algorithm, try_as_size_t_reads_digits_alone)
{
    std::size_t number = 7;
    for (auto const* const text : {"", " 1", "1 ", "-1", "+1", "1.0", "0x1", "a", "18446744073709551616"})
    {
        EXPECT_TRUE(!try_as_size_t(text, number) && number == 7) << text;
    }
    for (auto const* const text : {"0", "10", "007", "18446744073709551615"})
    {
        EXPECT_TRUE(try_as_size_t(text, number) && number == std::stoull(text)) << text;
    }
}

} // namespace
} // namespace Ravik::Test
