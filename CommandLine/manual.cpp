#include "manual.h"

#include "Command.h"

#include "Json/unicode.h"

#include <array>
#include <cstdio>
#include <sstream>

namespace Ravik::CommandLine
{

namespace
{

constexpr char const* introduction = R"(.SH NAME
ravik \- keeps the recipes of a machine and writes them to its controllers
.SH SYNOPSIS
.B ravik
[\fB\-\-project\fR \fIDIR\fR] [\fB\-\-json\fR] \fICOMMAND\fR \[u2026]
.SH DESCRIPTION
A project is a folder with a file ravik.json, which names the extensions and
symbols, and a store, ravik.db, with recipe types and recipes. Every command
works on the project in the working directory or in that of \-\-project.
.SH OPTIONS
Options stand anywhere on the line; \-\- ends them. Every command takes these:
)";

constexpr char const* conclusion = R"(.SH EXIT STATUS
.TP
0
done
.TP
1
refused or failed, wholly or partly
.TP
2
wrong usage
.TP
3
the project can\(aqt be opened
.SH FILES
.TP
ravik.json
the project file, written by a person
.TP
ravik.db
the store
.SH ENVIRONMENT
.TP
NO_COLOR
where it is set, nothing is printed in colour)";

/// What must not be taken for the formatter's own language, or is not ASCII.
std::string escaped(std::string_view text)
{
    std::string result = text.starts_with('.') || text.starts_with('\'') ? "\\&" : "";
    for (; !text.empty(); text.remove_prefix(Json::first_character(text).bytes.size()))
    {
        auto const character = Json::first_character(text);
        constexpr char32_t ascii = 0x80;
        if (character.code >= ascii)
        {
            std::array<char, 16> name{};
            static_cast<void>(
                std::snprintf(name.data(), name.size(), "\\[u%04X]", static_cast<unsigned>(character.code)));
            result += name.data();
            continue;
        }
        switch (character.bytes.front())
        {
        case '\\':
            result += "\\e";
            break;
        case '-':
            result += "\\-";
            break;
        case '\'':
            result += "\\(aq";
            break;
        case '^':
            result += "\\(ha";
            break;
        case '~':
            result += "\\(ti";
            break;
        case '`':
            result += "\\(ga";
            break;
        default:
            result += character.bytes;
        }
    }
    return result;
}

/// The lines of a text: paragraphs between empty lines, and examples, which are indented, as they stand.
std::string body(std::string_view text)
{
    std::istringstream lines{std::string(text)};
    std::string result;
    auto is_example = false;
    for (std::string line; std::getline(lines, line);)
    {
        if (line.starts_with("  ") != is_example)
        {
            result += is_example ? ".EE\n" : ".EX\n";
            is_example = !is_example;
        }
        result += line.empty() ? std::string(".PP\n") : escaped(line) + '\n';
    }
    return result + (is_example ? ".EE\n" : "");
}

std::string options(OptionSet const* own)
{
    std::string text;
    for (auto const& option : all_options())
    {
        auto const is_own = option.taken_by == TakenBy::some_commands;
        if (own == nullptr ? !is_own : own->contains(option.option))
        {
            text += ".TP\n\\fB" + escaped(option.name) + "\\fR" +
                    (option.value.empty() ? "" : " \\fI" + escaped(option.value) + "\\fR") + '\n' +
                    escaped(option.summary) + '\n';
        }
    }
    return text;
}

std::string section(CommandEntry const& command)
{
    auto const own = options(&command.options);
    // The description begins with an empty line.
    return ".SS " + escaped(command.name) + (command.operands.empty() ? "" : ' ' + escaped(command.operands)) + '\n' +
           escaped(command.summary) + ".\n" + body(command.description) + own;
}

} // namespace

std::string manual()
{
    auto text = R"(.TH RAVIK 1 "" "ravik )" + escaped(RAVIK_VERSION) + R"(" "User Commands")" + '\n' + introduction +
                options(nullptr) + ".SH COMMANDS\n";
    for (auto const& command : all_commands())
    {
        text += section(command);
    }
    return text + conclusion;
}

} // namespace Ravik::CommandLine
