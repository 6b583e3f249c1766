#include "Schema/CompiledSchema.h"
#include "Schema/Validator.h"
#include "api_helper.h"
#include "Json/Json.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace Ravik
{
namespace
{

using RavikSrv::ErrorValue;
using RavikSrv::ResultPair;
using RavikSrv::Value;
using RavikSrv::ValueType;

/// "SUCCESS", or the name of the error value and the text.
std::string told(ResultPair const& answer)
{
    auto const name = std::string(RavikSrv::get_error_string(answer.result()).name());
    return answer.result() == ErrorValue::SUCCESS ? name + answer.text() : name + " " + answer.text();
}

std::string check(char const* schema, char const* value, char const* path = "")
{
    return told(Validator().validate(Json::parse(schema), Json::parse(value), path));
}

struct Case
{
    char const* schema;
    char const* value;
    char const* answer;
};

TEST(Schema, TellsWhatFailsAndWhere)
{
    Case const cases[] = {
        {R"({"maximum": 3000})", "5000", "RANGE_MISMATCH 5000 is more than the maximum of 3000"},
        {R"({"minimum": 0.5})", "-1", "RANGE_MISMATCH -1 is less than the minimum of 0.5"},
        {R"({"exclusiveMaximum": 5})", "5", "RANGE_MISMATCH 5 is not less than 5"},
        {R"({"exclusiveMinimum": 5})", "5", "RANGE_MISMATCH 5 is not more than 5"},
        {R"({"multipleOf": 0.1})", "0.35", "RANGE_MISMATCH 0.35 is not a multiple of 0.1"},
        {R"({"type": ["integer", "string"], "enum": [1]})", "true",
         "TYPE_MISMATCH true is not of type integer or string"},
        {R"({"enum": ["a"], "$ref": "#/t", "t": {"type": "string"}})", "1", "TYPE_MISMATCH 1 is not of type string"},
        {R"({"enum": [1, "a", {}, [], null, true, 7]})", "2",
         R"(ENUM_VALUE_MISMATCH 2 is none of: 1, "a", an empty object, an empty list, null, true, …)"},
        {R"({"const": {"a": 1}})", R"({"a": 2})",
         "ENUM_VALUE_MISMATCH an object is not the only allowed value: an object"},
        {R"({"properties": {"a": {"items": {"properties": {"b": {"type": "number"}}}}}})", R"({"a": [{}, {"b": "x"}]})",
         R"(TYPE_MISMATCH a[1]::b: "x" is not of type number)"},
        {R"({"required": ["a", "b"]})", R"({"a": 1})", R"(REQUIRED_FIELD the field "b" is missing)"},
        {R"({"dependencies": {"a": ["b"]}})", R"({"a": 1})",
         R"(REQUIRED_FIELD the field "b" is missing, which "a" needs)"},
        {R"({"properties": {"a": true}, "patternProperties": {"^x": {}}, "additionalProperties": false})",
         R"({"a": 1, "xb": 2, "b": 3})", R"(UNEXPECTED_FIELD there is no field "b" here)"},
        {R"({"propertyNames": {"maxLength": 2}})", R"({"abc": 1})",
         R"(UNEXPECTED_FIELD the field name "abc" is not allowed: 3 characters where at most 2 may be)"},
        {R"({"minItems": 2})", "[1]", "ARRAY_RANGE_MISMATCH 1 item where at least 2 must be"},
        {R"({"items": [{}], "additionalItems": false})", "[1, 2]",
         "ARRAY_RANGE_MISMATCH 2 items where at most 1 may be"},
        {R"({"maxProperties": 0})", R"({"a": 1, "b": 2})", "ARRAY_RANGE_MISMATCH 2 entries where at most 0 may be"},
        {R"({"minLength": 4.0})", R"("äöü")", "STRING_LENGTH_MISMATCH 3 characters where at least 4 must be"},
        {R"({"pattern": "^a+$"})", R"("b\n")", R"(REGEX "b " does not match the pattern "^a+$")"},
        {R"({"uniqueItems": true})", R"([1, {"a": [1]}, 2, {"a": [1.0]}])", "UNIQUE the items [1] and [3] are equal"},
        {R"({"contains": {"type": "string"}})", "[1]", "NO_MATCHES no item is of the kind that must be among them"},
        {R"({"not": {"type": "number"}})", "1", "EXCLUDED 1 is excluded"},
        {R"({"items": [false]})", "[1]", "EXCLUDED [0]: no value is allowed here"},
        {R"({"anyOf": [{"minimum": 9}, {"type": "object"}]})", "5",
         "NO_MATCHES 5 fits none of the alternatives (5 is less than the minimum of 9; 5 is not of type object)"},
        {R"({"oneOf": [{"properties": {"a": {"anyOf": [false]}}}, false, false, false]})", R"({"a": 1})",
         "NO_MATCHES an object fits none of the alternatives (a: 1 fits none of the alternatives; "
         "no value is allowed here; no value is allowed here; …)"},
        {R"({"oneOf": [{"type": "string"}, {"type": "integer"}, {"minimum": 1}]})", "1",
         "MULTIPLE_MATCHES 1 fits more than one alternative, number 2 and number 3"},
        {R"({"if": {"$ref": "#/d"}, "else": {"$ref": "#/d"}, "d": {"required": ["a"]}})", "{}",
         R"(REQUIRED_FIELD the field "a" is missing)"},
        {R"({"if": {"type": "string"}, "then": {"maxLength": 1}, "else": {"maximum": 1}})", "2",
         "RANGE_MISMATCH 2 is more than the maximum of 1"},
    };
    for (auto const& row : cases)
    {
        EXPECT_EQ(check(row.schema, row.value), row.answer) << row.schema;
    }
    EXPECT_EQ(check(R"({"items": {"maximum": 1}})", "[0, 2]", "list"),
              "RANGE_MISMATCH list[1]: 2 is more than the maximum of 1");
    EXPECT_EQ(check(R"({"properties": {"Speed": {"maximum": 3000}}})", R"({"Speed": 5000})", "values"),
              "RANGE_MISMATCH values::Speed: 5000 is more than the maximum of 3000");
    auto const text = "\"" + std::string(10'000, 'x') + "\"";
    EXPECT_LT(check(R"({"type": "integer"})", text.c_str()).size(), 150U);
}

TEST(Schema, ReadsNumbersExactly)
{
    Case const cases[] = {
        {R"({"type": "number"})", "3", "SUCCESS"},
        {R"({"type": "integer"})", "3.0", "SUCCESS"},
        {R"({"type": "integer"})", "1e300", "SUCCESS"},
        {R"({"type": "integer"})", "3.5", "TYPE_MISMATCH"},
        {R"({"maximum": 9007199254740992.0})", "9007199254740993", "RANGE_MISMATCH"},
        {R"({"exclusiveMaximum": 9007199254740993})", "9007199254740992.0", "SUCCESS"},
        {R"({"maximum": 9223372036854775807})", "9223372036854775808.0", "RANGE_MISMATCH"},
        {R"({"minimum": -9223372036854775808})", "-9223372036854775808.0", "SUCCESS"},
        {R"({"minimum": -1.5})", "-2", "RANGE_MISMATCH"},
        {R"({"minimum": -1.5})", "-1", "SUCCESS"},
        {R"({"const": 9007199254740993})", "9007199254740992.0", "ENUM_VALUE_MISMATCH"},
        {R"({"enum": [-0.0, 3]})", "0", "SUCCESS"},
        {R"({"enum": [0]})", "false", "ENUM_VALUE_MISMATCH"},
        {R"({"multipleOf": 0.1})", "0.3", "SUCCESS"},
        {R"({"multipleOf": 0.01})", "4.35", "SUCCESS"},
        {R"({"multipleOf": 0.01})", "4.3501", "RANGE_MISMATCH"},
        {R"({"multipleOf": 3})", "9223372036854775806", "SUCCESS"},
        {R"({"multipleOf": 3})", "9223372036854775807", "RANGE_MISMATCH"},
        {R"({"multipleOf": 2.5})", "-5", "SUCCESS"},
        {R"({"multipleOf": 0.123456789})", "1e308", "RANGE_MISMATCH"},
    };
    for (auto const& row : cases)
    {
        auto const answer = check(row.schema, row.value);
        EXPECT_EQ(answer.substr(0, answer.find(' ')), row.answer) << row.schema << " " << row.value;
    }
    auto const bounded = CompiledSchema::compile(Json::parse(R"({"type": "number", "maximum": 1})"));
    auto const infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(bounded->validate(-infinity, "").result(), ErrorValue::SUCCESS);
    EXPECT_EQ(bounded->validate(infinity, "").result(), ErrorValue::RANGE_MISMATCH);
    EXPECT_EQ(bounded->validate(std::nan(""), "").result(), ErrorValue::RANGE_MISMATCH);
}

TEST(Schema, KnowsTheBuiltinDefinitions)
{
    struct Range
    {
        char const* name;
        Value lowest, highest, below, above;
    };
    auto const largest = std::numeric_limits<long>::max();
    auto const largest_float = double{std::numeric_limits<float>::max()};
    Range const ranges[] = {
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
    };
    Validator validator;
    Value schema;
    for (auto const& range : ranges)
    {
        schema["$ref"] = Value(("ravik:general#/definitions/" + std::string(range.name)).c_str());
        for (auto const* const value : {&range.lowest, &range.highest})
        {
            EXPECT_EQ(told(validator.validate(schema, *value, "")), "SUCCESS") << range.name;
        }
        for (auto const* const value : {&range.below, &range.above})
        {
            EXPECT_EQ(validator.validate(schema, *value, "").result(), ErrorValue::RANGE_MISMATCH) << range.name;
        }
        EXPECT_EQ(validator.validate(schema, Value("1"), "").result(), ErrorValue::TYPE_MISMATCH) << range.name;
    }
    Case const cases[] = {
        {R"({"$ref": "ravik:general#/definitions/BOOL"})", "1", "TYPE_MISMATCH x: 1 is not of type boolean"},
        {R"({"$ref": "ravik:general#/definitions/STRING"})", "true", "TYPE_MISMATCH x: true is not of type string"},
        {R"({"$ref": "ravik:general#/definitions/INT", "maximum": 10})", "11",
         "RANGE_MISMATCH x: 11 is more than the maximum of 10"},
        {R"({"$ref": "ravik:general#/definitions/INT", "maximum": 40000})", "40000",
         "RANGE_MISMATCH x: 40000 is more than the maximum of 32767"},
        {R"({"$id": "http://a/b", "items": {"$ref": "ravik:general#/definitions/BOOL"}})", "[true, 0]",
         "TYPE_MISMATCH x[1]: 0 is not of type boolean"},
        {R"({"$ref": "ravik:general#/definitions/WORD"})", "1",
         R"(TYPE_MISSING x: the schema refers to "ravik:general#/definitions/WORD", which is not known)"},
    };
    for (auto const& row : cases)
    {
        EXPECT_EQ(check(row.schema, row.value, "x"), row.answer) << row.schema;
    }
}

TEST(Schema, FollowsReferences)
{
    auto const document = Json::parse(R"({
        "definitions": {"int": {"type": "integer"}, "list": {"items": [{"$ref": "#/definitions/int"}]}, "broken": 1},
        "named": {"$id": "#name", "type": "string"}, "const": {"$id": "#data"}, "a": {"$ref": "#name"},
        "b": {"$ref": "#/definitions/list/items/0"}, "c": {"$ref": "#data"}, "d": {"$ref": "#/definitions/broken"},
        "e": {"$ref": "#/definitions/list/items/1"}})");
    auto const answer = [&](char const* pointer, Value const& value)
    { return told(CompiledSchema::compile(document, pointer)->validate(value, "")); };
    EXPECT_EQ(answer("#/definitions/int", "x"), R"(TYPE_MISMATCH "x" is not of type integer)");
    EXPECT_EQ(answer("/definitions/int", 1), "SUCCESS");
    EXPECT_EQ(answer("#/a", 1), "TYPE_MISMATCH 1 is not of type string");
    EXPECT_EQ(answer("#/b", true), "TYPE_MISMATCH true is not of type integer");
    EXPECT_EQ(answer("#/c", 1), R"(TYPE_MISSING the schema refers to "#data", which is not known)");
    EXPECT_EQ(answer("#/d", 1),
              "SCHEMA the schema is broken at #/definitions/broken: a schema is an object, true or false");
    EXPECT_EQ(answer("#/e", 1).substr(0, 12), "TYPE_MISSING");
    EXPECT_EQ(answer("#/none", 1), R"(TYPE_MISSING the schema refers to "#/none", which is not known)");
}

TEST(Schema, TakesNullForNoValueAndNoSchema)
{
    EXPECT_EQ(check(R"({"type": "integer", "enum": [1], "not": {}})", "null"), "SUCCESS");
    EXPECT_EQ(check(R"({"properties": {"a": {"type": "integer"}}, "required": ["a"]})", R"({"a": null})"), "SUCCESS");
    EXPECT_EQ(check(R"({"additionalProperties": false})", R"({"a": null})"),
              R"(UNEXPECTED_FIELD there is no field "a" here)");
    EXPECT_EQ(check("null", "[1]"), "SUCCESS");
    EXPECT_EQ(check(R"({"minimum": null, "items": null, "properties": {"a": null}})", R"({"a": 1})"), "SUCCESS");
    EXPECT_EQ(check(R"({"const": null})", "0").substr(0, 19), "ENUM_VALUE_MISMATCH");
}

TEST(Schema, SeesEveryTypeOfValue)
{
    Value binary;
    binary.set_binary("\xff\xfe");
    Value record(ValueType::Struct);
    record.insert("a", "x");
    Value event = record;
    event.convert(ValueType::Event);
    Value const time = RavikSrv::Timestamp{0};
    struct Typed
    {
        char const* schema;
        Value value;
        ErrorValue answer;
    };
    Typed const cases[] = {
        {R"({"type": "string", "pattern": "^1970-01-01T", "const": "1970-01-01T00:00:00Z"})", time,
         ErrorValue::SUCCESS},
        {R"({"type": "integer"})", time, ErrorValue::TYPE_MISMATCH},
        {R"({"type": "string", "pattern": "^PT1.5S$"})", RavikSrv::Timespan{1'500'000}, ErrorValue::SUCCESS},
        {R"({"type": "string", "minLength": 2, "maxLength": 2})", binary, ErrorValue::SUCCESS},
        {R"({"type": "object", "const": {"a": "x"}})", record, ErrorValue::SUCCESS},
        {R"({"type": "object", "properties": {"a": {"type": "integer"}}})", event, ErrorValue::TYPE_MISMATCH},
        {R"({"type": "integer"})", 5'000'000'000L, ErrorValue::SUCCESS},
        {R"({"type": ["object", "array", "string", "number", "boolean", "null"], "minItems": 1})",
         Value(ValueType::Vector), ErrorValue::ARRAY_RANGE_MISMATCH},
    };
    for (auto const& row : cases)
    {
        auto const answer = CompiledSchema::compile(Json::parse(row.schema))->validate(row.value, "");
        EXPECT_EQ(answer.result(), row.answer) << row.schema << " " << answer.text();
    }
}

TEST(Schema, ReadsPatternsAsJsonSchemasWriteThem)
{
    struct Match
    {
        char const* pattern;
        std::string text;
        bool matches;
    };
    Match const cases[] = {
        {"^a$", "a\n", false},
        {"^.$", "ä", true},
        {"^.$", "\r", false},
        {"^\\s$", "\u00a0", true},
        {"^[\\s]$", "\v", true},
        {"^\\S$", "\u2003", false},
        {"^[\\Sx ]$", " ", true},
        {"^[^\\s]$", "x", true},
        {"^[[:alpha:]]$", "a]", true},
        {"^[a[]$", "[", true},
        {"^[^]$", "\n", true},
        {"[]", "a", false},
        {"^\\u00e4\\x41$", "äA", true},
        {"^\\ud83d\\ude00$", "😀", true},
        {"^\\u{1F600}$", "😀", true},
        {"^\\cA[\\b]$", "\x01\b", true},
        {"^(?<year>\\d{4})$", "2024", true},
        {"^\\/\\-\\ä$", "/-ä", true},
        {"^\\p{Lu}$", "Ä", true},
        {"^[\\d\\-x]+$", "1-x", true},
    };
    for (auto const& row : cases)
    {
        Value schema;
        schema["pattern"] = Value(row.pattern);
        auto const answer = CompiledSchema::compile(schema)->validate(Value(row.text.c_str()), "");
        EXPECT_EQ(answer.result(), row.matches ? ErrorValue::SUCCESS : ErrorValue::REGEX) << row.pattern;
    }
}

TEST(Schema, KeepsSchemasApart)
{
    Validator validator(2);
    for (int round = 0; round < 3; ++round)
    {
        for (int maximum = 0; maximum < 10; ++maximum)
        {
            Value schema;
            schema["maximum"] = maximum;
            EXPECT_EQ(validator.validate(schema, maximum, "").result(), ErrorValue::SUCCESS);
            EXPECT_EQ(validator.validate(schema, maximum + 1, "").result(), ErrorValue::RANGE_MISMATCH);
        }
    }
}

} // namespace
} // namespace Ravik
