#include "Schema/Validator.h"

#include "Schema/WorkBudget.h"
#include "Schema/builtin_definitions.h"
#include "Schema/json_equality.h"
#include "Schema/messages.h"

#include <utility>

namespace Ravik
{

using RavikSrv::ResultPair;
using RavikSrv::Value;

Validator::Validator(std::size_t capacity) : m_capacity(capacity)
{
    auto const& definitions = Schema::builtin_document()["definitions"];
    for (auto entry = definitions.begin(); entry != definitions.end(); ++entry)
    {
        auto const reference = std::string(Schema::builtin_uri) + "#/definitions/" + entry.name();
        m_builtins.emplace(reference, CompiledSchema::compile(*entry));
    }
}

ResultPair Validator::validate(Value const& schema, Value const& value, char const* path)
{
    if (!schema.isset() || !value.isset())
    {
        return {};
    }
    if (auto const* const found = builtin(schema))
    {
        return (*found)->validate(value, path);
    }
    try
    {
        return compiled(schema)->validate(value, path);
    }
    catch (Schema::SchemaFailure const& failure)
    {
        return {failure.result(), Schema::with_location(path, failure.what()).c_str()};
    }
}

ResultPair Validator::schema_error(Value const& schema)
{
    if (!schema.isset() || builtin(schema) != nullptr)
    {
        return {};
    }
    try
    {
        return compiled(schema)->error();
    }
    catch (Schema::SchemaFailure const& failure)
    {
        return {failure.result(), failure.what()};
    }
}

/// Throws a `SchemaFailure` where the schema is too large or nested too deeply even to be looked up.
Validator::Compiled Validator::compiled(Value const& schema)
{
    Schema::WorkBudget budget;
    auto const hash = Schema::json_hash(schema, budget);
    if (auto found = find(hash, schema))
    {
        return found;
    }
    auto fresh = CompiledSchema::compile(schema);
    keep(hash, {schema, fresh});
    return fresh;
}

Validator::Compiled const* Validator::builtin(Value const& schema) const
{
    auto const reference = schema.size() == 1 ? schema["$ref"].get_text() : std::string_view();
    auto const found = reference.empty() ? m_builtins.end() : m_builtins.find(reference);
    return found == m_builtins.end() ? nullptr : &found->second;
}

Validator::Compiled Validator::find(std::uint64_t hash, Value const& schema)
{
    Entry entry;
    {
        RavikSrv::Lock const lock(m_mutex);
        if (auto const recent = m_recent.find(hash); recent != m_recent.end())
        {
            entry = recent->second;
        }
        else if (auto old = m_old.extract(hash))
        {
            entry = old.mapped();
            m_recent.insert(std::move(old));
        }
    }
    Schema::WorkBudget budget;
    return entry.compiled && Schema::json_equal(entry.schema, schema, budget) ? entry.compiled : nullptr;
}

void Validator::keep(std::uint64_t hash, Entry entry)
{
    Generation dropped; // destroyed outside the lock
    RavikSrv::Lock const lock(m_mutex);
    m_recent.insert_or_assign(hash, std::move(entry));
    if (m_recent.size() >= m_capacity)
    {
        dropped = std::exchange(m_old, std::exchange(m_recent, {}));
    }
}

} // namespace Ravik
