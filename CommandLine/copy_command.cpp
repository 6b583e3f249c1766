#include "commands.h"

#include "configuration_answer.h"
#include "path_hint.h"

namespace Ravik::CommandLine
{

Answer copy(Invocation& invocation)
{
    auto const& path = invocation.operands()[0];
    auto const& new_path = invocation.operands()[1];
    auto const report = invocation.project().copy(invocation.domain(), path, new_path,
                                                  {.origin = invocation.origin(), .condition = {}});
    if (report.succeeded())
    {
        invocation.output().print("Copied " + path + " to " + new_path + '.');
    }
    else
    {
        hint_at_missing_path(invocation, path);
    }
    return configuration_answer(report);
}

} // namespace Ravik::CommandLine
