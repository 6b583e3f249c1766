#pragma once

#include "Schema/CertainNumbers.h"

#include "RavikSrvExtApi.h"

#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace Ravik
{

namespace Schema
{
struct Node;
struct CompiledNodes;
} // namespace Schema

/// Further documents that a schema may refer to, by their URI without a fragment.
using SchemaDocuments = std::map<std::string, RavikSrv::Value>;

/// A JSON schema (draft 7), read once and ready to check values. Immutable and thread-safe.
///
/// **References.** `$ref` leads to a place in the same document (`#`, `#/a/b`), to what an `$id` in it names, to the
/// built-in definitions `ravik:general#/definitions/…` or to one of the further documents; nothing is ever fetched.
/// What stands beside a `$ref` applies as well. What no reference reaches is not read.
///
/// **Null.** A null value is no value: it fits every schema, wherever it stands (a required field that is null is there
/// all the same, and a field that is not allowed is not allowed as null either). A null schema accepts everything, a
/// keyword that is null (`const` aside) says nothing.
///
/// **Types.** Int, Int64 and every double without a fraction are integers; a map, struct, event, message or alarm is an
/// object, a vector an array. A date-time and a timespan are strings of their text form; binary data is a string whose
/// length counts bytes. `format`, `contentEncoding` and `contentMediaType` are descriptions and not checked.
///
/// **Answers.** The first failure found, as an error value of its kind and a text that is led by its place; type comes
/// before everything else.
///
/// | answer                               | what failed                                                         |
/// |--------------------------------------|---------------------------------------------------------------------|
/// | TYPE_MISMATCH, ENUM_VALUE_MISMATCH   | type; enum, const                                                   |
/// | RANGE_MISMATCH                       | minimum, maximum, exclusiveMinimum, exclusiveMaximum, multipleOf    |
/// | STRING_LENGTH_MISMATCH, REGEX        | minLength, maxLength; pattern                                       |
/// | REQUIRED_FIELD, UNEXPECTED_FIELD     | required, dependencies; additionalProperties false, propertyNames   |
/// | ARRAY_RANGE_MISMATCH, UNIQUE         | minItems, maxItems, minProperties, maxProperties, additionalItems   |
/// |                                      | false; uniqueItems                                                  |
/// | NO_MATCHES, MULTIPLE_MATCHES         | anyOf, oneOf, contains; oneOf                                       |
/// | EXCLUDED                             | not, the schema false                                               |
/// | SCHEMA, TYPE_MISSING, RECURSION      | the schema itself: broken; an unknown reference; references in a    |
/// |                                      | circle that no step into the value breaks                           |
/// | REQUEST_TOO_LARGE                    | the check was given up: too much work, or nested too deeply         |
class CompiledSchema
{
public:
    /// Reads the schema at `pointer` ("" or "#" for the whole, "#/definitions/recipe") of `document`. Never fails: a
    /// schema that cannot be used answers every value with its `error()`. Takes time linear in what it reads.
    static std::shared_ptr<CompiledSchema const> compile(RavikSrv::Value const& document, std::string_view pointer = {},
                                                         SchemaDocuments const& documents = {});

    explicit CompiledSchema(std::unique_ptr<Schema::CompiledNodes const> nodes, RavikSrv::ResultPair error);
    CompiledSchema(CompiledSchema const&) = delete;
    CompiledSchema& operator=(CompiledSchema const&) = delete;
    ~CompiledSchema();

    /// Whether `value` fits. `path`, a server path, leads the place in the text; where it is empty and the value itself
    /// is at fault, the text has no place.
    RavikSrv::ResultPair validate(RavikSrv::Value const& value, std::string_view path) const;

    /// Success, or why the schema cannot be used.
    RavikSrv::ResultPair const& error() const noexcept { return m_error; }

    /// All that it consists of, for those who want to know more of it; null where it cannot be used.
    Schema::CompiledNodes const* nodes() const noexcept { return m_nodes.get(); }

private:
    std::unique_ptr<Schema::CompiledNodes const> m_nodes;
    RavikSrv::ResultPair m_error;
    /// Most values of a machine are numbers within bounds, which need no evaluation.
    Schema::CertainNumbers m_certain;
};

} // namespace Ravik
