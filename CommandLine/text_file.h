#pragma once

#include <string>
#include <string_view>

namespace Ravik::CommandLine
{

/// Reads a whole file, standard input for "-". Throws `Failure` where it can't be read.
std::string read_text(std::string const& file);

/// Throws `Failure` where `write_text` would refuse to write because of what stands there already.
void check_writable(std::string const& file, bool replace);

/// Writes a whole file through a temporary one beside it, so that a fault on the way leaves what was there. An existing
/// file is replaced only with `replace`, and keeps its access rights then. Throws `Failure`.
void write_text(std::string const& file, std::string_view text, bool replace);

} // namespace Ravik::CommandLine
