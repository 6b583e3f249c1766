#include "RavikRecipeManagement.h"
#include "configuration_keys.h"
#include "recipe_config_handler/cascade.h"
#include "result_pair.h"

#include "algorithm_helper.h"

#include <boost/unordered/unordered_flat_map.hpp>

namespace RecipeManagement
{

namespace Algorithm = RavikSrv::Algorithm;
using RavikSrv::Context;
using RavikSrv::ErrorValue;
using RavikSrv::ResultPair;
using RavikSrv::Value;

// Values of a renamed member ------------------------------------------------------------------------------------------

ResultPair RavikRecipeManagement::delete_rename_recipe_values(Value const& snapshot, Context const& context,
                                                              Move const& move)
{
    PassWrites writes(*host, context);
    auto const member = Algorithm::split_symbol_name(move.old_path.c_str()).back();
    auto const correct = [&](std::string const& path, Value const* recipe) -> std::optional<ResultPair>
    {
        if (recipe == nullptr)
        {
            return failure(ErrorValue::ENTRY_NOT_FOUND, RecipeResult::DELETE_RENAME_PARTLY_FAILED);
        }
        // A recipe keeps its value for a deleted member.
        if (!Algorithm::contains(move.old_path, Algorithm::to_string((*recipe)[Key::recipe_type_name])) ||
            move.is_delete())
        {
            return std::nullopt;
        }
        auto const values_path = join_path(path, Key::values);
        auto const old_value_path = join_path(values_path, member);
        auto const* const value = RavikSrv::node_path(old_value_path, snapshot).node;
        if (value == nullptr)
        {
            // The end of the pass: later recipes keep the old name.
            return ErrorValue::SUCCESS;
        }
        writes.write(join_path(values_path, move.new_name), *value);
        writes.remove(old_value_path);
        return std::nullopt;
    };
    return visit_entries(copy_paths(recipe_paths, recipe_paths_mutex), snapshot, correct).value_or(writes.outcome());
}

// Recipes of a moved type ---------------------------------------------------------------------------------------------

ResultPair RavikRecipeManagement::recipetypename_in_recipes(Value const& snapshot, Context const& context,
                                                            Move const& move)
{
    PassWrites writes(*host, context);
    auto const correct = [&](std::string const& path, Value const* recipe) -> std::optional<ResultPair>
    {
        if (recipe == nullptr)
        {
            return ResultPair(ErrorValue::ENTRY_NOT_FOUND, path.c_str());
        }
        auto const type_name = Algorithm::to_string((*recipe)[Key::recipe_type_name]);
        if (move.moves_type(type_name))
        {
            writes.carry_type(move, type_name, path, join_path(path, Key::recipe_type_name));
        }
        return std::nullopt;
    };
    return visit_entries(copy_paths(recipe_paths, recipe_paths_mutex), snapshot, correct).value_or(writes.outcome());
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

/// The name by which values name the recipe at the path.
std::string recipe_name(std::string path)
{
    Algorithm::replace(path, add_path_recipelist(""), "");
    return path;
}

} // namespace

ResultPair RavikRecipeManagement::delete_rename_recipe_references(Value const& snapshot, Context const& context,
                                                                  Move const& move)
{
    ResultPair outcome;
    auto const old_name = recipe_name(move.old_path);
    auto const new_name = recipe_name(move.new_path);
    NestedMembers nested(snapshot);
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
                outcome = write_outcome(host->set_config_value(context, value_path.c_str(), &written), path);
            }
        }
        return std::nullopt;
    };
    auto const end = visit_entries(copy_paths(recipe_paths, recipe_paths_mutex), snapshot, correct);
    return end.value_or(outcome);
}

} // namespace RecipeManagement
