#include "Json/Json.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace Ravik::Json
{

namespace
{

using RavikSrv::Timespan;
using RavikSrv::Timestamp;
using RavikSrv::Value;
using RavikSrv::ValueType;

Value binary(std::string_view bytes)
{
    Value value;
    value.set_binary(bytes);
    return value;
}

Value nested(std::size_t depth)
{
    Value value = 1;
    for (std::size_t level = 0; level < depth; ++level)
    {
        Value outer(level % 2 == 0 ? ValueType::Vector : ValueType::Map);
        if (level % 2 == 0)
        {
            outer << value;
        }
        else
        {
            outer["a"] = value;
        }
        value = outer;
    }
    return value;
}

TEST(JsonWrite, WritesEachKindOfValue)
{
    struct Case
    {
        Value value;
        char const* text;
    };
    std::vector<Case> const cases = {
        {Value(), "null"},
        {Value(ValueType::Any), "null"},
        {true, "true"},
        {-3, "-3"},
        {std::numeric_limits<long>::min(), "-9223372036854775808"},
        {3.0, "3.0"},
        {-0.0, "-0.0"},
        {0.1, "0.1"},
        {1e300, "1e+300"},
        {std::numeric_limits<double>::quiet_NaN(), "null"},
        {-std::numeric_limits<double>::infinity(), "null"},
        {Value("a\"\\\b\f\n\r\t\x01\x1F\x7F/é😀"), "\"a\\\"\\\\\\b\\f\\n\\r\\t\\u0001\\u001f\x7F/é😀\""},
        {Value(std::string_view("a\0b\xFFz\xE2\x82", 7)), "\"a\xEF\xBF\xBD"
                                                          "b\xEF\xBF\xBDz\xEF\xBF\xBD\xEF\xBF\xBD\""},
        {Timestamp{1714564800000001}, "\"2024-05-01T12:00:00.000001Z\""},
        {Timespan{1500000}, "\"PT1.5S\""},
        {binary(""), "\"\""},
        {binary("f"), "\"Zg==\""},
        {binary("fo"), "\"Zm8=\""},
        {binary("foo"), "\"Zm9v\""},
        {binary(std::string_view("\0\xFF\x10\x80", 4)), "\"AP8QgA==\""},
        {Value(ValueType::Vector), "[]"},
        {Value(ValueType::Event), "{}"},
    };
    for (auto const& [value, text] : cases)
    {
        EXPECT_EQ(write(value), text);
    }
    for (auto const type : {ValueType::Struct, ValueType::Event, ValueType::Message, ValueType::Alarm})
    {
        auto record = parse(R"({"b":[1,{}],"a":null})");
        record.convert(type);
        EXPECT_EQ(write(record), R"({"b":[1,{}],"a":null})");
    }
}

TEST(JsonWrite, LaysOut)
{
    auto const value = parse(R"({"a":[1,"x",null],"b":[],"c":{},"d":[[1],{"e":2.0}],"f":[1,2,3,4,5,6,7,8,9]})");
    EXPECT_EQ(write(value, Layout::Indented), R"({
  "a": [1, "x", null],
  "b": [],
  "c": {},
  "d": [
    [1],
    {
      "e": 2.0
    }
  ],
  "f": [
    1,
    2,
    3,
    4,
    5,
    6,
    7,
    8,
    9
  ]
})");
    EXPECT_EQ(parse(write(value, Layout::Indented)), value);
    EXPECT_EQ(parse(write(value, Layout::Compact)), value);
}

TEST(JsonWrite, TellsWhatCannotBeReadAgain)
{
    EXPECT_EQ(obstacle(parse(R"({"ä":["😀",1.5,{"":null}]})")), "");
    EXPECT_EQ(obstacle(nested(max_nesting)), "");
    EXPECT_EQ(parse(write(nested(max_nesting))), nested(max_nesting));

    EXPECT_NE(obstacle(nested(max_nesting + 1)), "");
    EXPECT_THROW(parse(write(nested(max_nesting + 1))), ParseError);
    EXPECT_EQ(write(nested(1'000'000)).size(), 500'000 * 2 + 500'000 * 6 + 1);

    Value names;
    names["\xFF"] = 1;
    Value inside;
    inside << Value("fine") << names;
    EXPECT_NE(obstacle(inside), "");
    EXPECT_NE(obstacle(Value("\xC3")), "");
    EXPECT_NE(obstacle(Value(std::string_view("a\0b", 3))), "");
    EXPECT_EQ(obstacle(binary("\xFF")), "");
}

} // namespace

} // namespace Ravik::Json
