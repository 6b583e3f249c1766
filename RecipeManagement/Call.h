#pragma once

#include "api_types.h"

#include <string>

namespace RecipeManagement
{

/// The host as one call of the server sees it: what the operations below a callback ask of it, in the context that the
/// call came with. Refers to the host and the context; made for one call, and cheap to copy.
class Call
{
public:
    /// `internal_host` is null where the host offers no such interface.
    Call(IRavikSrvExtHost& host, IInternalHost* internal_host, Context const& context)
        : m_host(&host), m_internal_host(internal_host), m_context(&context)
    {
    }

    /// The extension's whole configuration.
    Value read_configuration() const { return m_host->get_config_value(*m_context, ""); }
    /// The server's table of mapped symbols.
    Value read_symbol_table() const;

    /// Writes an entry of the extension's configuration.
    [[nodiscard]] ErrorValue write(std::string const& path, Value const& value) const;
    /// Removes an entry of the extension's configuration.
    [[nodiscard]] ErrorValue remove(std::string const& path) const;
    /// The name of a command that addresses an entry of the extension's configuration.
    std::string config_command(std::string const& path) const;

    [[nodiscard]] ErrorValue execute(Command& command) const { return m_host->execute_command(*m_context, &command); }
    [[nodiscard]] ErrorValue execute(CommandGroup& group) const
    {
        return m_host->execute_command_group(*m_context, &group);
    }

    /// Null where nothing tells whether a value fits its schema.
    IInternalHost* internal_host() const noexcept { return m_internal_host; }
    /// The text that the extension of `domain` gives to its result `code`.
    std::string extension_error(std::string const& domain, unsigned code) const;

private:
    IRavikSrvExtHost* m_host;
    IInternalHost* m_internal_host;
    Context const* m_context;
};

} // namespace RecipeManagement
