#include "configuration_answer.h"

#include "recipe_names.h"

namespace Ravik::CommandLine
{

using RavikSrv::Value;

Answer configuration_answer(ConfigurationOutcome const& outcome)
{
    return answer_of(outcome.error, outcome.succeeded() ? outcome.text : with_path(outcome.path, outcome.text));
}

std::string with_path(std::string const& path, std::string const& text)
{
    return path.empty() || text.find(path) != std::string::npos ? text : path + (text.empty() ? "" : ": " + text);
}

Value count_value(Value const& configuration)
{
    Value counts;
    counts.insert("recipeTypes", static_cast<long>(recipe_type_names(configuration).size()));
    counts.insert("recipes", static_cast<long>(recipe_names(configuration).size()));
    return counts;
}

void print_findings(std::vector<Finding> const& findings, Output& output)
{
    for (auto const notes : {false, true})
    {
        for (auto const& finding : findings)
        {
            if (finding.is_note() == notes)
            {
                output.print((notes ? "note: " : "") + finding.path + ": " + finding.text);
            }
        }
    }
}

} // namespace Ravik::CommandLine
