#include "Settings.h"

#include "ControllerExtension.h"
#include "algorithm_helper.h"

#include <boost/algorithm/string/predicate.hpp>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace Modbus
{

using RavikSrv::ErrorValue;
using RavikSrv::ResultPair;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

constexpr int largest_port = 65535;
/// A unit beyond is reserved, but for 255, which devices on TCP take for themselves.
constexpr int largest_unit = 247;
constexpr int unit_of_the_connection = 255;
constexpr int longest_timeout = 600'000;

/// So few find room in the buffers of a connection, so that sending never waits.
constexpr int most_parallel_requests = 16;

constexpr std::array keys = {"host",
                             "port",
                             "unit",
                             "timeoutMs",
                             "parallelRequests",
                             "registersPerWrite",
                             "registersPerRead",
                             "singleWritesOnly",
                             "readGap"};

bool is_number(Value const& value)
{
    return value.type() == ValueType::Int || value.type() == ValueType::Int64 || value.type() == ValueType::Double;
}

std::string shown(Value const& value)
{
    if (!value.isset())
    {
        return "nothing";
    }
    auto const text = RavikSrv::Algorithm::to_string(value);
    return is_number(value)                    ? text
           : value.type() == ValueType::String ? '"' + text + '"'
                                               : "a value of type " + std::string(get_type_string(value.type()));
}

ResultPair wrong_setting(char const* key, std::string const& expected, Value const& found)
{
    return RavikSrv::wrong_setting(key, expected, shown(found));
}

/// Settings are easily written with a letter of the wrong case, and then silently missing.
ResultPair check_case(Value const& configuration)
{
    for (auto entry = configuration.begin(); entry != configuration.end(); ++entry)
    {
        for (std::string_view const key : keys)
        {
            if (key != entry.name() && boost::iequals(key, entry.name()))
            {
                return RavikSrv::wrong_setting(entry.name(), '"' + std::string(key) + '"', "other letters");
            }
        }
    }
    return {};
}

/// A whole number of the configuration, and what to do with it.
template <typename Take>
ResultPair load_number(Value const& configuration, char const* key, int lowest, int highest, Take const& take)
{
    auto const& found = configuration[key];
    if (!found.isset())
    {
        return {};
    }
    auto whole = found;
    whole.convert(is_number(found) ? ValueType::Int64 : ValueType::Null);
    if (!whole.isset() || whole.get_int64() < lowest || whole.get_int64() > highest)
    {
        return wrong_setting(key, "a whole number from " + std::to_string(lowest) + " to " + std::to_string(highest),
                             found);
    }
    take(whole.get_int32());
    return {};
}

ResultPair load_unit(Value const& configuration, int& unit)
{
    constexpr char const* key = "unit";
    auto const& found = configuration[key];
    auto const loaded = load_number(configuration, key, 0, unit_of_the_connection, [&](int number) { unit = number; });
    bool const reserved = unit > largest_unit && unit != unit_of_the_connection;
    return loaded.result() != ErrorValue::SUCCESS || reserved
               ? wrong_setting(key, "a whole number from 0 to 247, or 255", found)
               : ResultPair();
}

ResultPair load_host(Value const& configuration, std::string& host)
{
    constexpr char const* key = "host";
    auto const& found = configuration[key];
    std::string const text = found.type() == ValueType::String ? found.get_string() : "";
    // More than one colon makes an IPv6 address.
    if (text.empty() || std::count(text.begin(), text.end(), ':') == 1)
    {
        return wrong_setting(key, "the device's name or IP address (its port stands in \"port\")", found);
    }
    host = text;
    return {};
}

ResultPair load_flag(Value const& configuration, char const* key, bool& flag)
{
    auto const& found = configuration[key];
    if (found.isset() && found.type() != ValueType::Bool)
    {
        return wrong_setting(key, "true or false", found);
    }
    flag = found.isset() ? found.get_bool() : flag;
    return {};
}

} // namespace

std::string Settings::device_name() const
{
    return host + ":" + std::to_string(port) + (unit == 1 ? "" : " (unit " + std::to_string(unit) + ")");
}

ResultPair load_settings(Value const& configuration, Settings& settings)
{
    auto& limits = settings.limits;
    auto const number = [&](char const* key, int lowest, int highest, auto const& take)
    { return load_number(configuration, key, lowest, highest, take); };
    auto const count = [&](char const* key, int lowest, std::uint32_t& target)
    {
        return number(key, lowest, static_cast<int>(target),
                      [&](int value) { target = static_cast<std::uint32_t>(value); });
    };
    auto const steps = {
        check_case(configuration),
        load_host(configuration, settings.host),
        number("port", 1, largest_port, [&](int value) { settings.port = static_cast<std::uint16_t>(value); }),
        load_unit(configuration, settings.unit),
        number("timeoutMs", 1, longest_timeout,
               [&](int value) { settings.timeout = std::chrono::milliseconds(value); }),
        number("parallelRequests", 1, most_parallel_requests,
               [&](int value) { settings.parallel_requests = static_cast<std::size_t>(value); }),
        // What the protocol allows is the default and the most.
        count("registersPerWrite", 1, limits.registers_per_write),
        count("registersPerRead", 1, limits.registers_per_read),
        load_flag(configuration, "singleWritesOnly", limits.single_writes_only),
        number("readGap", 0, static_cast<int>(table_size) - 1,
               [&](int value) { limits.read_gap = static_cast<std::uint32_t>(value); }),
    };
    for (auto const& step : steps)
    {
        if (step.result() != ErrorValue::SUCCESS)
        {
            return step;
        }
    }
    return {};
}

} // namespace Modbus
