// A Modbus TCP device to try things on: its coils, inputs and registers are kept in memory, 65536 of each, and start as
// 0. It serves any number of connections, one request after the other, until it is ended by a signal. Its answers may
// take their time on the line, and its input registers may be those of a machine at work.

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <deque>
#include <exception>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <modbus/modbus.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

constexpr auto usage = R"(usage: modbus_device [--port PORT] [--delay MS] [--latency MS] [--refuse FIRST-LAST]
                     [--keep FIRST-LAST] [--highest NUMBER] [--live] [--count]

  --port PORT           where it listens on 127.0.0.1; 0, the default, is a free port
  --delay MS            how long it takes to carry out a request, while others wait
  --latency MS          how long an answer takes on the line, where several may be at once
  --refuse FIRST-LAST   addresses, in all tables, that it answers with the exception "illegal data address"
  --keep FIRST-LAST     holding registers that take a write and keep what they hold
  --highest NUMBER      what a holding register makes of a higher number that is written to it
  --live                input registers that change by themselves: the first four are a 64-bit number that counts four
                        pieces a second, each pair behind them a 32-bit float that swings by a tenth around its address
  --count               whenever a connection ends, print how many requests came over it

It prints its port once it listens.
)";

constexpr int table_size = 65536;

/// Addresses, none by default.
struct Range
{
    int first = table_size;
    int last = -1;
};

struct Options
{
    int port = 0;
    std::chrono::milliseconds delay{0};
    std::chrono::milliseconds latency{0};
    Range refused;
    Range kept;
    int highest = table_size - 1;
    bool is_live = false;
    bool counts = false;
};

int number(std::string_view text, int highest)
{
    int value = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < 0 || value > highest)
    {
        throw std::invalid_argument("expected a number from 0 to " + std::to_string(highest) + ", found '" +
                                    std::string(text) + "'");
    }
    return value;
}

Range range(std::string_view text)
{
    auto const hyphen = std::min(text.find('-'), text.size());
    Range const range{number(text.substr(0, hyphen), table_size - 1),
                      number(text.substr(std::min(hyphen + 1, text.size())), table_size - 1)};
    if (range.first > range.last)
    {
        throw std::invalid_argument("expected the lower address first, found '" + std::string(text) + "'");
    }
    return range;
}

Options options_of(std::vector<std::string_view> const& arguments)
{
    constexpr int longest_delay = 60'000;
    Options options;
    for (std::size_t index = 0; index < arguments.size(); ++index)
    {
        auto const option = arguments[index];
        if (option == "--count" || option == "--live")
        {
            (option == "--live" ? options.is_live : options.counts) = true;
            continue;
        }
        if (++index == arguments.size())
        {
            throw std::invalid_argument("expected a value behind '" + std::string(option) + "'");
        }
        auto const value = arguments[index];
        if (option == "--port")
        {
            options.port = number(value, table_size - 1);
        }
        else if (option == "--delay")
        {
            options.delay = std::chrono::milliseconds(number(value, longest_delay));
        }
        else if (option == "--latency")
        {
            options.latency = std::chrono::milliseconds(number(value, longest_delay));
        }
        else if (option == "--refuse")
        {
            options.refused = range(value);
        }
        else if (option == "--keep")
        {
            options.kept = range(value);
        }
        else if (option == "--highest")
        {
            options.highest = number(value, table_size - 1);
        }
        else
        {
            throw std::invalid_argument("unknown option '" + std::string(option) + "'");
        }
    }
    return options;
}

struct Deleter
{
    void operator()(modbus_t* device) const { modbus_free(device); }
    void operator()(modbus_mapping_t* tables) const { modbus_mapping_free(tables); }
};

/// The address of the first live float, and how many registers the number before it takes.
constexpr int live_floats = 4;

/// Pieces since 1970, so that a device that is started again goes on counting.
std::uint64_t live_count(double seconds)
{
    constexpr double pieces_a_second = 4;
    return static_cast<std::uint64_t>(seconds * pieces_a_second);
}

/// Rounded to hundredths; no two neighbours swing alike.
std::uint32_t live_float(int address, double seconds)
{
    constexpr double hundred = 100;
    constexpr double pace = 0.3;
    double const value = address * (1 + std::sin(seconds * pace + address) / 10);
    return std::bit_cast<std::uint32_t>(static_cast<float>(std::round(value * hundred) / hundred));
}

/// What a live input register holds at a time; the higher word comes first.
std::uint16_t live_register(int address, double seconds)
{
    constexpr int word = 16;
    if (address < live_floats)
    {
        return static_cast<std::uint16_t>(live_count(seconds) >> (word * (live_floats - 1 - address)));
    }
    return static_cast<std::uint16_t>(live_float(address & ~1, seconds) >> (address % 2 == 0 ? word : 0));
}

using Clock = std::chrono::steady_clock;

/// An answer on the line.
struct Answer
{
    Clock::time_point due;
    int socket;
    std::vector<std::uint8_t> bytes;
};

class Device
{
public:
    explicit Device(Options const& options)
        : m_options(options), m_device(modbus_new_tcp("127.0.0.1", options.port)),
          m_tables(modbus_mapping_new(table_size, table_size, table_size, table_size))
    {
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, m_line.data()) != 0)
        {
            throw std::runtime_error("no line for the answers");
        }
        constexpr int waiting_connections = 16;
        m_sockets.push_back(
            {m_device == nullptr ? -1 : modbus_tcp_listen(m_device.get(), waiting_connections), POLLIN, 0});
        if (m_tables == nullptr || m_sockets.front().fd < 0)
        {
            throw std::runtime_error(std::string("can't listen: ") + modbus_strerror(errno));
        }
    }

    ~Device()
    {
        for (auto const& socket : m_sockets)
        {
            close(socket.fd);
        }
        std::for_each(m_line.begin(), m_line.end(), close);
    }
    Device(Device const&) = delete;
    Device& operator=(Device const&) = delete;

    int port() const
    {
        sockaddr_in address{};
        socklen_t size = sizeof address;
        getsockname(m_sockets.front().fd, reinterpret_cast<sockaddr*>(&address), &size);
        return ntohs(address.sin_port);
    }

    void serve()
    {
        while (wait() >= 0 || errno == EINTR)
        {
            send_due_answers();
            for (std::size_t index = m_sockets.size() - 1; index > 0; --index)
            {
                if (m_sockets[index].revents != 0 && !answer(index))
                {
                    end_connection(static_cast<std::ptrdiff_t>(index));
                }
            }
            if (m_sockets.front().revents != 0)
            {
                accept_connection();
            }
        }
    }

private:
    /// Waits for something to be read, or for an answer to be due.
    int wait()
    {
        if (m_answers.empty())
        {
            return poll(m_sockets.data(), m_sockets.size(), -1);
        }
        using namespace std::chrono;
        auto const left = std::max(m_answers.front().due - Clock::now(), Clock::duration::zero());
        auto const whole = floor<seconds>(left);
        timespec const limit = {.tv_sec = whole.count(), .tv_nsec = nanoseconds(left - whole).count()};
        return ppoll(m_sockets.data(), m_sockets.size(), &limit, nullptr);
    }

    void send_due_answers()
    {
        for (; !m_answers.empty() && m_answers.front().due <= Clock::now(); m_answers.pop_front())
        {
            auto const& [due, socket, bytes] = m_answers.front();
            // What does not arrive shows when the connection is read.
            static_cast<void>(send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL));
        }
    }

    void accept_connection()
    {
        int const socket = accept4(m_sockets.front().fd, nullptr, nullptr, SOCK_CLOEXEC);
        // The library waits with select, which must not be given a number beyond its fixed size.
        if (socket >= FD_SETSIZE)
        {
            close(socket);
        }
        else if (socket >= 0)
        {
            int const on = 1;
            setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
            m_sockets.push_back({socket, POLLIN, 0});
            m_requests.push_back(0);
        }
    }

    void end_connection(std::ptrdiff_t index)
    {
        if (m_options.counts)
        {
            // NOLINTNEXTLINE(performance-avoid-endl): whoever started it may wait for the line
            std::cout << m_requests[static_cast<std::size_t>(index)] << " requests" << std::endl;
        }
        auto const socket = m_sockets[static_cast<std::size_t>(index)].fd;
        std::erase_if(m_answers, [&](Answer const& answer) { return answer.socket == socket; });
        close(socket);
        m_sockets.erase(m_sockets.begin() + index);
        m_requests.erase(m_requests.begin() + index);
    }

    /// Answers one request; false where the connection has ended.
    bool answer(std::size_t index)
    {
        auto const socket = m_sockets[index].fd;
        modbus_set_socket(m_device.get(), socket);
        std::array<std::uint8_t, MODBUS_TCP_MAX_ADU_LENGTH> request{};
        int const size = modbus_receive(m_device.get(), request.data());
        if (size <= 0)
        {
            return size == 0;
        }
        ++m_requests[index];
        if (m_options.delay + m_options.latency == std::chrono::milliseconds::zero())
        {
            return reply(request.data(), size);
        }
        modbus_set_socket(m_device.get(), m_line.front());
        if (!reply(request.data(), size))
        {
            return false;
        }
        Answer answer{{}, socket, std::vector<std::uint8_t>(MODBUS_TCP_MAX_ADU_LENGTH)};
        auto const received = recv(m_line.back(), answer.bytes.data(), answer.bytes.size(), 0);
        answer.bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(received, 0)));
        m_busy_until = std::max(m_busy_until, Clock::now()) + m_options.delay;
        answer.due = m_busy_until + m_options.latency;
        m_answers.push_back(std::move(answer));
        return true;
    }

    bool reply(std::uint8_t const* request, int size)
    {
        if (is_refused(request + modbus_get_header_length(m_device.get())))
        {
            return modbus_reply_exception(m_device.get(), request, MODBUS_EXCEPTION_ILLEGAL_DATA_ADDRESS) > 0;
        }
        if (m_options.is_live)
        {
            set_live_registers(request + modbus_get_header_length(m_device.get()));
        }
        auto* const registers = m_tables->tab_registers;
        auto const& kept = m_options.kept;
        std::vector<std::uint16_t> const held(registers + std::min(kept.first, kept.last + 1),
                                              registers + kept.last + 1);
        auto const done = modbus_reply(m_device.get(), request, size, m_tables.get()) > 0;
        std::copy(held.begin(), held.end(), registers + std::min(kept.first, kept.last + 1));
        if (m_options.highest < table_size - 1)
        {
            auto const highest = static_cast<std::uint16_t>(m_options.highest);
            std::transform(registers, registers + table_size, registers,
                           [highest](std::uint16_t value) { return std::min(value, highest); });
        }
        return done;
    }

    /// Sets what a request for input registers is about to read, and nothing for another request.
    void set_live_registers(std::uint8_t const* request)
    {
        if (request[0] != MODBUS_FC_READ_INPUT_REGISTERS)
        {
            return;
        }
        std::chrono::duration<double> const now = std::chrono::system_clock::now().time_since_epoch();
        auto const [first, last] = addresses(request);
        for (int address = first; address <= std::min(last, table_size - 1); ++address)
        {
            m_tables->tab_input_registers[address] = live_register(address, now.count());
        }
    }

    /// Whether the request, which begins with its function code, touches an address that is refused.
    bool is_refused(std::uint8_t const* request) const
    {
        auto const [first, last] = addresses(request);
        return first <= m_options.refused.last && last >= m_options.refused.first;
    }

    static Range addresses(std::uint8_t const* request)
    {
        auto const word = [&](int offset) { return request[offset] << 8 | request[offset + 1]; };
        bool const is_single = request[0] == MODBUS_FC_WRITE_SINGLE_COIL ||
                               request[0] == MODBUS_FC_WRITE_SINGLE_REGISTER ||
                               request[0] == MODBUS_FC_MASK_WRITE_REGISTER;
        int const first = word(1);
        return {first, is_single ? first : first + word(3) - 1};
    }

    Options m_options;
    std::unique_ptr<modbus_t, Deleter> m_device;
    std::unique_ptr<modbus_mapping_t, Deleter> m_tables;
    /// Both ends of where the library leaves an answer that takes its time.
    std::array<int, 2> m_line{-1, -1};
    /// In the order in which they are due.
    std::deque<Answer> m_answers;
    Clock::time_point m_busy_until;
    /// The one that listens, then the connections.
    std::vector<pollfd> m_sockets;
    /// How many requests came over each of them.
    std::vector<std::uint64_t> m_requests{0};
};

} // namespace

int main(int count, char** arguments)
{
    try
    {
        std::vector<std::string_view> const words(arguments + 1, arguments + count);
        if (!words.empty() && (words.front() == "--help" || words.front() == "-h"))
        {
            std::cout << usage;
            return EXIT_SUCCESS;
        }
        Device device(options_of(words));
        std::cout << device.port()
                  << std::endl; // NOLINT(performance-avoid-endl): whoever started it waits for the line
        device.serve();
        return EXIT_FAILURE;
    }
    catch (std::invalid_argument const& error)
    {
        std::cerr << "modbus_device: " << error.what() << '\n' << usage;
        return 2;
    }
    catch (std::exception const& error)
    {
        std::cerr << "modbus_device: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
