#include "Configuration/Editor.h"

#include "Configuration/Entry.h"
#include "Configuration/edit_rules.h"
#include "Configuration/entry_checks.h"
#include "Configuration/import.h"
#include "Configuration/rehearsal.h"
#include "Configuration/tree.h"
#include "Project/ProjectError.h"
#include "api_helper.h"

namespace Ravik
{

using RavikSrv::Context;
using RavikSrv::ErrorValue;
using RavikSrv::ResultPair;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

Refusal stored(Configuration::Turn& turn)
{
    auto const result = turn.commit();
    return {result, result == ErrorValue::SUCCESS ? "" : "it could not be stored: " + turn.failure(), ""};
}

std::vector<Configuration::Touched> since(Configuration::Turn const& turn, std::size_t own)
{
    return {turn.touched().begin() + static_cast<std::ptrdiff_t>(own), turn.touched().end()};
}

EditOutcome refused(Refusal const& refusal)
{
    return {.refusal = refusal, .refusals = {}, .made = false, .cascade = {}};
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

Refusal Editor::check_place(Site const& site, std::string const& path) const
{
    if (site.extension == nullptr)
    {
        return {ErrorValue::INVALID_DOMAIN, "no extension serves the domain \"" + site.domain + "\"", path};
    }
    if (auto const refusal = check_path(path, site.schemas->has_recipes()))
    {
        return refusal;
    }
    return m_core.configuration.is_fixed(site.domain, path)
               ? Refusal{ErrorValue::INVALID_PATH, "this stands in ravik.json; change it there", path}
               : Refusal();
}

// Setting -------------------------------------------------------------------------------------------------------------

EditOutcome Editor::set(std::string const& domain, std::string const& path, Value const& value)
{
    auto const here = site(domain);
    if (auto const refusal = check_place(here, path))
    {
        return refused(refusal);
    }
    Configuration::Turn turn(m_core.configuration);
    auto const before = m_core.configuration.tree(domain);
    auto result = ErrorValue::SUCCESS;
    for (auto const& folder : Tree::missing_parents(before, path))
    {
        result = result == ErrorValue::SUCCESS
                     ? turn.write(domain, folder, Value(ValueType::Map), Tree::WriteMode::Merge)
                     : result;
    }
    result = result == ErrorValue::SUCCESS ? turn.write(domain, path, value, Tree::WriteMode::Replace) : result;
    if (result != ErrorValue::SUCCESS)
    {
        return refused({result, "the path leads through something that holds no entries", path});
    }
    auto const after = m_core.configuration.tree(domain);
    auto refusal = check_set(path, before, after);
    refusal = refusal ? refusal : check_entries(*here.schemas, locate(path, after).owner, after);
    refusal = refusal ? refusal : ask_change(here, path, after);
    if (refusal)
    {
        return refused(refusal);
    }
    auto const own = turn.touched().size();
    m_core.writer.tell_changed(here.context, domain, path);
    auto cascade = since(turn, own);
    refusal = stored(turn);
    return {.refusal = refusal, .refusals = {}, .made = !refusal, .cascade = std::move(cascade)};
}

/// Asks for the path itself, for the entry that it lies in and, for a folder, for every entry in it.
Refusal Editor::ask_change(Site const& site, std::string const& path, Value const& tree) const
{
    auto const ask = [&](std::string const& asked, Value value, EntryKind kind)
    { return explained(site.extension->before_change(site.context, asked, value, schema_type(kind)), asked); };
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
    if (auto const refusal = check_place(here, new_path))
    {
        return refused(refusal);
    }
    return move(here, {.path = path, .new_path = new_path}, options);
}

EditOutcome Editor::move(Site const& site, Move const& move, MoveOptions const& options)
{
    if (auto const refusal = check_place(site, move.path))
    {
        return refused(refusal);
    }
    Configuration::Turn turn(m_core.configuration);
    auto const before = m_core.configuration.tree(site.domain);
    if (auto const refusal = check_move(move, before))
    {
        return refused(refusal);
    }
    auto const after = with_move(before, move);
    if (auto const refusal = ask_move(site, move, before, after))
    {
        return refused(refusal);
    }
    auto rehearsal = site.schemas->has_recipes() ? rehearse(m_core, m_symbols, m_validator, *site.extension, move,
                                                            schema_type(locate(move.path, before).kind))
                                                 : Rehearsal();
    if (options.dry_run || (rehearsal.refusal && !options.force))
    {
        return {.refusal = rehearsal.refusal, .refusals = {}, .made = false, .cascade = std::move(rehearsal.cascade)};
    }
    auto const restart = site.schemas->has_recipes() && (rehearsal.refusal || loses_paths(before, move));
    return make_move(site, move, restart, turn);
}

Refusal Editor::ask_move(Site const& site, Move const& move, Value const& before, Value const& after) const
{
    auto const place = locate(move.path, before);
    auto const type = schema_type(place.kind);
    auto const answer =
        move.is_delete()
            ? site.extension->before_delete(site.context, move.path, *RavikSrv::node_path(move.path, before).node, type)
            : site.extension->before_rename(site.context, move.path, move.new_path, type);
    auto refusal = explained(answer, move.path);
    if (refusal)
    {
        return refusal;
    }
    if (place.kind == EntryKind::Inside)
    {
        auto const& owner = *RavikSrv::node_path(place.owner, after).node;
        refusal = check_entry(*site.schemas, kind_of(place.owner, *RavikSrv::node_path(place.owner, before).node),
                              place.owner, owner);
        return refusal ? refusal : ask_change(site, move.is_delete() ? place.owner : move.new_path, after);
    }
    return move.is_delete() ? Refusal() : ask_change(site, move.new_path, after);
}

EditOutcome Editor::make_move(Site const& site, Move const& move, bool restart_after, Configuration::Turn& turn)
{
    auto const before = m_core.configuration.tree(site.domain);
    auto const type = schema_type(locate(move.path, before).kind);
    auto const entry = *RavikSrv::node_path(move.path, before).node;
    turn.remove(site.domain, move.path);
    if (!move.is_delete())
    {
        for (auto const& folder : Tree::missing_parents(before, move.new_path))
        {
            turn.write(site.domain, folder, Value(ValueType::Map), Tree::WriteMode::Merge);
        }
        turn.write(site.domain, move.new_path, entry, Tree::WriteMode::Replace);
    }
    auto const own = turn.touched().size();
    auto const answer = m_core.writer.tell_moved(site.context, site.domain, move, before, type);
    EditOutcome outcome{
        .refusal = explained(answer, move.path), .refusals = {}, .made = true, .cascade = since(turn, own)};
    if (auto const failure = stored(turn))
    {
        return refused(failure);
    }
    if (restart_after)
    {
        restart(site);
    }
    return outcome;
}

/// Still in the edit's turn, so that nobody edits while the extension learns its entries anew.
void Editor::restart(Site const& site)
{
    site.extension->start(m_core.host);
    m_core.writer.tell_entries(site.context, site.domain, "");
}

// Importing -----------------------------------------------------------------------------------------------------------

EditOutcome Editor::import(std::string const& domain, Value const& data, ImportOptions const& options)
{
    auto const here = site(domain);
    if (here.extension == nullptr)
    {
        return refused(check_place(here, ""));
    }
    Configuration::Turn turn(m_core.configuration);
    Import import({.extension = *here.extension,
                   .schemas = *here.schemas,
                   .context = here.context,
                   .tree = m_core.configuration.tree(domain)},
                  data, options);
    auto refusals = import.check();
    if (!refusals.empty() || options.dry_run)
    {
        auto const first = refusals.empty() ? Refusal() : refusals.front();
        return {.refusal = first, .refusals = std::move(refusals), .made = false, .cascade = {}};
    }
    auto refusal = import.write(turn);
    auto const own = turn.touched().size();
    if (!refusal && !options.replace)
    {
        import.tell();
    }
    auto cascade = since(turn, own);
    refusal = refusal ? refusal : stored(turn);
    if (!refusal && options.replace)
    {
        restart(here);
    }
    return {.refusal = refusal, .refusals = {}, .made = !refusal, .cascade = std::move(cascade)};
}

} // namespace Ravik
