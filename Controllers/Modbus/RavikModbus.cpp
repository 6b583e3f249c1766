#include "RavikModbus.h"

#include "Address.h"
#include "Registers.h"
#include "modbus_result.h"

#include "extension_frame.h"

#include <string_view>

using RavikSrv::Command;
using RavikSrv::CommandGroup;
using RavikSrv::Commands;
using RavikSrv::Context;
using RavikSrv::ErrorValue;
using RavikSrv::ResultPair;
using RavikSrv::Value;

extern "C" RAVIK_SRV_EXT_API int ext_interface(RavikSrv::IRavikSrvExtHost* host, RavikSrv::IRavikSrvExt** extension,
                                               double* version)
{
    return RavikSrv::enter_extension<Modbus::RavikModbus>(host, extension, version);
}

namespace Modbus
{

RavikModbus::RavikModbus(RavikSrv::IRavikSrvExtHost* host) noexcept
    : ControllerExtension(host, {result_names, static_cast<std::uint32_t>(ModbusResult::INTERNAL_ERROR)})
{
}

ResultPair RavikModbus::load(Value const& configuration)
{
    auto loaded = load_settings(configuration, m_settings);
    if (loaded.result() == ErrorValue::SUCCESS)
    {
        RavikSrv::Lock const lock(m_connection_mutex);
        m_connection.emplace(m_settings);
    }
    return loaded;
}

ResultPair RavikModbus::check(Value const& configuration) const
{
    Settings settings;
    return load_settings(configuration, settings);
}

void RavikModbus::execute(Context const& context, CommandGroup& group)
{
    Prepared prepared;
    prepared.commands.reserve(group.size());
    prepared.batch.accesses.reserve(group.size());
    prepared.batch.offsets.reserve(group.size());
    for (auto& command : Commands(group))
    {
        prepare(command, prepared);
    }
    // Who knows already that the device can't be reached does not wait for others who are about to find out.
    if (auto const outcome = m_failed_sessions.find(context.session()))
    {
        for (auto* const command : prepared.commands)
        {
            finish(*command, *outcome);
        }
        return;
    }
    RequestRunner::Report const report =
        [&](std::uint32_t index, Outcome const& outcome, std::span<std::uint16_t const> cells)
    {
        auto& command = *prepared.commands[index];
        finish(command,
               cells.empty() ? outcome : decode(prepared.batch.accesses[index].address, cells, command.read_value()));
    };
    RavikSrv::Lock const lock(m_connection_mutex);
    if (auto const untried = RequestRunner(*m_connection, m_settings.limits, prepared.batch, report).run())
    {
        m_failed_sessions.note(context.session(), *untried);
    }
}

void RavikModbus::prepare(Command& command, Prepared& prepared)
{
    // Parsing costs less than looking the text up in a table of addresses that were parsed before.
    std::string_view const mapping = command.mapping();
    auto const parsed = parse_address(mapping);
    auto const* const address = std::get_if<Address>(&parsed);
    if (address == nullptr)
    {
        finish(command, Outcome{ModbusResult::INVALID_MAPPING, describe(std::get<AddressError>(parsed), mapping)});
        return;
    }
    auto const& value = std::as_const(command).write_value();
    bool const writes = value.isset();
    if (writes && !is_writable(address->table))
    {
        finish(command,
               Outcome{ModbusResult::READ_ONLY, "The table of '" + std::string(mapping) + "' can only be read"});
        return;
    }
    auto& [accesses, offsets, cells] = prepared.batch;
    auto const offset = cells.size();
    if (writes)
    {
        cells.resize(offset + address->count());
        if (auto const outcome = encode(*address, value, std::span(cells).subspan(offset)); !outcome.succeeded())
        {
            cells.resize(offset);
            finish(command, outcome);
            return;
        }
    }
    accesses.push_back({*address, writes});
    offsets.push_back(static_cast<std::uint32_t>(offset));
    prepared.commands.push_back(&command);
}

} // namespace Modbus
