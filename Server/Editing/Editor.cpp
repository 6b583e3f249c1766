#include "Editing/Editor.h"

#include "Configuration/Entry.h"
#include "Configuration/ProjectError.h"
#include "Configuration/TypeUsers.h"
#include "Configuration/tree.h"
#include "Editing/SetPlan.h"
#include "Editing/condition_check.h"
#include "Editing/edit_rules.h"
#include "Editing/entry_checks.h"
#include "Editing/import.h"
#include "Editing/turns.h"
#include "Execution/start_anew.h"
#include "algorithm_helper.h"
#include "api_helper.h"
#include "Json/Json.h"

#include <algorithm>
#include <iterator>
#include <set>

namespace Ravik
{

using RavikSrv::Context;
using RavikSrv::ErrorValue;
using RavikSrv::ResultPair;
using RavikSrv::Value;

namespace
{

EditOutcome refused(Refusal const& refusal)
{
    EditOutcome outcome;
    outcome.refusal = refusal;
    return outcome;
}

/// Of an edit whose turn may have been committed, in vain.
EditOutcome refused(Refusal const& refusal, Configuration::Turn const& turn)
{
    auto outcome = refused(refusal);
    outcome.unknown_edit = turn.unknown_edit();
    return outcome;
}

/// Whether the extension's list of paths, which it keeps in the order of the tree, is right after the move without its
/// being started anew. It leaves its list alone where the old path speaks of members or values, and takes any other new
/// path for an entry's.
bool keeps_paths(Move const& move, Value const& before)
{
    auto const speaks_of = [&](char const* word) { return RavikSrv::Algorithm::contains(move.path, word); };
    return locate(move.path, before).kind == EntryKind::Inside &&
           (move.is_delete() || speaks_of(Key::members) || speaks_of(Key::values));
}

/// Whether the path is one of these or lies below one.
bool lies_in(std::string path, std::set<std::string> const& places)
{
    while (!path.empty() && !places.contains(path))
    {
        path = Tree::split_last(path).parent;
    }
    return !path.empty();
}

} // namespace

Editor::Site Editor::site(std::string const& domain) const
{
    auto const schemas = m_schemas.find(domain);
    return {.domain = domain,
            .extension = m_core.extensions.find(domain),
            .schemas = schemas == m_schemas.end() ? nullptr : &schemas->second,
            .context = context_for(Context(), domain)};
}

Refusal Editor::check_domain(Site const& site, std::string const& path) const
{
    if (site.extension == nullptr)
    {
        return {ErrorValue::INVALID_DOMAIN, "no extension serves the domain \"" + site.domain + "\"", path};
    }
    return m_core.configuration.is_refusing()
               ? Refusal{ErrorValue::STORAGE,
                         "an earlier edit could not be stored; nothing can be edited until the next start", path}
               : Refusal();
}

/// Whether the domain can be edited in the turn, which names it.
Refusal Editor::check_turn(Configuration::Turn const& turn, Site const& site, std::string const& path) const
{
    auto const refusal = check_domain(site, path);
    return refusal ? refusal : obstacle(turn, site.domain, path);
}

Refusal Editor::check_place(Site const& site, std::string const& path) const
{
    auto refusal = check_domain(site, path);
    if (refusal || site.schemas == nullptr)
    {
        return refusal;
    }
    refusal = check_path(path, site.schemas->has_recipes());
    if (!refusal && m_core.configuration.is_fixed(site.domain, path))
    {
        return {ErrorValue::INVALID_PATH, "this stands in ravik.json; change it there", path};
    }
    return refusal;
}

/// Ends the turn, with a record of what was done.
Refusal Editor::stored(Configuration::Turn& turn, Deed deed, EditOutcome const& outcome) const
{
    deed.outcome = outcome.refusal ? Outcome::failed : Outcome::done;
    deed.text = outcome.refusal.text;
    m_history.remember(turn, deed);
    return commit(turn);
}

// Setting -------------------------------------------------------------------------------------------------------------

EditOutcome Editor::set(std::string const& domain, std::string const& path, Value const& value,
                        SetOptions const& options)
{
    auto const here = site(domain);
    Configuration::Turn turn(m_core.configuration, domain);
    auto refusal = check_turn(turn, here, path);
    refusal = refusal ? refusal : check_place(here, path);
    if (auto const obstacle = Json::obstacle(value); !refusal && !obstacle.empty())
    {
        refusal = {ErrorValue::ENCODE, "the value can't be stored: " + obstacle, path};
    }
    if (refusal)
    {
        return refused(refusal);
    }
    if (auto outcome = unmet(here, path, options.condition); outcome.condition_failed)
    {
        return outcome;
    }
    return set(here, path, value,
               {.action = Action::edit, .asked = "set " + path + ' ' + Json::write(value), .origin = options.origin},
               turn);
}

EditOutcome Editor::copy(std::string const& domain, std::string const& path, std::string const& new_path,
                         SetOptions const& options)
{
    auto const here = site(domain);
    Configuration::Turn turn(m_core.configuration, domain);
    if (auto refusal = check_turn(turn, here, path))
    {
        return refused(refusal);
    }
    if (auto outcome = unmet(here, path, options.condition); outcome.condition_failed)
    {
        return outcome;
    }
    auto tree = m_core.configuration.tree(domain);
    auto refusal = check_copy(path, new_path, tree);
    refusal = refusal ? refusal : check_place(here, new_path);
    if (refusal)
    {
        return refused(refusal);
    }
    auto const entry = *RavikSrv::node_path(path, std::as_const(tree)).node;
    // With it the write would copy the folders on its way.
    tree = Value();
    return set(here, new_path, entry,
               {.action = Action::edit, .asked = "copy " + path + ' ' + new_path, .origin = options.origin}, turn);
}

/// Refused where the condition does not hold of what stands at the path.
EditOutcome Editor::unmet(Site const& site, std::string const& path, Condition const& condition) const
{
    EditOutcome outcome;
    if (condition.kind == Condition::Kind::None)
    {
        return outcome;
    }
    auto const tree = m_core.configuration.tree(site.domain);
    auto const* const present = RavikSrv::node_path(path, tree).node;
    outcome.refusal = check_condition(condition, path, present);
    outcome.condition_failed = static_cast<bool>(outcome.refusal);
    outcome.value = outcome.condition_failed && present != nullptr ? *present : Value();
    return outcome;
}

/// Sets what may be set as far as the path is concerned.
EditOutcome Editor::set(Site const& site, std::string const& path, Value const& value, Deed const& deed,
                        Configuration::Turn& turn)
{
    auto const& domain = site.domain;
    // The whole tree is held on to for recipe types alone: with it the write copies the folders on its way.
    auto const before = path.starts_with(Key::recipe_type_list) ? m_core.configuration.tree(domain) : Value();
    SetPlan const plan(path, value, m_core.configuration.tree(domain));
    auto refusal = plan.check(*site.schemas);
    if (!refusal && is_line())
    {
        refusal = check_line({m_core.configuration.tree(domain), plan.after()}, {{domain, path}});
    }
    refusal = refusal ? refusal : ask_change(site, path, plan.after());
    if (refusal)
    {
        return refused(refusal);
    }
    if (auto const result = turn.write(domain, path, value, Tree::WriteMode::ReplaceInPath);
        result != ErrorValue::SUCCESS)
    {
        return refused(explained_write(result, path));
    }
    auto outcome = tell_set(site, path, plan, deed, turn);
    outcome.warnings = new_misfits(before, m_core.configuration.tree(domain), plan.types());
    return outcome;
}

/// What an edit of these types made wrong.
std::vector<Finding> Editor::new_misfits(Value const& before, Value const& after,
                                         std::vector<std::string> const& types) const
{
    std::set<std::string> affected;
    TypeUsers const users(types.empty() ? Value() : after);
    for (auto const& type : types)
    {
        affected.merge(users.with_users(type));
    }
    if (affected.empty())
    {
        return {};
    }
    auto const is_affected = [&affected](std::string const& type) { return affected.contains(type); };
    auto const old = find_misfits({before, m_symbols, m_validator}, is_affected);
    auto found = find_misfits({after, m_symbols, m_validator}, is_affected);
    std::set<std::string> known;
    std::transform(old.begin(), old.end(), std::inserter(known, known.end()),
                   [](Finding const& finding) { return finding.path; });
    std::erase_if(found, [&known](Finding const& finding) { return known.contains(finding.path); });
    return found;
}

EditOutcome Editor::tell_set(Site const& site, std::string const& path, SetPlan const& plan, Deed const& deed,
                             Configuration::Turn& turn)
{
    auto const own = turn.changes().size();
    auto const new_owner = plan.new_owner();
    auto answer = new_owner.empty() ? ResultPair() : m_core.writer.tell_entries(site.context, site.domain, new_owner);
    auto const changed = m_core.writer.tell_changed(site.context, site.domain, path);
    answer = answer.result() == ErrorValue::SUCCESS ? changed : answer;
    EditOutcome outcome;
    outcome.refusal = explained(answer, path);
    outcome.made = true;
    outcome.cascade = turn.changes().touched(own);
    auto failure = keep_to_line(turn, outcome.cascade);
    failure = failure ? failure : stored(turn, deed, outcome);
    failure = failure || plan.keeps_order(m_core.configuration.tree(site.domain)) ? failure : restart(site);
    return failure ? refused(failure, turn) : outcome;
}

/// Asks for the path itself, for the entry that it lies in and, for a folder, for every entry in it.
Refusal Editor::ask_change(Site const& site, std::string const& path, Value const& tree) const
{
    auto& extension = *site.extension;
    auto const ask = [&](std::string const& asked, Value value, EntryKind kind)
    { return explained(extension.before_change(site.context, asked, value, schema_type(kind)), asked); };
    auto const place = locate(path, tree);
    auto const* const node = RavikSrv::node_path(path, tree).node;
    auto refusal = node == nullptr ? Refusal() : ask(path, *node, place.kind);
    if (!refusal && place.kind == EntryKind::Inside)
    {
        auto const& owner = *RavikSrv::node_path(place.owner, tree).node;
        return ask(place.owner, owner, kind_of(place.owner, owner));
    }
    if (!refusal && place.kind == EntryKind::Folder)
    {
        for_each_entry(path, tree,
                       [&](std::string const& entry, Value const& value, EntryKind kind)
                       {
                           refusal = ask(entry, value, kind);
                           return !refusal;
                       });
    }
    return refusal;
}

// Deleting and renaming -----------------------------------------------------------------------------------------------

EditOutcome Editor::remove(std::string const& domain, std::string const& path, MoveOptions const& options)
{
    return move(site(domain), {.path = path, .new_path = {}}, options);
}

EditOutcome Editor::rename(std::string const& domain, std::string const& path, std::string const& new_path,
                           MoveOptions const& options)
{
    auto const here = site(domain);
    if (auto refusal = check_place(here, new_path))
    {
        return refused(refusal);
    }
    return move(here, {.path = path, .new_path = new_path}, options);
}

/// The outcome follows from the tree alone. The extension is notified and left to do what it does; what then stands
/// otherwise is put right before anybody sees it.
EditOutcome Editor::move(Site const& site, Move const& move, MoveOptions const& options)
{
    Configuration::Turn turn(m_core.configuration, options.dry_run ? "" : site.domain);
    auto refusal = options.dry_run ? check_domain(site, move.path) : check_turn(turn, site, move.path);
    refusal = refusal ? refusal : check_place(site, move.path);
    if (refusal)
    {
        return refused(refusal);
    }
    if (auto outcome = unmet(site, move.path, options.condition); outcome.condition_failed)
    {
        return outcome;
    }
    auto const before = m_core.configuration.tree(site.domain);
    refusal = check_move(move, before);
    auto const has_recipes = site.schemas->has_recipes();
    auto const expected = has_recipes && !refusal ? expected_after(before, move) : Value();
    EditOutcome outcome;
    if (has_recipes && !refusal)
    {
        outcome.cascade = consequences(site.domain, move, before, expected);
        refusal = is_line() ? check_line(site, move, {before, expected}, outcome.cascade) : Refusal();
    }
    refusal = refusal ? refusal : ask_move(site, move, before);
    if (refusal)
    {
        return refused(refusal);
    }
    if (options.dry_run)
    {
        return outcome;
    }
    outcome.refusal = make_move(site, move, before, turn);
    refusal = has_recipes ? put_right(site, move.path, expected, turn) : Refusal();
    auto const asked = move.is_delete() ? "delete " + move.path : "rename " + move.path + ' ' + move.new_path;
    Deed const deed{.action = Action::edit, .asked = asked, .origin = options.origin};
    refusal = refusal ? refusal : stored(turn, deed, has_recipes ? EditOutcome() : outcome);
    if (refusal)
    {
        return refused(refusal, turn);
    }
    outcome.made = true;
    if (has_recipes)
    {
        // Whatever the extension said to the move, it has come out right.
        outcome.refusal = keeps_paths(move, before) ? Refusal() : restart(site);
    }
    return outcome;
}

Refusal Editor::ask_move(Site const& site, Move const& move, Value const& before) const
{
    auto const after = with_move(before, move);
    auto const place = locate(move.path, before);
    auto refusal =
        move.is_delete()
            ? ask_delete(site, move.path, before)
            : explained(site.extension->before_rename(site.context, move.path, move.new_path, schema_type(place.kind)),
                        move.path);
    if (refusal || (move.is_delete() && place.kind != EntryKind::Inside))
    {
        return refusal;
    }
    if (place.kind == EntryKind::Inside)
    {
        auto const& owner = *RavikSrv::node_path(place.owner, after).node;
        refusal = check_entry(*site.schemas, kind_of(place.owner, *RavikSrv::node_path(place.owner, before).node),
                              place.owner, owner);
    }
    else
    {
        refusal = check_entries(*site.schemas, move.new_path, after);
    }
    return refusal ? refusal : ask_change(site, move.is_delete() ? place.owner : move.new_path, after);
}

/// Asks for the path itself and, for a folder, for every entry in it.
Refusal Editor::ask_delete(Site const& site, std::string const& path, Value const& tree) const
{
    auto const kind = locate(path, tree).kind;
    auto const ask = [&](std::string const& asked, Value const& value, EntryKind asked_kind)
    { return explained(site.extension->before_delete(site.context, asked, value, schema_type(asked_kind)), asked); };
    auto refusal = ask(path, *RavikSrv::node_path(path, tree).node, kind);
    if (!refusal && kind == EntryKind::Folder)
    {
        for_each_entry(path, tree,
                       [&](std::string const& entry, Value const& value, EntryKind entry_kind)
                       {
                           refusal = ask(entry, value, entry_kind);
                           return !refusal;
                       });
    }
    return refusal;
}

/// Makes the move and tells the extension; returns what that says to it.
Refusal Editor::make_move(Site const& site, Move const& move, Value const& before, Configuration::Turn& turn) const
{
    auto const entry = *RavikSrv::node_path(move.path, before).node;
    auto result = turn.remove(site.domain, move.path);
    if (!move.is_delete() && result == ErrorValue::SUCCESS)
    {
        result = turn.write(site.domain, move.new_path, entry, Tree::WriteMode::ReplaceInPath);
    }
    if (result != ErrorValue::SUCCESS)
    {
        return explained_write(result, move.path);
    }
    auto const kind = schema_type(locate(move.path, before).kind);
    return explained(m_core.writer.tell_moved(site.context, site.domain, move, entry, kind), move.path);
}

/// Writes whatever stands otherwise than expected. Where an entry is missing its map is written as a whole, since the
/// entry has its place among the others.
Refusal Editor::put_right(Site const& site, std::string const& path, Value const& expected,
                          Configuration::Turn& turn) const
{
    auto const found = differences(expected, m_core.configuration.tree(site.domain));
    std::set<std::string> maps;
    for (auto const& difference : found)
    {
        auto const parent = Tree::split_last(difference.path).parent;
        if (difference.expected && !difference.actual && !parent.empty())
        {
            maps.insert(parent);
        }
    }
    auto result = ErrorValue::SUCCESS;
    for (auto const& map : maps)
    {
        auto const written =
            turn.write(site.domain, map, *RavikSrv::node_path(map, expected).node, Tree::WriteMode::Replace);
        result = result == ErrorValue::SUCCESS ? written : result;
    }
    for (auto const& difference : found)
    {
        if (lies_in(difference.path, maps))
        {
            continue;
        }
        auto const written = difference.expected ? turn.write(site.domain, difference.path, *difference.expected,
                                                              Tree::WriteMode::ReplaceInPath)
                                                 : turn.remove(site.domain, difference.path);
        result = result == ErrorValue::SUCCESS ? written : result;
    }
    return result == ErrorValue::SUCCESS ? Refusal()
                                         : Refusal{ErrorValue::UNEXPECTED, "it could not be carried through", path};
}

/// Still in the edit's turn, so that nobody edits while the extension learns its entries anew.
Refusal Editor::restart(Site const& site)
{
    try
    {
        start_anew(m_core, site.domain);
        return {};
    }
    catch (ProjectError const& error)
    {
        return {ErrorValue::EXTENSION, std::string("the extension could not be started anew: ") + error.what(), ""};
    }
}

// Importing -----------------------------------------------------------------------------------------------------------

EditOutcome Editor::import(std::string const& domain, Value const& data, ImportOptions const& options)
{
    auto const here = site(domain);
    Configuration::Turn turn(m_core.configuration, options.dry_run ? "" : domain);
    if (auto refusal = options.dry_run ? check_domain(here, "") : check_turn(turn, here, ""))
    {
        return refused(refusal);
    }
    if (!here.schemas->has_recipes())
    {
        return refused({ErrorValue::INVALID_PARAMETER,
                        "the domain \"" + domain + "\" keeps no recipes, so nothing can be imported into it", ""});
    }
    if (auto refusal = check_revision(options, m_core.configuration.revision()))
    {
        auto outcome = refused(refusal);
        outcome.condition_failed = true;
        outcome.value = Value(m_core.configuration.revision());
        return outcome;
    }
    auto const before = m_core.configuration.tree(domain);
    Import import({.extension = *here.extension, .schemas = *here.schemas, .context = here.context, .tree = before},
                  data, options);
    auto refusals = import.check();
    if (auto foreign = is_line() ? check_line(import, before) : Refusal())
    {
        refusals.insert(refusals.begin(), std::move(foreign));
    }
    if (!refusals.empty() || options.dry_run)
    {
        auto outcome = refused(refusals.empty() ? Refusal() : refusals.front());
        outcome.refusals = std::move(refusals);
        return outcome;
    }
    if (auto refusal = import.write(turn))
    {
        return refused(refusal);
    }
    auto const own = turn.changes().size();
    auto const answer = options.replace ? Refusal() : import.tell();
    EditOutcome outcome;
    outcome.refusal = answer;
    outcome.made = true;
    outcome.cascade = turn.changes().touched(own);
    Deed const deed{.action = Action::edit, .asked = "import", .origin = options.origin};
    auto failure = keep_to_line(turn, outcome.cascade);
    failure = failure ? failure : stored(turn, deed, outcome);
    if (failure)
    {
        return refused(failure, turn);
    }
    outcome.warnings = new_misfits(before, m_core.configuration.tree(domain), import.replaced_types());
    if (options.replace || !import.keeps_order(m_core.configuration.tree(domain)))
    {
        failure = restart(here);
        outcome.refusal = outcome.refusal ? outcome.refusal : failure;
    }
    return outcome;
}

// Checking ------------------------------------------------------------------------------------------------------------

std::vector<Finding> Editor::check(std::string const& domain) const
{
    auto const here = site(domain);
    if (here.extension == nullptr || here.schemas == nullptr || !here.schemas->has_recipes())
    {
        return {};
    }
    auto const tree = m_core.configuration.tree(domain);
    auto findings = find_faults({tree, m_symbols, m_validator});
    std::set<std::string> faulty;
    for (auto const& finding : findings)
    {
        if (!finding.is_note())
        {
            faulty.insert(locate(finding.path, tree).owner);
        }
    }
    auto const lists = lists_of(tree);
    for_each_entry(
        "", tree,
        [&](std::string const& path, Value const& entry, EntryKind kind)
        {
            auto const refusal = faulty.contains(path) ? Refusal() : ask_entry(here, path, entry, kind, lists);
            if (refusal)
            {
                findings.push_back({Finding::Kind::Entry, path, refusal.text});
            }
            return true;
        },
        Folders::Visited);
    return findings;
}

/// Whether an import would take the entry as it stands.
Refusal Editor::ask_entry(Site const& site, std::string const& path, Value entry, EntryKind kind,
                          Value const& lists) const
{
    auto const place = Tree::split_last(path);
    auto refusal = place.parent.empty() ? Refusal() : check_name(place.parent, place.name);
    refusal = refusal ? refusal : check_entry(*site.schemas, kind, path, entry);
    return refusal
               ? refusal
               : explained(site.extension->before_import(site.context, path, entry, lists, schema_type(kind)), path);
}

} // namespace Ravik
