#include "Api/Parts.h"
#include "Api/problem.h"
#include "Api/resources.h"
#include "Api/values.h"

#include "Configuration/Entry.h"
#include "Configuration/references.h"
#include "Configuration/tree.h"

#include "api_helper.h"

#include <set>
#include <utility>

namespace Ravik::Service
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

struct Wanted
{
    std::string path;
    EntryKind kind;
};

Wanted wanted_of(Call const& call)
{
    auto const recipe = call.parameter("recipe");
    auto const type = call.parameter("type");
    if (recipe.empty() == type.empty())
    {
        throw Problem{.status = 400,
                      .code = "INVALID_PARAMETER",
                      .detail = "one of the parameters 'recipe' and 'type' is a name: ?recipe=…"};
    }
    return type.empty() ? Wanted{Tree::join(Key::recipe_list, recipe), EntryKind::Recipe}
                        : Wanted{Tree::join(Key::recipe_type_list, type), EntryKind::RecipeType};
}

void check_presence(Wanted const& wanted, Value const& tree)
{
    auto const* const entry = RavikSrv::node_path(wanted.path, tree).node;
    if (entry == nullptr || kind_of(wanted.path, *entry) != wanted.kind)
    {
        throw Problem{
            .status = 404, .code = "ENTRY_NOT_FOUND", .detail = "nothing of the kind stands at " + wanted.path};
    }
}

/// What can name the entry: only recipes name recipes; and recipes of a type are counted, not told.
Value looked_through(Wanted const& wanted, Value const& tree)
{
    if (wanted.kind == EntryKind::Recipe)
    {
        return tree;
    }
    Value types(ValueType::Map);
    types.insert(Key::recipe_type_list, tree[Key::recipe_type_list]);
    return types;
}

Value uses_of(Wanted const& wanted, Value const& tree)
{
    auto const names_it = [&wanted](Reference const& reference)
    { return reference.kind != Reference::Kind::ValueMember && reference.target == wanted.path; };
    std::set<std::pair<std::string, Reference::Kind>> told;
    Value uses(ValueType::Vector);
    for (auto const& reference : read_references(looked_through(wanted, tree), names_it))
    {
        // An entry may name it at many places.
        auto const owner = locate(reference.holder, tree).owner;
        if (told.emplace(owner, reference.kind).second)
        {
            Value use(ValueType::Map);
            use.insert("path", text_value(owner));
            use.insert("kind", text_value(to_text(reference.kind)));
            uses << use;
        }
    }
    return uses;
}

} // namespace

Response get_uses(Call& call)
{
    auto const wanted = wanted_of(call);
    auto const tree = call.parts.project.get(std::string(recipe_domain), "").value;
    check_presence(wanted, tree);
    Value answer(ValueType::Map);
    answer.insert("uses", uses_of(wanted, tree));
    if (wanted.kind == EntryKind::RecipeType)
    {
        auto const recipes = call.parts.project.recipes_of(call.parameter("type"));
        answer.insert("recipes", Value(static_cast<long>(recipes.names.size())));
    }
    return json_answer(answer);
}

} // namespace Ravik::Service
