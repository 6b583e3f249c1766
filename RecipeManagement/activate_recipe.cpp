#include "DomainGroups.h"
#include "Member.h"
#include "NameMap.h"
#include "RavikRecipeManagement.h"
#include "RecipeRequest.h"
#include "configuration_keys.h"
#include "symbol_resolution.h"
#include "value_text.h"
#include "walk_limits.h"

#include "algorithm_helper.h"
#include "api_helper.h"

#include <boost/unordered/unordered_flat_map.hpp>

#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

namespace RecipeManagement
{

namespace
{

/// The write commands of a recipe, a group for each domain.
///
/// One walk over the types fills all groups: a mapped symbol is written in the group of the domain that serves it, any
/// other in the server's own group, so each symbol has its place in one group at most. Refers to the records, which
/// must not change.
class WriteGroups
{
public:
    WriteGroups(Command& command, SymbolList& symbols, Value const& config);

    /// Adds a recipe type, the types that it nests and those that it inherits. A failure stands on the command, and the
    /// walk goes on behind it.
    void add_to_cmd_group_if_enabled(std::string const& recipetype_name, unsigned long depth);

    /// Hands out the group of a domain. The server's own may be asked for again.
    CommandGroup take(std::string const& domain);

private:
    struct Symbol
    {
        SymbolData const* record;
        bool is_added;
    };

    void add_members_and_inherited(Value const& type, unsigned long depth);
    void add_symbol_to_cmd_group(Member const& member);
    SymbolData const* take_record(Member const& member);

    Command& m_command;
    Value const& m_config;
    SymbolList& m_types;
    /// For each symbol its first record with a value or a default value, unless each has but one. What else decides
    /// whether a record is written is the same for all records of a symbol: they have the same mapping.
    NameMap<Symbol> m_symbols;
    DomainGroups<CommandGroup> m_groups;
    /// Made once, since each insertion copies it.
    Command m_write;
    std::size_t m_types_walked = 0;
    std::size_t m_failures = 0;
    /// The depths, a bit for each, from which a type has been walked without a failure: once more would add nothing.
    boost::unordered_flat_map<Value const*, std::uint64_t> m_walked;
};

/// The types of a recipe are walked twice as deep as when its symbols are collected.
constexpr unsigned long write_recursion_limit = 2 * recursion_limit;

bool has_value(SymbolData const& record)
{
    return !record.is_recipetype && (record.value.isset() || record.default_value.isset());
}

WriteGroups::WriteGroups(Command& command, SymbolList& symbols, Value const& config)
    : m_command(command), m_config(config), m_types(symbols)
{
    if (symbols.symbols_are_distinct())
    {
        return;
    }
    m_symbols.reserve(symbols.symbol_count());
    for (auto const& record : symbols)
    {
        if (has_value(record))
        {
            m_symbols.emplace(record.symbol, Symbol{&record, false});
        }
    }
}

void WriteGroups::add_to_cmd_group_if_enabled(std::string const& recipetype_name, unsigned long depth)
{
    if (depth + 1 > write_recursion_limit)
    {
        ++m_failures;
        set_command_result(m_command, RecipeResult::RECURSION);
        return;
    }
    auto const* const type = RavikSrv::node_path(add_path_recipetypelist(recipetype_name), m_config).node;
    if (type == nullptr)
    {
        ++m_failures;
        set_command_error(m_command, recipetype_name, RecipeResult::MISSING_RECIPETYPE_DATA);
        return;
    }
    auto const bit = std::uint64_t{1} << depth;
    auto const walked = m_walked.find(type);
    auto const is_repeated = walked != m_walked.end() && (walked->second & bit) != 0;
    if (is_repeated || Algorithm::equals(text_of((*type)[Key::options][Key::enabled]), type_disabled))
    {
        return;
    }
    if (++m_types_walked > walk_limit)
    {
        ++m_failures;
        set_command_result(m_command, RecipeResult::RECURSION);
        return;
    }
    auto const failures_before = m_failures;
    add_members_and_inherited(*type, depth);
    if (m_failures == failures_before)
    {
        m_walked[type] |= bit;
    }
}

void WriteGroups::add_members_and_inherited(Value const& type, unsigned long depth)
{
    for (auto const& member : m_types.members_of(type))
    {
        if (member.enabled && !member.symbol.empty())
        {
            add_symbol_to_cmd_group(member);
        }
        else if (member.enabled && !member.recipe_type.empty())
        {
            add_to_cmd_group_if_enabled(std::string(member.recipe_type), depth + 1);
        }
    }
    auto const& inherited = type[Key::recipe_type_names];
    for (auto name = inherited.begin_vector(); name != inherited.end_vector(); ++name)
    {
        add_to_cmd_group_if_enabled(text_of(*name), depth + 1);
    }
}

void WriteGroups::add_symbol_to_cmd_group(Member const& member)
{
    auto const* const record = take_record(member);
    if (record == nullptr)
    {
        return;
    }
    if (auto* const group = m_groups.group_of(*record); group != nullptr)
    {
        m_write.set_name(member.symbol.c_str());
        m_write.set_write_value(record->value.isset() ? record->value : record->default_value);
        group->insert(group->end_vector(), m_write);
    }
}

/// The record that tells what is written to the member's symbol, the first time that the symbol is reached; null where
/// there is none.
SymbolData const* WriteGroups::take_record(Member const& member)
{
    if (m_types.symbols_are_distinct())
    {
        // No symbol stands for two members, and no type is reached twice.
        return member.record != nullptr && has_value(*member.record) ? member.record : nullptr;
    }
    auto const found = m_symbols.find(member.symbol);
    if (found == m_symbols.end() || found->second.is_added)
    {
        return nullptr;
    }
    found->second.is_added = true;
    return found->second.record;
}

CommandGroup WriteGroups::take(std::string const& domain)
{
    auto group = m_groups.take(domain);
    group.set_domain(domain.c_str());
    return group;
}

/// One activation of a recipe.
class ActivateRecipe : private RecipeRequest
{
public:
    ActivateRecipe(Call const& call, Command& command) : RecipeRequest(call, command) {}

    void activate_recipe();

private:
    void write_symbols(std::vector<std::string> const& domains);
    /// Writes the symbols that `domain` serves. Returns false where that failed; the command then says why.
    [[nodiscard]] bool create_cmd_group_and_activate(WriteGroups& groups, std::string const& domain);
};

void ActivateRecipe::activate_recipe()
{
    set_command_result(m_command, RecipeResult::SUCCESS);
    if (!requested_recipe())
    {
        return;
    }
    m_config = m_call.read_configuration();
    if (!resolve_recipe(RecipeResult::ACTIVATING_FAILED))
    {
        return;
    }
    std::vector<std::string> domains;
    auto const symbol_table = m_call.read_symbol_table();
    auto const mapped = symboldata_from_srv_config(m_symbols, domains, symbol_table);
    if (mapped != RecipeResult::SUCCESS)
    {
        set_command_result(m_command, mapped);
        return;
    }
    write_symbols(domains);
}

void ActivateRecipe::write_symbols(std::vector<std::string> const& domains)
{
    auto const* const recipetype_name =
        RavikSrv::node_path(join_path(m_recipe_path, Key::recipe_type_name), std::as_const(m_config)).node;
    if (recipetype_name == nullptr)
    {
        set_command_error(m_command, m_recipe_path, RecipeResult::MISSING_RECIPE_DATA);
        return;
    }
    WriteGroups groups(m_command, m_symbols, m_config);
    groups.add_to_cmd_group_if_enabled(text_of(*recipetype_name), 0);
    for (auto const& domain : domains)
    {
        if (!create_cmd_group_and_activate(groups, domain))
        {
            return;
        }
    }
    // What fails among the server's own symbols leaves its text and does not fail the request.
    static_cast<void>(create_cmd_group_and_activate(groups, server_domain));
    set_command_result(m_command, RecipeResult::SUCCESS);
}

bool ActivateRecipe::create_cmd_group_and_activate(WriteGroups& groups, std::string const& domain)
{
    auto group = groups.take(domain);
    auto const error = m_call.execute(group);
    return handle_read_errors(error, group, RecipeResult::ACTIVATING_RECIPE_PARTLY_FAILED);
}

} // namespace

void RavikRecipeManagement::activate_recipe(Context const& context, Command& command)
{
    ActivateRecipe(call_in(context), command).activate_recipe();
}

} // namespace RecipeManagement
