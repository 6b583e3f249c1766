#include "RavikSrvExt/Value.h"

#include "Support/api_types.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

namespace Ravik::Test
{
namespace
{

using namespace std::string_view_literals;

constexpr auto infinity = std::numeric_limits<double>::infinity();
constexpr auto least = std::numeric_limits<std::int64_t>::min();
constexpr auto most = std::numeric_limits<std::int64_t>::max();
constexpr auto int_least = std::numeric_limits<std::int32_t>::min();
constexpr auto behind_int = std::numeric_limits<std::int32_t>::max() + 1L;
constexpr auto inexact = (1L << 53) + 1; // the least number above 0 that no double is

/// The types that have conversions between them, in the order of the columns below.
constexpr std::array columns{ValueType::Bool,   ValueType::Int,      ValueType::Int64,   ValueType::Double,
                             ValueType::String, ValueType::DateTime, ValueType::TimeSpan};

Value const none;

struct Row
{
    Value from;
    /// What the value converts into, in the order of the columns.
    std::array<Value, columns.size()> expected;
};

/// Equal, and for doubles also in their sign.
bool same(Value const& left, Value const& right)
{
    auto const both_nan = std::isnan(left.get_double()) && std::isnan(right.get_double());
    return left == right && (both_nan || std::signbit(left.get_double()) == std::signbit(right.get_double()));
}

void check(std::vector<Row> const& rows)
{
    for (auto const& [from, expected] : rows)
    {
        auto const or_zero = [&expected = expected](std::size_t column)
        { return expected[column].isset() ? expected[column] : Value(columns[column]); };
        for (std::size_t column = 0; column < columns.size(); ++column)
        {
            auto converted = from;
            converted.convert(columns[column]);
            EXPECT_TRUE(same(converted, expected[column]))
                << testing::PrintToString(std::string(from.get_text())) << from.get_int64() << " to "
                << get_type_string(columns[column]);
        }
        EXPECT_EQ(Value(from.get_bool()), or_zero(0));
        EXPECT_EQ(static_cast<bool>(from), from.get_bool());
        EXPECT_EQ(Value(from.get_int32()), or_zero(1));
        EXPECT_EQ(static_cast<int>(from), from.get_int32());
        EXPECT_EQ(Value(from.get_int64()), or_zero(2));
        EXPECT_TRUE(same(from.get_double(), or_zero(3)));
        EXPECT_EQ(Value(from.get_timestamp()), or_zero(5));
        EXPECT_EQ(Value(from.get_timespan()), or_zero(6));
    }
}

TEST(ValueConversion, of_numbers_is_exact_or_null)
{
    check({
        {none, {}},
        {false, {false, 0, 0L, 0.0, "false", none, none}},
        {true, {true, 1, 1L, 1.0, "true", none, none}},
        {0, {false, 0, 0L, 0.0, "0", Timestamp{0}, Timespan{0}}},
        {behind_int - 1,
         {none, 2147483647, 2147483647L, 2147483647.0, "2147483647", Timestamp{behind_int - 1},
          Timespan{behind_int - 1}}},
        {behind_int, {none, none, behind_int, 0x1p31, "2147483648", Timestamp{behind_int}, Timespan{behind_int}}},
        {inexact, {none, none, inexact, none, "9007199254740993", Timestamp{inexact}, Timespan{inexact}}},
        {most, {none, none, most, none, "9223372036854775807", Timestamp{most}, Timespan{most}}},
        {least, {none, none, least, -0x1p63, "-9223372036854775808", Timestamp{least}, Timespan{least}}},
        {-0.0, {false, 0, 0L, -0.0, "-0", none, none}},
        {3.7, {none, none, none, 3.7, "3.7", none, none}},
        {0x1p63, {none, none, none, 0x1p63, "9223372036854775808", none, none}},
        {-0x1p63, {none, none, least, -0x1p63, "-9223372036854775808", none, none}},
        {std::nan(""), {none, none, none, std::nan(""), "nan", none, none}},
        {-infinity, {none, none, none, -infinity, "-inf", none, none}},
    });
}

TEST(ValueConversion, of_texts_takes_decimal_numbers_and_nothing_else)
{
    check({
        {"true", {true, none, none, none, "true", none, none}},
        {"1", {true, 1, 1L, 1.0, "1", none, none}},
        {"0", {false, 0, 0L, 0.0, "0", none, none}},
        {"-0", {none, 0, 0L, -0.0, "-0", none, none}},
        {"3.0", {none, 3, 3L, 3.0, "3.0", none, none}},
        {"-1e3", {none, -1000, -1000L, -1000.0, "-1e3", none, none}},
        {"1.50e+1", {none, 15, 15L, 15.0, "1.50e+1", none, none}},
        {"105e-2", {none, none, none, 1.05, "105e-2", none, none}},
        {"0e400", {none, 0, 0L, 0.0, "0e400", none, none}},
        {".5", {none, none, none, 0.5, ".5", none, none}},
        {"9007199254740993.0", {none, none, inexact, 0x1p53, "9007199254740993.0", none, none}},
        {"9223372036854775808", {none, none, none, 0x1p63, "9223372036854775808", none, none}},
        {"1e19", {none, none, none, 1e19, "1e19", none, none}},
    });
    for (auto const text :
         {""sv,     "abc"sv, " 3"sv,   "3 "sv,  "+3"sv,       "1e"sv,  "1e999"sv, "-1e999"sv, "1e99999999999"sv,
          "0x10"sv, "inf"sv, "-inf"sv, "nan"sv, "infinity"sv, "3,0"sv, "-"sv,     "."sv,      "1.2.3"sv,
          "TRUE"sv, "3a"sv,  "--3"sv,  "e5"sv,  "3\0"sv})
    {
        check({{Value(text), {none, none, none, none, Value(text), none, none}}});
    }
}

TEST(ValueConversion, of_times_and_their_texts)
{
    constexpr std::int64_t second = 1'000'000;
    constexpr auto year_0 = -62'167'219'200 * second;
    constexpr auto year_10000 = 253'402'300'800 * second;
    auto const int_of = [](std::int64_t micro)
    { return micro >= int_least && micro < behind_int ? Value(static_cast<int>(micro)) : none; };
    for (auto const& [time, text] : std::vector<std::pair<Timestamp, Value>>{
             {{0}, "1970-01-01T00:00:00Z"},
             {{-1}, "1969-12-31T23:59:59.999999Z"},
             {{1'709'164'800 * second + 10}, "2024-02-29T00:00:00.00001Z"},
             {{year_0}, "0000-01-01T00:00:00Z"},
             {{year_10000 - 1}, "9999-12-31T23:59:59.999999Z"},
             {{year_0 - 1}, none},
             {{year_10000}, none},
             {{least}, none},
         })
    {
        check({{time, {none, int_of(time.microseconds), time.microseconds, none, text, time, none}}});
        check({{text, {none, none, none, none, text, text.isset() ? Value(time) : none, none}}});
    }
    for (auto const& [span, text] : std::vector<std::pair<Timespan, Value>>{
             {{0}, "PT0S"},
             {{1'500'000}, "PT1.5S"},
             {{-1}, "-PT0.000001S"},
             {{most}, "PT9223372036854.775807S"},
             {{least}, "-PT9223372036854.775808S"},
         })
    {
        check({{span, {none, int_of(span.microseconds), span.microseconds, none, text, none, span}}});
        check({{text, {none, none, none, none, text, none, span}}});
    }
    std::istringstream no_times("2023-02-29T00:00:00Z 2024-13-01T00:00:00Z 2024-00-01T00:00:00Z 2024-01-01T24:00:00Z "
                                "2024-01-01T00:60:00Z 2024-01-01T00:00:60Z 2024-01-01T00:00:00 2024-01-01_00:00:00Z "
                                "2024-01-01T00:00:00.Z 2024-01-01T00:00:00.1234567Z 2024-01-01T00:00:00ZZ "
                                "-001-01-01T00:00:00Z 12024-01-01T00:00:00Z 2024-1-01T00:00:00Z "
                                "2024-01-01T00:00:00+00:00 PT PTS PT1 PT.5S PT1.S P1S PT-1S --PT1S "
                                "PT9223372036854.775808S PT9223372036855S PT99999999999999999999S");
    for (std::string text; no_times >> text;)
    {
        check({{text.c_str(), {none, none, none, none, text.c_str(), none, none}}});
    }
}

TEST(ValueConversion, of_containers_keeps_entries_among_the_types_with_names_only)
{
    std::vector<Value> values{true, 1, 2.5, "text", 5L, Timestamp{1}, Timespan{1}, Value() << 1, Value()};
    values.back().set_binary("ab");
    for (auto const type : {ValueType::Map, ValueType::Struct, ValueType::Event, ValueType::Message, ValueType::Alarm})
    {
        values.emplace_back(type).insert("a", 1);
    }
    auto const has_names = [](Value const& value) { return value["a"].isset(); };
    auto const converted = [](Value value, ValueType type)
    {
        value.convert(type);
        return value;
    };
    for (std::size_t from = 0; from < values.size(); ++from)
    {
        for (auto to = from < columns.size() ? columns.size() : 0; to < values.size(); ++to)
        {
            auto const kept = from == to || (has_names(values[from]) && has_names(values[to]));
            EXPECT_EQ(converted(values[from], values[to].type()), kept ? values[to] : none) << from << " to " << to;
        }
        EXPECT_EQ(converted(values[from], ValueType::Any), Value(ValueType::Any));
        EXPECT_EQ(converted(values[from], ValueType::Null), none);
        EXPECT_EQ(converted(values[from], static_cast<ValueType>(40)), none);
    }
}

} // namespace
} // namespace Ravik::Test
