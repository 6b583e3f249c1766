#include "Http/Seats.h"

#include <utility>

namespace Ravik::Service
{

Seats::Seat::Seat(Seat&& other) noexcept
    : m_seats(std::exchange(other.m_seats, nullptr)), m_owner(std::move(other.m_owner)), m_is_user(other.m_is_user)
{
}

Seats::Seat& Seats::Seat::operator=(Seat&& other) noexcept
{
    if (this != &other)
    {
        leave();
        m_seats = std::exchange(other.m_seats, nullptr);
        m_owner = std::move(other.m_owner);
        m_is_user = other.m_is_user;
    }
    return *this;
}

bool Seats::Seat::give_to(std::string const& user)
{
    if (m_is_user && m_owner == user)
    {
        return true;
    }
    if (!Seats::add(m_seats->m_users, user, m_seats->m_limits.user))
    {
        return false;
    }
    Seats::remove(m_is_user ? m_seats->m_users : m_seats->m_addresses, m_owner);
    m_owner = user;
    m_is_user = true;
    return true;
}

void Seats::Seat::leave() noexcept
{
    if (auto* const seats = std::exchange(m_seats, nullptr))
    {
        Seats::remove(m_is_user ? seats->m_users : seats->m_addresses, m_owner);
        --seats->m_taken;
    }
}

Seats::Seat Seats::take(std::string address)
{
    if (m_taken >= m_limits.all || (!address.empty() && !add(m_addresses, address, m_limits.address)))
    {
        return {};
    }
    ++m_taken;
    return {*this, std::move(address)};
}

bool Seats::add(Counts& counts, std::string const& owner, std::size_t limit)
{
    auto const found = counts.find(owner);
    auto const count = found == counts.end() ? 0 : found->second;
    if (count >= limit)
    {
        return false;
    }
    counts[owner] = count + 1;
    return true;
}

void Seats::remove(Counts& counts, std::string const& owner) noexcept
{
    auto const found = counts.find(owner);
    if (found != counts.end() && --found->second == 0)
    {
        counts.erase(found);
    }
}

} // namespace Ravik::Service
