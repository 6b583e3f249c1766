#pragma once

#include "RavikSrvExtApi.h"

#include <string>
#include <string_view>
#include <vector>

namespace Ravik::CommandLine
{

/// What a command ended with: what `--json` prints and what the exit status follows.
struct Answer
{
    /// 0 for success.
    std::uint32_t result = 0;
    std::string name = "SUCCESS";
    std::string text;
    RavikSrv::Value value;
    /// What standard error says of a failure, a message each; name and text where there is nothing here.
    std::vector<std::string> messages;
};

/// The answer with the error value, its name and a text.
Answer answer_of(RavikSrv::ErrorValue error, std::string text = {});

enum class Colour
{
    none,
    bold,
    red,
    green,
    yellow,
};

/// What standard output holds: what commands print, or one JSON object.
enum class OutputForm
{
    text,
    json,
};

/// A text in a colour, where standard output is a terminal that wants colours.
struct Cell
{
    std::string text;
    Colour colour = Colour::none;
};

/// Where commands write to, the one door to the terminal. What goes to standard output is kept until `finish`, messages
/// to standard error are written at once, hints excepted. Texts may come from anywhere, a project, a device or the
/// command line: what `printable` escapes never leaves as it is, and a line stays one line.
class Output
{
public:
    /// As JSON, standard output holds the answer of `finish` and nothing else.
    explicit Output(OutputForm form);

    OutputForm form() const noexcept { return m_form; }
    // What a person is to read on standard output; a line end is added.

    void print(std::string_view line);
    void print(std::vector<Cell> const& line);
    /// A text of the program's own, in lines.
    void print_text(std::string_view lines);
    /// A value as JSON, laid out in lines.
    void print_json(RavikSrv::Value const& value);

    /// A text that another program is to read, to the byte; on a terminal its lines, as far as one may get them.
    void print_file(std::string_view text);

    void error(std::string_view text) const;
    void warning(std::string_view text) const;
    /// Keeps a hint, which stands behind the failure that it helps with; an empty one is none.
    void hint(std::string text);

    /// Writes what is due on standard output, and the answer's failure or warning on standard error. Returns whether
    /// standard output took everything; a reader that has gone away is no failure.
    bool finish(Answer const& answer);

private:
    void add_line(std::string_view line);
    bool write_out() const;

    OutputForm m_form;
    bool m_colours_out;
    bool m_colours_err;
    std::string m_text;
    std::vector<std::string> m_hints;
};

} // namespace Ravik::CommandLine
