#include "Command.h"

#include "library_commands.h"
#include "nearest_name.h"

#include "Client/RemoteProject.h"
#include "History/shell_word.h"
#include "Json/Json.h"

#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/range/iterator_range_core.hpp>

#include <algorithm>
#include <array>
#include <charconv>

namespace Ravik::CommandLine
{

namespace
{

/// Longer than anybody waits, and far from where clocks overflow.
constexpr long longest_wait = 365L * 24 * 60 * 60;

std::string joined(std::span<std::string const> words)
{
    return boost::join(boost::make_iterator_range(words.begin(), words.end()), " ");
}

std::string named(CommandEntry const& command)
{
    return std::string(command.name);
}

/// A command of other programs, and what stands for it here.
struct OtherName
{
    std::string_view name;
    std::string_view advice;
};

constexpr std::array<OtherName, 9> other_names{{
    {"mv", "'rename' moves an entry"},
    {"move", "'rename' moves an entry"},
    {"rm", "'delete' removes an entry"},
    {"remove", "'delete' removes an entry"},
    {"ls", "'list' shows folders, types and recipes, 'recipes' the recipes of a type"},
    {"tree", "'list' shows folders, types and recipes"},
    {"find", "'list --match TEXT' finds recipes by their names"},
    {"cat", "'get' shows what stands at a path"},
    {"cp", "'copy' copies an entry"},
}};

[[noreturn]] void unknown_command(std::span<std::string const> operands)
{
    auto typed = operands[0];
    auto const group = commands_under(operands.first(1));
    if (!group.empty())
    {
        std::vector<std::string> names;
        std::transform(group.begin(), group.end(), std::back_inserter(names),
                       [](CommandEntry const* command) { return named(*command); });
        if (operands.size() == 1)
        {
            throw UsageError("'" + typed + "' needs a second word: " + boost::join(names, ", "));
        }
        typed += ' ' + operands[1];
    }
    auto const* const told = std::find_if(other_names.begin(), other_names.end(),
                                          [&](OtherName const& other) { return other.name == operands[0]; });
    if (told != other_names.end())
    {
        throw UsageError("unknown command '" + typed + "'; " + std::string(told->advice));
    }
    std::vector<std::string_view> names{"help"};
    for (auto const& command : all_commands())
    {
        names.push_back(command.name);
    }
    throw UsageError("unknown command '" + typed + "'; the nearest one is '" + std::string(nearest_name(typed, names)) +
                     "'");
}

} // namespace

Invocation::Invocation(Arguments const& arguments, std::span<std::string const> operands, Output& output)
    : m_arguments(arguments), m_operands(operands), m_output(output)
{
}

Origin Invocation::origin() const
{
    std::string asked;
    for (auto const& word : m_arguments.operands)
    {
        asked += (asked.empty() ? "" : " ") + shell_word(word);
    }
    for (auto const& [option, text] : m_arguments.options)
    {
        auto const& entry = option_entry(option);
        if (entry.taken_by == TakenBy::some_commands && option != Option::note)
        {
            asked.append(" ").append(entry.name).append(entry.value.empty() ? "" : " " + shell_word(text));
        }
    }
    return {.who = {}, .asked = asked, .note = value(Option::note)};
}

OpenOptions Invocation::open_options() const
{
    auto const text = m_arguments.value(Option::wait, "0");
    long seconds = -1;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error != std::errc() || end != text.data() + text.size() || seconds < 0 || seconds > longest_wait)
    {
        throw UsageError("--wait takes a number of seconds from 0 to " + std::to_string(longest_wait) + ", not '" +
                         text + "'");
    }
    OpenOptions options;
    options.wait = std::chrono::seconds(seconds);
    options.trust = has(Option::trust);
    return options;
}

Project& Invocation::project()
{
    if (!m_project)
    {
        m_project = reach_project(directory(), open_options());
        warn_of(*m_project);
        bring_forward();
    }
    return *m_project;
}

/// What is opened for one command goes along with its library first, so that what it shows is not old. A service has
/// long done so.
void Invocation::bring_forward() const
{
    constexpr std::chrono::milliseconds longest_wait{500};
    if (dynamic_cast<RemoteProject const*>(m_project.get()) != nullptr)
    {
        return;
    }
    auto const status = m_project->library_status(longest_wait);
    // That ravik.json names none the project has told.
    if (auto const note = library_note(status); !note.empty() && !status.address.empty())
    {
        m_output.warning(note);
    }
}

void Invocation::warn_of(Project const& project) const
{
    for (auto const& warning : project.warnings())
    {
        m_output.warning(warning);
    }
}

CommandEntry const& find_command(std::span<std::string const> operands)
{
    CommandEntry const* found = nullptr;
    for (auto const& command : all_commands())
    {
        auto const words = word_count(command);
        auto const is_meant = operands.size() >= words && joined(operands.first(words)) == command.name;
        found = is_meant && (found == nullptr || words > word_count(*found)) ? &command : found;
    }
    if (found == nullptr)
    {
        unknown_command(operands);
    }
    return *found;
}

std::vector<CommandEntry const*> commands_under(std::span<std::string const> words)
{
    auto const prefix = joined(words);
    std::vector<CommandEntry const*> found;
    for (auto const& command : all_commands())
    {
        if (command.name == prefix || boost::starts_with(command.name, prefix + ' '))
        {
            found.push_back(&command);
        }
    }
    return found;
}

std::size_t word_count(CommandEntry const& command)
{
    return static_cast<std::size_t>(std::count(command.name.begin(), command.name.end(), ' ')) + 1;
}

RavikSrv::Value json_operand(std::string const& text)
{
    try
    {
        return Json::parse(text);
    }
    catch (Json::ParseError const& error)
    {
        auto const as_text = Json::write(RavikSrv::Value(std::string_view(text)));
        throw UsageError(
            "the argument '" + text + "' is not JSON (" + std::to_string(error.location().line) + ":" +
                std::to_string(error.location().column) + ": " + error.what() +
                "); a text stands in double quotes, and the shell leaves them only inside single quotes: " +
                shell_word(as_text),
            RavikSrv::ErrorValue::SYNTAX);
    }
}

} // namespace Ravik::CommandLine
