#pragma once

#include "RavikSrvExtApi.h"

#include <set>
#include <string>
#include <unordered_map>

namespace Ravik
{

/// The members that the recipes of each type give values for: those of its inherited types, its own, and those of the
/// types that it nests. Where a name stands more than once the first counts, as in the resolution of symbols. Each type
/// is walked once, when it is first asked for. The configuration must outlive the index. Not thread-safe.
class MemberIndex
{
public:
    /// Where a value of a recipe belongs.
    struct Target
    {
        /// The full path of the member; of the type where a value stands under the name of a type.
        std::string path;
        /// The member has no symbol but nests a type, so the value names a recipe.
        bool nests_type = false;
    };

    using Members = std::unordered_map<std::string, Target>;

    explicit MemberIndex(RavikSrv::Value const& tree) : m_tree(tree) {}

    /// The members of the type by their names; null where there is no such type.
    Members const* members_of(std::string const& type);

private:
    struct Entry
    {
        bool exists = false;
        Members members;
    };

    bool collect(std::string const& type, int depth, std::set<std::string>& walked, Members& members) const;
    void add_member(std::string const& members_path, std::string const& name, RavikSrv::Value const& member, int depth,
                    std::set<std::string>& walked, Members& members) const;

    RavikSrv::Value const& m_tree;
    std::unordered_map<std::string, Entry> m_by_type;
};

} // namespace Ravik
