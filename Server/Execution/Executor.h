#pragma once

#include "Execution/ConfigurationWriter.h"
#include "Execution/Extensions.h"
#include "Execution/ReadMemory.h"
#include "Execution/Recorder.h"
#include "Execution/ServerVariables.h"
#include "Execution/SymbolTable.h"
#include "RavikSrvExtApi.h"

#include <string>
#include <string_view>
#include <vector>

namespace Ravik
{

/// Routes commands to whoever executes them.
///
/// A group of an extension's domain goes to that extension as it is. A group of the server's own domain is taken apart:
/// each command goes where its name leads, neighbours of one domain together:
/// - DOMAIN.Config::PATH, an entry of a domain's configuration, written or removed as the command's options say;
/// - a mapped symbol, in whatever domain it lives;
/// - DOMAIN.FUNCTION, a function that a domain's extension names.
///
/// A value is checked against its symbol's schema before anything is sent: where one value of a group does not fit,
/// nothing of the group is executed and every command tells why. What a request has read it does not read again until
/// something is written. Thread-safe.
class Executor
{
public:
    Executor(SymbolTable const& symbols, Extensions const& extensions, Configuration const& configuration,
             ConfigurationWriter& writer)
        : m_symbols(symbols), m_extensions(extensions), m_writer(writer), m_variables(configuration, writer),
          m_recorder(extensions)
    {
    }

    /// Executes the group. Returns `SUCCESS` where every command succeeded or failed only inside its extension, else
    /// the first error of the server's own; such a command carries that error and a text that names its symbol.
    RavikSrv::ErrorValue execute(RavikSrv::Context const& context, RavikSrv::CommandGroup& group);
    /// Executes one command as a group of the server's own domain; answers the command's own result.
    RavikSrv::ErrorValue execute(RavikSrv::Context const& context, RavikSrv::Command& command);

    /// Checks the group and notes it as if it had been executed, and executes nothing of it.
    RavikSrv::ErrorValue plan(RavikSrv::Context const& context, RavikSrv::CommandGroup& group);
    RavikSrv::ErrorValue plan(RavikSrv::Context const& context, RavikSrv::Command& command);
    /// Has every command of the group fail, and notes it.
    RavikSrv::ErrorValue refuse(RavikSrv::Context const& context, RavikSrv::CommandGroup& group,
                                RavikSrv::ErrorValue error, std::string const& text);

    Recorder& recorder() noexcept { return m_recorder; }
    ReadMemory& read_memory() noexcept { return m_read_memory; }

private:
    enum class Sending
    {
        Sends,
        OnlyChecks,
    };

    RavikSrv::ErrorValue execute(RavikSrv::Context const& context, RavikSrv::CommandGroup& group, Sending sending);
    RavikSrv::ErrorValue execute(RavikSrv::Context const& context, RavikSrv::Command& command, Sending sending);

    /// Where a command of the server's own domain leads.
    struct Route
    {
        enum class Kind
        {
            Nowhere,
            Configuration,
            Variable,
            Extension,
        };
        Kind kind = Kind::Nowhere;
        std::string domain;
        /// Of a command that does nothing but read a whole symbol.
        Symbol const* read = nullptr;
    };

    /// Commands that are sent together, and what they read.
    struct Reads
    {
        /// For each command the symbol that it reads as a whole, null for one that does something else.
        std::vector<Symbol const*> symbols;
        bool are_all = true;

        void add(Symbol const* symbol)
        {
            symbols.push_back(symbol);
            are_all = are_all && symbol != nullptr;
        }
    };

    RavikSrv::ErrorValue execute_server_group(RavikSrv::Context const& context, RavikSrv::CommandGroup& group,
                                              Sending sending);
    RavikSrv::ErrorValue execute_domain_group(RavikSrv::Context const& context, Extension& extension,
                                              RavikSrv::CommandGroup& group, Sending sending);

    /// The first value of a group that does not fit its symbol, and why.
    struct Misfit
    {
        RavikSrv::ErrorValue result = RavikSrv::ErrorValue::SUCCESS;
        std::string text;
    };

    /// Fills in the command's mapping, or its failure. `last` is the symbol of the command before. Returns where the
    /// command leads.
    SymbolReference map_command(Extension const& extension, RavikSrv::Command& command, Symbol const* last,
                                Misfit& misfit) const;
    /// Fills in the mapping and checks the value, unless one that does not fit is known already.
    static void map_symbol(SymbolReference const& reference, RavikSrv::Command& command, Misfit& misfit);
    /// Returns whether a value did not fit; then every command of the group tells so.
    static bool refuse_all(RavikSrv::CommandGroup& group, Misfit const& misfit);
    void send(RavikSrv::Context const& context, Extension& extension, RavikSrv::CommandGroup& group,
              Reads const& reads);

    Route route(RavikSrv::Command& command, Misfit& misfit) const;
    bool route_function(RavikSrv::Command& command, Route& route) const;
    void execute_run(RavikSrv::Context const& context, Route const& route,
                     std::vector<RavikSrv::Command*> const& commands, Reads const& reads);
    void execute_in_domain(RavikSrv::Context const& context, std::string const& domain,
                           std::vector<RavikSrv::Command*> const& commands, Reads const& reads);
    void execute_configuration(RavikSrv::Command& command);

    SymbolTable const& m_symbols;
    Extensions const& m_extensions;
    ConfigurationWriter& m_writer;
    ServerVariables m_variables;
    Recorder m_recorder;
    ReadMemory m_read_memory;
};

} // namespace Ravik
