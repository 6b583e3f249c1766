#pragma once

#include "RavikSrvExtApi.h"
#include "Support/RecordingHost.h"

#include <memory>
#include <string>

namespace Ravik::Test
{

/// An extension, loaded from its shared object and initialised, with the listeners that it registered with the host.
/// It is destroyed before its host is. Throws `std::runtime_error` where it can't be loaded.
class LoadedExtension
{
public:
    LoadedExtension(std::string const& library, RecordingHost& host, char const* domain);

    /// The entry function of the shared object.
    using Entry = int (*)(RavikSrv::IRavikSrvExtHost* host, RavikSrv::IRavikSrvExt** extension, double* version);
    static Entry entry(std::string const& library);

    RavikSrv::IRavikSrvExt& object() { return *m_object; }
    RavikSrv::IRavikSrvRequestListener& requests() { return *m_requests; }
    RavikSrv::IRavikSrvConfigListener& changes() { return *m_changes; }
    RavikSrv::IRavikSrvExportListener& exports() { return *m_exports; }
    RavikSrv::Context const& context() const { return m_context; }
    double version() const { return m_version; }

    /// Sends one command, mapped to `function`, with these parameters.
    RavikSrv::Command call(char const* function, RavikSrv::Value const& parameters);

private:
    RavikSrv::Context m_context;
    std::unique_ptr<RavikSrv::IRavikSrvExt> m_object;
    RavikSrv::IRavikSrvRequestListener* m_requests = nullptr;
    RavikSrv::IRavikSrvConfigListener* m_changes = nullptr;
    RavikSrv::IRavikSrvExportListener* m_exports = nullptr;
    double m_version = 0;
};

} // namespace Ravik::Test
