#include "Configuration/Configuration.h"

#include "Configuration/Entry.h"
#include "Configuration/configuration_keys.h"
#include "Configuration/followed_rows.h"
#include "api_helper.h"

#include <algorithm>
#include <iterator>
#include <utility>

// What a configuration that stands in a library does beyond others.

namespace Ravik
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;

bool Configuration::is_shared(std::string_view domain) const noexcept
{
    return m_is_shared && domain == recipe_domain;
}

std::optional<LibraryCopy> Configuration::shared() const
{
    RavikSrv::Lock const lock(m_mutex);
    return m_copy;
}

Configuration::StoredCopy Configuration::stored_copy() const
{
    RavikSrv::Lock const lock(m_store_mutex);
    auto const copy = m_is_shared ? m_store->library() : std::nullopt;
    return copy ? StoredCopy{.position = copy->position, .sum = m_store->shared_sum()} : StoredCopy();
}

std::string Configuration::copy_failure() const
{
    RavikSrv::Lock const lock(m_mutex);
    return m_copy_failure;
}

std::optional<LibraryRow> Configuration::stored_row(std::string const& path) const
{
    RavikSrv::Lock const lock(m_store_mutex);
    return m_store->shared_row(path);
}

void Configuration::set_copy_failure(std::string const& copy_failure)
{
    RavikSrv::Lock const lock(m_mutex);
    m_copy_failure = copy_failure;
}

/// Where a turn that edits the domain has to go through it first; null for one that is part of another.
Configuration::Gate* Configuration::gate_for(std::string_view domain) const
{
    RavikSrv::Lock const lock(m_mutex);
    return is_shared(domain) && m_turn_thread != std::this_thread::get_id() ? m_gate : nullptr;
}

// Edits ---------------------------------------------------------------------------------------------------------------

/// Why this turn can't edit the recipe management, as far as the turns that it is part of are concerned.
std::string Configuration::Turn::own_obstacle(std::string_view domain) const
{
    if (!m_configuration.m_is_shared)
    {
        return {};
    }
    if (m_outer != nullptr)
    {
        return m_outer->m_is_forward ? "what comes from the library is taken as it is" : m_outer->m_obstacle;
    }
    if (domain != recipe_domain)
    {
        return "the recipes stand in a library, and what edits another domain has no turn there";
    }
    return m_gate == nullptr ? "the recipes stand in a library, and ravik.json does not tell where; add \"library\" to "
                               "it, or leave the library with 'ravik library leave'"
                             : std::string();
}

bool Configuration::Turn::belongs_into_library(std::vector<Touched> const& touched) const
{
    return std::any_of(touched.begin(), touched.end(),
                       [this](Touched const& place) { return m_configuration.is_shared(place.domain); });
}

ErrorValue Configuration::Turn::commit_shared(std::vector<Touched> const& touched)
{
    auto& configuration = m_configuration;
    Gate::Outcome outcome;
    try
    {
        LibraryDraft draft({.row = [&](std::string const& path) { return configuration.stored_row(path); },
                            .rows_below =
                                [&](std::string const& path)
                            {
                                RavikSrv::Lock const lock(configuration.m_store_mutex);
                                return configuration.m_store->shared_rows_below(path);
                            }},
                           m_gate->head());
        configuration.write_rows(touched, true, draft);
        std::vector<StoredRecord> records;
        std::transform(m_records.begin(), m_records.end(), std::back_inserter(records),
                       [](NewRecord const& added) { return added.record; });
        outcome = m_gate->commit(draft, records);
        if (outcome.position)
        {
            for (std::size_t index = 0; index < records.size(); ++index)
            {
                m_records[index].record = std::move(records[index]);
            }
            save_shared(draft, *outcome.position, touched);
            configuration.count(m_changes, !m_records.empty());
            m_done = true;
            return ErrorValue::SUCCESS;
        }
    }
    catch (std::exception const& error)
    {
        outcome.failure = error.what();
    }
    m_failure = outcome.failure;
    m_unknown_edit = outcome.unknown_edit;
    take_back();
    m_gate->put_back();
    return ErrorValue::STORAGE;
}

/// The library has the edit, so it is made whatever becomes of the copy: that is brought forward later.
void Configuration::Turn::save_shared(LibraryDraft const& draft, LibraryPosition const& position,
                                      std::vector<Touched> const& touched)
{
    auto& configuration = m_configuration;
    std::string failure;
    auto const show = [&]
    {
        publish(position);
        configuration.set_copy_failure(failure);
    };
    try
    {
        configuration.in_transaction(
            [&]
            {
                auto& store = *configuration.m_store;
                configuration.write_rows(touched, false, store);
                store.apply_shared(draft.rows(), false, position);
                for (auto const& [record, bounds] : m_records)
                {
                    store.add_record(record, bounds);
                }
            },
            show);
    }
    catch (std::exception const& error)
    {
        failure = error.what();
        auto const is_shared = [&](Touched const& place) { return configuration.is_shared(place.domain); };
        configuration.m_failed = configuration.m_failed || !std::all_of(touched.begin(), touched.end(), is_shared);
        show();
    }
}

// Following -----------------------------------------------------------------------------------------------------------

namespace
{

/// A tree that takes no more than a part of what came would be a wrong one.
void expect_done(ErrorValue result, std::string const& path)
{
    if (result != ErrorValue::SUCCESS)
    {
        throw LibraryError(LibraryError::Kind::Refused, "the row \"" + path + "\" of the library fits no place here (" +
                                                            RavikSrv::get_error_string(result).name() + ")");
    }
}

} // namespace

Configuration::Following::Told Configuration::Following::take(LibraryNews const& news)
{
    auto& configuration = m_configuration;
    if (news.is_whole)
    {
        return take_whole(tree_of(news.rows));
    }
    if (configuration.stored_copy().position != configuration.shared()->position)
    {
        return take_whole(tree_of(with_stored(news.rows)));
    }
    auto const domain = std::string(recipe_domain);
    auto const steps = steps_of(news.rows, configuration.tree(domain),
                                [&](std::string const& path) { return configuration.stored_row(path); });
    Told told;
    for (auto const& path : steps.removals)
    {
        if (is_own(path))
        {
            expect_done(m_turn.remove(domain, path), path);
            told.has_moved = true;
        }
    }
    std::size_t new_ones = 0;
    for (auto const& [path, value, is_new] : steps.writes)
    {
        if (is_own(path))
        {
            expect_done(m_turn.write(domain, path, value, Tree::WriteMode::ReplaceInPath), path);
            told.paths.push_back(path);
            new_ones += is_new ? 1 : 0;
        }
    }
    auto const is_last = new_ones == 1 && is_last_entry(told.paths.back(), configuration.tree(domain));
    told.has_moved = told.has_moved || (new_ones != 0 && !is_last);
    return told;
}

/// The rows of the copy with these.
std::vector<LibraryRow> Configuration::Following::with_stored(std::vector<LibraryRow> const& rows) const
{
    std::map<std::string, LibraryRow> all;
    {
        RavikSrv::Lock const lock(m_configuration.m_store_mutex);
        for (auto& row : m_configuration.m_store->recipe_rows())
        {
            auto path = row.path;
            all.emplace(std::move(path), std::move(row));
        }
    }
    std::vector<LibraryRow> merged;
    for (auto const& row : rows)
    {
        all.insert_or_assign(row.path, row);
    }
    for (auto& [path, row] : all)
    {
        if (!row.is_removed)
        {
            merged.push_back(std::move(row));
        }
    }
    return merged;
}

Configuration::Following::Told Configuration::Following::take_whole(Value const& tree)
{
    auto const domain = std::string(recipe_domain);
    auto const before = m_configuration.tree(domain);
    Told told;
    for (auto entry = before.begin(); entry != before.end(); ++entry)
    {
        if (tree.find(entry.name()) == tree.end() && is_own(entry.name()))
        {
            expect_done(m_turn.remove(domain, entry.name()), entry.name());
            told.has_moved = true;
        }
    }
    for (auto entry = tree.begin(); entry != tree.end(); ++entry)
    {
        auto const known = before.find(entry.name());
        if (is_own(entry.name()) && (known == before.end() || !(*known == *entry)))
        {
            expect_done(m_turn.write(domain, entry.name(), *entry, Tree::WriteMode::Replace), entry.name());
            told.has_moved = true;
        }
    }
    return told;
}

/// Whether it is not fixed by the project file, which comes before everything here.
bool Configuration::Following::is_own(std::string const& path) const
{
    return !m_configuration.is_fixed(std::string(recipe_domain), path);
}

void Configuration::Following::commit(LibraryNews const& news, std::optional<RecordBounds> const& bounds)
{
    auto& configuration = m_configuration;
    auto& store = *configuration.m_store;
    auto const has_records = bounds && !news.records.empty();
    configuration.in_transaction(
        [&]
        {
            store.apply_shared(news.rows, news.is_whole, news.head.position);
            for (auto const& [revision, record] : news.records)
            {
                if (bounds)
                {
                    store.add_record(record, *bounds);
                }
            }
        },
        [&]
        {
            m_turn.publish(news.head.position);
            configuration.set_copy_failure({});
        });
    configuration.count(m_turn.m_changes, has_records);
    m_turn.m_done = true;
}

} // namespace Ravik
