#include "nearest_name.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace Ravik::CommandLine
{

namespace
{

/// Nobody mistypes a name into a text longer than this; the distance of longer ones is not worth its time.
constexpr std::size_t longest_typed = 200;

} // namespace

std::size_t edit_distance(std::string_view left, std::string_view right)
{
    std::vector<std::size_t> before(right.size() + 1);
    std::vector<std::size_t> last(right.size() + 1);
    std::vector<std::size_t> current(right.size() + 1);
    std::iota(last.begin(), last.end(), std::size_t{0});
    for (std::size_t row = 1; row <= left.size(); ++row)
    {
        current[0] = row;
        for (std::size_t column = 1; column <= right.size(); ++column)
        {
            auto const change = last[column - 1] + (left[row - 1] == right[column - 1] ? 0U : 1U);
            current[column] = std::min({last[column] + 1, current[column - 1] + 1, change});
            if (row > 1 && column > 1 && left[row - 1] == right[column - 2] && left[row - 2] == right[column - 1])
            {
                current[column] = std::min(current[column], before[column - 2] + 1);
            }
        }
        before.swap(last);
        last.swap(current);
    }
    return last.back();
}

std::string_view nearest_name(std::string_view typed, std::vector<std::string_view> const& candidates)
{
    typed = typed.substr(0, longest_typed);
    std::string_view nearest;
    auto least = std::numeric_limits<std::size_t>::max();
    for (auto const candidate : candidates)
    {
        auto const distance = edit_distance(typed, candidate.substr(0, longest_typed));
        if (distance < least)
        {
            least = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

std::string_view likely_name(std::string_view typed, std::vector<std::string_view> const& candidates)
{
    auto const nearest = nearest_name(typed, candidates);
    auto const allowed = std::max<std::size_t>(1, std::min(typed.size(), nearest.size()) / 3);
    return typed.size() <= longest_typed && edit_distance(typed, nearest) <= allowed ? nearest : std::string_view();
}

} // namespace Ravik::CommandLine
