#pragma once

#include "RavikSrvExtApi.h"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace Ravik
{

/// Rows, and how many there are in each state, as people and programs are told of them: {"rows": […], "counts": {…}}.
class Rows
{
public:
    /// The states that are counted in this order, also where no row is in them. Others come behind them.
    explicit Rows(std::vector<std::string> states);

    /// Adds a row; its "state" is counted.
    void add(RavikSrv::Value const& row);
    /// Counts a row that is not shown.
    void count_alone(std::string const& state) { ++m_counts[state]; }
    std::size_t count(std::string const& state) const;
    /// Of all states.
    std::size_t count() const;
    /// How many are in each state that there are rows in.
    std::map<std::string, std::size_t> const& counts() const noexcept { return m_counts; }

    RavikSrv::Value value() const;

private:
    std::vector<std::string> m_states;
    std::map<std::string, std::size_t> m_counts;
    RavikSrv::Value m_rows{RavikSrv::ValueType::Vector};
};

} // namespace Ravik
