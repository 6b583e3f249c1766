#include "commands.h"

#include "Progress.h"
#include "configuration_answer.h"
#include "path_hint.h"
#include "recipe_names.h"
#include "text_file.h"

#include "Project/report_values.h"
#include "Json/Json.h"

#include "api_helper.h"

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

/// Reads a file that the user names; a fault in it is told with its place.
Value read_json(std::string const& file)
{
    auto const text = read_text(file);
    try
    {
        return Json::parse(text);
    }
    catch (Json::ParseError const& error)
    {
        throw Failure(ErrorValue::SYNTAX, (file == "-" ? "standard input" : file) + ':' +
                                              std::to_string(error.location().line) + ':' +
                                              std::to_string(error.location().column) + ": " + error.what());
    }
}

void print_cascade(Invocation const& invocation, std::vector<Touched> const& cascade)
{
    auto const only_rehearsed = invocation.has(Option::dry_run);
    for (auto const& step : cascade)
    {
        auto const* const word = only_rehearsed ? (step.removed ? "would remove " : "would write  ")
                                                : (step.removed ? "removed " : "wrote   ");
        invocation.output().print(word + step.path);
    }
}

/// Stored values that the edit has made wrong are warnings, and stand in the value.
void add_warnings(Invocation const& invocation, EditReport const& report, Value& value)
{
    for (auto const& warning : report.warnings)
    {
        invocation.output().warning(warning.path + ": " + warning.text);
    }
    if (!report.warnings.empty())
    {
        value.insert("warnings", value_of(report.warnings));
    }
}

/// Whether an edit failed because its path may be meant to lead to something else: there is nothing, or what would come
/// into being on the way is not whole.
bool leads_nowhere(ErrorValue error)
{
    return error == ErrorValue::ENTRY_NOT_FOUND || error == ErrorValue::REQUIRED_FIELD;
}

/// The answer to an edit of one path; `done` says what was done.
Answer edit_answer(Invocation& invocation, EditReport const& report, std::string const& done)
{
    auto const dry_run = invocation.has(Option::dry_run);
    auto answer = configuration_answer(report);
    if (report.made || dry_run)
    {
        answer.value = value_of(report.cascade);
        print_cascade(invocation, report.cascade);
        add_warnings(invocation, report, answer.value);
    }
    if (report.succeeded())
    {
        invocation.output().print(dry_run ? "Nothing was changed." : done);
    }
    else if (leads_nowhere(report.error))
    {
        hint_at_missing_path(invocation, invocation.operands()[0]);
    }
    return answer;
}

MoveOptions move_options(Invocation const& invocation)
{
    return {.dry_run = invocation.has(Option::dry_run), .origin = invocation.origin(), .condition = {}};
}

/// "FILE:LINE:COLUMN: TEXT"; just the text where no place is known.
std::string with_place(std::string const& file, Json::Location place, std::string const& text)
{
    return place.line == 0 ? text
                           : (file == "-" ? "standard input" : file) + ':' + std::to_string(place.line) + ':' +
                                 std::to_string(place.column) + ": " + text;
}

/// The answer to an import that only checks: every refusal is a message.
Answer checked_answer(Invocation& invocation, EditReport const& report)
{
    auto answer = configuration_answer(report);
    answer.value = Value(ValueType::Vector);
    for (auto const& refused : report.refused)
    {
        std::string const name = RavikSrv::get_error_string(refused.error).name();
        auto const text = with_place(invocation.operands()[0], refused.place, with_path(refused.path, refused.text));
        answer.messages.push_back(std::string(name).append(": ").append(text));
        Value entry;
        entry.insert("path", Value(std::string_view(refused.path)));
        entry.insert("name", Value(std::string_view(name)));
        entry.insert("text", Value(std::string_view(refused.text)));
        if (refused.place.line != 0)
        {
            entry.insert("line", static_cast<long>(refused.place.line));
            entry.insert("column", static_cast<long>(refused.place.column));
        }
        answer.value << entry;
    }
    if (report.succeeded())
    {
        invocation.output().print("Nothing speaks against the import; nothing was changed.");
    }
    return answer;
}

/// "1 new recipe, 2 changed, 3 as they were".
std::string table_counts(Value const& counts)
{
    auto const count = [&counts](char const* name) { return static_cast<std::size_t>(counts[name].get_int64()); };
    return counted(count("new"), "new recipe") + ", " + std::to_string(count("changed")) + " changed, " +
           std::to_string(count("same")) + " as before";
}

} // namespace

Answer set(Invocation& invocation)
{
    auto const operands = invocation.operands();
    auto const value = json_operand(operands[1]);
    auto const report = invocation.project().set(invocation.domain(), operands[0], value,
                                                 {.origin = invocation.origin(), .condition = {}});
    return edit_answer(invocation, report, "Set " + operands[0] + '.');
}

Answer remove(Invocation& invocation)
{
    auto const& path = invocation.operands()[0];
    auto const report = invocation.project().remove(invocation.domain(), path, move_options(invocation));
    return edit_answer(invocation, report, "Deleted " + path + '.');
}

Answer rename(Invocation& invocation)
{
    auto const operands = invocation.operands();
    auto const report =
        invocation.project().rename(invocation.domain(), operands[0], operands[1], move_options(invocation));
    return edit_answer(invocation, report, "Renamed " + operands[0] + " to " + operands[1] + '.');
}

Answer import(Invocation& invocation)
{
    auto const& file = invocation.operands()[0];
    auto const is_table = invocation.has(Option::csv);
    if (is_table && invocation.has(Option::replace))
    {
        throw UsageError("a table holds the recipes of one type; it can't be the whole configuration (--replace)");
    }
    auto const text = is_table ? read_text(file) : std::string();
    auto const data = is_table ? Value() : read_json(file);
    Progress progress("Checking");
    ImportOptions const options{.dry_run = invocation.has(Option::dry_run),
                                .replace = invocation.has(Option::replace),
                                .progress = [&progress](std::size_t done, std::size_t total)
                                { progress.show(done, total); },
                                .origin = invocation.origin(),
                                .revision = {}};
    auto& project = invocation.project();
    auto const report = is_table
                            ? project.import_table(invocation.domain(), invocation.value(Option::csv), text, options)
                            : project.import(invocation.domain(), data, options);
    progress.clear();
    if (options.dry_run && (report.succeeded() || !report.refused.empty()))
    {
        return checked_answer(invocation, report);
    }
    auto answer = configuration_answer(report);
    answer.text = with_place(file, report.place, answer.text);
    if (report.succeeded())
    {
        answer.value = is_table ? report.value : count_value(data);
        add_warnings(invocation, report, answer.value);
        invocation.output().print("Imported " + (is_table ? table_counts(report.value) : recipe_counts(data)) + '.');
    }
    return answer;
}

} // namespace Ravik::CommandLine
