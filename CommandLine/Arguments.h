#pragma once

#include <initializer_list>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Ravik::CommandLine
{

enum class Option
{
    project,
    domain,
    wait,
    trust,
    force,
    dry_run,
    no_verify,
    replace,
    type,
    all,
    match,
    as,
    csv,
    excel,
    man,
    recipe,
    who,
    since,
    limit,
    note,
    listen,
    log,
    upgrade,
    ours,
    theirs,
    role,
    expires,
    json,
    help,
    version,
};

/// A set of options, for tables.
class OptionSet
{
public:
    constexpr OptionSet(std::initializer_list<Option> options)
    {
        for (auto const option : options)
        {
            m_bits |= bit(option);
        }
    }

    constexpr bool contains(Option option) const noexcept { return (m_bits & bit(option)) != 0; }

private:
    static constexpr unsigned bit(Option option) noexcept { return 1U << static_cast<unsigned>(option); }

    unsigned m_bits = 0;
};

/// Which commands take an option.
enum class TakenBy
{
    every_command,
    /// Those that name it among their own.
    some_commands,
};

/// An option as the user writes it: "--name", with a value where `value` names one.
struct OptionEntry
{
    Option option;
    std::string_view name;
    std::string_view value;
    std::string_view summary;
    TakenBy taken_by;
};

/// All options, in the order in which the help lists them.
std::span<OptionEntry const> all_options();
OptionEntry const& option_entry(Option option);

/// The words of the command line, sorted into options and operands.
struct Arguments
{
    std::map<Option, std::string> options;
    /// The command and what it is applied to.
    std::vector<std::string> operands;
    /// The first thing that is wrong, empty where nothing is. The other words are sorted nevertheless, so that a usage
    /// error is reported in the form that the user asked for.
    std::string error;

    bool has(Option option) const { return options.contains(option); }
    /// The option's value, or `otherwise` where it is not given.
    std::string value(Option option, std::string_view otherwise) const;
};

/// Sorts the words behind the program's name. Options may stand anywhere; "--" ends them; a word that begins like a
/// negative number, and "-" alone, are operands.
Arguments parse_arguments(std::span<char const* const> words);

} // namespace Ravik::CommandLine
