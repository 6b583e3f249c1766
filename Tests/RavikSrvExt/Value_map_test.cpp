#include "RavikSrvExt/Value.h"

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace RavikSrv
{

namespace
{

std::string names_of(Value const& map)
{
    std::string names;
    for (auto entry = map.begin(); entry != map.end(); ++entry)
    {
        names.append(entry.name()).append(" ");
    }
    return names;
}

TEST(ValueMap, insert_keeps_what_stands_there_and_insert_or_update_its_place)
{
    Value map;
    EXPECT_EQ(*map.insert("b", 1), 1);
    EXPECT_EQ(*map.insert("a", true), true);
    EXPECT_EQ(*map.insert("c", 2.5), 2.5);
    EXPECT_EQ(*map.insert("b", "other"), 1);
    EXPECT_EQ(*map.insert_or_update("a", "text"), "text");
    EXPECT_EQ(*map.insert_or_update("d", 0), 0);
    EXPECT_EQ(map.insert_or_update("c", Value()).name(), std::string("c"));
    EXPECT_EQ(names_of(map), "b a c d ");
    EXPECT_EQ(map["b"], 1);
    EXPECT_FALSE(map["c"].isset());
    EXPECT_TRUE(map.find("c") != map.end());

    EXPECT_TRUE(map.erase("a"));
    EXPECT_FALSE(map.erase("a"));
    map.insert("a", 5L);
    EXPECT_EQ(names_of(map), "b c d a ");
    EXPECT_EQ(map["a"].type(), ValueType::Int64);
}

TEST(ValueMap, operations_do_as_documented_on_other_types)
{
    for (Value const& other : {Value(1), Value("text"), Value(ValueType::Vector), Value(ValueType::Any), Value(false)})
    {
        Value value = other;
        EXPECT_EQ(value.insert("a", 1), value.end());
        EXPECT_EQ(value.insert_or_update("a", 1), value.end());
        EXPECT_EQ(value.find("a"), value.end());
        EXPECT_EQ(value.get_map().get("a"), nullptr);
        EXPECT_FALSE(value.erase("a"));
        EXPECT_FALSE(std::as_const(value)["a"].isset());
        EXPECT_EQ(value, other);
        value["a"]["b"] = 1;
        EXPECT_EQ(value.type(), ValueType::Map);
        EXPECT_EQ(value["a"]["b"], 1);
    }
    for (auto const type :
         {ValueType::Map, ValueType::Struct, ValueType::Event, ValueType::Message, ValueType::Alarm, ValueType::Null})
    {
        Value value(type);
        value.insert("a", 1);
        value["b"] = 2;
        EXPECT_EQ(value.type(), type == ValueType::Null ? ValueType::Map : type);
        EXPECT_EQ(names_of(value), "a b ");
    }
}

/// A map with random changes beside a model of it: names in their order, and what they hold.
TEST(ValueMap, finds_every_name_and_no_other_while_it_grows_and_shrinks_over_the_index_limit)
{
    std::mt19937 random(7); // NOLINT: the same sequence in every run
    Value map;
    std::vector<std::string> order;
    std::map<std::string, int> model;
    Value snapshot;
    std::string snapshot_names;
    for (int step = 0; step < 6'000; ++step)
    {
        auto const name = "name " + std::to_string(random() % (step < 3'000 ? 200 : 24));
        auto const shrinking = step > 2'000 && step < 3'000;
        if (shrinking || random() % 3 == 0)
        {
            EXPECT_EQ(map.erase(name.c_str()), model.erase(name) == 1);
            std::erase(order, name);
        }
        else
        {
            order.insert(order.end(), model.count(name) == 0 ? 1 : 0, name);
            map.insert_or_update(name.c_str(), step);
            model[name] = step;
        }
        ASSERT_EQ(map.size(), model.size());
        if (step % 97 == 0)
        {
            std::string expected;
            for (auto const& known : order)
            {
                expected.append(known).append(" ");
                ASSERT_EQ(std::as_const(map)[known.c_str()], model[known]);
            }
            ASSERT_EQ(names_of(map), expected);
            ASSERT_FALSE(std::as_const(map)["name 2000"].isset());
            ASSERT_EQ(names_of(snapshot), snapshot_names);
            snapshot = map;
            snapshot_names = expected;
        }
    }
}

TEST(ValueMap, reserving_changes_nothing_but_the_room)
{
    for (unsigned long const count : std::array{0UL, 3UL, 17UL, 1'000UL})
    {
        Value map(ValueType::Struct);
        map.reserve(count);
        for (int number = 0; number < 100; ++number)
        {
            map.insert(std::to_string(number).c_str(), number);
            map.reserve(number == 50 ? count : 0);
        }
        EXPECT_EQ(map.size(), 100U);
        EXPECT_EQ(map["99"], 99);
        EXPECT_EQ(map["0"], 0);
    }
    Value null;
    null.reserve(5);
    EXPECT_EQ(null, Value(ValueType::Vector));
    Value number = 1;
    number.reserve(5);
    EXPECT_EQ(number, 1);
    EXPECT_THROW(null.reserve(~0UL), std::length_error);
}

} // namespace

} // namespace RavikSrv
