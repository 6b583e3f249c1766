#include "commands.h"

#include "Progress.h"
#include "Table.h"
#include "function_answer.h"
#include "recipe_names.h"
#include "rows.h"

#include <boost/algorithm/string/join.hpp>

#include <optional>

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::Value;

/// What became of recipes as it is printed and told.
class Updates
{
public:
    explicit Updates(Invocation& invocation) : m_invocation(invocation) {}

    void add(UpdateRow const& updated)
    {
        std::string const state = name_of(updated.state);
        auto const colour = updated.state == UpdateState::Failed    ? Colour::red
                            : updated.state == UpdateState::Updated ? Colour::green
                                                                    : Colour::none;
        // A change a line; what failed is told behind the table.
        m_table.add({{updated.recipe}, {state, colour}, {updated.info.empty() ? std::string() : updated.info.front()}});
        for (std::size_t index = 1; index < updated.info.size(); ++index)
        {
            m_table.add({{""}, {""}, {updated.info[index]}});
        }
        Value row;
        row.insert("recipe", text_value(updated.recipe));
        row.insert("state", text_value(state));
        row.insert("text", text_value(updated.text));
        row.insert("info", text_values(updated.info));
        m_rows.add(row);
        if (updated.state == UpdateState::Failed)
        {
            hint_at_unknown_recipe(m_invocation, updated.recipe);
            m_failures.push_back(updated.recipe + ": " + updated.text);
            m_first = m_first ? m_first : recipe_answer(updated);
        }
    }

    Answer answer()
    {
        auto const count = [this](UpdateState state) { return m_rows.count(name_of(state)); };
        auto const updated = count(UpdateState::Updated);
        auto const same = count(UpdateState::Same);
        auto& output = m_invocation.output();
        m_table.print(output);
        output.print(counted(updated + same + m_failures.size(), "recipe") + ": " + std::to_string(updated) +
                     " updated, " + std::to_string(same) + " that fit already" +
                     (m_failures.empty() ? "." : ", " + std::to_string(m_failures.size()) + " failed."));
        auto answer = m_first.value_or(Answer());
        answer.messages = m_failures;
        answer.text = boost::join(m_failures, "; ");
        answer.value = m_rows.value();
        return answer;
    }

private:
    Invocation& m_invocation;
    Table m_table{{"RECIPE", "STATE", "CHANGES"}};
    Rows m_rows{{name_of(UpdateState::Updated), name_of(UpdateState::Same), name_of(UpdateState::Failed)}};
    std::vector<std::string> m_failures;
    std::optional<Answer> m_first;
};

/// The recipes to update.
std::vector<std::string> requested(Invocation& invocation)
{
    auto const operands = invocation.operands();
    auto const ways =
        (operands.empty() ? 0 : 1) + (invocation.has(Option::type) ? 1 : 0) + (invocation.has(Option::all) ? 1 : 0);
    if (ways != 1)
    {
        throw UsageError("update takes either recipes, --type TYPE or --all");
    }
    return invocation.has(Option::all)    ? invocation.project().recipe_names().names
           : invocation.has(Option::type) ? recipes_of(invocation, invocation.value(Option::type))
                                          : std::vector<std::string>(operands.begin(), operands.end());
}

} // namespace

Answer update(Invocation& invocation)
{
    auto const names = requested(invocation);
    Progress progress("Updating");
    auto const report = invocation.project().update(
        names, {.origin = invocation.origin(),
                .progress = [&progress](std::size_t done, std::size_t total) { progress.show(done, total); },
                .stop = nullptr});
    progress.clear();
    Updates updates(invocation);
    for (auto const& row : report.rows)
    {
        updates.add(row);
    }
    return updates.answer();
}

} // namespace Ravik::CommandLine
