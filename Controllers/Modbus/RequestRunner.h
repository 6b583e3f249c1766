#pragma once

#include "Pipeline.h"
#include "RequestPlan.h"
#include "modbus_result.h"

#include "RavikSrvExtApi.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace Modbus
{

/// Carries out the accesses of one group through a pipeline. While the device works on one request, the next one is
/// made and the answer to the one before taken apart.
///
/// A request that the device refuses is split until the accesses at fault are known. Nothing that comes behind it is
/// sent meanwhile, but what was under way by then. Where there is no answer, no connection or no device behind a
/// gateway, nothing more is tried and all that is left of the group fails in the same way, with a text that tells it
/// was not tried. Where the watcher wants it stopped, what is under way is waited for and the rest left; the pieces
/// that make up one access are not torn apart.
class RequestRunner
{
public:
    /// None of the arguments is owned; the watcher may be null. The pipeline has to be idle.
    RequestRunner(Pipeline& pipeline, Limits const& limits, Accesses& accesses,
                  RavikSrv::IRavikSrvRequestWatcher* watcher)
        : m_pipeline(pipeline), m_limits(limits), m_accesses(accesses), m_watcher(watcher), m_planner(accesses, limits)
    {
    }
    /// Where `run` was left by an exception, nobody waits for what is under way any more.
    ~RequestRunner() { m_pipeline.abandon(); }
    RequestRunner(RequestRunner const&) = delete;
    RequestRunner& operator=(RequestRunner const&) = delete;

    /// Reports or leaves each access once. Returns the outcome of what was left untried, if anything that failed
    /// concerns the whole device.
    std::optional<Outcome> run();

private:
    using Answer = Pipeline::Answer;

    void send_requests();
    bool has_next();
    bool is_stopped() const { return m_watcher != nullptr && m_watcher->is_stopped(); }
    void leave(Request const& request);
    void repeat_refused();
    /// Whether it takes several frames, each of which depends on the one before; then nothing else is under way.
    bool is_alone(Request const& request) const;
    Frame frame_for(Request const& request) const;
    void conclude(Answer const& answer, std::span<std::uint16_t const> cells);
    void report(Request const& request, Outcome const& outcome, std::span<std::uint16_t const> cells);

    void run_alone(Request const& request);
    Answer read_in_pieces(Request const& request, std::vector<std::uint16_t>& cells);
    Answer write_in_pieces(Request const& request);
    Answer write_bits_of_register(Request const& request);
    Answer exchange(Request const& request, Frame const& frame);
    Frame write_frame(Table table, std::uint32_t first, std::span<std::uint16_t const> cells) const;

    Pipeline& m_pipeline;
    Limits const& m_limits;
    Accesses& m_accesses;
    RavikSrv::IRavikSrvRequestWatcher* m_watcher;
    Planner m_planner;
    /// What is to be sent next, the last one first; behind it comes what the planner has.
    std::vector<Request> m_next;
    /// What the device refused and is to be split.
    std::vector<Request> m_refused;
    /// What the last read request brought.
    std::vector<std::uint16_t> m_read;
    /// Why nothing more is tried.
    std::optional<Outcome> m_given_up;
};

} // namespace Modbus
