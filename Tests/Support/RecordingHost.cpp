#include "Support/RecordingHost.h"

#include "PathIterator.h"
#include "algorithm_helper.h"
#include "api_helper.h"

#include <stdexcept>
#include <utility>

namespace Ravik::Test
{

std::string BareHost::executed() const
{
    std::string text;
    for (auto const& group : groups)
    {
        text.append(text.empty() ? "" : " ").append(group.domain()).append("[");
        for (auto command = group.begin_vector(); command != group.end_vector(); ++command)
        {
            auto const& value = command->write_value();
            text.append(text.back() == '[' ? "" : " ").append(command->name());
            text.append(value.isset() ? "=" : "").append(Algorithm::to_string(value));
        }
        text.append("]");
    }
    return text;
}

bool BareHost::call_fails()
{
    ++call_count;
    if (call_count == throwing_call)
    {
        throw std::runtime_error("host out of order");
    }
    return failing_calls.contains(call_count);
}

ErrorValue BareHost::execute_command_group(Context const& /*context*/, CommandGroup* group)
{
    auto const fails = call_fails();
    for (auto command = group->begin_vector(); !fails && command != group->end_vector(); ++command)
    {
        execute(*command);
    }
    groups.push_back(*group);
    return fails ? ErrorValue::SERVER : failing_group == group->domain() ? ErrorValue::FAIL : ErrorValue::SUCCESS;
}

ErrorValue BareHost::execute_command(Context const& /*context*/, Command* command)
{
    if (call_fails())
    {
        command->set_result(ErrorValue::SERVER);
        return ErrorValue::SERVER;
    }
    execute(*command);
    commands.push_back(*command);
    return command->result();
}

void BareHost::execute(Command& command)
{
    if (auto const failure = symbol_failures.find(command.name()); failure != symbol_failures.end())
    {
        command.set_extension_result(failure->second.extension_result);
        command.set_result(failure->second.result);
        command.set_result_string(failure->second.text.c_str());
    }
    else if (std::as_const(command).write_value().isset())
    {
        symbols[command.name()] = command.write_value();
    }
    else
    {
        command.set_read_value(symbols[command.name()]);
    }
}

void BareHost::register_listener(Context const& context, IRavikSrvListener* listener)
{
    register_listener(context, listener, {});
}

void BareHost::register_listener(Context const& /*context*/, IRavikSrvListener* listener, Value const& settings)
{
    call_fails();
    listeners.push_back({listener, settings});
}

ErrorValue BareHost::set_config_value(Context const& context, char const* path, Value const* value)
{
    config_writes.emplace_back(path, value != nullptr ? *value : Value());
    auto const result = call_fails() ? ErrorValue::SERVER : change(context.domain(), path, value);
    if (tells_of_writes && result == ErrorValue::SUCCESS)
    {
        auto& listener = dynamic_cast<IRavikSrvConfigListener&>(*listeners.back().listener);
        value == nullptr ? listener.on_delete(context, path, Value(), "") : listener.on_change(context, path, "");
    }
    return result;
}

ErrorValue BareHost::change(std::string const& domain, std::string const& path, Value const* value)
{
    auto* entry = &configuration[domain];
    Value* parent = nullptr;
    PathIterator components(path);
    while (entry != nullptr && components.next())
    {
        if (value != nullptr && !entry->isset())
        {
            entry->set_type(ValueType::Map);
        }
        parent = entry;
        entry = node(parent, components.component(), value != nullptr);
    }
    if (entry == nullptr || (parent == nullptr && value == nullptr))
    {
        return ErrorValue::ENTRY_NOT_FOUND;
    }
    if (value != nullptr)
    {
        *entry = *value;
    }
    else
    {
        std::size_t index = 0;
        auto const& name = components.component();
        auto const is_element = parent->type() == ValueType::Vector && Algorithm::try_as_size_t(name, index);
        is_element ? parent->erase(index) : parent->erase(name.c_str());
    }
    return ErrorValue::SUCCESS;
}

Value BareHost::get_config_value(Context const& context, char const* path)
{
    auto const fails = call_fails();
    auto const reached = node_path(path, std::as_const(configuration[context.domain()]));
    return fails || reached.node == nullptr ? Value() : *reached.node;
}

ResultPair RecordingHost::validate_symbol_value(char const* symbol, Value const& value)
{
    return call_fails() ? ErrorValue::SERVER : on_validate_symbol ? on_validate_symbol(symbol, value) : ResultPair();
}

ResultPair RecordingHost::validate(Value const& schema, Value const& value, char const* /*path*/)
{
    return call_fails() ? ErrorValue::SERVER : on_validate ? on_validate(schema, value) : ResultPair();
}

String RecordingHost::get_extension_error_string(char const* domain, unsigned code)
{
    return call_fails() ? String() : (std::string(domain) + " " + std::to_string(code)).c_str();
}

} // namespace Ravik::Test
