#include "RavikSimulation.h"

#include "configuration_keys.h"
#include "simulation_result.h"

#include "api_helper.h"
#include "boundary_guard.h"
#include "extension_frame.h"

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
    return RavikSrv::enter_extension<Simulation::RavikSimulation>(host, extension, version);
}

namespace Simulation
{

RavikSimulation::RavikSimulation(RavikSrv::IRavikSrvExtHost* host) noexcept
    : ControllerExtension(host, {result_names, static_cast<std::uint32_t>(SimulationResult::INTERNAL_ERROR)})
{
}

ResultPair RavikSimulation::load(Value const& configuration)
{
    return m_variables.load(configuration);
}

ResultPair RavikSimulation::check(Value const& configuration) const
{
    return Variables().load(configuration);
}

void RavikSimulation::execute(Context const& context, CommandGroup& group)
{
    Written written;
    for (auto& command : Commands(group))
    {
        RavikSrv::guarded(
            "access", [&] { access(command, written); },
            [&](char const* text) { fail(command, SimulationResult::INTERNAL_ERROR, text); });
    }
    auto const not_kept = [&](char const* text)
    {
        for (auto* const command : written.commands)
        {
            fail(*command, SimulationResult::NOT_STORED, text);
        }
    };
    RavikSrv::guarded(
        "store",
        [&]
        {
            if (auto const error = keep(context, written); error != ErrorValue::SUCCESS)
            {
                auto const* const prefix = "The value is written, but not kept for the next start: ";
                not_kept((prefix + std::string(get_error_string(error).name())).c_str());
            }
        },
        not_kept);
}

void RavikSimulation::access(Command& command, Written& written)
{
    auto const* const name = command.mapping();
    auto const& value = std::as_const(command).write_value();
    bool const writes = value.isset();
    auto const outcome = writes ? m_variables.write(name, value) : m_variables.read(name, command.read_value());
    if (writes && outcome.succeeded())
    {
        written.commands.push_back(&command);
        written.names.emplace(name);
    }
    finish(command, outcome);
}

ErrorValue RavikSimulation::keep(Context const& context, Written const& written)
{
    auto error = ErrorValue::SUCCESS;
    if (written.commands.empty())
    {
        return error;
    }
    Variables::Snapshot snapshot;
    do
    {
        snapshot = m_variables.snapshot(written.names);
        error = host().set_config_value(context, values_key, &snapshot.values);
        // Another request may have written one of these variables meanwhile and kept its value before this one came
        // through. Whoever keeps last must keep the last value, and no lock may be held across the call.
    } while (error == ErrorValue::SUCCESS && m_variables.changed_since(snapshot.moment, written.names));
    return error;
}

} // namespace Simulation
