#include "Execution/Recorder.h"

#include "Execution/Extensions.h"
#include "api_helper.h"

#include <utility>

namespace Ravik
{

using RavikSrv::Command;
using RavikSrv::ErrorValue;

namespace
{

std::string failure_of(Command const& command, std::string const& domain, Extensions const& extensions)
{
    if (command.result() == ErrorValue::SUCCESS)
    {
        return {};
    }
    auto name = command.result() == ErrorValue::EXTENSION ? extensions.error_string(domain, command.extension_result())
                                                          : std::string();
    return name.empty() ? RavikSrv::get_error_string(command.result()).name() : name;
}

} // namespace

RavikSrv::Session Recorder::new_session()
{
    RavikSrv::Lock const lock(m_mutex);
    return RavikSrv::Session(++m_last_session);
}

void Recorder::note(RavikSrv::Context const& context, RavikSrv::CommandGroup const& group, ErrorValue result)
{
    auto const session = context.session().id();
    {
        RavikSrv::Lock const lock(m_mutex);
        if (group.empty() || !m_records.contains(session))
        {
            return;
        }
    }
    auto described = describe(group, result);
    RavikSrv::Lock const lock(m_mutex);
    if (auto const found = m_records.find(session); found != m_records.end())
    {
        found->second.push_back(std::move(described));
    }
}

ExecutedGroup Recorder::describe(RavikSrv::CommandGroup const& group, ErrorValue result) const
{
    ExecutedGroup described{.domain = group.domain(), .result = result, .commands = {}};
    described.commands.reserve(group.size());
    for (auto command = group.begin_vector(); command != group.end_vector(); ++command)
    {
        auto const wrote = command->write_value().isset();
        described.commands.push_back({.name = command->shared_name(),
                                      .wrote = wrote,
                                      .value = wrote ? command->write_value() : command->read_value(),
                                      .result = command->result(),
                                      .failure = failure_of(*command, described.domain, m_extensions),
                                      .text = command->shared_result_string()});
    }
    return described;
}

Recorder::Recording::Recording(Recorder& recorder, RavikSrv::Session session) : m_recorder(recorder), m_session(session)
{
    RavikSrv::Lock const lock(m_recorder.m_mutex);
    m_recorder.m_records.emplace(m_session.id(), ExecutionRecord());
}

Recorder::Recording::~Recording()
{
    RavikSrv::Lock const lock(m_recorder.m_mutex);
    m_recorder.m_records.erase(m_session.id());
}

ExecutionRecord Recorder::Recording::take()
{
    RavikSrv::Lock const lock(m_recorder.m_mutex);
    return std::exchange(m_recorder.m_records.at(m_session.id()), {});
}

} // namespace Ravik
