#include "Schema/SchemaCompiler.h"

#include "Schema/messages.h"

#include <algorithm>

namespace Ravik::Schema
{

using RavikSrv::ValueType;

void SchemaCompiler::read_array(Node& node)
{
    if (!has({"items", "contains", "uniqueItems", "minItems", "maxItems"}))
    {
        return;
    }
    node.array = std::make_unique<ArrayRules>();
    auto& rules = *node.array;
    rules.size = size_keywords("minItems", "maxItems");
    auto const& unique = keyword("uniqueItems");
    if (unique.isset() && unique.type() != ValueType::Bool)
    {
        broken("uniqueItems", "true or false is expected");
    }
    rules.unique = unique.get_bool();
    rules.contained = schema_keyword("contains");
    if (keyword("items").type() == ValueType::Vector)
    {
        rules.leading = keyword("items").size() == 0 ? std::vector<NodeId>() : schema_list("items");
        rules.others = schema_keyword("additionalItems");
    }
    else
    {
        rules.others = schema_keyword("items");
    }
}

void SchemaCompiler::read_object(Node& node)
{
    if (!has({"properties", "patternProperties", "additionalProperties", "propertyNames", "required", "dependencies",
              "minProperties", "maxProperties"}))
    {
        return;
    }
    node.object = std::make_unique<ObjectRules>();
    auto& rules = *node.object;
    rules.size = size_keywords("minProperties", "maxProperties");
    auto const& required = keyword("required");
    if (required.isset() && required.type() != ValueType::Vector)
    {
        broken("required", "a list of names is expected");
    }
    rules.required = names_in(required, "required");
    read_properties(rules);
    rules.others = schema_keyword("additionalProperties");
    rules.names = schema_keyword("propertyNames");
    read_dependencies(rules);
}

void SchemaCompiler::read_properties(ObjectRules& rules)
{
    auto const& properties = object_keyword("properties");
    rules.properties.set_type(ValueType::Map);
    for (auto entry = properties.begin(); entry != properties.end(); ++entry)
    {
        auto const node = child(*entry, std::string("properties/") + shortened(entry.name(), 200));
        rules.properties.insert(entry.name(), static_cast<long>(node));
    }
    auto const& patterns = object_keyword("patternProperties");
    for (auto entry = patterns.begin(); entry != patterns.end(); ++entry)
    {
        auto const where = std::string("patternProperties/") + shortened(entry.name(), 200);
        rules.patterns.push_back({pattern(entry.name(), where), child(*entry, where)});
    }
}

void SchemaCompiler::read_dependencies(ObjectRules& rules)
{
    auto const& dependencies = object_keyword("dependencies");
    for (auto entry = dependencies.begin(); entry != dependencies.end(); ++entry)
    {
        auto const where = std::string("dependencies/") + shortened(entry.name(), 200);
        Dependency dependency{entry.name(), {}};
        if (entry->type() == ValueType::Vector)
        {
            dependency.required = names_in(*entry, where);
        }
        else
        {
            dependency.schema = child(*entry, where);
        }
        rules.dependencies.push_back(std::move(dependency));
    }
}

} // namespace Ravik::Schema
