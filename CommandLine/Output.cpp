#include "Output.h"

#include "text_file.h"
#include "text_width.h"

#include "Json/Json.h"

#include "api_helper.h"

#include "Project/report_values.h"

#include <boost/algorithm/string.hpp>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Ravik::CommandLine
{

namespace
{

bool wants_colours(int descriptor)
{
    char const* const no_color = std::getenv("NO_COLOR");
    char const* const terminal = std::getenv("TERM");
    return ::isatty(descriptor) == 1 && (no_color == nullptr || *no_color == '\0') &&
           (terminal == nullptr || std::string_view(terminal) != "dumb");
}

std::string painted(std::string_view text, Colour colour)
{
    constexpr std::array<std::string_view, 5> codes{"", "\x1b[1m", "\x1b[31m", "\x1b[32m", "\x1b[33m"};
    if (colour == Colour::none)
    {
        return std::string(text);
    }
    return std::string(codes.at(static_cast<std::size_t>(colour))).append(text).append("\x1b[0m");
}

void write_message(bool colours, std::string_view kind, Colour colour, std::string_view text)
{
    auto line = colours ? painted(kind, colour) : std::string(kind);
    line += ": " + printable(text) + '\n';
    // There is nobody left to tell where this fails.
    static_cast<void>(write_all(STDERR_FILENO, line));
}

std::string answer_text(Answer const& answer)
{
    RavikSrv::Value object;
    object.insert("result", static_cast<long>(answer.result));
    object.insert("name", text_value(answer.name));
    object.insert("text", text_value(answer.text));
    object.insert("value", answer.value);
    return printable_json(Json::write(object)) + '\n';
}

} // namespace

Answer answer_of(RavikSrv::ErrorValue error, std::string text)
{
    Answer answer;
    answer.result = static_cast<std::uint32_t>(error);
    answer.name = RavikSrv::get_error_string(error).name();
    answer.text = std::move(text);
    return answer;
}

Output::Output(OutputForm form)
    : m_form(form), m_colours_out(wants_colours(STDOUT_FILENO)), m_colours_err(wants_colours(STDERR_FILENO))
{
}

void Output::print(std::string_view line)
{
    add_line(printable(line));
}

void Output::print(std::vector<Cell> const& line)
{
    std::string text;
    for (auto const& cell : line)
    {
        text += painted(printable(cell.text), m_colours_out ? cell.colour : Colour::none);
    }
    add_line(text);
}

void Output::print_text(std::string_view lines)
{
    add_line(printable_lines(lines));
}

void Output::print_json(RavikSrv::Value const& value)
{
    add_line(printable_json(Json::write(value, Json::Layout::Indented)));
}

void Output::print_file(std::string_view text)
{
    if (m_form == OutputForm::text && ::isatty(STDOUT_FILENO) != 1)
    {
        m_text.append(text);
        return;
    }
    auto lines = boost::replace_all_copy(std::string(text), "\r\n", "\n");
    boost::trim_right_if(lines, boost::is_any_of("\n"));
    print_text(lines);
}

/// Takes a line that a terminal may get as it is.
void Output::add_line(std::string_view line)
{
    if (m_form == OutputForm::text)
    {
        m_text.append(line).append("\n");
    }
}

void Output::error(std::string_view text) const
{
    write_message(m_colours_err, "error", Colour::red, text);
}

void Output::warning(std::string_view text) const
{
    write_message(m_colours_err, "warning", Colour::yellow, text);
}

void Output::hint(std::string text)
{
    if (!text.empty())
    {
        m_hints.push_back(std::move(text));
    }
}

bool Output::finish(Answer const& answer)
{
    if (m_form == OutputForm::json)
    {
        m_text = answer_text(answer);
    }
    auto const complete = write_out();
    for (auto const& message : answer.messages)
    {
        error(message);
    }
    if (answer.result != 0 && answer.messages.empty())
    {
        error(answer.text.empty() ? answer.name : answer.name + ": " + answer.text);
    }
    if (answer.result == 0 && !answer.text.empty())
    {
        warning(answer.text);
    }
    for (auto const& text : m_hints)
    {
        write_message(m_colours_err, "hint", Colour::bold, text);
    }
    return complete;
}

bool Output::write_out() const
{
    auto const failure = write_all(STDOUT_FILENO, m_text);
    if (failure != 0 && failure != EPIPE)
    {
        error("can't write to standard output: " + std::generic_category().message(failure));
        return false;
    }
    return true;
}

} // namespace Ravik::CommandLine
