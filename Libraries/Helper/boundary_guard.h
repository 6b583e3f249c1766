#pragma once

#include "RavikSrvExtApi.h"

#include <array>
#include <type_traits>
#include <utility>

/// The one guard at the boundaries between server and extensions, which no exception crosses, and at the end of the
/// program.
namespace RavikSrv
{

/// The exception that is being handled in a line: "OPERATION: unexpected failure: WHAT". It needs no memory, whose lack
/// may be what it tells of; what is too long is cut.
class FailureText
{
public:
    /// To be made inside a catch clause.
    explicit FailureText(char const* operation) noexcept;

    char const* c_str() const noexcept { return m_text.data(); }

private:
    std::array<char, 512> m_text{};
};

/// Runs `body` for an operation of that name. Whatever it throws ends here and is told to `on_failure(text)`; what that
/// throws in turn is dropped, so it does first what needs no memory.
template <typename Body, typename OnFailure>
void guarded(char const* operation, Body const& body, OnFailure const& on_failure) noexcept
{
    try
    {
        try
        {
            body();
        }
        catch (...)
        {
            on_failure(FailureText(operation).c_str());
        }
    }
    catch (...) // NOLINT(bugprone-empty-catch): `on_failure` has done what it could
    {
    }
}

/// Returns what `body` returns, or `after_failure` where it throws; a `ResultPair` then also says what happened.
template <typename Answer, typename Body>
[[nodiscard]] Answer guarded_answer(char const* operation, Answer after_failure, Body const& body) noexcept
{
    guarded(
        operation, [&] { after_failure = body(); },
        [&](char const* text)
        {
            if constexpr (std::is_same_v<Answer, ResultPair>)
            {
                after_failure.set_text(text);
            }
        });
    return after_failure;
}

/// The same for an operation that returns a `ResultPair`; `UNEXPECTED` after a failure.
template <typename Body> [[nodiscard]] ResultPair guarded_result(char const* operation, Body const& body) noexcept
{
    return guarded_answer(operation, ResultPair(ErrorValue::UNEXPECTED), body);
}

} // namespace RavikSrv
