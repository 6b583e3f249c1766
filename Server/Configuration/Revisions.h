#pragma once

#include <cstdint>

namespace Ravik
{

/// Counters that tell whether something has changed since they were looked at. They begin with the time of opening, so
/// that they never come back to a number of an earlier run.
struct Revisions
{
    /// Changes with every finished turn that changed recipe types or recipes. A controller may keep its values in a
    /// configuration of its own: that is not counted.
    std::int64_t configuration = 0;
    /// Changes with every record that is stored or completed.
    std::int64_t history = 0;
    /// Changes with whatever may change which recipes are active: an activation, a revert or a write that has ended.
    std::int64_t activity = 0;

    friend bool operator==(Revisions const& left, Revisions const& right) = default;
};

} // namespace Ravik
