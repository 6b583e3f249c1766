#pragma once

#include <span>
#include <string>

namespace Ravik::CommandLine
{

/// What the program is for, its commands and options.
std::string overall_help();

/// The help of the commands that the words name, the overall one without any. Throws `UsageError` where they name none.
std::string help_of(std::span<std::string const> words);

/// How a command is written.
struct CommandEntry;
std::string usage_of(CommandEntry const& command);

} // namespace Ravik::CommandLine
