#pragma once

#include "Configuration/place_changes.h"
#include "RavikSrvExtApi.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Ravik
{

/// What takes back, in one domain, what an edit changed there, place by place, in a tree as it stands now. A place that
/// stands as it did before the edit is left alone. A folder that the edit made goes where nothing else is in it; the
/// order of entries is not restored.
class Reversal
{
public:
    /// `places` are those of the domain, in the order of the record.
    Reversal(std::vector<PlaceChange> const& places, RavikSrv::Value const& tree);

    /// The places that have changed since in another way; nothing can be taken back then.
    std::vector<std::string> const& changed_since() const noexcept { return m_changed_since; }

    /// The places to write and, without a value, to remove; in this order.
    struct Step
    {
        std::string path;
        std::optional<RavikSrv::Value> value;
    };
    std::vector<Step> const& steps() const noexcept { return m_steps; }

    RavikSrv::Value const& before() const noexcept { return m_tree; }
    /// The tree with the steps made.
    RavikSrv::Value const& after() const noexcept { return m_target; }

    /// The recipes and recipe types, and places outside of the lists, that stand otherwise afterwards; those that are
    /// gone then apart.
    std::set<std::string> const& changed() const noexcept { return m_changed; }
    std::set<std::string> const& gone() const noexcept { return m_gone; }
    /// Whether entries or folders come or go.
    bool moves_entries() const noexcept { return m_moves_entries; }

private:
    bool is_as_left(PlaceChange const& place) const;
    bool is_reverted(PlaceChange const& place) const;
    void take_away(PlaceChange const& place);
    void put_back(PlaceChange const& place);
    void make(PlaceChange const& place, std::optional<RavikSrv::Value> const& value);

    RavikSrv::Value m_tree;
    RavikSrv::Value m_target;
    std::vector<std::string> m_changed_since;
    std::vector<Step> m_steps;
    std::set<std::string> m_changed;
    std::set<std::string> m_gone;
    bool m_moves_entries = false;
};

} // namespace Ravik
