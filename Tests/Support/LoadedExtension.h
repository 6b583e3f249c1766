#pragma once

#include "Support/RecordingHost.h"
#include "Support/api_types.h"

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
    using Entry = int (*)(IRavikSrvExtHost* host, IRavikSrvExt** extension, double* version);
    static Entry entry(std::string const& library);

    IRavikSrvExt& object() const { return *m_object; }
    IRavikSrvRequestListener& requests() { return listener<IRavikSrvRequestListener>(0); }
    IRavikSrvExportListener& exports() { return listener<IRavikSrvExportListener>(1); }
    IRavikSrvConfigListener& changes() { return listener<IRavikSrvConfigListener>(2); }
    Context const& context() const { return m_context; }
    double version() const { return m_version; }
    /// What `init` answered.
    ResultPair const& started() const { return m_started; }

    /// Sends one command, mapped to `function`, with these parameters.
    Command call(char const* function, Value const& parameters);

private:
    template <typename Listener> Listener& listener(std::size_t index)
    {
        return dynamic_cast<Listener&>(*m_host.listeners.at(index).listener);
    }

    RecordingHost& m_host;
    Context m_context;
    std::unique_ptr<IRavikSrvExt> m_object;
    ResultPair m_started;
    double m_version = 0;
};

} // namespace Ravik::Test
