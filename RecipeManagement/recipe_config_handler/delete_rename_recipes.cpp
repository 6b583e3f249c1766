#include "recipe_config_handler/DeleteRename.h"

#include "configuration_keys.h"
#include "result_pair.h"

#include "algorithm_helper.h"

#include <boost/unordered/unordered_flat_map.hpp>

namespace RecipeManagement
{

// Values of a renamed member ------------------------------------------------------------------------------------------

ResultPair DeleteRename::delete_rename_recipe_values() const
{
    PassWrites writes(m_call);
    auto const member = Algorithm::split_symbol_name(m_change.old_path.c_str()).back();
    auto const correct = [&](std::string const& path, Value const* recipe) -> std::optional<ResultPair>
    {
        if (recipe == nullptr)
        {
            return failure(ErrorValue::ENTRY_NOT_FOUND, RecipeResult::DELETE_RENAME_PARTLY_FAILED);
        }
        // A recipe keeps its value for a deleted member.
        if (!Algorithm::contains(m_change.old_path, Algorithm::to_string((*recipe)[Key::recipe_type_name])) ||
            m_change.is_delete())
        {
            return std::nullopt;
        }
        auto const values_path = join_path(path, Key::values);
        auto const old_value_path = join_path(values_path, member);
        auto const* const value = RavikSrv::node_path(old_value_path, m_snapshot).node;
        if (value == nullptr)
        {
            // The end of the pass: later recipes keep the old name.
            return ErrorValue::SUCCESS;
        }
        writes.write(join_path(values_path, m_change.new_name), *value);
        writes.remove(old_value_path);
        return std::nullopt;
    };
    return visit_entries(m_recipes.copy(), m_snapshot, correct).value_or(writes.outcome());
}

// Recipes of a moved type ---------------------------------------------------------------------------------------------

ResultPair DeleteRename::recipetypename_in_recipes() const
{
    PassWrites writes(m_call);
    auto const correct = [&](std::string const& path, Value const* recipe) -> std::optional<ResultPair>
    {
        if (recipe == nullptr)
        {
            return ResultPair(ErrorValue::ENTRY_NOT_FOUND, path.c_str());
        }
        auto const type_name = Algorithm::to_string((*recipe)[Key::recipe_type_name]);
        if (m_change.moves_type(type_name))
        {
            writes.carry_type(m_change, type_name, path, join_path(path, Key::recipe_type_name));
        }
        return std::nullopt;
    };
    return visit_entries(m_recipes.copy(), m_snapshot, correct).value_or(writes.outcome());
}

// Values that name a moved recipe -------------------------------------------------------------------------------------

namespace
{

/// Which members of a type stand for a recipe type of their own. Refers to the configuration.
class NestedMembers
{
public:
    explicit NestedMembers(Value const& config) : m_config(config) {}

    /// Whether the type has any; few types do, and the values of their recipes alone need a look.
    bool has_any(std::string const& type_name);
    bool has(std::string const& type_name, char const* member) const;

private:
    static std::string members_path(std::string const& type_name)
    {
        return join_path(add_path_recipetypelist(type_name), Key::members);
    }

    Value const& m_config;
    boost::unordered_flat_map<std::string, bool> m_has_any;
};

bool NestedMembers::has_any(std::string const& type_name)
{
    auto const [known, is_new] = m_has_any.emplace(type_name, false);
    auto const* const members =
        is_new ? RavikSrv::node_path(members_path(type_name), m_config).node : static_cast<Value const*>(nullptr);
    if (members != nullptr)
    {
        for (auto member = members->begin(); member != members->end() && !known->second; ++member)
        {
            known->second = member->find(Key::recipe_type) != member->end();
        }
    }
    return known->second;
}

bool NestedMembers::has(std::string const& type_name, char const* member) const
{
    auto const path = join_path(join_path(members_path(type_name), member), Key::recipe_type);
    return RavikSrv::node_path(path, m_config).node != nullptr;
}

} // namespace

ResultPair DeleteRename::delete_rename_recipe_references() const
{
    ResultPair outcome;
    auto const old_name = relative_recipe_name(m_change.old_path);
    auto const new_name = relative_recipe_name(m_change.new_path);
    NestedMembers nested(m_snapshot);
    auto const correct = [&](std::string const& path, Value const* recipe) -> std::optional<ResultPair>
    {
        if (recipe == nullptr)
        {
            // The end of the pass: later recipes are not visited.
            return ErrorValue::SUCCESS;
        }
        auto const type_name = Algorithm::to_string((*recipe)[Key::recipe_type_name]);
        if (!nested.has_any(type_name))
        {
            return std::nullopt;
        }
        auto const& values = (*recipe)[Key::values];
        for (auto value = values.begin(); value != values.end(); ++value)
        {
            auto text = Algorithm::to_string(*value);
            if (!text.empty() && Algorithm::contains(text, old_name) && nested.has(type_name, value.name()))
            {
                Algorithm::replace(text, old_name, new_name);
                Value const written(text.c_str());
                auto const value_path = join_path(join_path(path, Key::values), value.name());
                outcome = write_outcome(m_call.write(value_path, written), path);
            }
        }
        return std::nullopt;
    };
    auto const end = visit_entries(m_recipes.copy(), m_snapshot, correct);
    return end.value_or(outcome);
}

} // namespace RecipeManagement
