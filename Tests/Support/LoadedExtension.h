#pragma once

#include "RavikSrvExtApi.h"
#include "Support/RecordingHost.h"

#include <memory>
#include <string>

namespace Ravik::Test
{

/// An extension, loaded from its shared object and initialised, with the listeners that it registered with the host (in
/// this order: requests, exports, changes). It is destroyed before its host is. Throws `std::runtime_error` where it
/// can't be loaded.
class LoadedExtension
{
public:
    LoadedExtension(std::string const& library, RecordingHost& host, char const* domain);

    /// The entry function of the shared object.
    using Entry = int (*)(RavikSrv::IRavikSrvExtHost* host, RavikSrv::IRavikSrvExt** extension, double* version);
    static Entry entry(std::string const& library);

    RavikSrv::IRavikSrvExt& object() const { return *m_object; }
    RavikSrv::IRavikSrvRequestListener& requests() { return listener<RavikSrv::IRavikSrvRequestListener>(0); }
    RavikSrv::IRavikSrvExportListener& exports() { return listener<RavikSrv::IRavikSrvExportListener>(1); }
    RavikSrv::IRavikSrvConfigListener& changes() { return listener<RavikSrv::IRavikSrvConfigListener>(2); }
    RavikSrv::Context const& context() const { return m_context; }
    double version() const { return m_version; }
    /// What `init` answered.
    RavikSrv::ResultPair const& started() const { return m_started; }

    /// Sends one command, mapped to `function`, with these parameters.
    RavikSrv::Command call(char const* function, RavikSrv::Value const& parameters);

private:
    template <typename Listener> Listener& listener(std::size_t index)
    {
        return dynamic_cast<Listener&>(*m_host.listeners.at(index).listener);
    }

    RecordingHost& m_host;
    RavikSrv::Context m_context;
    std::unique_ptr<RavikSrv::IRavikSrvExt> m_object;
    RavikSrv::ResultPair m_started;
    double m_version = 0;
};

} // namespace Ravik::Test
