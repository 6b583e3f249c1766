#include "Configuration/postgres_layout.h"

#include "Configuration/postgres_errors.h"
#include "Configuration/random_id.h"

#include <array>
#include <bit>
#include <map>
#include <optional>
#include <set>

namespace Ravik::PostgresLayout
{

namespace
{

[[noreturn]] void refuse(std::string const& text)
{
    throw LibraryError(LibraryError::Kind::Refused, text);
}

std::string name_of(PostgresConnection const& connection, PostgresSchema const& schema)
{
    return "the schema " + schema.quoted() + " of " + connection.place();
}

/// The statements that make the tables of the newest layout.
constexpr std::array definitions{
    // One row; each edit locks it.
    R"(CREATE TABLE {head} (
        layout integer NOT NULL,
        library text NOT NULL,
        revision bigint NOT NULL,
        edit text NOT NULL,
        sum bigint NOT NULL,
        last_rank bigint NOT NULL,
        removals_since bigint NOT NULL))",
    "CREATE UNIQUE INDEX head_once ON {head} ((true))",
    // Texts stay as they are: jsonb would change numbers and the order of names. Paths are in the order of their bytes.
    R"(CREATE TABLE {entries} (
        path text COLLATE "C" PRIMARY KEY CONSTRAINT path_length CHECK (octet_length(path) <= 2000),
        rank bigint NOT NULL,
        text text,
        checksum bigint NOT NULL,
        revision bigint NOT NULL,
        removed boolean NOT NULL,
        CONSTRAINT removed_text CHECK (NOT removed OR text IS NULL)))",
    "CREATE INDEX entries_revision ON {entries} (revision)",
    "CREATE INDEX entries_removed ON {entries} (revision) WHERE removed",
    // A revision without records has one of the number 0 and without texts: it tells of the edit.
    R"(CREATE TABLE {history} (
        revision bigint,
        number integer,
        edit text COLLATE "C" NOT NULL,
        server text NOT NULL,
        time text NOT NULL,
        who text NOT NULL,
        action text NOT NULL,
        asked text NOT NULL,
        outcome text NOT NULL,
        text text NOT NULL,
        note text NOT NULL,
        body text NOT NULL,
        places text NOT NULL,
        PRIMARY KEY (revision, number)))",
    "CREATE INDEX history_edit ON {history} (edit)",
    // The number stands for the server where it locks something.
    R"(CREATE TABLE {servers} (
        name text COLLATE "C" PRIMARY KEY,
        store text COLLATE "C" NOT NULL UNIQUE,
        joined timestamp with time zone NOT NULL DEFAULT clock_timestamp(),
        number integer GENERATED ALWAYS AS IDENTITY))",
};

using Columns = std::set<std::string, std::less<>>;
using Tables = std::map<std::string, Columns, std::less<>>;

Tables const& own_tables()
{
    static Tables const tables{
        {"head", {"layout", "library", "revision", "edit", "sum", "last_rank", "removals_since"}},
        {"entries", {"path", "rank", "text", "checksum", "revision", "removed"}},
        {"history",
         {"revision", "number", "edit", "server", "time", "who", "action", "asked", "outcome", "text", "note", "body",
          "places"}},
        {"servers", {"name", "store", "joined", "number"}}};
    return tables;
}

/// What stands in the schema, nothing where there is no such schema. Indices are left out.
std::optional<Tables> read_tables(PostgresConnection& connection, PostgresSchema const& schema)
{
    auto select = PostgresStatement(R"(
        SELECT relname, attname
        FROM pg_namespace
        LEFT JOIN pg_class ON relnamespace = pg_namespace.oid AND relkind IN ('r', 'p', 'v', 'm', 'f', 'S', 'c')
        LEFT JOIN pg_attribute ON attrelid = pg_class.oid AND attnum > 0 AND NOT attisdropped
        WHERE nspname = $1)");
    auto const rows = connection.run(select.text(schema.name()), PostgresConnection::soon);
    if (rows.rows() == 0)
    {
        return std::nullopt;
    }
    Tables tables;
    for (int row = 0; row < rows.rows(); ++row)
    {
        if (!rows.is_null(row, 0))
        {
            tables[std::string(rows.text(row, 0))].emplace(rows.text(row, 1));
        }
    }
    return tables;
}

/// Whether a library stands there, of whatever layout.
bool is_library(Tables const& tables)
{
    auto const head = tables.find("head");
    return head != tables.end() && head->second.contains("layout") && head->second.contains("library") &&
           tables.contains("entries");
}

std::int64_t read_layout(PostgresConnection& connection, PostgresSchema const& schema)
{
    auto const head =
        connection.run(PostgresStatement(schema.in("SELECT layout FROM {head}")), PostgresConnection::soon);
    return head.rows() == 0 ? newest : head.number(0, 0);
}

void expect_layout(std::int64_t layout, PostgresConnection const& connection, PostgresSchema const& schema)
{
    auto const found = "the library in " + name_of(connection, schema) + " has the layout " + std::to_string(layout) +
                       ", and this program knows " + std::to_string(newest);
    if (layout > newest)
    {
        refuse(found + "; update this program");
    }
    if (layout < newest)
    {
        refuse(found + "; 'ravik library init --upgrade' brings it over");
    }
}

/// Refused unless all tables have the columns of the newest layout. Others may stand beside them.
void expect_own_tables(Tables const& tables, PostgresConnection const& connection, PostgresSchema const& schema)
{
    for (auto const& [name, columns] : own_tables())
    {
        auto const found = tables.find(name);
        if (found == tables.end() || found->second != columns)
        {
            refuse("the table " + schema.in("{" + name + "}") + " of " + connection.place() +
                   " is not as 'ravik library init' made it; put it right from a backup");
        }
    }
}

void make_tables(PostgresConnection& connection, PostgresSchema const& schema, bool has_schema)
{
    std::vector statements{PostgresStatement("BEGIN")};
    if (!has_schema)
    {
        statements.emplace_back("CREATE SCHEMA " + schema.quoted());
    }
    for (auto const* const definition : definitions)
    {
        statements.emplace_back(schema.in(definition));
    }
    statements.push_back(PostgresStatement(schema.in("INSERT INTO {head} VALUES ($1, $2, 0, '', 0, 0, 0)"))
                             .number(newest)
                             .text(random_id()));
    statements.emplace_back("COMMIT");
    try
    {
        connection.commit(statements, PostgresConnection::large);
    }
    catch (PostgresError const& error)
    {
        if (error.state() != PostgresErrors::no_right)
        {
            throw;
        }
        refuse("the user may not make a library in " + name_of(connection, schema) +
               "; that takes the right CREATE on the database, or on the schema where it is there and empty");
    }
}

} // namespace

void expect_library(PostgresConnection& connection, PostgresSchema const& schema)
{
    auto const tables = read_tables(connection, schema);
    if (!tables || tables->empty())
    {
        refuse("there is no library in " + name_of(connection, schema) + "; 'ravik library init' makes one");
    }
    if (!is_library(*tables))
    {
        refuse(name_of(connection, schema) + " belongs to something else; name another schema");
    }
    expect_layout(read_layout(connection, schema), connection, schema);
    expect_own_tables(*tables, connection, schema);
}

std::string initialise(PostgresConnection& connection, PostgresSchema const& schema, bool upgrade)
{
    auto const tables = read_tables(connection, schema);
    if (!tables || tables->empty())
    {
        make_tables(connection, schema, tables.has_value());
        return "made an empty library in " + name_of(connection, schema);
    }
    // The first layout has no predecessor that could be brought over.
    auto const is_too_old = upgrade && is_library(*tables) && read_layout(connection, schema) < newest;
    if (is_too_old)
    {
        refuse("the library in " + name_of(connection, schema) +
               " has a layout that no version of this program made; put it right from a backup");
    }
    expect_library(connection, schema);
    return "there is a library in " + name_of(connection, schema) + " already; it stays as it is";
}

PostgresStatement select_head(PostgresSchema const& schema, bool to_lock)
{
    return PostgresStatement(
        schema.in("SELECT layout, library, revision, edit, sum, last_rank, removals_since FROM {head}") +
        (to_lock ? " FOR UPDATE" : ""));
}

LibraryHead head_of(PostgresResult const& result, PostgresConnection const& connection, PostgresSchema const& schema)
{
    if (result.rows() == 0)
    {
        refuse("the library in " + name_of(connection, schema) + " has lost its head; put it right from a backup");
    }
    expect_layout(result.number(0, 0), connection, schema);
    return {.library = std::string(result.text(0, 1)),
            .position = {.revision = result.number(0, 2), .edit = std::string(result.text(0, 3))},
            .sum = std::bit_cast<std::uint64_t>(result.number(0, 4)),
            .last_rank = result.number(0, 5),
            .removals_since = result.number(0, 6)};
}

} // namespace Ravik::PostgresLayout
