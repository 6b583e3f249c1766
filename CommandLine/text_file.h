#pragma once

#include <string>
#include <string_view>

namespace Ravik::CommandLine
{

/// Reads a whole file, standard input for "-". Throws `Failure` where it can't be read.
std::string read_text(std::string const& file);

/// Writes the whole text. Returns 0 or the number of the error that stopped it.
[[nodiscard]] int write_all(int descriptor, std::string_view text);

/// What becomes of a file that stands where one is to be written.
enum class Existing
{
    kept,
    replaced,
};

/// Throws `Failure` where `write_text` would refuse to write because of what stands there already.
void check_writable(std::string const& file, Existing existing);

/// Writes a whole file through a temporary one beside it, so that a fault on the way leaves what was there. An existing
/// file that is replaced keeps its access rights; for one that is to be kept `Failure` is thrown, as for other faults.
void write_text(std::string const& file, std::string_view text, Existing existing);

} // namespace Ravik::CommandLine
