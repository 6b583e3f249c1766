#include "RavikModbus.h"

#include "Address.h"
#include "Registers.h"

#include <exception>
#include <memory>
#include <string_view>

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
    *extension = std::make_unique<Modbus::RavikModbus>(host).release();
    *version = interface_version;
    return 0;
}

namespace Modbus
{

namespace
{

constexpr auto unfinished = static_cast<std::uint32_t>(ModbusResult::INTERNAL_ERROR);

void finish(Command& command, Outcome const& outcome)
{
    command.set_extension_result(static_cast<std::uint32_t>(outcome.result));
    if (!outcome.succeeded())
    {
        command.set_result_string(outcome.text.c_str());
    }
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

ResultPair RavikModbus::init(Context context)
{
    ResultPair result(ErrorValue::UNEXPECTED);
    guarded(
        [&]
        {
            result = load_settings(m_host->get_config_value(context, ""), m_settings);
            if (result.result() == ErrorValue::SUCCESS)
            {
                m_connection.emplace(m_settings);
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

String RavikModbus::error_string(unsigned code)
{
    String name;
    guarded([&] { name = String(result_name(code)); }, [](char const*) {});
    return name;
}

void RavikModbus::on_request(Context /*context*/, CommandGroup* group)
{
    for (auto command = group->begin_vector(); command != group->end_vector(); ++command)
    {
        command->set_extension_result(unfinished);
    }
    guarded([&] { execute(*group); },
            [&](char const* text)
            {
                for (auto command = group->begin_vector(); command != group->end_vector(); ++command)
                {
                    if (command->extension_result() == unfinished)
                    {
                        command->set_result_string(text);
                    }
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

void RavikModbus::execute(CommandGroup& group)
{
    Prepared prepared;
    auto const count = static_cast<std::size_t>(group.end_vector() - group.begin_vector());
    prepared.commands.reserve(count);
    prepared.batch.accesses.reserve(count);
    prepared.batch.offsets.reserve(count);
    for (auto command = group.begin_vector(); command != group.end_vector(); ++command)
    {
        prepare(*command, prepared);
    }
    RequestRunner::Report const report =
        [&](std::uint32_t index, Outcome const& outcome, std::span<std::uint16_t const> cells)
    {
        auto& command = *prepared.commands[index];
        finish(command,
               cells.empty() ? outcome : decode(prepared.batch.accesses[index].address, cells, command.read_value()));
    };
    std::lock_guard const lock(m_connection_mutex);
    RequestRunner(*m_connection, m_settings.limits, prepared.batch, report).run();
}

void RavikModbus::prepare(Command& command, Prepared& prepared)
{
    // Parsing costs less than looking the text up in a table of addresses that were parsed before.
    std::string_view const mapping = command.mapping();
    auto const parsed = parse_address(mapping);
    auto const* const address = std::get_if<Address>(&parsed);
    if (address == nullptr)
    {
        finish(command, {ModbusResult::INVALID_MAPPING, describe(std::get<AddressError>(parsed), mapping)});
        return;
    }
    auto const& value = std::as_const(command).write_value();
    bool const writes = value.isset();
    if (writes && !is_writable(address->table))
    {
        finish(command, {ModbusResult::READ_ONLY, "The table of '" + std::string(mapping) + "' can only be read"});
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
