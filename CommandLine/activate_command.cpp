#include "commands.h"

#include "Interruption.h"
#include "Progress.h"
#include "activation_answer.h"
#include "function_answer.h"

namespace Ravik::CommandLine
{

namespace
{

Answer plan(Invocation& invocation, std::string const& recipe)
{
    if (invocation.has(Option::note) || invocation.has(Option::no_verify))
    {
        throw UsageError("--dry-run writes nothing, so there is nothing to note or to verify");
    }
    auto const report = invocation.project().plan(recipe);
    print_plan(report, invocation.output());
    return activation_answer(report, plan_states());
}

Answer write(Invocation& invocation, std::string const& recipe)
{
    auto& project = invocation.project();
    Interruption const interruption;
    Progress written("Symbols written:");
    Progress read("Symbols read:");
    auto const report = project.activate(recipe, {.verify = !invocation.has(Option::no_verify),
                                                  .note = invocation.value(Option::note),
                                                  .stop = &interruption.mark(),
                                                  .progress = written.follow(),
                                                  .reading = read.follow()});
    written.clear();
    read.clear();
    print_activation(report, invocation.output());
    return activation_answer(report, activation_states());
}

} // namespace

Answer activate(Invocation& invocation)
{
    auto const& recipe = invocation.operands()[0];
    auto const is_planned = invocation.has(Option::dry_run);
    warn_of_missing_recipes(invocation, recipe);
    auto answer = is_planned ? plan(invocation, recipe) : write(invocation, recipe);
    if (answer.result != 0)
    {
        hint_at_unknown_recipe(invocation, recipe);
    }
    return answer;
}

} // namespace Ravik::CommandLine
