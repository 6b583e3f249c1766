#include "RavikSrvExt/Value.h"

#include "Support/values.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Ravik::Test
{
namespace
{

using namespace std::string_view_literals;

// What must not compile, and what must.

/// In how many of the three ways that there are a thing can be put into a value.
template <typename T>
constexpr int insertions = (requires(Value value, T thing) { value.insert("a", thing); } ? 1 : 0) +
                           (requires(Value value, T thing) { value.insert_or_update("a", thing); } ? 1 : 0) +
                           (requires(Value value, T thing) { value.insert(value.end_vector(), thing); } ? 1 : 0);
template <typename... T> constexpr bool make_values = (std::is_convertible_v<T, Value> && ...);
template <typename... T> constexpr bool make_no_values = (!std::is_constructible_v<Value, T> && ...);
template <typename... T> constexpr bool insert_nothing = (insertions<T> + ...) == 0;
template <typename... T> constexpr bool insert_all = ((insertions<T> == 3) && ...);
template <typename... T> constexpr bool are_no_conversions = (!std::is_convertible_v<Value, T> && ...);

static_assert(make_values<bool, int, long, long long, double, float, char const*, Timestamp, Timespan>);
static_assert(make_no_values<int*, void*, Value*, unsigned, unsigned long, std::nullptr_t>);
static_assert(insert_all<bool, int, long, long long, double, char const*, Value, Timestamp>);
static_assert(insert_nothing<int*, void const*, Value const*, unsigned, std::nullptr_t, std::string>);
static_assert(are_no_conversions<bool, int, double, char const*>);
static_assert(std::is_constructible_v<bool, Value> && !std::is_constructible_v<long, Value>);
static_assert(std::is_nothrow_move_constructible_v<Value> && std::is_nothrow_swappable_v<Value> &&
              std::is_nothrow_copy_constructible_v<Value> && std::is_nothrow_move_assignable_v<Value>);

Value sample()
{
    Value value;
    value.insert("number", 1);
    value.insert("text", "before");
    value["list"].set_type(ValueType::Vector);
    value["list"] << 1 << "two" << Value(ValueType::Map);
    value["inner"]["deep"] = 3.5;
    return value;
}

TEST(Value, a_change_of_a_copy_leaves_the_original_and_the_reverse)
{
    std::vector<std::function<void(Value&)>> const changes{
        [](Value& value) { value["number"] = 2; },
        [](Value& value) { value["new"]; },
        [](Value& value) { value["inner"]["deep"] = 4; },
        [](Value& value) { value["list"][2]["x"] = 1; },
        [](Value& value) { value.insert("new", 1); },
        [](Value& value) { *value.insert("number", 9) = 10; },
        [](Value& value) { value.insert_or_update("text", "after"); },
        [](Value& value) { value.erase("number"); },
        [](Value& value) { *value.find("text") = 1; },
        [](Value& value) { *value.begin() = 11; },
        [](Value& value) { *value.get_map().get("inner")->get_map().get("deep") = 1; },
        [](Value& value) { value["list"] << 4; },
        [](Value& value) { value["list"].insert(value["list"].begin_vector(), 0); },
        [](Value& value) { *value["list"].begin_vector() = 7; },
        [](Value& value) { *--value["list"].end_vector() = 7; },
        [](Value& value) { *value["list"].find(1) = 7; },
        [](Value& value) { *value["list"].get_vector().get(1) = 7; },
        [](Value& value) { value["list"].erase(0); },
        [](Value& value) { value["text"].set("after"); },
        [](Value& value) { value.convert(ValueType::Struct); },
        [](Value& value) { value.set_type(ValueType::Map); },
    };
    for (std::size_t number = 0; number < changes.size(); ++number)
    {
        Value original = sample();
        Value copy = original;
        changes[number](copy);
        EXPECT_EQ(original, sample()) << number;
        EXPECT_NE(copy, sample()) << number;
        copy = original;
        changes[number](original);
        EXPECT_EQ(copy, sample()) << number;
    }
}

TEST(Value, reading_shares_and_only_the_changed_path_is_copied)
{
    Value const original = sample();
    Value copy = original;
    auto const& reading = copy;
    EXPECT_EQ(reading["text"].get_string(), original["text"].get_string());
    EXPECT_EQ(reading.get_map().get("inner"), original.get_map().get("inner"));
    copy["number"] = 2;
    EXPECT_NE(reading.get_map().get("inner"), original.get_map().get("inner"));
    EXPECT_EQ(reading["inner"].get_map().get("deep"), original["inner"].get_map().get("deep"));
    EXPECT_EQ(reading.begin().name(), original.begin().name()) << "the names stay shared";
}

TEST(Value, may_be_part_of_what_it_is_put_into)
{
    Value map = sample();
    Value const before = map;
    map.insert("self", map);
    map.insert_or_update("text", map);
    EXPECT_EQ(map["self"], before);
    EXPECT_EQ(map["text"]["self"], before);
    for (int count = 0; count < 100; ++count)
    {
        map.insert(std::to_string(count).c_str(), *map.begin());
        map.insert(map.begin().name() + count % 6, *map.find("self"));
    }
    EXPECT_EQ(map["umber"], before);
    EXPECT_EQ(map["99"], 1);
    map = map["self"]["inner"];
    map = std::move(map["deep"]);
    EXPECT_EQ(map, 3.5);

    Value list = before["list"];
    list << list;
    list.insert(list.begin_vector(), list);
    list.insert(list.end_vector(), list[1]);
    auto const end = list.end_vector();
    Value const copy = list;
    list.insert(end, 8);
    EXPECT_EQ(list.size(), copy.size() + 1);
    EXPECT_EQ(list[0][3], before["list"]);
    EXPECT_EQ(list[4], before["list"]);
    EXPECT_EQ(list[5], 1);

    Value text = "name";
    text[text.get_string()] = 1;
    EXPECT_STREQ(text.begin().name(), "name");
    text.set("abc");
    text.set(text.get_string() + 1);
    Value& itself = text;
    text = std::move(itself);
    EXPECT_EQ(text, "bc");
}

TEST(Value, is_empty_in_every_type_that_it_is_set_to)
{
    for (unsigned number = 0; number <= 300; ++number)
    {
        auto const type = static_cast<ValueType>(number);
        auto const is_type = number <= 11 || (number >= 64 && number <= 66) || number == 256;
        auto const is_scalar = (number >= 1 && number <= 3) || (number >= 9 && number <= 11);
        Value value = sample();
        value.set_type(type);
        EXPECT_EQ(value.type(), is_type ? type : ValueType::Null);
        EXPECT_EQ(get_type_string(type) == std::string("null"), !value.isset()) << number;
        EXPECT_EQ(value.size() + value.get_text().size() + value.get_binary().size(), 0U) << number;
        EXPECT_FALSE(value.get_bool() || value.get_double() != 0.0 || *value.get_string() != '\0') << number;
        EXPECT_TRUE(value.begin() == value.end() && value.begin_vector() == value.end_vector()) << number;
        EXPECT_EQ(value.empty(), !is_scalar) << number;
        EXPECT_EQ(value, Value(type));
    }
}

TEST(Value, nested_a_million_levels_deep_is_destroyed)
{
    auto deep = nested(1, 500'000, [](Value const& inner) { return Value() << map({{"inner", inner}}) << "beside"; });
    Value shared = deep;
    deep = Value();
    Value const copy = shared["more"]["still"]; // the list becomes a map, and the only copy goes
    EXPECT_FALSE(copy.isset());
}

TEST(Value, may_be_copied_on_several_threads_each_with_its_own_copy)
{
    Value const original = sample();
    auto const change = [copy = original]() mutable
    {
        for (int round = 0; round < 2'000; ++round)
        {
            Value mine = copy;
            mine["inner"]["deep"] = round;
            mine["list"] << round;
            mine.insert(std::to_string(round % 30).c_str(), copy);
            mine.erase("text");
            EXPECT_EQ(mine["inner"]["deep"], round);
        }
        EXPECT_EQ(std::exchange(copy, Value()), sample());
    };
    {
        std::array<std::jthread, 4> const threads{std::jthread(change), std::jthread(change), std::jthread(change),
                                                  std::jthread(change)};
    }
    EXPECT_EQ(original, sample());
}

/// Values that all differ, from the least to the greatest.
Value ascending()
{
    Value const no_items(ValueType::Vector);
    Value all;
    all << Value() << false << true << std::numeric_limits<int>::min() << -1 << 0 << 3;
    constexpr auto infinity = std::numeric_limits<double>::infinity();
    all << -infinity << -1.5 << 0.0 << 3.0 << infinity << std::nan("") << "";
    for (auto const bytes : {"\0"sv, "a"sv, "a\0"sv, "ab"sv, "\xC3\xA4"sv})
    {
        all << Value(bytes);
    }
    all << no_items << (Value() << "b") << (Value() << no_items) << (Value() << 1 << 2) << (Value() << 1 << 3);
    all << map({}) << map({{"a", 1}}) << map({{"a", 2}}) << map({{"b", 1}}) << map({{"b", 1}, {"a", 1}});
    all << map({{"a", 1}, {"b", 2}}) << map({{"c", 0}, {"a", 1}}) << map({{"a", 1}}, ValueType::Struct);
    all << binary("") << binary("a") << binary("b") << 3L << std::numeric_limits<long>::max();
    all << Timestamp{-1} << Timestamp{3} << Timespan{-1} << Timespan{3};
    return all << Value(ValueType::Event) << Value(ValueType::Any);
}

TEST(ValueComparison, orders_all_values_and_agrees_with_equality)
{
    auto const left = ascending();
    auto const right = ascending(); // equal content that shares nothing
    for (unsigned long first = 0; first < left.size(); ++first)
    {
        for (unsigned long second = 0; second < right.size(); ++second)
        {
            EXPECT_EQ(left[first] < right[second], first < second) << first << " and " << second;
            EXPECT_EQ(left[first] == right[second], first == second) << first << " and " << second;
        }
    }
}

TEST(ValueComparison, sees_content_and_not_how_it_came_about)
{
    Value emptied = Value() << 1;
    emptied.erase(0);
    Value emptied_map = map({{"a", 1}});
    emptied_map.erase("a");
    for (auto const& [left, right] : std::vector<std::pair<Value, Value>>{
             {emptied, Value(ValueType::Vector)},
             {emptied_map, Value(ValueType::Map)},
             {map({{"a", 1}, {"b", 2}}), map({{"b", 2}, {"a", 1}})},
             {0.0, -0.0},
             {std::nan("1"), -std::nan("2")},
             {Value() << map({{"a", "text"}}), Value() << map({{"a", "text"}})},
         })
    {
        EXPECT_TRUE(left == right && right == left && !(left < right) && !(right < left))
            << get_type_string(left.type());
    }
}

TEST(ValueComparison, takes_time_in_proportion_to_the_content)
{
    auto const deep = [] {
        return nested(1, 1'000, [](Value const& inner) { return Value() << map({{"a", inner}}); });
    };
    auto const left = deep();
    auto const right = deep();
    EXPECT_EQ(left, right);
    EXPECT_FALSE(left < right); // would not end if each level compared twice
}

TEST(ValueVector, answers_what_is_not_there)
{
    for (Value value : {Value() << 1 << 2, sample(), Value(), Value(7), Value("text"), Value(ValueType::Any)})
    {
        auto const before = value;
        for (long const index : {-1L, -3'000'000'000L, 2L, 4'294'967'296L})
        {
            EXPECT_FALSE(std::as_const(value)[index].isset() || value.erase(index));
            EXPECT_EQ(value.find(index), value.end_vector());
            EXPECT_EQ(value.get_vector().get(static_cast<unsigned long>(index)), nullptr);
            EXPECT_THROW(value[index] = 1, std::out_of_range);
        }
        if (value.isset() && value.type() != ValueType::Vector)
        {
            EXPECT_EQ(value.insert(value.end_vector(), 1), value.end_vector());
            value << 1;
        }
        EXPECT_EQ(value, before);
    }
}

} // namespace
} // namespace Ravik::Test
