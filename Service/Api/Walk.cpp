#include "Api/Walk.h"

#include "Configuration/tree.h"

#include "algorithm_helper.h"

namespace Ravik::Service
{

using RavikSrv::Value;

bool Walk::visit_behind(std::string const& name, Visit const& visit) const
{
    auto const prefix = m_under.empty() ? std::string() : m_under + "::";
    if (!name.starts_with(prefix) && !name.empty())
    {
        return false;
    }
    auto const behind = name.empty() ? std::vector<std::string>()
                                     : RavikSrv::Algorithm::split_symbol_name(name.substr(prefix.size()).c_str());
    return walk(m_folder, prefix, behind, 0, visit) != Ending::Lost;
}

Walk::Ending Walk::walk(Value const& folder, std::string const& prefix, std::vector<std::string> const& behind,
                        std::size_t depth, Visit const& visit) const
{
    auto entry = folder.begin();
    auto const resumes = depth < behind.size();
    if (resumes)
    {
        entry = folder.find(behind[depth].c_str());
        if (entry == folder.end())
        {
            return Ending::Lost;
        }
    }
    auto is_first = resumes;
    for (; entry != folder.end(); ++entry)
    {
        auto const name = prefix + entry.name();
        auto const kind = kind_of(Tree::join(m_list, name), *entry);
        auto const was_visited = std::exchange(is_first, false);
        if (!was_visited && !visit(name, *entry, kind))
        {
            return Ending::Stopped;
        }
        auto const is_behind_inside = was_visited && depth + 1 < behind.size();
        if (kind != EntryKind::Folder)
        {
            if (is_behind_inside)
            {
                return Ending::Lost;
            }
            continue;
        }
        auto const ending = walk(*entry, name + "::", was_visited ? behind : std::vector<std::string>(),
                                 was_visited ? depth + 1 : 0, visit);
        if (ending != Ending::Done)
        {
            return ending;
        }
    }
    return Ending::Done;
}

} // namespace Ravik::Service
