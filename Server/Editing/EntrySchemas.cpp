#include "Editing/EntrySchemas.h"

#include "api_helper.h"

namespace Ravik
{

using RavikSrv::ResultPair;
using RavikSrv::Value;

namespace
{

std::shared_ptr<CompiledSchema const> definition(Value const& schema, std::string const& name)
{
    return RavikSrv::node_path("definitions::" + name, schema).node == nullptr
               ? nullptr
               : CompiledSchema::compile(schema, "#/definitions/" + name);
}

} // namespace

EntrySchemas::EntrySchemas(Value const& schema)
    : m_recipe_type(definition(schema, schema_type(EntryKind::RecipeType))),
      m_recipe(definition(schema, schema_type(EntryKind::Recipe)))
{
}

ResultPair EntrySchemas::check(EntryKind kind, std::string const& path, Value const& entry) const
{
    auto const& schema = kind == EntryKind::RecipeType ? m_recipe_type : m_recipe;
    auto const has_schema = (kind == EntryKind::RecipeType || kind == EntryKind::Recipe) && schema != nullptr;
    return has_schema ? schema->validate(entry, path) : ResultPair();
}

} // namespace Ravik
