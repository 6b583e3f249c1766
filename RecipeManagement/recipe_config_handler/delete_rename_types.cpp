#include "recipe_config_handler/DeleteRename.h"

#include "configuration_keys.h"
#include "result_pair.h"

#include "algorithm_helper.h"

namespace RecipeManagement
{

ResultPair DeleteRename::delete_rename_recipetype() const
{
    auto const correct = [&](std::string const& path, Value const* type) -> std::optional<ResultPair>
    {
        if (type == nullptr)
        {
            // The end of everything: neither later types nor recipes are visited.
            return ErrorValue::SUCCESS;
        }
        auto result = delete_rename_recipetypenames(*type, path);
        if (!failed(result))
        {
            result = delete_rename_recipetype_in_member(path);
        }
        return failed(result) ? std::optional(result) : std::nullopt;
    };
    auto const end = visit_entries(m_recipe_types.copy(), m_snapshot, correct);
    return end ? *end : recipetypename_in_recipes();
}

ResultPair DeleteRename::delete_rename_recipetypenames(Value const& type, std::string const& type_path) const
{
    PassWrites writes(m_call);
    auto const& names = type[Key::recipe_type_names];
    // The index in the list as read, also behind a removal.
    std::size_t index = 0;
    for (auto entry = names.begin_vector(); entry != names.end_vector(); ++entry, ++index)
    {
        auto const name = Algorithm::to_string(*entry);
        if (m_change.moves_type(name))
        {
            auto const path = join_path(type_path, Key::recipe_type_names) + "[" + std::to_string(index) + "]";
            writes.carry_type(m_change, name, path, path);
        }
    }
    return writes.outcome();
}

ResultPair DeleteRename::delete_rename_recipetype_in_member(std::string const& type_path) const
{
    PassWrites writes(m_call);
    auto const members_path = join_path(type_path, Key::members);
    auto const* const members = RavikSrv::node_path(members_path, m_snapshot).node;
    if (members == nullptr)
    {
        return writes.outcome();
    }
    for (auto member = members->begin(); member != members->end(); ++member)
    {
        auto const nested_name = Algorithm::to_string((*member)[Key::recipe_type]);
        if (m_change.moves_type(nested_name))
        {
            auto const path = join_path(members_path, member.name());
            writes.carry_type(m_change, nested_name, path, join_path(path, Key::recipe_type));
        }
    }
    return writes.outcome();
}

} // namespace RecipeManagement
