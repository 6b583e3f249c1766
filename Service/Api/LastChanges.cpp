#include "Api/LastChanges.h"

#include "Api/values.h"

#include "Configuration/Entry.h"
#include "Configuration/place_changes.h"

#include <algorithm>
#include <chrono>
#include <cstddef>

namespace Ravik::Service
{

using RavikSrv::Lock;
using RavikSrv::Value;
using RavikSrv::ValueType;
using std::chrono::steady_clock;

namespace
{

/// How far back it looks at first, and how long for.
constexpr std::size_t most_records = 5000;
constexpr std::chrono::seconds most_time{1};
/// Beyond it everything is forgotten and begun anew: most are of entries that are gone.
constexpr std::size_t most_paths = 200'000;
constexpr std::size_t records_at_once = 50;

Value told(HistoryRecord const& record)
{
    Value value(ValueType::Map);
    value.insert("time", text_value(record.time));
    value.insert("who", text_value(who_text(record.who)));
    value.insert("id", Value(record.id));
    return value;
}

} // namespace

Value LastChanges::of(std::string const& path) const
{
    Lock const lock(m_mutex);
    auto const found = m_changes.find(path);
    return found == m_changes.end() ? Value() : found->second.told;
}

void LastChanges::catch_up()
{
    Lock const lock(m_mutex);
    // Looked at first: what is new while it reads is read again the next time.
    auto const revision = m_project.revisions().history;
    if (revision == m_revision)
    {
        return;
    }
    if (m_changes.size() > most_paths)
    {
        m_changes.clear();
        m_newest = 0;
    }
    auto const end = steady_clock::now() + most_time;
    auto const known = m_newest;
    std::int64_t below = 0;
    for (std::size_t count = 0; count < most_records; count += records_at_once)
    {
        below = take_some(below, known);
        if (below == 0 || steady_clock::now() > end || m_changes.size() > most_paths)
        {
            break;
        }
    }
    m_revision = revision;
}

std::int64_t LastChanges::take_some(std::int64_t below, std::int64_t known)
{
    HistoryFilter filter;
    filter.before = below;
    filter.limit = records_at_once;
    // What has places.
    filter.actions = {Action::edit, Action::update, Action::revert};
    auto const found = m_project.history(filter);
    // Got after the records, so that it has what they made.
    auto const tree = m_project.get(std::string(recipe_domain), "").value;
    for (auto const& record : found.records)
    {
        if (record.id <= known)
        {
            return 0;
        }
        m_newest = std::max(m_newest, record.id);
        auto const whole = m_project.history_record(record.id);
        if (whole.succeeded() && !whole.records.empty())
        {
            take(whole.records.front(), tree);
        }
    }
    return found.records.size() < records_at_once ? 0 : found.records.back().id;
}

void LastChanges::take(HistoryRecord const& record, Value const& tree)
{
    Value const change = told(record);
    for (auto const& place : places_of(record))
    {
        auto const [kind, owner] = locate(place.path, tree);
        auto const is_entry = kind == EntryKind::Recipe || kind == EntryKind::RecipeType || kind == EntryKind::Inside;
        if (place.domain != recipe_domain || !is_entry)
        {
            continue;
        }
        auto const known = m_changes.try_emplace(owner, Change{.id = 0, .told = {}}).first;
        if (known->second.id < record.id)
        {
            known->second = {.id = record.id, .told = change};
        }
    }
}

} // namespace Ravik::Service
