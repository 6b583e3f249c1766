#include "NameMap.h"
#include "RavikRecipeManagement.h"
#include "configuration_keys.h"
#include "value_text.h"
#include "walk_limits.h"

#include "algorithm_helper.h"
#include "api_helper.h"

#include <boost/thread/lock_types.hpp>
#include <boost/unordered/unordered_flat_map.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

namespace RecipeManagement
{

namespace Algorithm = RavikSrv::Algorithm;
using RavikSrv::Command;
using RavikSrv::Context;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

/// The name by which clients address the recipe at a full path.
std::string relative_name(std::string path)
{
    Algorithm::replace(path, join_path(Key::recipe_list, ""), "");
    return path;
}

Value list_of(std::vector<std::string> const& names)
{
    Value list;
    list.set_type(ValueType::Vector);
    list.reserve(names.size());
    for (auto const& name : names)
    {
        list << Value(name.c_str());
    }
    return list;
}

} // namespace

std::vector<std::string> RavikRecipeManagement::copy_recipe_paths()
{
    boost::unique_lock<boost::mutex> const lock(recipe_paths_mutex);
    return {recipe_paths.begin(), recipe_paths.end()};
}

// GetRecipes ----------------------------------------------------------------------------------------------------------

void RavikRecipeManagement::get_recipes(Context const& context, Command& command)
{
    Value const& parameters = command.write_value();
    if (parameters.type() != ValueType::Struct)
    {
        set_command_result(command, RecipeResult::INVALID_WRITEVALUE);
        return;
    }
    auto const requested = Algorithm::to_string(parameters[Key::recipe_type_path]);
    auto const config = host->get_config_value(context, "");
    std::vector<std::string> heirs;
    influenced_by_inherited_recipetype(requested, heirs, config, command, 0);
    // A type that inherits the requested one in several ways has its recipes listed once for each.
    NameMap<std::size_t> listings;
    for (auto const& heir : heirs)
    {
        ++listings[heir];
    }
    listings[requested] = 1;
    std::vector<std::string> names;
    for (auto const& path : copy_recipe_paths())
    {
        auto const* const recipe = RavikSrv::node_path(path, config).node;
        if (recipe == nullptr)
        {
            set_command_result(command, RecipeResult::MISSING_RECIPE_VALUES);
            return;
        }
        std::string_view const type = text_of((*recipe)[Key::recipe_type_name]);
        auto const found = listings.find(type);
        if (type.empty() || found == listings.end())
        {
            continue;
        }
        if (names.size() + found->second > walk_limit)
        {
            set_command_result(command, RecipeResult::RECURSION);
            return;
        }
        names.insert(names.end(), found->second, relative_name(path));
    }
    std::reverse(names.begin(), names.end());
    command.set_read_value(list_of(names));
}

// Comparing a recipe with the controllers -----------------------------------------------------------------------------

namespace
{

/// Whether an entry of the symbol table describes a floating-point symbol of 32 bits.
bool is_float(Value const& symbol)
{
    auto const* const reference = text_of(symbol[Key::symbol_schema][Key::reference]);
    return Algorithm::equals(reference, "ravik:general#/definitions/REAL32") ||
           Algorithm::equals(reference, "ravik:general#/definitions/REAL");
}

/// Whether both are the same but for the epsilon of their type. A NaN is the same as nothing.
template <typename Number> bool is_within_epsilon(Number left, Number right)
{
    return left == right || std::abs(left - right) <= std::numeric_limits<Number>::epsilon();
}

/// Compares stored values with those that were read.
class Comparison
{
public:
    Comparison(SymbolList const& symbols, Value const& symbol_mapping) : m_symbol_mapping(symbol_mapping)
    {
        m_symbols.reserve(symbols.symbol_count());
        for (auto const& record : symbols)
        {
            if (!record.is_recipetype)
            {
                m_symbols.emplace(record.name, &record.symbol);
            }
        }
    }

    bool agrees(char const* name, Value const& stored, Value current) const
    {
        current.convert(stored.type());
        // What can't be converted is no number either, and agrees with none.
        if (stored.type() != ValueType::Double || current.type() != ValueType::Double)
        {
            return current == stored;
        }
        auto const left = stored.get_double();
        auto const right = current.get_double();
        return is_float(mapping_of(name)) ? is_within_epsilon(static_cast<float>(left), static_cast<float>(right))
                                          : is_within_epsilon(left, right);
    }

private:
    /// The table's entry under the member's name, or else that of the member's symbol.
    Value const& mapping_of(char const* name) const
    {
        auto const& entry = m_symbol_mapping[name];
        auto const symbol = m_symbols.find(std::string_view(name));
        return entry.isset() || symbol == m_symbols.end()
                   ? entry
                   : m_symbol_mapping[RavikSrv::name_from_path(symbol->second->c_str()).c_str()];
    }

    Value const& m_symbol_mapping;
    /// By name, that of the first record.
    NameMap<std::string const*> m_symbols;
};

} // namespace

// GetActiveRecipes ----------------------------------------------------------------------------------------------------

/// What a search for active recipes knows. Each recipe is read and compared once in a request, however many others
/// name it: otherwise recipes that name several others would take exponential time.
struct RavikRecipeManagement::ActiveSearch
{
    struct Verdict
    {
        bool is_active = false;
        /// How many levels of nested recipes the verdict took, with the recipe's own: from deeper down than these
        /// leave room for, it would have failed.
        unsigned long levels = 1;
    };

    Context const& context;
    Command& command;
    Value const& config;
    Value const& symbol_mapping;
    /// By full path. A search ends at its first failure, so none is kept.
    boost::unordered_flat_map<std::string, Verdict> verdicts = {};
};

void RavikRecipeManagement::get_active_recipes(Context const& context, Command& command)
{
    auto const config = host->get_config_value(context, "");
    auto const symbol_mapping = read_symbol_table();
    ActiveSearch search{context, command, config, symbol_mapping};
    Value answer;
    answer.set_type(ValueType::Vector);
    // Answers false where the request has failed.
    auto const examine = [&](std::string const& path, std::string const& name)
    {
        if (recipe_is_active(search, path, 0))
        {
            answer << Value(name.c_str());
        }
        return command.extension_result() == 0;
    };
    // A copy, since the command is worked on.
    Value const requested = command.write_value();
    for (auto entry = requested.begin_vector(); entry != requested.end_vector(); ++entry)
    {
        auto const name = Algorithm::to_string(*entry);
        if (!examine(add_path_recipelist(name), name))
        {
            return;
        }
    }
    auto const paths = requested.empty() ? copy_recipe_paths() : std::vector<std::string>();
    for (auto const& path : paths)
    {
        if (!examine(path, relative_name(path)))
        {
            return;
        }
    }
    set_command_result(command, RecipeResult::SUCCESS);
    command.set_read_value(answer);
}

bool RavikRecipeManagement::recipe_is_active(ActiveSearch& search, std::string const& path, unsigned long depth)
{
    auto const known = search.verdicts.find(path);
    auto const levels = known == search.verdicts.end() ? 1 : known->second.levels;
    if (depth + levels > recursion_limit)
    {
        set_command_result(search.command, RecipeResult::RECURSION);
        return false;
    }
    if (known != search.verdicts.end())
    {
        return known->second.is_active;
    }
    auto const* const recipe = RavikSrv::node_path(path, search.config).node;
    if (recipe == nullptr)
    {
        set_command_result(search.command, RecipeResult::MISSING_RECIPE_DATA);
        return false;
    }
    ActiveSearch::Verdict verdict;
    auto const& stored = (*recipe)[Key::values];
    if (stored.begin() != stored.end())
    {
        auto const name = relative_name(path);
        Value parameters;
        parameters.set_type(ValueType::Struct);
        parameters.insert(Key::path, Value(name.c_str()));
        Command probe;
        probe.set_write_value(parameters);
        SymbolList symbols;
        read_from_target(search.context, probe, search.config, search.symbol_mapping, symbols);
        if (probe.extension_result() != 0)
        {
            search.command.set_extension_result(probe.extension_result());
            return false;
        }
        Value const& read = probe.read_value();
        verdict.is_active =
            values_are_active(search, stored, read[name.c_str()][Key::values], symbols, depth, verdict.levels);
    }
    if (search.command.extension_result() == 0)
    {
        search.verdicts.emplace(path, verdict);
    }
    return verdict.is_active;
}

bool RavikRecipeManagement::values_are_active(ActiveSearch& search, Value const& stored, Value const& current,
                                              SymbolList& symbols, unsigned long depth, unsigned long& levels)
{
    Comparison const comparison(symbols, search.symbol_mapping);
    auto verdict = false;
    for (auto value = stored.begin(); value != stored.end(); ++value)
    {
        // Where nothing was read for a value, the verdict on the value before it stands.
        if (auto const read = current.find(value.name()); read != current.end())
        {
            verdict = comparison.agrees(value.name(), *value, *read);
        }
        if (value->type() == ValueType::String)
        {
            auto const* const record = symbols.find_name(value.name());
            auto const nested = find_nested_recipe(value->get_string(), record != nullptr && record->is_recipetype);
            if (!nested.empty())
            {
                verdict = recipe_is_active(search, nested, depth + 1);
                auto const known = search.verdicts.find(nested);
                levels = std::max(levels, known == search.verdicts.end() ? 1 : known->second.levels + 1);
            }
        }
        if (!verdict)
        {
            return false;
        }
    }
    return true;
}

std::string RavikRecipeManagement::find_nested_recipe(char const* text, bool stands_for_recipe)
{
    std::string path = text;
    boost::unique_lock<boost::mutex> const lock(recipe_paths_mutex);
    if (recipe_paths.contains(path))
    {
        return path;
    }
    if (stands_for_recipe && !Algorithm::starts_with(path, Key::recipe_list))
    {
        path = add_path_recipelist(path);
        if (recipe_paths.contains(path))
        {
            return path;
        }
    }
    return {};
}

} // namespace RecipeManagement
