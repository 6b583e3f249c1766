#include "RavikRecipeManagement.h"
#include "configuration_keys.h"
#include "recipe_config_handler/cascade.h"
#include "result_pair.h"

#include "algorithm_helper.h"

namespace RecipeManagement
{

namespace Algorithm = RavikSrv::Algorithm;
using RavikSrv::Context;
using RavikSrv::ErrorValue;
using RavikSrv::ResultPair;
using RavikSrv::Value;

ResultPair RavikRecipeManagement::delete_rename_recipetype(Value const& snapshot, Context const& context,
                                                           Move const& move)
{
    auto const correct = [&](std::string const& path, Value const* type) -> std::optional<ResultPair>
    {
        if (type == nullptr)
        {
            // The end of everything: neither later types nor recipes are visited.
            return ErrorValue::SUCCESS;
        }
        auto result = delete_rename_recipetypenames(context, move, *type, path);
        if (!failed(result))
        {
            result = delete_rename_recipetype_in_member(snapshot, context, move, path);
        }
        return failed(result) ? std::optional(result) : std::nullopt;
    };
    auto const end = visit_entries(copy_paths(recipe_type_paths, recipe_type_paths_mutex), snapshot, correct);
    return end ? *end : recipetypename_in_recipes(snapshot, context, move);
}

ResultPair RavikRecipeManagement::delete_rename_recipetypenames(Context const& context, Move const& move,
                                                                Value const& type, std::string const& type_path)
{
    PassWrites writes(*host, context);
    auto const& names = type[Key::recipe_type_names];
    // The index in the list as read, also behind a removal.
    std::size_t index = 0;
    for (auto entry = names.begin_vector(); entry != names.end_vector(); ++entry, ++index)
    {
        auto const name = Algorithm::to_string(*entry);
        if (move.moves_type(name))
        {
            auto const path = join_path(type_path, Key::recipe_type_names) + "[" + std::to_string(index) + "]";
            writes.carry_type(move, name, path, path);
        }
    }
    return writes.outcome();
}

ResultPair RavikRecipeManagement::delete_rename_recipetype_in_member(Value const& snapshot, Context const& context,
                                                                     Move const& move, std::string const& type_path)
{
    PassWrites writes(*host, context);
    auto const members_path = join_path(type_path, Key::members);
    auto const* const members = RavikSrv::node_path(members_path, snapshot).node;
    if (members == nullptr)
    {
        return writes.outcome();
    }
    for (auto member = members->begin(); member != members->end(); ++member)
    {
        auto const nested_name = Algorithm::to_string((*member)[Key::recipe_type]);
        if (move.moves_type(nested_name))
        {
            auto const path = join_path(members_path, member.name());
            writes.carry_type(move, nested_name, path, join_path(path, Key::recipe_type));
        }
    }
    return writes.outcome();
}

} // namespace RecipeManagement
