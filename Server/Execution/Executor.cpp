#include "Execution/Executor.h"

#include "Configuration/configuration_keys.h"
#include "Execution/RequestWatch.h"
#include "api_helper.h"

#include <algorithm>
#include <optional>

namespace Ravik
{

using RavikSrv::Command;
using RavikSrv::CommandGroup;
using RavikSrv::CommandOption;
using RavikSrv::Context;
using RavikSrv::ErrorValue;
using RavikSrv::Value;

namespace
{

constexpr std::string_view config_infix = ".Config::";

void fail(Command& command, ErrorValue error, std::string const& text)
{
    command.set_result(error);
    command.set_result_string(text.c_str());
}

void fail_all(CommandGroup& group, ErrorValue error, std::string const& text)
{
    for (auto command = group.begin_vector(); command != group.end_vector(); ++command)
    {
        fail(*command, error, text.empty() ? std::string(command->name()) : command->name() + (": " + text));
    }
}

bool is_server_error(ErrorValue error)
{
    return error != ErrorValue::SUCCESS && error != ErrorValue::EXTENSION;
}

ErrorValue first_server_error(CommandGroup const& group)
{
    auto const found = std::find_if(group.begin_vector(), group.end_vector(),
                                    [](Command const& command) { return is_server_error(command.result()); });
    return found == group.end_vector() ? ErrorValue::SUCCESS : found->result();
}

Value const& value_to_write(Command const& command)
{
    return command.write_value();
}

/// The symbol that the command reads as a whole, null where it does anything else.
Symbol const* symbol_read(SymbolReference const& reference, Command const& command)
{
    return reference.rest.empty() && !command.write_value().isset() ? reference.symbol : nullptr;
}

} // namespace

ErrorValue Executor::execute(Context const& context, CommandGroup& group)
{
    return execute(context, group, Sending::Sends);
}

ErrorValue Executor::execute(Context const& context, Command& command)
{
    return execute(context, command, Sending::Sends);
}

ErrorValue Executor::plan(Context const& context, CommandGroup& group)
{
    return execute(context, group, Sending::OnlyChecks);
}

ErrorValue Executor::plan(Context const& context, Command& command)
{
    return execute(context, command, Sending::OnlyChecks);
}

ErrorValue Executor::refuse(Context const& context, CommandGroup& group, ErrorValue error, std::string const& text)
{
    fail_all(group, error, text);
    m_recorder.note(context, group, error);
    return error;
}

ErrorValue Executor::execute(Context const& context, CommandGroup& group, Sending sending)
{
    std::string const domain = group.domain();
    auto result = ErrorValue::SUCCESS;
    if (domain == server_domain)
    {
        result = execute_server_group(context, group, sending);
    }
    else if (auto* const extension = m_extensions.find(domain); extension != nullptr)
    {
        result = execute_domain_group(context, *extension, group, sending);
    }
    else
    {
        fail_all(group, ErrorValue::INVALID_DOMAIN, "no extension serves the domain \"" + domain + "\"");
        result = ErrorValue::INVALID_DOMAIN;
    }
    m_recorder.note(context, group, result);
    return result;
}

ErrorValue Executor::execute(Context const& context, Command& command, Sending sending)
{
    CommandGroup group;
    group.set_domain(std::string(server_domain).c_str());
    auto const executed = group.insert(group.end_vector(), command);
    auto const result = execute_server_group(context, group, sending);
    m_recorder.note(context, group, result);
    command = *executed;
    return command.result();
}

// Groups of an extension's domain -------------------------------------------------------------------------------------

ErrorValue Executor::execute_domain_group(Context const& context, Extension& extension, CommandGroup& group,
                                          Sending sending)
{
    Misfit misfit;
    Reads reads;
    reads.symbols.reserve(group.size());
    Symbol const* last = nullptr;
    for (auto command = group.begin_vector(); command != group.end_vector(); ++command)
    {
        command->set_result(ErrorValue::SUCCESS);
        auto const reference = map_command(extension, *command, last, misfit);
        last = reference.symbol;
        reads.add(symbol_read(reference, *command));
    }
    auto const unmapped = first_server_error(group);
    if (unmapped != ErrorValue::SUCCESS)
    {
        for (auto command = group.begin_vector(); command != group.end_vector(); ++command)
        {
            if (command->result() == ErrorValue::SUCCESS)
            {
                fail(*command, unmapped, std::string(command->name()) + ": not sent, since another command is wrong");
            }
        }
        return unmapped;
    }
    if (!refuse_all(group, misfit) && sending == Sending::Sends)
    {
        send(context, extension, group, reads);
    }
    return first_server_error(group);
}

SymbolReference Executor::map_command(Extension const& extension, Command& command, Symbol const* last,
                                      Misfit& misfit) const
{
    auto const reference = m_symbols.find_behind(last, command.shared_name().view());
    if (reference.symbol != nullptr && reference.symbol->domain == extension.domain())
    {
        map_symbol(reference, command, misfit);
    }
    else if (reference.symbol != nullptr)
    {
        fail(command, ErrorValue::INVALID_SYMBOL,
             command.name() + (" belongs to the domain \"" + reference.symbol->domain + "\", not to \"") +
                 extension.domain() + "\"");
    }
    else if (!extension.functions().empty() && !extension.has_function(command.name()))
    {
        fail(command, ErrorValue::INVALID_METHOD,
             "the domain \"" + extension.domain() + "\" has no function \"" + command.name() + "\"");
    }
    else
    {
        command.set_mapping(command.name());
    }
    return reference;
}

void Executor::map_symbol(SymbolReference const& reference, Command& command, Misfit& misfit)
{
    auto const& symbol = *reference.symbol;
    command.set_mapping(reference.mapping());
    auto const& value = value_to_write(command);
    if (misfit.result != ErrorValue::SUCCESS || !value.isset())
    {
        return;
    }
    if (auto const fits = symbol.check(reference.rest, value); fits.result() != ErrorValue::SUCCESS)
    {
        misfit = {.result = fits.result(), .text = command.name() + (": " + std::string(fits.text()))};
    }
}

bool Executor::refuse_all(CommandGroup& group, Misfit const& misfit)
{
    if (misfit.result == ErrorValue::SUCCESS)
    {
        return false;
    }
    std::for_each(group.begin_vector(), group.end_vector(),
                  [&](Command& refused) { fail(refused, misfit.result, misfit.text); });
    return true;
}

void Executor::send(Context const& context, Extension& extension, CommandGroup& group, Reads const& reads)
{
    if (group.empty())
    {
        return;
    }
    auto const request = [&](CommandGroup& sent)
    {
        auto const answer = extension.request(context_for(context, extension.domain()), sent);
        if (answer.result() != ErrorValue::SUCCESS)
        {
            fail_all(sent, answer.result(), answer.text());
        }
    };
    if (reads.are_all)
    {
        m_read_memory.read(context.session(), reads.symbols, group, request);
    }
    else if (m_symbols.has_symbols_of(extension.domain()))
    {
        m_read_memory.write(group, request);
    }
    else
    {
        // A function of an extension that serves no symbols comes to them through the server, if at all.
        request(group);
    }
}

// Groups of the server's own domain -----------------------------------------------------------------------------------

ErrorValue Executor::execute_server_group(Context const& context, CommandGroup& group, Sending sending)
{
    std::vector<Route> routes;
    Misfit misfit;
    for (auto command = group.begin_vector(); command != group.end_vector(); ++command)
    {
        command->set_result(ErrorValue::SUCCESS);
        routes.push_back(route(*command, misfit));
    }
    if (refuse_all(group, misfit) || sending == Sending::OnlyChecks)
    {
        return first_server_error(group);
    }
    std::vector<Command*> run;
    Reads reads;
    std::size_t position = 0;
    for (auto command = group.begin_vector(); command != group.end_vector(); ++command, ++position)
    {
        auto const& present = routes[position];
        run.push_back(&*command);
        reads.add(present.read);
        auto const* const next = position + 1 < routes.size() ? &routes[position + 1] : nullptr;
        if (next == nullptr || next->kind != present.kind || next->domain != present.domain)
        {
            execute_run(context, present, run, reads);
            run.clear();
            reads = {};
        }
    }
    return first_server_error(group);
}

/// Finds where the command leads and fills in its mapping, or its failure.
Executor::Route Executor::route(Command& command, Misfit& misfit) const
{
    std::string const name = command.name();
    Route route;
    if (auto const config = name.find(config_infix); config != std::string::npos)
    {
        route.kind = Route::Kind::Configuration;
        route.domain = name.substr(0, config);
        command.set_mapping(name.substr(config + config_infix.size()).c_str());
    }
    else if (auto const reference = m_symbols.find(name); reference.symbol != nullptr)
    {
        route.domain = reference.symbol->domain;
        route.kind = route.domain == server_domain ? Route::Kind::Variable : Route::Kind::Extension;
        route.read = symbol_read(reference, command);
        map_symbol(reference, command, misfit);
    }
    else if (!route_function(command, route))
    {
        fail(command, ErrorValue::SYMBOL_NOT_MAPPED, name + ": no symbol or function of this name is mapped");
    }
    return route;
}

bool Executor::route_function(Command& command, Route& route) const
{
    std::string const name = command.name();
    auto const point = name.find('.');
    auto* const extension = point == std::string::npos ? nullptr : m_extensions.find(name.substr(0, point));
    if (extension == nullptr || !extension->has_function(name.substr(point + 1)))
    {
        return false;
    }
    route.kind = Route::Kind::Extension;
    route.domain = extension->domain();
    command.set_mapping(name.substr(point + 1).c_str());
    return true;
}

void Executor::execute_run(Context const& context, Route const& route, std::vector<Command*> const& commands,
                           Reads const& reads)
{
    if (route.kind != Route::Kind::Nowhere && context.watcher() != nullptr && context.watcher()->is_stopped())
    {
        std::for_each(commands.begin(), commands.end(),
                      [](Command* command) { fail(*command, ErrorValue::INTERRUPTED, RequestWatch::stopped_text); });
        return;
    }
    switch (route.kind)
    {
    case Route::Kind::Nowhere:
        return;
    case Route::Kind::Configuration:
        std::for_each(commands.begin(), commands.end(), [&](Command* command) { execute_configuration(*command); });
        return;
    case Route::Kind::Variable:
        m_variables.execute(commands);
        return;
    case Route::Kind::Extension:
        execute_in_domain(context, route.domain, commands, reads);
        return;
    }
}

/// Sends commands that are mapped already to a domain of their own and brings the outcomes back.
void Executor::execute_in_domain(Context const& context, std::string const& domain,
                                 std::vector<Command*> const& commands, Reads const& reads)
{
    CommandGroup group;
    group.set_domain(domain.c_str());
    for (auto const* const command : commands)
    {
        group.insert(group.end_vector(), *command);
    }
    send(context, *m_extensions.find(domain), group, reads);
    auto executed = group.begin_vector();
    for (auto* const command : commands)
    {
        auto const code = executed->extension_result();
        *command = *executed++;
        if (code != 0)
        {
            command->set_extension_result(m_extensions.combined_code(domain, code));
        }
    }
}

void Executor::execute_configuration(Command& command)
{
    std::string const name = command.name();
    auto const domain = name.substr(0, name.find(config_infix));
    auto const mode = RavikSrv::has_option(command.options(), CommandOption::REPLACE) ? Tree::WriteMode::Replace
                                                                                      : Tree::WriteMode::Merge;
    auto const result = RavikSrv::has_option(command.options(), CommandOption::REMOVE)
                            ? m_writer.remove(domain, command.mapping())
                            : m_writer.write(domain, command.mapping(), value_to_write(command), mode);
    if (result != ErrorValue::SUCCESS)
    {
        fail(command, result, name);
    }
}

} // namespace Ravik
