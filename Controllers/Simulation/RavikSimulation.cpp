#include "RavikSimulation.h"

#include "api_helper.h"
#include "configuration_keys.h"
#include "simulation_result.h"

#include <exception>
#include <memory>

using RavikSrv::Command;
using RavikSrv::CommandGroup;
using RavikSrv::Context;
using RavikSrv::ErrorValue;
using RavikSrv::ResultPair;
using RavikSrv::String;

extern "C" RAVIK_SRV_EXT_API int ext_interface(RavikSrv::IRavikSrvExtHost* host, RavikSrv::IRavikSrvExt** extension,
                                               double* version)
{
    constexpr double interface_version = 19.0;
    if (version == nullptr || extension == nullptr)
    {
        return 0;
    }
    RavikSrv::initialize_api(host);
    *extension = std::make_unique<Simulation::RavikSimulation>(host).release();
    *version = interface_version;
    return 0;
}

namespace Simulation
{

namespace
{

void fail(Command& command, SimulationResult result, char const* text)
{
    command.set_extension_result(static_cast<std::uint32_t>(result));
    command.set_result_string(text);
}

/// Runs `body`; whatever it throws is handed to `on_failure` as a text. Nothing leaves, also where even the text finds
/// no memory.
template <typename Body, typename OnFailure> void guarded(Body const& body, OnFailure const& on_failure) noexcept
{
    try
    {
        try
        {
            body();
        }
        catch (std::exception const& error)
        {
            on_failure(error.what());
        }
        catch (...)
        {
            on_failure("unknown failure");
        }
    }
    catch (...) // NOLINT(bugprone-empty-catch): the result code stands already
    {
    }
}

} // namespace

ResultPair RavikSimulation::init(Context context)
{
    ResultPair result(ErrorValue::UNEXPECTED);
    guarded(
        [&]
        {
            m_domain = context.domain();
            result = m_variables.load(m_host->get_config_value(context, ""));
            if (result.result() == ErrorValue::SUCCESS)
            {
                m_host->register_listener(context, this);
            }
        },
        [&](char const* text)
        {
            result.set_result(ErrorValue::UNEXPECTED);
            result.set_text(text);
        });
    return result;
}

String RavikSimulation::error_string(unsigned code)
{
    // Every name fits the text's inline storage or one small allocation; without memory the answer is no name.
    String name;
    guarded([&] { name = String(result_name(code)); }, [](char const*) {});
    return name;
}

void RavikSimulation::on_request(Context context, CommandGroup* group)
{
    Written written;
    for (auto command = group->begin_vector(); command != group->end_vector(); ++command)
    {
        guarded([&] { execute(*command, written); },
                [&](char const* text) { fail(*command, SimulationResult::INTERNAL_ERROR, text); });
    }
    guarded(
        [&]
        {
            // A group may come from another extension, whose domain the context then bears.
            context.set_domain(m_domain.c_str());
            keep(context, written);
        },
        [&](char const* text)
        {
            for (auto* const command : written.commands)
            {
                fail(*command, SimulationResult::NOT_STORED, text);
            }
        });
    for (auto command = group->begin_vector(); command != group->end_vector(); ++command)
    {
        if (command->extension_result() != 0)
        {
            group->set_result(command->extension_result());
        }
    }
}

void RavikSimulation::execute(Command& command, Written& written)
{
    auto const* const name = command.mapping();
    bool const writes = command.write_value().isset();
    auto const outcome =
        writes ? m_variables.write(name, command.write_value()) : m_variables.read(name, command.read_value());
    command.set_extension_result(0);
    if (outcome.result != SimulationResult::SUCCESS)
    {
        fail(command, outcome.result, outcome.text.c_str());
    }
    else if (writes)
    {
        written.commands.push_back(&command);
        written.names.emplace(name);
    }
}

void RavikSimulation::keep(Context const& context, Written const& written)
{
    if (written.commands.empty())
    {
        return;
    }
    auto error = ErrorValue::SUCCESS;
    Variables::Snapshot snapshot;
    do
    {
        snapshot = m_variables.snapshot(written.names);
        error = m_host->set_config_value(context, values_key, &snapshot.values);
        // Another request may have written one of these variables meanwhile and kept its value before this one came
        // through. Whoever keeps last must keep the last value, and no lock may be held across the call.
    } while (error == ErrorValue::SUCCESS && m_variables.changed_since(snapshot.moment, written.names));

    if (error != ErrorValue::SUCCESS)
    {
        auto const text =
            std::string("The value is written, but not kept for the next start: ") + get_error_string(error).name();
        for (auto* const command : written.commands)
        {
            fail(*command, SimulationResult::NOT_STORED, text.c_str());
        }
    }
}

} // namespace Simulation
