#include "Api/edits.h"

#include "Api/entity_tags.h"
#include "Api/values.h"

#include "Configuration/entry_tag.h"

#include <boost/algorithm/string/trim.hpp>

namespace Ravik::Service
{

using RavikSrv::Value;
using RavikSrv::ValueType;

Origin origin_of(Call const& call, std::string note)
{
    return {.who = call.caller.who, .asked = {}, .note = std::move(note), .address = call.head.address};
}

Condition required_condition(Call const& call)
{
    auto const match = boost::trim_copy(call.field("if-match"));
    auto const none_match = boost::trim_copy(call.field("if-none-match"));
    if (match.empty() && none_match == "*")
    {
        return {.kind = Condition::Kind::Absent};
    }
    auto const tags = entity_tags(match);
    if (tags.empty() || !none_match.empty())
    {
        throw Problem{.status = 428,
                      .code = "PRECONDITION_REQUIRED",
                      .detail = "an edit needs If-Match with the ETag of what was read, and a new entry needs "
                                "If-None-Match: *"};
    }
    return {.kind = Condition::Kind::Tag, .tags = tags};
}

Problem problem_of(Project const& project, EditReport const& report)
{
    auto problem = problem_of(report.error, report.text, report.path);
    // Where no edit is taken any more it is the store that failed, and not the library.
    if (report.error == RavikSrv::ErrorValue::STORAGE && project.takes_edits())
    {
        problem = without_library(problem.detail, report.unknown_edit);
    }
    // What is gone is not there, for whoever has a tag of it too.
    if (report.condition_failed && report.error != RavikSrv::ErrorValue::ENTRY_NOT_FOUND)
    {
        problem.status = 412;
        problem.current = report.value;
        problem.fields.emplace_back("ETag", '"' + entry_tag(report.value) + '"');
    }
    for (auto const& refused : report.refused)
    {
        problem.errors.push_back({.pointer = refused.path, .detail = refused.text});
    }
    return problem;
}

Response edit_answer(Project const& project, EditReport const& report, unsigned status, Fields fields)
{
    if (!report.succeeded() && !report.made)
    {
        throw problem_of(project, report);
    }
    auto answer = value_of(report.cascade);
    auto warnings = value_of(report.warnings);
    if (report.made && !report.succeeded())
    {
        Value warning(ValueType::Map);
        warning.insert("kind", text_value("extension"));
        warning.insert("path", text_value(report.path));
        warning.insert("text", text_value(report.text));
        warnings << warning;
    }
    answer.insert("warnings", warnings);
    return json_answer(answer, status, std::move(fields));
}

} // namespace Ravik::Service
