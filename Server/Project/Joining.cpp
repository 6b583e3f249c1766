#include "Project/Joining.h"

#include "Configuration/LibraryDraft.h"
#include "Configuration/StoreError.h"
#include "Configuration/configuration_keys.h"
#include "Configuration/place_changes.h"
#include "Configuration/random_id.h"
#include "History/HistoryRecord.h"
#include "History/account.h"
#include "History/shell_word.h"
#include "History/timestamp.h"
#include "Project/project_store.h"
#include "Json/Json.h"

#include <algorithm>
#include <array>
#include <map>
#include <unistd.h>
#include <utility>

namespace Ravik
{

using RavikSrv::Value;

namespace
{

/// In bytes.
constexpr std::size_t longest_name = 63;

[[noreturn]] void refuse(std::string const& why)
{
    throw LibraryError(LibraryError::Kind::Refused, why);
}

std::string host_name()
{
    std::array<char, 256> name{};
    return ::gethostname(name.data(), name.size() - 1) == 0 && name[0] != '\0' ? std::string(name.data()) : "server";
}

void check_name(std::string const& name)
{
    auto const is_control = [](char character) { return static_cast<unsigned char>(character) < ' '; };
    if (name.size() > longest_name || std::any_of(name.begin(), name.end(), is_control))
    {
        refuse("a server's name has 1 to " + std::to_string(longest_name) + " bytes, none of them a control character");
    }
}

/// The time as it stands in a file's name.
std::string time_in_name()
{
    auto text = timestamp(std::chrono::system_clock::now());
    std::erase_if(text, [](char character) { return character == ':' || character == '-'; });
    return text.substr(0, text.find('.')) + 'Z';
}

/// What changes in the library, as its history tells it: the entries, each whole.
std::vector<PlaceChange> places_of(MergedRows const& merged, std::vector<LibraryRow> const& library)
{
    std::map<std::string_view, LibraryRow const*> before;
    for (auto const& row : library)
    {
        before.emplace(row.path, &row);
    }
    auto const value_of = [](LibraryRow const& row)
    {
        return row.is_removed ? std::nullopt
                              : std::optional(row.text ? Json::parse(*row.text) : Value(RavikSrv::ValueType::Map));
    };
    std::vector<PlaceChange> places;
    for (auto const& row : merged.changed)
    {
        auto const old = before.find(row.path);
        places.push_back({.domain = std::string(recipe_domain),
                          .path = row.path,
                          .before = old == before.end() ? std::nullopt : value_of(*old->second),
                          .after = value_of(row)});
    }
    return places;
}

std::uint64_t sum_of(std::vector<LibraryRow> const& rows)
{
    std::uint64_t sum = 0;
    for (auto const& row : rows)
    {
        sum += row.checksum;
    }
    return sum;
}

void check_paths(std::vector<LibraryRow> const& rows)
{
    for (auto const& row : rows)
    {
        if (auto const why = LibraryDraft::objection(row.path); !why.empty())
        {
            refuse(why);
        }
    }
}

char const* side_option(Side side)
{
    return side == Side::Ours ? " --ours" : side == Side::Theirs ? " --theirs" : "";
}

} // namespace

Transaction::~Transaction()
{
    if (!m_done)
    {
        m_store.rollback();
    }
}

void Transaction::commit()
{
    m_store.commit();
    m_done = true;
}

Joining::Joining(ProjectFile const& file, Store& store, JoinOptions const& options)
    : m_file(file), m_store(store), m_options(options), m_copy(store.library()), m_process(random_id())
{
    check_name(options.name);
}

/// A server that was entered and did not join is struck off again.
Joining::~Joining()
{
    if (!m_is_new || m_done || m_turns == nullptr)
    {
        return;
    }
    try
    {
        m_turns->end_turn();
        m_turns->strike(m_server);
    }
    catch (std::exception const&)
    {
        // Its name stays entered, and is its own at the next attempt.
    }
}

JoinReport Joining::join()
{
    connect();
    auto const head = m_turns->begin_turn();
    auto const is_same = m_copy && m_copy->library == head.library;
    auto const is_known = is_same && knows_copy();
    auto report = is_known ? join_again() : join_anew(head, is_same);
    m_done = report.clashes.empty();
    return report;
}

// The links -----------------------------------------------------------------------------------------------------------

void Joining::connect()
{
    m_server.name = m_options.name.empty() ? host_name() : m_options.name;
    m_turns = Library::connect(*m_file.library, {.server = m_server, .process = m_process}, Library::Kind::Turns);
    auto const head = m_turns->head();
    m_library = head.library;
    // One that was made anew after its database was lost is empty.
    auto const is_unasked = head.position.revision != 0 && m_options.side == Side::None;
    if (m_copy && m_copy->library != m_library && is_unasked)
    {
        refuse("this project has joined another library than the one that ravik.json names; correct \"library\" there, "
               "or say by --ours or --theirs that it is to join this one, and whose entries stand where they differ");
    }
    choose_server();
    if (m_following == nullptr)
    {
        m_turns->enter(m_server);
        m_is_new = true;
        m_following =
            Library::connect(*m_file.library, {.server = m_server, .process = m_process}, Library::Kind::Following);
    }
    m_following->check_notifications(*m_turns);
}

/// Finds the name and the id that the store has in the library. The link that follows shows whether anybody else is at
/// work under that id.
void Joining::choose_server()
{
    auto const servers = m_turns->servers();
    auto const had_joined = m_copy && m_copy->library == m_library;
    m_server = {.name = m_options.name, .store = m_copy ? m_copy->server.store : random_id()};
    auto const entered = std::find_if(servers.begin(), servers.end(),
                                      [this](LibraryServer const& server) { return server.store == m_server.store; });
    if (entered != servers.end())
    {
        keep_or_change_identity(*entered);
    }
    if (m_server.name.empty())
    {
        m_server.name = had_joined ? m_copy->server.name : free_name(servers);
    }
    claim_name(servers);
}

/// A store whose id is another server's was copied from it.
void Joining::keep_or_change_identity(LibraryServer const& entered)
{
    auto const& name = m_options.name;
    auto const is_own = entered.name == m_copy->server.name || entered.name == name;
    if (!is_own && name.empty())
    {
        refuse("the store of this project, which joined as '" + m_copy->server.name +
               "', is entered in the library as '" + entered.name +
               "'; where it was copied from that server 'ravik library join NAME' joins under a name of its own");
    }
    try
    {
        if (is_own)
        {
            m_following =
                Library::connect(*m_file.library, {.server = entered, .process = m_process}, Library::Kind::Following);
            return;
        }
    }
    catch (LibraryError const& error)
    {
        if (error.kind() != LibraryError::Kind::Refused || name.empty() || name == entered.name)
        {
            throw;
        }
    }
    m_server.store = random_id();
}

std::string Joining::free_name(std::vector<LibraryServer> const& servers) const
{
    auto const is_taken = [&servers](std::string const& name)
    {
        return std::any_of(servers.begin(), servers.end(),
                           [&name](LibraryServer const& server) { return server.name == name; });
    };
    auto const host = host_name();
    auto const folder = std::filesystem::absolute(m_file.path).lexically_normal().parent_path().filename().string();
    auto const longer = (host + '-' + folder).substr(0, longest_name);
    if (is_taken(host) && is_taken(longer))
    {
        refuse("the library has servers '" + host + "' and '" + longer +
               "' already; 'ravik library join NAME' gives this one another name");
    }
    return is_taken(host) ? longer : host;
}

void Joining::claim_name(std::vector<LibraryServer> const& servers)
{
    for (auto const& server : servers)
    {
        if (server.name != m_server.name || server.store == m_server.store)
        {
            continue;
        }
        if (m_options.side != Side::Theirs)
        {
            refuse("the library has a server '" + m_server.name +
                   "' with another store; 'ravik library join NAME' joins under another name, and with --theirs this "
                   "one takes the place of a server that is gone for good");
        }
        // Refused where that one is at work.
        Library::connect(*m_file.library, {.server = server, .process = m_process}, Library::Kind::Following)
            ->strike(server);
    }
}

// Joining -------------------------------------------------------------------------------------------------------------

bool Joining::knows_copy()
{
    return m_turns->news(m_copy->position).is_known;
}

/// Nothing but the server's name and id can be others than before.
JoinReport Joining::join_again()
{
    m_turns->end_turn();
    if (!(m_copy->server == m_server))
    {
        m_turns->enter(m_server);
        auto const rows = m_store.recipe_rows();
        Transaction transaction(m_store);
        m_store.join_library({.library = m_library, .server = m_server, .position = {}});
        m_store.apply_shared(rows, true, m_copy->position);
        transaction.commit();
    }
    return {.was_joined = true, .server = m_server.name, .revision = m_copy->position.revision};
}

JoinReport Joining::join_anew(LibraryHead const& head, bool is_diverged)
{
    if (is_diverged && m_options.side == Side::None)
    {
        refuse(
            "this project's copy is of a state of the library that the library does not have: it was restored from a "
            "backup, or a standby took over that lacked the newest edits; --theirs takes the library's recipes as a "
            "whole, --ours gives it this project's");
    }
    auto const own = m_store.recipe_rows();
    auto const library = m_turns->everything();
    if (sum_of(library.rows) != head.sum)
    {
        refuse("the rows of the library do not add up: some of them were changed past this program");
    }
    auto const merged =
        merge_rows(own, library.rows, head, m_options.side, is_diverged ? Extent::Everything : Extent::Differences);
    JoinReport report{.clashes = merged.clashes};
    if (!merged.clashes.empty() && m_options.side == Side::None)
    {
        return report;
    }
    report.clashes.clear();
    report.backup = merged.loses_own ? keep_store() : std::filesystem::path();
    auto position = head.position;
    auto const record = send(merged, library.rows, position);
    m_turns->enter(m_server);
    take(merged, position, record);
    report.server = m_server.name;
    report.revision = position.revision;
    report.sent = merged.sent;
    report.come = merged.come;
    return report;
}

/// Writes what changes into the library, with a record of it; ends the turn.
std::optional<StoredRecord> Joining::send(MergedRows const& merged, std::vector<LibraryRow> const& library,
                                          LibraryPosition& position)
{
    if (merged.changed.empty())
    {
        m_turns->end_turn();
        return std::nullopt;
    }
    check_paths(merged.changed);
    LibraryEdit edit{.head = merged.head, .rows = merged.changed, .records = {}};
    edit.head.position = {.revision = position.revision + 1, .edit = random_id()};
    StoredRecord record{.who = account_of(::geteuid()),
                        .action = Action::edit,
                        .asked = "library join " + shell_word(m_server.name) + side_option(m_options.side),
                        .outcome = Outcome::done,
                        .places = places_text(places_of(merged, library)),
                        .server = m_server.name,
                        .edit = edit.head.position.edit};
    if (record.places.size() > m_file.history.size)
    {
        record.places.clear();
        record.text = "what changed is larger than the history may be";
    }
    edit.records = {record};
    try
    {
        record.time = m_turns->commit(edit).front();
    }
    catch (LibraryError const& error)
    {
        if (error.kind() != LibraryError::Kind::OutcomeUnknown)
        {
            throw;
        }
        throw LibraryError(error.kind(), std::string("it is not known whether the library took the recipes: ") +
                                             error.what() + "; the project is as it was, join again");
    }
    position = edit.head.position;
    return record;
}

/// A copy of the store beside it.
std::filesystem::path Joining::keep_store()
{
    auto const store = store_of(m_file.path.parent_path());
    auto kept = store;
    kept += ".before-join-" + time_in_name();
    m_store.backup(kept);
    return kept;
}

/// Makes the store a copy of the library.
void Joining::take(MergedRows const& merged, LibraryPosition const& position, std::optional<StoredRecord> const& record)
{
    try
    {
        Transaction transaction(m_store);
        m_store.join_library({.library = m_library, .server = m_server, .position = {}});
        m_store.apply_shared(merged.rows, true, position);
        if (record && m_file.history.size > 0)
        {
            m_store.add_record(*record, {.oldest = timestamp(std::chrono::system_clock::now() - m_file.history.keep),
                                         .bytes = m_file.history.size});
        }
        transaction.commit();
    }
    catch (StoreError const& error)
    {
        throw StoreError(std::string(error.what()) +
                         (record ? "; the library has the project's recipes all the same: join again" : ""));
    }
}

} // namespace Ravik
