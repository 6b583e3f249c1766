#include "Configuration/postgres_edit.h"

#include "Configuration/postgres_time.h"

#include <algorithm>
#include <bit>
#include <optional>

namespace Ravik::PostgresEdit
{

namespace
{

std::int64_t stored(std::uint64_t number)
{
    return std::bit_cast<std::int64_t>(number);
}

PostgresStatement write_rows(PostgresSchema const& schema, LibraryEdit const& edit)
{
    auto const text = [](LibraryRow const& row)
    { return row.is_removed || !row.text ? std::nullopt : std::optional<std::string_view>(*row.text); };
    auto write = PostgresStatement(schema.in(R"(
        INSERT INTO {entries} (path, rank, text, checksum, removed, revision)
        SELECT edited.*, $6 FROM unnest($1, $2, $3, $4, $5) AS edited
        ON CONFLICT (path) DO UPDATE SET rank = excluded.rank, text = excluded.text, checksum = excluded.checksum,
            removed = excluded.removed, revision = excluded.revision)"));
    return write
        .texts(
            edit.rows, [](LibraryRow const& row) -> auto const& { return row.path; })
        .numbers(edit.rows, [](LibraryRow const& row) { return row.rank; })
        .texts(edit.rows, text)
        .numbers(edit.rows, [](LibraryRow const& row) { return stored(row.checksum); })
        .flags(edit.rows, [](LibraryRow const& row) { return row.is_removed; })
        .number(edit.head.position.revision);
}

PostgresStatement write_records(PostgresSchema const& schema, LibraryEdit const& edit)
{
    // Where an edit has no record, one without texts stands for it: whoever asks for the edit finds it.
    auto const has_records = !edit.records.empty();
    std::vector<StoredRecord> const nothing(1);
    auto const& records = has_records ? edit.records : nothing;
    auto write =
        PostgresStatement("INSERT INTO " + schema.in("{history}") + " (time, revision, edit, " +
                          std::string(record_columns) + ", number) SELECT " + postgres_timestamp("clock_timestamp()") +
                          ", $1, $2, made.* FROM unnest($4, $5, $6, $7, $8, $9, $10, $11, $12, $3) AS made "
                          "RETURNING number, time");
    std::int64_t last = has_records ? 0 : -1;
    write.number(edit.head.position.revision).text(edit.head.position.edit);
    write.numbers(records, [&last](StoredRecord const& /*record*/) { return ++last; });
    for (auto const text : record_texts)
    {
        write.texts(
            records, [text](StoredRecord const& record) -> auto const& { return record.*text; });
    }
    return write;
}

PostgresStatement write_head(PostgresSchema const& schema, LibraryHead const& head)
{
    auto write = PostgresStatement(
        schema.in("UPDATE {head} SET revision = $1, edit = $2, sum = $3, last_rank = $4, removals_since = $5"));
    return write.number(head.position.revision)
        .text(head.position.edit)
        .number(stored(head.sum))
        .number(head.last_rank)
        .number(head.removals_since);
}

PostgresStatement notify(PostgresSchema const& schema, std::int64_t revision)
{
    return PostgresStatement("SELECT pg_notify($1, $2)").text(schema.channel()).text(std::to_string(revision));
}

/// How many of the newest revisions keep their removed rows and their records.
constexpr std::int64_t kept_removals = 10000;
constexpr std::int64_t kept_records = 100000;

/// The revision from which on removed rows are kept, after an edit: it moves in steps.
std::int64_t removals_since(LibraryHead const& head)
{
    constexpr std::int64_t step = 1000;
    return std::max(head.removals_since, (head.position.revision - kept_removals) / step * step);
}

/// Takes out what is too old: now and then, and no more at a time than an edit has time for.
std::vector<PostgresStatement> clear_away(PostgresSchema const& schema, LibraryHead const& head)
{
    constexpr std::int64_t interval = 16;
    constexpr std::int64_t most = 4000;
    if (head.position.revision % interval != 0)
    {
        return {};
    }
    auto rows = PostgresStatement(schema.in("DELETE FROM {entries} WHERE path IN (SELECT path FROM {entries} WHERE "
                                            "removed AND revision < $1 ORDER BY revision LIMIT $2)"));
    auto records = PostgresStatement(schema.in("DELETE FROM {history} WHERE (revision, number) IN (SELECT revision, "
                                               "number FROM {history} WHERE revision <= $1 ORDER BY revision, number "
                                               "LIMIT $2)"));
    return {rows.number(head.removals_since).number(most),
            records.number(head.position.revision - kept_records).number(most)};
}

} // namespace

std::vector<PostgresStatement> statements(PostgresSchema const& schema, LibraryEdit const& edit)
{
    auto head = edit.head;
    head.removals_since = removals_since(head);
    std::vector<PostgresStatement> statements{write_records(schema, edit).kept(), write_rows(schema, edit).kept(),
                                              write_head(schema, head).kept()};
    for (auto& statement : clear_away(schema, head))
    {
        statements.push_back(std::move(statement));
    }
    statements.push_back(notify(schema, head.position.revision).kept());
    statements.emplace_back("COMMIT");
    return statements;
}

std::vector<std::string> times(PostgresConnection::Results const& results, LibraryEdit const& edit)
{
    std::vector<std::string> times(edit.records.size());
    auto const& given = results.front();
    for (int row = 0; row < given.rows() && !times.empty(); ++row)
    {
        times.at(static_cast<std::size_t>(given.number(row, 0)) - 1) = given.text(row, 1);
    }
    return times;
}

} // namespace Ravik::PostgresEdit
