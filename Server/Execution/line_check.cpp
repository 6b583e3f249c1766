#include "Execution/line_check.h"

#include "Configuration/Entry.h"
#include "Configuration/configuration_keys.h"
#include "Configuration/recipe_needs.h"
#include "Configuration/tree.h"
#include "algorithm_helper.h"
#include "api_helper.h"

#include <iterator>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace Ravik
{

using RavikSrv::Value;
using RavikSrv::Algorithm::to_string;

namespace
{

/// A member that is bound to a symbol which is not mapped, and the type that it stands in.
struct Unmapped
{
    BoundMember member;
    std::string type;
};

/// What the types of a tree need.
class TypeCheck
{
public:
    /// What `tree` lacks is looked up in `otherwise`. Both outlive the check.
    TypeCheck(SymbolTable const& symbols, Value const& tree, Value const& otherwise)
        : m_symbols(symbols), m_tree(tree), m_otherwise(otherwise)
    {
    }

    /// The first that is found among what the type needs.
    std::optional<Unmapped> find(std::string const& type)
    {
        std::vector<std::string> waiting{type};
        while (!waiting.empty())
        {
            auto const name = std::move(waiting.back());
            waiting.pop_back();
            // Known are those that need nothing amiss, since the first that does ends the whole check.
            auto const* const node = m_known.insert(name).second ? type_of(name) : nullptr;
            if (node == nullptr)
            {
                continue;
            }
            auto needs = needs_of(*node);
            for (auto& member : needs.bound)
            {
                if (m_symbols.find(member.symbol).symbol == nullptr)
                {
                    return Unmapped{.member = std::move(member), .type = name};
                }
            }
            std::move(needs.types.begin(), needs.types.end(), std::back_inserter(waiting));
        }
        return {};
    }

private:
    Value const* type_of(std::string const& name) const
    {
        auto const path = Tree::join(Key::recipe_type_list, name);
        auto const* const node = RavikSrv::node_path(path, m_tree).node;
        return node != nullptr ? node : RavikSrv::node_path(path, m_otherwise).node;
    }

    SymbolTable const& m_symbols;
    Value const& m_tree;
    Value const& m_otherwise;
    std::unordered_set<std::string> m_known{std::string()};
};

/// The entries of one of the two trees.
class Side
{
public:
    Side(SymbolTable const& symbols, Value const& tree, Value const& other)
        : m_tree(tree), m_other(other), m_types(symbols, tree, other)
    {
    }

    /// Looks at the entries at, around and below the path.
    std::optional<LineObjection> look_at(std::string const& path, std::string const& line)
    {
        std::optional<LineObjection> objection;
        for_each_entry(locate(path, m_tree).owner, m_tree,
                       [&](std::string const& entry_path, Value const& entry, EntryKind kind)
                       {
                           if (auto const found = find(entry_path, entry, kind))
                           {
                               objection = {.text = "the line \"" + line + "\" maps no symbol \"" +
                                                    found->member.symbol + "\" (member " + found->member.name +
                                                    " of the recipe type \"" + found->type +
                                                    R"("), so this is not edited there; map it among the "symbols" )"
                                                    "of its ravik.json, or edit at a line that does",
                                            .path = entry_path};
                           }
                           return !objection;
                       });
        return objection;
    }

private:
    std::optional<Unmapped> find(std::string const& path, Value const& entry, EntryKind kind)
    {
        auto const is_entry = kind == EntryKind::RecipeType || kind == EntryKind::Recipe;
        if (!is_entry || !m_seen.insert(path).second)
        {
            return {};
        }
        auto const* const other = RavikSrv::node_path(path, m_other).node;
        if (other != nullptr && *other == entry)
        {
            return {};
        }
        return m_types.find(kind == EntryKind::RecipeType ? relative_name(path)
                                                          : to_string(entry[Key::recipe_type_name]));
    }

    Value const& m_tree;
    Value const& m_other;
    TypeCheck m_types;
    std::unordered_set<std::string> m_seen;
};

} // namespace

std::optional<LineObjection> line_objection(std::string const& line, SymbolTable const& symbols, TreePair const& trees,
                                            std::vector<Touched> const& touched)
{
    Side before(symbols, trees.before, trees.after);
    Side after(symbols, trees.after, trees.before);
    for (auto const& place : touched)
    {
        if (place.domain != recipe_domain)
        {
            continue;
        }
        auto objection = before.look_at(place.path, line);
        objection = objection ? std::move(objection) : after.look_at(place.path, line);
        if (objection)
        {
            return objection;
        }
    }
    return {};
}

} // namespace Ravik
