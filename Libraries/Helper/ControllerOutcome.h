#pragma once

#include "RavikSrvExtApi.h"

#include <cstdint>
#include <string>

namespace RavikSrv
{

/// How an access to a controller went, with a sentence for a person where it failed. `Result` is the enumeration of an
/// extension's own result codes, with `SUCCESS` among them.
template <typename Result> struct ControllerOutcome
{
    Result result = Result::SUCCESS;
    std::string text;

    bool succeeded() const noexcept { return result == Result::SUCCESS; }
};

/// What the text of a failure begins with where nothing was sent to the controller for the command.
inline constexpr char const* not_tried = "Not tried: ";

/// Leaves a failure on the command that asked for the access.
template <typename Result> void fail(Command& command, Result result, char const* text)
{
    // The code first: it needs no memory.
    command.set_extension_result(static_cast<std::uint32_t>(result));
    command.set_result_string(text);
}

/// Leaves on the command that the access was not tried, since whoever waits for the request has it stopped.
inline void leave_stopped(Command& command)
{
    command.set_extension_result(0);
    command.set_result(ErrorValue::INTERRUPTED);
    command.set_result_string((std::string(not_tried) + "stopped").c_str());
}

/// Leaves the outcome on the command that asked for the access.
template <typename Result> void finish(Command& command, ControllerOutcome<Result> const& outcome)
{
    if (outcome.succeeded())
    {
        command.set_extension_result(0);
    }
    else
    {
        fail(command, outcome.result, outcome.text.c_str());
    }
}

} // namespace RavikSrv
