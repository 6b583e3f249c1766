#pragma once

#include "recipe_config_handler/PathList.h"

#include "RavikSrvExtApi.h"
#include "api_helper.h"

#include <boost/thread/mutex.hpp>

#include <optional>
#include <string>
#include <vector>

/// What the passes have in common that carry a delete or rename through the configuration.
namespace RecipeManagement
{

/// A delete or rename of one entry.
///
/// An entry refers to the moved one, or lies below it, where its path contains the old path as a text; only the first
/// occurrence is rewritten. Whoever is named alike is therefore touched as well: AB by a rename of A.
struct Move
{
    /// The new path is empty for a delete.
    Move(std::string from, std::string to);

    /// Whether this is a delete.
    bool is_delete() const noexcept { return new_name.empty(); }
    /// Whether the recipe type of that name is moved; an empty name is no type's.
    bool moves_type(std::string const& name) const;
    /// The name that a moved recipe type has afterwards.
    std::string moved_type(std::string const& name) const;

    std::string old_path;
    std::string new_path;
    /// The last part of the new path.
    std::string new_name;
};

/// The writes of one pass and their outcome: that of the last write, whatever came before. A failure's text lists the
/// paths of all writes of the pass that have failed so far. Refers to the host and the context.
class PassWrites
{
public:
    PassWrites(RavikSrv::IRavikSrvExtHost& host, RavikSrv::Context const& context);

    void write(std::string const& path, RavikSrv::Value const& value);
    void remove(std::string const& path);
    /// Carries a reference to the moved recipe type `name` along: a delete removes `owner`, a rename writes the new
    /// name to `reference`.
    void carry_type(Move const& move, std::string const& name, std::string const& owner, std::string const& reference);

    /// Success where nothing was written.
    RavikSrv::ResultPair const& outcome() const noexcept { return m_outcome; }

private:
    void set(std::string const& path, RavikSrv::Value const* value);

    RavikSrv::IRavikSrvExtHost& m_host;
    RavikSrv::Context const& m_context;
    std::string m_running_text;
    RavikSrv::ResultPair m_outcome;
};

/// The outcome of one write; `text` goes with a failure.
RavikSrv::ResultPair write_outcome(RavikSrv::ErrorValue error, std::string const& text);

/// A copy of the list, taken under its mutex, for a walk that calls the host.
std::vector<std::string> copy_paths(PathList const& paths, boost::mutex& mutex);

/// Visits the entries of `snapshot` at the paths, in their order: `visit(path, entry)`, the entry null where it is
/// missing, answers a result to end the walk. Answers that result, none behind the last path.
template <typename Visit>
std::optional<RavikSrv::ResultPair> visit_entries(std::vector<std::string> const& paths,
                                                  RavikSrv::Value const& snapshot, Visit const& visit)
{
    std::optional<RavikSrv::ResultPair> end;
    for (auto path = paths.begin(); path != paths.end() && !end; ++path)
    {
        end = visit(*path, RavikSrv::node_path(*path, snapshot).node);
    }
    return end;
}

} // namespace RecipeManagement
