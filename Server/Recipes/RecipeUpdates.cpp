#include "Recipes/RecipeUpdates.h"

#include "Configuration/configuration_keys.h"
#include "History/shell_word.h"
#include "Recipes/recipe_functions.h"
#include "Recipes/text_list.h"
#include "Json/Json.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <unordered_set>
#include <utility>

namespace Ravik
{

using RavikSrv::Value;

namespace
{

/// What an update changed in the recipe's values, a text each; what it dropped the extension tells.
std::vector<std::string> changes(Value const& before, Value const& after)
{
    std::vector<std::string> texts;
    for (auto value = after.begin(); value != after.end(); ++value)
    {
        auto const& old = before[value.name()];
        if (before.find(value.name()) == before.end())
        {
            texts.push_back(value.name() + (" filled in: " + Json::shown(*value)));
        }
        else if (!(old == *value))
        {
            texts.push_back(value.name() + (" reset: " + Json::shown(*value)) + " instead of " + Json::shown(old));
        }
    }
    return texts;
}

std::vector<std::string> each_once(std::vector<std::string> const& names)
{
    std::unordered_set<std::string> known;
    std::vector<std::string> once;
    std::copy_if(names.begin(), names.end(), std::back_inserter(once),
                 [&known](std::string const& name) { return known.insert(name).second; });
    return once;
}

} // namespace

char const* name_of(UpdateState state)
{
    constexpr std::array<std::pair<UpdateState, char const*>, 3> names{{
        {UpdateState::Updated, "updated"},
        {UpdateState::Same, "same"},
        {UpdateState::Failed, "failed"},
    }};
    return std::find_if(names.begin(), names.end(), [state](auto const& entry) { return entry.first == state; })
        ->second;
}

UpdateReport RecipeUpdates::update(std::vector<std::string> const& recipes) const
{
    auto const names = each_once(recipes);
    UpdateReport report;
    for (auto const& name : names)
    {
        if (m_options.stop != nullptr && m_options.stop->load())
        {
            report.stopped = true;
            break;
        }
        if (m_options.progress)
        {
            m_options.progress(report.rows.size(), names.size());
        }
        report.rows.push_back(update(name));
    }
    return report;
}

UpdateRow RecipeUpdates::update(std::string const& recipe) const
{
    Value const before = m_access.recipe(recipe);
    auto origin = m_options.origin;
    origin.asked = "update " + shell_word(recipe);
    auto const outcome =
        m_access.call(m_access.begin_request(), Function::update_recipe, Parameter::path, recipe, origin);
    Value const after = m_access.recipe(recipe);
    UpdateRow row;
    static_cast<RecipeOutcome&>(row) = recipe_outcome(outcome);
    row.text = row.succeeded() ? std::string() : name_and_text(row);
    row.recipe = recipe;
    row.state = !row.succeeded() ? UpdateState::Failed : before == after ? UpdateState::Same : UpdateState::Updated;
    row.info = texts_of(outcome.value[Returned::info]);
    auto changed = changes(before[Key::values], after[Key::values]);
    std::move(changed.begin(), changed.end(), std::back_inserter(row.info));
    return row;
}

} // namespace Ravik
