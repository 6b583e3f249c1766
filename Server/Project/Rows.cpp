#include "Project/Rows.h"

#include "algorithm_helper.h"

#include <utility>

namespace Ravik
{

using RavikSrv::Value;
using RavikSrv::ValueType;

Rows::Rows(std::vector<std::string> states) : m_states(std::move(states))
{
}

void Rows::add(Value const& row)
{
    count_alone(RavikSrv::Algorithm::to_string(row["state"]));
    m_rows << row;
}

std::size_t Rows::count(std::string const& state) const
{
    auto const found = m_counts.find(state);
    return found == m_counts.end() ? 0 : found->second;
}

std::size_t Rows::count() const
{
    std::size_t all = 0;
    for (auto const& [state, number] : m_counts)
    {
        all += number;
    }
    return all;
}

Value Rows::value() const
{
    Value counts(ValueType::Map);
    for (auto const& state : m_states)
    {
        counts.insert(state.c_str(), static_cast<long>(count(state)));
    }
    for (auto const& [state, number] : m_counts)
    {
        counts.insert_or_update(state.c_str(), static_cast<long>(number));
    }
    Value value;
    value.insert("counts", counts);
    value.insert("rows", m_rows);
    return value;
}

} // namespace Ravik
