#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Ravik::CommandLine
{

/// A command line as far as it is written, in the words that a shell makes of it.
struct PartialLine
{
    /// The words that are finished, the program's name first.
    std::vector<std::string> words;
    /// What is written of the last one; empty where it has not begun.
    std::string last;
    /// Whether a quote in it is still open.
    bool in_quotes = false;
};

/// Takes the line apart at blanks, with quotes and backslashes as shells know them.
PartialLine split_line(std::string_view line);

/// The text as a shell reads it outside quotes.
std::string escaped_word(std::string_view text);

} // namespace Ravik::CommandLine
