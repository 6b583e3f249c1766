#pragma once

#include <span>

namespace Ravik::CommandLine
{

/// Runs the program with the words behind its name and returns its exit status. Nothing is thrown: whatever goes wrong
/// ends as a message on standard error and, with `--json`, as the object on standard output.
int run(std::span<char const* const> words);

} // namespace Ravik::CommandLine
