#include "Schema/json_equality.h"

#include "Schema/numbers.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <compare>
#include <functional>
#include <random>

namespace Ravik::Schema
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

std::uint64_t seed()
{
    static std::uint64_t const drawn = []
    {
        std::random_device source;
        return (std::uint64_t{source()} << 32U) | source();
    }();
    return drawn;
}

std::uint64_t mix(std::uint64_t state, std::uint64_t content) noexcept
{
    state = (state ^ content) * 0x9E3779B97F4A7C15U;
    state ^= state >> 32U;
    state *= 0xD6E8FEB86659FD93U;
    return state ^ (state >> 29U);
}

std::uint64_t hash_text(std::uint64_t state, std::string_view text)
{
    return mix(mix(state, std::hash<std::string_view>()(text)), text.size());
}

std::uint64_t hash_number(std::uint64_t state, Value const& number)
{
    if (auto const integer = exact_integer(number))
    {
        return mix(state, static_cast<std::uint64_t>(*integer));
    }
    auto const content = number.get_double();
    return std::isnan(content) ? mix(state, 1) : mix(state, std::bit_cast<std::uint64_t>(content));
}

std::uint64_t hash(Value const& value, WorkBudget& budget, std::size_t depth)
{
    WorkBudget::check_depth(depth);
    budget.spend();
    auto const type = json_type(value);
    auto state = mix(seed(), static_cast<std::uint64_t>(type));
    switch (type)
    {
    case JsonType::BOOLEAN:
        return mix(state, value.get_bool() ? 1 : 0);
    case JsonType::NUMBER:
        return hash_number(state, value);
    case JsonType::STRING:
    {
        TextOf const text(value);
        budget.spend(text.view().size() / 64);
        return hash_text(state, text.view());
    }
    case JsonType::ARRAY:
        std::for_each(value.begin_vector(), value.end_vector(),
                      [&](Value const& item) { state = mix(state, hash(item, budget, depth + 1)); });
        return state;
    case JsonType::OBJECT:
        for (auto entry = value.begin(); entry != value.end(); ++entry)
        {
            state += hash_text(hash(*entry, budget, depth + 1), entry.name()); // in whatever order
        }
        return state;
    default:
        return state;
    }
}

bool equal_numbers(Value const& left, Value const& right)
{
    auto const order = compare_numbers(left, right);
    return std::is_eq(order) || (order == std::partial_ordering::unordered && std::isnan(left.get_double()) &&
                                 std::isnan(right.get_double()));
}

bool equal_objects(Value const& left, Value const& right, WorkBudget& budget)
{
    for (auto entry = left.begin(); entry != left.end(); ++entry)
    {
        auto const other = right.find(entry.name());
        if (other == right.end() || !json_equal(*entry, *other, budget))
        {
            return false;
        }
    }
    return left.size() == right.size();
}

} // namespace

JsonType json_type(Value const& value) noexcept
{
    switch (value.type())
    {
    case ValueType::Null:
        return JsonType::NIL;
    case ValueType::Bool:
        return JsonType::BOOLEAN;
    case ValueType::Int:
    case ValueType::Int64:
    case ValueType::Double:
        return JsonType::NUMBER;
    case ValueType::String:
    case ValueType::Binary:
    case ValueType::DateTime:
    case ValueType::TimeSpan:
        return JsonType::STRING;
    case ValueType::Vector:
        return JsonType::ARRAY;
    case ValueType::Map:
    case ValueType::Struct:
    case ValueType::Event:
    case ValueType::Message:
    case ValueType::Alarm:
        return JsonType::OBJECT;
    case ValueType::Any:
        break;
    }
    return JsonType::NONE;
}

TextOf::TextOf(Value const& value) : m_text(value)
{
    if (value.type() != ValueType::String && value.type() != ValueType::Binary)
    {
        m_text.convert(ValueType::String);
    }
}

std::size_t TextOf::length() const noexcept
{
    auto const text = view();
    if (m_text.type() == ValueType::Binary)
    {
        return text.size();
    }
    // A character of UTF-8 has exactly one byte that is not of the form 10xxxxxx.
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U; }));
}

std::uint64_t json_hash(Value const& value, WorkBudget& budget)
{
    return hash(value, budget, 0);
}

bool json_equal(Value const& left, Value const& right, WorkBudget& budget)
{
    budget.spend();
    auto const type = json_type(left);
    if (type != json_type(right))
    {
        return false;
    }
    switch (type)
    {
    case JsonType::BOOLEAN:
        return left.get_bool() == right.get_bool();
    case JsonType::NUMBER:
        return equal_numbers(left, right);
    case JsonType::STRING:
        return TextOf(left).view() == TextOf(right).view();
    case JsonType::ARRAY:
        return std::equal(left.begin_vector(), left.end_vector(), right.begin_vector(), right.end_vector(),
                          [&](Value const& one, Value const& other) { return json_equal(one, other, budget); });
    case JsonType::OBJECT:
        return equal_objects(left, right, budget);
    default:
        return true;
    }
}

void ValueSet::insert(Value const& value, WorkBudget& budget)
{
    m_positions.emplace(json_hash(value, budget), m_values.size());
    m_values.push_back(value);
}

bool ValueSet::contains(Value const& value, WorkBudget& budget) const
{
    auto const [first, last] = m_positions.equal_range(json_hash(value, budget));
    return std::any_of(first, last,
                       [&](auto const& found) { return json_equal(m_values[found.second], value, budget); });
}

} // namespace Ravik::Schema
