#include "recipe_config_handler/recipe_values_check.h"

#include "SymbolData.h"
#include "configuration_keys.h"
#include "result_pair.h"
#include "symbol_resolution.h"
#include "value_text.h"

#include "PathIterator.h"
#include "algorithm_helper.h"
#include "api_helper.h"

#include <utility>

namespace RecipeManagement
{

namespace
{

/// The part of a symbol's schema that describes what stands at `path` below the symbol; null, which every value fits,
/// where the schema does not say.
Value schema_below(Value const& schema, std::string const& path)
{
    auto const* part = &schema;
    for (RavikSrv::PathIterator components(path); part != nullptr && components.next();)
    {
        auto const& name = components.component();
        auto const* const items = RavikSrv::node(part, Key::items);
        std::size_t index = 0;
        if (items != nullptr && Algorithm::try_as_size_t(name, index))
        {
            part = items->type() == ValueType::Vector ? items->get_vector().get(index) : items;
        }
        else
        {
            part = RavikSrv::node(RavikSrv::node(part, Key::properties), name);
        }
    }
    if (part == nullptr)
    {
        return {};
    }
    auto result = *part;
    // References of the part lead to the definitions of the whole.
    if (auto const* const definitions = RavikSrv::node(&schema, Key::definitions);
        part != &schema && definitions != nullptr && result.type() == ValueType::Map)
    {
        result.insert(Key::definitions, *definitions);
    }
    return result;
}

/// What the host says about the value of a recipe, with the value's name.
ResultPair naming(ResultPair const& result, char const* name)
{
    std::string const text = Algorithm::empty(result.text()) ? name : result.text() + (" [" + std::string(name)) + "]";
    return {result.result(), text.c_str()};
}

/// The values of a recipe and the table that tells the schemas of their symbols.
struct RecipeValues
{
    [[nodiscard]] ResultPair validate_recipe_value(SymbolData const& record) const;

    Call const& call;
    Value const& values;
    Value const symbol_table;
};

ResultPair RecipeValues::validate_recipe_value(SymbolData const& record) const
{
    auto const& schema = symbol_table[RavikSrv::name_from_path(record.symbol.c_str()).c_str()][Key::symbol_schema];
    if (!schema.isset())
    {
        return {ErrorValue::SYMBOL_NOT_MAPPED, record.symbol.c_str()};
    }
    auto const value = values.find(record.name.c_str());
    auto* const host = call.internal_host();
    // A record may have its value from a nested recipe, which is checked for itself.
    if (host == nullptr || !record.value.isset() || value == values.end())
    {
        return ErrorValue::SUCCESS;
    }
    auto const part = schema_below(schema, RavikSrv::path_from_symbol(record.symbol.c_str()));
    if (auto const result = host->validate(part, *value, ""); failed(result))
    {
        return naming(result, value.name());
    }
    return host->validate(record.schema, *value, "");
}

} // namespace

ResultPair validate_recipe_values(Call const& call, Value const& config, std::string const& path, Value const& recipe)
{
    SymbolList symbols;
    auto walked_config = config;
    auto recipe_path = path;
    if (auto result = get_symbol_data(walked_config, recipe_path, symbols, recipe, path); failed(result))
    {
        return result;
    }
    auto const& values = recipe[Key::values];
    if (values.type() != ValueType::Map)
    {
        return ErrorValue::SUCCESS;
    }
    auto const members_path = join_path(add_path_recipetypelist(text_of(recipe[Key::recipe_type_name])), Key::members);
    if (RavikSrv::node_path(members_path, std::as_const(walked_config)).node == nullptr)
    {
        return failure(ErrorValue::TYPE_MISSING, RecipeResult::MISSING_RECIPETYPE_MEMBERS);
    }
    RecipeValues const given{call, values, call.read_symbol_table()};
    for (auto const& record : symbols)
    {
        if (record.is_recipetype)
        {
            continue;
        }
        if (auto result = given.validate_recipe_value(record); failed(result))
        {
            return result;
        }
    }
    return ErrorValue::SUCCESS;
}

} // namespace RecipeManagement
