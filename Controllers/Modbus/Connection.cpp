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
    int error;
    ModbusResult result;
    char const* text;
};

constexpr std::array device_exceptions = {
    DeviceException{EMBXILFUN, ModbusResult::ILLEGAL_FUNCTION,
                    R"(does not know this kind of request (see "singleWritesOnly"))"},
    DeviceException{EMBXILADD, ModbusResult::ILLEGAL_DATA_ADDRESS, "has nothing at this address"},
    DeviceException{EMBXILVAL, ModbusResult::ILLEGAL_DATA_VALUE,
                    R"(does not accept the value or so many at once (see "registersPerRead", "registersPerWrite"))"},
    DeviceException{EMBXSFAIL, ModbusResult::DEVICE_FAILURE, "failed to carry out the request"},
    DeviceException{EMBXACK, ModbusResult::DEVICE_BUSY, "has taken the request, but needs longer to carry it out"},
    DeviceException{EMBXSBUSY, ModbusResult::DEVICE_BUSY, "is busy"},
    DeviceException{EMBXNACK, ModbusResult::DEVICE_FAILURE, "can't carry out the request"},
    DeviceException{EMBXMEMPAR, ModbusResult::DEVICE_FAILURE, "reports a fault of its memory"},
    DeviceException{EMBXGPATH, ModbusResult::GATEWAY_TARGET_FAILED, "is a gateway without a way to the unit"},
    DeviceException{EMBXGTAR, ModbusResult::GATEWAY_TARGET_FAILED, "is a gateway whose unit does not answer"},
    DeviceException{MODBUS_ENOBASE, ModbusResult::DEVICE_FAILURE, "answered with an unknown exception"},
    DeviceException{MODBUS_ENOBASE + MODBUS_EXCEPTION_NOT_DEFINED, ModbusResult::DEVICE_FAILURE,
                    "answered with an unknown exception"},
    DeviceException{EMBBADEXC, ModbusResult::DEVICE_FAILURE, "answered with an unknown exception"},
};

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
    auto const address = static_cast<int>(first);
    auto const count = static_cast<int>(cells.size());
    if (!holds_bits(table))
    {
        return exchange(false, count,
                        [&](modbus_t* device)
                        {
                            return table == Table::HOLDING
                                       ? modbus_read_registers(device, address, count, cells.data())
                                       : modbus_read_input_registers(device, address, count, cells.data());
                        });
    }
    std::array<std::uint8_t, MODBUS_MAX_READ_BITS> bits{};
    auto outcome = exchange(false, count,
                            [&](modbus_t* device)
                            {
                                return table == Table::COIL
                                           ? modbus_read_bits(device, address, count, bits.data())
                                           : modbus_read_input_bits(device, address, count, bits.data());
                            });
    std::copy_n(bits.begin(), cells.size(), cells.begin());
    return outcome;
}

Outcome Connection::write(Table table, std::uint32_t first, std::span<std::uint16_t const> cells, bool single)
{
    auto const address = static_cast<int>(first);
    auto const count = static_cast<int>(cells.size());
    if (!holds_bits(table))
    {
        return exchange(true, count,
                        [&](modbus_t* device)
                        {
                            return single ? modbus_write_register(device, address, cells.front())
                                          : modbus_write_registers(device, address, count, cells.data());
                        });
    }
    std::array<std::uint8_t, MODBUS_MAX_WRITE_BITS> bits{};
    std::transform(cells.begin(), cells.end(), bits.begin(),
                   [](std::uint16_t cell) { return static_cast<std::uint8_t>(cell); });
    return exchange(true, count,
                    [&](modbus_t* device)
                    {
                        return single ? modbus_write_bit(device, address, bits.front())
                                      : modbus_write_bits(device, address, count, bits.data());
                    });
}

Outcome Connection::write_bits(std::uint32_t address, std::uint16_t mask, std::uint16_t bits)
{
    return exchange(true, 1,
                    [&](modbus_t* device) {
                        return modbus_mask_write_register(device, static_cast<int>(address),
                                                          static_cast<std::uint16_t>(~mask), bits);
                    });
}

template <typename Request> Outcome Connection::exchange(bool writes, int expected, Request const& request)
{
    m_is_carrying_out = false;
    auto const deadline = Deadline::clock::now() + m_settings.timeout;
    if (auto opened = ensure_open(deadline); !opened.succeeded())
    {
        return opened;
    }
    limit_answer(deadline);
    auto const answered = request(m_device->handle);
    return answered == expected ? Outcome() : failure(answered < 0 ? errno : EMBBADDATA, writes);
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
    if (modbus_set_slave(handle, m_settings.unit) != 0 || modbus_set_byte_timeout(handle, 0, 0) != 0)
    {
        return false;
    }
    m_device = std::move(device);
    return true;
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

Outcome Connection::failure(int error, bool writes)
{
    auto const refused = std::find_if(device_exceptions.begin(), device_exceptions.end(),
                                      [&](DeviceException const& exception) { return exception.error == error; });
    if (refused != device_exceptions.end())
    {
        m_is_carrying_out = error == EMBXACK;
        return {refused->result, "The device " + m_name + " " + refused->text};
    }
    close();
    auto const* const maybe_done = writes ? "; it may have been written all the same" : "";
    if (error == ETIMEDOUT)
    {
        return {ModbusResult::TIMEOUT, "The device " + m_name + " did not answer within " +
                                           std::to_string(m_settings.timeout.count()) + " ms" + maybe_done};
    }
    auto const why = error > MODBUS_ENOBASE ? "what it sent is no answer to the request" : message(error);
    return {ModbusResult::CONNECTION_LOST, "The connection to " + m_name + " broke: " + why + maybe_done};
}

} // namespace Modbus
