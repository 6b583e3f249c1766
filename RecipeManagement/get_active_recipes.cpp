#include "Call.h"
#include "NameMap.h"
#include "RavikRecipeManagement.h"
#include "configuration_keys.h"
#include "read_from_target.h"
#include "recipe_config_handler/StoredPaths.h"
#include "recipe_result.h"
#include "value_text.h"
#include "walk_limits.h"

#include "algorithm_helper.h"
#include "api_helper.h"
#include "value_comparison.h"

#include <boost/unordered/unordered_flat_map.hpp>

#include <algorithm>

namespace RecipeManagement
{

namespace
{

/// Whether an entry of the symbol table describes a floating-point symbol of 32 bits.
bool is_float(Value const& symbol)
{
    return RavikSrv::describes_float(symbol[Key::symbol_schema]);
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
                m_symbols.emplace(record.name, record.symbol);
            }
        }
    }

    bool agrees(char const* name, Value const& stored, Value const& current) const
    {
        // The type of the symbol matters to doubles alone.
        return RavikSrv::values_agree(stored, current,
                                      stored.type() == ValueType::Double && is_float(mapping_of(name)));
    }

private:
    /// The table's entry under the member's name, or else that of the member's symbol.
    Value const& mapping_of(char const* name) const
    {
        auto const& entry = m_symbol_mapping[name];
        auto const symbol = m_symbols.find(std::string_view(name));
        return entry.isset() || symbol == m_symbols.end()
                   ? entry
                   : m_symbol_mapping[RavikSrv::name_from_path(symbol->second.c_str()).c_str()];
    }

    Value const& m_symbol_mapping;
    /// By name, that of the first record.
    NameMap<TextView> m_symbols;
};

/// One search for active recipes. Each recipe is read and compared once in it, however many others name it: otherwise
/// recipes that name several others would take exponential time.
class GetActiveRecipes
{
public:
    GetActiveRecipes(Call const& call, Command& command, StoredPaths const& recipe_paths)
        : m_call(call), m_command(command), m_recipe_paths(recipe_paths)
    {
    }

    void get_active_recipes();

private:
    struct Verdict
    {
        bool is_active = false;
        /// How many levels of nested recipes the verdict took, with the recipe's own: from deeper down than these
        /// leave room for, it would have failed.
        unsigned long levels = 1;
    };

    /// Adds `name` to the answer where the recipe at the path is active. Returns false where the request has failed.
    [[nodiscard]] bool examine(std::string const& path, std::string const& name);
    /// Whether the recipe at the full path is active. Returns false after a failure; the command then says which.
    [[nodiscard]] bool recipe_is_active(std::string const& path, unsigned long depth);
    [[nodiscard]] Verdict verdict_on(Value const& recipe, std::string const& path, unsigned long depth);
    [[nodiscard]] Verdict compare(Value const& stored, Value const& current, SymbolList& symbols, unsigned long depth);
    /// The full path of the stored recipe that a value names; empty where it names none. `stands_for_recipe` tells
    /// whether the value's member nests a type: then a relative name is one, too.
    std::string find_nested_recipe(char const* text, bool stands_for_recipe) const;

    Call const m_call;
    Command& m_command;
    StoredPaths const m_recipe_paths;
    Value m_config;
    Value m_symbol_mapping;
    Value m_answer;
    /// By full path. A search ends at its first failure, so none is kept.
    boost::unordered_flat_map<std::string, Verdict> m_verdicts;
};

void GetActiveRecipes::get_active_recipes()
{
    m_config = m_call.read_configuration();
    m_symbol_mapping = m_call.read_symbol_table();
    m_answer.set_type(ValueType::Vector);
    // A copy, since the command is worked on.
    Value const requested = m_command.write_value();
    for (auto entry = requested.begin_vector(); entry != requested.end_vector(); ++entry)
    {
        auto const name = Algorithm::to_string(*entry);
        if (!examine(add_path_recipelist(name), name))
        {
            return;
        }
    }
    auto const paths = requested.empty() ? m_recipe_paths.copy() : std::vector<std::string>();
    for (auto const& path : paths)
    {
        if (!examine(path, relative_recipe_name(path)))
        {
            return;
        }
    }
    set_command_result(m_command, RecipeResult::SUCCESS);
    m_command.set_read_value(m_answer);
}

bool GetActiveRecipes::examine(std::string const& path, std::string const& name)
{
    if (recipe_is_active(path, 0))
    {
        m_answer << Value(name.c_str());
    }
    return m_command.extension_result() == 0;
}

bool GetActiveRecipes::recipe_is_active(std::string const& path, unsigned long depth)
{
    auto const known = m_verdicts.find(path);
    auto const levels = known == m_verdicts.end() ? 1 : known->second.levels;
    if (depth + levels > recursion_limit)
    {
        set_command_result(m_command, RecipeResult::RECURSION);
        return false;
    }
    if (known != m_verdicts.end())
    {
        return known->second.is_active;
    }
    auto const* const recipe = RavikSrv::node_path(path, std::as_const(m_config)).node;
    if (recipe == nullptr)
    {
        set_command_result(m_command, RecipeResult::MISSING_RECIPE_DATA);
        return false;
    }
    auto const verdict = verdict_on(*recipe, path, depth);
    if (m_command.extension_result() == 0)
    {
        m_verdicts.emplace(path, verdict);
    }
    return verdict.is_active;
}

GetActiveRecipes::Verdict GetActiveRecipes::verdict_on(Value const& recipe, std::string const& path,
                                                       unsigned long depth)
{
    auto const name = relative_recipe_name(path);
    Value parameters;
    parameters.set_type(ValueType::Struct);
    parameters.insert(Key::path, Value(name.c_str()));
    Command probe;
    probe.set_write_value(parameters);
    ReadFromTarget reading(m_call, probe, m_config, m_symbol_mapping);
    reading.read_from_target();
    if (probe.extension_result() != 0)
    {
        m_command.set_extension_result(probe.extension_result());
        return {};
    }
    auto const& stored = recipe[Key::values];
    if (stored.begin() == stored.end())
    {
        return {};
    }
    Value const& read = std::as_const(probe).read_value();
    return compare(stored, read[name.c_str()][Key::values], reading.symbols(), depth);
}

GetActiveRecipes::Verdict GetActiveRecipes::compare(Value const& stored, Value const& current, SymbolList& symbols,
                                                    unsigned long depth)
{
    Comparison const comparison(symbols, m_symbol_mapping);
    Verdict verdict;
    for (auto value = stored.begin(); value != stored.end(); ++value)
    {
        // Where nothing was read for a value, the verdict on the value before it stands.
        if (auto const read = current.find(value.name()); read != current.end())
        {
            verdict.is_active = comparison.agrees(value.name(), *value, *read);
        }
        if (value->type() == ValueType::String)
        {
            auto const* const record = symbols.find_name(value.name());
            auto const nested = find_nested_recipe(value->get_string(), record != nullptr && record->is_recipetype);
            if (!nested.empty())
            {
                verdict.is_active = recipe_is_active(nested, depth + 1);
                auto const known = m_verdicts.find(nested);
                verdict.levels = std::max(verdict.levels, known == m_verdicts.end() ? 1 : known->second.levels + 1);
            }
        }
        if (!verdict.is_active)
        {
            break;
        }
    }
    return verdict;
}

std::string GetActiveRecipes::find_nested_recipe(char const* text, bool stands_for_recipe) const
{
    std::string path = text;
    if (m_recipe_paths.contains(path))
    {
        return path;
    }
    if (stands_for_recipe && !Algorithm::starts_with(path, Key::recipe_list))
    {
        path = add_path_recipelist(path);
        if (m_recipe_paths.contains(path))
        {
            return path;
        }
    }
    return {};
}

} // namespace

void RavikRecipeManagement::get_active_recipes(Context const& context, Command& command)
{
    GetActiveRecipes(call_in(context), command, stored_recipes()).get_active_recipes();
}

} // namespace RecipeManagement
