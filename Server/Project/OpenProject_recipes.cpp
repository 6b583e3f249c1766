// What is done with recipes beside editing and activating them.

#include "Project/OpenProject.h"

#include "Configuration/configuration_keys.h"
#include "Configuration/recipe_needs.h"
#include "Recipes/RecipeReading.h"
#include "Recipes/RecipeSaving.h"
#include "Recipes/RecipeUpdates.h"
#include "Recipes/active_recipes.h"
#include "Recipes/compare_plans.h"
#include "Recipes/recipe_functions.h"
#include "Recipes/text_list.h"

#include "algorithm_helper.h"

#include <utility>

namespace Ravik
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::Algorithm::to_string;

NamesOutcome OpenProject::recipe_names() const
{
    NamesOutcome outcome;
    outcome.names = m_recipes.names();
    return outcome;
}

NamesOutcome OpenProject::recipes_of(std::string const& type)
{
    auto const found =
        m_recipes.call(m_recipes.begin_request(), Function::get_recipes, Parameter::recipe_type_path, type);
    NamesOutcome outcome;
    if (!found.succeeded())
    {
        auto const is_own = found.error != ErrorValue::SUCCESS;
        outcome.error = is_own ? found.error : ErrorValue::EXTENSION;
        outcome.text = is_own ? found.text : name_and_text(recipe_outcome(found));
        return outcome;
    }
    outcome.names = texts_of(found.value);
    if (outcome.names.empty())
    {
        static_cast<ConfigurationOutcome&>(outcome) = check_type(std::string(recipe_domain), type);
    }
    return outcome;
}

MembersOutcome OpenProject::members(std::string const& type) const
{
    std::string const domain(recipe_domain);
    MembersOutcome outcome;
    static_cast<ConfigurationOutcome&>(outcome) = check_type(domain, type);
    auto const tree = m_core.configuration.tree(domain);
    for (auto const& found : outcome.succeeded() ? own_members(type, tree) : std::vector<OwnMember>())
    {
        Value const& member = *found.member;
        auto const symbol = to_string(member[Key::symbol]);
        auto const* const mapped = m_symbols.find(symbol).symbol;
        outcome.members.push_back({.name = found.name,
                                   .type = found.type,
                                   .symbol = symbol,
                                   .domain = mapped == nullptr ? std::string() : mapped->domain,
                                   .tolerance = mapped == nullptr ? 0 : mapped->tolerance,
                                   .symbol_schema = mapped == nullptr ? Value() : mapped->schema,
                                   .schema = member[Key::member_schema],
                                   .default_value = member[Key::default_value],
                                   .nested_type = to_string(member[Key::recipe_type]),
                                   .enabled = member[Key::enabled].get_bool()});
    }
    return outcome;
}

ActivationReport OpenProject::compare(std::string const& recipe, std::string const& other)
{
    auto const pin = m_recipes.pin();
    auto left = expected(recipe);
    auto right = left.succeeded() ? expected(other) : left;
    return right.succeeded() ? compare_plans(std::move(left), right, recipe, other) : right;
}

ReadReport OpenProject::read(std::string const& recipe)
{
    return RecipeReading(m_recipes, m_symbols, recipe).report();
}

SaveReport OpenProject::save(std::string const& recipe, SaveOptions const& options)
{
    auto saved = RecipeSaving(m_recipes, m_editor, m_symbols, recipe, options).save();
    SaveReport outcome;
    static_cast<EditReport&>(outcome) = report(std::move(saved.edit));
    if (!saved.reading.succeeded())
    {
        outcome.error = saved.reading.error;
        outcome.text = saved.reading.text;
        outcome.read_failed = true;
    }
    outcome.result = saved.reading.result;
    outcome.name = saved.reading.name;
    outcome.rows = std::move(saved.rows);
    return outcome;
}

UpdateReport OpenProject::update(std::vector<std::string> const& recipes, UpdateOptions const& options)
{
    return RecipeUpdates(m_recipes, options).update(recipes);
}

ActiveReport OpenProject::active(std::vector<std::string> const& recipes, ActiveOptions const& options)
{
    return active_recipes(m_recipes, recipes, options);
}

} // namespace Ravik
