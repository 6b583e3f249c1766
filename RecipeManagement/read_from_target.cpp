#include "DomainGroups.h"
#include "NameMap.h"
#include "RavikRecipeManagement.h"
#include "configuration_keys.h"

#include "algorithm_helper.h"
#include "api_helper.h"

namespace RecipeManagement
{

namespace Algorithm = RavikSrv::Algorithm;
using RavikSrv::Command;
using RavikSrv::CommandGroup;
using RavikSrv::Context;
using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

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
Value answer_of(std::string name, Value const& recipe, Value const& values, bool is_any_read)
{
    Value answer;
    answer.set_type(ValueType::Map);
    if (!is_any_read)
    {
        return answer;
    }
    Algorithm::replace(name, join_path(Key::recipe_list, ""), "");
    Value entry;
    entry.set_type(ValueType::Map);
    entry.insert(Key::recipe_type_name, recipe[Key::recipe_type_name]);
    entry.insert(Key::values, values);
    answer.insert(name.c_str(), entry);
    return answer;
}

} // namespace

void RavikRecipeManagement::read_from_target_afresh(Context const& context, Command& command)
{
    auto const config = host->get_config_value(context, "");
    SymbolList symbols;
    read_from_target(context, command, config, read_symbol_table(), symbols);
}

void RavikRecipeManagement::read_from_target(Context const& context, Command& command, Value const& config,
                                             Value const& symbol_mapping, SymbolList& symbols)
{
    std::string recipe_path;
    auto whole = config;
    if (!requested_recipe(command, recipe_path) ||
        !resolve_recipe(command, whole, recipe_path, symbols, RecipeResult::READ_FROM_TARGET_FAILED))
    {
        return;
    }
    std::vector<std::string> domains;
    if (auto const mapped = symboldata_from_srv_config(symbols, domains, symbol_mapping);
        mapped != RecipeResult::SUCCESS)
    {
        set_command_result(command, mapped);
        return;
    }
    domains.emplace_back(server_domain);
    auto groups = collect_reads(symbols);
    // Found a moment ago, when its symbols were resolved.
    Value const& recipe = *RavikSrv::node_path(recipe_path, config).node;
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
        if (create_cmd_group_and_read_from_target(context, command, reads, recipe, values))
        {
            return;
        }
        is_any_read = true;
    }
    if (command.extension_result() == 0)
    {
        command.set_read_value(answer_of(recipe_path, recipe, values, is_any_read));
        set_command_result(command, RecipeResult::SUCCESS);
    }
}

bool RavikRecipeManagement::create_cmd_group_and_read_from_target(Context const& context, Command& command,
                                                                  ReadGroup& reads, Value const& stored, Value& values)
{
    auto const error = host->execute_command_group(context, &reads.commands);
    if (handle_read_errors(command, error, reads.commands, RecipeResult::READ_FROM_TARGET_PARTLY_FAILED))
    {
        if (error != ErrorValue::SUCCESS)
        {
            set_command_error(command, RavikSrv::get_error_string(error).name(), RecipeResult::SERVER_ERROR);
        }
        return true;
    }
    set_recipe_values(reads, stored, values);
    return false;
}

} // namespace RecipeManagement
