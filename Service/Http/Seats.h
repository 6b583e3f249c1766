#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>

namespace Ravik::Service
{

/// How many connections there may be, of all, of an address and of a user. Not thread-safe.
class Seats
{
public:
    struct Limits
    {
        std::size_t all = 0;
        std::size_t address = 0;
        std::size_t user = 0;
    };

    /// The place that one connection takes up, first for its address and, once it is known, for its user; free again
    /// with its end. It does not outlive the seats.
    class Seat
    {
    public:
        Seat() = default;
        Seat(Seat&& other) noexcept;
        Seat& operator=(Seat&& other) noexcept;
        Seat(Seat const&) = delete;
        Seat& operator=(Seat const&) = delete;
        ~Seat() { leave(); }

        explicit operator bool() const noexcept { return m_seats != nullptr; }
        /// Counts the connection for the user from now on; false, and as it was, where he has too many.
        [[nodiscard]] bool give_to(std::string const& user);
        void leave() noexcept;

    private:
        friend class Seats;
        Seat(Seats& seats, std::string address) : m_seats(&seats), m_owner(std::move(address)) {}

        Seats* m_seats = nullptr;
        /// Whom it is counted for; empty where nobody's connections are counted.
        std::string m_owner;
        bool m_is_user = false;
    };

    explicit Seats(Limits limits) : m_limits(limits) {}

    /// A seat for a connection from the address; one that is false where there are too many. Those of an empty address
    /// count among all alone.
    Seat take(std::string address);
    std::size_t taken() const noexcept { return m_taken; }

private:
    using Counts = std::unordered_map<std::string, std::size_t>;

    static bool add(Counts& counts, std::string const& owner, std::size_t limit);
    static void remove(Counts& counts, std::string const& owner) noexcept;

    Limits m_limits;
    std::size_t m_taken = 0;
    Counts m_addresses;
    Counts m_users;
};

} // namespace Ravik::Service
