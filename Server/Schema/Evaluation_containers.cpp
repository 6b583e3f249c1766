#include "Schema/Evaluation.h"

#include <algorithm>

namespace Ravik::Schema
{

using RavikSrv::ErrorValue;

bool Evaluation::check_array(ArrayRules const& rules, Value const& array, InstanceLocation const& location)
{
    return check_size(rules.size, array.size(), "item", ErrorValue::ARRAY_RANGE_MISMATCH, location) &&
           check_items(rules, array, location) && check_contains(rules.contained, array, location) &&
           (!rules.unique || check_unique(array, location));
}

bool Evaluation::check_items(ArrayRules const& rules, Value const& array, InstanceLocation const& location)
{
    auto const leading = rules.leading.size();
    if (leading > 0 && array.size() > leading && rules.others != no_node && m_nodes[rules.others].never)
    {
        return check_size({0, leading}, array.size(), "item", ErrorValue::ARRAY_RANGE_MISMATCH, location);
    }
    auto const checked = rules.others == no_node ? std::min(leading, array.size()) : array.size();
    for (std::size_t index = 0; index < checked; ++index)
    {
        if (!fits(index < leading ? rules.leading[index] : rules.others, array[index],
                  InstanceLocation(location, index)))
        {
            return false;
        }
    }
    return true;
}

bool Evaluation::check_contains(NodeId contained, Value const& array, InstanceLocation const& location)
{
    return contained == no_node ||
           std::any_of(array.begin_vector(), array.end_vector(),
                       [&](Value const& item) { return fits_silently(contained, item, location); }) ||
           fail(ErrorValue::NO_MATCHES, location, [] { return "no item is of the kind that must be among them"; });
}

bool Evaluation::check_unique(Value const& array, InstanceLocation const& location)
{
    std::vector<std::pair<std::uint64_t, std::size_t>> hashes;
    hashes.reserve(array.size());
    for (std::size_t index = 0; index < array.size(); ++index)
    {
        hashes.emplace_back(json_hash(array[index], m_budget), index);
    }
    std::sort(hashes.begin(), hashes.end());
    for (auto first = hashes.begin(); first != hashes.end(); ++first)
    {
        for (auto second = first + 1; second != hashes.end() && second->first == first->first; ++second)
        {
            if (json_equal(array[first->second], array[second->second], m_budget))
            {
                return fail(ErrorValue::UNIQUE, location,
                            [&] {
                                return "the items [" + std::to_string(first->second) + "] and [" +
                                       std::to_string(second->second) + "] are equal";
                            });
            }
        }
    }
    return true;
}

bool Evaluation::check_object(ObjectRules const& rules, Value const& object, InstanceLocation const& location)
{
    if (!check_required(rules.required, object, location, "") ||
        !check_size(rules.size, object.size(), "entry", ErrorValue::ARRAY_RANGE_MISMATCH, location))
    {
        return false;
    }
    for (auto entry = object.begin(); entry != object.end(); ++entry)
    {
        if (!check_name(rules.names, entry.name(), location) || !check_field(rules, entry.name(), *entry, location))
        {
            return false;
        }
    }
    return std::all_of(rules.dependencies.begin(), rules.dependencies.end(),
                       [&](Dependency const& dependency) { return check_dependency(dependency, object, location); });
}

bool Evaluation::check_required(std::vector<std::string> const& names, Value const& object,
                                InstanceLocation const& location, std::string const& because)
{
    m_budget.spend(names.size());
    auto const missing = std::find_if(names.begin(), names.end(),
                                      [&](auto const& name) { return object.find(name.c_str()) == object.end(); });
    return missing == names.end() || fail(ErrorValue::REQUIRED_FIELD, location,
                                          [&] { return "the field " + quoted(*missing) + " is missing" + because; });
}

bool Evaluation::check_field(ObjectRules const& rules, char const* name, Value const& value,
                             InstanceLocation const& object_location)
{
    m_budget.spend();
    InstanceLocation const location(object_location, name);
    auto const& property = rules.properties[name];
    auto is_known = property.isset();
    if (is_known && !fits(static_cast<NodeId>(property.get_int64()), value, location))
    {
        return false;
    }
    for (auto const& rule : rules.patterns)
    {
        if (rule.pattern.matches(name, m_budget))
        {
            is_known = true;
            if (!fits(rule.schema, value, location))
            {
                return false;
            }
        }
    }
    if (is_known || rules.others == no_node)
    {
        return true;
    }
    return m_nodes[rules.others].never ? fail(ErrorValue::UNEXPECTED_FIELD, object_location,
                                              [name] { return "there is no field " + quoted(name) + " here"; })
                                       : fits(rules.others, value, location);
}

bool Evaluation::check_name(NodeId names, char const* name, InstanceLocation const& object_location)
{
    if (names == no_node)
    {
        return true;
    }
    auto const& text = m_names.emplace_back(name);
    return fits(names, text, object_location) ||
           fail(ErrorValue::UNEXPECTED_FIELD, object_location,
                [&] { return "the field name " + quoted(name) + " is not allowed: " + m_failure.text; });
}

bool Evaluation::check_dependency(Dependency const& dependency, Value const& object, InstanceLocation const& location)
{
    m_budget.spend();
    return object.find(dependency.field.c_str()) == object.end() ||
           (check_required(dependency.required, object, location, ", which " + quoted(dependency.field) + " needs") &&
            fits(dependency.schema, object, location));
}

} // namespace Ravik::Schema
