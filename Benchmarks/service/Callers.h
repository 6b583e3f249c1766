#pragma once

#include "Wire.h"

#include <chrono>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace Ravik::Benchmark
{

using Clock = std::chrono::steady_clock;

/// A request with what every request needs, and further lines of the header, each with its end.
std::string request(std::string_view method, std::string_view target, std::string const& token,
                    std::string_view lines = {}, std::string_view body = {});

/// An answer to a request, good for the call that it is handed to.
struct Answer
{
    unsigned status = 0;
    /// With the empty line behind it.
    std::string_view head;
    std::string_view body;
    Clock::time_point sent;

    /// The field's value, empty where it is not there.
    std::string_view field(std::string_view name) const;
    bool is_success() const noexcept { return status >= 200 && status < 300; }
};

/// The first answer in the input, and its length; none before it is whole.
std::optional<Answer> first_answer(std::string_view input);

/// Clients that stay connected, with one request under way each at most. Not thread-safe.
class Callers
{
public:
    using Answered = std::function<void(std::size_t caller, Answer const& answer)>;

    Callers(std::uint16_t port, Encryption encryption) : m_port(port), m_encryption(encryption) {}

    /// Connects one more, which makes the request, an answer to which is awaited. Returns its number.
    std::size_t add(std::string const& first_request);
    std::size_t size() const noexcept { return m_callers.size(); }

    void send(std::size_t caller, std::string_view text);
    /// Hands on the answers that come until then, or are there where that is over.
    void wait(Clock::time_point until, Answered const& answered);
    /// How many requests are under way.
    std::size_t under_way() const noexcept { return m_under_way; }

private:
    struct Caller
    {
        Caller(std::uint16_t port, Encryption encryption) : wire(port, encryption) {}

        Wire wire;
        std::string input;
        Clock::time_point sent;
    };

    void receive(std::size_t number, Answered const& answered);

    std::uint16_t m_port;
    Encryption m_encryption;
    std::deque<Caller> m_callers;
    Readiness m_readiness;
    std::size_t m_under_way = 0;
};

} // namespace Ravik::Benchmark
