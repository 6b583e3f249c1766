#include "Watchers.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <stdexcept>

namespace Ravik::Benchmark
{

namespace
{

using std::chrono::duration_cast;
using std::chrono::microseconds;
using std::chrono::milliseconds;

/// What a client may be late by and still be told of: far more than the mark.
constexpr milliseconds longest_delay{5000};

enum class Opcode : unsigned
{
    text = 1,
    close = 8,
    ping = 9,
    pong = 10,
};

unsigned byte(std::string_view text, std::size_t place)
{
    return static_cast<unsigned char>(text[place]);
}

/// A frame of a client, whose mask of zeros changes nothing of what is in it.
std::string frame(Opcode opcode, std::string_view content)
{
    std::string text;
    auto const append = [&text](std::size_t value) { text.push_back(static_cast<char>(value & 0xffU)); };
    append(0x80U | static_cast<unsigned>(opcode));
    append(content.size() < 126 ? 0x80U | content.size() : 0x80U | 126U);
    if (content.size() >= 126)
    {
        append(content.size() >> 8U);
        append(content.size());
    }
    return text.append(4, '\0').append(content);
}

/// A frame of the server.
struct Frame
{
    Opcode opcode = Opcode::text;
    std::string_view content;
    std::size_t size = 0;
};

/// The first frame in the input, none before it is whole.
std::optional<Frame> first_frame(std::string_view input)
{
    if (input.size() < 2)
    {
        return std::nullopt;
    }
    std::size_t length = byte(input, 1);
    std::size_t const more = length < 126 ? 0 : length == 126 ? 2 : 8;
    if (input.size() < 2 + more)
    {
        return std::nullopt;
    }
    length = more == 0 ? length : 0;
    for (std::size_t place = 2; place < 2 + more; ++place)
    {
        length = length << 8U | byte(input, place);
    }
    if (input.size() < 2 + more + length)
    {
        return std::nullopt;
    }
    return Frame{.opcode = static_cast<Opcode>(byte(input, 0) & 0xfU),
                 .content = input.substr(2 + more, length),
                 .size = 2 + more + length};
}

/// The number that a message gives for the symbol, none where it tells of none.
std::optional<long> value_of(std::string_view message, std::string const& symbol)
{
    auto const place = message.find('"' + symbol + '"');
    if (place == std::string_view::npos)
    {
        return std::nullopt;
    }
    auto text = message.substr(message.find("\"value\":", place) + 8);
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    long number = 0;
    auto const read = std::from_chars(text.data(), text.data() + text.size(), number);
    return read.ec == std::errc() ? std::optional(number) : std::nullopt;
}

std::string upgrade(std::string const& token)
{
    return request("GET", "/api/v1/events", token,
                   "Connection: Upgrade\r\nUpgrade: websocket\r\nSec-WebSocket-Version: 13\r\n"
                   "Sec-WebSocket-Key: AAAAAAAAAAAAAAAAAAAAAA==\r\n");
}

std::string subscription()
{
    std::string text = R"({"symbols":[)";
    for (int number = 0; number < Plant::values; ++number)
    {
        text.append(number == 0 ? "\"" : ",\"").append(Plant::symbol(number)).append("\"");
    }
    return frame(Opcode::text, text + "]}");
}

} // namespace

void Watchers::add(std::string const& token)
{
    auto const number = m_watchers.size();
    auto& watcher = m_watchers.emplace_back(m_port, m_encryption);
    watcher.wire.send(upgrade(token));
    while (!first_answer(watcher.input))
    {
        watcher.wire.wait();
        watcher.wire.receive(watcher.input);
    }
    auto const answer = *first_answer(watcher.input);
    if (answer.status != 101)
    {
        throw std::runtime_error("a stream was refused: " + watcher.input);
    }
    watcher.input.erase(0, answer.head.size());
    watcher.wire.send(subscription());
    while (!first_frame(watcher.input))
    {
        watcher.wire.wait();
        watcher.wire.receive(watcher.input);
    }
    // It tells what was read before.
    watcher.input.erase(0, first_frame(watcher.input)->size);
    m_readiness.add(watcher.wire, number);
}

void Watchers::listen(milliseconds time)
{
    auto const end = Clock::now() + time;
    for (auto now = Clock::now(); now < end; now = Clock::now())
    {
        auto const left = std::chrono::ceil<milliseconds>(end - now);
        m_readiness.wait(static_cast<int>(left.count()), [this](std::size_t number) { receive(number); });
    }
}

Watchers::Account Watchers::account(milliseconds time)
{
    auto const begin = Clock::now();
    auto const end = begin + time;
    m_polls.clear();
    listen(time);
    auto const is_missing = [&](auto const& poll) { return poll.second.clients < size(); };
    while (Clock::now() < end + longest_delay && std::any_of(m_polls.begin(), m_polls.end(), is_missing))
    {
        listen(milliseconds(100));
    }
    auto const stamp = [](Clock::time_point point)
    { return static_cast<long>(duration_cast<microseconds>(point.time_since_epoch()).count()); };
    m_polls.erase(m_polls.begin(), m_polls.lower_bound(stamp(begin)));
    m_polls.erase(m_polls.lower_bound(stamp(end)), m_polls.end());
    if (m_polls.size() < 2)
    {
        throw std::runtime_error("nothing was polled");
    }
    Account account;
    account.polls = m_polls.size();
    for (auto const& [time_read, poll] : m_polls)
    {
        account.incomplete += poll.clients == size() ? 0U : 1U;
        account.delays.insert(account.delays.end(), poll.delays.begin(), poll.delays.end());
    }
    std::sort(account.delays.begin(), account.delays.end());
    auto const& [first_time, first] = *m_polls.begin();
    auto const& [last_time, last] = *m_polls.rbegin();
    account.reads_a_second =
        1e6 * static_cast<double>(last.reads - first.reads) / static_cast<double>(last_time - first_time);
    return account;
}

void Watchers::receive(std::size_t number)
{
    auto& watcher = m_watchers[number];
    watcher.wire.receive(watcher.input);
    auto const now = Clock::now();
    std::size_t used = 0;
    while (auto const frame_there = first_frame(std::string_view(watcher.input).substr(used)))
    {
        used += frame_there->size;
        switch (frame_there->opcode)
        {
        case Opcode::text:
            take(frame_there->content, now);
            break;
        case Opcode::ping:
            watcher.wire.send(frame(Opcode::pong, frame_there->content));
            break;
        case Opcode::pong:
            break;
        case Opcode::close:
            throw std::runtime_error("a stream was closed: " + std::string(frame_there->content));
        }
    }
    watcher.input.erase(0, used);
}

void Watchers::take(std::string_view message, Clock::time_point now)
{
    auto const reads = value_of(message, Plant::symbol(0));
    auto const time = value_of(message, Plant::symbol(1));
    if (!reads || !time)
    {
        return;
    }
    auto& poll = m_polls[*time];
    poll.reads = *reads;
    ++poll.clients;
    poll.delays.push_back(static_cast<double>(duration_cast<microseconds>(now.time_since_epoch()).count() - *time) /
                          1e3);
}

} // namespace Ravik::Benchmark
