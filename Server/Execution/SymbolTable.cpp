#include "Execution/SymbolTable.h"

#include "Configuration/configuration_keys.h"
#include "PathIterator.h"
#include "algorithm_helper.h"
#include "api_helper.h"

#include <algorithm>

namespace Ravik
{

using RavikSrv::ResultPair;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

/// The part of a schema that describes what stands at `rest` of a symbol, null where the schema does not say.
Value const* subschema(Value const& schema, std::string_view rest)
{
    auto const* part = &schema;
    // An index stands behind a name, so the walk begins with the symbol's own.
    auto const path = "_" + std::string(rest);
    RavikSrv::PathIterator components(path);
    components.next();
    while (part != nullptr && components.next())
    {
        std::size_t index = 0;
        auto const* const items = RavikSrv::node(part, "items");
        if (RavikSrv::Algorithm::try_as_size_t(components.component(), index) && items != nullptr)
        {
            part = items->type() == ValueType::Vector ? items->get_vector().get(index) : items;
        }
        else
        {
            part = RavikSrv::node(RavikSrv::node(part, "properties"), components.component());
        }
    }
    return part;
}

} // namespace

ResultPair Symbol::check(std::string_view rest, Value const& value) const
{
    if (rest.empty())
    {
        return compiled->validate(value, "");
    }
    auto const* const part = subschema(schema, rest);
    return part == nullptr ? ResultPair() : CompiledSchema::compile(*part, "")->validate(value, "");
}

namespace
{

/// The compiled schemas of symbols. Most refer to one of a few definitions and are nothing else; those with the same
/// reference share one, which also keeps it at hand for the processor where many values are checked in a row.
class SchemaPool
{
public:
    std::shared_ptr<CompiledSchema const> compiled(Value const& schema)
    {
        auto const& reference = schema["$ref"];
        if (reference.type() != ValueType::String || schema.size() != 1)
        {
            return CompiledSchema::compile(schema, "");
        }
        auto& shared = m_by_reference[reference.get_string()];
        if (shared == nullptr)
        {
            shared = CompiledSchema::compile(schema, "");
        }
        return shared;
    }

private:
    boost::unordered_flat_map<std::string, std::shared_ptr<CompiledSchema const>> m_by_reference;
};

} // namespace

SymbolTable::SymbolTable(Value const& symbols)
{
    SchemaPool schemas;
    m_symbols.reserve(symbols.size());
    for (auto entry = symbols.begin(); entry != symbols.end(); ++entry)
    {
        Value const& described = *entry;
        auto const mapping = RavikSrv::Algorithm::to_string(described[Key::mapping]);
        Symbol symbol{.name = entry.name(),
                      .domain = RavikSrv::Algorithm::to_string(described[Key::domain]),
                      .mapping = RavikSrv::SharedText(mapping.empty() ? std::string_view(entry.name()) : mapping),
                      .schema = described[Key::schema],
                      .compiled = schemas.compiled(described[Key::schema]),
                      .use_mapping = !described[Key::use_mapping].isset() || described[Key::use_mapping].get_bool(),
                      .tolerance = described[Key::tolerance].get_double(),
                      .verify = !described[Key::verify].isset() || described[Key::verify].get_bool()};
        m_symbols.push_back(std::move(symbol));
    }
    m_by_name.reserve(m_symbols.size());
    for (auto const& symbol : m_symbols)
    {
        m_by_name.emplace(symbol.name, &symbol);
        m_domains.insert(symbol.domain);
    }
}

RavikSrv::SharedText SymbolReference::mapping() const
{
    return rest.empty() ? symbol->mapping : RavikSrv::SharedText(symbol->mapping.c_str() + std::string(rest));
}

SymbolReference SymbolTable::find_behind(Symbol const* last, std::string_view name) const
{
    auto const* const next = last == nullptr ? m_symbols.data() : last + 1;
    auto const is_next = next != m_symbols.data() + m_symbols.size() && next->name == name;
    return is_next ? SymbolReference{.symbol = next, .rest = {}} : find(name);
}

SymbolReference SymbolTable::find(std::string_view name) const
{
    auto const own_name = name.substr(0, std::min(name.find(RavikSrv::separator_text), name.find('[')));
    auto const found = m_by_name.find(own_name);
    return found == m_by_name.end() ? SymbolReference()
                                    : SymbolReference{.symbol = found->second, .rest = name.substr(own_name.size())};
}

} // namespace Ravik
