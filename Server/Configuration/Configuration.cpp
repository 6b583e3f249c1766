#include "Configuration/Configuration.h"

#include "Configuration/Entry.h"
#include "Configuration/Pin.h"
#include "Configuration/configuration_keys.h"
#include "api_helper.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Ravik
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

Configuration::Configuration(std::unique_ptr<Store> store)
    : m_store(std::move(store)), m_is_shared(m_store != nullptr && m_store->library())
{
    if (m_is_shared)
    {
        m_copy = m_store->library();
    }
}

void Configuration::add_domain(std::string const& domain, Value const& fixed)
{
    auto loaded = m_store != nullptr ? m_store->load(domain) : Value(ValueType::Map);
    Domain added{.tree = WorkingTree(std::move(loaded)), .finished = {}, .fixed = {}};
    for (auto entry = fixed.begin(); entry != fixed.end(); ++entry)
    {
        added.tree.get().insert_or_update(entry.name(), *entry);
        added.fixed.insert(entry.name());
    }
    added.finished = added.tree.get();
    RavikSrv::Lock const lock(m_mutex);
    m_domains.insert_or_assign(domain, std::move(added));
}

bool Configuration::is_fixed(std::string const& domain, std::string const& path) const
{
    RavikSrv::Lock const lock(m_mutex);
    auto const found = m_domains.find(domain);
    return found != m_domains.end() && found->second.fixed.contains(RavikSrv::name_from_path(path.c_str()));
}

bool Configuration::has_domain(std::string const& domain) const
{
    RavikSrv::Lock const lock(m_mutex);
    return m_domains.contains(domain);
}

Value Configuration::tree(std::string const& domain) const
{
    RavikSrv::Lock const lock(m_mutex);
    auto const found = m_domains.find(domain);
    if (found == m_domains.end())
    {
        return {};
    }
    if (m_turn_thread == std::this_thread::get_id())
    {
        return found->second.tree.get();
    }
    auto const* const pin = domain == recipe_domain ? Pin::of(*this) : nullptr;
    return pin == nullptr ? found->second.finished : pin->tree();
}

Configuration::Finished Configuration::finished() const
{
    RavikSrv::Lock const lock(m_mutex);
    auto const found = m_domains.find(std::string(recipe_domain));
    return {.tree = found == m_domains.end() ? Value() : found->second.finished,
            .position = m_copy ? m_copy->position : LibraryPosition()};
}

/// As the last finished turn left it and as the one in progress has.
TreePair Configuration::trees(std::string const& domain) const
{
    RavikSrv::Lock const lock(m_mutex);
    auto const found = m_domains.find(domain);
    return found == m_domains.end() ? TreePair()
                                    : TreePair{.before = found->second.finished, .after = found->second.tree.get()};
}

void Configuration::backup(std::filesystem::path const& target)
{
    Turn const turn(*this);
    if (m_store == nullptr)
    {
        throw StoreError("there is no store to copy");
    }
    RavikSrv::Lock const lock(m_store_mutex);
    m_store->backup(target);
}

// Records -------------------------------------------------------------------------------------------------------------

/// Calls `work` in a transaction, and `show` when it is stored and before anybody can read it from the store.
void Configuration::in_transaction(std::function<void()> const& work, std::function<void()> const& show) const
{
    RavikSrv::Lock const lock(m_store_mutex);
    m_store->begin();
    try
    {
        work();
        m_store->commit();
    }
    catch (...)
    {
        m_store->rollback();
        throw;
    }
    if (show)
    {
        show();
    }
}

std::int64_t Configuration::add_record(StoredRecord record, RecordBounds const& bounds)
{
    std::int64_t id = 0;
    if (m_store != nullptr)
    {
        in_transaction([&] { id = m_store->add_record(std::move(record), bounds); });
        ++m_record_revision;
    }
    return id;
}

bool Configuration::replace_record(StoredRecord const& record)
{
    auto is_there = false;
    if (m_store != nullptr)
    {
        in_transaction([&] { is_there = m_store->replace_record(record); });
        ++m_record_revision;
    }
    return is_there;
}

std::optional<StoredRecord> Configuration::record(std::int64_t id) const
{
    RavikSrv::Lock const lock(m_store_mutex);
    return m_store == nullptr ? std::nullopt : m_store->record(id);
}

std::optional<StoredRecord> Configuration::record_of_edit(std::string const& edit) const
{
    RavikSrv::Lock const lock(m_store_mutex);
    return m_store == nullptr ? std::nullopt : m_store->record_of_edit(edit);
}

std::vector<StoredRecord> Configuration::records_before(std::int64_t before, std::size_t most) const
{
    RavikSrv::Lock const lock(m_store_mutex);
    return m_store == nullptr ? std::vector<StoredRecord>() : m_store->records_before(before, most);
}

// Saving --------------------------------------------------------------------------------------------------------------

void Configuration::save(std::vector<Touched> const& touched, std::vector<NewRecord> const& records,
                         std::function<void()> const& show)
{
    if (m_store == nullptr || (touched.empty() && records.empty()))
    {
        show();
        return;
    }
    in_transaction(
        [&]
        {
            write_rows(touched, false, *m_store);
            for (auto const& [record, bounds] : records)
            {
                m_store->add_record(record, bounds);
            }
        },
        show);
}

/// Writes the rows of what was touched: those that belong into a library, or all others.
void Configuration::write_rows(std::vector<Touched> const& touched, bool of_library, RowSink& rows) const
{
    Touched saved;
    for (auto const& place : touched)
    {
        if (is_shared(place.domain) == of_library)
        {
            save_place(place, tree(place.domain), saved, rows);
        }
    }
}

/// Brings the row, or the rows, that the place lies in into line with the tree as it stands at the end of the edit.
/// `saved` is the row that was written last; what an edit touches of one entry it mostly touches in a row.
void Configuration::save_place(Touched const& place, Value const& tree, Touched& saved, RowSink& rows) const
{
    auto const found = locate(place.path, tree);
    if (is_fixed(place.domain, found.owner))
    {
        return;
    }
    auto const* const node = RavikSrv::node_path(found.owner, tree).node;
    auto const gone = place.removed && found.owner == place.path;
    if (gone)
    {
        // What is written again goes to the end of its map, and so does its row: its own turn comes.
        rows.erase(place.domain, place.path);
        saved = {};
    }
    auto const unmade = Tree::split_last(found.owner);
    if (gone && locate(unmade.parent, tree).kind == EntryKind::Folder && makes_entry(unmade.parent, unmade.name))
    {
        // An entry that lost what made it one is a folder now.
        save_folder(place.domain, unmade.parent, tree, rows);
    }
    Touched owner{.domain = place.domain, .path = found.owner};
    if (gone || node == nullptr || saved == owner)
    {
        return;
    }
    saved = std::move(owner);
    if (found.kind == EntryKind::Folder)
    {
        save_folder(place.domain, found.owner, tree, rows);
        return;
    }
    rows.erase_below(place.domain, found.owner);
    rows.put(place.domain, found.owner, node);
}

void Configuration::save_folder(std::string const& domain, std::string const& path, Value const& tree, RowSink& rows)
{
    rows.erase_below(domain, path);
    for_each_entry(
        path, tree,
        [&](std::string const& entry_path, Value const& entry, EntryKind kind)
        {
            rows.put(domain, entry_path, kind == EntryKind::Folder ? nullptr : &entry);
            return true;
        },
        Folders::Visited);
}

// Turns ---------------------------------------------------------------------------------------------------------------

Configuration::Turn::Turn(Configuration& configuration, std::string_view domain) : m_configuration(configuration)
{
    // Before the turn here, which others may want for what no library has to do with.
    m_gate = configuration.gate_for(domain);
    m_obstacle = m_gate == nullptr ? std::string() : m_gate->enter();
    auto const is_entered = m_gate != nullptr && m_obstacle.empty();
    m_gate = is_entered ? m_gate : nullptr;
    configuration.m_turn_mutex.lock();
    m_obstacle = is_entered ? m_gate->catch_up() : m_obstacle;
    enter();
    m_obstacle = m_obstacle.empty() ? own_obstacle(domain) : m_obstacle;
}

Configuration::Turn::Turn(Configuration& configuration, Forward /*forward*/)
    : m_configuration(configuration), m_is_forward(true)
{
    configuration.m_turn_mutex.lock();
    enter();
}

void Configuration::Turn::enter()
{
    m_outer = std::exchange(m_configuration.m_innermost, this);
    set_thread(std::this_thread::get_id());
}

Configuration::Turn::~Turn()
{
    if (!m_done)
    {
        take_back();
    }
    m_configuration.m_innermost = m_outer;
    if (m_outer == nullptr)
    {
        set_thread({});
    }
    m_configuration.m_turn_mutex.unlock();
    if (m_gate != nullptr)
    {
        m_gate->leave();
    }
}

ErrorValue Configuration::Turn::write(std::string const& domain, std::string const& path, Value const& value,
                                      Tree::WriteMode mode)
{
    return edit(domain, [&](WorkingTree& tree, std::vector<Tree::Change>& changes)
                { return Tree::write(tree.get(), path, value, mode, changes); });
}

ErrorValue Configuration::Turn::remove(std::string const& domain, std::string const& path)
{
    return edit(domain,
                [&](WorkingTree& tree, std::vector<Tree::Change>& changes) { return tree.remove(path, changes); });
}

template <typename Edit> ErrorValue Configuration::Turn::edit(std::string const& domain, Edit change_tree)
{
    std::vector<Tree::Change> changes;
    RavikSrv::Lock const lock(m_configuration.m_mutex);
    // What comes from a library is true whatever becomes of edits here.
    auto const is_refusing = m_configuration.m_failed && !m_is_forward;
    if (is_refusing || (!m_obstacle.empty() && m_configuration.is_shared(domain)))
    {
        return ErrorValue::STORAGE;
    }
    auto const found = m_configuration.m_domains.find(domain);
    if (found == m_configuration.m_domains.end())
    {
        return ErrorValue::INVALID_DOMAIN;
    }
    auto const result = change_tree(found->second.tree, changes);
    m_changes.add(domain, std::move(changes));
    return result;
}

std::vector<PlaceChange> Configuration::Turn::places() const
{
    auto touched = m_changes.touched();
    std::erase_if(touched, [this](Touched const& place) { return m_configuration.is_fixed(place.domain, place.path); });
    return place_changes(touched, [this](std::string const& domain) { return m_configuration.trees(domain); });
}

void Configuration::Turn::remember(StoredRecord record, RecordBounds bounds)
{
    m_records.push_back({.record = std::move(record), .bounds = std::move(bounds)});
}

ErrorValue Configuration::Turn::commit()
{
    if (m_outer != nullptr)
    {
        m_done = true;
        m_outer->m_changes.append(std::move(m_changes));
        std::move(m_records.begin(), m_records.end(), std::back_inserter(m_outer->m_records));
        return ErrorValue::SUCCESS;
    }
    auto const touched = m_changes.touched();
    if (m_gate != nullptr && belongs_into_library(touched))
    {
        return commit_shared(touched);
    }
    try
    {
        // Whoever has read a record finds what it tells of in the tree.
        m_configuration.save(touched, m_records, [this] { publish(); });
        m_configuration.count(m_changes, !m_records.empty());
        m_done = true;
        return ErrorValue::SUCCESS;
    }
    catch (std::exception const& error)
    {
        m_failure = error.what();
        m_configuration.m_failed = true;
        return ErrorValue::STORAGE_STORE;
    }
}

void Configuration::Turn::set_thread(std::thread::id thread) noexcept
{
    RavikSrv::Lock const lock(m_configuration.m_mutex);
    m_configuration.m_turn_thread = thread;
}

/// Counts what a turn did, once everybody sees it.
void Configuration::count(Changes const& changes, bool has_records) noexcept
{
    auto const is_counted = [](Changes::Entry const& entry) { return entry.domain == recipe_domain; };
    m_revision += std::any_of(changes.begin(), changes.end(), is_counted) ? 1 : 0;
    m_record_revision += has_records ? 1 : 0;
}

/// Shows everybody what the turn did and, at once with it, how far the copy of a library has come by it.
void Configuration::Turn::publish(std::optional<LibraryPosition> position) noexcept
{
    RavikSrv::Lock const lock(m_configuration.m_mutex);
    if (position)
    {
        m_configuration.m_copy->position = std::move(*position);
    }
    try
    {
        m_changes.apply([this](std::string const& domain) RAVIK_REQUIRES(m_configuration.m_mutex) -> Value&
                        { return m_configuration.m_domains.at(domain).finished; });
    }
    catch (...)
    {
        // It is stored already. Without memory for a tree of their own readers share the other one.
        for (auto& domain : m_configuration.m_domains)
        {
            domain.second.finished = domain.second.tree.get();
        }
    }
}

void Configuration::Turn::take_back() noexcept
{
    RavikSrv::Lock const lock(m_configuration.m_mutex);
    m_changes.take_back([this](std::string const& domain) RAVIK_REQUIRES(m_configuration.m_mutex) -> Value&
                        { return m_configuration.m_domains.at(domain).tree.get(); });
    m_changes.clear();
    m_records.clear();
}

} // namespace Ravik
