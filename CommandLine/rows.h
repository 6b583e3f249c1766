#pragma once

#include "Recipes/ReadReport.h"
#include "Recipes/text_list.h"

#include "RavikSrvExtApi.h"

#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

/// What a person is shown as rows, as the value of an answer: {"rows": […], "counts": {…}}.
namespace Ravik::CommandLine
{

RavikSrv::Value text_value(std::string_view text);

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

/// The values of a recipe as rows, counted in these states.
Rows value_rows(ValueRows const& values, std::initializer_list<ValueState> counted);

} // namespace Ravik::CommandLine
