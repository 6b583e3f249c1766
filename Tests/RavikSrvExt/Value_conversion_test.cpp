#include "RavikSrvExt/Value.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace RavikSrv
{

namespace
{

constexpr auto infinity = std::numeric_limits<double>::infinity();
constexpr auto least = std::numeric_limits<std::int64_t>::min();
constexpr auto most = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t exact_limit = 9'007'199'254'740'992; // 2^53

/// The types that have conversions between them, in the order of the columns below.
constexpr std::array columns{ValueType::Bool,   ValueType::Int,      ValueType::Int64,   ValueType::Double,
                             ValueType::String, ValueType::DateTime, ValueType::TimeSpan};

/// Equal, and for doubles also in their sign.
bool same(Value const& left, Value const& right)
{
    return left == right &&
           (left.type() != ValueType::Double || std::signbit(left.get_double()) == std::signbit(right.get_double()) ||
            std::isnan(left.get_double()));
}

struct Row
{
    Value from;
    /// What the value converts into, in the order of the columns.
    std::array<Value, columns.size()> expected;
};

Value const none;

void check(std::vector<Row> const& rows)
{
    for (std::size_t row = 0; row < rows.size(); ++row)
    {
        for (std::size_t column = 0; column < columns.size(); ++column)
        {
            SCOPED_TRACE("row " + std::to_string(row) + " to " + get_type_string(columns[column]));
            auto const& expected = rows[row].expected[column];
            auto converted = rows[row].from;
            converted.convert(columns[column]);
            EXPECT_EQ(converted.type(), expected.type()) << converted.get_text() << converted.get_int64();
            EXPECT_TRUE(same(converted, expected)) << converted.get_text() << converted.get_int64();
        }
        auto const& from = rows[row].from;
        auto const& expected = rows[row].expected;
        EXPECT_EQ(from.get_bool(), expected[0].isset() && expected[0].get_bool());
        EXPECT_EQ(static_cast<bool>(from), from.get_bool());
        EXPECT_EQ(Value(from.get_int32()), expected[1].isset() ? expected[1] : Value(0));
        EXPECT_EQ(static_cast<int>(from), from.get_int32());
        EXPECT_EQ(Value(from.get_int64()), expected[2].isset() ? expected[2] : Value(0L));
        EXPECT_TRUE(same(from.get_double(), expected[3].isset() ? expected[3] : Value(0.0)));
        EXPECT_EQ(Value(from.get_timestamp()), expected[5].isset() ? expected[5] : Value(Timestamp{}));
        EXPECT_EQ(Value(from.get_timespan()), expected[6].isset() ? expected[6] : Value(Timespan{}));
    }
}

TEST(ValueConversion, of_numbers_is_exact_or_null)
{
    constexpr auto int_max = std::numeric_limits<int>::max();
    check({
        {none, {}},
        {false, {false, 0, 0L, 0.0, "false", none, none}},
        {true, {true, 1, 1L, 1.0, "true", none, none}},
        {0, {false, 0, 0L, 0.0, "0", Timestamp{0}, Timespan{0}}},
        {1, {true, 1, 1L, 1.0, "1", Timestamp{1}, Timespan{1}}},
        {-7, {none, -7, -7L, -7.0, "-7", Timestamp{-7}, Timespan{-7}}},
        {int_max + 1L,
         {none, none, int_max + 1L, 2147483648.0, "2147483648", Timestamp{int_max + 1L}, Timespan{int_max + 1L}}},
        {exact_limit + 1,
         {none, none, exact_limit + 1, none, "9007199254740993", Timestamp{exact_limit + 1},
          Timespan{exact_limit + 1}}},
        {most, {none, none, most, none, "9223372036854775807", Timestamp{most}, Timespan{most}}},
        {least, {none, none, least, -9223372036854775808.0, "-9223372036854775808", Timestamp{least}, Timespan{least}}},
        {0.0, {false, 0, 0L, 0.0, "0", none, none}},
        {-0.0, {false, 0, 0L, -0.0, "-0", none, none}},
        {3.7, {none, none, none, 3.7, "3.7", none, none}},
        {-2147483648.0, {none, -int_max - 1, -int_max - 1L, -2147483648.0, "-2147483648", none, none}},
        {2147483648.0, {none, none, int_max + 1L, 2147483648.0, "2147483648", none, none}},
        {9223372036854775808.0, {none, none, none, 9223372036854775808.0, "9223372036854775808", none, none}},
        {-9223372036854775808.0, {none, none, least, -9223372036854775808.0, "-9223372036854775808", none, none}},
        {0.1, {none, none, none, 0.1, "0.1", none, none}},
        {1e300, {none, none, none, 1e300, "1e+300", none, none}},
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
        {"007", {none, 7, 7L, 7.0, "007", none, none}},
        {"3.0", {none, 3, 3L, 3.0, "3.0", none, none}},
        {"3.7", {none, none, none, 3.7, "3.7", none, none}},
        {"-1e3", {none, -1000, -1000L, -1000.0, "-1e3", none, none}},
        {"1.50e+1", {none, 15, 15L, 15.0, "1.50e+1", none, none}},
        {"100e-2", {none, 1, 1L, 1.0, "100e-2", none, none}},
        {"105e-2", {none, none, none, 1.05, "105e-2", none, none}},
        {"0e400", {none, 0, 0L, 0.0, "0e400", none, none}},
        {".5", {none, none, none, 0.5, ".5", none, none}},
        {"0.99999999999999999999", {none, none, none, 1.0, "0.99999999999999999999", none, none}},
        {"9007199254740993.0", {none, none, exact_limit + 1, 9007199254740992.0, "9007199254740993.0", none, none}},
        {"9223372036854775807", {none, none, most, 9223372036854775808.0, "9223372036854775807", none, none}},
        {"9223372036854775808", {none, none, none, 9223372036854775808.0, "9223372036854775808", none, none}},
        {"1e19", {none, none, none, 1e19, "1e19", none, none}},
    });
    for (auto const* const text :
         {"",    "abc",      " 3",  "3 ", "+3", "1e",    "1e999", "-1e999", "1e99999999999", "0x10", "inf", "-inf",
          "nan", "infinity", "3,0", "-",  ".",  "1.2.3", "TRUE",  "3a",     "--3",           "e5"})
    {
        check({{text, {none, none, none, none, text, none, none}}});
    }
    check(
        {{Value(std::string_view("3\0", 2)), {none, none, none, none, Value(std::string_view("3\0", 2)), none, none}}});
}

TEST(ValueConversion, of_times_and_their_texts)
{
    constexpr std::int64_t second = 1'000'000;
    std::vector<std::pair<Timestamp, char const*>> const times{
        {{0}, "1970-01-01T00:00:00Z"},
        {{-1}, "1969-12-31T23:59:59.999999Z"},
        {{500'000}, "1970-01-01T00:00:00.5Z"},
        {{1'709'164'800 * second + 10}, "2024-02-29T00:00:00.00001Z"},
        {{-62'135'596'800 * second}, "0001-01-01T00:00:00Z"},
        {{-62'167'219'200 * second}, "0000-01-01T00:00:00Z"},
        {{253'402'300'799 * second + 999'999}, "9999-12-31T23:59:59.999999Z"},
    };
    for (auto const& [time, text] : times)
    {
        auto const micro = time.microseconds;
        auto const small = micro == 0 || micro == -1 || micro == 500'000 ? Value(static_cast<int>(micro)) : none;
        check(
            {{time, {none, small, micro, none, text, time, none}}, {text, {none, none, none, none, text, time, none}}});
    }
    for (auto const micro : {least, most, -62'167'219'200 * second - 1, 253'402'300'800 * second})
    {
        check({{Timestamp{micro}, {none, none, micro, none, none, Timestamp{micro}, none}}});
    }
    std::vector<std::pair<Timespan, char const*>> const spans{
        {{0}, "PT0S"},
        {{1'500'000}, "PT1.5S"},
        {{-90 * second}, "-PT90S"},
        {{-1}, "-PT0.000001S"},
        {{most}, "PT9223372036854.775807S"},
        {{least}, "-PT9223372036854.775808S"},
    };
    for (auto const& [span, text] : spans)
    {
        auto const micro = span.microseconds;
        auto const small = micro == most || micro == least ? none : Value(static_cast<int>(micro));
        check(
            {{span, {none, small, micro, none, text, none, span}}, {text, {none, none, none, none, text, none, span}}});
    }
    for (auto const* const text : {"2023-02-29T00:00:00Z",
                                   "2024-13-01T00:00:00Z",
                                   "2024-00-01T00:00:00Z",
                                   "2024-01-01T24:00:00Z",
                                   "2024-01-01T00:60:00Z",
                                   "2024-01-01T00:00:60Z",
                                   "2024-01-01T00:00:00",
                                   "2024-01-01 00:00:00Z",
                                   "2024-01-01T00:00:00.Z",
                                   "2024-01-01T00:00:00.1234567Z",
                                   "2024-01-01T00:00:00ZZ",
                                   "-001-01-01T00:00:00Z",
                                   "12024-01-01T00:00:00Z",
                                   "2024-1-01T00:00:00Z",
                                   "2024-01-01T00:00:00+00:00",
                                   "PT",
                                   "PTS",
                                   "PT1",
                                   "PT.5S",
                                   "PT1.S",
                                   "P1S",
                                   "PT-1S",
                                   "--PT1S",
                                   "PT9223372036854.775808S",
                                   "PT9223372036855S",
                                   "PT99999999999999999999S"})
    {
        check({{text, {none, none, none, none, text, none, none}}});
    }
}

TEST(ValueConversion, of_containers_keeps_entries_among_the_types_with_names_only)
{
    std::array const named{ValueType::Map, ValueType::Struct, ValueType::Event, ValueType::Message, ValueType::Alarm};
    std::vector<Value> others{none, true, 1, 2.5, "text", 5L, Timestamp{1}, Timespan{1}, Value(ValueType::Any)};
    others.emplace_back() << 1;
    others.emplace_back().set_binary("ab");
    for (auto const from : named)
    {
        Value value(from);
        value.insert("a", 1);
        for (auto const to : named)
        {
            auto converted = value;
            converted.convert(to);
            EXPECT_EQ(converted.type(), to);
            EXPECT_EQ(converted["a"], 1);
        }
        others.push_back(value);
    }
    for (auto const& from : others)
    {
        for (auto const to : {ValueType::Null, ValueType::Any, ValueType::Vector, ValueType::Binary, ValueType::Map,
                              ValueType::Alarm, static_cast<ValueType>(40), ValueType::Bool, ValueType::String})
        {
            SCOPED_TRACE(std::string(get_type_string(from.type())) + " to " + get_type_string(to));
            auto const among = [&named](ValueType type)
            { return std::find(named.begin(), named.end(), type) != named.end(); };
            auto const is_container = from.type() == ValueType::Vector || from.type() == ValueType::Binary ||
                                      from.type() == ValueType::Any || among(from.type());
            if (from.type() == to || (among(from.type()) && among(to)) ||
                (!is_container && (to == ValueType::Bool || to == ValueType::String)))
            {
                continue;
            }
            auto converted = from;
            converted.convert(to);
            EXPECT_EQ(converted, to == ValueType::Any ? Value(to) : none);
        }
    }
}

} // namespace

} // namespace RavikSrv
