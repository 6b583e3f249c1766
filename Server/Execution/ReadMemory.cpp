#include "Execution/ReadMemory.h"

#include <numeric>

namespace Ravik
{

using RavikSrv::CommandGroup;
using RavikSrv::ErrorValue;
using RavikSrv::Session;

namespace
{

/// More than there are requests of several calls at any one time.
constexpr std::size_t most_ended = 16;

auto command_at(CommandGroup& group, std::size_t position)
{
    return group.begin_vector() + static_cast<std::ptrdiff_t>(position);
}

} // namespace

void ReadMemory::read(Session session, std::vector<Symbol const*> const& symbols, CommandGroup& group, Send const& send)
{
    auto const writes = m_writes.load();
    auto const unknown = recall(session, symbols, group);
    if (unknown.size() == group.size())
    {
        send(group);
        remember(session, symbols, group, writes);
        return;
    }
    if (unknown.empty())
    {
        return;
    }
    CommandGroup left;
    left.set_domain(group.domain());
    std::vector<Symbol const*> left_symbols;
    for (auto const position : unknown)
    {
        left.insert(left.end_vector(), *command_at(group, position));
        left_symbols.push_back(symbols[position]);
    }
    send(left);
    remember(session, left_symbols, left, writes);
    auto executed = left.begin_vector();
    for (auto const position : unknown)
    {
        *command_at(group, position) = *executed++;
    }
}

void ReadMemory::write(CommandGroup& group, Send const& send)
{
    ++m_writes;
    send(group);
    ++m_writes;
}

std::vector<std::size_t> ReadMemory::recall(Session session, std::vector<Symbol const*> const& symbols,
                                            CommandGroup& group)
{
    std::vector<std::size_t> unknown;
    RavikSrv::Lock const lock(m_mutex);
    auto const found = m_sessions.find(session.id());
    if (found == m_sessions.end() || found->second.empty() || found->second.writes != m_writes.load())
    {
        unknown.resize(group.size());
        std::iota(unknown.begin(), unknown.end(), 0);
        return unknown;
    }
    auto& [writes, last, others] = found->second;
    others.insert(last.begin(), last.end());
    last.clear();
    std::size_t position = 0;
    for (auto command = group.begin_vector(); command != group.end_vector(); ++command, ++position)
    {
        if (auto const value = others.find(symbols[position]); value != others.end())
        {
            command->set_read_value(value->second);
        }
        else
        {
            unknown.push_back(position);
        }
    }
    return unknown;
}

void ReadMemory::remember(Session session, std::vector<Symbol const*> const& symbols, CommandGroup const& group,
                          std::uint64_t writes)
{
    RavikSrv::Lock const lock(m_mutex);
    auto const found = m_sessions.find(session.id());
    if (found == m_sessions.end() || writes != m_writes.load())
    {
        return;
    }
    auto& known = found->second;
    if (known.writes != writes)
    {
        known = {};
        known.writes = writes;
    }
    known.last.reserve(known.last.size() + group.size());
    auto symbol = symbols.begin();
    for (auto command = group.begin_vector(); command != group.end_vector(); ++command, ++symbol)
    {
        if (command->result() == ErrorValue::SUCCESS)
        {
            known.last.emplace_back(*symbol, command->read_value());
        }
    }
}

void ReadMemory::begin(Session session)
{
    RavikSrv::Lock const lock(m_mutex);
    m_sessions[session.id()];
    std::erase(m_ended, session.id());
}

void ReadMemory::end(Session session)
{
    RavikSrv::Lock const lock(m_mutex);
    auto const found = m_sessions.find(session.id());
    if (found->second.empty() || found->second.writes != m_writes.load())
    {
        m_sessions.erase(found);
        return;
    }
    m_ended.push_back(session.id());
    if (m_ended.size() > most_ended)
    {
        m_sessions.erase(m_ended.front());
        m_ended.pop_front();
    }
}

ReadMemory::Scope::Scope(ReadMemory& memory, Session session) : m_memory(memory), m_session(session)
{
    m_memory.begin(m_session);
}

ReadMemory::Scope::~Scope()
{
    m_memory.end(m_session);
}

} // namespace Ravik
