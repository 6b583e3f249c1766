#include "Library/LibraryLink.h"

#include "Configuration/random_id.h"
#include "History/timestamp.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace Ravik
{

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace
{

/// How often the head is looked at though no notification came.
constexpr milliseconds heartbeat{1000};
/// Before a link is tried again; it doubles each time.
constexpr milliseconds shortest_pause{50};
constexpr milliseconds longest_pause{1000};
/// How long an edit waits for a server that has just started to find its library.
constexpr milliseconds longest_start{5000};
/// A link that fails within this time of being asked was lost before, so another one is tried.
constexpr milliseconds stale_link{1000};

std::string now_text()
{
    return timestamp(std::chrono::system_clock::now());
}

} // namespace

LibraryLink::LibraryLink(LibrarySettings settings, Core& core, History const& history)
    : m_settings(std::move(settings)), m_core(core),
      m_follower(core, history), m_caller{.server = core.configuration.shared()->server,
                                          .process = random_id(),
                                          .library = core.configuration.shared()->library}
{
    m_status.state = State::Connecting;
    m_status.address = m_settings.postgresql;
    m_status.schema = m_settings.schema;
    m_status.server = m_caller.server.name;
    m_status.since = now_text();
    core.configuration.set_gate(this);
    m_thread = std::thread([this] { follow(); });
}

LibraryLink::~LibraryLink()
{
    {
        RavikSrv::Lock const lock(m_mutex);
        m_is_ending = true;
    }
    m_wakeup.ring();
    m_thread.join();
    m_core.configuration.set_gate(nullptr);
}

// Turns ---------------------------------------------------------------------------------------------------------------

std::string LibraryLink::enter()
{
    m_queue.lock();
    try
    {
        begin_turn();
        return {};
    }
    catch (std::exception const& error)
    {
        m_queue.unlock();
        return error.what();
    }
}

void LibraryLink::begin_turn()
{
    static_cast<void>(settle(longest_start));
    check_state();
    auto const begun = steady_clock::now();
    for (auto is_last = false;; is_last = true)
    {
        try
        {
            if (m_turns == nullptr)
            {
                m_turns = Library::connect(m_settings, m_caller, Library::Kind::Turns);
            }
            m_head = m_turns->begin_turn();
            m_has_turn = true;
            return;
        }
        catch (LibraryError const& error)
        {
            if (error.kind() == LibraryError::Kind::Refused)
            {
                throw;
            }
            m_turns.reset();
            if (is_last || steady_clock::now() - begun > stale_link)
            {
                m_wakeup.ring();
                throw;
            }
        }
    }
}

/// Throws where the thread that follows has found that nothing can be edited.
void LibraryLink::check_state() const
{
    auto const now = status();
    if (now.state == State::Following)
    {
        return;
    }
    auto const text = now.state == State::Stopped ? "nothing is edited here since " + now.since + ": " + now.why
                                                  : "there is no link to the library (" + now.address + ") since " +
                                                        now.since + (now.why.empty() ? std::string() : ": " + now.why);
    throw LibraryError(LibraryError::Kind::Unreachable, text);
}

std::string LibraryLink::catch_up()
{
    try
    {
        m_follower.bring_forward(*m_turns, m_head);
        return {};
    }
    catch (std::exception const& error)
    {
        m_wakeup.ring();
        return error.what();
    }
}

Configuration::Gate::Outcome LibraryLink::commit(LibraryDraft const& draft, std::vector<StoredRecord>& records)
{
    LibraryEdit edit{.head = m_head, .rows = draft.rows(), .records = {}};
    edit.head.position = {.revision = m_head.position.revision + 1, .edit = random_id()};
    edit.head.sum = draft.sum();
    edit.head.last_rank = draft.last_rank();
    for (auto& record : records)
    {
        record.server = m_caller.server.name;
        record.edit = edit.head.position.edit;
    }
    edit.records = records;
    m_own_revision = edit.head.position.revision;
    try
    {
        auto const times = m_turns->commit(edit);
        m_has_turn = false;
        for (std::size_t index = 0; index < std::min(times.size(), records.size()); ++index)
        {
            records[index].time = times[index];
        }
        return {.position = edit.head.position, .failure = {}, .unknown_edit = {}};
    }
    catch (LibraryError const& error)
    {
        // Another server may make one of that number.
        m_own_revision = 0;
        if (error.kind() == LibraryError::Kind::Refused)
        {
            return {.position = {}, .failure = error.what(), .unknown_edit = {}};
        }
        end_turn();
        m_turns.reset();
        auto const is_unknown = error.kind() == LibraryError::Kind::OutcomeUnknown;
        return {.position = {},
                .failure = is_unknown ? note_unknown(edit.head.position.edit) : error.what(),
                .unknown_edit = is_unknown ? edit.head.position.edit : std::string()};
    }
}

/// Has the thread that follows look for the edit as soon as there is a link. Returns what is told of it.
std::string LibraryLink::note_unknown(std::string const& edit)
{
    {
        RavikSrv::Lock const lock(m_mutex);
        m_status.unknown_edits.push_back(edit);
    }
    m_wakeup.ring();
    return "the link to the library was lost before it answered, so it is not known whether edit " + edit +
           " was made; 'ravik history show " + edit + "' tells it once there is a link";
}

void LibraryLink::leave() noexcept
{
    end_turn();
    m_queue.unlock();
}

void LibraryLink::end_turn() noexcept
{
    if (std::exchange(m_has_turn, false) && m_turns != nullptr)
    {
        m_turns->end_turn();
    }
}

std::optional<LibraryRecord> LibraryLink::find_edit(std::string const& edit)
{
    std::lock_guard const lock(m_queue);
    begin_turn();
    try
    {
        auto found = m_turns->record_of(edit);
        end_turn();
        return found;
    }
    catch (...)
    {
        end_turn();
        throw;
    }
}

// Status --------------------------------------------------------------------------------------------------------------

LibraryStatus LibraryLink::status() const
{
    auto const copy = m_core.configuration.shared();
    auto const failure = m_core.configuration.copy_failure();
    RavikSrv::Lock const lock(m_mutex);
    auto status = m_status;
    status.position = copy->position;
    status.newest = status.state == State::Stopped ? status.newest : std::max(status.newest, copy->position.revision);
    status.copy_failure = failure;
    return status;
}

bool LibraryLink::settle(milliseconds most) const
{
    RavikSrv::Lock const lock(m_mutex);
    auto const is_settled = [this]() RAVIK_REQUIRES(m_mutex) { return m_status.state != State::Connecting; };
    m_settled.wait_for(m_mutex, most, is_settled);
    return m_status.state == State::Following;
}

void LibraryLink::set_state(State state, std::string const& why)
{
    {
        RavikSrv::Lock const lock(m_mutex);
        if (m_status.state != state)
        {
            m_status.state = state;
            m_status.since = now_text();
        }
        m_status.why = why;
        if (state != State::Following)
        {
            m_status.peers.clear();
        }
    }
    m_settled.notify_all();
}

// Following -----------------------------------------------------------------------------------------------------------

void LibraryLink::follow() noexcept
{
    auto const is_ending = [this]
    {
        RavikSrv::Lock const lock(m_mutex);
        return m_is_ending;
    };
    while (!is_ending())
    {
        m_wakeup.reset();
        try
        {
            follow_once();
            static_cast<void>(m_following->wait(heartbeat, m_wakeup.descriptor(), m_own_revision));
        }
        catch (LibraryError const& error)
        {
            fail(error);
        }
        catch (std::exception const& error)
        {
            fail(LibraryError(LibraryError::Kind::Refused, error.what()));
        }
    }
}

void LibraryLink::follow_once()
{
    if (m_following == nullptr)
    {
        m_following = Library::connect(m_settings, m_caller, Library::Kind::Following);
    }
    look_for_unknown_edits();
    auto const head = m_following->head();
    {
        RavikSrv::Lock const lock(m_mutex);
        m_status.newest = head.position.revision;
    }
    m_follower.bring_forward(*m_following, head);
    m_pause = milliseconds(0);
    set_state(State::Following, {});
    look_around();
}

/// While this holds the head no edit can be on its way: what is not there then was not made, and what is there comes
/// with the news.
void LibraryLink::look_for_unknown_edits()
{
    auto const unknown = status().unknown_edits;
    if (unknown.empty())
    {
        return;
    }
    static_cast<void>(m_following->begin_turn());
    m_following->end_turn();
    RavikSrv::Lock const lock(m_mutex);
    std::erase_if(m_status.unknown_edits, [&unknown](std::string const& edit)
                  { return std::find(unknown.begin(), unknown.end(), edit) != unknown.end(); });
}

void LibraryLink::look_around()
{
    if (steady_clock::now() < m_next_look)
    {
        return;
    }
    m_next_look = steady_clock::now() + heartbeat;
    auto peers = m_following->peers();
    RavikSrv::Lock const lock(m_mutex);
    m_status.peers = std::move(peers);
}

/// A link that is lost is tried again once before anybody is told.
void LibraryLink::fail(LibraryError const& error) noexcept
{
    auto const is_refusal = error.kind() == LibraryError::Kind::Refused;
    if (!is_refusal)
    {
        m_following.reset();
    }
    auto const is_first = m_pause == milliseconds(0) && !is_refusal && status().state == State::Following;
    m_pause = std::clamp(2 * m_pause, shortest_pause, longest_pause);
    if (!is_first)
    {
        set_state(is_refusal ? State::Stopped : State::Alone, error.what());
    }
    m_wakeup.wait(m_pause);
}

} // namespace Ravik
