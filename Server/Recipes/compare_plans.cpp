#include "Recipes/compare_plans.h"

#include <string_view>
#include <unordered_map>
#include <utility>

namespace Ravik
{

using RavikSrv::Value;

ActivationReport compare_plans(ActivationReport left, ActivationReport const& right, std::string const& recipe,
                               std::string const& other)
{
    std::unordered_map<std::string_view, ActivationRow const*> others;
    for (auto const& row : right.rows)
    {
        others.emplace(row.symbol, &row);
    }
    for (auto& row : left.rows)
    {
        auto const found = others.find(row.symbol);
        auto const is_in_both = found != others.end();
        row.before = is_in_both ? found->second->value : Value();
        row.state = is_in_both && row.before == row.value ? RowState::Same : RowState::Differs;
        row.text = is_in_both ? std::string() : "only in " + recipe;
        others.erase(row.symbol);
    }
    for (auto row : right.rows)
    {
        if (others.contains(row.symbol))
        {
            row.before = std::exchange(row.value, Value());
            row.state = RowState::Differs;
            row.text = "only in " + other;
            left.rows.push_back(std::move(row));
        }
    }
    return left;
}

} // namespace Ravik
