#include "api_helper.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace RavikSrv
{

namespace
{

/// a: a list of 1, {b: 2, "": 3}, [4, 5]; s: a struct with x: 6; e: an event whose data hold y: 7; "n[x]": 8
Value tree()
{
    Value inner;
    inner.insert("b", 2);
    inner.insert("", 3);
    Value list;
    list << 1 << inner << ((Value() << 4) << 5);
    Value event(ValueType::Event);
    event["data"]["y"] = 7;
    Value root;
    root.insert("a", list);
    root.insert("s", Value(ValueType::Struct));
    root["s"]["x"] = 6;
    root.insert("e", event);
    root.insert("n[x]", 8);
    return root;
}

TEST(Paths, name_and_rest_of_a_symbol)
{
    struct Case
    {
        char const* path;
        std::string name, rest;
    };
    for (auto const& [path, name, rest] : std::vector<Case>{
             {"", "", ""},
             {"a", "a", ""},
             {"a::b", "a", "b"},
             {"a::b::c", "a", "b::c"},
             {"a[1]::b", "a", "[1]::b"},
             {"a::b[1]", "a", "b[1]"},
             {"a[2]", "a", "[2]"},
             {"::a", "", "a"},
             {"[1]::a", "", "[1]::a"},
             {"a:b", "a:b", ""},
             {"a::", "a", ""},
             {"a:::b", "a", ":b"},
         })
    {
        EXPECT_EQ(name_from_path(path), name) << path;
        EXPECT_EQ(path_from_symbol(path), rest) << path;
    }
    EXPECT_EQ(path_separator(), "::");
}

TEST(Paths, node_goes_one_step_down)
{
    auto const root = tree();
    auto const* const list = node(&root, "a");
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(*node(list, "0"), 1);
    EXPECT_EQ(node(list, "00"), node(list, "0"));
    for (auto const* const name : {"", "3", "-1", "x", " 0", "0 ", "18446744073709551616"})
    {
        EXPECT_EQ(node(list, name), nullptr) << name;
    }
    EXPECT_EQ(node(static_cast<Value const*>(nullptr), "a"), nullptr);
    EXPECT_EQ(node(node(list, "0"), "a"), nullptr);
    EXPECT_EQ(node(&root["e"], "data"), nullptr) << "an event is no map";

    auto changed = root;
    EXPECT_EQ(node(&changed, "new"), nullptr);
    EXPECT_EQ(changed, root);
    *node(&changed, "new", true) = 1;
    *node(node(&changed, "s"), "x", true) = 2;
    EXPECT_EQ(node(&changed["a"], "3", true), nullptr);
    EXPECT_EQ(changed["new"], 1);
    EXPECT_EQ(changed["s"]["x"], 2);
    EXPECT_EQ(root, tree());
}

TEST(Paths, node_path_and_follow_hmi_path_walk)
{
    struct Case
    {
        char const* path;
        Value expected; // null where the path leads nowhere
        std::string name;
        bool event = false; // whether the walk goes through the event
    };
    for (auto const& [path, expected, name, event] : std::vector<Case>{
             {"a::0", 1, "0"},
             {"a[0]", 1, "0"},
             {"a[1]::b", 2, "b"},
             {"a::1::b", 2, "b"},
             {"a[2][1]", 5, "1"},
             {"a::2[1]", 5, "1"},
             {"s::x", 6, "x"},
             {"n[x]", 8, "n[x]"},
             {"e::y", 7, "y", true},
             {"a[1]::", {}, ""},
             {"a::::0", {}, ""},
             {"::a", {}, ""},
             {"a::", {}, ""},
             {"a:::0", {}, ""},
             {"[0]", {}, ""},
             {"missing", {}, "missing"},
             {"a[3]", {}, "3"},
             {"a[3]::b", {}, "3"},
             {"a[]", {}, "a[]"},
             {"a[0]b", {}, "a[0]b"},
             {"a[-1]", {}, "a[-1]"},
             {"a]", {}, "a]"},
             {"]", {}, "]"},
             {"a[0]]", {}, "a[0]]"},
             {"s[x]", {}, "s[x]"},
             {"s::x::z", {}, "z"},
             {"a[99999999999999999999]", {}, "99999999999999999999"},
             {"s:x", {}, "s:x"},
             {"a[0][0]", {}, "0"},
             {"[x]", {}, "[x]"},
             {":", {}, ":"},
         })
    {
        SCOPED_TRACE(path);
        auto const root = tree();
        auto changed = root;
        auto const reading = node_path(path, root);
        auto const changing = node_path(path, changed);
        auto const [found, copy] = follow_hmi_path(path, root);
        EXPECT_EQ(found, expected.isset());
        EXPECT_EQ(copy, expected);
        EXPECT_EQ(reading.node != nullptr, expected.isset() && !event);
        EXPECT_EQ(changing.node != nullptr, reading.node != nullptr);
        EXPECT_NE(reading.parent, nullptr);
        EXPECT_EQ(*reading.parent, *changing.parent);
        EXPECT_EQ(reading.name, event ? "y" : name);
        EXPECT_EQ(changing.name, reading.name);
        if (changing.node != nullptr)
        {
            EXPECT_EQ(*reading.node, expected);
            *changing.node = "changed";
            EXPECT_EQ(*node_path(path, std::as_const(changed)).node, "changed");
            EXPECT_EQ(root, tree());
        }
    }
}

TEST(Paths, the_empty_path_leads_to_the_root)
{
    auto root = tree();
    EXPECT_EQ(node_path("", std::as_const(root)).node, &root);
    EXPECT_EQ(node_path("", root).node, &root);
    EXPECT_EQ(node_path("", root).parent, nullptr);
    EXPECT_EQ(follow_hmi_path("", root), std::pair(true, tree()));
    auto const missing = node_path("s::missing", std::as_const(root));
    EXPECT_EQ(missing.node, nullptr);
    EXPECT_EQ(missing.parent, std::as_const(root).get_map().get("s"));
}

TEST(ErrorNames, come_in_groups_with_gaps_between)
{
    struct Group
    {
        unsigned first;
        std::string first_name;
        unsigned last;
        std::string last_name;
    };
    std::vector<Group> const groups{
        {0, "SUCCESS", 9, "IGNORE"},
        {256, "SERVER", 298, "PAGING"},
        {512, "INVALID_SUBSYMBOL", 515, "INVALID_METHOD"},
        {768, "API", 772, "CRT_INIT"},
        {1280, "STORAGE", 1295, "STORAGE_BACKUP"},
        {1536, "SCHEMA", 1555, "REGEX"},
        {2048, "EXTENSION", 2061, "REMOTE_TIMEOUT"},
        {4096, "SESSION", 4111, "CERTIFICATE_NOT_VALID"},
        {4608, "CHECKSUM", 4617, "INITIALIZE_PASSWORD"},
    };
    auto const name_of = [](unsigned number)
    { return std::string(get_error_string(static_cast<ErrorValue>(number)).name()); };
    unsigned next = 0;
    for (auto const& group : groups)
    {
        for (; next < group.first; ++next)
        {
            EXPECT_EQ(name_of(next), "ERROR") << next;
        }
        EXPECT_EQ(name_of(group.first), group.first_name);
        EXPECT_EQ(name_of(group.last), group.last_name);
        for (; next <= group.last; ++next)
        {
            EXPECT_NE(name_of(next), "ERROR") << next;
        }
    }
    EXPECT_EQ(name_of(4618), "ERROR");
    EXPECT_EQ(name_of(~0U), "ERROR");
    EXPECT_EQ(name_of(1537), "TYPE_MISMATCH");
    EXPECT_EQ(name_of(513), "SYMBOL_NOT_MAPPED");
    EXPECT_EQ(name_of(302), "ERROR");
}

} // namespace

} // namespace RavikSrv
