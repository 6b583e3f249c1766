#include "Schema/Evaluation.h"

#include "Schema/numbers.h"

#include <algorithm>
#include <compare>
#include <functional>

namespace Ravik::Schema
{

using RavikSrv::ErrorValue;
using RavikSrv::ResultPair;

namespace
{

/// Beyond it outcomes are no longer kept, which costs time but no memory.
constexpr std::size_t outcome_limit = 500'000;
/// How many alternatives of a combinator are told apart in a message.
constexpr std::size_t reason_limit = 3;

/// Counts up as long as it lives.
class Counting
{
public:
    explicit Counting(std::size_t& count) : m_count(count) { ++m_count; }
    Counting(Counting const&) = delete;
    Counting& operator=(Counting const&) = delete;
    ~Counting() { --m_count; }

private:
    std::size_t& m_count;
};

} // namespace

std::size_t Evaluation::SubjectHash::operator()(Subject const& subject) const noexcept
{
    return std::hash<Value const*>()(subject.second) ^ (std::size_t{subject.first} * 0x9E3779B97F4A7C15U);
}

ResultPair Evaluation::run(Value const& value)
{
    try
    {
        if (fits(0, value, InstanceLocation()))
        {
            return {};
        }
        return {m_failure.result, with_location(m_failure.location, m_failure.text).c_str()};
    }
    catch (SchemaFailure const& failure)
    {
        return {failure.result(), with_location(m_path, failure.what()).c_str()};
    }
}

bool Evaluation::fits(NodeId id, Value const& value, InstanceLocation const& location)
{
    if (id == no_node || !value.isset())
    {
        return true;
    }
    m_budget.spend();
    Counting const counting(m_depth);
    WorkBudget::check_depth(m_depth);
    auto const& node = m_nodes[id];
    if (!node.remembered)
    {
        return check(node, value, location);
    }
    auto const known = m_outcomes.find({id, &value});
    if (known != m_outcomes.end() && (known->second || m_silent > 0))
    {
        return known->second;
    }
    auto const outcome = check(node, value, location);
    if (m_outcomes.size() < outcome_limit)
    {
        m_outcomes.emplace(Subject{id, &value}, outcome);
    }
    return outcome;
}

bool Evaluation::fits_silently(NodeId id, Value const& value, InstanceLocation const& location)
{
    Counting const counting(m_silent);
    return fits(id, value, location);
}

bool Evaluation::check(Node const& node, Value const& value, InstanceLocation const& location)
{
    if (node.never)
    {
        return fail(ErrorValue::EXCLUDED, location, [] { return "no value is allowed here"; });
    }
    // The type goes first, also the one that a reference brings.
    if (!check_type(node, value, location) ||
        (node.combination && !fits(node.combination->reference, value, location)) ||
        !check_choice(node, value, location))
    {
        return false;
    }
    return check_content(node, value, location) &&
           (!node.combination || check_combination(*node.combination, value, location));
}

/// The rules for values of the type that this one is of.
bool Evaluation::check_content(Node const& node, Value const& value, InstanceLocation const& location)
{
    switch (json_type(value))
    {
    case JsonType::NUMBER:
        return !node.number || check_number(*node.number, value, location);
    case JsonType::STRING:
        return !node.text || check_text(*node.text, value, location);
    case JsonType::ARRAY:
        return !node.array || check_array(*node.array, value, location);
    case JsonType::OBJECT:
        return !node.object || check_object(*node.object, value, location);
    default:
        return true;
    }
}

bool Evaluation::check_combination(Combination const& combination, Value const& value, InstanceLocation const& location)
{
    return std::all_of(combination.all.begin(), combination.all.end(),
                       [&](NodeId schema) { return fits(schema, value, location); }) &&
           check_any(combination.any, value, location) && check_one(combination.one, value, location) &&
           check_condition(combination, value, location);
}

bool Evaluation::check_type(Node const& node, Value const& value, InstanceLocation const& location)
{
    return node.types == TYPE_ALL || (type_bits(value) & node.types) != 0 ||
           fail(ErrorValue::TYPE_MISMATCH, location,
                [&] { return describe(value) + " is not of type " + type_names(node.types); });
}

bool Evaluation::check_choice(Node const& node, Value const& value, InstanceLocation const& location)
{
    if (node.enumeration && !node.enumeration->contains(value, m_budget))
    {
        return fail(ErrorValue::ENUM_VALUE_MISMATCH, location,
                    [&] { return describe(value) + " is none of: " + describe_list(node.enumeration->values()); });
    }
    if (node.constant && !node.constant->contains(value, m_budget))
    {
        return fail(
            ErrorValue::ENUM_VALUE_MISMATCH, location,
            [&]
            { return describe(value) + " is not the only allowed value: " + describe_list(node.constant->values()); });
    }
    return true;
}

bool Evaluation::check_number(NumberRules const& rules, Value const& number, InstanceLocation const& location)
{
    auto const refuse = [&](char const* what, Value const& bound)
    {
        return fail(ErrorValue::RANGE_MISMATCH, location,
                    [&] { return describe(number) + " is " + what + " " + describe(bound); });
    };
    // A NaN has no order and so is within no bound.
    if (rules.maximum.isset() && !std::is_lteq(compare_numbers(number, rules.maximum)))
    {
        return refuse("more than the maximum of", rules.maximum);
    }
    if (rules.minimum.isset() && !std::is_gteq(compare_numbers(number, rules.minimum)))
    {
        return refuse("less than the minimum of", rules.minimum);
    }
    if (rules.exclusive_maximum.isset() && !std::is_lt(compare_numbers(number, rules.exclusive_maximum)))
    {
        return refuse("not less than", rules.exclusive_maximum);
    }
    if (rules.exclusive_minimum.isset() && !std::is_gt(compare_numbers(number, rules.exclusive_minimum)))
    {
        return refuse("not more than", rules.exclusive_minimum);
    }
    return !rules.multiple_of.isset() || is_multiple(number, rules.multiple_of) ||
           refuse("not a multiple of", rules.multiple_of);
}

bool Evaluation::check_text(TextRules const& rules, Value const& value, InstanceLocation const& location)
{
    TextOf const text(value);
    if (rules.length.is_set())
    {
        m_budget.spend(text.view().size() / 64);
        if (!check_size(rules.length, text.length(), "character", ErrorValue::STRING_LENGTH_MISMATCH, location))
        {
            return false;
        }
    }
    return !rules.pattern || rules.pattern->matches(text.view(), m_budget) ||
           fail(ErrorValue::REGEX, location,
                [&] { return describe(value) + " does not match the pattern " + quoted(rules.pattern->expression()); });
}

bool Evaluation::check_size(SizeRange const& range, std::size_t size, char const* unit, ErrorValue result,
                            InstanceLocation const& location)
{
    if (size >= range.minimum && size <= range.maximum)
    {
        return true;
    }
    auto const count = [unit](std::size_t number)
    {
        auto const plural = std::string(unit) == "entry" ? std::string("entries") : std::string(unit) + "s";
        return std::to_string(number) + " " + (number == 1 ? unit : plural);
    };
    return fail(result, location,
                [&]
                {
                    return size < range.minimum
                               ? count(size) + " where at least " + std::to_string(range.minimum) + " must be"
                               : count(size) + " where at most " + std::to_string(range.maximum) + " may be";
                });
}

bool Evaluation::check_any(std::vector<NodeId> const& schemas, Value const& value, InstanceLocation const& location)
{
    return schemas.empty() ||
           std::any_of(schemas.begin(), schemas.end(),
                       [&](NodeId schema) { return fits_silently(schema, value, location); }) ||
           fail(ErrorValue::NO_MATCHES, location, [&] { return reasons(schemas, value, location); });
}

bool Evaluation::check_one(std::vector<NodeId> const& schemas, Value const& value, InstanceLocation const& location)
{
    std::vector<std::size_t> matches;
    for (std::size_t position = 0; position < schemas.size() && matches.size() < 2; ++position)
    {
        if (fits_silently(schemas[position], value, location))
        {
            matches.push_back(position + 1);
        }
    }
    if (matches.size() > 1)
    {
        return fail(ErrorValue::MULTIPLE_MATCHES, location,
                    [&]
                    {
                        return describe(value) + " fits more than one alternative, number " +
                               std::to_string(matches[0]) + " and number " + std::to_string(matches[1]);
                    });
    }
    return schemas.empty() || !matches.empty() ||
           fail(ErrorValue::NO_MATCHES, location, [&] { return reasons(schemas, value, location); });
}

bool Evaluation::check_condition(Combination const& combination, Value const& value, InstanceLocation const& location)
{
    if (combination.excluded != no_node && fits_silently(combination.excluded, value, location))
    {
        return fail(ErrorValue::EXCLUDED, location, [&] { return describe(value) + " is excluded"; });
    }
    if (combination.condition == no_node)
    {
        return true;
    }
    auto const holds = fits_silently(combination.condition, value, location);
    return fits(holds ? combination.consequence : combination.alternative, value, location);
}

/// Says that the value fits no alternative, and of the first ones why. Combinators inside them give no reasons of their
/// own: each level would multiply the work.
std::string Evaluation::reasons(std::vector<NodeId> const& schemas, Value const& value,
                                InstanceLocation const& location)
{
    auto text = describe(value) + " fits none of the alternatives";
    if (m_giving_reasons)
    {
        return text;
    }
    m_giving_reasons = true;
    auto const here = location_text(m_path, location);
    std::string list;
    for (std::size_t position = 0; position < std::min(schemas.size(), reason_limit); ++position)
    {
        if (!fits(schemas[position], value, location))
        {
            list += list.empty() ? "" : "; ";
            list += m_failure.location == here ? m_failure.text : with_location(m_failure.location, m_failure.text);
        }
    }
    m_giving_reasons = false;
    return text + " (" + list + (schemas.size() > reason_limit ? "; …)" : ")");
}

} // namespace Ravik::Schema
