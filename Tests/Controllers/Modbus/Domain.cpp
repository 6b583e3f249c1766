#include "Domain.h"

#include <gtest/gtest.h>

namespace Ravik::Test
{

using namespace RavikSrv;

namespace
{

RecordingHost host_with(std::uint16_t port, Domain::Settings const& more)
{
    RecordingHost host;
    auto& configuration = host.configuration["Plant"];
    configuration.insert("host", Value("127.0.0.1"));
    configuration.insert("port", Value(static_cast<int>(port)));
    for (auto const& [key, value] : more)
    {
        configuration.insert_or_update(key, value);
    }
    return host;
}

} // namespace

Domain::Domain(std::uint16_t port, Settings const& more)
    : m_host(host_with(port, more)), m_extension(MODBUS_LIBRARY, m_host, "Plant")
{
}

std::vector<Command> Domain::send(std::vector<std::pair<std::string, Value>> const& accesses)
{
    CommandGroup group;
    for (auto const& [mapping, value] : accesses)
    {
        Command command("Symbol");
        command.set_mapping(mapping.c_str());
        command.set_write_value(value);
        group.insert(group.end_vector(), command);
    }
    m_extension.requests().on_request(Context(), &group);
    last_group_result = group.result();
    return {group.begin_vector(), group.end_vector()};
}

std::string Domain::outcome(Command const& command)
{
    if (command.extension_result() != 0)
    {
        EXPECT_STRNE(command.result_string(), "") << "a failure says why";
        return m_extension.object().error_string(command.extension_result()).name();
    }
    auto value = command.read_value();
    value.convert(ValueType::String);
    return command.write_value().isset() ? "ok" : value.get_string();
}

std::vector<std::string> Domain::outcomes(std::vector<std::pair<std::string, Value>> const& accesses)
{
    std::vector<std::string> result;
    for (auto const& command : send(accesses))
    {
        result.push_back(outcome(command));
    }
    return result;
}

} // namespace Ravik::Test
