#include "Project/merged_rows.h"

#include "Configuration/configuration_keys.h"
#include "Configuration/store_format.h"
#include "Configuration/tree.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace Ravik
{

namespace
{

using RowsByPath = std::unordered_map<std::string_view, LibraryRow const*>;

RowsByPath by_path(std::vector<LibraryRow> const& rows)
{
    RowsByPath found;
    found.reserve(rows.size());
    for (auto const& row : rows)
    {
        found.emplace(row.path, &row);
    }
    return found;
}

LibraryRow const* find(RowsByPath const& rows, std::string const& path)
{
    auto const found = rows.find(path);
    return found == rows.end() ? nullptr : found->second;
}

/// Whether something that holds no rows stands above the path.
bool is_below_entry(std::string const& path, RowsByPath const& rows)
{
    for (auto parent = Tree::split_last(path).parent; !parent.empty(); parent = Tree::split_last(parent).parent)
    {
        if (auto const* const row = find(rows, parent); row != nullptr && row->text)
        {
            return true;
        }
    }
    return false;
}

std::uint64_t checksum_of(LibraryRow const& row)
{
    StoreFormat::Row stored{.rank = row.rank, .domain = recipe_domain, .path = row.path, .text = std::nullopt};
    if (row.text)
    {
        stored.text = *row.text;
    }
    return StoreFormat::checksum(stored);
}

std::size_t values_in(LibraryRow const& row)
{
    return row.text ? 1 : 0;
}

class Merge
{
public:
    Merge(std::vector<LibraryRow> const& own, std::vector<LibraryRow> const& library, LibraryHead const& head)
        : m_own(own), m_library(library), m_own_rows(by_path(own)), m_library_rows(by_path(library))
    {
        m_merged.head = head;
    }

    MergedRows merge(Side side, Extent extent)
    {
        find_clashes();
        if (!m_merged.clashes.empty() && side == Side::None)
        {
            return std::move(m_merged);
        }
        for (auto const& row : m_library)
        {
            take_librarys(row, side, extent);
        }
        for (auto const& row : m_own)
        {
            take_own(row, side, extent);
        }
        m_merged.head.sum = 0;
        for (auto const& row : m_merged.rows)
        {
            m_merged.head.sum += row.checksum;
        }
        return std::move(m_merged);
    }

private:
    void find_clashes()
    {
        for (auto const& row : m_own)
        {
            auto const* const there = find(m_library_rows, row.path);
            note_clash(row, there != nullptr ? there->text != row.text : is_below_entry(row.path, m_library_rows));
        }
        for (auto const& row : m_library)
        {
            note_clash(row, find(m_own_rows, row.path) == nullptr && is_below_entry(row.path, m_own_rows));
        }
    }

    void note_clash(LibraryRow const& row, bool clashes)
    {
        if (clashes)
        {
            m_merged.clashes.push_back(row.path);
            m_clashes.insert(row.path);
        }
    }

    /// A row of the library stays, takes what the project has there, or goes.
    void take_librarys(LibraryRow const& row, Side side, Extent extent)
    {
        auto const* const own = find(m_own_rows, row.path);
        auto const clashes = m_clashes.contains(row.path);
        if (own == nullptr && side == Side::Ours && (clashes || extent == Extent::Everything))
        {
            auto removed = row;
            removed.text.reset();
            removed.is_removed = true;
            m_merged.changed.push_back(std::move(removed));
            return;
        }
        if (clashes && own != nullptr && side == Side::Ours)
        {
            put(*own, row.rank);
            return;
        }
        m_merged.come += own == nullptr || clashes ? values_in(row) : 0;
        m_merged.rows.push_back(row);
    }

    /// What the library does not have goes behind what it has, each folder before what it holds.
    void take_own(LibraryRow const& row, Side side, Extent extent)
    {
        auto const clashes = m_clashes.contains(row.path);
        auto const is_there = find(m_library_rows, row.path) != nullptr;
        if (side == Side::Theirs && (clashes || (!is_there && extent == Extent::Everything)))
        {
            m_merged.loses_own = true;
            return;
        }
        if (is_there || !m_placed.insert(row.path).second)
        {
            return;
        }
        if (auto const* const folder = find(m_own_rows, Tree::split_last(row.path).parent))
        {
            take_own(*folder, side, extent);
        }
        put(row, ++m_merged.head.last_rank);
    }

    void put(LibraryRow row, std::int64_t rank)
    {
        row.rank = rank;
        row.checksum = checksum_of(row);
        m_merged.sent += values_in(row);
        m_merged.rows.push_back(row);
        m_merged.changed.push_back(std::move(row));
    }

    std::vector<LibraryRow> const& m_own;
    std::vector<LibraryRow> const& m_library;
    RowsByPath m_own_rows;
    RowsByPath m_library_rows;
    std::set<std::string_view> m_clashes;
    std::set<std::string_view> m_placed;
    MergedRows m_merged;
};

} // namespace

MergedRows merge_rows(std::vector<LibraryRow> const& own, std::vector<LibraryRow> const& library,
                      LibraryHead const& head, Side side, Extent extent)
{
    return Merge(own, library, head).merge(side, extent);
}

} // namespace Ravik
