#include "commands.h"

#include "Table.h"
#include "nearest_name.h"
#include "recipe_names.h"
#include "schema_text.h"
#include "text_width.h"

#include "Json/Json.h"

#include "api_helper.h"

#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/predicate.hpp>

#include <algorithm>
#include <map>
#include <unordered_set>

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

/// What a table shows of long values and types; `--json` has the whole.
constexpr std::size_t widest_cell = 50;

bool failed(ExecutedCommand const& command)
{
    return command.result != ErrorValue::SUCCESS;
}

/// Why the command failed: the name given to the failure and what was said besides.
std::string reason(ExecutedCommand const& command)
{
    auto const name =
        command.failure.empty() ? std::string(RavikSrv::get_error_string(command.result).name()) : command.failure;
    // Who speaks of one symbol alone need not hear its name twice.
    auto const named = command.text.view().starts_with(command.name.str() + ": ");
    auto const text = named ? command.text.str().substr(command.name.view().size() + 2) : command.text.str();
    return text.empty() ? name : name + ": " + text;
}

/// The names of all symbols with their domains, for messages about some of them.
class SymbolDomains
{
public:
    explicit SymbolDomains(Project const& project)
    {
        for (auto const& symbol : project.symbols())
        {
            m_domains.emplace(symbol.name, symbol.domain);
        }
    }

    /// A failed command with everything that helps to put it right.
    std::string complaint(ExecutedCommand const& command) const
    {
        auto const found = m_domains.find(command.name.str());
        if (found != m_domains.end())
        {
            return command.name.str() + " (domain " + found->second + "): " + reason(command);
        }
        std::vector<std::string> names;
        names.reserve(m_domains.size());
        std::transform(m_domains.begin(), m_domains.end(), std::back_inserter(names),
                       [](auto const& entry) { return entry.first; });
        auto const meant = did_you_mean(likely_names(command.name.str(), names));
        return command.name.str() + " (no such symbol): " + reason(command) + (meant.empty() ? "" : "; " + meant);
    }

private:
    std::map<std::string, std::string> m_domains;
};

/// The answer for a group: the first failure's error value, and a message for each failure.
Answer group_answer(ExecutedGroup const& group, Project const& project)
{
    auto const first = std::find_if(group.commands.begin(), group.commands.end(), failed);
    if (first == group.commands.end())
    {
        // Without a failed command the group's own result tells, for example that nothing could be sent.
        return answer_of(group.result);
    }
    auto answer = answer_of(first->result);
    SymbolDomains const domains(project);
    for (auto const& command : group.commands)
    {
        if (failed(command))
        {
            answer.messages.push_back(domains.complaint(command));
        }
    }
    answer.text = boost::join(answer.messages, "; ");
    return answer;
}

Value symbol_value(SymbolInfo const& symbol, ExecutedCommand const& command)
{
    Value entry;
    entry.insert("domain", Value(std::string_view(symbol.domain)));
    entry.insert("address", Value(std::string_view(symbol.mapping)));
    entry.insert("schema", symbol.schema);
    entry.insert("value", failed(command) ? Value() : command.value);
    entry.insert("state", Value(std::string_view(failed(command) ? reason(command) : "ok")));
    return entry;
}

std::vector<Cell> symbol_row(SymbolInfo const& symbol, ExecutedCommand const& command)
{
    auto const state = failed(command) ? Cell{reason(command), Colour::red} : Cell{"ok", Colour::green};
    auto const value = failed(command) ? std::string() : shortened(Json::write(command.value), widest_cell);
    return {{symbol.name},    {symbol.domain},
            {symbol.mapping}, {shortened(schema_text(symbol.schema), widest_cell)},
            {value},          state};
}

/// Each name once, in the order in which they were given.
std::vector<std::string> without_repetition(std::span<std::string const> names)
{
    std::unordered_set<std::string_view> seen;
    std::vector<std::string> result;
    for (auto const& name : names)
    {
        if (seen.insert(name).second)
        {
            result.push_back(name);
        }
    }
    return result;
}

} // namespace

Answer symbols(Invocation& invocation)
{
    auto& project = invocation.project();
    auto const all = project.symbols();
    std::vector<std::string> names;
    names.reserve(all.size());
    std::transform(all.begin(), all.end(), std::back_inserter(names),
                   [](SymbolInfo const& symbol) { return symbol.name; });
    auto const group = project.read_symbols(names);
    auto answer = group_answer(group, project);
    answer.value.set_type(ValueType::Map);
    Table table({"SYMBOL", "DOMAIN", "ADDRESS", "TYPE", "VALUE", "STATE"});
    std::size_t unread = 0;
    for (std::size_t index = 0; index < all.size(); ++index)
    {
        auto const& command = group.commands.at(index);
        table.add(symbol_row(all[index], command));
        answer.value.insert(all[index].name.c_str(), symbol_value(all[index], command));
        unread += failed(command) ? 1U : 0U;
    }
    table.print(invocation.output());
    if (all.empty())
    {
        invocation.output().print("The project has no symbols.");
    }
    if (unread != 0)
    {
        // The table tells of each symbol already.
        answer.messages = {std::to_string(unread) + " of " + counted(all.size(), "symbol") + " can't be read"};
    }
    return answer;
}

Answer symbol_get(Invocation& invocation)
{
    auto& project = invocation.project();
    auto const names = without_repetition(invocation.operands());
    auto const group = project.read_symbols(names);
    auto answer = group_answer(group, project);
    if (names.size() == 1)
    {
        answer.value = answer.result == 0 ? group.commands.at(0).value : Value();
    }
    else
    {
        answer.value.set_type(ValueType::Map);
        for (auto const& command : group.commands)
        {
            if (!failed(command))
            {
                answer.value.insert(command.name.c_str(), command.value);
            }
        }
    }
    if (answer.result == 0 || !answer.value.empty())
    {
        invocation.output().print_json(answer.value);
    }
    return answer;
}

Answer symbol_set(Invocation& invocation)
{
    auto const operands = invocation.operands();
    auto const value = json_operand(operands[1]);
    if (!value.isset())
    {
        throw UsageError("null is no value and can't be written to " + operands[0]);
    }
    auto& project = invocation.project();
    auto const group = project.write_symbol(operands[0], value);
    auto answer = group_answer(group, project);
    if (answer.result == 0)
    {
        answer.value = value;
        invocation.output().print(operands[0] + " = " + Json::write(value));
    }
    return answer;
}

} // namespace Ravik::CommandLine
