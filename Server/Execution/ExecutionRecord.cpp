#include "Execution/ExecutionRecord.h"

#include "api_helper.h"

namespace Ravik
{

std::string failure_text(ExecutedCommand const& command)
{
    auto text =
        command.failure.empty() ? std::string(RavikSrv::get_error_string(command.result).name()) : command.failure;
    return command.text.empty() ? text : text + ": " + command.text.str();
}

} // namespace Ravik
