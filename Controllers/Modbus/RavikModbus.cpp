#include "RavikModbus.h"

#include "Address.h"
#include "Connection.h"
#include "Registers.h"
#include "RequestRunner.h"
#include "modbus_result.h"

#include "extension_frame.h"

#include <memory>
#include <span>
#include <utility>
#include <vector>

using RavikSrv::Command;
using RavikSrv::CommandGroup;
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

namespace
{

/// What a group's commands ask of the device. A command that asks for nothing that could be sent is finished with the
/// reason when its turn comes.
class CommandAccesses : public Accesses
{
public:
    explicit CommandAccesses(CommandGroup& group) : m_next(group.begin_vector()), m_end(group.end_vector())
    {
        m_made.reserve(group.size());
        m_commands.reserve(group.size());
    }

    bool make_more() override
    {
        // About what one request takes.
        constexpr std::size_t at_once = 128;
        auto const before = m_made.size();
        for (std::size_t tried = 0; m_next != m_end && (tried < at_once || m_made.size() == before); ++tried)
        {
            prepare(*m_next++);
        }
        return m_made.size() > before;
    }

    void report(std::uint32_t index, Outcome const& outcome, std::span<std::uint16_t const> cells) override
    {
        auto& command = *m_commands[index];
        if (cells.empty())
        {
            finish(command, outcome);
            return;
        }
        finish(command, decode((*this)[index].address, cells, command.read_value()));
    }

    void leave(std::uint32_t index) override { leave_stopped(*m_commands[index]); }

private:
    void prepare(Command& command)
    {
        // Parsing costs less than looking the text up in a table of addresses that were parsed before.
        auto const mapping = command.shared_mapping().view();
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
        auto const begin = m_cells.size();
        if (writes)
        {
            m_cells.resize(begin + address->count());
            if (auto const outcome = encode(*address, value, std::span(m_cells).subspan(begin)); !outcome.succeeded())
            {
                m_cells.resize(begin);
                finish(command, outcome);
                return;
            }
        }
        m_made.push_back({*address, writes, static_cast<std::uint32_t>(begin)});
        m_commands.push_back(&command);
    }

    RavikSrv::VectorIterator<Command> m_next;
    RavikSrv::VectorIterator<Command> m_end;
    /// Those of `m_made`, by the same index.
    std::vector<Command*> m_commands;
};

} // namespace

RavikModbus::RavikModbus(RavikSrv::IRavikSrvExtHost* host) noexcept
    : ControllerExtension(host, {result_names, static_cast<std::uint32_t>(ModbusResult::INTERNAL_ERROR)})
{
}

ResultPair RavikModbus::load(Value const& configuration)
{
    auto loaded = load_settings(configuration, m_settings);
    if (loaded.result() == ErrorValue::SUCCESS)
    {
        RavikSrv::Lock const lock(m_pipeline_mutex);
        m_pipeline.emplace(std::make_unique<Connection>(m_settings), m_settings);
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
    CommandAccesses accesses(group);
    // Who knows already that the device can't be reached does not wait for others who are about to find out.
    if (auto const outcome = m_failed_sessions.find(context.session()))
    {
        while (accesses.make_more())
        {
        }
        for (std::uint32_t index = 0; index < accesses.size(); ++index)
        {
            accesses.report(index, *outcome, {});
        }
        return;
    }
    RavikSrv::Lock const lock(m_pipeline_mutex);
    if (auto const untried = RequestRunner(*m_pipeline, m_settings.limits, accesses, context.watcher()).run())
    {
        m_failed_sessions.note(context.session(), *untried);
    }
}

} // namespace Modbus
