#pragma once

#include "RavikSrvExtApi.h"

#include <cstddef>
#include <memory>
#include <string>

namespace Ravik::Benchmarks
{

/// A server that holds one recipe and counts the commands of the groups that it is told to execute.
///
/// Its symbols hold what the recipe assigns. The recipe "Line::Product" has `symbol_count` values. Half of them are
/// members of its own type, a quarter each of an inherited and of a nested type; the symbols are spread over
/// `domain_count` domains.
class CountingHost : public RavikSrv::IRavikSrvExtHost, public RavikSrv::IInternalHost
{
public:
    CountingHost(int symbol_count, int domain_count);

    std::size_t commands = 0;

    /// Adds as many recipes with the same values, and tells the extension of every recipe.
    void add_recipes(int count);

    RavikSrv::ErrorValue execute_command_group(RavikSrv::Context const& context,
                                               RavikSrv::CommandGroup* group) override;
    RavikSrv::ErrorValue execute_command(RavikSrv::Context const& context, RavikSrv::Command* command) override;
    void register_listener(RavikSrv::Context const& context, RavikSrv::IRavikSrvListener* listener) override;
    void register_listener(RavikSrv::Context const& context, RavikSrv::IRavikSrvListener* listener,
                           RavikSrv::Value const& settings) override;
    RavikSrv::ErrorValue set_config_value(RavikSrv::Context const& context, char const* path,
                                          RavikSrv::Value const* value) override;
    RavikSrv::Value get_config_value(RavikSrv::Context const& context, char const* path) override;
    RavikSrv::ResultPair validate_symbol_value(char const* symbol, RavikSrv::Value const& value) override;
    RavikSrv::ResultPair validate(RavikSrv::Value const& schema, RavikSrv::Value const& value,
                                  char const* path) override;
    RavikSrv::String get_extension_error_string(char const* domain, unsigned code) override;

    RavikSrv::IRavikSrvRequestListener& requests() { return *m_requests; }
    /// The symbols of the recipe and their values.
    RavikSrv::Value const& written() const { return m_written; }

private:
    void add_symbol(int number, int domain_count, RavikSrv::Value& members, RavikSrv::Value& values);

    RavikSrv::Value m_member_shape;
    RavikSrv::Value m_mapping_shape;
    RavikSrv::Value m_configuration;
    RavikSrv::Value m_symbol_table;
    RavikSrv::Value m_written;
    RavikSrv::IRavikSrvRequestListener* m_requests = nullptr;
    RavikSrv::IRavikSrvConfigListener* m_changes = nullptr;
};

/// The recipe management, loaded and initialised in the host.
std::unique_ptr<RavikSrv::IRavikSrvExt> load_recipe_management(CountingHost& host);

/// A group with one command.
RavikSrv::CommandGroup request(char const* function, RavikSrv::Value const& parameters);

/// A group with the command that activates the host's recipe.
RavikSrv::CommandGroup activation();

/// What the extension can't do without: a group with a command for each symbol and its value.
RavikSrv::CommandGroup append_commands(CountingHost const& host);

} // namespace Ravik::Benchmarks
