#pragma once

#include "RavikSrvExt/CommandGroup.h"
#include "RavikSrvExt/Context.h"
#include "RavikSrvExt/Export.h"
#include "RavikSrvExt/Listener.h"
#include "RavikSrvExt/ResultPair.h"
#include "RavikSrvExt/String.h"

#include <cstdint>

namespace RavikSrv
{

/// What the server offers to its extensions. All operations are thread-safe, may be called from `init` on, on the
/// extension's own threads and from inside any listener operation, report failure by value and never throw. The host
/// outlives every extension; `IRavikSrvExt` says what is left of it in the destruction.
class RAVIK_SRV_EXT_API IRavikSrvExtHost
{
public:
    /// Executes the commands of `group` in the domain that the group names. Returns the outcome of the whole; each
    /// command carries its own afterwards. A command whose write value is null reads.
    virtual ErrorValue execute_command_group(Context const& context, CommandGroup* group) = 0;
    /// Executes one command, which the server routes by its name; the command carries its outcome afterwards.
    virtual ErrorValue execute_command(Context const& context, Command* command) = 0;

    /// Registers a listener of the context's extension. The host keeps the pointer and does not own the listener.
    virtual void register_listener(Context const& context, IRavikSrvListener* listener) = 0;
    /// The same with settings, a vector of structs: "flags" (int, which kinds of change, one bit each) and "paths"
    /// (vector of texts, the configuration paths of interest, "*" for all).
    virtual void register_listener(Context const& context, IRavikSrvListener* listener, Value const& settings) = 0;

    /// Writes the entry at `path` of the configuration of the context's domain; a map written onto a map merges (the
    /// named entries are added or replaced, the others stay). With no value the entry is removed. The empty path stands
    /// for the whole configuration. A path with an empty component answers `INVALID_PATH`; one that leads nowhere
    /// answers `ENTRY_NOT_FOUND` (a write may name a new entry in its last component only). A failure leaves the
    /// configuration as it was. Listeners are not told of what an extension writes itself.
    virtual ErrorValue set_config_value(Context const& context, char const* path, Value const* value) = 0;
    /// Reads a copy of the entry at `path` of the configuration of the context's domain, null where there is none. The
    /// empty path gives the whole configuration.
    virtual Value get_config_value(Context const& context, char const* path) = 0;

    virtual ~IRavikSrvExtHost();

protected:
    IRavikSrvExtHost() = default;
    IRavikSrvExtHost(IRavikSrvExtHost const&) = default;
    IRavikSrvExtHost& operator=(IRavikSrvExtHost const&) = default;
};

/// Checks and names that a host offers to the extensions of its own maker; found with `dynamic_cast` from
/// `IRavikSrvExtHost`. The same rules hold.
class RAVIK_SRV_EXT_API IInternalHost
{
public:
    /// Whether `value` fits the schema of the mapped server symbol `symbol`.
    virtual ResultPair validate_symbol_value(char const* symbol, Value const& value) = 0;
    /// Whether `value` fits `schema`. `path` leads the message where something inside the value is at fault.
    virtual ResultPair validate(Value const& schema, Value const& value, char const* path) = 0;
    /// The name that the extension of `domain` gives to its result `code`.
    virtual String get_extension_error_string(char const* domain, unsigned code) = 0;

    virtual ~IInternalHost();

protected:
    IInternalHost() = default;
    IInternalHost(IInternalHost const&) = default;
    IInternalHost& operator=(IInternalHost const&) = default;
};

/// Makes the host known to the API; called by `ext_interface` before any other function of the API. Thread-safe; the
/// last host given counts, and it must outlive its use.
RAVIK_SRV_EXT_API void initialize_api(IRavikSrvExtHost* host) noexcept;

/// The host that `initialize_api` was given last, null before.
RAVIK_SRV_EXT_API IRavikSrvExtHost* host() noexcept;

} // namespace RavikSrv
