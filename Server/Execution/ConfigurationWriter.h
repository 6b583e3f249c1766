#pragma once

#include "Configuration/Configuration.h"
#include "Configuration/Entry.h"
#include "Configuration/expectation.h"
#include "Execution/Extensions.h"
#include "Execution/SymbolTable.h"
#include "RavikSrvExtApi.h"

#include <string>

namespace Ravik
{

/// Writes configuration on behalf of extensions and of the server itself: such writes are neither asked about nor told
/// to the listeners of the domain. A write made in the course of an edit belongs to that edit's turn; any other is a
/// turn of its own. And tells the listeners of what clients change. Thread-safe.
class ConfigurationWriter
{
public:
    ConfigurationWriter(Configuration& configuration, Extensions const& extensions, SymbolTable const& symbols)
        : m_configuration(configuration), m_extensions(extensions), m_symbols(symbols)
    {
    }

    /// Writes the entry at `path` of the domain's configuration, see `Tree::write`; `STORAGE_STORE` where it could not
    /// be stored, `ENCODE` for texts that can't be stored, `SYMBOL_NOT_MAPPED` for what this line of a library can't
    /// edit, see `line_objection`.
    RavikSrv::ErrorValue write(std::string const& domain, std::string const& path, RavikSrv::Value const& value,
                               Tree::WriteMode mode);
    /// Removes the entry.
    RavikSrv::ErrorValue remove(std::string const& domain, std::string const& path);

    // What the listeners of a domain are told; the answer is the first failure.

    /// They are told of the path itself and, where it is a folder, of every entry in it.
    RavikSrv::ResultPair tell_changed(RavikSrv::Context const& context, std::string const& domain,
                                      std::string const& path) const;
    /// They are told of every entry at and below the path, in the order of the tree.
    RavikSrv::ResultPair tell_entries(RavikSrv::Context const& context, std::string const& domain,
                                      std::string const& path) const;
    /// `value` is what stood there.
    RavikSrv::ResultPair tell_deleted(RavikSrv::Context const& context, std::string const& domain,
                                      std::string const& path, RavikSrv::Value const& value,
                                      char const* schema_type) const;

    /// They are told of a delete or rename that has been made; `value` is what was moved.
    RavikSrv::ResultPair tell_moved(RavikSrv::Context const& context, std::string const& domain, Move const& move,
                                    RavikSrv::Value const& value, char const* schema_type) const;

private:
    RavikSrv::ErrorValue committed(Configuration::Turn& turn, std::string const& domain) const;

    Configuration& m_configuration;
    Extensions const& m_extensions;
    SymbolTable const& m_symbols;
};

/// The context in which a domain's extension is called on behalf of `origin`.
RavikSrv::Context context_for(RavikSrv::Context const& origin, std::string const& domain);

} // namespace Ravik
