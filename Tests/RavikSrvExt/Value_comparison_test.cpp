#include "RavikSrvExt/Value.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace RavikSrv
{

namespace
{

Value map_of(std::initializer_list<std::pair<char const*, Value>> entries, ValueType type = ValueType::Map)
{
    Value map(type);
    for (auto const& [name, value] : entries)
    {
        map.insert(name, value);
    }
    return map;
}

Value list_of(std::initializer_list<Value> elements)
{
    Value list(ValueType::Vector);
    for (auto const& element : elements)
    {
        list << element;
    }
    return list;
}

Value binary(std::string_view bytes)
{
    Value value;
    value.set_binary(bytes);
    return value;
}

/// Values that all differ, from the least to the greatest.
std::vector<Value> ascending()
{
    constexpr auto infinity = std::numeric_limits<double>::infinity();
    return {
        Value(),
        false,
        true,
        std::numeric_limits<int>::min(),
        -1,
        0,
        3,
        -infinity,
        -1.5,
        0.0,
        3.0,
        infinity,
        std::nan(""),
        "",
        Value(std::string_view("\0", 1)),
        "a",
        Value(std::string_view("a\0", 2)),
        "ab",
        "b",
        "\xC3\xA4",
        list_of({}),
        list_of({"b"}),
        list_of({list_of({})}),
        list_of({1, 2}),
        list_of({1, 3}),
        map_of({}),
        map_of({{"a", 1}}),
        map_of({{"a", 2}}),
        map_of({{"b", 1}}),
        map_of({{"b", 1}, {"a", 1}}),
        map_of({{"a", 1}, {"b", 2}}),
        map_of({{"c", 0}, {"a", 1}}),
        map_of({{"a", 1}}, ValueType::Struct),
        Value(ValueType::Binary),
        binary("a"),
        binary("b"),
        3L,
        std::numeric_limits<long>::max(),
        Timestamp{-1},
        Timestamp{3},
        Timespan{-1},
        Timespan{3},
        Value(ValueType::Event),
        Value(ValueType::Any),
    };
}

TEST(ValueComparison, orders_all_values_and_agrees_with_equality)
{
    auto const left = ascending();
    auto const right = ascending(); // equal content that shares nothing
    for (std::size_t first = 0; first < left.size(); ++first)
    {
        for (std::size_t second = 0; second < right.size(); ++second)
        {
            SCOPED_TRACE(std::to_string(first) + " and " + std::to_string(second));
            EXPECT_EQ(left[first] < right[second], first < second);
            EXPECT_EQ(left[first] == right[second], first == second);
            EXPECT_EQ(left[first] != right[second], first != second);
        }
    }
}

TEST(ValueComparison, sees_content_and_not_how_it_came_about)
{
    Value emptied = list_of({1});
    emptied.erase(0);
    Value emptied_map = map_of({{"a", 1}});
    emptied_map.erase("a");
    std::vector<std::pair<Value, Value>> const equals{
        {emptied, Value(ValueType::Vector)},
        {emptied_map, Value(ValueType::Map)},
        {map_of({{"a", 1}, {"b", 2}}), map_of({{"b", 2}, {"a", 1}})},
        {0.0, -0.0},
        {std::nan("1"), -std::nan("2")},
        {Value(""), Value(ValueType::String)},
        {list_of({map_of({{"a", "text"}})}), list_of({map_of({{"a", "text"}})})},
    };
    for (auto const& [left, right] : equals)
    {
        EXPECT_EQ(left, right);
        EXPECT_EQ(right, left);
        EXPECT_FALSE(left < right || right < left);
    }
}

TEST(ValueComparison, takes_time_in_proportion_to_the_content)
{
    Value left = 1;
    Value right = 1;
    for (int level = 0; level < 2'000; ++level)
    {
        left = level % 2 == 0 ? list_of({left}) : map_of({{"a", left}});
        right = level % 2 == 0 ? list_of({right}) : map_of({{"a", right}});
    }
    EXPECT_EQ(left, right);
    EXPECT_FALSE(left < right); // would not end if each level compared twice
}

} // namespace

} // namespace RavikSrv
