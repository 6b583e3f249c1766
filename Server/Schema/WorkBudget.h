#pragma once

#include "RavikSrvExtApi.h"

#include <cstddef>
#include <exception>
#include <string>
#include <utility>

namespace Ravik::Schema
{

/// Ends the reading of a schema or a check that cannot go on; never leaves the validator.
class SchemaFailure : public std::exception
{
public:
    SchemaFailure(RavikSrv::ErrorValue result, std::string text) : m_result(result), m_text(std::move(text)) {}

    RavikSrv::ErrorValue result() const noexcept { return m_result; }
    char const* what() const noexcept override { return m_text.c_str(); }

private:
    RavikSrv::ErrorValue m_result;
    std::string m_text;
};

/// How much work one call may do. Schemas and values come from outside, and a small schema can ask for any amount of
/// work; a step takes some tens of nanoseconds.
class WorkBudget
{
public:
    /// How deep schemas and values may nest in each other, so that the stack suffices.
    static constexpr std::size_t depth_limit = 1000;

    /// Throws a `SchemaFailure` where the budget is spent.
    void spend(std::size_t steps = 1)
    {
        if (steps > m_left)
        {
            throw SchemaFailure(RavikSrv::ErrorValue::REQUEST_TOO_LARGE,
                                "the value or its schema is too large to be checked");
        }
        m_left -= steps;
    }

    /// Throws a `SchemaFailure` where `depth` is beyond the limit.
    static void check_depth(std::size_t depth)
    {
        if (depth > depth_limit)
        {
            throw SchemaFailure(RavikSrv::ErrorValue::REQUEST_TOO_LARGE,
                                "the value or its schema is nested too deeply");
        }
    }

private:
    std::size_t m_left = 10'000'000;
};

} // namespace Ravik::Schema
