#include "RavikSrvExt/Value.h"

#include "Storage.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace RavikSrv
{

using Detail::Container;
using Detail::has_bytes;
using Detail::KeyTable;

namespace
{

std::weak_ordering compare_numbers(double left, double right) noexcept
{
    if (std::isnan(left) || std::isnan(right))
    {
        return std::isnan(left) <=> std::isnan(right);
    }
    return left < right ? std::weak_ordering::less
                        : (right < left ? std::weak_ordering::greater : std::weak_ordering::equivalent);
}

/// Whether the maps hold equal entries; both have the same number of them.
bool equal_entries(Container const& left, Container const& right) noexcept
{
    if (left.keys == right.keys)
    {
        return left.items == right.items;
    }
    for (std::uint32_t position = 0; position < left.keys->size(); ++position)
    {
        auto const other = right.keys->find((*left.keys)[position]);
        if (other == KeyTable::none || !(left.items[position] == right.items[other]))
        {
            return false;
        }
    }
    return true;
}

std::vector<std::uint32_t> order_of_names(KeyTable const& keys)
{
    std::vector<std::uint32_t> order(keys.size());
    std::iota(order.begin(), order.end(), 0U);
    std::sort(order.begin(), order.end(), [&keys](auto left, auto right) { return keys[left] < keys[right]; });
    return order;
}

/// Compares entry by entry in the order of the names; both have the same number of them.
std::weak_ordering compare_entries(Container const& left, Container const& right)
{
    auto const left_order = order_of_names(*left.keys);
    auto const right_order = left.keys == right.keys ? left_order : order_of_names(*right.keys);
    for (std::size_t position = 0; position < left_order.size(); ++position)
    {
        auto const left_entry = left_order[position];
        auto const right_entry = right_order[position];
        std::weak_ordering order = (*left.keys)[left_entry] <=> (*right.keys)[right_entry];
        if (std::is_eq(order))
        {
            order = left.items[left_entry] <=> right.items[right_entry];
        }
        if (std::is_neq(order))
        {
            return order;
        }
    }
    return std::weak_ordering::equivalent;
}

} // namespace

bool Value::equals(Value const& other) const noexcept
{
    if (m_type != other.m_type || size() != other.size())
    {
        return false;
    }
    if (m_counted && other.m_counted)
    {
        if (m_scalar.shared == other.m_scalar.shared || (size() == 0 && !has_bytes(m_type)))
        {
            return true;
        }
        return has_bytes(m_type)             ? text()->view() == other.text()->view()
               : m_type == ValueType::Vector ? elements()->items == other.elements()->items
                                             : equal_entries(*entries(), *other.entries());
    }
    // Without anything on the heap a text or container is empty; such a text has no equal that has.
    if (m_counted || other.m_counted)
    {
        return !has_bytes(m_type);
    }
    return m_type == ValueType::Double ? std::is_eq(compare_numbers(m_scalar.real, other.m_scalar.real))
           : m_type == ValueType::Bool ? m_scalar.boolean == other.m_scalar.boolean
                                       : m_scalar.integer == other.m_scalar.integer;
}

std::weak_ordering Value::compare(Value const& other) const
{
    if (m_type != other.m_type)
    {
        return m_type <=> other.m_type;
    }
    switch (m_type)
    {
    case ValueType::Bool:
        return m_scalar.boolean <=> other.m_scalar.boolean;
    case ValueType::Double:
        return compare_numbers(m_scalar.real, other.m_scalar.real);
    case ValueType::String:
        return get_text() <=> other.get_text();
    case ValueType::Binary:
        return get_binary() <=> other.get_binary();
    case ValueType::Int:
    case ValueType::Int64:
    case ValueType::DateTime:
    case ValueType::TimeSpan:
        return m_scalar.integer <=> other.m_scalar.integer;
    default:
        break;
    }
    if (size() != other.size() || size() == 0 || m_scalar.shared == other.m_scalar.shared)
    {
        return size() <=> other.size();
    }
    return m_type == ValueType::Vector ? elements()->items <=> other.elements()->items
                                       : compare_entries(*entries(), *other.entries());
}

} // namespace RavikSrv
