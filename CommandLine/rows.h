#pragma once

#include "RavikSrvExtApi.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

/// What a person is shown as rows, as the value of an answer: {"rows": […], "counts": {…}}.
namespace Ravik::CommandLine
{

RavikSrv::Value text_value(std::string_view text);
RavikSrv::Value text_values(std::vector<std::string> const& texts);

/// Collects rows and how many there are in each state.
class Rows
{
public:
    /// The states as they are counted, in this order, also those that no row is in.
    explicit Rows(std::vector<std::string> states);

    /// Adds a row; its "state" is counted.
    void add(RavikSrv::Value const& row);
    std::size_t count(std::string const& state) const;

    RavikSrv::Value value() const;

private:
    std::vector<std::string> m_states;
    std::map<std::string, std::size_t> m_counts;
    RavikSrv::Value m_rows{RavikSrv::ValueType::Vector};
};

} // namespace Ravik::CommandLine
