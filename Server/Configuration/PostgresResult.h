#pragma once

#include <charconv>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <libpq-fe.h>

namespace Ravik
{

/// What PostgreSQL answered to a statement. Columns and rows count from 0.
class PostgresResult
{
public:
    explicit PostgresResult(PGresult* result) : m_result(result) {}

    int rows() const { return PQntuples(m_result.get()); }
    bool is_null(int row, int column) const { return PQgetisnull(m_result.get(), row, column) != 0; }
    /// Empty for a null; valid as long as the result.
    std::string_view text(int row, int column) const
    {
        return {PQgetvalue(m_result.get(), row, column),
                static_cast<std::size_t>(PQgetlength(m_result.get(), row, column))};
    }
    std::int64_t number(int row, int column) const
    {
        auto const digits = text(row, column);
        std::int64_t number = 0;
        std::from_chars(digits.data(), digits.data() + digits.size(), number);
        return number;
    }
    bool flag(int row, int column) const { return text(row, column) == "t"; }

    ExecStatusType status() const { return PQresultStatus(m_result.get()); }
    /// What was done, as "COMMIT" or "ROLLBACK".
    std::string_view tag() const { return PQcmdStatus(m_result.get()); }
    /// A field of an error that the database told of (PG_DIAG_…), empty where there is none.
    std::string diagnosis(int field) const
    {
        auto const* const text = PQresultErrorField(m_result.get(), field);
        return text == nullptr ? "" : text;
    }

private:
    struct Clear
    {
        void operator()(PGresult* result) const noexcept { PQclear(result); }
    };

    std::unique_ptr<PGresult, Clear> m_result;
};

} // namespace Ravik
