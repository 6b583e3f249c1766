#include "Execution/Host.h"

#include "Execution/RequestWatch.h"
#include "api_helper.h"
#include "boundary_guard.h"

namespace Ravik
{

using RavikSrv::Context;
using RavikSrv::ErrorValue;
using RavikSrv::guarded_answer;
using RavikSrv::guarded_result;
using RavikSrv::ResultPair;
using RavikSrv::String;
using RavikSrv::Value;

ErrorValue Host::execute_command_group(Context const& context, RavikSrv::CommandGroup* group)
{
    return guarded_answer("execute_command_group", ErrorValue::UNEXPECTED,
                          [&]
                          {
                              auto const mode = m_modes.of(context.session());
                              return mode ? execute_in(*mode, context, *group) : m_executor.execute(context, *group);
                          });
}

ErrorValue Host::execute_in(SessionMode const& mode, Context const& context, RavikSrv::CommandGroup& group)
{
    RequestWatch watch(mode.stop, mode.executed, group.size());
    if (watch.is_stopped())
    {
        return m_executor.refuse(context, group, ErrorValue::INTERRUPTED, RequestWatch::stopped_text);
    }
    if (mode.plans)
    {
        return m_executor.plan(context, group);
    }
    auto watched = context;
    watched.set_watcher(&watch);
    auto const result = m_executor.execute(watched, group);
    watch.end();
    return result;
}

ErrorValue Host::execute_command(Context const& context, RavikSrv::Command* command)
{
    return guarded_answer("execute_command", ErrorValue::UNEXPECTED,
                          [&]
                          {
                              auto const mode = m_modes.of(context.session());
                              return mode && mode->plans ? m_executor.plan(context, *command)
                                                         : m_executor.execute(context, *command);
                          });
}

void Host::register_listener(Context const& context, RavikSrv::IRavikSrvListener* listener)
{
    register_listener(context, listener, Value());
}

void Host::register_listener(Context const& context, RavikSrv::IRavikSrvListener* listener, Value const& settings)
{
    // A listener that found no memory is not told of anything; the extension gets no answer to a registration.
    RavikSrv::guarded(
        "register_listener",
        [&]
        {
            if (auto* const extension = m_extensions.find(context.domain());
                extension != nullptr && listener != nullptr)
            {
                extension->add_listener(listener, settings);
            }
        },
        [](char const*) {});
}

ErrorValue Host::set_config_value(Context const& context, char const* path, Value const* value)
{
    return guarded_answer("set_config_value", ErrorValue::UNEXPECTED,
                          [&]
                          {
                              auto const mode = m_modes.of(context.session());
                              if (mode && mode->plans)
                              {
                                  return ErrorValue::SUCCESS;
                              }
                              return value == nullptr
                                         ? m_writer.remove(context.domain(), path)
                                         : m_writer.write(context.domain(), path, *value, Tree::WriteMode::Merge);
                          });
}

Value Host::get_config_value(Context const& context, char const* path)
{
    return guarded_answer("get_config_value", Value(),
                          [&]
                          {
                              auto const tree = m_configuration.tree(context.domain());
                              auto const reached = RavikSrv::node_path(path, tree);
                              return reached.node == nullptr ? Value() : *reached.node;
                          });
}

ResultPair Host::validate_symbol_value(char const* symbol, Value const& value)
{
    return guarded_result("validate_symbol_value",
                          [&]
                          {
                              auto const reference = m_symbols.find(symbol);
                              return reference.symbol == nullptr ? ResultPair(ErrorValue::SYMBOL_NOT_MAPPED, symbol)
                                                                 : reference.symbol->check(reference.rest, value);
                          });
}

ResultPair Host::validate(Value const& schema, Value const& value, char const* path)
{
    return guarded_result("validate", [&] { return m_validator.validate(schema, value, path); });
}

String Host::get_extension_error_string(char const* domain, unsigned code)
{
    return guarded_answer("get_extension_error_string", String(),
                          [&] { return String(m_extensions.error_string(domain, code).c_str()); });
}

} // namespace Ravik
