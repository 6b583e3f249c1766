#include "Connection.h"

#include "Socket.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>

// This brings macros along, so it stands behind everything of ours and in no header.
#include <modbus/modbus.h>
#include <sys/select.h>
#include <sys/socket.h>

namespace Modbus
{

namespace
{

std::string message(int error)
{
    return std::generic_category().message(error);
}

/// What the device answered instead of carrying out the request.
struct DeviceException
{
    std::uint8_t code;
    ModbusResult result;
    char const* text;
};

constexpr std::array device_exceptions = {
    DeviceException{MODBUS_EXCEPTION_ILLEGAL_FUNCTION, ModbusResult::ILLEGAL_FUNCTION,
                    R"(does not know this kind of request (see "singleWritesOnly"))"},
    DeviceException{MODBUS_EXCEPTION_ILLEGAL_DATA_ADDRESS, ModbusResult::ILLEGAL_DATA_ADDRESS,
                    "has nothing at this address"},
    DeviceException{MODBUS_EXCEPTION_ILLEGAL_DATA_VALUE, ModbusResult::ILLEGAL_DATA_VALUE,
                    R"(does not accept the value or so many at once (see "registersPerRead", "registersPerWrite"))"},
    DeviceException{MODBUS_EXCEPTION_SLAVE_OR_SERVER_FAILURE, ModbusResult::DEVICE_FAILURE,
                    "failed to carry out the request"},
    DeviceException{MODBUS_EXCEPTION_ACKNOWLEDGE, ModbusResult::DEVICE_BUSY,
                    "has taken the request, but needs longer to carry it out"},
    DeviceException{MODBUS_EXCEPTION_SLAVE_OR_SERVER_BUSY, ModbusResult::DEVICE_BUSY, "is busy"},
    DeviceException{MODBUS_EXCEPTION_NEGATIVE_ACKNOWLEDGE, ModbusResult::DEVICE_FAILURE, "can't carry out the request"},
    DeviceException{MODBUS_EXCEPTION_MEMORY_PARITY, ModbusResult::DEVICE_FAILURE, "reports a fault of its memory"},
    DeviceException{MODBUS_EXCEPTION_GATEWAY_PATH, ModbusResult::GATEWAY_TARGET_FAILED,
                    "is a gateway without a way to the unit"},
    DeviceException{MODBUS_EXCEPTION_GATEWAY_TARGET, ModbusResult::GATEWAY_TARGET_FAILED,
                    "is a gateway whose unit does not answer"},
};

constexpr DeviceException unknown_exception = {0, ModbusResult::DEVICE_FAILURE, "answered with an unknown exception"};

} // namespace

/// Owns the library's handle, and with it the socket.
struct Connection::Device
{
    explicit Device(modbus_t* made) noexcept : handle(made) {}
    ~Device()
    {
        modbus_close(handle);
        modbus_free(handle);
    }
    Device(Device const&) = delete;
    Device& operator=(Device const&) = delete;

    modbus_t* handle;
};

Connection::Connection(Settings const& settings)
    : m_settings(settings), m_name(settings.host + ":" + std::to_string(settings.port) +
                                   (settings.unit == 1 ? "" : " (unit " + std::to_string(settings.unit) + ")")),
      m_lookup(settings.host, std::to_string(settings.port))
{
}

Connection::~Connection() = default;

Outcome Connection::read(Table table, std::uint32_t first, std::span<std::uint16_t> cells)
{
    auto outcome = exchange(Frame::read(table, first, cells.size()));
    if (outcome.succeeded())
    {
        m_answer.take_cells(table, cells);
    }
    return outcome;
}

Outcome Connection::write(Table table, std::uint32_t first, std::span<std::uint16_t const> cells, bool single)
{
    return exchange(single ? Frame::write_single(table, first, cells.front()) : Frame::write(table, first, cells));
}

Outcome Connection::write_bits(std::uint32_t address, std::uint16_t mask, std::uint16_t bits)
{
    return exchange(Frame::write_bits(address, mask, bits));
}

Outcome Connection::exchange(Frame request)
{
    m_is_carrying_out = false;
    m_may_be_done = false;
    auto const deadline = Deadline::clock::now() + m_settings.timeout;
    if (auto opened = ensure_open(deadline); !opened.succeeded())
    {
        return opened;
    }
    request.set_header(++m_transaction, m_settings.unit);
    m_may_be_done = request.writes();
    // The library could send it as well, but takes an answer for one whatever unit or protocol it names.
    if (int const error = send(request); error != 0)
    {
        return failure(error);
    }
    limit_answer(deadline);
    static_assert(Frame::capacity >= MODBUS_TCP_MAX_ADU_LENGTH);
    if (m_answer.receive([&](std::uint8_t* room) { return modbus_receive_confirmation(m_device->handle, room); }) < 0)
    {
        return failure(errno);
    }
    if (auto const why = m_answer.mismatch(request))
    {
        return broken(*why);
    }
    m_may_be_done = false;
    auto const exception = m_answer.exception();
    return exception ? refusal(*exception) : Outcome();
}

Outcome Connection::ensure_open(Deadline deadline)
{
    if (m_is_open && is_stale())
    {
        close();
    }
    return m_is_open ? Outcome() : open(deadline);
}

Outcome Connection::open(Deadline deadline)
{
    auto const unreachable = [&](std::string const& why) {
        return Outcome{ModbusResult::CONNECTION_REFUSED, "No connection to " + m_name + ": " + why};
    };
    auto const too_late = [&]
    {
        return Outcome{ModbusResult::TIMEOUT,
                       "No connection to " + m_name + " within " + std::to_string(m_settings.timeout.count()) + " ms"};
    };

    auto const found = m_lookup.find(deadline);
    if (!found)
    {
        return too_late();
    }
    if (found->error != 0)
    {
        return unreachable(gai_strerror(found->error));
    }
    int error = 0;
    auto socket = connect(*found->addresses, deadline, error);
    if (!socket.is_open())
    {
        return error == ETIMEDOUT ? too_late() : unreachable(message(error));
    }
    // The library waits with select, which must not be given a number beyond its fixed size.
    if (socket.number() >= FD_SETSIZE)
    {
        return unreachable("too many open files");
    }
    if (m_device == nullptr && !set_up())
    {
        return {ModbusResult::INTERNAL_ERROR, std::string("The connection can't be set up: ") + modbus_strerror(errno)};
    }
    modbus_set_socket(m_device->handle, socket.release());
    m_is_open = true;
    return {};
}

bool Connection::set_up()
{
    auto const port = std::to_string(m_settings.port);
    auto* const handle = modbus_new_tcp_pi(m_settings.host.c_str(), port.c_str());
    if (handle == nullptr)
    {
        return false;
    }
    auto device = std::make_unique<Device>(handle);
    // No timeout between bytes: the one for the response then holds for the whole of it.
    if (modbus_set_byte_timeout(handle, 0, 0) != 0)
    {
        return false;
    }
    m_device = std::move(device);
    return true;
}

int Connection::send(Frame const& request) const noexcept
{
    // So little finds room whenever everything before it was answered.
    auto const bytes = request.bytes();
    auto const sent = ::send(modbus_get_socket(m_device->handle), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    return sent < 0 ? errno : static_cast<std::size_t>(sent) == bytes.size() ? 0 : ENOBUFS;
}

void Connection::limit_answer(Deadline deadline) noexcept
{
    using std::chrono::microseconds;
    constexpr auto second = microseconds(std::chrono::seconds(1)).count();
    // The library refuses to wait no time at all.
    auto const left = std::chrono::duration_cast<microseconds>(deadline - Deadline::clock::now());
    auto const count = std::max<microseconds::rep>(left.count(), 1);
    modbus_set_response_timeout(m_device->handle, static_cast<std::uint32_t>(count / second),
                                static_cast<std::uint32_t>(count % second));
}

void Connection::close() noexcept
{
    modbus_close(m_device->handle);
    m_is_open = false;
    m_lacks_masked_writes = false;
}

bool Connection::is_stale() const noexcept
{
    // Between requests nothing is to be read. What is there belongs to no request; an end tells that the device hung
    // up.
    char byte = 0;
    auto const received = recv(modbus_get_socket(m_device->handle), &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    return received >= 0 || (errno != EAGAIN && errno != EWOULDBLOCK);
}

Outcome Connection::refusal(std::uint8_t exception)
{
    m_is_carrying_out = exception == MODBUS_EXCEPTION_ACKNOWLEDGE;
    auto const* const known = std::find_if(device_exceptions.begin(), device_exceptions.end(),
                                           [&](DeviceException const& one) { return one.code == exception; });
    auto const& meant = known == device_exceptions.end() ? unknown_exception : *known;
    return {meant.result, "The device " + m_name + " " + meant.text};
}

Outcome Connection::failure(int error)
{
    if (error != ETIMEDOUT)
    {
        return broken(error > MODBUS_ENOBASE ? "what it sent is no answer to the request" : message(error));
    }
    close();
    return {ModbusResult::TIMEOUT,
            "The device " + m_name + " did not answer within " + std::to_string(m_settings.timeout.count()) + " ms"};
}

Outcome Connection::broken(std::string const& why)
{
    close();
    return {ModbusResult::CONNECTION_LOST, "The connection to " + m_name + " broke: " + why};
}

} // namespace Modbus
