// What an edit must keep to where this server is one line of a library among others.

#include "Editing/Editor.h"

#include "Configuration/Entry.h"
#include "Configuration/configuration_keys.h"
#include "Editing/import.h"
#include "Execution/line_check.h"
#include "api_helper.h"

namespace Ravik
{

using RavikSrv::ErrorValue;

/// Called where this is one, see `is_line`.
Refusal Editor::check_line(TreePair const& trees, std::vector<Touched> const& touched) const
{
    auto const copy = m_core.configuration.shared();
    auto const objection = line_objection(copy->server.name, m_symbols, trees, touched);
    return objection ? Refusal{ErrorValue::SYMBOL_NOT_MAPPED, objection->text, objection->path} : Refusal();
}

Refusal Editor::check_line(std::string const& recipe) const
{
    std::string const domain(recipe_domain);
    auto const tree = m_core.configuration.tree(domain);
    auto const* const node = RavikSrv::node_path(recipe, tree).node;
    auto const is_recipe = node != nullptr && kind_of(recipe, *node) == EntryKind::Recipe;
    return is_line() && is_recipe ? check_line({RavikSrv::Value(), tree}, {{domain, recipe}}) : Refusal();
}

/// What an import brings it edits, even where it is what stands there.
Refusal Editor::check_line(Import const& import, RavikSrv::Value const& before) const
{
    auto const after = import.lists_afterwards();
    auto const touched = import.touched();
    auto refusal = check_line({RavikSrv::Value(), after}, touched);
    return refusal ? refusal : check_line({before, after}, touched);
}

Refusal Editor::check_line(Site const& site, Move const& move, TreePair const& trees,
                           std::vector<Touched> const& cascade) const
{
    auto refusal = check_line(trees, {{.domain = site.domain, .path = move.path}});
    if (!refusal && !move.is_delete())
    {
        refusal = check_line(trees, {{.domain = site.domain, .path = move.new_path}});
    }
    return refusal ? refusal : check_line(trees, cascade);
}

Refusal Editor::keep_to_line(Configuration::Turn& turn)
{
    return keep_to_line(turn, is_line() ? turn.changes().touched() : std::vector<Touched>());
}

/// `touched` is what the extension wrote, which nobody knew before.
Refusal Editor::keep_to_line(Configuration::Turn& turn, std::vector<Touched> const& touched)
{
    std::string const domain(recipe_domain);
    auto refusal = is_line() ? check_line(turn.trees(domain), touched) : Refusal();
    if (refusal)
    {
        turn.take_back();
        auto const failure = restart(site(domain));
        refusal.text += failure ? "; " + failure.text : std::string();
    }
    return refusal;
}

} // namespace Ravik
