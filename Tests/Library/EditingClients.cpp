#include "EditingClients.h"

#include <utility>

namespace Ravik::Test
{

namespace
{

/// Between the edits of a client, so that servers are not busy with nothing else.
constexpr std::chrono::milliseconds pause_between(10);

} // namespace

EditingClients::EditingClients(std::vector<std::unique_ptr<ServedLine>> const& lines, int of_each, std::uint64_t seed)
{
    for (auto const& line : lines)
    {
        for (int client = 0; client < of_each; ++client)
        {
            RandomEditor editor(line->name() + "." + std::to_string(client), ++seed);
            m_threads.emplace_back([this, &line, editor = std::move(editor)]() mutable
                                   { work(*line, std::move(editor)); });
        }
    }
}

EditingClients::~EditingClients()
{
    {
        std::lock_guard const lock(m_mutex);
        m_is_ending = true;
    }
    m_changed.notify_all();
    for (auto& thread : m_threads)
    {
        thread.join();
    }
}

void EditingClients::pause()
{
    std::unique_lock lock(m_mutex);
    m_is_paused = true;
    m_changed.wait(lock, [this] { return m_at_work == 0; });
}

void EditingClients::resume()
{
    {
        std::lock_guard const lock(m_mutex);
        m_is_paused = false;
    }
    m_changed.notify_all();
}

std::vector<Attempt> EditingClients::take()
{
    std::lock_guard const lock(m_mutex);
    return std::exchange(m_attempts, {});
}

void EditingClients::work(ServedLine const& line, RandomEditor editor)
{
    std::unique_ptr<Project> server;
    while (begin_edit())
    {
        std::vector<Attempt> attempts;
        server = server == nullptr ? line.connect() : std::move(server);
        if (server != nullptr)
        {
            attempts.push_back(editor.edit(*server));
            if (attempts.back().lost_server)
            {
                server.reset();
            }
        }
        end_edit(attempts);
    }
}

/// False at the end.
bool EditingClients::begin_edit()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, pause_between, [this] { return m_is_ending; });
    m_changed.wait(lock, [this] { return !m_is_paused || m_is_ending; });
    ++m_at_work;
    return !m_is_ending;
}

void EditingClients::end_edit(std::vector<Attempt> const& attempts)
{
    {
        std::lock_guard const lock(m_mutex);
        --m_at_work;
        m_attempts.insert(m_attempts.end(), attempts.begin(), attempts.end());
    }
    m_changed.notify_all();
}

} // namespace Ravik::Test
