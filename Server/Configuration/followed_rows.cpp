#include "Configuration/followed_rows.h"

#include "Configuration/Entry.h"
#include "Configuration/tree.h"
#include "algorithm_helper.h"
#include "api_helper.h"
#include "Json/Json.h"

#include <algorithm>
#include <cstddef>

namespace Ravik
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

Value value_of(LibraryRow const& row)
{
    try
    {
        return row.text ? Json::parse(*row.text) : Value(ValueType::Map);
    }
    catch (std::exception const& error)
    {
        throw LibraryError(LibraryError::Kind::Refused,
                           "the row \"" + row.path + "\" of the library holds no value: " + error.what());
    }
}

/// How many folders a path leads through.
std::size_t depth_of(std::string const& path)
{
    std::size_t depth = 0;
    for (auto at = path.find("::"); at != std::string::npos; at = path.find("::", at + 2))
    {
        ++depth;
    }
    return depth;
}

/// Folders come before what they hold, and what one folder holds by rank.
std::vector<LibraryRow const*> in_order(std::vector<LibraryRow const*> rows)
{
    struct Place
    {
        std::size_t depth;
        LibraryRow const* row;
    };
    std::vector<Place> places;
    places.reserve(rows.size());
    std::transform(rows.begin(), rows.end(), std::back_inserter(places),
                   [](LibraryRow const* row) { return Place{.depth = depth_of(row->path), .row = row}; });
    std::sort(places.begin(), places.end(),
              [](Place const& left, Place const& right)
              { return left.depth != right.depth ? left.depth < right.depth : left.row->rank < right.row->rank; });
    std::transform(places.begin(), places.end(), rows.begin(), [](Place const& place) { return place.row; });
    return rows;
}

/// Without what lies below another of them: it goes with it.
std::vector<std::string> outermost(std::vector<std::string> paths)
{
    // With the separator behind it a path stands right before what lies below it, whatever other names begin alike.
    std::sort(paths.begin(), paths.end(),
              [](std::string const& left, std::string const& right) { return left + "::" < right + "::"; });
    std::vector<std::string> kept;
    for (auto& path : paths)
    {
        if (kept.empty() || !path.starts_with(kept.back() + "::"))
        {
            kept.push_back(std::move(path));
        }
    }
    return kept;
}

} // namespace

RowSteps steps_of(std::vector<LibraryRow> const& rows, Value const& tree,
                  std::function<std::optional<LibraryRow>(std::string const& path)> const& row_of)
{
    RowSteps steps;
    std::vector<LibraryRow const*> behind;
    for (auto const& row : rows)
    {
        auto const known = row_of(row.path);
        auto const keeps_place = known && !row.is_removed && known->rank == row.rank;
        if (known && !keeps_place)
        {
            steps.removals.push_back(row.path);
        }
        if (keeps_place)
        {
            auto const* const node = RavikSrv::node_path(row.path, tree).node;
            auto const is_folder = node != nullptr && kind_of(row.path, *node) == EntryKind::Folder;
            if (row.text || !is_folder)
            {
                steps.writes.push_back({.path = row.path, .value = value_of(row)});
            }
        }
        else if (!row.is_removed)
        {
            behind.push_back(&row);
        }
    }
    steps.removals = outermost(std::move(steps.removals));
    for (auto const* const row : in_order(std::move(behind)))
    {
        steps.writes.push_back({.path = row->path, .value = value_of(*row), .is_new = true});
    }
    return steps;
}

Value tree_of(std::vector<LibraryRow> const& rows)
{
    std::vector<LibraryRow const*> all;
    all.reserve(rows.size());
    std::transform(rows.begin(), rows.end(), std::back_inserter(all), [](LibraryRow const& row) { return &row; });
    Value tree(ValueType::Map);
    std::vector<Tree::Change> changes;
    for (auto const* const row : in_order(std::move(all)))
    {
        static_cast<void>(Tree::write(tree, row->path, value_of(*row), Tree::WriteMode::ReplaceInPath, changes));
    }
    return tree;
}

} // namespace Ravik
