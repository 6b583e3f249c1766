#pragma once

#include "RavikSrvExt/CommandGroup.h"
#include "RavikSrvExt/Context.h"
#include "RavikSrvExt/Export.h"
#include "RavikSrvExt/ResultPair.h"
#include "RavikSrvExt/String.h"

namespace RavikSrv
{

/// What a listener listens to.
enum class ListenerType
{
    REQUEST,
    CONFIG,
    EXPORT,
};

/// What an extension registers with the host, which does not own it: a listener lives as long as its extension. The
/// server may call the operations of a listener on any thread, several at once and the same one several times at once,
/// from the end of `init` to the beginning of the extension's destruction. The host may be called from inside each of
/// them, and what that brings about comes back to the listeners on the same thread: no operation holds a lock across a
/// call to the host. None throws.
class RAVIK_SRV_EXT_API IRavikSrvListener
{
public:
    virtual ListenerType type() const noexcept = 0;
    virtual ~IRavikSrvListener();

protected:
    IRavikSrvListener() = default;
    IRavikSrvListener(IRavikSrvListener const&) = default;
    IRavikSrvListener& operator=(IRavikSrvListener const&) = default;
};

// The destructors stand in the library as key functions; copying is as protected as in IRavikSrvListener.
// NOLINTBEGIN(cppcoreguidelines-special-member-functions)

/// Takes the requests that are addressed to the extension's domain.
class RAVIK_SRV_EXT_API IRavikSrvRequestListener : public IRavikSrvListener
{
public:
    ListenerType type() const noexcept override;
    ~IRavikSrvRequestListener() override;

    /// Executes the commands of `group`, which belongs to the caller, and leaves the outcome on each of them.
    virtual void on_request(Context context, CommandGroup* group) = 0;
};

/// Is asked before the extension's configuration changes and told after it has changed. `path` is the server path of
/// the entry inside the extension's configuration, `schema_type` the name of the schema type of the value there, empty
/// where it has none. A result other than success from a `before_` operation refuses the change.
///
/// The change is under way meanwhile, and other threads that write configuration wait for its end: these operations may
/// write configuration themselves, but never wait for a thread that does. Requests go on beside them.
class RAVIK_SRV_EXT_API IRavikSrvConfigListener : public IRavikSrvListener
{
public:
    ListenerType type() const noexcept override;
    ~IRavikSrvConfigListener() override;

    /// `value` is the entry as it will stand.
    virtual ResultPair before_change(Context context, char const* path, Value& value, char const* schema_type) = 0;
    /// `value` is the entry that is about to be deleted.
    virtual ResultPair before_delete(Context context, char const* path, Value const& value,
                                     char const* schema_type) = 0;
    virtual ResultPair before_rename(Context context, char const* path, char const* new_path,
                                     char const* schema_type) = 0;
    virtual ResultPair on_change(Context context, char const* path, char const* schema_type) = 0;
    /// `value` is the entry that was deleted.
    virtual ResultPair on_delete(Context context, char const* path, Value const& value, char const* schema_type) = 0;
    virtual ResultPair on_rename(Context context, char const* path, char const* new_path, char const* schema_type) = 0;
};

/// A configuration listener that lets every delete and rename pass.
class RAVIK_SRV_EXT_API RavikSrvConfigListener : public IRavikSrvConfigListener
{
public:
    ~RavikSrvConfigListener() override;

    ResultPair before_delete(Context context, char const* path, Value const& value, char const* schema_type) override;
    ResultPair before_rename(Context context, char const* path, char const* new_path, char const* schema_type) override;
};

/// Is asked when configuration is exported and imported.
class RAVIK_SRV_EXT_API IRavikSrvExportListener : public IRavikSrvListener
{
public:
    ListenerType type() const noexcept override;
    ~IRavikSrvExportListener() override;

    virtual ResultPair before_export(Context context, char const* path, Value& value, Value const& data,
                                     char const* schema_type) = 0;
    /// `value` is the entry that is imported, `import_data` the configuration as it will stand after the import.
    virtual ResultPair before_import(Context context, char const* path, Value& value, Value const& import_data,
                                     char const* schema_type) = 0;
};

// NOLINTEND(cppcoreguidelines-special-member-functions)

/// An extension as the server sees it; made by its `ext_interface`, destroyed by the server.
///
/// **Construction** happens on one thread, and nothing else of the object is called meanwhile. The host is kept and not
/// called yet: the extension learns its domain in `init` only. Another object of the same extension may be at work, on
/// other threads, until this one takes its place: what objects share is thread-safe.
class RAVIK_SRV_EXT_API IRavikSrvExt
{
public:
    /// Called once after the construction, before any other operation and on one thread. The extension registers its
    /// listeners here. The host may be called; what that brings about comes back to the listeners that are registered
    /// already, and nothing else is called meanwhile. Domains that the server starts later take no requests yet. A
    /// result other than success makes the server give the extension up: nothing but the destruction follows.
    virtual ResultPair init(Context context) = 0;
    /// The name of a result code of this extension, empty for a code that it does not know. Called on any thread, also
    /// while listener operations run, from `init` to the destruction. Thread-safe; does not call the host.
    virtual String error_string(unsigned code) = 0;
    /// Called once, on any thread, when no operation of the extension or of its listeners runs any more; none follows.
    /// The extension ends its own threads here. The host may still be called, but not to write configuration: an edit
    /// may be under way on this very thread, and a thread of the extension that waits for its end can't be waited for.
    virtual ~IRavikSrvExt();

protected:
    IRavikSrvExt() = default;
    IRavikSrvExt(IRavikSrvExt const&) = default;
    IRavikSrvExt& operator=(IRavikSrvExt const&) = default;
};

} // namespace RavikSrv
