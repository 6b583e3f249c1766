#include "Schema/CompiledSchema.h"
#include "Schema/Validator.h"
#include "api_helper.h"
#include "Json/Json.h"

#include "Support/values.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace Ravik::Test
{
namespace
{

/// The name of the error value and, but for success, the text, with single quotes.
std::string told(ResultPair const& answer)
{
    std::string text = answer.text();
    std::replace(text.begin(), text.end(), '"', '\'');
    return get_error_string(answer.result()).name() + (text.empty() ? "" : " " + text);
}

/// The value of a JSON text in which single quotes stand for double ones, which are hard to read in here.
Value json(std::string text)
{
    std::replace(text.begin(), text.end(), '\'', '"');
    return Json::parse(text);
}

std::string check(char const* schema, std::string const& value, char const* path = "")
{
    return told(Validator().validate(json(schema), json(value), path));
}

/// What is told of a schema and a value; of an answer in one word only the error value counts.
struct Case
{
    char const* schema;
    char const* value;
    std::string answer;
};

void expect_answers(std::vector<Case> const& cases)
{
    for (auto const& [schema, value, expected] : cases)
    {
        auto const answer = check(schema, value);
        auto const is_word = expected.find(' ') == std::string::npos;
        EXPECT_EQ(is_word ? answer.substr(0, answer.find(' ')) : answer, expected) << schema << " " << value;
    }
}

struct TypedCase
{
    Value schema, value;
    ErrorValue answer;
};

void expect_results(std::vector<TypedCase> const& cases)
{
    for (std::size_t row = 0; row < cases.size(); ++row)
    {
        auto const answer = CompiledSchema::compile(cases[row].schema)->validate(cases[row].value, "");
        EXPECT_EQ(answer.result(), cases[row].answer) << "case " << row << ": " << answer.text();
    }
}

/// Both elements share all that is in them.
Value twice(Value const& value)
{
    return Value() << value << value;
}

TEST(Schema, tells_what_fails_and_where)
{
    expect_answers({
        {"{'exclusiveMaximum': 5}", "5", "RANGE_MISMATCH 5 is not less than 5"},
        {"{'multipleOf': 0.1}", "0.35", "RANGE_MISMATCH 0.35 is not a multiple of 0.1"},
        {"{'type': ['integer', 'string'], 'enum': [1]}", "true", "TYPE_MISMATCH true is not of type integer or string"},
        {"{'enum': ['a'], '$ref': '#/t', 't': {'type': 'string'}}", "1", "TYPE_MISMATCH 1 is not of type string"},
        {"{'enum': [1, 'a', {}, [], null, true, 7]}", "2",
         "ENUM_VALUE_MISMATCH 2 is none of: 1, 'a', an empty object, an empty list, null, true, …"},
        {"{'properties': {'a': {'items': {'properties': {'b': {'type': 'number'}}}}}}", "{'a': [{}, {'b': 'x'}]}",
         "TYPE_MISMATCH a[1]::b: 'x' is not of type number"},
        {"{'dependencies': {'a': ['b']}}", "{'a': 1}", "REQUIRED_FIELD the field 'b' is missing, which 'a' needs"},
        {"{'properties': {'a': true}, 'patternProperties': {'^x': {}}, 'additionalProperties': false}",
         "{'a': 1, 'xb': 2, 'b': 3}", "UNEXPECTED_FIELD there is no field 'b' here"},
        {"{'propertyNames': {'maxLength': 2}}", "{'abc': 1}",
         "UNEXPECTED_FIELD the field name 'abc' is not allowed: 3 characters where at most 2 may be"},
        {"{'items': [{}], 'additionalItems': false}", "[1, 2]", "ARRAY_RANGE_MISMATCH 2 items where at most 1 may be"},
        {"{'maxProperties': 0}", "{'a': 1, 'b': 2}", "ARRAY_RANGE_MISMATCH 2 entries where at most 0 may be"},
        {"{'minLength': 4.0}", "'äöü'", "STRING_LENGTH_MISMATCH 3 characters where at least 4 must be"},
        {"{'pattern': '^a+$'}", "'b\\n'", "REGEX 'b ' does not match the pattern '^a+$'"},
        {"{'uniqueItems': true}", "[1, {'a': [1]}, 2, {'a': [1.0]}]", "UNIQUE the items [1] and [3] are equal"},
        {"{'contains': {'type': 'string'}}", "[1]", "NO_MATCHES no item is of the kind that must be among them"},
        {"{'not': {'type': 'number'}}", "1", "EXCLUDED 1 is excluded"},
        {"{'anyOf': [{'minimum': 9}, {'type': 'object'}]}", "5",
         "NO_MATCHES 5 fits none of the alternatives (5 is less than the minimum of 9; 5 is not of type object)"},
        {"{'oneOf': [{'properties': {'a': {'anyOf': [false]}}}, false, false, false]}", "{'a': 1}",
         "NO_MATCHES an object fits none of the alternatives (a: 1 fits none of the alternatives; "
         "no value is allowed here; no value is allowed here; …)"},
        {"{'oneOf': [{'type': 'string'}, {'type': 'integer'}, {'minimum': 1}]}", "1",
         "MULTIPLE_MATCHES 1 fits more than one alternative, number 2 and number 3"},
        {"{'if': {'$ref': '#/d'}, 'else': {'$ref': '#/d'}, 'd': {'required': ['a']}}", "{}",
         "REQUIRED_FIELD the field 'a' is missing"},
        {"{'if': {'type': 'string'}, 'then': {'maxLength': 1}, 'else': {'maximum': 1}}", "2",
         "RANGE_MISMATCH 2 is more than the maximum of 1"},
    });
    EXPECT_EQ(check("{'properties': {'Speed': {'maximum': 3000}}}", "{'Speed': 5000}", "values"),
              "RANGE_MISMATCH values::Speed: 5000 is more than the maximum of 3000");
    EXPECT_LT(check("{'type': 'integer'}", "'" + std::string(10'000, 'x') + "'").size(), 150U);
}

TEST(Schema, reads_numbers_exactly)
{
    expect_answers({
        {"{'maximum': 9007199254740992.0}", "9007199254740993", "RANGE_MISMATCH"},
        {"{'exclusiveMaximum': 9007199254740993}", "9007199254740992.0", "SUCCESS"},
        {"{'maximum': 9223372036854775807}", "9223372036854775808.0", "RANGE_MISMATCH"},
        {"{'const': 9007199254740993}", "9007199254740992.0", "ENUM_VALUE_MISMATCH"},
        {"{'enum': [-0.0, 3]}", "0", "SUCCESS"},
        {"{'multipleOf': 0.01}", "4.35", "SUCCESS"},
        {"{'multipleOf': 0.01}", "4.3501", "RANGE_MISMATCH"},
        {"{'multipleOf': 3}", "9223372036854775807", "RANGE_MISMATCH"},
    });
    auto const bounded = json("{'type': 'number', 'maximum': 1}");
    auto const infinity = std::numeric_limits<double>::infinity();
    expect_results({{bounded, -infinity, ErrorValue::SUCCESS},
                    {bounded, infinity, ErrorValue::RANGE_MISMATCH},
                    {bounded, std::nan(""), ErrorValue::RANGE_MISMATCH}});
}

TEST(Schema, knows_the_builtin_definitions)
{
    struct Range
    {
        char const* name;
        Value lowest, highest, below, above;
    };
    auto const largest = std::numeric_limits<long>::max();
    auto const largest_float = double{std::numeric_limits<float>::max()};
    for (auto const& [name, lowest, highest, below, above] : std::vector<Range>{
             {"SINT", -128, 127, -129, 128},
             {"USINT", 0, 255, -1, 256},
             {"INT", -32768, 32767, -32769, 32768},
             {"UINT", 0, 65535, -1, 65536},
             {"DINT", -2147483647 - 1, 2147483647, -2147483649L, 2147483648L},
             {"UDINT", 0, 4294967295L, -1, 4294967296L},
             {"LINT", -largest - 1, largest, -1e19, 9223372036854775808.0},
             {"ULINT", 0, largest, -1, 9223372036854775808.0},
             {"REAL", -largest_float, largest_float, -3.5e38, 3.5e38},
             {"REAL32", -largest_float, 3, -3.5e38, 3.5e38},
             {"LREAL", -1.7e308, 1.7e308, -HUGE_VAL, HUGE_VAL},
             {"REAL64", -1.7e308, 3, -HUGE_VAL, HUGE_VAL},
         })
    {
        SCOPED_TRACE(name);
        auto const schema = map({{"$ref", Value(std::string_view(std::string("ravik:general#/definitions/") + name))}});
        expect_results({{schema, lowest, ErrorValue::SUCCESS},
                        {schema, highest, ErrorValue::SUCCESS},
                        {schema, below, ErrorValue::RANGE_MISMATCH},
                        {schema, above, ErrorValue::RANGE_MISMATCH},
                        {schema, "1", ErrorValue::TYPE_MISMATCH}});
    }
    expect_answers({
        {"{'$ref': 'ravik:general#/definitions/BOOL'}", "1", "TYPE_MISMATCH 1 is not of type boolean"},
        {"{'$ref': 'ravik:general#/definitions/STRING'}", "true", "TYPE_MISMATCH true is not of type string"},
        {"{'$ref': 'ravik:general#/definitions/INT', 'maximum': 10}", "11",
         "RANGE_MISMATCH 11 is more than the maximum of 10"},
        {"{'$id': 'http://a/b', 'items': {'$ref': 'ravik:general#/definitions/BOOL'}}", "[true, 0]",
         "TYPE_MISMATCH [1]: 0 is not of type boolean"},
    });
}

TEST(Schema, follows_references)
{
    auto const document = json(R"({
        "definitions": {"int": {"type": "integer"}, "list": {"items": [{"$ref": "#/definitions/int"}]}, "broken": 1},
        "named": {"$id": "#name", "type": "string"}, "const": {"$id": "#data"}, "a": {"$ref": "#name"},
        "b": {"$ref": "#/definitions/list/items/0"}, "c": {"$ref": "#data"}, "d": {"$ref": "#/definitions/broken"},
        "e": {"$ref": "#/definitions/list/items/1"}})");
    auto const answer = [&](char const* pointer, Value const& value)
    { return told(CompiledSchema::compile(document, pointer)->validate(value, "")); };
    EXPECT_EQ(answer("#/definitions/int", "x"), "TYPE_MISMATCH 'x' is not of type integer");
    EXPECT_EQ(answer("/definitions/int", 1), "SUCCESS");
    EXPECT_EQ(answer("#/a", 1), "TYPE_MISMATCH 1 is not of type string");
    EXPECT_EQ(answer("#/b", true), "TYPE_MISMATCH true is not of type integer");
    EXPECT_EQ(answer("#/c", 1), "TYPE_MISSING the schema refers to '#data', which is not known");
    EXPECT_EQ(answer("#/d", 1),
              "SCHEMA the schema is broken at #/definitions/broken: a schema is an object, true or false");
    EXPECT_EQ(answer("#/e", 1).substr(0, 12), "TYPE_MISSING");
    EXPECT_EQ(answer("#/none", 1), "TYPE_MISSING the schema refers to '#/none', which is not known");
}

TEST(Schema, takes_null_for_no_value_and_no_schema)
{
    expect_answers({
        {"{'type': 'integer', 'enum': [1], 'not': {}}", "null", "SUCCESS"},
        {"{'properties': {'a': {'type': 'integer'}}, 'required': ['a']}", "{'a': null}", "SUCCESS"},
        {"{'additionalProperties': false}", "{'a': null}", "UNEXPECTED_FIELD there is no field 'a' here"},
        {"null", "[1]", "SUCCESS"},
        {"{'minimum': null, 'items': null, 'properties': {'a': null}}", "{'a': 1}", "SUCCESS"},
        {"{'const': null}", "0", "ENUM_VALUE_MISMATCH"},
    });
}

TEST(Schema, sees_every_type_of_value)
{
    Value const time = Timestamp{0};
    expect_results({
        {json("{'type': 'string', 'pattern': '^1970-01-01T', 'const': '1970-01-01T00:00:00Z'}"), time,
         ErrorValue::SUCCESS},
        {json("{'type': 'integer'}"), time, ErrorValue::TYPE_MISMATCH},
        {json("{'type': 'string', 'pattern': '^PT1.5S$'}"), Timespan{1'500'000}, ErrorValue::SUCCESS},
        {json("{'type': 'string', 'minLength': 2, 'maxLength': 2}"), binary("\xff\x80"), ErrorValue::SUCCESS},
        {json("{'type': 'object', 'const': {'a': 'x'}}"), map({{"a", "x"}}, ValueType::Struct), ErrorValue::SUCCESS},
        {json("{'properties': {'a': {'type': 'integer'}}}"), map({{"a", "x"}}, ValueType::Event),
         ErrorValue::TYPE_MISMATCH},
        {json("{'type': 'integer'}"), 5'000'000'000L, ErrorValue::SUCCESS},
    });
}

TEST(Schema, reads_patterns_as_json_schemas_write_them)
{
    auto const answer = [](char const* pattern, char const* text) {
        return Validator().validate(map({{"pattern", pattern}}), text, "").result();
    };
    auto const matches = [&](char const* pattern, char const* text)
    { return answer(pattern, text) == ErrorValue::SUCCESS; };
    auto const differs = [&](char const* pattern, char const* text)
    { return answer(pattern, text) == ErrorValue::REGEX; };
    EXPECT_TRUE(matches("^.$", "ä") && matches("^\\p{Lu}$", "Ä") && matches("^[^]$", "\n"));
    EXPECT_TRUE(matches("^\\s$", "\u00a0") && matches("^[\\s]$", "\v") && matches("^[^\\s]$", "x"));
    EXPECT_TRUE(matches("^[\\Sx ]$", " ") && differs("^\\S$", "\u2003") && differs("^[\\S]$", "\u2003"));
    EXPECT_TRUE(matches("^[[:alpha:]]$", "a]") && matches("^[a[]$", "[") && matches("^[\\d\\-x]+$", "1-x"));
    EXPECT_TRUE(matches("^\\u00e4\\x41$", "äA") && matches("^\\/\\-\\ä$", "/-ä"));
    EXPECT_TRUE(matches("^\\ud83d\\ude00$", "😀") && matches("^\\u{1F600}$", "😀"));
    EXPECT_TRUE(matches("^\\cA[\\b]$", "\x01\b") && matches("^(?<year>\\d{4})$", "2024"));
    EXPECT_TRUE(differs("^a$", "a\n") && differs("^.$", "\r") && differs("[]", "a"));
}

TEST(SchemaRobustness, refuses_broken_schemas)
{
    for (auto const& [schema, answer] : std::vector<std::pair<char const*, std::string>>{
             {"{'minimum': 'a'}", "#/minimum: a number is expected"},
             {"{'multipleOf': 0}", "#/multipleOf: a number above 0 is expected"},
             {"{'type': ['string', 1]}", "#/type: 1 is no type"},
             {"{'properties': {'a': {'items': [true, {'uniqueItems': 1}]}}}",
              "#/properties/a/items/1/uniqueItems: true or false is expected"},
             {"{'dependencies': {'a': 1}}", "#/dependencies/a: a schema is an object, true or false"},
             {"{'anyOf': []}", "#/anyOf: a list of at least one schema is expected"},
             {"{'pattern': 'a('}", "#/pattern: the pattern 'a(' cannot be used: missing ): a("},
             {"{'pattern': 'a\\\\'}", "#/pattern: the pattern 'a\\' cannot be used: a backslash stands at its end"},
             {"{'pattern': '\\\\Z'}", "#/pattern: the pattern '\\Z' cannot be used: \\Z is no known escape"},
             {"{'pattern': '\\\\ud800'}", "#/pattern: the pattern '\\ud800' cannot be used: \\u is no known escape"},
             {"{'patternProperties': {'(a)\\\\1': true}}",
              "#/patternProperties/(a)\\1: the pattern '(a)\\1' cannot be used: "
              "references back to a group are not supported"},
             {"{'pattern': '(?=a)'}", "#/pattern: the pattern '(?=a)' cannot be used: invalid perl operator: (?="},
         })
    {
        EXPECT_EQ(check(schema, "1", "x"), "SCHEMA x: the schema is broken at " + answer);
    }
}

TEST(SchemaRobustness, refuses_endless_references)
{
    expect_answers({
        {"{'$ref': '#'}", "1", "RECURSION"},
        {"{'a': {'$ref': '#/b'}, 'b': {'$ref': '#/a'}, 'allOf': [{'$ref': '#/a'}]}", "1", "RECURSION"},
        {"{'items': {'if': true, 'then': {'$ref': '#/items'}}}", "1", "RECURSION"},
        {"{'$id': 'http://a', 'anyOf': [{'$ref': 'http://a#'}]}", "1", "RECURSION"},
        {"{'items': {'$ref': '#/items'}}", "1", "RECURSION the schema refers to itself without end at #/items"},
    });
}

TEST(SchemaRobustness, exponential_schemas_take_linear_time)
{
    auto const schema = [](char const* combinator)
    {
        return nested(map({{"type", "integer"}}), 60,
                      [=](Value const& inner) {
                          return map({{combinator, twice(inner)}});
                      });
    };
    // Each level of the value is asked about twice by each of two alternatives.
    auto const tree = json("{'anyOf': [{'required': ['a'], 'properties': {'a': {'$ref': '#'}}, 'minProperties': 2},"
                           "{'properties': {'a': {'$ref': '#'}, 'b': {'type': 'integer'}}}]}");
    expect_results({
        {schema("allOf"), 1, ErrorValue::SUCCESS},
        {schema("allOf"), "a", ErrorValue::TYPE_MISMATCH},
        {schema("anyOf"), 1, ErrorValue::SUCCESS},
        {schema("anyOf"), "a", ErrorValue::NO_MATCHES},
        {schema("oneOf"), 1, ErrorValue::NO_MATCHES},
        {schema("oneOf"), "a", ErrorValue::NO_MATCHES},
        {tree,
         nested(map({{"b", "x"}}), 100,
                [](Value const& inner) {
                    return map({{"a", inner}});
                }),
         ErrorValue::NO_MATCHES},
    });
}

TEST(SchemaRobustness, nesting_costs_no_stack)
{
    auto const in_list = [](Value const& inner) { return Value() << inner; };
    auto const deep = nested(1, 20'000, in_list);
    expect_results({
        {json("{'type': 'array', 'items': {}}"), deep, ErrorValue::SUCCESS},
        {json("{'items': {'$ref': '#'}}"), deep, ErrorValue::REQUEST_TOO_LARGE},
        {json("{'items': {'$ref': '#'}}"), nested("x", 200, in_list), ErrorValue::SUCCESS},
        {json("{'enum': [1]}"), deep, ErrorValue::REQUEST_TOO_LARGE},
        {json("{'uniqueItems': true}"), deep, ErrorValue::REQUEST_TOO_LARGE},
        {map({{"const", deep}}), 1, ErrorValue::REQUEST_TOO_LARGE},
    });
    std::vector<std::function<Value(Value const&)>> const ways{
        [](Value const& inner) {
            return map({{"items", inner}});
        },
        [](Value const& inner) {
            return map({{"not", inner}});
        },
        [](Value const& inner) {
            return map({{"properties", map({{"a", inner}})}});
        },
        [](Value const& inner) {
            return map({{"allOf", Value() << inner}});
        },
    };
    for (auto const& around : ways)
    {
        auto const schema = nested(Value(ValueType::Map), 20'000, around);
        EXPECT_NE(CompiledSchema::compile(schema)->validate(deep, "").result(), ErrorValue::UNEXPECTED);
        EXPECT_EQ(Validator().validate(schema, deep, "").result(), ErrorValue::REQUEST_TOO_LARGE);
    }
}

TEST(SchemaRobustness, work_is_bounded)
{
    Value numbers(ValueType::Vector);
    Value names;
    for (int number = 0; number < 200'000; ++number)
    {
        numbers << number;
        names.insert(std::to_string(number).c_str(), number);
    }
    Value long_text(std::string_view(std::string(1'000'000, 'a')));
    // One object shared by both sides of each level: 2^60 values in a few kilobytes.
    auto const shared = nested(1, 60, twice);
    Value patterns;
    for (int number = 0; number < 1000; ++number)
    {
        patterns.insert(("^(a|b|" + std::to_string(number) + "x)*$").c_str(), true);
    }
    expect_results({
        {json("{'uniqueItems': true}"), numbers, ErrorValue::SUCCESS},
        {map({{"items", map({{"enum", numbers}})}}), numbers, ErrorValue::SUCCESS},
        {map({{"properties", names}}), names, ErrorValue::SCHEMA},
        {json("{'pattern': '^(a+)+$'}"), Value((std::string(100'000, 'a') + "b").c_str()), ErrorValue::REGEX},
        {json("{'pattern': '(x+x+)+y'}"), long_text, ErrorValue::REGEX},
        {json("{'pattern': '((a{1,30}){1,30}b){1,30}c'}"), long_text, ErrorValue::SCHEMA},
        {json("{'pattern': '(.*a){500}b'}"), long_text, ErrorValue::REQUEST_TOO_LARGE},
        {map({{"patternProperties", patterns}}), names, ErrorValue::REQUEST_TOO_LARGE},
        {json("{'items': {'$ref': '#'}}"), shared, ErrorValue::SUCCESS},
        {json("{'enum': [1]}"), shared, ErrorValue::REQUEST_TOO_LARGE},
        {map({{"const", shared}}), 1, ErrorValue::REQUEST_TOO_LARGE},
    });
}

TEST(SchemaRobustness, one_validator_keeps_schemas_apart_and_serves_many_threads)
{
    Validator validator(4);
    auto const validate = [&validator](int start)
    {
        for (int round = 0; round < 200; ++round)
        {
            auto const maximum = (start + round) % 12;
            auto const schema = map({{"maximum", maximum}});
            EXPECT_EQ(validator.validate(schema, maximum, "").result(), ErrorValue::SUCCESS);
            EXPECT_EQ(validator.validate(schema, maximum + 1, "").result(), ErrorValue::RANGE_MISMATCH);
        }
    };
    std::array<std::jthread, 4> const threads{std::jthread(validate, 0), std::jthread(validate, 1),
                                              std::jthread(validate, 2), std::jthread(validate, 3)};
}

} // namespace
} // namespace Ravik::Test
