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

Value text_values(std::vector<std::string> const& texts)
{
    Value list(ValueType::Vector);
    for (auto const& text : texts)
    {
        list << text_value(text);
    }
    return list;
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

} // namespace Ravik::CommandLine
