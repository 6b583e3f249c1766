#pragma once

#include "Configuration/Library.h"
#include "Configuration/RowSink.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Ravik
{

/// Collects the rows of an edit on their way into a library, and what its sum comes to with them. A row that is written
/// where one was removed is a new one, behind all others.
class LibraryDraft : public RowSink
{
public:
    /// The rows of the copy, see `Store`.
    struct Copy
    {
        std::function<std::optional<LibraryRow>(std::string const& path)> row;
        std::function<std::vector<LibraryRow>(std::string const& path)> rows_below;
    };

    /// Why a library takes no row at the path, empty where it does.
    static std::string objection(std::string const& path);

    /// `head` is the library's before the edit; the copy is as far.
    LibraryDraft(Copy copy, LibraryHead const& head);

    /// `domain` is the recipe management's always. Throws `StoreError` for a path that is too long.
    void put(std::string const& domain, std::string const& path, RavikSrv::Value const* value) override;
    void erase(std::string const& domain, std::string const& path) override;
    void erase_below(std::string const& domain, std::string const& path) override;

    /// What differs from the copy, by path.
    std::vector<LibraryRow> rows() const;
    std::uint64_t sum() const noexcept { return m_sum; }
    std::int64_t last_rank() const noexcept { return m_last_rank; }

private:
    struct Row
    {
        LibraryRow now;
        /// What the copy has there.
        std::optional<LibraryRow> before;
    };

    Row& row_at(std::string const& path);
    void remove(Row& row);

    Copy m_copy;
    std::uint64_t m_sum;
    std::int64_t m_last_rank;
    std::map<std::string, Row> m_rows;
};

} // namespace Ravik
