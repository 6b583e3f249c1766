#pragma once

#include "Support/api_types.h"

#include <cstddef>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace Ravik::Test
{

/// A server that holds its configuration and the symbols' values in memory, answers as it is told to and remembers what
/// it was asked. One test, one host: its fields are there to be read and set. It does no locking. This one lacks the
/// internal interface.
class BareHost : public IRavikSrvExtHost
{
public:
    /// What a symbol answers instead of being read or written.
    struct Failure
    {
        ErrorValue result = ErrorValue::EXTENSION;
        unsigned extension_result = 0;
        std::string text;
    };

    struct Registration
    {
        IRavikSrvListener* listener;
        Value settings;
    };

    // What it answers from --------------------------------------------------------------------------------------------

    /// By domain. Calls that write configuration change it.
    std::map<std::string, Value> configuration;
    /// By symbol name. Executed groups write and read it.
    std::map<std::string, Value> symbols;
    std::map<std::string, Failure> symbol_failures;
    /// The domain whose groups fail as a whole. Their commands fare as they would otherwise.
    std::string failing_group;

    /// The calls, counted from 1, that fail: they do nothing and answer an error, or null.
    std::set<std::size_t> failing_calls;
    /// The call, counted from 1, that throws, which no host should do. 0 for none.
    std::size_t throwing_call = 0;
    /// Whether the configuration listener is told of each write before it returns, as a server does.
    bool tells_of_writes = false;

    // What it remembers -----------------------------------------------------------------------------------------------

    std::size_t call_count = 0;
    std::vector<Registration> listeners;
    /// As they stood after their execution.
    std::vector<CommandGroup> groups;
    std::vector<Command> commands;
    /// Path and value of each write of configuration; a null value for a removal.
    std::vector<std::pair<std::string, Value>> config_writes;

    /// The executed groups as text: "Domain[symbol=value symbol=value] Domain[]".
    std::string executed() const;

    /// Writes, or without a value removes, an entry of a domain's configuration.
    ErrorValue change(std::string const& domain, std::string const& path, Value const* value);

    // The host --------------------------------------------------------------------------------------------------------

    ErrorValue execute_command_group(Context const& context, CommandGroup* group) override;
    ErrorValue execute_command(Context const& context, Command* command) override;
    void register_listener(Context const& context, IRavikSrvListener* listener) override;
    void register_listener(Context const& context, IRavikSrvListener* listener, Value const& settings) override;
    ErrorValue set_config_value(Context const& context, char const* path, Value const* value) override;
    Value get_config_value(Context const& context, char const* path) override;

protected:
    /// Counts a call and returns whether it fails.
    bool call_fails();

private:
    void execute(Command& command);
};

/// The same with the internal interface.
class RecordingHost : public BareHost, public IInternalHost
{
public:
    /// Answers of the validations, in place of success.
    std::function<ResultPair(char const* symbol, Value const& value)> on_validate_symbol;
    std::function<ResultPair(Value const& schema, Value const& value)> on_validate;

    ResultPair validate_symbol_value(char const* symbol, Value const& value) override;
    ResultPair validate(Value const& schema, Value const& value, char const* path) override;
    String get_extension_error_string(char const* domain, unsigned code) override;
};

} // namespace Ravik::Test
