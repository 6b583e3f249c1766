#pragma once

#include "RavikSrvExtApi.h"

#include <string>
#include <vector>

namespace Ravik
{

/// One command of an executed group, as it ended.
struct ExecutedCommand
{
    /// The symbol or function that the command addressed.
    RavikSrv::SharedText name;
    /// Whether the command wrote `value`; otherwise it read it.
    bool wrote = false;
    /// The value written or read, null where a read failed.
    RavikSrv::Value value;
    RavikSrv::ErrorValue result = RavikSrv::ErrorValue::SUCCESS;
    /// For a failure: the name that the extension, or the server, gives to it, and what it says besides (may be empty).
    std::string failure;
    RavikSrv::SharedText text;
};

/// Why the command failed: the name given to the failure and what was said besides.
std::string failure_text(ExecutedCommand const& command);

/// A group that a request had executed in the course of its work.
struct ExecutedGroup
{
    std::string domain;
    RavikSrv::ErrorValue result = RavikSrv::ErrorValue::SUCCESS;
    std::vector<ExecutedCommand> commands;
};

/// The groups that one request had executed, in their order.
using ExecutionRecord = std::vector<ExecutedGroup>;

} // namespace Ravik
