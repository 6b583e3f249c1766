#pragma once

#include "Configuration/Entry.h"
#include "RavikSrvExtApi.h"

#include <functional>
#include <string>
#include <vector>

namespace Ravik::Service
{

/// Walks the folders and entries below a folder in the order of the tree, a folder before what it holds, from any entry
/// on: a page costs what it shows, wherever it begins.
class Walk
{
public:
    /// Returns false to end the walk.
    using Visit = std::function<bool(std::string const& name, RavikSrv::Value const& entry, EntryKind kind)>;

    /// `list` is the name of the list, `folder` the value to walk and `under` its name, empty for the list itself.
    Walk(std::string list, RavikSrv::Value const& folder, std::string under)
        : m_list(std::move(list)), m_folder(folder), m_under(std::move(under))
    {
    }

    /// Visits what follows the entry of that name (all for the empty name). Returns false where there is no such entry
    /// below the folder.
    bool visit_behind(std::string const& name, Visit const& visit) const;

private:
    enum class Ending
    {
        Lost,
        Stopped,
        Done,
    };

    Ending walk(RavikSrv::Value const& folder, std::string const& prefix, std::vector<std::string> const& behind,
                std::size_t depth, Visit const& visit) const;

    std::string m_list;
    RavikSrv::Value const& m_folder;
    std::string m_under;
};

} // namespace Ravik::Service
