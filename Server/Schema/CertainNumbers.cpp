#include "Schema/CertainNumbers.h"

#include "Schema/SchemaNode.h"
#include "Schema/numbers.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Ravik::Schema
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

/// Whether more than types, plain bounds and a reference decide about a number.
bool has_other_rules(Node const& node)
{
    auto const& number = node.number;
    auto const& combination = node.combination;
    return node.never || node.enumeration || node.constant ||
           (number &&
            (number->exclusive_minimum.isset() || number->exclusive_maximum.isset() || number->multiple_of.isset())) ||
           (combination && (!combination->all.empty() || !combination->any.empty() || !combination->one.empty() ||
                            combination->excluded != no_node || combination->condition != no_node));
}

template <typename Number> struct Range
{
    Number lowest;
    Number highest;
};

constexpr Range<std::int64_t> all_integers = {std::numeric_limits<std::int64_t>::min(),
                                              std::numeric_limits<std::int64_t>::max()};
constexpr Range<double> all_reals = {-std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()};

/// Narrows the range to what the bounds of the schemas leave, each of which leads on to the next by its reference.
/// Returns false where one of them has other rules, does not take values of the type, or has a bound that a number of
/// this kind can't stand for exactly.
template <typename Number>
bool narrow(std::vector<Node> const& nodes, unsigned types, Range<Number>& range, bool (*lower)(Value const&, Number&),
            bool (*upper)(Value const&, Number&))
{
    std::size_t steps = 0;
    for (NodeId id = 0; id != no_node; ++steps)
    {
        auto const& node = nodes[id];
        if (steps > nodes.size() || has_other_rules(node) || (node.types & types) == 0)
        {
            return false;
        }
        Number lowest = range.lowest;
        Number highest = range.highest;
        if (node.number && ((node.number->minimum.isset() && !lower(node.number->minimum, lowest)) ||
                            (node.number->maximum.isset() && !upper(node.number->maximum, highest))))
        {
            return false;
        }
        range = {std::max(range.lowest, lowest), std::min(range.highest, highest)};
        id = node.combination ? node.combination->reference : no_node;
    }
    return true;
}

/// The bound as an integer, or as the end of all integers beyond which it lies.
bool lower_integer(Value const& bound, std::int64_t& integer)
{
    auto const exact = exact_integer(bound);
    integer = exact.value_or(all_integers.lowest);
    return exact.has_value() || bound.get_double() < static_cast<double>(all_integers.lowest);
}

bool upper_integer(Value const& bound, std::int64_t& integer)
{
    auto const exact = exact_integer(bound);
    integer = exact.value_or(all_integers.highest);
    return exact.has_value() || bound.get_double() >= static_cast<double>(all_integers.highest);
}

bool exact_real(Value const& bound, double& real)
{
    // A conversion that is not exact gives null.
    Value converted = bound;
    converted.convert(ValueType::Double);
    real = converted.get_double();
    return converted.isset() && !std::isnan(real);
}

} // namespace

CertainNumbers::CertainNumbers(std::vector<Node> const& nodes)
{
    if (auto range = all_integers; narrow(nodes, TYPE_INTEGER | TYPE_NUMBER, range, lower_integer, upper_integer))
    {
        m_lowest_integer = range.lowest;
        m_highest_integer = range.highest;
    }
    if (auto range = all_reals; narrow(nodes, TYPE_NUMBER, range, exact_real, exact_real))
    {
        m_lowest_real = range.lowest;
        m_highest_real = range.highest;
    }
}

} // namespace Ravik::Schema
