#include "Project/report_values.h"

namespace Ravik
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

/// What the rows of recipes beside something else have in common.
template <typename Row> Value compared_value(Row const& row, Value const& stored, char const* side, Value const& other)
{
    Value value;
    value.insert("symbol", text_value(row.symbol));
    value.insert("domain", text_value(row.domain));
    value.insert("member", text_value(row.member));
    value.insert("stored", stored);
    value.insert(side, other);
    value.insert("state", text_value(name_of(row.state)));
    value.insert("text", text_value(row.text));
    return value;
}

template <typename States> Rows rows_with(States const& states)
{
    std::vector<std::string> names;
    names.reserve(states.size());
    for (auto const state : states)
    {
        names.emplace_back(name_of(state));
    }
    return Rows(std::move(names));
}

} // namespace

Value text_value(std::string_view text)
{
    return Value(text);
}

Rows rows_of(ValueRows const& values, std::initializer_list<ValueState> counted)
{
    auto rows = rows_with(counted);
    for (auto const& row : values)
    {
        rows.add(compared_value(row, row.stored, "live", row.live));
    }
    return rows;
}

Rows rows_of(std::vector<UpdateRow> const& updates)
{
    auto rows =
        rows_with(std::initializer_list<UpdateState>{UpdateState::Updated, UpdateState::Same, UpdateState::Failed});
    for (auto const& update : updates)
    {
        Value row;
        row.insert("recipe", text_value(update.recipe));
        row.insert("state", text_value(name_of(update.state)));
        row.insert("text", text_value(update.text));
        row.insert("info", text_values(update.info));
        rows.add(row);
    }
    return rows;
}

Rows comparison_of(ActivationRows const& compared, char const* other_side)
{
    auto rows = rows_with(plan_states());
    for (auto const& row : compared)
    {
        if (row.state == RowState::Same)
        {
            rows.count_alone(name_of(row.state));
            continue;
        }
        rows.add(compared_value(row, row.value, other_side, row.before));
    }
    return rows;
}

Value value_of(std::vector<UnreadRecipe> const& unread)
{
    Value list(ValueType::Vector);
    for (auto const& [recipe, text] : unread)
    {
        Value entry;
        entry.insert("recipe", text_value(recipe));
        entry.insert("text", text_value(text));
        list << entry;
    }
    return list;
}

Value value_of(HistoryRecord const& record)
{
    Value value;
    value.insert("id", Value(record.id));
    value.insert("time", text_value(record.time));
    value.insert("who", text_value(record.who));
    value.insert("action", text_value(record.action));
    value.insert("asked", text_value(record.asked));
    value.insert("outcome", text_value(record.outcome));
    value.insert("text", text_value(record.text));
    value.insert("note", text_value(record.note));
    if (!record.server.empty())
    {
        value.insert("server", text_value(record.server));
    }
    if (!record.edit.empty())
    {
        value.insert("edit", text_value(record.edit));
    }
    if (record.body.isset())
    {
        value.insert("body", record.body);
    }
    return value;
}

Value value_of(LibraryStatus const& status)
{
    Value peers(ValueType::Vector);
    for (auto const& peer : status.peers)
    {
        Value value;
        value.insert("name", text_value(peer.name));
        value.insert("address", text_value(peer.address));
        value.insert("since", text_value(peer.since));
        peers << value;
    }
    Value value;
    value.insert("state", text_value(name_of(status.state)));
    value.insert("address", text_value(status.address));
    value.insert("schema", text_value(status.schema));
    value.insert("server", text_value(status.server));
    value.insert("revision", Value(status.position.revision));
    value.insert("edit", text_value(status.position.edit));
    value.insert("newest", Value(status.newest));
    value.insert("since", text_value(status.since));
    value.insert("why", text_value(status.why));
    value.insert("copyFailure", text_value(status.copy_failure));
    value.insert("unknownEdits", text_values(status.unknown_edits));
    value.insert("peers", peers);
    return value;
}

Value value_of(std::vector<Touched> const& places)
{
    Value written(ValueType::Vector);
    Value removed(ValueType::Vector);
    for (auto const& place : places)
    {
        (place.removed ? removed : written) << text_value(place.path);
    }
    Value value;
    value.insert("written", written);
    value.insert("removed", removed);
    return value;
}

Value value_of(std::vector<Finding> const& findings)
{
    Value list(ValueType::Vector);
    for (auto const& finding : findings)
    {
        Value entry;
        entry.insert("path", text_value(finding.path));
        entry.insert("kind", text_value(to_text(finding.kind)));
        entry.insert("text", text_value(finding.text));
        entry.insert("note", finding.is_note());
        list << entry;
    }
    return list;
}

} // namespace Ravik
