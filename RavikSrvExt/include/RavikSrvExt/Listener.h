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
/// server may call the operations of a listener from several threads at once, from the end of `init` on. None throws.
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
class RAVIK_SRV_EXT_API IRavikSrvExt
{
public:
    /// Called once after loading, before any other operation and on one thread. The extension registers its listeners
    /// here. A result other than success makes the server give the extension up.
    virtual ResultPair init(Context context) = 0;
    /// The name of a result code of this extension, empty for a code that it does not know. Thread-safe.
    virtual String error_string(unsigned code) = 0;
    virtual ~IRavikSrvExt();

protected:
    IRavikSrvExt() = default;
    IRavikSrvExt(IRavikSrvExt const&) = default;
    IRavikSrvExt& operator=(IRavikSrvExt const&) = default;
};

} // namespace RavikSrv
