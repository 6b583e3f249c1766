#include "Api/problem.h"

#include "Json/Json.h"

#include "api_helper.h"

#include <algorithm>
#include <array>

namespace Ravik::Service
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

Value text_value(std::string_view text)
{
    return Value(text);
}

/// The statuses whose meaning is more than that the request could not be carried out as it stands.
struct Status
{
    ErrorValue error;
    unsigned status;
};

constexpr std::array<Status, 17> statuses{{
    {ErrorValue::ENTRY_NOT_FOUND, 404},
    {ErrorValue::INVALID_DOMAIN, 404},
    {ErrorValue::INVALID_METHOD, 404},
    {ErrorValue::INVALID_SYMBOL, 404},
    {ErrorValue::UNIQUE, 409},
    {ErrorValue::ID_IN_USE, 409},
    {ErrorValue::SYMBOL_IN_USE, 409},
    {ErrorValue::REQUEST_TOO_LARGE, 413},
    {ErrorValue::STORAGE, 507},
    {ErrorValue::STORAGE_STORE, 507},
    {ErrorValue::STORAGE_LOAD, 500},
    {ErrorValue::UNEXPECTED, 500},
    {ErrorValue::EXTENSION, 502},
    {ErrorValue::FAIL, 502},
    {ErrorValue::INTERRUPTED, 502},
    {ErrorValue::CONNECT, 502},
    {ErrorValue::REMOTE_TIMEOUT, 502},
}};

/// What the functions of the recipe management say of the recipe that they were given, and not of a controller.
constexpr std::array<std::string_view, 3> missing{"MISSING_RECIPE_DATA", "MISSING_RECIPETYPE",
                                                  "MISSING_RECIPETYPE_DATA"};
constexpr std::array<std::string_view, 6> of_controllers{
    "ACTIVATING_FAILED", "ACTIVATING_RECIPE_PARTLY_FAILED", "READ_FROM_TARGET_FAILED", "READ_FROM_TARGET_PARTLY_FAILED",
    "SERVER_ERROR",      "UPDATING_RECIPE_PARTLY_FAILED"};

unsigned status_of(ErrorValue error)
{
    auto const* const found =
        std::find_if(statuses.begin(), statuses.end(), [error](Status const& each) { return each.error == error; });
    return found == statuses.end() ? 422 : found->status;
}

template <typename Names> bool contains(Names const& names, std::string_view name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// What a status is called where nothing more is known of it.
std::string_view title_of(unsigned status)
{
    struct Title
    {
        unsigned status;
        std::string_view text;
    };
    constexpr std::array<Title, 24> titles{{{400, "Bad Request"},
                                            {401, "Unauthorized"},
                                            {403, "Forbidden"},
                                            {404, "Not Found"},
                                            {405, "Method Not Allowed"},
                                            {408, "Request Timeout"},
                                            {409, "Conflict"},
                                            {410, "Gone"},
                                            {412, "Precondition Failed"},
                                            {413, "Content Too Large"},
                                            {414, "URI Too Long"},
                                            {415, "Unsupported Media Type"},
                                            {417, "Expectation Failed"},
                                            {421, "Misdirected Request"},
                                            {422, "Unprocessable Content"},
                                            {426, "Upgrade Required"},
                                            {428, "Precondition Required"},
                                            {429, "Too Many Requests"},
                                            {431, "Request Header Fields Too Large"},
                                            {500, "Internal Server Error"},
                                            {501, "Not Implemented"},
                                            {502, "Bad Gateway"},
                                            {503, "Service Unavailable"},
                                            {507, "Insufficient Storage"}}};
    auto const* const found =
        std::find_if(titles.begin(), titles.end(), [status](Title const& each) { return each.status == status; });
    return found == titles.end() ? "Error" : found->text;
}

} // namespace

Response answer_of(Problem const& problem)
{
    Value body(ValueType::Map);
    body.insert("title", text_value(title_of(problem.status)));
    body.insert("status", Value(static_cast<int>(problem.status)));
    body.insert("code", text_value(problem.code));
    body.insert("detail", text_value(problem.detail));
    if (!problem.errors.empty())
    {
        Value errors(ValueType::Vector);
        for (auto const& mistake : problem.errors)
        {
            Value entry(ValueType::Map);
            entry.insert("pointer", text_value(mistake.pointer));
            entry.insert("detail", text_value(mistake.detail));
            errors << entry;
        }
        body.insert("errors", errors);
    }
    if (problem.current.isset())
    {
        body.insert("current", problem.current);
    }
    for (auto member = problem.members.begin(); member != problem.members.end(); ++member)
    {
        body.insert_or_update(member.name(), *member);
    }
    auto answer = json_answer(body, problem.status, problem.fields);
    answer.content_type = "application/problem+json";
    return answer;
}

Problem problem_of(ErrorValue error, std::string detail, std::string const& path)
{
    Problem problem{.status = status_of(error),
                    .code = RavikSrv::get_error_string(error).name(),
                    .detail = path.empty() || detail.starts_with(path) ? std::move(detail) : path + ": " + detail};
    return problem;
}

Problem problem_of(ErrorValue error, unsigned result, std::string const& name, std::string detail)
{
    auto problem = problem_of(error, std::move(detail));
    if (error == ErrorValue::SUCCESS && result != 0)
    {
        problem.status = contains(missing, name) ? 404 : contains(of_controllers, name) ? 502 : 422;
        problem.code = name;
    }
    return problem;
}

Problem syntax_problem(Json::ParseError const& error)
{
    auto const [line, column] = error.location();
    auto const place = "line " + std::to_string(line) + ", column " + std::to_string(column);
    return {.status = 400,
            .code = "SYNTAX",
            .detail = place + ": " + error.what(),
            .errors = {{.pointer = place, .detail = error.what()}}};
}

Problem without_library(std::string detail, std::string const& unknown_edit)
{
    auto problem = problem_of(ErrorValue::STORAGE, std::move(detail));
    problem.status = 503;
    if (unknown_edit.empty())
    {
        problem.fields.emplace_back("Retry-After", "1");
    }
    else
    {
        problem.members = Value(ValueType::Map);
        problem.members.insert("edit", text_value(unknown_edit));
    }
    return problem;
}

Problem too_busy(std::string detail)
{
    return {.status = 503,
            .code = "BUSY",
            .detail = std::move(detail),
            .errors = {},
            .current = {},
            .fields = {{"Retry-After", "1"}}};
}

Response json_answer(Value const& value, unsigned status, Fields fields)
{
    return {.status = status,
            .content_type = "application/json",
            .fields = std::move(fields),
            .body = std::make_shared<std::string const>(Json::write(value))};
}

Response text_answer(std::string text, std::string content_type, Fields fields)
{
    return {.status = 200,
            .content_type = std::move(content_type),
            .fields = std::move(fields),
            .body = std::make_shared<std::string const>(std::move(text))};
}

} // namespace Ravik::Service
