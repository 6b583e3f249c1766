#include "commands.h"

#include "function_answer.h"
#include "nearest_name.h"

#include <algorithm>

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

/// The server's message says what there is; the hint picks what was probably meant.
void hint_at_unknown_function(Invocation& invocation, std::string const& domain, std::string const& function)
{
    auto const& project = invocation.project();
    auto const domains = project.domains();
    auto const functions = project.functions(domain);
    auto const known = std::find(domains.begin(), domains.end(), domain) != domains.end();
    if (std::find(functions.begin(), functions.end(), function) == functions.end())
    {
        invocation.output().hint(known ? did_you_mean(likely_names(function, functions), "the function ")
                                       : did_you_mean(likely_names(domain, domains), "the domain "));
    }
}

} // namespace

Answer call(Invocation& invocation)
{
    auto const operands = invocation.operands();
    auto const domain = invocation.domain();
    auto parameters = operands.size() > 1 ? json_operand(operands[1]) : Value();
    if (parameters.type() == ValueType::Map)
    {
        parameters.convert(ValueType::Struct);
    }
    auto& project = invocation.project();
    auto const outcome = project.call(project.begin_request(), domain, operands[0], parameters, invocation.origin());
    if (outcome.value.isset())
    {
        invocation.output().print_json(outcome.value);
    }
    else if (outcome.succeeded())
    {
        invocation.output().print(operands[0] + ": done");
    }
    if (outcome.error != ErrorValue::SUCCESS)
    {
        hint_at_unknown_function(invocation, domain, operands[0]);
    }
    return function_answer(outcome);
}

} // namespace Ravik::CommandLine
