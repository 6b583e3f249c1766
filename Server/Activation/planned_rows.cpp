#include "Activation/planned_rows.h"

#include "Configuration/MemberIndex.h"
#include "Configuration/configuration_keys.h"
#include "Configuration/recipe_needs.h"
#include "Configuration/tree.h"

#include "ControllerOutcome.h"
#include "algorithm_helper.h"
#include "api_helper.h"

#include <algorithm>
#include <map>
#include <set>
#include <unordered_map>
#include <unordered_set>

namespace Ravik
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::Algorithm::to_string;

namespace
{

Value const* recipe_node(std::string const& name, Value const& tree)
{
    return RavikSrv::node_path(Tree::join(Key::recipe_list, name), tree).node;
}

bool is_never_written(Symbol const& symbol)
{
    return symbol.domain == server_domain && symbol.use_mapping;
}

// Symbols that no activation writes -----------------------------------------------------------------------------------

/// The members that a recipe, with the recipes that it nests, has values for.
class Valued
{
public:
    Valued(MemberIndex::Members const& members, Value const& tree) : m_members(members), m_tree(tree) {}

    void walk(std::string const& recipe)
    {
        auto const* const node = recipe_node(recipe, m_tree);
        if (node == nullptr || !m_walked.insert(recipe).second)
        {
            return;
        }
        Value const& values = (*node)[Key::values];
        for (auto value = values.begin(); value != values.end(); ++value)
        {
            auto const member = m_members.find(value.name());
            if (member == m_members.end() || !value->isset())
            {
                continue;
            }
            if (member->second.nests_type)
            {
                walk(to_string(*value));
            }
            else
            {
                m_values.emplace(value.name(), *value);
            }
        }
    }

    /// The value of a member, null where there is none.
    Value value_of(std::string const& member) const
    {
        auto const found = m_values.find(member);
        return found == m_values.end() ? Value() : found->second;
    }

private:
    MemberIndex::Members const& m_members;
    Value const& m_tree;
    std::unordered_set<std::string> m_walked;
    std::unordered_map<std::string, Value> m_values;
};

void add_never_written(std::string const& recipe, Value const& tree, SymbolTable const& symbols, ActivationRows& rows)
{
    if (std::none_of(symbols.all().begin(), symbols.all().end(), is_never_written))
    {
        return;
    }
    auto const* const node = recipe_node(recipe, tree);
    MemberIndex index(tree);
    auto const* const members = node == nullptr ? nullptr : index.members_of(to_string((*node)[Key::recipe_type_name]));
    if (members == nullptr)
    {
        return;
    }
    Valued valued(*members, tree);
    valued.walk(recipe);
    // In an order that does not change from call to call.
    std::map<std::string, ActivationRow> found;
    for (auto const& [name, target] : *members)
    {
        auto const* const member = RavikSrv::node_path(target.path, tree).node;
        if (target.nests_type || member == nullptr || !(*member)[Key::enabled].get_bool())
        {
            continue;
        }
        auto const symbol = to_string((*member)[Key::symbol]);
        auto const* const mapped = symbols.find(symbol).symbol;
        auto const own = valued.value_of(name);
        auto const value = own.isset() ? own : (*member)[Key::default_value];
        if (mapped != nullptr && is_never_written(*mapped) && value.isset())
        {
            found[name] = {.symbol = symbol,
                           .domain = mapped->domain,
                           .member = name,
                           .before = {},
                           .value = value,
                           .after = {},
                           .state = RowState::NotWritten,
                           .text =
                               R"(no activation writes a variable of the server's own without "USEMAPPING": false)"};
        }
    }
    for (auto& [name, row] : found)
    {
        rows.push_back(std::move(row));
    }
}

// Writes --------------------------------------------------------------------------------------------------------------

/// Where a value does not fit its symbol, nothing of its group is sent, and every command tells of that symbol.
std::string culprit_text(ExecutedGroup const& group)
{
    auto const culprit = std::find_if(group.commands.begin(), group.commands.end(),
                                      [](ExecutedCommand const& command)
                                      {
                                          return command.result != ErrorValue::SUCCESS &&
                                                 command.result != ErrorValue::EXTENSION &&
                                                 command.text.view().starts_with(command.name.str() + ": ");
                                      });
    return culprit == group.commands.end() ? std::string() : culprit->text.str();
}

RowState state_of(ExecutedCommand const& command, std::string const& culprit)
{
    if (command.result == ErrorValue::SUCCESS)
    {
        return RowState::Written;
    }
    auto const is_culprit = culprit.empty() || command.text.view().starts_with(command.name.str() + ": ");
    auto const is_victim = command.text == culprit && !is_culprit;
    auto const is_left =
        command.result == ErrorValue::INTERRUPTED || command.text.view().starts_with(RavikSrv::not_tried);
    return is_victim || is_left ? RowState::NotTried : RowState::Failed;
}

template <typename Visit> void for_each_write(ExecutionRecord const& record, Visit visit)
{
    for (auto const& group : record)
    {
        auto const culprit = culprit_text(group);
        for (auto const& command : group.commands)
        {
            if (command.wrote)
            {
                visit(command, state_of(command, culprit), group.domain);
            }
        }
    }
}

} // namespace

ActivationRows planned_rows(std::string const& recipe, ExecutionRecord const& record, Value const& tree,
                            SymbolTable const& symbols)
{
    auto const* const node = recipe_node(recipe, tree);
    std::unordered_map<std::string, std::string> members;
    for (auto const& member : bound_members(node == nullptr ? "" : to_string((*node)[Key::recipe_type_name]), tree))
    {
        members.emplace(member.symbol, member.name);
    }
    ActivationRows rows;
    std::unordered_set<std::string> known;
    for_each_write(record,
                   [&](ExecutedCommand const& command, RowState state, std::string const& group_domain)
                   {
                       auto const name = command.name.str();
                       if (!known.insert(name).second)
                       {
                           return;
                       }
                       auto const* const symbol = symbols.find(name).symbol;
                       auto const member = members.find(name);
                       rows.push_back({.symbol = name,
                                       .domain = symbol == nullptr ? group_domain : symbol->domain,
                                       .member = member == members.end() ? std::string() : member->second,
                                       .before = {},
                                       .value = command.value,
                                       .after = {},
                                       .state = state == RowState::Written ? RowState::Planned : state,
                                       .text = state == RowState::Written ? std::string() : failure_text(command)});
                   });
    add_never_written(recipe, tree, symbols, rows);
    return rows;
}

void settle(ActivationRows& rows, ExecutionRecord const& record)
{
    std::unordered_map<std::string, ActivationRow*> by_symbol;
    for (auto& row : rows)
    {
        if (row.state == RowState::Planned)
        {
            row.state = RowState::NotTried;
            by_symbol.emplace(row.symbol, &row);
        }
    }
    for_each_write(record,
                   [&](ExecutedCommand const& command, RowState state, std::string const& /*group_domain*/)
                   {
                       if (auto const found = by_symbol.find(command.name.str()); found != by_symbol.end())
                       {
                           found->second->state = state;
                           found->second->text = state == RowState::Written ? std::string() : failure_text(command);
                       }
                   });
}

} // namespace Ravik
