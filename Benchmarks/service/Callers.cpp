#include "Callers.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <utility>

namespace Ravik::Benchmark
{

namespace
{

constexpr std::string_view line_end = "\r\n";

std::size_t number_in(std::string_view text)
{
    std::size_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

} // namespace

std::string request(std::string_view method, std::string_view target, std::string const& token, std::string_view lines,
                    std::string_view body)
{
    std::string text(method);
    text.append(" ").append(target).append(" HTTP/1.1\r\nHost: localhost\r\nAuthorization: Bearer ").append(token);
    text.append(line_end).append(lines);
    if (!body.empty())
    {
        text.append("Content-Length: ").append(std::to_string(body.size())).append(line_end);
    }
    return text.append(line_end).append(body);
}

std::string_view Answer::field(std::string_view name) const
{
    auto const line = std::string(line_end).append(name).append(": ");
    auto const place = head.find(line);
    if (place == std::string_view::npos)
    {
        return {};
    }
    auto const value = head.substr(place + line.size());
    return value.substr(0, value.find(line_end));
}

std::optional<Answer> first_answer(std::string_view input)
{
    constexpr std::string_view version = "HTTP/1.1 ";
    constexpr std::string_view head_end = "\r\n\r\n";
    auto const end = input.find(head_end);
    if (end == std::string_view::npos)
    {
        return std::nullopt;
    }
    Answer answer{.status = static_cast<unsigned>(number_in(input.substr(version.size()))),
                  .head = input.substr(0, end + head_end.size()),
                  .body = {},
                  .sent = {}};
    auto const length = number_in(answer.field("Content-Length"));
    if (input.size() < answer.head.size() + length)
    {
        return std::nullopt;
    }
    answer.body = input.substr(answer.head.size(), length);
    return answer;
}

std::size_t Callers::add(std::string const& first_request)
{
    auto const number = m_callers.size();
    auto& caller = m_callers.emplace_back(m_port, m_encryption);
    caller.wire.send(first_request);
    while (!first_answer(caller.input))
    {
        caller.wire.wait();
        caller.wire.receive(caller.input);
    }
    if (auto const answer = first_answer(caller.input); !answer->is_success())
    {
        throw std::runtime_error("a first request failed: " + caller.input);
    }
    caller.input.clear();
    m_readiness.add(caller.wire, number);
    return number;
}

void Callers::send(std::size_t caller, std::string_view text)
{
    m_callers[caller].sent = Clock::now();
    m_callers[caller].wire.send(text);
    ++m_under_way;
}

void Callers::wait(Clock::time_point until, Answered const& answered)
{
    auto left = until - Clock::now();
    do
    {
        auto const milliseconds = std::max(0L, std::chrono::ceil<std::chrono::milliseconds>(left).count());
        m_readiness.wait(static_cast<int>(milliseconds), [&](std::size_t number) { receive(number, answered); });
        left = until - Clock::now();
    } while (left.count() > 0);
}

void Callers::receive(std::size_t number, Answered const& answered)
{
    auto& caller = m_callers[number];
    caller.wire.receive(caller.input);
    if (!first_answer(caller.input))
    {
        return;
    }
    // Whoever is called may send the next request, whose answer comes into the same place.
    auto const input = std::exchange(caller.input, {});
    auto answer = *first_answer(input);
    answer.sent = caller.sent;
    --m_under_way;
    answered(number, answer);
}

} // namespace Ravik::Benchmark
