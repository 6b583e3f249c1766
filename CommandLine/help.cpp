#include "help.h"

#include "Command.h"

#include "text_width.h"

#include <algorithm>
#include <utility>

namespace Ravik::CommandLine
{

namespace
{

/// Lines of a name and what it means, the second column aligned.
std::string two_columns(std::vector<std::pair<std::string, std::string_view>> const& rows)
{
    std::size_t width = 0;
    for (auto const& row : rows)
    {
        width = std::max(width, display_width(row.first));
    }
    std::string text;
    for (auto const& [name, meaning] : rows)
    {
        text.append("  ").append(name).append(width + 2 - display_width(name), ' ').append(meaning).append("\n");
    }
    return text;
}

std::string written(OptionEntry const& option)
{
    return option.value.empty() ? std::string(option.name) : std::string(option.name) + ' ' + std::string(option.value);
}

std::string written(CommandEntry const& command)
{
    return command.operands.empty() ? std::string(command.name)
                                    : std::string(command.name) + ' ' + std::string(command.operands);
}

std::string help_of(CommandEntry const& command)
{
    auto text = "Usage: " + usage_of(command) + "\n\n" + std::string(command.summary) + ".\n" +
                std::string(command.description);
    std::vector<std::pair<std::string, std::string_view>> options;
    for (auto const& option : all_options())
    {
        if (option.taken_by == TakenBy::every_command || command.options.contains(option.option))
        {
            options.emplace_back(written(option), option.summary);
        }
    }
    return text + "\nOptions:\n" + two_columns(options);
}

} // namespace

std::string overall_help()
{
    std::vector<std::pair<std::string, std::string_view>> commands;
    for (auto const& command : all_commands())
    {
        commands.emplace_back(written(command), command.summary);
    }
    commands.emplace_back("help [COMMAND]", "Print this, or how a command is used, with examples");
    std::vector<std::pair<std::string, std::string_view>> options;
    for (auto const& option : all_options())
    {
        options.emplace_back(written(option), option.summary);
    }
    return "Usage: ravik [--project DIR] [--json] COMMAND …\n\n"
           "Keeps the recipes of a machine and writes them to its controllers.\n\n"
           "Commands:\n" +
           two_columns(commands) + "\nOptions (anywhere on the line; -- ends them):\n" + two_columns(options) +
           "\nExit status: 0 done; 1 refused or failed, wholly or partly; 2 wrong usage; 3 the project can't be "
           "opened.\n\n"
           "To begin:\n"
           "  ravik init plant       writes a sample project and names the next steps";
}

std::string help_of(std::span<std::string const> words)
{
    if (words.empty() || words[0] == "help")
    {
        return overall_help();
    }
    auto commands = commands_under(words);
    if (commands.empty())
    {
        commands.push_back(&find_command(words));
    }
    std::string text;
    for (auto const* const command : commands)
    {
        text += (text.empty() ? "" : "\n") + help_of(*command);
    }
    text.pop_back();
    return text;
}

std::string usage_of(CommandEntry const& command)
{
    return "ravik " + written(command);
}

} // namespace Ravik::CommandLine
