#include "nearest_name.h"

#include "api_helper.h"

#include <boost/algorithm/string/predicate.hpp>

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <numeric>

namespace Ravik::CommandLine
{

namespace
{

/// Nobody mistypes a name into a text longer than this; the distance of longer ones is not worth its time.
constexpr std::size_t longest_typed = 200;

/// Whoever meant none of so many has to look at them all.
constexpr std::size_t most_named = 3;

std::string_view last_component(std::string_view path)
{
    auto const separator = path.rfind(RavikSrv::path_separator());
    return separator == std::string_view::npos ? path : path.substr(separator + RavikSrv::path_separator().size());
}

/// A distance that is too large to be a slip.
constexpr auto far = std::numeric_limits<std::size_t>::max();

std::size_t near_distance(std::string_view typed, std::string_view candidate)
{
    auto const allowed = std::max<std::size_t>(1, std::min(typed.size(), candidate.size()) / 3);
    auto const difference = std::max(typed.size(), candidate.size()) - std::min(typed.size(), candidate.size());
    auto const distance = difference > allowed ? far : edit_distance(typed, candidate);
    return distance <= allowed ? distance : far;
}

std::vector<std::string> nearest_by_letters(std::string_view typed, std::vector<std::string> const& candidates)
{
    std::vector<std::string> nearest;
    if (typed.size() > longest_typed)
    {
        return nearest;
    }
    auto const is_path = last_component(typed) != typed;
    auto least = far;
    for (auto const& candidate : candidates)
    {
        auto const distance =
            std::min(near_distance(typed, candidate), is_path ? far : near_distance(typed, last_component(candidate)));
        if (distance < least)
        {
            least = distance;
            nearest.clear();
        }
        if (distance == least && distance != far)
        {
            nearest.push_back(candidate);
        }
    }
    return nearest;
}

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

std::vector<std::string> likely_names(std::string_view typed, std::vector<std::string> const& candidates)
{
    auto const end = RavikSrv::path_separator().append(last_component(typed));
    auto const folder = std::string(typed) + RavikSrv::path_separator();
    auto const tail = RavikSrv::path_separator().append(typed);
    for (auto const& is_meant :
         std::initializer_list<std::function<bool(std::string const&)>>{
             [&](std::string const& name) { return boost::ends_with(name, tail); },
             [&](std::string const& name) { return boost::starts_with(name, folder); },
             [&](std::string const& name) { return boost::iends_with(RavikSrv::path_separator() + name, end); }})
    {
        std::vector<std::string> meant;
        std::copy_if(candidates.begin(), candidates.end(), std::back_inserter(meant), is_meant);
        if (!meant.empty())
        {
            return meant;
        }
    }
    return nearest_by_letters(typed, candidates);
}

std::string did_you_mean(std::vector<std::string> const& names, std::string const& kind)
{
    auto const shown = std::min(names.size(), most_named);
    std::string text;
    for (std::size_t index = 0; index < shown; ++index)
    {
        auto const* const joint = index == 0 ? "" : index + 1 == shown ? " or " : ", ";
        text += joint + ("'" + names[index] + "'");
    }
    return text.empty() ? text : "did you mean " + kind + text + '?';
}

} // namespace Ravik::CommandLine
