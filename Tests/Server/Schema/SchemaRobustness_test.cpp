#include "Schema/CompiledSchema.h"
#include "Schema/Validator.h"
#include "api_helper.h"
#include "Json/Json.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace Ravik
{
namespace
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

Value map_of(char const* name, Value const& value)
{
    Value map;
    map.insert(name, value);
    return map;
}

Value list_of(Value const& value, int count = 1)
{
    Value list(ValueType::Vector);
    for (int index = 0; index < count; ++index)
    {
        list << value;
    }
    return list;
}

Value nested(Value value, int depth, std::function<Value(Value const&)> const& around)
{
    for (int level = 0; level < depth; ++level)
    {
        value = around(value);
    }
    return value;
}

TEST(SchemaRobustness, RefusesBrokenSchemas)
{
    struct Broken
    {
        char const* schema;
        char const* answer;
    };
    Broken const cases[] = {
        {R"("x")", "#: a schema is an object, true or false"},
        {R"({"minimum": "a"})", "#/minimum: a number is expected"},
        {R"({"exclusiveMaximum": true})", "#/exclusiveMaximum: a number is expected"},
        {R"({"multipleOf": 0})", "#/multipleOf: a number above 0 is expected"},
        {R"({"maxLength": -1})", "#/maxLength: an integer not below 0 is expected"},
        {R"({"minItems": 1.5})", "#/minItems: an integer not below 0 is expected"},
        {R"({"type": "int"})", R"(#/type: "int" is no type)"},
        {R"({"type": ["string", 1]})", "#/type: 1 is no type"},
        {R"({"type": {}})", "#/type: an empty object is no type"},
        {R"({"enum": 1})", "#/enum: a list is expected"},
        {R"({"required": "a"})", "#/required: a list of names is expected"},
        {R"({"required": [1]})", "#/required: a list of names is expected"},
        {R"({"properties": []})", "#/properties: an object is expected"},
        {R"({"properties": {"a": {"items": [true, {"uniqueItems": 1}]}}})",
         "#/properties/a/items/1/uniqueItems: true or false is expected"},
        {R"({"dependencies": {"a": 1}})", "#/dependencies/a: a schema is an object, true or false"},
        {R"({"anyOf": []})", "#/anyOf: a list of at least one schema is expected"},
        {R"({"allOf": {}})", "#/allOf: a list of at least one schema is expected"},
        {R"({"$ref": 1})", "#/$ref: a text is expected"},
        {R"({"pattern": 1})", "#/pattern: a text is expected"},
        {R"({"pattern": "a("})", R"(#/pattern: the pattern "a(" cannot be used: missing ): a()"},
        {R"({"pattern": "a\\"})", R"(#/pattern: the pattern "a\" cannot be used: a backslash stands at its end)"},
        {R"({"pattern": "\\Z"})", R"(#/pattern: the pattern "\Z" cannot be used: \Z is no known escape)"},
        {R"({"pattern": "\\ud800"})", R"(#/pattern: the pattern "\ud800" cannot be used: \u is no known escape)"},
        {R"({"patternProperties": {"(a)\\1": true}})",
         R"(#/patternProperties/(a)\1: the pattern "(a)\1" cannot be used: )"
         "references back to a group are not supported"},
        {R"~({"pattern": "(?=a)"})~", R"~(#/pattern: the pattern "(?=a)" cannot be used: invalid perl operator: (?=)~"},
    };
    for (auto const& row : cases)
    {
        auto const answer = CompiledSchema::compile(Json::parse(row.schema))->validate(1, "x");
        EXPECT_EQ(answer.result(), ErrorValue::SCHEMA) << row.schema;
        EXPECT_EQ(answer.text(), "x: the schema is broken at " + std::string(row.answer));
    }
}

TEST(SchemaRobustness, RefusesEndlessReferences)
{
    for (auto const* const schema :
         {R"({"$ref": "#"})", R"({"a": {"$ref": "#/b"}, "b": {"$ref": "#/a"}, "allOf": [{"$ref": "#/a"}]})",
          R"({"not": {"$ref": "#"}})", R"({"items": {"if": true, "then": {"$ref": "#/items"}}})",
          R"({"dependencies": {"a": {"$ref": "#"}}})", R"({"$id": "http://a", "anyOf": [{"$ref": "http://a#"}]})"})
    {
        EXPECT_EQ(CompiledSchema::compile(Json::parse(schema))->error().result(), ErrorValue::RECURSION) << schema;
    }
    EXPECT_STREQ(CompiledSchema::compile(Json::parse(R"({"items": {"$ref": "#/items"}})"))->error().text(),
                 "the schema refers to itself without end at #/items");
}

TEST(SchemaRobustness, ExponentialSchemasTakeLinearTime)
{
    for (auto const* const combinator : {"allOf", "anyOf", "oneOf"})
    {
        std::string const name = "d";
        std::string const place = "#/definitions/d";
        Value definitions;
        for (int level = 0; level < 40; ++level)
        {
            auto const next = map_of("$ref", Value((place + std::to_string(level + 1)).c_str()));
            definitions.insert((name + std::to_string(level)).c_str(), map_of(combinator, list_of(next, 2)));
        }
        definitions.insert("d40", map_of("type", "integer"));
        auto schema = map_of("$ref", "#/definitions/d0");
        schema.insert("definitions", definitions);
        Validator validator;
        auto const is_one = std::string(combinator) == "oneOf";
        EXPECT_EQ(validator.validate(schema, 1, "").result(), is_one ? ErrorValue::NO_MATCHES : ErrorValue::SUCCESS);
        EXPECT_NE(validator.validate(schema, "a", "").result(), ErrorValue::SUCCESS);
        EXPECT_NE(validator.validate(schema, "a", "").result(), ErrorValue::REQUEST_TOO_LARGE);
    }
    // Each level of the value is asked about twice by each of two alternatives.
    auto const tree = Json::parse(R"({"anyOf": [
        {"required": ["a"], "properties": {"a": {"$ref": "#"}}, "minProperties": 2},
        {"properties": {"a": {"$ref": "#"}, "b": {"type": "integer"}}}]})");
    auto const deep = nested(map_of("b", "x"), 100, [](Value const& inner) { return map_of("a", inner); });
    EXPECT_EQ(Validator().validate(tree, deep, "").result(), ErrorValue::NO_MATCHES);
}

TEST(SchemaRobustness, NestingCostsNoStack)
{
    auto const in_list = [](Value const& inner) { return list_of(inner); };
    auto const deep = nested(1, 20'000, in_list);
    struct Nesting
    {
        Value schema, value;
        ErrorValue answer;
    };
    Nesting const cases[] = {
        {Json::parse(R"({"type": "array", "items": {}})"), deep, ErrorValue::SUCCESS},
        {Json::parse(R"({"items": {"$ref": "#"}})"), deep, ErrorValue::REQUEST_TOO_LARGE},
        {Json::parse(R"({"items": {"$ref": "#"}})"), nested("x", 200, in_list), ErrorValue::SUCCESS},
        {Json::parse(R"({"enum": [1]})"), deep, ErrorValue::REQUEST_TOO_LARGE},
        {Json::parse(R"({"uniqueItems": true})"), deep, ErrorValue::REQUEST_TOO_LARGE},
        {map_of("const", deep), 1, ErrorValue::REQUEST_TOO_LARGE},
    };
    for (auto const& row : cases)
    {
        EXPECT_EQ(CompiledSchema::compile(row.schema)->validate(row.value, "").result(), row.answer);
    }
    for (auto const* const keyword : {"items", "not", "properties", "allOf", "$id"})
    {
        auto const schema =
            nested(Value(ValueType::Map), 20'000,
                   [keyword](Value const& inner)
                   {
                       auto const name = std::string(keyword);
                       return map_of(name == "$id" ? "items" : keyword, name == "properties" ? map_of("a", inner)
                                                                        : name == "allOf"    ? list_of(inner)
                                                                                             : inner);
                   });
        auto const compiled = CompiledSchema::compile(schema);
        EXPECT_NE(compiled->validate(deep, "").result(), ErrorValue::UNEXPECTED);
        EXPECT_EQ(Validator().validate(schema, deep, "").result(), ErrorValue::REQUEST_TOO_LARGE);
    }
}

TEST(SchemaRobustness, WorkIsBounded)
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
    auto const shared = nested(1, 60, [](Value const& inner) { return list_of(inner, 2); });
    Value patterns;
    for (int number = 0; number < 1000; ++number)
    {
        patterns.insert(("^(a|b|" + std::to_string(number) + "x)*$").c_str(), true);
    }
    struct Work
    {
        Value schema, value;
        ErrorValue answer;
    };
    Work const cases[] = {
        {Json::parse(R"({"uniqueItems": true})"), numbers, ErrorValue::SUCCESS},
        {map_of("items", map_of("enum", numbers)), numbers, ErrorValue::SUCCESS},
        {map_of("properties", names), names, ErrorValue::SCHEMA},
        {Json::parse(R"({"pattern": "^(a+)+$"})"), Value((std::string(100'000, 'a') + "b").c_str()), ErrorValue::REGEX},
        {Json::parse(R"({"pattern": "(x+x+)+y"})"), long_text, ErrorValue::REGEX},
        {Json::parse(R"({"pattern": "((a{1,30}){1,30}b){1,30}c"})"), long_text, ErrorValue::SCHEMA},
        {Json::parse(R"({"pattern": "(.*a){500}b"})"), long_text, ErrorValue::REQUEST_TOO_LARGE},
        {map_of("patternProperties", patterns), names, ErrorValue::REQUEST_TOO_LARGE},
        {Json::parse(R"({"items": {"$ref": "#"}})"), shared, ErrorValue::SUCCESS},
        {Json::parse(R"({"enum": [1]})"), shared, ErrorValue::REQUEST_TOO_LARGE},
        {map_of("const", shared), 1, ErrorValue::REQUEST_TOO_LARGE},
        {nested(Value(ValueType::Map), 60, [](Value const& inner) { return map_of("allOf", list_of(inner, 2)); }), 1,
         ErrorValue::SUCCESS},
    };
    auto position = 0;
    for (auto const& row : cases)
    {
        EXPECT_EQ(CompiledSchema::compile(row.schema)->validate(row.value, "").result(), row.answer) << position;
        ++position;
    }
}

TEST(SchemaRobustness, OneValidatorServesManyThreads)
{
    Validator validator(4);
    std::vector<std::thread> threads;
    for (int start = 0; start < 4; ++start)
    {
        threads.emplace_back(
            [&validator, start]
            {
                for (int round = 0; round < 200; ++round)
                {
                    auto const schema = map_of("maximum", (start + round) % 12);
                    EXPECT_EQ(validator.validate(schema, 12, "").result(), ErrorValue::RANGE_MISMATCH);
                    EXPECT_EQ(validator.validate(schema, 0, "").result(), ErrorValue::SUCCESS);
                }
            });
    }
    for (auto& thread : threads)
    {
        thread.join();
    }
}

} // namespace
} // namespace Ravik
