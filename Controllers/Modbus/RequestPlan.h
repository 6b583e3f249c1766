#pragma once

#include "Address.h"
#include "modbus_result.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace Modbus
{

/// What a device can take, by the protocol at most.
struct Limits
{
    std::uint32_t registers_per_write = 123;
    std::uint32_t registers_per_read = 125;
    std::uint32_t bits_per_write = 1968;
    std::uint32_t bits_per_read = 2000;
    /// How many cells that nobody asked for may stand between two that are read together.
    std::uint32_t read_gap = 8;
    /// Whether the device knows only requests that write one cell as a whole.
    bool single_writes_only = false;

    std::uint32_t per_write(Table table) const noexcept;
    std::uint32_t per_read(Table table) const noexcept;
};

/// One access of a group.
struct Access
{
    Address address;
    bool writes = false;
    /// Where the cells begin that it writes.
    std::uint32_t cells = 0;
};

/// The accesses of a group in their order, which are made when they are asked for, so that the first may be under way
/// while the last are yet to be made.
class Accesses
{
public:
    Accesses() = default;
    Accesses(Accesses const&) = delete;
    Accesses& operator=(Accesses const&) = delete;
    virtual ~Accesses() = default;

    /// Makes some more; false where none are left.
    virtual bool make_more() = 0;
    /// How many were made.
    std::uint32_t size() const { return static_cast<std::uint32_t>(m_made.size()); }
    Access const& operator[](std::uint32_t index) const { return m_made[index]; }
    /// What the access, and those behind it, write.
    std::span<std::uint16_t const> cells(std::uint32_t index) const
    {
        return std::span(m_cells).subspan(m_made[index].cells);
    }

    /// Told of each access that was tried, or could not be, once, with the cells that were read.
    virtual void report(std::uint32_t index, Outcome const& outcome, std::span<std::uint16_t const> cells) = 0;
    /// Told, instead, of each access that is left since the request is stopped.
    virtual void leave(std::uint32_t index) = 0;

protected:
    std::vector<Access> m_made;
    std::vector<std::uint16_t> m_cells;
};

enum class RequestKind : std::uint8_t
{
    READ,
    WRITE,
    /// Writes bits of one register and leaves the others as they are.
    WRITE_BITS_OF_REGISTER,
};

/// Cells of one table that are read or written together, on behalf of some accesses. Only where a single access has
/// more cells than a device takes at once are they more than that.
struct Request
{
    RequestKind kind = RequestKind::READ;
    Table table = Table::HOLDING;
    std::uint32_t first = 0;
    std::uint32_t count = 0;
    /// The accesses, as positions in the order of the planner.
    std::uint32_t begin = 0;
    std::uint32_t end = 0;
};

/// Plans the fewest requests that keep what a machine may depend on, one after the other as they are to be sent.
///
/// Writes keep their order: only accesses that follow one another in the group and in the table share a request, and
/// bits of one register that follow one another, each bit once. Reads that follow one another are sorted by address and
/// merged, over gaps of up to `read_gap` cells; a read that follows a write comes after it. The cells of one access are
/// never torn apart between two requests that other accesses share.
///
/// Has accesses made when they are needed. All requests together take n log n.
class Planner
{
public:
    /// Neither is owned.
    Planner(Accesses& accesses, Limits const& limits) : m_accesses(accesses), m_limits(limits) {}

    /// The next request; nothing where all accesses are in one.
    std::optional<Request> next();
    /// What is to be sent in place of a request that the device refused, so that the accesses at fault become known: a
    /// read that spans unused cells without them, any other request access by access. Of one access alone it is the
    /// same request again.
    std::vector<Request> split(Request const& request) const;
    /// The index of the access at a position of the order.
    std::uint32_t access(std::uint32_t position) const { return m_order[position]; }

private:
    bool has(std::uint32_t position) { return position < m_order.size() || extend_order(); }
    bool extend_order();
    void gather_reads();
    bool join(Request& request, Access const& access);
    bool join_read(Request& request, Address const& address) const;
    bool join_write(Request& request, Address const& address) const;
    bool join_bit(Request& request, Address const& address);
    Access const& at(std::uint32_t position) const { return m_accesses[m_order[position]]; }
    bool spans_a_gap(Request const& request) const;

    Accesses& m_accesses;
    Limits const& m_limits;
    /// Indices of the accesses, request by request; behind the planned ones as they come.
    std::vector<std::uint32_t> m_order;
    std::uint32_t m_planned = 0;
    /// Where the reads end that were sorted last.
    std::uint32_t m_reads_end = 0;
    /// The bits of the register that the last request writes.
    unsigned m_bits = 0;
};

} // namespace Modbus
