#include "Configuration/LibraryDraft.h"

#include "Configuration/StoreError.h"
#include "Configuration/configuration_keys.h"
#include "Configuration/store_format.h"

#include "Json/Json.h"

#include <cstddef>
#include <string_view>
#include <utility>

namespace Ravik
{

namespace
{

/// In bytes; what an index of the database takes.
constexpr std::size_t longest_path = 2000;

std::uint64_t checksum_of(LibraryRow const& row)
{
    StoreFormat::Row stored{.rank = row.rank, .domain = recipe_domain, .path = row.path, .text = std::nullopt};
    if (row.text)
    {
        stored.text = *row.text;
    }
    return StoreFormat::checksum(stored);
}

} // namespace

std::string LibraryDraft::objection(std::string const& path)
{
    return path.size() <= longest_path
               ? std::string()
               : "a library takes paths of up to " + std::to_string(longest_path) + " bytes, and one is " +
                     std::to_string(path.size()) + " bytes long: " + path.substr(0, 100) + "…";
}

LibraryDraft::LibraryDraft(Copy copy, LibraryHead const& head)
    : m_copy(std::move(copy)), m_sum(head.sum), m_last_rank(head.last_rank)
{
}

void LibraryDraft::put(std::string const& /*domain*/, std::string const& path, RavikSrv::Value const* value)
{
    if (auto const why = objection(path); !why.empty())
    {
        throw StoreError(why);
    }
    auto& row = row_at(path);
    if (row.now.is_removed)
    {
        row.now.rank = ++m_last_rank;
        row.now.is_removed = false;
    }
    else
    {
        m_sum -= row.now.checksum;
    }
    row.now.text = value == nullptr ? std::nullopt : std::optional(Json::write(*value, Json::Layout::Compact));
    row.now.checksum = checksum_of(row.now);
    m_sum += row.now.checksum;
}

/// The row of that path as it stands in the draft; one that is not there is removed.
LibraryDraft::Row& LibraryDraft::row_at(std::string const& path)
{
    auto const known = m_rows.find(path);
    if (known != m_rows.end())
    {
        return known->second;
    }
    auto before = m_copy.row(path);
    auto now = before ? *before : LibraryRow{.path = path, .is_removed = true};
    return m_rows.emplace(path, Row{.now = std::move(now), .before = std::move(before)}).first->second;
}

void LibraryDraft::erase(std::string const& domain, std::string const& path)
{
    remove(row_at(path));
    erase_below(domain, path);
}

void LibraryDraft::erase_below(std::string const& /*domain*/, std::string const& path)
{
    for (auto const& row : m_copy.rows_below(path))
    {
        auto const known = m_rows.find(row.path);
        if (known == m_rows.end())
        {
            remove(m_rows.emplace(row.path, Row{.now = row, .before = row}).first->second);
        }
    }
    // Paths below P stand between P:: and P:; in the order of their bytes, since ; follows :
    auto const end = m_rows.lower_bound(path + ":;");
    for (auto row = m_rows.upper_bound(path + "::"); row != end; ++row)
    {
        remove(row->second);
    }
}

void LibraryDraft::remove(Row& row)
{
    if (!row.now.is_removed)
    {
        m_sum -= row.now.checksum;
        row.now.is_removed = true;
        row.now.text.reset();
    }
}

std::vector<LibraryRow> LibraryDraft::rows() const
{
    std::vector<LibraryRow> rows;
    for (auto const& [path, row] : m_rows)
    {
        auto const& [now, before] = row;
        auto const is_same = before ? !now.is_removed && now.checksum == before->checksum : now.is_removed;
        if (!is_same)
        {
            rows.push_back(now);
        }
    }
    return rows;
}

} // namespace Ravik
