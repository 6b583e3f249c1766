#include "Variables.h"

#include "configuration_keys.h"

#include "ControllerExtension.h"
#include "algorithm_helper.h"
#include "api_helper.h"

#include <algorithm>
#include <utility>

namespace Simulation
{

using RavikSrv::ErrorValue;
using RavikSrv::ResultPair;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

bool is_object(Value const& value)
{
    return value.type() == ValueType::Map || value.type() == ValueType::Struct;
}

bool is_number(Value const& value)
{
    return value.type() == ValueType::Int || value.type() == ValueType::Int64 || value.type() == ValueType::Double;
}

ResultPair wrong_setting(std::string const& place, std::string const& expected, Value const& found)
{
    return RavikSrv::wrong_setting(place, expected, get_type_string(found.type()));
}

std::string quoted(std::string_view name)
{
    return "'" + std::string(name) + "'";
}

std::string described(Value const& value)
{
    auto const text = RavikSrv::Algorithm::to_string(value);
    return (text.empty() ? "" : text + ", ") + "which is of type " + get_type_string(value.type());
}

} // namespace

ResultPair Variables::load(Value const& configuration)
{
    RavikSrv::Lock const lock(m_mutex);
    m_variables.clear();
    // In this order: the later keys speak about the variables that the first one names.
    for (auto const& [key, load_setting] :
         {std::pair{variables_key, &Variables::load_variables},
          std::pair{write_protected_key, &Variables::load_write_protected},
          std::pair{stuck_key, &Variables::load_stuck}, std::pair{clamped_key, &Variables::load_clamped},
          std::pair{unreachable_key, &Variables::load_unreachable}, std::pair{values_key, &Variables::load_values}})
    {
        auto const& setting = configuration[key];
        if (!setting.isset())
        {
            continue;
        }
        if (auto loaded = (this->*load_setting)(setting); loaded.result() != ErrorValue::SUCCESS)
        {
            return loaded;
        }
    }
    return {};
}

Outcome Variables::read(char const* name, Value& value) const
{
    RavikSrv::Lock const lock(m_mutex);
    auto const found = m_variables.find(name);
    auto outcome = barred(name, found != m_variables.end());
    if (outcome.succeeded())
    {
        value = found->second.value;
    }
    return outcome;
}

Outcome Variables::write(char const* name, Value const& value)
{
    RavikSrv::Lock const lock(m_mutex);
    auto const found = m_variables.find(name);
    auto outcome = barred(name, found != m_variables.end());
    if (!outcome.succeeded())
    {
        return outcome;
    }
    auto& variable = found->second;
    if (variable.write_protected)
    {
        return {SimulationResult::WRITE_PROTECTED, "The variable " + quoted(name) + " is write-protected"};
    }
    if (!variable.take(value))
    {
        return {SimulationResult::TYPE_MISMATCH, "The variable " + quoted(name) + " is of type " +
                                                     get_type_string(variable.type) + " and can't take " +
                                                     described(value)};
    }
    variable.written = ++m_writes;
    return outcome;
}

Variables::Snapshot Variables::snapshot(Names const& names) const
{
    RavikSrv::Lock const lock(m_mutex);
    Snapshot result{Value(ValueType::Map), m_writes};
    for (auto const& name : names)
    {
        if (auto const found = m_variables.find(name); found != m_variables.end())
        {
            result.values.insert(name.c_str(), found->second.value);
        }
    }
    return result;
}

bool Variables::changed_since(std::uint64_t moment, Names const& names) const
{
    RavikSrv::Lock const lock(m_mutex);
    return std::any_of(names.begin(), names.end(),
                       [&](auto const& name) RAVIK_REQUIRES(m_mutex)
                       {
                           auto const found = m_variables.find(name);
                           return found != m_variables.end() && found->second.written > moment;
                       });
}

bool Variables::Variable::accept(Value const& offered)
{
    auto converted = offered;
    if (type != ValueType::Null)
    {
        converted.convert(type);
    }
    if (!converted.isset())
    {
        return false;
    }
    value = std::move(converted);
    return true;
}

bool Variables::Variable::take(Value const& offered)
{
    auto const held = value;
    if (!accept(offered))
    {
        return false;
    }
    if (auto const number = is_number(value) ? value.get_double() : lowest; number < lowest || number > highest)
    {
        auto const own_type = value.type();
        value = Value(std::clamp(number, lowest, highest));
        value.convert(own_type);
    }
    if (stuck || !value.isset())
    {
        value = held;
    }
    return true;
}

ResultPair Variables::load_variables(Value const& variables)
{
    if (!is_object(variables))
    {
        return wrong_setting(variables_key, "an object of variable names and their values", variables);
    }
    for (auto entry = variables.begin(); entry != variables.end(); ++entry)
    {
        m_variables[entry.name()] = Variable{entry->type(), *entry};
    }
    return {};
}

ResultPair Variables::load_write_protected(Value const& names)
{
    return mark(write_protected_key, names, &Variable::write_protected);
}

ResultPair Variables::load_stuck(Value const& names)
{
    return mark(stuck_key, names, &Variable::stuck);
}

ResultPair Variables::mark(char const* key, Value const& names, bool Variable::*flag)
{
    if (names.type() != ValueType::Vector)
    {
        return wrong_setting(key, "a list of variable names", names);
    }
    for (std::size_t index = 0; index < names.size(); ++index)
    {
        auto const& name = names[index];
        auto const place = key + ("[" + std::to_string(index) + "]");
        if (name.type() != ValueType::String)
        {
            return wrong_setting(place, "the name of a variable", name);
        }
        ResultPair failure;
        auto* const variable = named(place, name.get_text(), failure);
        if (variable == nullptr)
        {
            return failure;
        }
        variable->*flag = true;
    }
    return {};
}

ResultPair Variables::load_clamped(Value const& ranges)
{
    if (!is_object(ranges))
    {
        return wrong_setting(clamped_key, "an object of variable names and their ranges", ranges);
    }
    for (auto entry = ranges.begin(); entry != ranges.end(); ++entry)
    {
        auto const place = RavikSrv::path_separator() + std::string(entry.name());
        Value const& range = *entry;
        auto const lowest = range.type() == ValueType::Vector && range.size() == 2 ? range[0UL] : Value();
        auto const highest = lowest.isset() ? range[1UL] : Value();
        if (!is_number(lowest) || !is_number(highest) || lowest.get_double() > highest.get_double())
        {
            return wrong_setting(clamped_key + place, "the lowest and the highest number, as a list", range);
        }
        ResultPair failure;
        auto* const variable = named(clamped_key + place, entry.name(), failure);
        if (variable == nullptr)
        {
            return failure;
        }
        variable->lowest = lowest.get_double();
        variable->highest = highest.get_double();
    }
    return {};
}

Variables::Variable* Variables::named(std::string const& place, std::string_view name, ResultPair& failure)
{
    auto const found = m_variables.find(name);
    if (found == m_variables.end())
    {
        // A misspelt name would leave as it is what somebody meant to set.
        failure = RavikSrv::wrong_setting(place, std::string("the name of one of the \"") + variables_key + "\"",
                                          quoted(name));
        return nullptr;
    }
    return &found->second;
}

ResultPair Variables::load_unreachable(Value const& flag)
{
    if (flag.type() != ValueType::Bool)
    {
        return wrong_setting(unreachable_key, "true or false", flag);
    }
    m_unreachable = flag.get_bool();
    return {};
}

ResultPair Variables::load_values(Value const& values)
{
    if (!is_object(values))
    {
        return wrong_setting(values_key, "an object of variable names and their values", values);
    }
    for (auto entry = values.begin(); entry != values.end(); ++entry)
    {
        // A write-protected variable shows what the file says: whatever it once took, nobody can write it now.
        auto const found = m_variables.find(entry.name());
        if (found != m_variables.end() && !found->second.write_protected)
        {
            static_cast<void>(found->second.accept(*entry)); // a value that no longer fits is passed over
        }
    }
    return {};
}

Outcome Variables::barred(char const* name, bool known) const
{
    if (m_unreachable)
    {
        return {SimulationResult::UNREACHABLE, "The controller does not answer"};
    }
    if (!known)
    {
        return {SimulationResult::UNKNOWN_VARIABLE, "There is no variable " + quoted(name)};
    }
    return {};
}

} // namespace Simulation
