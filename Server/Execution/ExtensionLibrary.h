#pragma once

#include "RavikSrvExtApi.h"

#include <filesystem>
#include <memory>
#include <string>

namespace Ravik
{

/// The interface version that this server offers; an extension of another major version is not used.
inline constexpr double interface_version = 19.0;

/// A loaded shared object that holds an extension. It is never unloaded: objects and functions of it may outlive every
/// record that the server keeps.
class ExtensionLibrary
{
public:
    /// Loads `name`: a path, or a name without a slash, which is looked for in the folder ../lib beside the running
    /// program and then as the system's loader does. Throws `ProjectError` where it is missing, can't be loaded or is
    /// no extension.
    explicit ExtensionLibrary(std::string const& name);

    /// A new extension object, made for `host`. Throws `ProjectError` where its entry function fails.
    std::unique_ptr<RavikSrv::IRavikSrvExt> create(RavikSrv::IRavikSrvExtHost& host) const;

    /// The file that was loaded.
    std::filesystem::path const& path() const noexcept { return m_path; }

    /// The schema that the extension ships: the file NAME.Schema.json beside libNAME.so. Null where there is none.
    /// Throws `ProjectError` where it is no JSON object.
    RavikSrv::Value schema() const;

private:
    using Entry = int (*)(RavikSrv::IRavikSrvExtHost*, RavikSrv::IRavikSrvExt**, double*);

    std::string m_name;
    std::filesystem::path m_path;
    Entry m_entry = nullptr;
};

} // namespace Ravik
