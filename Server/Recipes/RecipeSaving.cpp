#include "Recipes/RecipeSaving.h"

#include "Configuration/configuration_keys.h"
#include "Configuration/entry_tag.h"
#include "Configuration/tree.h"
#include "Editing/condition_check.h"
#include "History/shell_word.h"
#include "Recipes/RecipeReading.h"

#include <algorithm>
#include <utility>

namespace Ravik
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;

namespace
{

EditOutcome refused(Refusal refusal)
{
    EditOutcome outcome;
    outcome.refusal = std::move(refusal);
    return outcome;
}

/// Puts what was read into the recipe. Returns whether that changed it.
bool take_over(ValueRows& rows, Value& recipe)
{
    auto has_changed = false;
    for (auto& row : rows)
    {
        if (row.state == ValueState::Differs)
        {
            recipe[Key::values].insert_or_update(row.member.c_str(), row.live);
            row.state = ValueState::Saved;
            has_changed = true;
        }
    }
    return has_changed;
}

} // namespace

RecipeSaving::RecipeSaving(RecipeAccess const& access, Editor& editor, SymbolTable const& symbols, std::string recipe,
                           SaveOptions const& options)
    : m_access(access), m_editor(editor), m_symbols(symbols), m_name(std::move(recipe)), m_options(options),
      m_target(options.target.empty() ? m_name : options.target)
{
}

SavedRecipe RecipeSaving::save()
{
    SavedRecipe saved;
    saved.edit = check_before();
    if (saved.edit.refusal)
    {
        return saved;
    }
    RecipeReading const reading(m_access, m_symbols, m_name);
    auto report = reading.report();
    saved.reading = report;
    saved.rows = std::move(report.rows);
    if (!saved.reading.succeeded())
    {
        return saved;
    }
    std::erase_if(saved.rows, [](ValueRow const& row) { return row.symbol.empty(); });
    saved.edit = check_rows(saved.rows);
    if (!saved.edit.refusal)
    {
        auto recipe = reading.recipe();
        auto const has_changed = take_over(saved.rows, recipe);
        saved.edit = store(recipe, has_changed, entry_tag(reading.recipe()));
    }
    return saved;
}

/// What can be told without asking a controller.
EditOutcome RecipeSaving::check_before() const
{
    auto const present = m_access.recipe(m_target);
    if (m_target != m_name && !m_options.replace && present.isset())
    {
        return refused(taken());
    }
    auto outcome = refused(check_condition(m_options.condition, Tree::join(Key::recipe_list, m_target),
                                           present.isset() ? &present : nullptr));
    outcome.condition_failed = static_cast<bool>(outcome.refusal);
    outcome.value = outcome.condition_failed ? present : Value();
    return outcome;
}

EditOutcome RecipeSaving::check_rows(ValueRows const& rows) const
{
    auto const unread = std::find_if(rows.begin(), rows.end(), [](ValueRow const& row) { return !row.live.isset(); });
    if (unread != rows.end())
    {
        return refused({ErrorValue::FAIL,
                        m_name + ": the value of " + unread->member + " could not be read; nothing was saved", ""});
    }
    return rows.empty()
               ? refused({ErrorValue::FAIL,
                          m_name + ": no value of the recipe stands for a symbol; there is nothing to save", ""})
               : EditOutcome();
}

EditOutcome RecipeSaving::store(Value const& recipe, bool has_changed, std::string const& tag)
{
    if (m_target == m_name && !has_changed)
    {
        return {};
    }
    auto origin = m_options.origin;
    if (origin.asked.empty())
    {
        origin.asked =
            "save " + shell_word(m_name) + (m_target == m_name ? std::string() : " --as " + shell_word(m_target));
    }
    auto outcome = m_editor.set(std::string(recipe_domain), Tree::join(Key::recipe_list, m_target), recipe,
                                {.origin = origin, .condition = condition(tag)});
    if (outcome.condition_failed && m_target != m_name && !m_options.replace)
    {
        return refused(taken());
    }
    return outcome;
}

/// What must hold of the target when it is written. Of the recipe that was read the caller's own condition has been
/// found to hold already.
Condition RecipeSaving::condition(std::string const& tag) const
{
    if (m_target == m_name)
    {
        return {.kind = Condition::Kind::Tag, .tags = {tag}};
    }
    return m_options.replace ? m_options.condition : Condition{.kind = Condition::Kind::Absent};
}

Refusal RecipeSaving::taken() const
{
    return {ErrorValue::UNIQUE, m_target + " exists already; --force replaces it", ""};
}

} // namespace Ravik
