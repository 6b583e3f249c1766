#pragma once

#include "Activation/ActivationLog.h"
#include "Activation/ActivationRow.h"
#include "Activation/WriteHolds.h"
#include "Execution/Core.h"
#include "Execution/FunctionOutcome.h"
#include "Execution/SymbolTable.h"

#include "RavikSrvExtApi.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Ravik
{

/// What activations of a project do beside writing.
struct ActivationSettings
{
    /// Whether the symbols are read before.
    bool capture = true;
    /// Whether what was written is read back.
    bool verify = true;
};

struct ActivationOptions
{
    /// Whether what was written is read back, where the project's settings do so.
    bool verify = true;
    std::string note{};
    /// On whose behalf.
    std::string who{};
    /// Once it is set, nothing more is sent, and what was done until then is reported. May be null.
    std::atomic<bool> const* stop = nullptr;
    /// Told how many symbols are written of all; may be empty. A controller may be in the midst of its work: it calls
    /// nothing of the project.
    std::function<void(std::size_t done, std::size_t total)> progress{};
    /// The hash of the plan that is agreed to: where what would be written is something else, nothing is read or
    /// written. Empty for whatever the plan is.
    std::string plan{};
    /// What the record keeps under "request", null for nothing.
    RavikSrv::Value request{};
    /// Told the record's number, 0 where there is none, before the first value leaves; may be empty.
    std::function<void(std::int64_t id)> begun{};
    /// The same of what is read, before and again after.
    std::function<void(std::size_t done, std::size_t total)> reading{};
};

struct WriteBackOptions
{
    /// Only show what would be written.
    bool dry_run = false;
    /// Also write back where the controller holds something that the activation did not write.
    bool force = false;
    std::string note{};
    std::string who{};
    /// What was asked, for the record: "revert 17".
    std::string asked{};
    // As in `ActivationOptions`.
    std::atomic<bool> const* stop = nullptr;
    std::function<void(std::size_t done, std::size_t total)> progress{};
    std::function<void(std::size_t done, std::size_t total)> reading{};
    RavikSrv::Value request{};
    std::function<void(std::int64_t id)> begun{};
};

/// What became of an activation or its plan: the function's own result where it failed; `FAIL` with the symbols' names
/// where it succeeded and a row all the same did not end as it was meant to.
struct [[nodiscard]] ActivationReport
{
    RavikSrv::ErrorValue error = RavikSrv::ErrorValue::SUCCESS;
    /// The extension's result, 0 for success, and the name that the extension gives to it.
    unsigned result = 0;
    std::string name{};
    /// What is wrong; beside a success, what was noticed.
    std::string text{};
    /// The number of the record, where there is one.
    std::optional<std::int64_t> id{};
    ActivationRows rows{};
    /// The recipe whose function failed, where it did.
    std::string recipe{};
    /// Of a plan: tells the symbols, domains and values that are to be written from any others.
    std::string hash{};
    /// Refused, since the plan is another than the one that was agreed to.
    bool plan_changed = false;

    bool succeeded() const noexcept { return error == RavikSrv::ErrorValue::SUCCESS && result == 0; }
};

/// Activates recipes so that the outcome can be trusted: what the function would write is found out by having it called
/// in a session that sends nothing; the symbols are read, written by the function and read back, and what happened is
/// remembered. Two activations, or single writes, that share a symbol never run at once. Thread-safe.
class Activation
{
public:
    /// Calls the function that activates a recipe.
    using Function = std::function<FunctionOutcome(RavikSrv::Session session, std::string const& recipe)>;

    /// The first two arguments must outlive it.
    Activation(Core& core, SymbolTable const& symbols, Function function, ActivationSettings settings)
        : m_core(core), m_symbols(symbols), m_function(std::move(function)), m_settings(settings)
    {
    }

    /// Where activations are remembered; null, as at first, for nowhere. Set before the first of them.
    void set_log(ActivationLog* log) noexcept { m_log = log; }

    /// What an activation would write, without reading what stands there. All rows are `Planned` unless they are
    /// refused already.
    ActivationReport expected(std::string const& recipe) const;
    /// The same beside what stands in the controllers: `Differs`, `Same` or `Unread`, those that need a look first.
    /// Fails where something can't be read.
    ActivationReport plan(std::string const& recipe) const;
    ActivationReport activate(std::string const& recipe, ActivationOptions const& options);

    /// Writes back what stood in the controllers before an activation, `body` being its record's: for what it wrote, as
    /// long as that stands there still (of one that did not end: that or what was before). What else stands there is
    /// left alone without `force` and fails the whole; what was not read before, and symbols that are not verified, are
    /// left alone always; where there is nothing else it fails. It is an activation of its own.
    ActivationReport revert(RavikSrv::Value const& body, WriteBackOptions const& options);

    /// The places of symbols, for a `WriteHolds::Hold`.
    std::vector<WriteHolds::Place> places_of(std::vector<std::string> const& symbols) const;
    WriteHolds& holds() noexcept { return m_holds; }

private:
    using Progress = std::function<void(std::size_t done, std::size_t total)>;
    /// A writing that is about to be carried out.
    struct Attempt
    {
        bool is_revert = false;
        std::string recipe;
        std::string who;
        std::string note;
        std::string asked;
        bool verifies = true;
        std::atomic<bool> const* stop = nullptr;
        RavikSrv::Value request;
        /// Of the library that the recipe comes from, 0 where there is none.
        std::int64_t revision = 0;
        std::function<void(std::int64_t id)> begun;
        Progress reading;
        std::function<FunctionOutcome()> write;
    };
    using Readings = std::vector<std::optional<ExecutedCommand>>;

    ActivationReport expected(std::string const& recipe, std::atomic<bool> const* stop) const;
    /// Reads the rows that are planned in one request; the others have no reading.
    Readings read(ActivationRows const& rows, std::atomic<bool> const* stop, Progress const& reading) const;
    FunctionOutcome write_all(std::string const& recipe, std::size_t total, ActivationOptions const& options);
    void carry_out(ActivationReport& report, Attempt const& attempt);
    void begin_record(ActivationReport& report, Attempt const& attempt, std::string& trouble);
    static RavikSrv::Value body_of(ActivationReport const& report, Attempt const& attempt,
                                   std::vector<RowState> const& counted);
    void complete_record(ActivationReport const& report, Attempt const& attempt, std::string& trouble);
    /// Returns false where it was stopped before it had looked at all of them.
    bool verify(ActivationRows& rows, Attempt const& attempt) const;

    ActivationRows candidates(ActivationRows const& recorded) const;
    void choose(ActivationRows& rows, ActivationRows const& recorded, WriteBackOptions const& options) const;
    FunctionOutcome write_back(ActivationRows const& rows, WriteBackOptions const& options);

    bool agree(std::string const& symbol, RavikSrv::Value const& expected, RavikSrv::Value const& live,
               double tolerance) const;
    double tolerance_of(std::string const& symbol) const;

    Core& m_core;
    SymbolTable const& m_symbols;
    Function m_function;
    ActivationSettings m_settings;
    ActivationLog* m_log = nullptr;
    WriteHolds m_holds;
};

} // namespace Ravik
