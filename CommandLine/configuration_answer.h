#pragma once

#include "Command.h"

#include <vector>

namespace Ravik::CommandLine
{

/// The outcome as an answer: its failure with the path that caused it where the text does not name it.
Answer configuration_answer(ConfigurationOutcome const& outcome);

/// "PATH: TEXT", the path left out where the text names it already.
std::string with_path(std::string const& path, std::string const& text);

/// How many recipe types and recipes a configuration holds, as the value of an answer.
RavikSrv::Value count_value(RavikSrv::Value const& configuration);

/// Prints the findings, a line each, the notes last.
void print_findings(std::vector<Finding> const& findings, Output& output);

} // namespace Ravik::CommandLine
