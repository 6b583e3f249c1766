#include "read_from_target.h"

#include "DomainGroups.h"
#include "NameMap.h"
#include "OrderedLookup.h"
#include "RavikRecipeManagement.h"
#include "configuration_keys.h"
#include "symbol_resolution.h"

#include "api_helper.h"

#include <algorithm>
#include <utility>

namespace RecipeManagement
{

/// The values of the answer: those that were read for the members that the stored recipe names. Refers to what is
/// stored.
class AnswerValues
{
public:
    explicit AnswerValues(Value const& stored) : m_stored(stored), m_lookup(stored) {}

    /// What is added first for a member stays.
    void add(char const* name, Value const& value)
    {
        if (auto const entry = m_lookup.find(name); entry != m_lookup.end())
        {
            m_read.emplace_back(entry, value);
        }
    }

    Value values() const
    {
        if (stand_as_stored())
        {
            return in_shape_of_stored();
        }
        Value values(ValueType::Map);
        for (auto const& [entry, value] : m_read)
        {
            values.insert(entry.name(), value);
        }
        return values;
    }

private:
    bool stand_as_stored() const
    {
        auto entry = m_stored.begin();
        return m_stored.type() == ValueType::Map && m_read.size() == m_stored.size() &&
               std::all_of(m_read.begin(), m_read.end(), [&](auto const& read) { return read.first == entry++; });
    }

    /// A copy shares the names with what is stored, so that none has to be made.
    Value in_shape_of_stored() const
    {
        Value values = m_stored;
        auto read = m_read.begin();
        auto const end = values.end();
        for (auto entry = values.begin(); entry != end; ++entry, ++read)
        {
            *entry = read->second;
        }
        return values;
    }

    Value const& m_stored;
    OrderedLookup m_lookup;
    std::vector<std::pair<RavikSrv::ConstIterator<Value>, Value>> m_read;
};

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

/// The value that was read for each record of a group: that of the first command for the record's symbol.
class ReadValues
{
public:
    ReadValues(ReadGroup const& reads, bool symbols_are_distinct) : m_reads(reads)
    {
        if (symbols_are_distinct)
        {
            return;
        }
        m_first_reads.reserve(reads.records.size());
        for (auto read = reads.commands.begin_vector(); read != reads.commands.end_vector(); ++read)
        {
            m_first_reads.emplace(read->name(), &read->read_value());
        }
    }

    /// Of the record at a position of the group.
    Value const& of(std::size_t position) const
    {
        auto const read = m_first_reads.find(m_reads.records[position]->symbol);
        return read != m_first_reads.end()
                   ? *read->second
                   : (m_reads.commands.begin_vector() + static_cast<std::ptrdiff_t>(position))->read_value();
    }

private:
    ReadGroup const& m_reads;
    /// By symbol; empty where each symbol was read once.
    NameMap<Value const*> m_first_reads;
};

/// A recipe of whose symbols none was read has no entry.
Value answer_of(std::string const& path, Value const& recipe, AnswerValues const& values, bool is_any_read)
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
    entry.insert(Key::values, values.values());
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
    AnswerValues values(recipe[Key::values]);
    auto is_any_read = false;
    for (auto const& domain : domains)
    {
        auto reads = groups.take(domain);
        if (reads.commands.empty())
        {
            continue;
        }
        if (!create_cmd_group_and_read_from_target(reads, values))
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

bool ReadFromTarget::create_cmd_group_and_read_from_target(ReadGroup& reads, AnswerValues& values)
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
    ReadValues const read(reads, m_symbols.symbols_are_distinct());
    for (std::size_t position = 0; position < reads.records.size(); ++position)
    {
        values.add(reads.records[position]->name.c_str(), read.of(position));
    }
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
