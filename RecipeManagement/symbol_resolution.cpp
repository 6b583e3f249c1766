#include "symbol_resolution.h"

#include "KeyRoles.h"
#include "Member.h"
#include "OrderedLookup.h"
#include "configuration_keys.h"
#include "result_pair.h"
#include "value_text.h"
#include "walk_limits.h"

#include "algorithm_helper.h"
#include "api_helper.h"

#include <boost/unordered/unordered_flat_map.hpp>
#include <boost/unordered/unordered_flat_set.hpp>

#include <functional>
#include <utility>

namespace RecipeManagement
{

namespace
{

/// Appends the records of a type, of the types that it inherits and of those nested in its members.
class TypeWalk
{
public:
    TypeWalk(Value& config, SymbolList& symbols) : m_config(config), m_symbols(symbols) {}

    /// `type_context` is the type through which direct members are reached; the walk forgets it behind a member that
    /// nests a type, also for its caller.
    ResultPair recipetype_symbols(std::string const& recipetype_name, unsigned long depth, TextView& type_context);

private:
    /// What a type came to: the records from `first` up to `last`, so many of them symbols.
    struct Walked
    {
        unsigned long depth;
        std::size_t first;
        std::size_t last;
        std::size_t symbols;
    };

    Value const& config() const { return m_config; }
    ResultPair walk(std::string const& recipetype_name, unsigned long depth, TextView& type_context);
    ResultPair repeat(Walked& walked);
    bool is_walked_too_often(Value const& type);
    ResultPair take_from_partial_configuration(std::string const& path, std::string const& recipetype_name);
    ResultPair add_inherited(Value const& names, unsigned long depth);
    ResultPair add_member(Member& member, unsigned long depth, TextView& type_context);
    void add_symbol(Member& member, TextView type_context);
    void add_nested_type(Member const& member, TextView& type_context);

    Value& m_config;
    SymbolList& m_symbols;
    /// By type and type context. A type that is reached again, no deeper than before, appends the same symbols again.
    boost::unordered_flat_map<std::pair<std::string, std::string>, Walked> m_walked;
    /// The types that have been walked in any context or at any depth, and how many members and inherited types have
    /// been looked at once more.
    boost::unordered_flat_set<Value const*> m_known;
    std::size_t m_looked_at_again = 0;
};

ResultPair missing_type(std::string path)
{
    std::string text = result_name(RecipeResult::MISSING_RECIPETYPE);
    if (Algorithm::replace(path, join_path(Key::recipe_type_list, ""), ""))
    {
        text += " - " + path;
    }
    return {ErrorValue::TYPE_MISSING, text.c_str()};
}

ResultPair TypeWalk::recipetype_symbols(std::string const& recipetype_name, unsigned long depth, TextView& type_context)
{
    if (is_too_deep(depth))
    {
        return ErrorValue::RECURSION;
    }
    std::pair const key(recipetype_name, std::string(type_context));
    if (auto const walked = m_walked.find(key); walked != m_walked.end() && depth <= walked->second.depth)
    {
        return repeat(walked->second);
    }
    auto const first = m_symbols.size();
    auto const first_symbol = m_symbols.symbol_count();
    auto result = walk(recipetype_name, depth, type_context);
    if (!failed(result))
    {
        m_walked.insert_or_assign(key, Walked{depth, first, m_symbols.size(), m_symbols.symbol_count() - first_symbol});
    }
    return result;
}

ResultPair TypeWalk::repeat(Walked& walked)
{
    auto const first = m_symbols.size();
    if (first + walked.symbols > walk_limit)
    {
        return too_large();
    }
    m_symbols.repeat_symbols(walked.first, walked.last);
    // The next repetition takes these, between which no types stand: it costs no more than what it appends.
    walked.first = first;
    walked.last = m_symbols.size();
    return ErrorValue::SUCCESS;
}

/// What is remembered holds for one context and from one depth on. In others the type is walked anew, which may bring
/// next to nothing; as long as it does, nothing else bounds how often.
bool TypeWalk::is_walked_too_often(Value const& type)
{
    if (m_known.insert(&type).second)
    {
        return false;
    }
    m_looked_at_again += 1 + type[Key::members].size() + type[Key::recipe_type_names].size();
    return m_looked_at_again > walk_limit;
}

ResultPair TypeWalk::walk(std::string const& recipetype_name, unsigned long depth, TextView& type_context)
{
    auto const path = add_path_recipetypelist(recipetype_name);
    if (auto result = take_from_partial_configuration(path, recipetype_name); failed(result))
    {
        return result;
    }
    auto const* const found = RavikSrv::node_path(path, config()).node;
    if (found == nullptr)
    {
        return missing_type(path);
    }
    // A copy, since the configuration may be replaced on the way.
    Value const type = *found; // NOLINT(performance-unnecessary-copy-initialization)
    if (is_walked_too_often(*found))
    {
        return too_large();
    }
    if (auto result = add_inherited(type[Key::recipe_type_names], depth); failed(result))
    {
        return result;
    }
    m_symbols.begin_type();
    for (auto& member : m_symbols.members_of(type))
    {
        if (auto result = add_member(member, depth, type_context); failed(result))
        {
            return result;
        }
    }
    return ErrorValue::SUCCESS;
}

/// Where the configuration has neither list, the type found in it takes its place.
ResultPair TypeWalk::take_from_partial_configuration(std::string const& path, std::string const& recipetype_name)
{
    if (!config()[Key::recipe_list].empty() || !config()[Key::recipe_type_list].empty())
    {
        return ErrorValue::SUCCESS;
    }
    auto [found, type] = RavikSrv::follow_hmi_path(path, config());
    if (!found)
    {
        return {ErrorValue::TYPE_MISSING, recipetype_name.c_str()};
    }
    m_config = std::move(type);
    return ErrorValue::SUCCESS;
}

ResultPair TypeWalk::add_inherited(Value const& names, unsigned long depth)
{
    for (auto entry = names.begin_vector(); entry != names.end_vector(); ++entry)
    {
        TextView const name(*entry);
        m_symbols.append_type(name);
        auto type_context = name;
        if (auto result = recipetype_symbols(std::string(name), depth + 1, type_context); failed(result))
        {
            return result;
        }
    }
    return ErrorValue::SUCCESS;
}

ResultPair TypeWalk::add_member(Member& member, unsigned long depth, TextView& type_context)
{
    auto const is_nesting = !member.recipe_type.empty();
    if (!member.symbol.empty())
    {
        add_symbol(member, type_context);
    }
    else if (is_nesting)
    {
        add_nested_type(member, type_context);
    }
    else
    {
        return failure(ErrorValue::TYPE_MISSING, RecipeResult::MISSING_RECIPETYPE_SYMBOLS);
    }
    if (m_symbols.size() > walk_limit)
    {
        return too_large();
    }
    if (!is_nesting)
    {
        return ErrorValue::SUCCESS;
    }
    auto result = recipetype_symbols(std::string(member.recipe_type), depth + 1, type_context);
    // Also where this type was itself reached through another: members behind a nested one count as direct.
    type_context = TextView();
    return result;
}

void TypeWalk::add_symbol(Member& member, TextView type_context)
{
    auto& record = m_symbols.append_symbol();
    record.symbol = member.symbol;
    record.recipetype = type_context;
    record.name = member.name;
    record.enabled = member.enabled;
    record.default_value = member.default_value != nullptr ? *member.default_value : Value();
    record.schema = member.schema != nullptr ? *member.schema : Value();
    member.record = &record;
}

void TypeWalk::add_nested_type(Member const& member, TextView& type_context)
{
    type_context = member.recipe_type;
    m_symbols.append_type(member.name);
    m_symbols.append_type(type_context);
}

/// Lays the values of a recipe and of the recipes nested in it over the records.
class ValueWalk
{
public:
    ValueWalk(Value const& config, SymbolList& symbols, Value const& recipe, std::string const& recipe_name)
        : m_config(config), m_symbols(symbols), m_recipe(recipe), m_recipe_name(recipe_name)
    {
    }

    ResultPair recipe_values(std::string& recipe_path, unsigned long depth);

private:
    ResultPair lay(Value const& values, unsigned long depth);
    ResultPair lay(Value const& value, SymbolData& record, unsigned long depth);

    Value const& m_config;
    SymbolList& m_symbols;
    Value const& m_recipe;
    std::string const& m_recipe_name;
    /// The smallest depth at which a recipe has been laid to its end. Laying it again from there or from deeper down
    /// changes nothing, since a value once set stays and a nested recipe's result does not count.
    boost::unordered_flat_map<std::string, unsigned long> m_laid;
};

ResultPair ValueWalk::recipe_values(std::string& recipe_path, unsigned long depth)
{
    if (is_too_deep(depth))
    {
        return ErrorValue::RECURSION;
    }
    if (!Algorithm::starts_with(recipe_path, Key::recipe_list))
    {
        recipe_path = add_path_recipelist(recipe_path);
    }
    if (auto const laid = m_laid.find(recipe_path); laid != m_laid.end() && laid->second <= depth)
    {
        return ErrorValue::SUCCESS;
    }
    auto const* const stored = RavikSrv::node_path(recipe_path, m_config).node;
    auto const is_given = m_recipe.isset() && m_recipe_name == recipe_path;
    if (!is_given && stored == nullptr)
    {
        return failure(ErrorValue::TYPE_MISSING, RecipeResult::MISSING_RECIPE_VALUES);
    }
    auto result = lay((is_given ? m_recipe : *stored)[Key::values], depth);
    m_laid[recipe_path] = depth;
    return result;
}

ResultPair ValueWalk::lay(Value const& values, unsigned long depth)
{
    auto const end = values.end();
    for (auto value = values.begin(); value != end; ++value)
    {
        auto* const record = m_symbols.find_name(value.name());
        if (record == nullptr)
        {
            continue;
        }
        if (auto result = lay(*value, *record, depth); failed(result))
        {
            return result;
        }
    }
    return ErrorValue::SUCCESS;
}

ResultPair ValueWalk::lay(Value const& value, SymbolData& record, unsigned long depth)
{
    if (record.is_recipetype)
    {
        if (auto nested = Algorithm::to_string(value); !nested.empty())
        {
            // A nested recipe that is missing or faulty leaves its values unset and fails nothing.
            static_cast<void>(recipe_values(nested, depth + 1));
        }
        return ErrorValue::SUCCESS;
    }
    if (record.value.isset() && record.value != value)
    {
        return failure(ErrorValue::MULTIPLE_MATCHES, RecipeResult::MULTIPLE_VALUES_ASSIGNED_TO_SYMBOL);
    }
    record.value = value;
    return ErrorValue::SUCCESS;
}

/// Tells of symbols, one after the other, who serves them.
class SymbolMappings
{
public:
    explicit SymbolMappings(Value const& symbol_mapping)
        : m_entries(symbol_mapping), m_roles({{{Key::domain, Role::domain}, {Key::use_mapping, Role::use_mapping}}})
    {
    }

    /// Returns false where the table does not have the record's symbol.
    [[nodiscard]] bool take(SymbolData& record)
    {
        // Most symbols are their name alone.
        auto const is_name =
            record.symbol.find(':') == std::string_view::npos && record.symbol.find('[') == std::string_view::npos;
        auto const found =
            m_entries.find(is_name ? record.symbol.c_str() : RavikSrv::name_from_path(record.symbol.c_str()).c_str());
        if (found == m_entries.end() || found->empty())
        {
            return false;
        }
        m_are_distinct = m_are_distinct && is_name && is_new(&*found);
        take(*found, record);
        return true;
    }

    /// Whether no symbol was asked for twice. Not told of symbols with more than their name.
    bool are_distinct() const noexcept { return m_are_distinct; }

private:
    enum class Role
    {
        none,
        domain,
        use_mapping,
    };

    /// Whether the entry was not asked for before. Those that stand in the table in the order in which they are asked
    /// for are; only the first that does not has the others kept.
    bool is_new(Value const* entry)
    {
        if (m_known.empty() && std::less<>()(m_last, entry))
        {
            m_in_order.push_back(entry);
            m_last = entry;
            return true;
        }
        if (m_known.empty())
        {
            m_known.reserve(2 * m_in_order.size());
            m_known.insert(m_in_order.begin(), m_in_order.end());
        }
        return m_known.insert(entry).second;
    }

    /// Reads an entry of the table, in one go for speed.
    void take(Value const& mapping, SymbolData& record)
    {
        record.use_mapping = true;
        auto const end = mapping.end();
        std::size_t position = 0;
        for (auto entry = mapping.begin(); entry != end; ++entry, ++position)
        {
            auto const role = m_roles.role_of(position, entry.name());
            if (role == Role::domain)
            {
                record.domain = TextView(*entry);
            }
            else if (role == Role::use_mapping && entry->isset())
            {
                record.use_mapping = entry->get_bool();
            }
        }
    }

    OrderedLookup m_entries;
    KeyRoles<Role, 2> m_roles;
    Value const* m_last = nullptr;
    std::vector<Value const*> m_in_order;
    boost::unordered_flat_set<Value const*> m_known;
    bool m_are_distinct = true;
};

} // namespace

ResultPair get_symbol_data(Value& config, std::string& recipe_path, SymbolList& symbols, Value const& recipe,
                           std::string const& recipe_name)
{
    auto const* const source = recipe.isset() ? &recipe : RavikSrv::node_path(recipe_path, std::as_const(config)).node;
    if (source == nullptr)
    {
        // The type is what counts as missing: without the recipe nobody knows it.
        return failure(ErrorValue::TYPE_MISSING, RecipeResult::MISSING_RECIPETYPE);
    }
    std::string const recipetype_name = text_of((*source)[Key::recipe_type_name]);
    TextView type_context;
    if (auto result = TypeWalk(config, symbols).recipetype_symbols(recipetype_name, 0, type_context); failed(result))
    {
        return result;
    }
    return ValueWalk(config, symbols, recipe, recipe_name).recipe_values(recipe_path, 0);
}

RecipeResult symboldata_from_srv_config(SymbolList& symbols, std::vector<std::string>& domains,
                                        Value const& symbol_mapping)
{
    SymbolMappings mappings(symbol_mapping);
    boost::unordered_flat_set<std::string_view> known;
    for (auto& record : symbols)
    {
        if (record.is_recipetype)
        {
            continue;
        }
        if (!mappings.take(record))
        {
            return RecipeResult::SYMBOL_NOT_MAPPED;
        }
        // Mostly one domain serves many symbols in a row.
        if ((domains.empty() || domains.back() != record.domain) && known.insert(record.domain).second)
        {
            domains.emplace_back(record.domain);
        }
    }
    if (mappings.are_distinct())
    {
        symbols.set_symbols_are_distinct();
    }
    return RecipeResult::SUCCESS;
}

} // namespace RecipeManagement
