#pragma once

#include "Callers.h"

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

namespace Ravik::Benchmark
{

/// Clients of the stream of events that all watch the symbols of a plant. Not thread-safe.
class Watchers
{
public:
    /// How they fared with the polls of a while.
    struct Account
    {
        /// From when a poll read until a client had the message, in milliseconds, in ascending order.
        std::vector<double> delays;
        /// How many polls there were, and how many of them did not come to every client.
        std::size_t polls = 0;
        std::size_t incomplete = 0;
        /// How often the devices were asked a second.
        double reads_a_second = 0;
    };

    Watchers(std::uint16_t port, Encryption encryption) : m_port(port), m_encryption(encryption) {}

    /// Connects one more and waits for its first message.
    void add(std::string const& token);
    std::size_t size() const noexcept { return m_watchers.size(); }

    /// Listens for so long and forgets what it hears.
    void listen(std::chrono::milliseconds time);
    /// Listens for so long, and long enough behind it for what was read until then to come.
    Account account(std::chrono::milliseconds time);

private:
    struct Watcher
    {
        Watcher(std::uint16_t port, Encryption encryption) : wire(port, encryption) {}

        Wire wire;
        std::string input;
    };
    /// A poll as the clients heard of it.
    struct Poll
    {
        long reads = 0;
        std::size_t clients = 0;
        std::vector<double> delays;
    };

    void receive(std::size_t number);
    void take(std::string_view message, Clock::time_point now);

    std::uint16_t m_port;
    Encryption m_encryption;
    std::deque<Watcher> m_watchers;
    Readiness m_readiness;
    /// By the time of reading, in microseconds.
    std::map<long, Poll> m_polls;
};

} // namespace Ravik::Benchmark
