#include "read_from_target.h"

#include "DomainGroups.h"
#include "NameMap.h"
#include "RavikRecipeManagement.h"
#include "configuration_keys.h"
#include "symbol_resolution.h"

#include "api_helper.h"

#include <utility>

namespace RecipeManagement
{

/// The read commands of a domain and the records that they are for, in the order of the list.
struct ReadGroup
{
    CommandGroup commands;
    std::vector<SymbolData const*> records;
};

namespace
{

DomainGroups<ReadGroup> collect_reads(SymbolList const& symbols)
{
    DomainGroups<ReadGroup> groups;
    Command read;
    for (auto const& record : symbols)
    {
        auto* const group = record.is_recipetype ? nullptr : groups.group_of(record);
        if (group == nullptr)
        {
            continue;
        }
        read.set_name(record.symbol.c_str());
        group->commands.insert(group->commands.end_vector(), read);
        // Symbols without the mapping's use are read under the domain that serves the last of them.
        group->commands.set_domain(record.domain.c_str());
        group->records.push_back(&record);
    }
    return groups;
}

/// Adds the values read for the members that the stored recipe names. What was read first for a member stays.
void set_recipe_values(ReadGroup const& reads, Value const& stored, Value& values)
{
    NameMap<Value const*> first_reads;
    first_reads.reserve(reads.records.size());
    for (auto read = reads.commands.begin_vector(); read != reads.commands.end_vector(); ++read)
    {
        first_reads.emplace(read->name(), &read->read_value());
    }
    Value const& stored_values = stored[Key::values];
    for (auto const* const record : reads.records)
    {
        auto const* const name = record->name.c_str();
        auto const read = first_reads.find(record->symbol);
        if (read != first_reads.end() && stored_values.find(name) != stored_values.end())
        {
            values.insert(name, *read->second);
        }
    }
}

/// A recipe of whose symbols none was read has no entry.
Value answer_of(std::string const& path, Value const& recipe, Value const& values, bool is_any_read)
{
    Value answer;
    answer.set_type(ValueType::Map);
    if (!is_any_read)
    {
        return answer;
    }
    Value entry;
    entry.set_type(ValueType::Map);
    entry.insert(Key::recipe_type_name, recipe[Key::recipe_type_name]);
    entry.insert(Key::values, values);
    answer.insert(relative_recipe_name(path).c_str(), entry);
    return answer;
}

} // namespace

ReadFromTarget::ReadFromTarget(Call const& call, Command& command, Value const& config, Value const& symbol_mapping)
    : RecipeRequest(call, command), m_symbol_mapping(symbol_mapping)
{
    m_config = config;
}

void ReadFromTarget::read_from_target()
{
    if (!requested_recipe() || !resolve_recipe(RecipeResult::READ_FROM_TARGET_FAILED))
    {
        return;
    }
    std::vector<std::string> domains;
    if (auto const mapped = symboldata_from_srv_config(m_symbols, domains, m_symbol_mapping);
        mapped != RecipeResult::SUCCESS)
    {
        set_command_result(m_command, mapped);
        return;
    }
    domains.emplace_back(server_domain);
    auto groups = collect_reads(m_symbols);
    // Found a moment ago, when its symbols were resolved.
    Value const& recipe = *RavikSrv::node_path(m_recipe_path, std::as_const(m_config)).node;
    Value values;
    values.set_type(ValueType::Map);
    auto is_any_read = false;
    for (auto const& domain : domains)
    {
        auto reads = groups.take(domain);
        if (reads.commands.empty())
        {
            continue;
        }
        if (!create_cmd_group_and_read_from_target(reads, recipe, values))
        {
            return;
        }
        is_any_read = true;
    }
    if (m_command.extension_result() == 0)
    {
        m_command.set_read_value(answer_of(m_recipe_path, recipe, values, is_any_read));
        set_command_result(m_command, RecipeResult::SUCCESS);
    }
}

bool ReadFromTarget::create_cmd_group_and_read_from_target(ReadGroup& reads, Value const& stored, Value& values)
{
    auto const error = m_call.execute(reads.commands);
    if (!handle_read_errors(error, reads.commands, RecipeResult::READ_FROM_TARGET_PARTLY_FAILED))
    {
        if (error != ErrorValue::SUCCESS)
        {
            set_command_error(m_command, RavikSrv::get_error_string(error).name(), RecipeResult::SERVER_ERROR);
        }
        return false;
    }
    set_recipe_values(reads, stored, values);
    return true;
}

void RavikRecipeManagement::read_from_target(Context const& context, Command& command)
{
    auto const call = call_in(context);
    auto const config = call.read_configuration();
    auto const symbol_mapping = call.read_symbol_table();
    ReadFromTarget(call, command, config, symbol_mapping).read_from_target();
}

} // namespace RecipeManagement
