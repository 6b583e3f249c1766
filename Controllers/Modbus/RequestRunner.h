#pragma once

#include "Connection.h"
#include "RequestPlan.h"
#include "modbus_result.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace Modbus
{

/// The accesses of one group.
struct Batch
{
    std::vector<Access> accesses;
    /// Where the cells of each access begin in `cells`; reads have none.
    std::vector<std::uint32_t> offsets;
    /// What is to be written, access by access.
    std::vector<std::uint16_t> cells;
};

/// Carries out one batch over a connection. A request that the device refuses is split until the accesses at fault are
/// known; where there is no answer, no connection or no device behind a gateway, nothing more is tried and all that is
/// left of the batch fails in the same way, with a text that tells it was not tried.
class RequestRunner
{
public:
    /// Told of each access (by its index) once, with the cells that were read.
    using Report =
        std::function<void(std::uint32_t access, Outcome const& outcome, std::span<std::uint16_t const> cells)>;

    RequestRunner(Connection& connection, Limits const& limits, Batch const& batch, Report const& report)
        : m_connection(connection), m_limits(limits), m_batch(batch), m_report(report),
          m_plan(plan_requests(batch.accesses, limits))
    {
    }

    /// Returns the outcome of what was left untried, if anything that failed concerns the whole device.
    std::optional<Outcome> run();

private:
    void run(Request const& request);
    void report(Request const& request, Outcome const& outcome) const;
    Outcome send(Request const& request);
    Outcome read(Request const& request);
    Outcome write(Request const& request);
    Outcome write_bits_of_register(Request const& request);

    Connection& m_connection;
    Limits const& m_limits;
    Batch const& m_batch;
    Report const& m_report;
    Plan m_plan;
    /// What the last read request brought.
    std::vector<std::uint16_t> m_read;
    /// Why nothing more is tried.
    std::optional<Outcome> m_given_up;
};

} // namespace Modbus
