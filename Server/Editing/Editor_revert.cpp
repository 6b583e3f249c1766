// Taking an edit back: an edit of its own, whose outcome is what stood before, place by place.

#include "Editing/Editor.h"

#include "Configuration/Entry.h"
#include "Editing/Reversal.h"
#include "Editing/entry_checks.h"
#include "Editing/turns.h"
#include "api_helper.h"

#include <algorithm>
#include <map>
#include <set>

namespace Ravik
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;

namespace
{

std::map<std::string, std::vector<PlaceChange>> by_domain(std::vector<PlaceChange> const& places)
{
    std::map<std::string, std::vector<PlaceChange>> domains;
    for (auto const& place : places)
    {
        domains[place.domain].push_back(place);
    }
    return domains;
}

/// What the record tells can't be taken back; each place has a refusal of its own.
EditOutcome refused(std::vector<Refusal> refusals)
{
    EditOutcome outcome;
    outcome.refusal = refusals.front();
    outcome.refusals = std::move(refusals);
    return outcome;
}

std::vector<Refusal> refusals_of(std::vector<std::string> const& changed_since)
{
    std::vector<Refusal> refusals;
    refusals.reserve(changed_since.size());
    for (auto const& path : changed_since)
    {
        refusals.push_back({ErrorValue::STORAGE_CONSTRAINT, "has changed since; change it yourself", path});
    }
    return refusals;
}

/// The domain that a turn for the places names: only the recipe management's has to be had.
std::string edited_domain(std::vector<PlaceChange> const& places)
{
    std::string const shared(recipe_domain);
    auto const is_shared = [&shared](PlaceChange const& place) { return place.domain == shared; };
    return std::any_of(places.begin(), places.end(), is_shared) ? shared : std::string();
}

void add_steps(std::string const& domain, Reversal const& reversal, std::vector<Touched>& touched)
{
    for (auto const& step : reversal.steps())
    {
        touched.push_back({.domain = domain, .path = step.path, .removed = !step.value});
    }
}

} // namespace

EditOutcome Editor::revert(std::vector<PlaceChange> const& places, std::string const& asked,
                           RevertOptions const& options)
{
    auto const edited = options.dry_run ? std::string() : edited_domain(places);
    Configuration::Turn turn(m_core.configuration, edited);
    if (auto const refusal = obstacle(turn, edited, ""))
    {
        return refused({refusal});
    }
    std::map<std::string, Reversal> reversals;
    EditOutcome outcome;
    for (auto const& [domain, own] : by_domain(places))
    {
        auto const& reversal =
            reversals.emplace(domain, Reversal(own, m_core.configuration.tree(domain))).first->second;
        auto refusals = refusals_of(reversal.changed_since());
        refusals = refusals.empty() ? check_reversal(site(domain), reversal) : refusals;
        std::move(refusals.begin(), refusals.end(), std::back_inserter(outcome.refusals));
        add_steps(domain, reversal, outcome.cascade);
    }
    if (!outcome.refusals.empty())
    {
        return refused(std::move(outcome.refusals));
    }
    if (outcome.cascade.empty())
    {
        return refused({{ErrorValue::UNCHANGED, "everything stands as it did before already", ""}});
    }
    if (options.dry_run)
    {
        return outcome;
    }
    for (auto const& [domain, reversal] : reversals)
    {
        auto refusal = make_reversal(site(domain), reversal, turn);
        outcome.refusal = outcome.refusal ? outcome.refusal : refusal;
    }
    outcome.made = true;
    auto failure = stored(turn, {.action = Action::revert, .asked = asked, .origin = options.origin}, outcome);
    for (auto const& [domain, reversal] : reversals)
    {
        failure = failure || !reversal.moves_entries() ? failure : restart(site(domain));
    }
    if (failure)
    {
        outcome = refused({failure});
        outcome.unknown_edit = turn.unknown_edit();
    }
    return outcome;
}

/// What speaks against the tree that a reversal leaves: what would against an import of the entries, a listener's veto
/// to a deletion, and references that would lead nowhere.
std::vector<Refusal> Editor::check_reversal(Site const& site, Reversal const& reversal) const
{
    std::vector<Refusal> refusals;
    auto const take = [&refusals](Refusal refusal)
    {
        if (refusal)
        {
            refusals.push_back(std::move(refusal));
        }
    };
    for (auto const& step : reversal.steps())
    {
        take(check_place(site, step.path));
    }
    if (refusals.empty() && is_line())
    {
        std::vector<Touched> touched;
        add_steps(site.domain, reversal, touched);
        take(check_line({reversal.before(), reversal.after()}, touched));
    }
    if (!refusals.empty() || site.schemas == nullptr)
    {
        return refusals;
    }
    auto const lists = lists_of(reversal.after());
    for (auto const& path : reversal.changed())
    {
        auto const& entry = *RavikSrv::node_path(path, reversal.after()).node;
        auto const kind = kind_of(path, entry);
        auto const is_folder = kind == EntryKind::Folder;
        take(kind == EntryKind::Other
                 ? ask_change(site, path, reversal.after())
                 : ask_entry(site, path, is_folder ? Value(RavikSrv::ValueType::Map) : entry, kind, lists));
    }
    for (auto const& path : reversal.gone())
    {
        take(ask_delete(site, path, reversal.before()));
    }
    if (refusals.empty() && site.schemas->has_recipes())
    {
        refusals = new_faults(reversal);
    }
    return refusals;
}

/// What other entries, which the record says nothing of, would be wrong.
std::vector<Refusal> Editor::new_faults(Reversal const& reversal) const
{
    auto const is_type = [](std::string const& path) { return path.starts_with(Key::recipe_type_list); };
    if (reversal.gone().empty() && std::none_of(reversal.changed().begin(), reversal.changed().end(), is_type))
    {
        return {};
    }
    std::set<std::string> known;
    for (auto const& finding : find_faults({reversal.before(), m_symbols, m_validator}))
    {
        known.insert(finding.path);
    }
    std::vector<Refusal> refusals;
    for (auto const& finding : find_faults({reversal.after(), m_symbols, m_validator}))
    {
        if (!finding.is_note() && !known.contains(finding.path))
        {
            refusals.push_back(
                {ErrorValue::STORAGE_CONSTRAINT, "would be wrong afterwards: " + finding.text, finding.path});
        }
    }
    return refusals;
}

/// Makes the steps and tells the extension, which is started anew where entries come or go. What it says is returned.
Refusal Editor::make_reversal(Site const& site, Reversal const& reversal, Configuration::Turn& turn) const
{
    for (auto const& [path, value] : reversal.steps())
    {
        auto const result = value ? turn.write(site.domain, path, *value, Tree::WriteMode::ReplaceInPath)
                                  : turn.remove(site.domain, path);
        if (result != ErrorValue::SUCCESS)
        {
            return explained_write(result, path);
        }
    }
    if (reversal.moves_entries())
    {
        return {};
    }
    Refusal first;
    for (auto const& step : reversal.steps())
    {
        auto const refusal = explained(m_core.writer.tell_changed(site.context, site.domain, step.path), step.path);
        first = first ? first : refusal;
    }
    auto const failure = site.schemas->has_recipes() ? put_right(site, "", reversal.after(), turn) : Refusal();
    return first ? first : failure;
}

} // namespace Ravik
