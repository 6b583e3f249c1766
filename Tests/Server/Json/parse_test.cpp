#include "Json/Json.h"
#include "Json/Reader.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace Ravik::Json
{

namespace
{

using namespace std::string_literals;
using RavikSrv::Value;
using RavikSrv::ValueType;

std::string nested(std::size_t depth, std::string const& open = "[", std::string const& close = "]")
{
    std::string text;
    for (std::size_t level = 0; level < depth; ++level)
    {
        text += open;
    }
    for (std::size_t level = 0; level < depth; ++level)
    {
        text += close;
    }
    return text;
}

TEST(JsonParse, ReadsEachScalarAsItsType)
{
    struct Case
    {
        char const* text;
        Value expected;
    };
    std::vector<Case> const cases = {
        {"null", Value()},
        {" true\r\n", true},
        {"false", false},
        {"0", 0},
        {"-0", 0},
        {"3", 3},
        {"2147483647", 2147483647},
        {"-2147483648", std::numeric_limits<int>::min()},
        {"2147483648", 2147483648L},
        {"9223372036854775807", std::numeric_limits<long>::max()},
        {"-9223372036854775808", std::numeric_limits<long>::min()},
        {"3.0", 3.0},
        {"1e2", 100.0},
        {"1E+2", 100.0},
        {"0.1", 0.1},
        {"2.2250738585072011e-308", 2.2250738585072011e-308},
        {"5e-324", 5e-324},
        {"1e-400", 0.0},
        {"123456789012345678901234567890.0", 123456789012345678901234567890.0},
        {R"("")", Value("")},
        {R"("a\"\\\/\b\f\n\r\t\u00e9\ud83d\ude00ü")", Value("a\"\\/\b\f\n\r\té😀ü")},
        {"[]", Value(ValueType::Vector)},
        {"{}", Value(ValueType::Map)},
    };
    for (auto const& [text, expected] : cases)
    {
        EXPECT_EQ(parse(text), expected) << text;
    }
    EXPECT_TRUE(std::signbit(parse("-0.0").get_double()));
    EXPECT_TRUE(std::signbit(parse("-1e-400").get_double()));
}

TEST(JsonParse, KeepsOrderNestingAndLongTexts)
{
    auto const value = parse(R"({"b": [1, [], {"x": null}, "t"], "a\n": {"b": 2.5}, "": [[["deep"]]]})");
    std::vector<std::string> names;
    for (auto entry = value.begin(); entry != value.end(); ++entry)
    {
        names.emplace_back(entry.name());
    }
    EXPECT_EQ(names, (std::vector<std::string>{"b", "a\n", ""}));
    EXPECT_EQ(value["b"].size(), 4U);
    EXPECT_EQ(value["b"][2].size(), 1U);
    EXPECT_EQ(value["b"][3], Value("t"));
    EXPECT_EQ(value["a\n"]["b"], Value(2.5));
    EXPECT_EQ(value[""][0][0][0], Value("deep"));

    // Longer than any buffer of the parser, with escapes at every place that a piece may end at.
    std::string text;
    std::string expected;
    for (int piece = 0; piece < 5000; ++piece)
    {
        text += "abc\\n\\u00e9";
        expected += "abc\né";
    }
    auto const long_texts = parse("{\"" + text + "\":\"" + text + "\"}");
    EXPECT_EQ(long_texts.begin().name(), expected);
    EXPECT_EQ(long_texts.begin()->get_text(), expected);
    EXPECT_EQ(parse(nested(128)).size(), 1U);
}

TEST(JsonParse, TellsWhatIsWrongAndWhere)
{
    struct Case
    {
        std::string text;
        Location location;
        std::string_view message;
    };
    std::vector<Case> const cases = {
        {"", {1, 1}, "empty"},
        {" \n ", {2, 2}, "empty"},
        {"[1,\n 2", {2, 3}, "ends before"},
        {"\"abc", {1, 5}, "ends before"},
        {"nul", {1, 4}, "ends before"},
        {"[1, 2] x", {1, 8}, "more text follows"},
        {"1\n2", {2, 1}, "more text follows"},
        {"{\"a\": 1,\n \"ä\": tru}", {2, 7}, "unexpected \"tru\""},
        {"{\"ä\": 1, \"b\" 2}", {1, 14}, "unexpected \"2\" (a comma or colon"},
        {"[1, 2, ]", {1, 8}, "behind a comma"},
        {"{\"a\": 1, }", {1, 10}, "behind a comma"},
        {R"({"a": 1 "b": 2})", {1, 9}, "comma or colon is missing"},
        {"{a: 1}", {1, 2}, "double quotes"},
        {"['a']", {1, 2}, "double quotes"},
        {"[1] // one", {1, 5}, "more text follows"},
        {"[ // one\n1]", {1, 3}, "no comments"},
        {"[é]", {1, 2}, "unexpected \"é\""},
        {"[\"a\nb\"]", {1, 4}, "U+000A"},
        {"[\"a\xFF\"]", {1, 4}, "UTF-8"},
        {"[\"\xC0\x80\"]", {1, 3}, "UTF-8"},
        {"[\"\xED\xA0\x80\"]", {1, 3}, "UTF-8"},
        {R"(["\q"])", {1, 4}, "unexpected \"q\""},
        {R"(["\u12g4"      ])", {1, 3}, "hexadecimal"},
        {R"(["\udc00abcdefghi"])", {1, 3}, "surrogate"},
        {R"(["\ud800\u0041bcdefghi"])", {1, 9}, "surrogate"},
        {R"(["\ud83d"])", {1, 3}, "surrogate"},
        {"01", {1, 2}, "more text follows"},
        {"[1.]", {1, 4}, "unexpected \"]\""},
        {"[+1]", {1, 2}, "unexpected \"+\""},
        {"[NaN]", {1, 2}, "unexpected \"NaN\" (a text stands in double quotes"},
        {"\xEF\xBB\xBF{}", {1, 1}, "byte order mark"},
        {"[0,\n 1e400]", {2, 2}, "too large for a double"},
        {"[-1.8e308]", {1, 2}, "too large for a double"},
        {"[1e99999999999]", {1, 2}, "exponent"},
        {"[9223372036854775808]", {1, 2}, "64 bits"},
        {"-9223372036854775809", {1, 1}, "64 bits"},
        {"123456789012345678901234567890", {1, 1}, "64 bits"},
        {R"({"a": {"x\"": 1, "b": 2},
  "c": [{"a": 1}, {"q": "\\", "Speed": {"Speed": 1}, "Spe\u0065d": 2}]})",
         {2, 54},
         "the key \"Speed\" stands twice in one object"},
        {R"({"a": "x\u0000y"})", {1, 9}, "U+0000"},
        {R"({"\\u0000\u0000": 1})", {1, 10}, "U+0000"},
        {R"(["\\\\u0000", "\\\u0000"])", {1, 18}, "U+0000"},
        {nested(129), {1, 129}, "deeper than 128"},
        {nested(10000, "{\"a\":", "}"), {1, 641}, "deeper than 128"},
        {nested(10'000'000), {1, 129}, "deeper than 128"},
        {"["s + '\0' + "]", {1, 2}, "U+0000"},
    };
    for (auto const& [text, location, message] : cases)
    {
        try
        {
            parse(text);
            ADD_FAILURE() << "no error for " << text.substr(0, 80);
        }
        catch (ParseError const& error)
        {
            EXPECT_EQ(error.location(), location)
                << text.substr(0, 80) << " at " << error.location().line << ":" << error.location().column;
            EXPECT_NE(std::string_view(error.what()).find(message), std::string_view::npos)
                << text.substr(0, 80) << ": " << error.what();
            EXPECT_EQ(std::string_view(error.what()).find('\n'), std::string_view::npos);
        }
    }
}

TEST(JsonParse, GivesEveryDoubleBackExactly)
{
    std::mt19937_64 random(20240501);
    std::vector<double> numbers = {0.0,
                                   -0.0,
                                   1.0,
                                   100000.0,
                                   1e21,
                                   1e300,
                                   std::numeric_limits<double>::denorm_min(),
                                   std::numeric_limits<double>::min(),
                                   std::numeric_limits<double>::max()};
    for (int count = 0; count < 100'000; ++count)
    {
        auto const number = std::bit_cast<double>(random());
        numbers.push_back(std::isfinite(number) ? number : 0.0);
        numbers.push_back(static_cast<double>(static_cast<std::int64_t>(random()) >> (random() % 64)) / 1000.0);
    }
    for (auto const number : numbers)
    {
        auto const text = write(number);
        auto const read = parse(text);
        ASSERT_EQ(read.type(), ValueType::Double) << text;
        ASSERT_EQ(std::bit_cast<std::uint64_t>(read.get_double()), std::bit_cast<std::uint64_t>(number)) << text;
    }
}

/// Where the keys stand tells whether two maps share them.
bool share_keys(Value const& left, Value const& right)
{
    return left.begin().key() == right.begin().key();
}

TEST(JsonReader, MapsOfOneShapeShareTheirKeys)
{
    // Two shapes with the same first key take turns, a third has the same keys in another order.
    auto const a = R"({"n": 1, "x": 2, "y": 3})"s;
    auto const b = R"({"n": 1, "x": 2, "z": 3})"s;
    auto const c = R"({"x": 1, "n": 2, "y": 3})"s;
    Reader reader;
    auto const first = reader.parse("[" + a + "," + b + "," + c + "," + a + "," + b + "," + c + "]");
    EXPECT_THROW(reader.parse("[{\"n\": 1, \"n\": 2}]"), ParseError);
    auto const second = reader.parse(a);
    EXPECT_TRUE(share_keys(first[0], first[3]) && share_keys(first[1], first[4]) && share_keys(first[2], first[5]));
    EXPECT_TRUE(share_keys(first[0], second));
    EXPECT_FALSE(share_keys(first[0], first[1]) || share_keys(first[0], first[2]));
    EXPECT_EQ(write(first[4]), R"({"n":1,"x":2,"z":3})");
    EXPECT_EQ(write(first[5]), R"({"x":1,"n":2,"y":3})");
}

TEST(JsonReader, ManyShapesCostNoMoreThanTheirSharing)
{
    std::string text = "[";
    for (int shape = 0; shape < 10'000; ++shape)
    {
        auto const number = std::to_string(shape);
        text.append(shape == 0 ? "{\"key" : ",{\"key").append(number).append("\":").append(number).append("}");
    }
    text += "]";
    EXPECT_EQ(write(parse(text)), text);
}

} // namespace

} // namespace Ravik::Json
