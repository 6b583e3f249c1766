#pragma once

#include "Call.h"

#include "api_helper.h"

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
struct PathChange
{
    /// The new path is empty for a delete.
    PathChange(std::string from, std::string to);

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
/// paths of all writes of the pass that have failed so far. Made for one call.
class PassWrites
{
public:
    explicit PassWrites(Call const& call);

    void write(std::string const& path, Value const& value);
    void remove(std::string const& path);
    /// Carries a reference to the moved recipe type `name` along: a delete removes `owner`, a rename writes the new
    /// name to `reference`.
    void carry_type(PathChange const& change, std::string const& name, std::string const& owner,
                    std::string const& reference);

    /// Success where nothing was written.
    ResultPair const& outcome() const noexcept { return m_outcome; }

private:
    void set(std::string const& path, Value const* value);

    Call const m_call;
    std::string m_running_text;
    ResultPair m_outcome;
};

/// The outcome of one write; `text` goes with a failure.
[[nodiscard]] ResultPair write_outcome(ErrorValue error, std::string const& text);

/// Visits the entries of `snapshot` at the paths, in their order: `visit(path, entry)`, the entry null where it is
/// missing, returns a result to end the walk. Returns that result, none behind the last path.
template <typename Visit>
[[nodiscard]] std::optional<ResultPair> visit_entries(std::vector<std::string> const& paths, Value const& snapshot,
                                                      Visit const& visit)
{
    std::optional<ResultPair> end;
    for (auto path = paths.begin(); path != paths.end() && !end; ++path)
    {
        end = visit(*path, RavikSrv::node_path(*path, snapshot).node);
    }
    return end;
}

} // namespace RecipeManagement
