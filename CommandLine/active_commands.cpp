#include "commands.h"

#include "Progress.h"
#include "function_answer.h"
#include "recipe_names.h"

#include "Project/report_values.h"

#include <algorithm>

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

constexpr char const* examined = "Recipes examined:";

void print_lines(std::vector<std::string> const& lines, Output& output)
{
    std::for_each(lines.begin(), lines.end(), [&](std::string const& line) { output.print(line); });
}

/// The answer where not everything could be read, so that each recipe was looked at on its own.
Answer partial_answer(Invocation& invocation, ActiveReport const& report)
{
    auto answer = recipe_answer(report);
    for (auto const& [recipe, text] : report.unread)
    {
        answer.messages.push_back(std::string(recipe).append(": ").append(text));
        hint_at_unknown_recipe(invocation, recipe);
    }
    print_lines(report.active, invocation.output());
    if (!answer.messages.empty())
    {
        answer.text = std::to_string(answer.messages.size()) + " of " + counted(report.looked_at, "recipe") +
                      " can't be read; " + answer.messages.front() + (answer.messages.size() > 1 ? "; …" : "");
    }
    answer.value = Value(ValueType::Map);
    answer.value.insert("active", text_values(report.active));
    answer.value.insert("unread", value_of(report.unread));
    return answer;
}

} // namespace

Answer active(Invocation& invocation)
{
    auto const operands = invocation.operands();
    std::vector<std::string> const named(operands.begin(), operands.end());
    Progress progress(examined);
    auto const report = invocation.project().active(
        named, {.progress = [&](std::size_t done, std::size_t total) { progress.show(done, total); }, .stop = nullptr});
    progress.clear();
    if (!report.succeeded() && report.error == ErrorValue::SUCCESS)
    {
        return partial_answer(invocation, report);
    }
    auto answer = recipe_answer(report);
    if (report.succeeded())
    {
        answer.value = text_values(report.active);
        print_lines(report.active, invocation.output());
    }
    if (report.succeeded() && report.active.empty())
    {
        invocation.output().print(named.empty() ? "No recipe is active." : "None of them is active.");
    }
    return answer;
}

Answer recipes(Invocation& invocation)
{
    auto const found = recipes_of(invocation, invocation.operands()[0]);
    print_lines(found, invocation.output());
    if (found.empty())
    {
        invocation.output().print("No recipe is of this type.");
    }
    Answer answer;
    answer.value = text_values(found);
    return answer;
}

} // namespace Ravik::CommandLine
