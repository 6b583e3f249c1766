#pragma once

#include "RandomEditor.h"
#include "ServedLine.h"

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace Ravik::Test
{

/// Clients that edit at servers all the time, whatever happens to these, and note what becomes of it.
class EditingClients
{
public:
    /// So many of them at each line; the lines outlive them.
    EditingClients(std::vector<std::unique_ptr<ServedLine>> const& lines, int of_each, std::uint64_t seed);
    EditingClients(EditingClients const&) = delete;
    EditingClients& operator=(EditingClients const&) = delete;
    ~EditingClients();

    /// Returns once no edit is on its way.
    void pause();
    void resume();
    /// What was attempted since the last time, while they pause.
    std::vector<Attempt> take();

private:
    void work(ServedLine const& line, RandomEditor editor);
    bool begin_edit();
    void end_edit(std::vector<Attempt> const& attempts);

    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_is_paused = true;
    bool m_is_ending = false;
    int m_at_work = 0;
    std::vector<Attempt> m_attempts;
    std::vector<std::thread> m_threads;
};

} // namespace Ravik::Test
