#include "History/History.h"

#include "Configuration/StoreError.h"
#include "Configuration/configuration_keys.h"
#include "History/account.h"
#include "History/timestamp.h"
#include "Json/Json.h"

#include <algorithm>
#include <limits>
#include <unistd.h>
#include <utility>

namespace Ravik
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

/// The longest "asked" that a record keeps, in bytes.
constexpr std::size_t longest_asked = 300;
/// The longest note and text.
constexpr std::size_t longest_text = 10'000;

/// The text cut short, between two characters of UTF-8.
std::string shortened(std::string text, std::size_t longest)
{
    if (text.size() <= longest)
    {
        return text;
    }
    auto const is_within_character = [&](std::size_t position)
    { return (static_cast<unsigned char>(text[position]) & 0xC0U) == 0x80U; };
    while (longest > 0 && is_within_character(longest))
    {
        --longest;
    }
    return text.erase(longest) + "…";
}

std::string body_text(Value const& body)
{
    if (!body.isset())
    {
        return {};
    }
    if (auto const obstacle = Json::obstacle(body); !obstacle.empty())
    {
        throw StoreError("the record can't be stored: " + obstacle);
    }
    return Json::write(body);
}

Value place_value(PlaceChange const& place)
{
    Value value;
    value.insert("domain", Value(std::string_view(place.domain)));
    value.insert("path", Value(std::string_view(place.path)));
    if (place.inside)
    {
        value.insert("inside", true);
    }
    if (place.before)
    {
        value.insert("before", *place.before);
    }
    if (place.after)
    {
        value.insert("after", *place.after);
    }
    return value;
}

Value body_of(StoredRecord const& stored)
{
    if (stored.places.empty())
    {
        return stored.body.empty() ? Value() : Json::parse(stored.body);
    }
    Value places(ValueType::Vector);
    for (auto const& place : read_places(stored.places))
    {
        places << place_value(place);
    }
    Value body = stored.body.empty() ? Value(ValueType::Map) : Json::parse(stored.body);
    body.insert("places", places);
    return body;
}

HistoryRecord without_body(StoredRecord const& stored)
{
    return {.id = stored.id,
            .time = stored.time,
            .who = stored.who,
            .action = stored.action,
            .asked = stored.asked,
            .outcome = stored.outcome,
            .text = stored.text,
            .note = stored.note,
            .server = stored.server,
            .edit = stored.edit};
}

std::string address_body(Origin const& origin)
{
    if (origin.address.empty())
    {
        return {};
    }
    Value body(ValueType::Map);
    body.insert(address_key, Value(std::string_view(origin.address)));
    return Json::write(body);
}

bool is_about(StoredRecord const& stored, std::string const& recipe)
{
    if (!stored.body.empty() && Json::parse(stored.body)["recipe"] == Value(std::string_view(recipe)))
    {
        return true;
    }
    return has_place_at(stored.places, Tree::join(Key::recipe_list, recipe));
}

} // namespace

std::vector<PlaceChange> places_of(HistoryRecord const& record)
{
    auto const told = [](Value const& place, char const* key)
    { return place.find(key) == place.end() ? std::nullopt : std::optional(place[key]); };
    std::vector<PlaceChange> places;
    auto const& values = record.body["places"];
    for (auto place = values.begin_vector(); place != values.end_vector(); ++place)
    {
        places.push_back({.domain = (*place)["domain"].get_string(),
                          .path = (*place)["path"].get_string(),
                          .inside = place->find("inside") != place->end(),
                          .before = told(*place, "before"),
                          .after = told(*place, "after")});
    }
    return places;
}

History::History(Configuration& configuration, HistoryBounds bounds)
    : m_configuration(configuration), m_bounds(bounds), m_account(account_of(geteuid()))
{
}

RecordBounds History::bounds_now() const
{
    return {.oldest = timestamp(std::chrono::system_clock::now() - m_bounds.keep), .bytes = m_bounds.size};
}

std::optional<RecordBounds> History::bounds() const
{
    return m_bounds.size == 0 ? std::nullopt : std::optional(bounds_now());
}

// Writing -------------------------------------------------------------------------------------------------------------

void History::remember(Configuration::Turn& turn, Deed const& deed) const
{
    auto const places = m_bounds.size == 0 ? std::vector<PlaceChange>() : turn.places();
    if (places.empty())
    {
        return;
    }
    auto const& origin = deed.origin;
    StoredRecord record{.time = timestamp(std::chrono::system_clock::now()),
                        .who = origin.who.empty() ? m_account : origin.who,
                        .action = deed.action,
                        .asked = shortened(origin.asked.empty() ? deed.asked : origin.asked, longest_asked),
                        .outcome = deed.outcome,
                        .text = shortened(deed.text, longest_text),
                        .note = shortened(origin.note, longest_text),
                        .body = address_body(origin),
                        .places = places_text(places)};
    if (record.places.size() > m_bounds.size)
    {
        record.places.clear();
        record.text +=
            (record.text.empty() ? "" : "; ") + std::string("what changed is larger than the history may be");
    }
    turn.remember(std::move(record), bounds_now());
}

std::int64_t History::begin(HistoryRecord const& record)
{
    if (m_bounds.size == 0)
    {
        return 0;
    }
    return m_configuration.add_record({.time = timestamp(std::chrono::system_clock::now()),
                                       .who = record.who.empty() ? m_account : record.who,
                                       .action = record.action,
                                       .asked = shortened(record.asked, longest_asked),
                                       .outcome = record.outcome,
                                       .text = shortened(record.text, longest_text),
                                       .note = shortened(record.note, longest_text),
                                       .body = body_text(record.body),
                                       .places = {}},
                                      bounds_now());
}

bool History::complete(std::int64_t id, std::string const& outcome, std::string const& text, Value const& body)
{
    auto record = m_configuration.record(id);
    if (!record)
    {
        return false;
    }
    record->outcome = outcome;
    record->text = shortened(text, longest_text);
    record->body = body_text(body);
    return m_configuration.replace_record(*record);
}

// Reading -------------------------------------------------------------------------------------------------------------

/// Calls `visit(record)` for the records of that time or later with numbers below `before`, the newest first, until it
/// returns false.
template <typename Visit>
void History::visit_newest(std::int64_t before, std::string const& since, Visit const& visit) const
{
    // Each few are read by themselves, so that no commit waits for long.
    constexpr std::size_t at_once = 20;
    for (auto is_last = false; !is_last;)
    {
        auto const records = m_configuration.records_before(before, at_once);
        for (auto const& record : records)
        {
            if (record.time >= since && !visit(record))
            {
                return;
            }
        }
        is_last = records.size() < at_once || records.back().time < since;
        before = records.empty() ? before : records.back().id;
    }
}

std::vector<HistoryRecord> History::list(HistoryFilter const& filter) const
{
    std::vector<HistoryRecord> found;
    auto const& actions = filter.actions;
    auto const is_wanted = [&](StoredRecord const& record)
    {
        return (filter.who.empty() || record.who == filter.who) &&
               (actions.empty() || std::find(actions.begin(), actions.end(), record.action) != actions.end()) &&
               (filter.recipe.empty() || is_about(record, filter.recipe));
    };
    auto const take = [&](StoredRecord const& record)
    {
        if (is_wanted(record))
        {
            found.push_back(without_body(record));
        }
        return found.size() < filter.limit;
    };
    if (filter.limit != 0)
    {
        visit_newest(filter.before > 0 ? filter.before : std::numeric_limits<std::int64_t>::max(), filter.since, take);
    }
    return found;
}

std::vector<HistoryRecord> History::requests(std::string const& since) const
{
    std::vector<HistoryRecord> found;
    auto const take = [&found](StoredRecord const& record)
    {
        // Most records need not be read for it.
        if (record.body.find("\"request\"") != std::string::npos)
        {
            Value const body = body_of(record);
            if (body["request"].isset())
            {
                found.push_back(without_body(record));
                found.back().body = body;
            }
        }
        return true;
    };
    visit_newest(std::numeric_limits<std::int64_t>::max(), since, take);
    return found;
}

std::optional<HistoryRecord> History::find(std::int64_t id) const
{
    auto const stored = m_configuration.record(id);
    return stored ? std::optional(read(*stored)) : std::nullopt;
}

std::optional<HistoryRecord> History::find_edit(std::string const& edit) const
{
    auto const stored = m_configuration.record_of_edit(edit);
    return stored ? std::optional(read(*stored)) : std::nullopt;
}

HistoryRecord History::read(StoredRecord const& stored)
{
    auto record = without_body(stored);
    record.body = body_of(stored);
    return record;
}

} // namespace Ravik
