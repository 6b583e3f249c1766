#pragma once

#include "Execution/ExecutionRecord.h"

#include "RavikSrvExtApi.h"

#include <string>

namespace Ravik
{

/// What became of the call of a function.
struct [[nodiscard]] FunctionOutcome
{
    /// The server's own error where it could not have the function executed (unknown domain, unknown function).
    RavikSrv::ErrorValue error = RavikSrv::ErrorValue::SUCCESS;
    /// The extension's result, 0 for success, and the name that the extension gives to it.
    unsigned result = 0;
    std::string name;
    /// The command's result string.
    std::string text;
    RavikSrv::Value value;
    /// What the function had executed in other domains.
    ExecutionRecord record;

    bool succeeded() const noexcept { return error == RavikSrv::ErrorValue::SUCCESS && result == 0; }
};

} // namespace Ravik
