#include "Configuration/PostgresLibrary.h"

#include "Configuration/configuration_keys.h"
#include "Configuration/postgres_edit.h"
#include "Configuration/postgres_layout.h"
#include "Configuration/postgres_membership.h"
#include "Configuration/random_id.h"
#include "Configuration/store_format.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <limits>

namespace Ravik
{

namespace
{

using std::chrono::milliseconds;

[[noreturn]] void refuse(std::string const& text)
{
    throw LibraryError(LibraryError::Kind::Refused, text);
}

void expect_usable(LibrarySettings const& settings)
{
    if (auto const objection = Library::objection(settings); !objection.empty())
    {
        refuse(objection);
    }
}

} // namespace

std::unique_ptr<Library> Library::connect(LibrarySettings const& settings, Caller const& caller, Kind kind)
{
    expect_usable(settings);
    return std::make_unique<PostgresLibrary>(settings, caller, kind);
}

std::string Library::initialise(LibrarySettings const& settings, bool upgrade)
{
    expect_usable(settings);
    PostgresConnection connection(settings.postgresql, "ravik");
    return PostgresLayout::initialise(connection, PostgresSchema(settings.schema), upgrade);
}

PostgresLibrary::PostgresLibrary(LibrarySettings const& settings, Caller const& caller, Kind kind)
    : m_connection(settings.postgresql, "ravik " + caller.server.name), m_schema(settings.schema)
{
    PostgresLayout::expect_library(m_connection, m_schema);
    m_id = head().library;
    if (!caller.library.empty() && caller.library != m_id)
    {
        refuse("the library in " + m_connection.place() + ", schema " + settings.schema +
               ", is not the one that this server has joined; correct \"library\" in ravik.json, or leave that one "
               "with 'ravik library leave' and join this");
    }
    if (kind == Kind::Following)
    {
        PostgresMembership::hold_store(m_connection, m_schema, m_id, caller);
        m_connection.run(PostgresStatement("LISTEN " + PostgresSchema::quoted(m_schema.channel())),
                         PostgresConnection::soon);
    }
}

// Turns ---------------------------------------------------------------------------------------------------------------

LibraryHead PostgresLibrary::begin_turn()
{
    // Those who wait for a row that is changed meanwhile are passed by others; those who wait for this lock are not.
    // The head is locked besides, for whoever edits it without asking.
    auto lock = PostgresStatement("SELECT pg_advisory_xact_lock($1::integer, $2::integer)");
    lock.kept().number(PostgresMembership::locks_of(m_id)).number(PostgresMembership::turn);
    try
    {
        auto const results = m_connection.run({PostgresStatement("BEGIN ISOLATION LEVEL READ COMMITTED"), lock,
                                               PostgresLayout::select_head(m_schema, true).kept()},
                                              PostgresConnection::turn);
        m_turn = PostgresLayout::head_of(results.back(), m_connection, m_schema);
        return *m_turn;
    }
    catch (LibraryError const&)
    {
        end_turn();
        throw;
    }
}

std::vector<std::string> PostgresLibrary::commit(LibraryEdit const& edit)
{
    if (!m_turn)
    {
        refuse("an edit needs a turn");
    }
    m_turn.reset();
    auto const results = m_connection.commit(PostgresEdit::statements(m_schema, edit), PostgresConnection::large);
    return PostgresEdit::times(results, edit);
}

void PostgresLibrary::end_turn() noexcept
{
    m_turn.reset();
    m_connection.roll_back();
}

// Reading -------------------------------------------------------------------------------------------------------------

class PostgresLibrary::Snapshot
{
public:
    explicit Snapshot(PostgresLibrary& library) : m_library(library), m_is_own(!library.m_turn)
    {
        if (!m_is_own)
        {
            m_head = *library.m_turn;
            return;
        }
        try
        {
            auto const results =
                library.m_connection.run({PostgresStatement("BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY"),
                                          PostgresLayout::select_head(library.m_schema, false)},
                                         PostgresConnection::soon);
            m_head = PostgresLayout::head_of(results.back(), library.m_connection, library.m_schema);
        }
        catch (LibraryError const&)
        {
            library.m_connection.roll_back();
            throw;
        }
    }

    Snapshot(Snapshot const&) = delete;
    Snapshot& operator=(Snapshot const&) = delete;

    ~Snapshot()
    {
        if (m_is_own)
        {
            m_library.m_connection.roll_back();
        }
    }

    LibraryHead const& head() const noexcept { return m_head; }

private:
    PostgresLibrary& m_library;
    bool m_is_own;
    LibraryHead m_head;
};

LibraryHead PostgresLibrary::head()
{
    if (m_turn)
    {
        return *m_turn;
    }
    auto const result = m_connection.run(PostgresLayout::select_head(m_schema, false), PostgresConnection::soon);
    return PostgresLayout::head_of(result, m_connection, m_schema);
}

namespace
{

constexpr std::string_view select_rows = "SELECT path, rank, text, checksum, removed FROM {entries} WHERE ";
/// What was removed comes before what took its place.
constexpr std::string_view in_order = " ORDER BY rank, NOT removed";

PostgresStatement all_rows(PostgresSchema const& schema)
{
    return PostgresStatement(schema.in(std::string(select_rows) + "NOT removed" + std::string(in_order)));
}

PostgresStatement rows_since(PostgresSchema const& schema, std::int64_t revision)
{
    auto select = PostgresStatement(schema.in(std::string(select_rows) + "revision > $1" + std::string(in_order)));
    return select.number(revision);
}

PostgresStatement records_where(PostgresSchema const& schema, std::string const& condition)
{
    return PostgresStatement("SELECT revision, edit, time, " + std::string(PostgresEdit::record_columns) +
                             schema.in(" FROM {history} WHERE ") + condition);
}

} // namespace

LibraryNews PostgresLibrary::news(LibraryPosition const& since)
{
    LibraryNews news{.head = head(), .is_known = true, .is_whole = false, .rows = {}, .records = {}};
    if (news.head.position == since)
    {
        return news;
    }
    Snapshot const snapshot(*this);
    news.head = snapshot.head();
    news.is_known = knows(since, news.head);
    if (news.is_known)
    {
        news.is_whole = since.revision == 0 || since.revision < news.head.removals_since;
        news.rows = rows(news.is_whole ? all_rows(m_schema) : rows_since(m_schema, since.revision));
        news.records = records(
            records_where(m_schema, "revision > $1 AND number > 0 ORDER BY revision, number").number(since.revision));
    }
    return news;
}

LibraryNews PostgresLibrary::everything()
{
    Snapshot const snapshot(*this);
    return {
        .head = snapshot.head(), .is_known = true, .is_whole = true, .rows = rows(all_rows(m_schema)), .records = {}};
}

std::optional<LibraryRecord> PostgresLibrary::record_of(std::string const& edit)
{
    auto found = records(records_where(m_schema, "edit = $1 ORDER BY revision, number LIMIT 1").text(edit));
    return found.empty() ? std::nullopt : std::optional(std::move(found.front()));
}

bool PostgresLibrary::knows(LibraryPosition const& position, LibraryHead const& head)
{
    if (position.revision == 0 || position.revision >= head.position.revision)
    {
        return position.revision == 0 || position == head.position;
    }
    // Of what is older than the history nobody knows any more which edit made it; such a copy reads everything.
    auto select = PostgresStatement(m_schema.in("SELECT WHERE $1 < (SELECT min(revision) FROM {history}) OR EXISTS "
                                                "(SELECT FROM {history} WHERE revision = $1 AND edit = $2)"));
    return m_connection.run(select.number(position.revision).text(position.edit), PostgresConnection::soon).rows() != 0;
}

std::vector<LibraryRow> PostgresLibrary::rows(PostgresStatement const& select)
{
    auto const found = m_connection.run(select, PostgresConnection::large);
    std::vector<LibraryRow> rows(static_cast<std::size_t>(found.rows()));
    for (int index = 0; index < found.rows(); ++index)
    {
        auto& row = rows[static_cast<std::size_t>(index)];
        row.path = found.text(index, 0);
        row.rank = found.number(index, 1);
        row.checksum = std::bit_cast<std::uint64_t>(found.number(index, 3));
        row.is_removed = found.flag(index, 4);
        auto const text =
            found.is_null(index, 2) ? std::nullopt : std::optional<std::string_view>(found.text(index, 2));
        if (!row.is_removed &&
            row.checksum !=
                StoreFormat::checksum({.rank = row.rank, .domain = recipe_domain, .path = row.path, .text = text}))
        {
            refuse("the row '" + row.path + "' of the library in " + m_connection.place() +
                   " was changed by hand or is damaged: it does not fit its checksum; give it another value, and its "
                   "own again, at a server that still has it, or put it right from a backup");
        }
        row.text = text;
    }
    return rows;
}

std::vector<LibraryRecord> PostgresLibrary::records(PostgresStatement const& select)
{
    constexpr int first_text = 3;
    auto const found = m_connection.run(select, PostgresConnection::large);
    std::vector<LibraryRecord> records(static_cast<std::size_t>(found.rows()));
    for (int row = 0; row < found.rows(); ++row)
    {
        auto& [revision, record] = records[static_cast<std::size_t>(row)];
        revision = found.number(row, 0);
        record.edit = found.text(row, 1);
        record.time = found.text(row, 2);
        int column = first_text;
        for (auto const text : PostgresEdit::record_texts)
        {
            record.*text = found.text(row, column++);
        }
    }
    return records;
}

// Following -----------------------------------------------------------------------------------------------------------

namespace
{

/// The revision that a notification tells of; the highest where it is no number, so that it is looked after.
std::int64_t revision_in(std::string const& text)
{
    std::int64_t revision = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), revision);
    return error == std::errc() && end == text.data() + text.size() ? revision
                                                                    : std::numeric_limits<std::int64_t>::max();
}

} // namespace

bool PostgresLibrary::wait(milliseconds most, int wake, std::atomic<std::int64_t> const& known)
{
    using Clock = std::chrono::steady_clock;
    auto const deadline = Clock::now() + most;
    for (auto comes = true; comes;)
    {
        auto is_told = false;
        while (auto const told = m_connection.notification())
        {
            is_told = is_told || (told->channel == m_schema.channel() && revision_in(told->text) > known);
        }
        if (is_told)
        {
            return true;
        }
        auto const left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
        comes = m_connection.wait(std::max(left, milliseconds(0)), wake);
    }
    return false;
}

// Membership ----------------------------------------------------------------------------------------------------------

std::vector<LibraryServer> PostgresLibrary::servers()
{
    return PostgresMembership::servers(m_connection, m_schema);
}

void PostgresLibrary::enter(LibraryServer const& server)
{
    PostgresMembership::enter(m_connection, m_schema, server);
}

void PostgresLibrary::strike(LibraryServer const& server)
{
    PostgresMembership::strike(m_connection, m_schema, server);
}

std::vector<LibraryPeer> PostgresLibrary::peers()
{
    return PostgresMembership::peers(m_connection, m_schema, m_id);
}

void PostgresLibrary::check_notifications(Library& other)
{
    auto* const sender = dynamic_cast<PostgresLibrary*>(&other);
    if (sender == nullptr || is_pooled(*sender) || !hears(*sender))
    {
        // A store that was held through a pooler would be held by the pooler's connection.
        m_connection.run(PostgresStatement("SELECT pg_advisory_unlock_all()"), PostgresConnection::soon);
        refuse(m_connection.place() +
               " does not pass notifications on, as it is through a pooler of transactions; name the database itself");
    }
}

/// Whether statements of one connection may be run by several sessions of the database.
bool PostgresLibrary::is_pooled(PostgresLibrary& other)
{
    auto const session = PostgresStatement("SELECT pg_backend_pid()");
    auto const before = m_connection.run(session, PostgresConnection::soon).number(0, 0);
    // A pooler that has given this one's session away gives another one.
    auto const taken = other.m_connection.run({PostgresStatement("BEGIN"), session}, PostgresConnection::soon);
    auto const after = m_connection.run(session, PostgresConnection::soon).number(0, 0);
    other.m_connection.roll_back();
    return before != after || after == taken.back().number(0, 0);
}

bool PostgresLibrary::hears(PostgresLibrary& other)
{
    constexpr milliseconds most{2000};
    auto const channel = "ravik?" + random_id();
    m_connection.run(PostgresStatement("LISTEN " + PostgresSchema::quoted(channel)), PostgresConnection::soon);
    other.m_connection.run(PostgresStatement("SELECT pg_notify($1, '')").text(channel), PostgresConnection::soon);
    auto const deadline = std::chrono::steady_clock::now() + most;
    auto is_heard = false;
    while (!is_heard && std::chrono::steady_clock::now() < deadline)
    {
        m_connection.wait(milliseconds(100), -1);
        while (auto const told = m_connection.notification())
        {
            is_heard = is_heard || told->channel == channel;
        }
    }
    m_connection.run(PostgresStatement("UNLISTEN " + PostgresSchema::quoted(channel)), PostgresConnection::soon);
    return is_heard;
}

} // namespace Ravik
