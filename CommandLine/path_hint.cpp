#include "path_hint.h"

#include "nearest_name.h"

#include "Configuration/Entry.h"
#include "Configuration/tree.h"

#include "api_helper.h"

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::Value;

/// A path that leads nowhere, cut where it begins to.
struct Missing
{
    /// Leads somewhere; empty for the root.
    std::string parent;
    /// The component that `parent` does not hold.
    std::string name;
    /// What stands behind it, with the separator.
    std::string rest;
};

Missing cut(std::string const& path, Value const& tree)
{
    auto missing = path;
    auto split = Tree::split_last(missing);
    while (!split.parent.empty() && RavikSrv::node_path(split.parent, tree).node == nullptr)
    {
        missing = split.parent;
        split = Tree::split_last(missing);
    }
    return {.parent = split.parent, .name = split.name, .rest = path.substr(missing.size())};
}

std::vector<std::string> names_below(std::string const& path, Value const& tree)
{
    std::vector<std::string> names;
    auto const& node = *RavikSrv::node_path(path, tree).node;
    for (auto entry = node.begin(); entry != node.end(); ++entry)
    {
        names.emplace_back(entry.name());
    }
    return names;
}

/// The paths of all entries and folders below a list, or of both lists for the empty path.
std::vector<std::string> paths_below(std::string const& list, Value const& tree)
{
    std::vector<std::string> paths;
    for_each_entry(
        list, tree,
        [&](std::string const& path, Value const& /*entry*/, EntryKind /*kind*/)
        {
            paths.push_back(path);
            return true;
        },
        Folders::Visited);
    return paths;
}

/// The paths with `rest` behind them; those that lead somewhere with it where there are such, else all without it.
std::vector<std::string> continued(std::vector<std::string> paths, std::string const& rest, Value const& tree)
{
    std::vector<std::string> whole;
    for (auto const& path : paths)
    {
        if (RavikSrv::node_path(path + rest, tree).node != nullptr)
        {
            whole.push_back(path + rest);
        }
    }
    return whole.empty() ? std::move(paths) : whole;
}

std::vector<std::string> likely_siblings(Missing const& missing, Value const& tree)
{
    auto names = likely_names(missing.name, names_below(missing.parent, tree));
    for (auto& name : names)
    {
        name = Tree::join(missing.parent, name);
    }
    return names;
}

/// The likely entries of a list, by their names without it.
std::vector<std::string> likely_entries(std::string const& path, std::string const& list, Value const& tree)
{
    auto const behind_list = Tree::join(list, "").size();
    auto names = paths_below(list, tree);
    for (auto& name : names)
    {
        name = name.size() < behind_list ? std::string() : name.substr(behind_list);
    }
    names = likely_names(path.substr(behind_list), names);
    for (auto& name : names)
    {
        name = Tree::join(list, name);
    }
    return names;
}

std::vector<std::string> likely_paths(std::string const& path, Value const& tree)
{
    auto const missing = cut(path, tree);
    auto const list = RavikSrv::name_from_path(path.c_str());
    auto found = likely_siblings(missing, tree);
    if (found.empty() && missing.parent.empty())
    {
        // The name of an entry without its list, or the beginning of one.
        found = likely_names(path, paths_below("", tree));
        return found.empty() ? continued(likely_names(missing.name, paths_below("", tree)), missing.rest, tree) : found;
    }
    if (found.empty() && locate(missing.parent, tree).kind == EntryKind::Folder)
    {
        found = likely_entries(path, list, tree);
        if (!found.empty())
        {
            return found;
        }
        found = likely_entries(Tree::join(missing.parent, missing.name), list, tree);
    }
    return continued(std::move(found), missing.rest, tree);
}

} // namespace

void hint_at_missing_path(Invocation& invocation, std::string const& path)
{
    auto const tree = invocation.project().get(invocation.domain(), "").value;
    if (tree.isset() && !path.empty() && RavikSrv::node_path(path, tree).node == nullptr)
    {
        invocation.output().hint(did_you_mean(likely_paths(path, tree)));
    }
}

} // namespace Ravik::CommandLine
