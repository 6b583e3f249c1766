#include "rows.h"

#include "algorithm_helper.h"

#include <utility>

namespace Ravik::CommandLine
{

using RavikSrv::Value;
using RavikSrv::ValueType;

Value text_value(std::string_view text)
{
    return Value(text);
}

Rows::Rows(std::vector<std::string> states) : m_states(std::move(states))
{
}

void Rows::add(Value const& row)
{
    ++m_counts[RavikSrv::Algorithm::to_string(row["state"])];
    m_rows << row;
}

std::size_t Rows::count(std::string const& state) const
{
    auto const found = m_counts.find(state);
    return found == m_counts.end() ? 0 : found->second;
}

Value Rows::value() const
{
    Value counts(ValueType::Map);
    for (auto const& state : m_states)
    {
        counts.insert(state.c_str(), static_cast<long>(count(state)));
    }
    Value value;
    value.insert("counts", counts);
    value.insert("rows", m_rows);
    return value;
}

Rows value_rows(ValueRows const& values, std::initializer_list<ValueState> counted)
{
    std::vector<std::string> states;
    for (auto const state : counted)
    {
        states.emplace_back(name_of(state));
    }
    Rows rows(std::move(states));
    for (auto const& each : values)
    {
        Value row;
        row.insert("symbol", text_value(each.symbol));
        row.insert("domain", text_value(each.domain));
        row.insert("member", text_value(each.member));
        row.insert("stored", each.stored);
        row.insert("live", each.live);
        row.insert("state", text_value(name_of(each.state)));
        row.insert("text", text_value(each.text));
        rows.add(row);
    }
    return rows;
}

} // namespace Ravik::CommandLine
