#pragma once

#include "RavikSrvExt/Command.h"
#include "RavikSrvExt/Iterators.h"

#include <cstdint>
#include <string>
#include <vector>

namespace RavikSrv
{

/// The unit of a request and of a batch of server commands: commands in the order in which they are executed, and the
/// domain that executes them. A regular value; it belongs to the call that it was handed to and does no locking.
class CommandGroup
{
public:
    CommandGroup() = default;

    /// The domain's name, zero-terminated; owned by the group.
    char const* domain() const noexcept { return m_domain.c_str(); }
    /// Copies `domain`, which must not be null.
    void set_domain(char const* domain) { m_domain = domain; }

    VectorIterator<Command> begin_vector() noexcept { return VectorIterator<Command>(m_commands.data()); }
    VectorIterator<Command> end_vector() noexcept { return begin_vector() + count(); }
    ConstVectorIterator<Command> begin_vector() const noexcept
    {
        return ConstVectorIterator<Command>(m_commands.data());
    }
    ConstVectorIterator<Command> end_vector() const noexcept { return begin_vector() + count(); }

    /// Inserts a copy of `command` before `position`, which is an iterator of this group (`end_vector()` appends).
    /// Returns the new command's position; all earlier iterators are invalid.
    VectorIterator<Command> insert(VectorIterator<Command> const& position, Command const& command)
    {
        auto const offset = position - begin_vector();
        m_commands.insert(m_commands.begin() + offset, command);
        return begin_vector() + offset;
    }

    bool empty() const noexcept { return m_commands.empty(); }
    /// The number of commands.
    std::size_t size() const noexcept { return m_commands.size(); }

    /// The overall result, in the numbering of the extension that answered the group; 0 for success.
    std::uint32_t result() const noexcept { return m_result; }
    void set_result(std::uint32_t result) noexcept { m_result = result; }

private:
    std::ptrdiff_t count() const noexcept { return static_cast<std::ptrdiff_t>(m_commands.size()); }

    std::string m_domain;
    std::vector<Command> m_commands;
    std::uint32_t m_result = 0;
};

} // namespace RavikSrv
