#include "commands.h"

#include "access_commands.h"
#include "completion_line.h"
#include "recipe_names.h"

#include "Project/report_values.h"

#include "Configuration/Entry.h"

#include <boost/algorithm/string.hpp>

#include <algorithm>

namespace Ravik::CommandLine
{

namespace
{

// Bash breaks words at colons too: what stands before the last one is left out of what is put in.
constexpr char const* bash_script = R"(_ravik()
{
    mapfile -t COMPREPLY < <("$1" completion bash "${COMP_LINE:0:COMP_POINT}" 2>/dev/null)
}
complete -o default -F _ravik ravik)";

constexpr char const* zsh_script = R"(#compdef ravik
_ravik()
{
    local -a found
    found=("${(@f)$("${words[1]}" completion zsh "${(j: :)words[1,CURRENT-1]} $PREFIX" 2>/dev/null)}")
    found=(${found:#})
    if (( $#found )); then
        compadd -- "${found[@]}"
    else
        _files
    fi
}
if [[ $funcstack[1] == _ravik ]]; then
    _ravik
else
    compdef _ravik ravik
fi)";

using Names = std::vector<std::string>;

/// What may stand in the place of the last word of a line.
class Completer
{
public:
    explicit Completer(PartialLine line, Output& output) : m_line(std::move(line)), m_output(output)
    {
        std::vector<char const*> words;
        for (std::size_t index = 1; index < m_line.words.size(); ++index)
        {
            words.push_back(m_line.words[index].c_str());
        }
        m_arguments = parse_arguments(words);
    }

    Names candidates()
    {
        Names names;
        try
        {
            names = all();
        }
        catch (Failure const&)
        {
            // A line that makes no sense, or a project that can't be opened, has no continuation.
            names.clear();
        }
        catch (ProjectError const&)
        {
            names.clear();
        }
        std::erase_if(names, [this](std::string const& name) { return !name.starts_with(m_line.last); });
        return names;
    }

private:
    Names all()
    {
        if (auto const* const option = open_option())
        {
            // Other options have a NAME too.
            return option->option == Option::domain ? project().domains()
                   : option->value == "NAME"        ? Names()
                                                    : named_by(option->value);
        }
        auto const commands = commands_under(m_arguments.operands);
        if (m_line.last.starts_with("--"))
        {
            return options();
        }
        auto const is_help = !m_arguments.operands.empty() && m_arguments.operands[0] == "help";
        if (m_arguments.operands.empty() || is_help || commands.size() > 1)
        {
            auto const words = std::span<std::string const>(m_arguments.operands).subspan(is_help ? 1 : 0);
            return next_words(words);
        }
        auto const& command = find_command(m_arguments.operands);
        auto const what = operand(command, m_arguments.operands.size() - word_count(command));
        auto const is_of_access = command.name.starts_with("user ") || command.name.starts_with("token ");
        return is_of_access && what == "NAME" ? names_for_access(command.name) : named_by(what);
    }

    /// Those that there are, for commands that do not add one.
    Names names_for_access(std::string_view command) const
    {
        Names names;
        if (command.ends_with(" add"))
        {
            return names;
        }
        auto const list = users_and_tokens(m_invocation);
        auto const add = [&](auto const& entry) { names.push_back(entry.name); };
        if (command.starts_with("user "))
        {
            std::for_each(list.users.begin(), list.users.end(), add);
        }
        else
        {
            std::for_each(list.tokens.begin(), list.tokens.end(), add);
        }
        return names;
    }

    /// The option whose value the last word is.
    OptionEntry const* open_option() const
    {
        auto const& entries = all_options();
        auto const found = std::find_if(entries.begin(), entries.end(),
                                        [this](OptionEntry const& entry)
                                        { return !entry.value.empty() && entry.name == m_line.words.back(); });
        return found == entries.end() ? nullptr : &*found;
    }

    Names options() const
    {
        auto const commands = commands_under(m_arguments.operands);
        Names names;
        for (auto const& option : all_options())
        {
            auto const is_taken =
                option.taken_by == TakenBy::every_command ||
                std::any_of(commands.begin(), commands.end(),
                            [&](CommandEntry const* command) { return command->options.contains(option.option); });
            if (is_taken && !m_arguments.has(option.option))
            {
                names.emplace_back(option.name);
            }
        }
        return names;
    }

    /// The words that may follow in the name of a command.
    static Names next_words(std::span<std::string const> words)
    {
        Names names;
        for (auto const& command : all_commands())
        {
            Names parts;
            boost::split(parts, command.name, boost::is_any_of(" "));
            auto const continues = parts.size() > words.size() && std::equal(words.begin(), words.end(), parts.begin());
            if (continues && (names.empty() || names.back() != parts[words.size()]))
            {
                names.push_back(parts[words.size()]);
            }
        }
        if (words.empty())
        {
            names.emplace_back("help");
        }
        return names;
    }

    /// What the help calls the operand at a position, without the marks of what may be left out or repeated.
    static std::string operand(CommandEntry const& command, std::size_t position)
    {
        Names parts;
        auto const text = boost::erase_all_copy(std::string(command.operands), "…");
        boost::split(parts, text, boost::is_any_of(" "));
        if (position >= command.most)
        {
            return {};
        }
        auto const& part = parts[std::min(position, parts.size() - 1)];
        return boost::trim_copy_if(part, boost::is_any_of("[]"));
    }

    Names named_by(std::string_view what)
    {
        if (what == "RECIPE" || what == "OTHER" || what == "NEW")
        {
            return recipe_names(recipe_configuration(project()));
        }
        if (what == "TYPE")
        {
            return recipe_type_names(recipe_configuration(project()));
        }
        if (what == "PATH" || what == "NEW_PATH")
        {
            return paths();
        }
        if (what == "NAME")
        {
            return symbols();
        }
        if (what == "ID")
        {
            return records();
        }
        if (what == "ROLE")
        {
            return Service::role_names();
        }
        if (what == "FUNCTION")
        {
            return project().functions(m_arguments.value(Option::domain, recipe_domain));
        }
        if (what.find('|') != std::string_view::npos)
        {
            Names names;
            boost::split(names, what, boost::is_any_of("|"));
            return names;
        }
        return {};
    }

    Names paths()
    {
        Names names;
        for_each_entry(
            "", recipe_configuration(project()),
            [&names](std::string const& path, RavikSrv::Value const& /*entry*/, EntryKind /*kind*/)
            {
                names.push_back(path);
                return true;
            },
            Folders::Visited);
        return names;
    }

    Names symbols()
    {
        Names names;
        for (auto const& symbol : project().symbols())
        {
            names.push_back(symbol.name);
        }
        return names;
    }

    /// The newest ones.
    Names records()
    {
        Names names;
        for (auto const& record : project().history({}).records)
        {
            names.push_back(std::to_string(record.id));
        }
        return names;
    }

    Project& project() { return m_invocation.project(); }

    PartialLine m_line;
    Output& m_output;
    Arguments m_arguments;
    Invocation m_invocation{m_arguments, {}, m_output};
};

} // namespace

Answer completion(Invocation& invocation)
{
    auto const operands = invocation.operands();
    auto const is_bash = operands[0] == "bash";
    if (!is_bash && operands[0] != "zsh")
    {
        throw UsageError("there is a completion for bash and for zsh, not for '" + operands[0] + "'");
    }
    Answer answer;
    if (operands.size() == 1)
    {
        auto const* const script = is_bash ? bash_script : zsh_script;
        invocation.output().print_text(script);
        answer.value = text_value(script);
        return answer;
    }
    auto const line = split_line(operands[1]);
    auto names = line.words.empty() ? Names() : Completer(line, invocation.output()).candidates();
    // A word in quotes is one for bash, colons or not.
    auto const colon = is_bash && !line.in_quotes ? line.last.rfind(':') : std::string::npos;
    for (auto& name : names)
    {
        name = name.substr(colon == std::string::npos ? 0 : colon + 1);
        name = is_bash && !line.in_quotes ? escaped_word(name) : name;
        invocation.output().print(name);
    }
    answer.value = text_values(names);
    return answer;
}

} // namespace Ravik::CommandLine
