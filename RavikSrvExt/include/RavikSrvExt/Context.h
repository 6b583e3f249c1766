#pragma once

#include <cstdint>
#include <string>

namespace RavikSrv
{

class IRavikSrvRequestWatcher;

/// The client session that a request belongs to.
class Session
{
public:
    Session() = default;
    explicit Session(std::uint64_t id) noexcept : m_id(id) {}

    /// The session's number; 0 stands for the server itself.
    std::uint64_t id() const noexcept { return m_id; }

private:
    std::uint64_t m_id = 0;
};

/// The origin of a request or listener call: the domain that it speaks for and the client session behind it.
/// Operations of the host that read or write configuration do so in the context's domain.
class Context
{
public:
    Context() = default;

    /// The domain's name, zero-terminated; owned by this object.
    char const* domain() const noexcept { return m_domain.c_str(); }
    /// Copies `domain`, which must not be null.
    void set_domain(char const* domain) { m_domain = domain; }

    Session const& session() const noexcept { return m_session; }
    void set_session(Session session) noexcept { m_session = session; }

    /// Who waits for the request, null where nobody does; not owned.
    IRavikSrvRequestWatcher* watcher() const noexcept { return m_watcher; }
    void set_watcher(IRavikSrvRequestWatcher* watcher) noexcept { m_watcher = watcher; }

private:
    std::string m_domain;
    Session m_session;
    IRavikSrvRequestWatcher* m_watcher = nullptr;
};

} // namespace RavikSrv
