#include "run.h"

#include "Command.h"
#include "help.h"
#include "manual.h"

#include "boundary_guard.h"

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::ErrorValue;

/// How a run ends.
struct Ending
{
    Answer answer;
    ExitStatus status = ExitStatus::done;
};

/// An answer that is a text to read; with `--json` it is the value.
Answer shown(std::string const& text, Output& output)
{
    output.print_text(text);
    Answer answer;
    answer.value = RavikSrv::Value(std::string_view(text));
    return answer;
}

void check_options(CommandEntry const& command, Arguments const& arguments)
{
    for (auto const& [option, value] : arguments.options)
    {
        auto const& entry = option_entry(option);
        if (entry.taken_by == TakenBy::some_commands && !command.options.contains(option))
        {
            throw UsageError("'" + std::string(command.name) + "' takes no option " + std::string(entry.name));
        }
    }
}

void check_operands(CommandEntry const& command, std::span<std::string const> operands)
{
    if (operands.size() < command.least)
    {
        throw UsageError("an argument is missing: " + usage_of(command));
    }
    if (operands.size() > command.most)
    {
        throw UsageError("the argument '" + operands[command.most] + "' is one too many: " + usage_of(command));
    }
}

Answer execute(Arguments const& arguments, Output& output)
{
    std::span<std::string const> const operands = arguments.operands;
    if (!arguments.error.empty())
    {
        throw UsageError(arguments.error);
    }
    if (arguments.has(Option::help))
    {
        return shown(help_of(operands), output);
    }
    if (arguments.has(Option::version))
    {
        return shown("ravik " RAVIK_VERSION, output);
    }
    if (operands.empty())
    {
        throw UsageError("no command is given; 'ravik help' lists them");
    }
    if (operands[0] == "help")
    {
        return arguments.has(Option::man) ? shown(manual(), output) : shown(help_of(operands.subspan(1)), output);
    }
    auto const& command = find_command(operands);
    auto const own = operands.subspan(word_count(command));
    check_options(command, arguments);
    check_operands(command, own);
    Invocation invocation(arguments, own, output);
    static_cast<void>(invocation.open_options());
    return command.run(invocation);
}

/// Whatever commands throw on purpose becomes an answer.
Ending run_command(Arguments const& arguments, Output& output)
{
    try
    {
        auto answer = execute(arguments, output);
        auto const status = answer.result == 0 ? ExitStatus::done : ExitStatus::failed;
        return {std::move(answer), status};
    }
    catch (UsageError const& error)
    {
        auto answer = answer_of(error.error(), error.what());
        answer.messages.emplace_back(error.what());
        return {std::move(answer), ExitStatus::wrong_usage};
    }
    catch (Failure const& error)
    {
        auto answer = answer_of(error.error(), error.what());
        answer.messages.emplace_back(error.what());
        return {std::move(answer), ExitStatus::failed};
    }
    catch (ProjectError const& error)
    {
        auto answer = answer_of(ErrorValue::INIT, error.what());
        answer.messages.emplace_back(error.what());
        return {std::move(answer), ExitStatus::no_project};
    }
}

} // namespace

int run(std::span<char const* const> words)
{
    auto exit_status = ExitStatus::failed;
    RavikSrv::guarded(
        "ravik",
        [&]
        {
            auto const arguments = parse_arguments(words);
            Output output(arguments.has(Option::json) ? OutputForm::json : OutputForm::text);
            Ending ending;
            RavikSrv::guarded(
                "ravik", [&] { ending = run_command(arguments, output); },
                [&](char const* text) {
                    ending = {answer_of(ErrorValue::UNEXPECTED, text), ExitStatus::failed};
                });
            auto const complete = output.finish(ending.answer);
            exit_status = complete || ending.status != ExitStatus::done ? ending.status : ExitStatus::failed;
        },
        // Nothing is left to write an answer with, most likely memory.
        [](char const* text) { Output(OutputForm::text).error(text); });
    return static_cast<int>(exit_status);
}

} // namespace Ravik::CommandLine
