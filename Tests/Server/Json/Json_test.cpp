#include "Json/Document.h"
#include "Json/Json.h"
#include "Json/Reader.h"
#include "Json/exact_reading.h"

#include "Support/values.h"
#include <gmock/gmock.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Ravik::Test
{
namespace
{

using namespace std::string_literals;
using namespace Json;
using testing::HasSubstr;

std::string repeated(std::size_t count, std::string_view text)
{
    std::string all;
    for (std::size_t number = 0; number < count; ++number)
    {
        all += text;
    }
    return all;
}

/// Maps in vectors in maps, so many in all, which is an even number or one more.
Value nested(std::size_t depth)
{
    auto const around = [](Value const& inner) { return map({{"a", Value() << inner}}); };
    return Test::nested(depth % 2 == 0 ? Value(1) : Value() << 1, static_cast<int>(depth / 2), around);
}

TEST(Json, reads_each_kind_of_value_and_writes_it_back)
{
    struct Case
    {
        char const* text;
        Value value;
        char const* written = nullptr; // where not as the text
    };
    for (auto const& [text, value, written] : std::vector<Case>{
             {"null", Value()},
             {" true\r\n", true, "true"},
             {"-0", 0, "0"},
             {"-2147483648", std::numeric_limits<int>::min()},
             {"2147483648", 2147483648L},
             {"-9223372036854775808", std::numeric_limits<long>::min()},
             {"0.1", 0.1},
             {"1e2", 100.0, "100.0"},
             {"5e-324", 5e-324},
             {"-1e-400", -0.0, "-0.0"},
             {"123456789012345678901234567890.0", 123456789012345678901234567890.0, "1.2345678901234568e+29"},
             {R"("")", Value("")},
             {R"("a\"\\\/\b\f\n\r\t\u00e9\ud83d\ude00ü\u001f")", Value("a\"\\/\b\f\n\r\té😀ü\x1F"),
              R"("a\"\\/\b\f\n\r\té😀ü\u001f")"},
             {"[]", Value(ValueType::Vector)},
             {"{}", Value(ValueType::Map)},
         })
    {
        EXPECT_EQ(parse(text), value) << text;
        EXPECT_EQ(write(parse(text)), written == nullptr ? text : written);
    }
}

TEST(JsonParse, keeps_order_nesting_and_long_texts)
{
    auto const value = parse(R"({"b": [1, [], {"x": null}, "t"], "a\n": {"b": 2.5}, "": [[["deep"]]]})");
    EXPECT_EQ(write(value), R"({"b":[1,[],{"x":null},"t"],"a\n":{"b":2.5},"":[[["deep"]]]})");
    EXPECT_EQ(value["b"][2].size(), 1U);
    EXPECT_EQ(value["a\n"]["b"], Value(2.5));

    // Longer than any buffer of the parser, with escapes at every place that a piece may end at.
    auto const text = repeated(5000, "abc\\n\\u00e9");
    auto const expected = repeated(5000, "abc\né");
    auto const long_texts = parse("{\"" + text + "\":\"" + text + "\"}");
    EXPECT_EQ(long_texts.begin().name(), expected);
    EXPECT_EQ(long_texts.begin()->get_text(), expected);
    EXPECT_EQ(parse(repeated(128, "[") + repeated(128, "]")).size(), 1U);
}

TEST(JsonParse, tells_what_is_wrong_and_where)
{
    struct Case
    {
        std::string text;
        Location location;
        std::string_view message;
    };
    for (auto const& [text, location, message] : std::vector<Case>{
             {"", {1, 1}, "empty"},
             {" \n ", {2, 2}, "empty"},
             {"[1,\n 2", {2, 3}, "ends before"},
             {"{\"a\": 1,\n \"ä\": tru}", {2, 7}, "unexpected \"tru\""},
             {"[1, 2, ]", {1, 8}, "behind a comma"},
             {R"({"a": 1 "b": 2})", {1, 9}, "comma or colon is missing"},
             {"[ // one\n1]", {1, 3}, "no comments"},
             {"[é]", {1, 2}, "unexpected \"é\""},
             {"[\"a\nb\"]", {1, 4}, "U+000A"},
             {"[\"a\xFF\"]", {1, 4}, "UTF-8"},
             {"[\"\xED\xA0\x80\"]", {1, 3}, "UTF-8"},
             {R"(["\u12g4"      ])", {1, 3}, "hexadecimal"},
             {R"(["\ud800\u0041bcdefghi"])", {1, 9}, "surrogate"},
             {"[NaN]", {1, 2}, "unexpected \"NaN\" (a text stands in double quotes"},
             {"\xEF\xBB\xBF{}", {1, 1}, "byte order mark"},
             {"[0,\n 1e400]", {2, 2}, "too large for a double"},
             {"[1e99999999999]", {1, 2}, "exponent"},
             {"[9223372036854775808]", {1, 2}, "64 bits"},
             {R"({"a": {"x\"": 1, "b": 2},
  "c": [{"a": 1}, {"q": "\\", "Speed": {"Speed": 1}, "Spe\u0065d": 2}]})",
              {2, 54},
              "the key \"Speed\" stands twice in one object"},
             {R"({"a": "x\u0000y"})", {1, 9}, "U+0000"},
             {R"(["\\\\u0000", "\\\u0000"])", {1, 18}, "U+0000"},
             {repeated(10'000'000, "["), {1, 129}, "deeper than 128"},
             {repeated(10'000, "{\"a\":"), {1, 641}, "deeper than 128"},
             {"["s + '\0' + "]", {1, 2}, "U+0000"},
         })
    {
        try
        {
            parse(text);
            ADD_FAILURE() << "no error for " << text.substr(0, 80);
        }
        catch (ParseError const& error)
        {
            auto const [line, column] = error.location();
            EXPECT_EQ(error.location(), location) << text.substr(0, 80) << " at " << line << ":" << column;
            EXPECT_THAT(error.what(), AllOf(HasSubstr(message), Not(HasSubstr("\n")))) << text.substr(0, 80);
        }
    }
}

TEST(JsonParse, gives_every_double_back_exactly)
{
    std::mt19937_64 random(20240501);
    using Limits = std::numeric_limits<double>;
    std::vector<double> numbers{0.0, -0.0, 1.0, 1e5, 1e21, 1e300, Limits::denorm_min(), Limits::min(), Limits::max()};
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

TEST(JsonReader, maps_of_one_shape_share_their_keys)
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

/// What reading the text gives: its value, or what is wrong with it and where.
template <typename Read> std::pair<Value, std::string> outcome(std::string const& text, Read const& read)
{
    // A copy of exactly the text's size, so that a read beyond its end is seen.
    std::vector<char> const bytes(text.begin(), text.end());
    try
    {
        return {read(std::string_view(bytes.data(), bytes.size())), ""};
    }
    catch (ParseError const& error)
    {
        auto const [line, column] = error.location();
        return {Value(), error.what() + (" at " + std::to_string(line)) + ":" + std::to_string(column)};
    }
}

/// Whether a reader that has read `before` reads the text as one that reads every text anew and with care.
void expect_read(std::string const& text, std::string const& before)
{
    Reader reader;
    reader.parse(before);
    auto const [value, error] = outcome(text, [&](std::string_view bytes) { return reader.parse(bytes); });
    auto const [expected_value, expected_error] = outcome(text, read_exactly);
    EXPECT_EQ(error, expected_error) << text;
    EXPECT_EQ(value, expected_value) << text;
    EXPECT_EQ(write(value), write(expected_value)) << text;
}

TEST(JsonReader, reads_what_differs_from_the_text_before)
{
    auto const before = "{\"type\":\"T\xC3\xBCr\",\"values\":{\"a\":1,\"b\":-0.25,\"\":[{\"x\":1},{\"x\":{\"x\":22}}],"
                        "\"d\\u00e9\\n\":true,\"e\":1e3,\"long name\":[[],{}]},\"n\":null}"s;
    expect_read(before, before);
    for (std::size_t at = 0; at < before.size(); ++at)
    {
        expect_read(before.substr(0, at), before);
        expect_read(before.substr(0, at) + before.substr(at + 1), before);
        for (auto const character : "\"\\,:}]{[0.-eEn \n\x01\x80\xC3"s + '\0')
        {
            expect_read(before.substr(0, at) + character + before.substr(at + 1), before);
            expect_read(before.substr(0, at) + character + before.substr(at), before);
        }
    }
    for (auto const* const text :
         {R"({"a":1,"b":2})", R"({"a":1})", R"({"b":2,"a":1})", R"({"a":1,"b":2,"c":3})", R"({"a":1,"b":2,"a":3})",
          R"({"a":1,"a":2})", R"({ "a" : 1 , "b" : {"a":1,"b":2} })", R"({"a":{"a":1,"c":"x"},"b":[{"a":1,"b":2}]})"})
    {
        expect_read(text, R"({"a":1,"b":2})");
        expect_read(text, R"({"a":1,"b":{"a":"x","b":"x"}})");
    }
}

TEST(JsonReader, reads_numbers_of_any_length)
{
    std::mt19937 random(7); // NOLINT(cert-msc51-cpp,cert-msc32-c)
    for (int count = 0; count < 20'000; ++count)
    {
        std::string text;
        for (auto digits = 1 + random() % 21; digits != 0; --digits)
        {
            text += static_cast<char>('0' + random() % (count % 2 == 0 ? 10 : 2));
        }
        if (random() % 4 != 0)
        {
            text.insert(random() % (text.size() + 1), ".");
        }
        if (random() % 4 == 0)
        {
            text += (random() % 2 == 0 ? "e-" : "E") + std::to_string(random() % 400);
        }
        expect_read((random() % 2 == 0 ? "-" : "") + text, "1");
    }
    for (auto const* const text : {"2147483647", "2147483648", "-2147483648", "-2147483649", "9223372036854775807",
                                   "-9223372036854775808", "9223372036854775808", "-0", "-0.0", "9007199254740993.0",
                                   "0.9007199254740993", "1e400", "-1e-400", "+1", "1.5e3", "0e99999999999"})
    {
        expect_read(text, "1");
    }
}

TEST(JsonReader, shares_what_resembles_within_bounds)
{
    // More shapes than the reader keeps, and one of more names.
    Reader reader;
    std::string wide;
    for (int number = 0; number < 5'000; ++number)
    {
        std::string entries;
        for (int name = 0; name < 20; ++name)
        {
            entries.append(name == 0 ? "\"" : ",\"").append(std::to_string(number * 20 + name)).append(R"(":"t")");
        }
        std::string text = "[{";
        text.append(entries).append("},{").append(entries).append("}]");
        ASSERT_EQ(write(reader.parse(text)), text);
        wide.append(wide.empty() ? "{" : ",").append(entries);
    }
    wide += "}";
    ASSERT_EQ(write(reader.parse(wide)), wide);
    auto const maps = reader.parse(R"([{"a":"text"},{"a":"text"},{"a":"text"}])");
    EXPECT_TRUE(share_keys(maps[0], maps[1]));
    EXPECT_EQ(maps[1]["a"].get_string(), maps[2]["a"].get_string());
}

TEST(JsonWrite, writes_what_json_has_no_kind_for)
{
    for (auto const& [value, text] : std::vector<std::pair<Value, char const*>>{
             {Value(ValueType::Any), "null"},
             {std::numeric_limits<double>::quiet_NaN(), "null"},
             {-std::numeric_limits<double>::infinity(), "null"},
             {Value(std::string_view("a\0b\xFFz\xE2\x82", 7)), "\"a\xEF\xBF\xBD"
                                                               "b\xEF\xBF\xBDz\xEF\xBF\xBD\xEF\xBF\xBD\""},
             {Timestamp{1714564800000001}, "\"2024-05-01T12:00:00.000001Z\""},
             {Timespan{1500000}, "\"PT1.5S\""},
             {binary("fo"), "\"Zm8=\""},
             {binary(std::string_view("\0\xFF\x10\x80", 4)), "\"AP8QgA==\""},
             {Value(ValueType::Event), "{}"},
         })
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

TEST(JsonWrite, lays_out)
{
    auto const value = parse(R"({"a":[1,"x",null],"b":[],"c":{},"d":[[1],{"e":2.0}],"f":[1,2,3,4,5,6,7,8]})");
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
  "f": [1, 2, 3, 4, 5, 6, 7, 8]
})");
    EXPECT_EQ(write(parse("[1,2,3,4,5,6,7,8,9]"), Layout::Indented).substr(0, 10), "[\n  1,\n  2");
}

TEST(JsonWrite, tells_what_cannot_be_read_again)
{
    EXPECT_EQ(parse(write(nested(max_nesting))), nested(max_nesting));
    EXPECT_THROW(parse(write(nested(max_nesting + 1))), ParseError);
    EXPECT_EQ(write(nested(1'000'000)).size(), 500'000 * 2 + 500'000 * 6 + 1);

    for (auto const& readable : {parse(R"({"ä":["😀",1.5,{"":null}]})"), nested(max_nesting), binary("\xFF")})
    {
        EXPECT_EQ(obstacle(readable), "");
    }
    Value names;
    names["\xFF"] = 1;
    Value const inside = Value() << "fine" << names;
    for (auto const& unreadable : {nested(max_nesting + 1), inside, Value("\xC3"), Value(std::string_view("a\0b", 3))})
    {
        EXPECT_NE(obstacle(unreadable), "");
    }
}

TEST(JsonDocument, locates_keys_and_elements)
{
    Document const document(R"(
{
  "ä": "}]\"\\", "list": [ 10, [], {"x": -1.5e3, "s\u0061me": {"deep": null}}, "last" ],
  "end": true
}
)");
    EXPECT_EQ(document.value()["list"][2]["same"].size(), 1U);
    std::vector<Document::Path> paths;
    std::vector<Location> locations;
    for (auto const& [path, location] : std::vector<std::pair<Document::Path, Location>>{
             {{}, {2, 1}},
             {{"ä"}, {3, 3}},
             {{"list"}, {3, 18}},
             {{"list", "2", "same", "deep"}, {3, 64}},
             {{"list", "3"}, {3, 80}},
             // where the path leads nowhere, the deepest place on it
             {{"none"}, {2, 1}},
             {{"list", "1", "0"}, {3, 32}},
             {{"end", "below"}, {4, 3}},
             {{"list", "2", "none", "x"}, {3, 36}},
             {Document::Path(1'000'000, "list"), {3, 18}},
         })
    {
        EXPECT_EQ(document.locate(path), location) << (path.empty() ? "" : path.back());
        paths.push_back(path);
        locations.push_back(location);
    }
    EXPECT_EQ(document.locate_all(paths), locations) << "in one go";
    EXPECT_EQ(Document(" 1").locate({"a"}), (Location{1, 2}));
    EXPECT_THROW(Document("[1"), ParseError);
}

} // namespace
} // namespace Ravik::Test
