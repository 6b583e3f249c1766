#include "Api/Parts.h"
#include "Api/edits.h"
#include "Api/resources.h"
#include "Api/values.h"

#include "Configuration/Entry.h"
#include "Editing/table_text.h"
#include "Json/Document.h"
#include "Json/Json.h"

#include "PathIterator.h"

#include <charconv>

#include <utility>

namespace Ravik::Service
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

std::string const& domain()
{
    static std::string const name(recipe_domain);
    return name;
}

/// Counts what may be values: each stands behind a comma, a bracket or nothing.
std::size_t values_in(std::string_view text)
{
    std::size_t count = 1;
    auto in_text = false;
    for (std::size_t position = 0; position < text.size(); ++position)
    {
        switch (text[position])
        {
        case '\\':
            position += in_text ? 1 : 0;
            break;
        case '"':
            in_text = !in_text;
            break;
        case ',':
        case '[':
        case '{':
            count += in_text ? 0 : 1;
            break;
        default:
            break;
        }
    }
    return count;
}

/// Counts what may be cells: each stands before a separator or a line's end. In cells in quotes neither is one.
std::size_t cells_in(std::string_view text)
{
    std::size_t count = 1;
    auto in_quotes = false;
    for (auto const character : text)
    {
        in_quotes = in_quotes != (character == '"');
        count += !in_quotes && (character == ',' || character == ';' || character == '\n') ? 1 : 0;
    }
    return count;
}

void check_size(Call const& call, std::size_t values)
{
    auto const most = call.parts.import_values;
    if (values > most)
    {
        throw Problem{.status = 413,
                      .code = "REQUEST_TOO_LARGE",
                      .detail = "an import has at most " + std::to_string(most) + " values; send it in parts"};
    }
}

std::string text_of(Json::Location place)
{
    return "line " + std::to_string(place.line) + ", column " + std::to_string(place.column);
}

/// Where the refused entries stand in the body.
std::vector<Json::Location> locate(Json::Document const& document, std::vector<Refusal> const& refused)
{
    std::vector<Json::Document::Path> paths;
    for (auto const& each : refused)
    {
        auto& path = paths.emplace_back();
        for (RavikSrv::PathIterator component(each.path); component.next();)
        {
            path.emplace_back(component.component());
        }
    }
    return document.locate_all(paths);
}

std::optional<std::int64_t> revision_of(Call const& call)
{
    auto const text = call.parameter("revision");
    if (text.empty())
    {
        return std::nullopt;
    }
    std::int64_t revision = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), revision);
    if (error != std::errc() || end != text.data() + text.size())
    {
        throw Problem{.status = 400,
                      .code = "INVALID_PARAMETER",
                      .detail =
                          "the parameter 'revision' is what /recipes returned as \"revision\", not '" + text + "'"};
    }
    return revision;
}

ImportOptions options_of(Call const& call)
{
    ImportOptions options;
    options.dry_run = call.flag("dryRun");
    options.origin = origin_of(call, call.parameter("note"));
    options.revision = revision_of(call);
    options.progress = [&ready = call.parts.metrics.ready](std::size_t /*done*/, std::size_t /*total*/)
    {
        // Nothing is written yet.
        if (!ready)
        {
            throw too_busy("the service ends; nothing was imported");
        }
    };
    return options;
}

/// Every mistake with its place, where the import tells of one alone.
template <typename Import, typename Locate>
[[noreturn]] void fail(Project const& project, EditReport const& report, ImportOptions options, Import const& import,
                       Locate const& locate)
{
    auto problem = problem_of(project, report);
    if (!report.condition_failed)
    {
        options.dry_run = true;
        auto const all = import(options);
        problem.status = problem.status == 409 ? 422 : problem.status;
        problem.errors.clear();
        auto const places = locate(all.refused);
        for (std::size_t index = 0; index < places.size(); ++index)
        {
            auto const& refused = all.refused[index];
            auto const where = places[index];
            problem.errors.push_back(
                {.pointer = where.line == 0 ? refused.path : text_of(where),
                 .detail = refused.path.empty() ? refused.text : refused.path + ": " + refused.text});
        }
        if (problem.errors.empty())
        {
            problem.errors.push_back(
                {.pointer = report.place.line == 0 ? report.path : text_of(report.place), .detail = report.text});
        }
    }
    throw Problem(std::move(problem));
}

Response imported(EditReport const& report)
{
    auto value = value_of(report.cascade);
    if (report.value.isset())
    {
        value.insert("counts", report.value);
    }
    value.insert("warnings", value_of(report.warnings));
    return json_answer(value);
}

Response import_table(Call const& call)
{
    auto const type = call.required("type");
    auto const options = options_of(call);
    check_size(call, cells_in(call.body));
    auto const import = [&](ImportOptions const& chosen)
    { return call.parts.project.import_table(domain(), type, call.body, chosen); };
    auto const report = import(options);
    if (!report.succeeded() && !report.made)
    {
        fail(call.parts.project, report, options, import,
             [](std::vector<Refusal> const& refused)
             {
                 std::vector<Json::Location> places;
                 places.reserve(refused.size());
                 for (auto const& each : refused)
                 {
                     places.push_back(each.place);
                 }
                 return places;
             });
    }
    return imported(report);
}

/// The body is as large as a request can be: there is one of it, and nothing is read out of it twice.
Json::Document take_document(Call& call)
{
    check_size(call, values_in(call.body));
    try
    {
        return Json::Document(std::move(call.body));
    }
    catch (Json::ParseError const& error)
    {
        throw syntax_problem(error);
    }
}

Response import_json(Call& call)
{
    auto const options = options_of(call);
    auto const document = take_document(call);
    auto const import = [&](ImportOptions const& chosen)
    { return call.parts.project.import(domain(), document.value(), chosen); };
    auto const report = import(options);
    if (!report.succeeded() && !report.made)
    {
        fail(call.parts.project, report, options, import,
             [&](std::vector<Refusal> const& refused) { return locate(document, refused); });
    }
    return imported(report);
}

Response attachment(std::string text, std::string type, std::string const& file)
{
    return text_answer(std::move(text), std::move(type),
                       {{"Content-Disposition", "attachment; filename=\"" + file + '"'}});
}

} // namespace

Response post_import(Call& call)
{
    if (call.parameter("type").empty() == call.is_table)
    {
        throw Problem{.status = 400,
                      .code = "INVALID_PARAMETER",
                      .detail =
                          "a table (text/csv) is imported for a recipe type, ?type=NAME; a JSON body without one"};
    }
    return call.is_table ? import_table(call) : import_json(call);
}

Response get_export(Call& call)
{
    auto const format = call.parameter("format");
    auto& project = call.parts.project;
    if (format == "csv")
    {
        auto const outcome = project.export_table(domain(), call.required("type"), {});
        if (!outcome.succeeded())
        {
            throw problem_of(outcome.error, outcome.text, outcome.path);
        }
        return attachment(std::string(outcome.value.get_text()), "text/csv; charset=utf-8", "recipes.csv");
    }
    if (!format.empty() && format != "json")
    {
        throw Problem{.status = 400,
                      .code = "INVALID_PARAMETER",
                      .detail = "the parameter 'format' is json (the default) or csv, not '" + format + "'"};
    }
    auto const tree = project.get(domain(), "").value;
    return attachment(Json::write(lists_of(tree), Json::Layout::Indented) + '\n', "application/json", "recipes.json");
}

} // namespace Ravik::Service
