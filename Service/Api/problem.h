#pragma once

#include "Http/Message.h"

#include "RavikSrvExtApi.h"
#include "Json/Location.h"

#include <string>
#include <string_view>
#include <vector>

/// Answers of the API.
namespace Ravik::Service
{

/// A mistake in what was sent: where, as a JSON pointer (or line and column of a table), and what.
struct Mistake
{
    std::string pointer;
    std::string detail;
};

/// Why a request fails (RFC 9457). Thrown by what serves a request, where that is shorter than returning it.
struct Problem
{
    unsigned status = 500;
    /// The name of a result or error.
    std::string code;
    /// What is wrong and what to do, for a person.
    std::string detail;
    std::vector<Mistake> errors{};
    /// What stands there now, for a condition that did not hold; unset where the problem says nothing of it.
    RavikSrv::Value current{};
    /// Further header fields.
    Fields fields{};
    /// Further members of the answer.
    RavikSrv::Value members{};
};

/// The problem as an answer of the type application/problem+json.
Response answer_of(Problem const& problem);

/// What an error of the server comes to for a client of the API.
Problem problem_of(RavikSrv::ErrorValue error, std::string detail, std::string const& path = {});
/// The same where an extension's result and its name are known, too.
Problem problem_of(RavikSrv::ErrorValue error, unsigned result, std::string const& name, std::string detail);

/// A body that is no JSON: 400 with line and column.
Problem syntax_problem(Json::ParseError const& error);
/// What the library that the project has joined is needed for and can't be had for: 503, to be tried again in a second,
/// unless it is an edit that may have been made, whose id is given.
Problem without_library(std::string detail, std::string const& unknown_edit = {});
/// 503, to be tried again in a second.
Problem too_busy(std::string detail);

/// An answer with a JSON body.
Response json_answer(RavikSrv::Value const& value, unsigned status = 200, Fields fields = {});
Response text_answer(std::string text, std::string content_type, Fields fields = {});

} // namespace Ravik::Service
