#include "RavikSrvExt/MapBuilder.h"
#include "RavikSrvExt/Value.h"

#include "Support/api_types.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Ravik::Test
{
namespace
{

std::vector<std::string> names_of(Value const& map)
{
    std::vector<std::string> names;
    for (auto entry = map.begin(); entry != map.end(); ++entry)
    {
        names.emplace_back(entry.name());
    }
    return names;
}

using Names = std::vector<std::string>;

/// Random changes of a map beside a model of it: names in their order, and what they hold.
TEST(ValueMap, finds_every_name_and_no_other_while_it_grows_and_shrinks_over_the_index_limit)
{
    std::mt19937 random(7); // NOLINT: the same sequence in every run
    Value map;
    Names order;
    std::map<std::string, int> model;
    std::pair<Value, Names> snapshot;
    for (int step = 0; step < 6'000; ++step)
    {
        auto const name = "name " + std::to_string(random() % (step < 3'000 ? 200 : 24));
        auto const choice = step > 2'000 && step < 3'000 ? 0 : random() % 3;
        if (choice == 0)
        {
            EXPECT_EQ(map.erase(name.c_str()), model.erase(name) == 1);
            std::erase(order, name);
        }
        else
        {
            order.insert(order.end(), model.contains(name) ? 0 : 1, name);
            auto& expected = model.emplace(name, step).first->second;
            expected = choice == 1 ? step : expected;
            auto const entry = choice == 1 ? map.insert_or_update(name.c_str(), step) : map.insert(name.c_str(), step);
            EXPECT_TRUE(entry.name() == name && *entry == expected);
        }
        ASSERT_EQ(map.size(), model.size());
        if (step % 97 == 0)
        {
            map.reserve(random() % 300);
            ASSERT_EQ(names_of(map), order);
            for (auto const& [known, content] : model)
            {
                ASSERT_EQ(std::as_const(map)[known.c_str()], content);
            }
            ASSERT_FALSE(std::as_const(map)["name 2000"].isset());
            ASSERT_EQ(names_of(snapshot.first), snapshot.second);
            snapshot = {map, order};
        }
    }
}

TEST(ValueMap, operations_do_as_documented_on_other_types)
{
    for (Value const& other : {Value(1), Value("text"), Value(ValueType::Vector), Value(ValueType::Any), Value(false)})
    {
        Value value = other;
        value.reserve(5);
        EXPECT_TRUE(value.insert("a", 1) == value.end() && value.insert_or_update("a", 1) == value.end());
        EXPECT_TRUE(value.find("a") == value.end() && value.get_map().get("a") == nullptr && !value.erase("a"));
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
        EXPECT_EQ(names_of(value), (Names{"a", "b"}));
    }
    Value null;
    null.reserve(5);
    EXPECT_EQ(null, Value(ValueType::Vector));
    EXPECT_THROW(null.reserve(~0UL), std::length_error);
}

Names numbered(int first, int count)
{
    Names result;
    for (int number = first; number < first + count; ++number)
    {
        result.push_back("name " + std::to_string(number));
    }
    return result;
}

/// A map whose entries hold their names.
Value built(Value const& model, Names const& names, bool trying_each_again)
{
    MapBuilder builder(model);
    for (auto const& name : names)
    {
        EXPECT_TRUE(builder.insert(name, Value(std::string_view(name))));
        EXPECT_FALSE(trying_each_again && (builder.insert(name, 1) || builder.insert(names.front(), 1)));
    }
    return builder.finish();
}

void expect_map_of(Value const& map, Names const& names)
{
    EXPECT_EQ(map.type(), ValueType::Map);
    EXPECT_EQ(names_of(map), names);
    for (auto const& name : names)
    {
        EXPECT_EQ(map[name.c_str()].get_text(), name);
    }
    EXPECT_FALSE(map["name 5000"].isset());
}

TEST(MapBuilder, makes_the_same_map_with_every_model_and_shares_names_where_all_are_the_same)
{
    auto swapped = numbered(0, 20);
    std::swap(swapped[8], swapped[9]);
    std::vector<Names> const shapes{
        {""},   numbered(0, 1), numbered(0, 16), numbered(0, 17), numbered(0, 20), numbered(0, 40), numbered(3, 20),
        swapped};
    for (auto const& model_names : shapes)
    {
        auto const model = built(5, model_names, false);
        for (auto const& wanted : shapes)
        {
            expect_map_of(built(model, wanted, true), wanted);
            auto map = built(model, wanted, false);
            expect_map_of(map, wanted);
            *map.begin() = "changed";
            EXPECT_EQ(map.begin().key() == model.begin().key(), wanted == model_names);
            map.erase(wanted.front().c_str());
            map.insert("more", 1);
            expect_map_of(model, model_names);
        }
        expect_map_of(built(model, {}, false), {});
    }
    expect_map_of(built(Value(ValueType::Map), shapes[4], false), shapes[4]);
    expect_map_of(MapBuilder().finish(), {});
}

} // namespace
} // namespace Ravik::Test
