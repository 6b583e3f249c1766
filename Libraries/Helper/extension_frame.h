#pragma once

#include "RavikSrvExtApi.h"

#include <memory>

/// What every extension does at its boundary with the server, whatever it is about.
namespace RavikSrv
{

/// The body of `ext_interface` for an extension of the class `Extension`, which is made from the host. A call that has
/// no place for an answer does nothing and succeeds. What the construction throws passes on to the caller, with nothing
/// made and nothing written: the one exception that crosses this boundary, since the call has no answer for a failure.
template <typename Extension>
int enter_extension(IRavikSrvExtHost* given_host, IRavikSrvExt** extension, double* version)
{
    constexpr double interface_version = 19.0;
    if (version == nullptr || extension == nullptr)
    {
        return 0;
    }
    initialize_api(given_host);
    *extension = std::make_unique<Extension>(given_host).release();
    *version = interface_version;
    return 0;
}

/// The commands of a group for a range-based loop. It refers to the group.
class Commands
{
public:
    explicit Commands(CommandGroup& group) noexcept : m_group(group) {}

    auto begin() const { return m_group.begin_vector(); }
    auto end() const { return m_group.end_vector(); }

private:
    CommandGroup& m_group;
};

} // namespace RavikSrv
