#pragma once

#include "RavikSrvExtApi.h"

#include <cstdint>
#include <vector>

namespace Ravik::Schema
{

struct Node;

/// The numbers that certainly fit a compiled schema, as far as its bounds alone tell: those of the built-in
/// definitions, and of whatever narrows them by a minimum and a maximum. Of any other value nothing is said.
class CertainNumbers
{
public:
    /// None.
    CertainNumbers() = default;
    /// Those that fit the first of the schemas.
    explicit CertainNumbers(std::vector<Node> const& nodes);

    bool contain(RavikSrv::Value const& value) const noexcept
    {
        switch (value.type())
        {
        case RavikSrv::ValueType::Int:
        case RavikSrv::ValueType::Int64:
        {
            auto const number = value.get_int64();
            return number >= m_lowest_integer && number <= m_highest_integer;
        }
        case RavikSrv::ValueType::Double:
        {
            auto const number = value.get_double();
            return number >= m_lowest_real && number <= m_highest_real;
        }
        default:
            return false;
        }
    }

private:
    /// Bounds that hold nothing.
    std::int64_t m_lowest_integer = 1;
    std::int64_t m_highest_integer = 0;
    double m_lowest_real = 1.0;
    double m_highest_real = 0.0;
};

} // namespace Ravik::Schema
