#include "Arguments.h"

#include "nearest_name.h"
#include "text_width.h"

#include "Json/unicode.h"

#include <algorithm>
#include <array>

namespace Ravik::CommandLine
{

namespace
{

constexpr std::array<OptionEntry, 30> option_table{{
    {Option::project, "--project", "DIR", "the project's folder; the working directory where it is not given",
     TakenBy::every_command},
    {Option::domain, "--domain", "NAME", "the domain to work on; RavikRecipeManagement where it is not given",
     TakenBy::some_commands},
    {Option::wait, "--wait", "SECONDS", "how long to wait for another process that has the project open",
     TakenBy::every_command},
    {Option::trust, "--trust", "", "open the project although somebody else could change what it runs",
     TakenBy::every_command},
    {Option::force, "--force", "", "replace what exists", TakenBy::some_commands},
    {Option::dry_run, "--dry-run", "", "check and show what would happen, and change nothing", TakenBy::some_commands},
    {Option::no_verify, "--no-verify", "", "do not read back what was written", TakenBy::some_commands},
    {Option::replace, "--replace", "", "the imported file becomes the whole configuration", TakenBy::some_commands},
    {Option::type, "--type", "TYPE", "all recipes of a recipe type, and of those that inherit from it",
     TakenBy::some_commands},
    {Option::all, "--all", "", "all recipes", TakenBy::some_commands},
    {Option::match, "--match", "TEXT", "only what has the text in its name", TakenBy::some_commands},
    {Option::as, "--as", "NEW", "the name of a new recipe", TakenBy::some_commands},
    {Option::csv, "--csv", "TYPE", "the recipes of a recipe type as a table", TakenBy::some_commands},
    {Option::excel, "--excel", "", "a table with semicolons and a byte order mark", TakenBy::some_commands},
    {Option::man, "--man", "", "with 'help': print the manual page", TakenBy::some_commands},
    {Option::recipe, "--recipe", "RECIPE", "only what changed, read or wrote this recipe", TakenBy::some_commands},
    {Option::who, "--who", "NAME", "only what this account did", TakenBy::some_commands},
    {Option::since, "--since", "TIME", "only what was done since a date, a date and time, or '2 days' ago",
     TakenBy::some_commands},
    {Option::limit, "--limit", "N", "at most so many records; 50 where it is not given", TakenBy::some_commands},
    {Option::note, "--note", "TEXT", "what the history is to tell besides", TakenBy::some_commands},
    {Option::listen, "--listen", "HOST:PORT", "where to listen instead; may be given more than once",
     TakenBy::some_commands},
    {Option::log, "--log", "text|json", "lines to read, or a JSON object a line", TakenBy::some_commands},
    {Option::upgrade, "--upgrade", "", "bring a library of an earlier layout to the newest", TakenBy::some_commands},
    {Option::ours, "--ours", "", "where they differ, what the project has stands", TakenBy::some_commands},
    {Option::theirs, "--theirs", "", "where they differ, what the library has stands", TakenBy::some_commands},
    {Option::role, "--role", "ROLE", "what somebody may: viewer, operator, engineer or admin", TakenBy::some_commands},
    {Option::expires, "--expires", "DAYS", "how long the token is good for; without an end where it is not given",
     TakenBy::some_commands},
    {Option::json, "--json", "", R"(print one JSON object: {"result", "name", "text", "value"})",
     TakenBy::every_command},
    {Option::help, "--help", "", "print the help of a command", TakenBy::every_command},
    {Option::version, "--version", "", "print the version", TakenBy::every_command},
}};

class Parser
{
public:
    explicit Parser(std::span<char const* const> words) : m_words(words) {}

    Arguments parse()
    {
        for (; m_position < m_words.size(); ++m_position)
        {
            take(m_words[m_position]);
        }
        return std::move(m_arguments);
    }

private:
    static bool looks_like_option(std::string_view word)
    {
        return word.size() > 1 && word[0] == '-' && (word[1] < '0' || word[1] > '9');
    }

    void fail(std::string text)
    {
        if (m_arguments.error.empty())
        {
            m_arguments.error = std::move(text);
        }
    }

    void take(std::string_view word)
    {
        if (!Json::is_utf8(word))
        {
            fail("the argument '" + printable(word) + "' is not valid UTF-8");
        }
        else if (m_options_ended || !looks_like_option(word))
        {
            m_arguments.operands.emplace_back(word);
        }
        else if (word == "--")
        {
            m_options_ended = true;
        }
        else
        {
            take_option(word == "-h" ? std::string_view("--help") : word);
        }
    }

    void take_option(std::string_view word)
    {
        auto const equals = word.find('=');
        auto const name = word.substr(0, equals);
        auto const entry = std::find_if(option_table.begin(), option_table.end(),
                                        [name](OptionEntry const& candidate) { return candidate.name == name; });
        if (entry == option_table.end())
        {
            unknown_option(name);
        }
        else if (entry->value.empty())
        {
            if (equals != std::string_view::npos)
            {
                fail("option " + std::string(name) + " takes no value");
            }
            m_arguments.options[entry->option];
        }
        else if (equals != std::string_view::npos)
        {
            keep_value(*entry, word.substr(equals + 1));
        }
        else
        {
            take_value(*entry);
        }
    }

    void take_value(OptionEntry const& entry)
    {
        // A value that looks like an option is far more often a forgotten value than meant so.
        if (m_position + 1 >= m_words.size() || looks_like_option(m_words[m_position + 1]))
        {
            fail("option " + std::string(entry.name) + " needs a value: " + std::string(entry.name) + ' ' +
                 std::string(entry.value));
            return;
        }
        keep_value(entry, m_words[++m_position]);
    }

    void keep_value(OptionEntry const& entry, std::string_view value)
    {
        auto const name = std::string(entry.name);
        if (!Json::is_utf8(value))
        {
            fail("the value of " + name + ", '" + printable(value) + "', is not valid UTF-8");
        }
        else if (value.empty())
        {
            fail("option " + name + " needs a value that is not empty");
        }
        else if (auto const [kept, is_first] = m_arguments.options.emplace(entry.option, value); !is_first)
        {
            if (entry.option != Option::listen)
            {
                fail("option " + name + " is given twice");
            }
            kept->second.append(",").append(value);
        }
    }

    void unknown_option(std::string_view name)
    {
        std::vector<std::string_view> names;
        names.reserve(option_table.size());
        for (auto const& entry : option_table)
        {
            names.push_back(entry.name);
        }
        fail("unknown option " + printable(name) + "; the nearest one is " + std::string(nearest_name(name, names)) +
             ", and a value that begins with a dash stands behind --");
    }

    std::span<char const* const> m_words;
    std::size_t m_position = 0;
    bool m_options_ended = false;
    Arguments m_arguments;
};

} // namespace

std::span<OptionEntry const> all_options()
{
    return option_table;
}

OptionEntry const& option_entry(Option option)
{
    return *std::find_if(option_table.begin(), option_table.end(),
                         [option](OptionEntry const& entry) { return entry.option == option; });
}

std::string Arguments::value(Option option, std::string_view otherwise) const
{
    auto const found = options.find(option);
    return found == options.end() ? std::string(otherwise) : found->second;
}

Arguments parse_arguments(std::span<char const* const> words)
{
    return Parser(words).parse();
}

} // namespace Ravik::CommandLine
