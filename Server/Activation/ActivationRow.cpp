#include "Activation/ActivationRow.h"

#include "algorithm_helper.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace Ravik
{

using RavikSrv::Value;
using RavikSrv::ValueType;
using RavikSrv::Algorithm::to_string;

namespace
{

constexpr std::array<std::pair<RowState, char const*>, 9> state_names{{
    {RowState::Planned, "planned"},
    {RowState::Same, "same"},
    {RowState::Differs, "differs"},
    {RowState::Unread, "unread"},
    {RowState::Written, "written"},
    {RowState::Verified, "verified"},
    {RowState::Failed, "failed"},
    {RowState::NotTried, "not tried"},
    {RowState::NotWritten, "not written"},
}};

/// So many symbols are named in a message; the rows have all.
constexpr std::size_t most_named = 10;

Value text_value(std::string_view text)
{
    return Value(text);
}

Value value_of(ActivationRow const& row)
{
    Value value;
    value.insert("symbol", text_value(row.symbol));
    value.insert("domain", text_value(row.domain));
    value.insert("member", text_value(row.member));
    value.insert("before", row.before);
    value.insert("value", row.value);
    value.insert("after", row.after);
    value.insert("state", text_value(name_of(row.state)));
    value.insert("text", text_value(row.text));
    return value;
}

} // namespace

char const* name_of(RowState state)
{
    auto const* const found = std::find_if(state_names.begin(), state_names.end(),
                                           [state](auto const& entry) { return entry.first == state; });
    return found->second;
}

RowState row_state_of(std::string const& name)
{
    auto const* const found = std::find_if(state_names.begin(), state_names.end(),
                                           [&name](auto const& entry) { return entry.second == name; });
    return found == state_names.end() ? RowState::Planned : found->first;
}

std::size_t count(ActivationRows const& rows, RowState state)
{
    return static_cast<std::size_t>(
        std::count_if(rows.begin(), rows.end(), [state](ActivationRow const& row) { return row.state == state; }));
}

Value value_of(ActivationRows const& rows, std::vector<RowState> const& counted)
{
    Value counts(ValueType::Map);
    for (auto const state : counted)
    {
        counts.insert(name_of(state), static_cast<long>(count(rows, state)));
    }
    for (auto const& [state, name] : state_names)
    {
        auto const number = count(rows, state);
        if (number != 0 && std::find(counted.begin(), counted.end(), state) == counted.end())
        {
            counts.insert(name, static_cast<long>(number));
        }
    }
    Value list(ValueType::Vector);
    for (auto const& row : rows)
    {
        list << value_of(row);
    }
    Value value;
    value.insert("counts", counts);
    value.insert("rows", list);
    return value;
}

ActivationRows rows_of(Value const& value)
{
    ActivationRows rows;
    Value const& list = value["rows"];
    for (auto entry = list.begin_vector(); entry != list.end_vector(); ++entry)
    {
        Value const& row = *entry;
        rows.push_back({.symbol = to_string(row["symbol"]),
                        .domain = to_string(row["domain"]),
                        .member = to_string(row["member"]),
                        .before = row["before"],
                        .value = row["value"],
                        .after = row["after"],
                        .state = row_state_of(to_string(row["state"])),
                        .text = to_string(row["text"])});
    }
    return rows;
}

std::vector<RowState> const& plan_states()
{
    static std::vector<RowState> const states{RowState::Differs, RowState::Same, RowState::Unread};
    return states;
}

std::vector<RowState> const& activation_states()
{
    static std::vector<RowState> const states{RowState::Written, RowState::Verified, RowState::Differs,
                                              RowState::Failed,  RowState::NotTried, RowState::NotWritten};
    return states;
}

std::vector<RowState> const& revert_states()
{
    static std::vector<RowState> const states{RowState::Same,      RowState::Written, RowState::Verified,
                                              RowState::Differs,   RowState::Failed,  RowState::NotTried,
                                              RowState::NotWritten};
    return states;
}

std::string named(ActivationRows const& rows, bool (*is_meant)(ActivationRow const&))
{
    std::string text;
    std::size_t named = 0;
    std::size_t left = 0;
    for (auto const& row : rows)
    {
        if (!is_meant(row))
        {
            continue;
        }
        if (named == most_named)
        {
            ++left;
            continue;
        }
        text += (named++ == 0 ? "" : ", ") + row.symbol + " (" + name_of(row.state) +
                (row.text.empty() ? "" : ": " + row.text) + ')';
    }
    return left == 0 ? text : text + " and " + std::to_string(left) + " more";
}

} // namespace Ravik
