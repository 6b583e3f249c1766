#pragma once

#include "Arguments.h"
#include "Failure.h"
#include "Output.h"

#include "Project/Project.h"

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Ravik::CommandLine
{

/// The statuses that the program exits with.
enum class ExitStatus
{
    done = 0,
    /// Refused or failed, wholly or partly.
    failed = 1,
    wrong_usage = 2,
    /// The project can't be opened.
    no_project = 3,
};

/// One run of one command: its operands and options, where it writes to, and the project, opened on first use.
class Invocation
{
public:
    /// Both arguments must outlive the invocation; `operands` are those behind the command's name.
    Invocation(Arguments const& arguments, std::span<std::string const> operands, Output& output);

    std::span<std::string const> operands() const noexcept { return m_operands; }
    bool has(Option option) const { return m_arguments.has(option); }
    /// The value of an option, empty where it is not given.
    std::string value(Option option) const { return m_arguments.value(option, ""); }
    Output& output() const noexcept { return m_output; }

    std::string directory() const { return m_arguments.value(Option::project, "."); }
    /// The domain to work on.
    std::string domain() const { return m_arguments.value(Option::domain, recipe_domain); }
    /// Who asks for what, as the history is to tell it: the words of the command as they were typed, without what says
    /// where and how it runs.
    Origin origin() const;
    /// Throws `UsageError` for a waiting time that is none.
    OpenOptions open_options() const;
    /// The project, through its service where one runs. Throws `ProjectError` where it can't be opened.
    Project& project();
    /// Prints the warnings that a project has for whoever uses it, which `project` does by itself.
    void warn_of(Project const& project) const;

private:
    void bring_forward() const;

    Arguments const& m_arguments;
    std::span<std::string const> m_operands;
    Output& m_output;
    std::unique_ptr<Project> m_project;
};

/// A command as the help, the check of its arguments and its execution know it.
struct CommandEntry
{
    /// One word or two, separated by a blank.
    std::string_view name;
    /// What follows the name, as the help writes it, and how many operands that may be.
    std::string_view operands;
    std::size_t least;
    std::size_t most;
    /// One line.
    std::string_view summary;
    /// The rest of the command's help: more about it, and examples.
    std::string_view description;
    /// The options that it takes beside the common ones.
    OptionSet options;
    Answer (*run)(Invocation&);
};

/// All commands, in the order in which the help lists them.
std::span<CommandEntry const> all_commands();

/// The command that the first operands name. Throws `UsageError` where they name none.
CommandEntry const& find_command(std::span<std::string const> operands);
/// The commands whose names begin with these words: one command, or those that share their first word.
std::vector<CommandEntry const*> commands_under(std::span<std::string const> words);
/// The number of words of a command's name.
std::size_t word_count(CommandEntry const& command);

/// Reads an operand that is to be JSON. Throws a `UsageError` that tells how to quote a text.
RavikSrv::Value json_operand(std::string const& text);

} // namespace Ravik::CommandLine
