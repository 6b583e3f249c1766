#include "Support/LoadedExtension.h"

#include <stdexcept>

#include <dlfcn.h>

namespace Ravik::Test
{

LoadedExtension::Entry LoadedExtension::entry(std::string const& library)
{
    // Never closed, as in the server: type information and texts of an extension may outlive its object.
    auto* const handle = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    auto* const symbol = handle != nullptr ? dlsym(handle, "ext_interface") : nullptr;
    if (symbol == nullptr)
    {
        throw std::runtime_error(dlerror());
    }
    return reinterpret_cast<Entry>(symbol);
}

LoadedExtension::LoadedExtension(std::string const& library, RecordingHost& host, char const* domain) : m_host(host)
{
    m_context.set_domain(domain);
    IRavikSrvExt* made = nullptr;
    entry(library)(&host, &made, &m_version);
    m_object.reset(made);
    m_started = m_object->init(m_context);
}

Command LoadedExtension::call(char const* function, Value const& parameters)
{
    CommandGroup group;
    group.set_domain(m_context.domain());
    Command command(function);
    command.set_mapping(function);
    command.set_write_value(parameters);
    group.insert(group.end_vector(), command);
    requests().on_request(m_context, &group);
    return *group.begin_vector();
}

} // namespace Ravik::Test
