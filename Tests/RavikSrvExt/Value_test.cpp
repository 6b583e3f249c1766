#include "RavikSrvExt/Value.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace RavikSrv
{

namespace
{

// What must not compile, and what must.

template <typename T>
concept Insertable = requires(Value value, VectorIterator<Value> position, T thing)
{
    value.insert("a", thing);
};
template <typename T>
concept Updatable = requires(Value value, T thing)
{
    value.insert_or_update("a", thing);
};
template <typename T>
concept VectorInsertable = requires(Value value, VectorIterator<Value> position, T thing)
{
    value.insert(position, thing);
};
template <typename T>
concept Indexable = requires(Value value, Value const reading, T index)
{
    value[index] = reading[index];
    value.find(index) == value.end_vector();
    value.erase(index);
};

template <typename... T> constexpr bool make_values = (std::is_convertible_v<T, Value> && ...);
template <typename... T> constexpr bool make_no_values = (!std::is_constructible_v<Value, T> && ...);
template <typename... T>
constexpr bool insert_nothing = (!Insertable<T> && ...) && (!Updatable<T> && ...) && (!VectorInsertable<T> && ...);
template <typename... T>
constexpr bool insert_all = (Insertable<T> && ...) && (Updatable<T> && ...) && (VectorInsertable<T> && ...);

static_assert(make_values<bool, int, long, long long, double, float, char const*, Timestamp, Timespan>);
static_assert(make_no_values<int*, void*, Value*, unsigned, unsigned long, std::nullptr_t>);
static_assert(insert_all<bool, int, long, long long, double, char const*, Value, Timestamp>);
static_assert(insert_nothing<int*, void const*, Value const*, unsigned, std::nullptr_t, std::string>);
static_assert(Indexable<int> && Indexable<unsigned> && Indexable<long> && Indexable<unsigned long>);
static_assert(!std::is_convertible_v<Value, bool> && !std::is_convertible_v<Value, int> &&
              !std::is_convertible_v<Value, double> && !std::is_convertible_v<Value, char const*>);
static_assert(std::is_constructible_v<bool, Value> && !std::is_constructible_v<long, Value>);
static_assert(std::is_nothrow_move_constructible_v<Value> && std::is_nothrow_swappable_v<Value> &&
              std::is_nothrow_copy_constructible_v<Value>);
static_assert(sizeof(Value) == 16);

Value sample()
{
    Value value;
    value.insert("number", 1);
    value.insert("text", "before");
    Value list;
    list << 1 << "two" << Value(ValueType::Map);
    value.insert("list", list);
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
        [](Value& value) { *++value.begin() = 1; },
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
        SCOPED_TRACE(number);
        Value original = sample();
        Value copy = original;
        changes[number](copy);
        EXPECT_EQ(original, sample());
        EXPECT_NE(copy, sample());
        copy = original;
        changes[number](original);
        EXPECT_EQ(copy, sample());
    }
}

TEST(Value, reading_shares_and_only_the_changed_path_is_copied)
{
    Value const original = sample();
    Value copy = original;
    EXPECT_EQ(std::as_const(copy)["text"].get_string(), original["text"].get_string());
    EXPECT_EQ(std::as_const(copy).get_map().get("inner"), original.get_map().get("inner"));
    copy["number"] = 2;
    EXPECT_NE(std::as_const(copy).get_map().get("inner"), original.get_map().get("inner"));
    EXPECT_EQ(std::as_const(copy)["inner"].get_map().get("deep"), original["inner"].get_map().get("deep"));
    EXPECT_EQ(std::as_const(copy).begin().name(), original.begin().name()) << "the names stay shared";
}

TEST(Value, may_be_part_of_what_it_is_put_into)
{
    Value map = sample();
    Value const before = map;
    map.insert("self", map);
    EXPECT_EQ(map["self"], before);
    map.insert("again", *map.find("number"));
    map.insert_or_update("text", map);
    EXPECT_EQ(map["again"], 1);
    EXPECT_EQ(map["text"]["self"], before);
    for (int count = 0; count < 100; ++count)
    {
        map.insert(std::to_string(count).c_str(), *map.begin());
        map.insert(map.begin().name() + count % 6, *map.find("self"));
    }
    EXPECT_EQ(map["umber"], before);
    EXPECT_EQ(map["99"], 1);

    Value list = before["list"];
    list << list;
    EXPECT_EQ(list[3], before["list"]);
    list.insert(list.begin_vector(), list);
    EXPECT_EQ(list[0].size(), 4U);
    list.insert(list.end_vector(), list[1]);
    EXPECT_EQ(list[5], 1);
    auto const end = list.end_vector();
    Value const copy = list;
    list.insert(end, 8);
    EXPECT_EQ(list.size(), copy.size() + 1);

    Value text = "name";
    text[text.get_string()] = 1;
    EXPECT_EQ(text.begin().name(), std::string("name"));
    map = map["self"]["inner"];
    EXPECT_EQ(map.size(), 1U);
    map = std::move(map["deep"]);
    EXPECT_EQ(map, 3.5);
    text.set("abc");
    text.set(text.get_string() + 1);
    EXPECT_EQ(text, "bc");
    Value& itself = text;
    text = std::move(itself);
    EXPECT_EQ(text, "bc");
}

TEST(Value, is_null_once_moved_from)
{
    for (Value const& from : {Value(1), Value("text"), sample()})
    {
        Value moved = from;
        Value const taken = std::move(moved);
        EXPECT_EQ(taken, from);
        EXPECT_FALSE(moved.isset()); // NOLINT: the contract says what is left
        moved = taken;
        EXPECT_EQ(moved, taken);
    }
}

TEST(Value, is_empty_in_every_type_that_it_is_set_to)
{
    for (unsigned number = 0; number <= 300; ++number)
    {
        SCOPED_TRACE(number);
        auto const type = static_cast<ValueType>(number);
        Value value = sample();
        value.set_type(type);
        auto const is_type = number <= 11 || (number >= 64 && number <= 66) || number == 256;
        EXPECT_EQ(value.type(), is_type ? type : ValueType::Null);
        EXPECT_EQ(value.isset(), value.type() != ValueType::Null);
        EXPECT_EQ(get_type_string(type) == std::string("null"), value.type() == ValueType::Null);
        EXPECT_EQ(value.size(), 0U);
        EXPECT_FALSE(value.get_bool());
        EXPECT_EQ(value.get_double(), 0.0);
        EXPECT_EQ(value.get_string(), std::string());
        EXPECT_EQ(value.get_text().size() + value.get_binary().size(), 0U);
        EXPECT_EQ(value.begin(), value.end());
        EXPECT_EQ(value.begin_vector(), value.end_vector());
        auto const is_scalar = number == 1 || number == 2 || number == 3 || (number >= 9 && number <= 11);
        EXPECT_EQ(value.empty(), !is_scalar);
        EXPECT_EQ(value, Value(type));
    }
}

TEST(Value, keeps_the_bytes_of_texts_and_binary_data)
{
    std::string_view const bytes("a\0b", 3);
    Value value{bytes};
    EXPECT_EQ(value.get_text(), bytes);
    EXPECT_EQ(value.get_string(), std::string("a"));
    EXPECT_EQ(value.get_text().data()[3], '\0');
    value.set_binary(bytes);
    EXPECT_EQ(value.type(), ValueType::Binary);
    EXPECT_EQ(value.get_binary(), bytes);
    EXPECT_TRUE(value.get_text().empty());
    value.set_binary(value.get_binary().substr(1));
    EXPECT_EQ(value.get_binary().size(), 2U);
}

TEST(Value, nested_a_million_levels_deep_is_destroyed)
{
    Value deep = 1;
    for (int level = 0; level < 500'000; ++level)
    {
        Value map;
        map.insert("inner", deep);
        deep.set_type(ValueType::Vector);
        deep << map << "beside";
    }
    Value shared = deep;
    deep = Value();
    Value const copy = shared["more"]["still"]; // the list becomes a map, and the only copy goes
    EXPECT_FALSE(copy.isset());
}

TEST(Value, may_be_copied_on_several_threads_each_with_its_own_copy)
{
    Value const original = sample();
    std::vector<std::thread> threads;
    std::vector<Value> results(4);
    for (std::size_t number = 0; number < results.size(); ++number)
    {
        threads.emplace_back(
            [copy = original, &result = results[number], number]() mutable
            {
                for (int round = 0; round < 2'000; ++round)
                {
                    Value mine = copy;
                    mine["number"] = static_cast<int>(number);
                    mine["inner"]["deep"] = round;
                    mine.insert(std::to_string(round % 30).c_str(), copy);
                    mine.erase("text");
                    result = mine;
                    result["list"] << round;
                }
                copy = Value();
            });
    }
    for (auto& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(original, sample());
    for (std::size_t number = 0; number < results.size(); ++number)
    {
        EXPECT_EQ(results[number]["number"], static_cast<int>(number));
        EXPECT_EQ(results[number]["inner"]["deep"], 1'999);
        EXPECT_EQ(results[number]["list"].size(), 4U);
    }
}

} // namespace

} // namespace RavikSrv
