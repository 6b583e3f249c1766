#include "Execution/Host.h"

#include "api_helper.h"

namespace Ravik
{

using RavikSrv::Context;
using RavikSrv::ErrorValue;
using RavikSrv::ResultPair;
using RavikSrv::String;
using RavikSrv::Value;

namespace
{

/// The one guard in front of extensions: whatever is thrown becomes `failure`.
template <typename Result, typename Call> Result guarded(Result failure, Call call) noexcept
{
    try
    {
        return call();
    }
    catch (...)
    {
        return failure;
    }
}

} // namespace

ErrorValue Host::execute_command_group(Context const& context, RavikSrv::CommandGroup* group)
{
    return guarded(ErrorValue::UNEXPECTED, [&] { return m_executor.execute(context, *group); });
}

ErrorValue Host::execute_command(Context const& context, RavikSrv::Command* command)
{
    return guarded(ErrorValue::UNEXPECTED, [&] { return m_executor.execute(context, *command); });
}

void Host::register_listener(Context const& context, RavikSrv::IRavikSrvListener* listener)
{
    register_listener(context, listener, Value());
}

void Host::register_listener(Context const& context, RavikSrv::IRavikSrvListener* listener, Value const& settings)
{
    guarded(ErrorValue::UNEXPECTED,
            [&]
            {
                if (auto* const extension = m_extensions.find(context.domain());
                    extension != nullptr && listener != nullptr)
                {
                    extension->add_listener(listener, settings);
                }
                return ErrorValue::SUCCESS;
            });
}

ErrorValue Host::set_config_value(Context const& context, char const* path, Value const* value)
{
    return guarded(ErrorValue::UNEXPECTED,
                   [&]
                   {
                       return value == nullptr
                                  ? m_writer.remove(context, context.domain(), path)
                                  : m_writer.write(context, context.domain(), path, *value, Tree::WriteMode::Merge);
                   });
}

Value Host::get_config_value(Context const& context, char const* path)
{
    return guarded(Value(),
                   [&]
                   {
                       auto const tree = m_configuration.tree(context.domain());
                       auto const reached = RavikSrv::node_path(path, tree);
                       return reached.node == nullptr ? Value() : *reached.node;
                   });
}

ResultPair Host::validate_symbol_value(char const* symbol, Value const& value)
{
    return guarded(ResultPair(ErrorValue::UNEXPECTED),
                   [&]
                   {
                       auto const reference = m_symbols.find(symbol);
                       return reference.symbol == nullptr ? ResultPair(ErrorValue::SYMBOL_NOT_MAPPED, symbol)
                                                          : reference.symbol->check(reference.rest, value);
                   });
}

ResultPair Host::validate(Value const& schema, Value const& value, char const* path)
{
    return guarded(ResultPair(ErrorValue::UNEXPECTED), [&] { return m_validator.validate(schema, value, path); });
}

String Host::get_extension_error_string(char const* domain, unsigned code)
{
    return guarded(String(), [&] { return String(m_extensions.error_string(domain, code).c_str()); });
}

} // namespace Ravik
