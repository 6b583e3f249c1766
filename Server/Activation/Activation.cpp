#include "Activation/Activation.h"

#include "Activation/planned_rows.h"
#include "Configuration/Pin.h"
#include "Configuration/configuration_keys.h"
#include "Configuration/entry_tag.h"
#include "Execution/RequestWatch.h"

#include "Json/Json.h"

#include "algorithm_helper.h"
#include "api_helper.h"
#include "value_comparison.h"

#include <algorithm>
#include <exception>
#include <iterator>

namespace Ravik
{

using RavikSrv::Command;
using RavikSrv::CommandGroup;
using RavikSrv::Context;
using RavikSrv::ErrorValue;
using RavikSrv::Value;

namespace
{

constexpr char const* interrupted_text = "interrupted before anything was written";

bool is_stopped(std::atomic<bool> const* stop)
{
    return stop != nullptr && stop->load();
}

void take_outcome(ActivationReport& report, FunctionOutcome const& outcome)
{
    report.error = outcome.error;
    report.result = outcome.result;
    report.name = outcome.name;
    report.text = outcome.text;
}

void fail(ActivationReport& report, ErrorValue error, std::string text)
{
    report.error = error;
    report.text = std::move(text);
}

using Progress = std::function<void(std::size_t done, std::size_t total)>;

/// Takes what was done since the last time and tells how much it is in all, which is added up in `done`. Neither that
/// nor `progress` is owned.
std::function<void(std::size_t more)> counting(Progress const& progress, std::size_t& done, std::size_t total)
{
    if (!progress)
    {
        return {};
    }
    return [&progress, &done, total](std::size_t more) { progress(std::min(done += more, total), total); };
}

/// Nothing of what was planned is sent.
void abandon(ActivationRows& rows)
{
    for (auto& row : rows)
    {
        if (row.state == RowState::Planned)
        {
            row.state = RowState::NotTried;
        }
    }
}

/// Whether the row ended otherwise than it was meant to.
bool is_amiss(ActivationRow const& row)
{
    switch (row.state)
    {
    case RowState::Planned:
    case RowState::Same:
    case RowState::Written:
    case RowState::Verified:
        return false;
    default:
        return !row.is_left_on_purpose;
    }
}

bool is_doubtful(ActivationRow const& row)
{
    return row.state == RowState::Written && !row.text.empty();
}

/// Tells what the rows say of a writing that succeeded as such.
void conclude(ActivationReport& report)
{
    if (auto const amiss = named(report.rows, is_amiss); !amiss.empty())
    {
        fail(report, ErrorValue::FAIL, "not everything stands as it should: " + amiss);
    }
    else if (auto const doubtful = named(report.rows, is_doubtful); !doubtful.empty())
    {
        report.text = "written, but not verified: " + doubtful;
    }
}

/// "3 of 12 symbols were written", whether they stand there or not.
std::string written_of_all(ActivationRows const& rows)
{
    auto const written =
        count(rows, RowState::Written) + count(rows, RowState::Verified) + count(rows, RowState::Differs);
    return std::to_string(written) + " of " + std::to_string(rows.size()) + " symbols were written";
}

/// The hash of what is planned.
std::string plan_hash(ActivationRows const& rows)
{
    Value writes(RavikSrv::ValueType::Vector);
    for (auto const& row : rows)
    {
        if (row.state == RowState::Planned)
        {
            writes << Value(std::string_view(row.symbol)) << Value(std::string_view(row.domain)) << row.value;
        }
    }
    return entry_tag(writes);
}

std::string success_name()
{
    return RavikSrv::get_error_string(ErrorValue::SUCCESS).name();
}

std::string by(std::string const& who)
{
    return who.empty() ? std::string() : " by " + who;
}

/// How far a row of a plan stands from the top: first what needs a look.
int rank(ActivationRow const& row)
{
    switch (row.state)
    {
    case RowState::Differs:
        return 0;
    case RowState::Unread:
        return 1;
    case RowState::Same:
        return 3;
    default:
        return 2;
    }
}

} // namespace

// Planning ------------------------------------------------------------------------------------------------------------

ActivationReport Activation::expected(std::string const& recipe) const
{
    auto report = expected(recipe, nullptr);
    report.hash = plan_hash(report.rows);
    return report;
}

ActivationReport Activation::expected(std::string const& recipe, std::atomic<bool> const* stop) const
{
    Configuration::Pin const pin(m_core.configuration);
    auto const session = m_core.executor.recorder().new_session();
    SessionModes::Scope const planning(m_core.modes, session, {.plans = true, .stop = stop});
    auto const outcome = m_function(session, recipe);
    ActivationReport report;
    take_outcome(report, outcome);
    report.rows = planned_rows(recipe, outcome.record, pin.tree(), m_symbols);
    report.recipe = report.succeeded() ? std::string() : recipe;
    return report;
}

ActivationReport Activation::plan(std::string const& recipe) const
{
    auto report = expected(recipe);
    if (!report.succeeded())
    {
        abandon(report.rows);
        return report;
    }
    auto const readings = read(report.rows, nullptr, {});
    for (std::size_t index = 0; index < readings.size(); ++index)
    {
        auto const& reading = readings[index];
        auto& row = report.rows[index];
        if (reading && reading->result == ErrorValue::SUCCESS)
        {
            row.before = reading->value;
            row.state =
                agree(row.symbol, row.value, row.before, tolerance_of(row.symbol)) ? RowState::Same : RowState::Differs;
        }
        else if (reading)
        {
            row.state = RowState::Unread;
            row.text = failure_text(*reading);
        }
    }
    std::stable_sort(report.rows.begin(), report.rows.end(),
                     [](ActivationRow const& left, ActivationRow const& right) { return rank(left) < rank(right); });
    auto const is_unread = [](ActivationRow const& row) { return row.state == RowState::Unread; };
    if (auto const unread = named(report.rows, is_unread); !unread.empty())
    {
        fail(report, ErrorValue::FAIL, "not everything could be read: " + unread);
    }
    return report;
}

Activation::Readings Activation::read(ActivationRows const& rows, std::atomic<bool> const* stop,
                                      Progress const& reading) const
{
    CommandGroup group;
    group.set_domain(std::string(server_domain).c_str());
    std::vector<std::size_t> positions;
    for (std::size_t index = 0; index < rows.size(); ++index)
    {
        if (rows[index].state == RowState::Planned)
        {
            group.insert(group.end_vector(), Command(rows[index].symbol.c_str()));
            positions.push_back(index);
        }
    }
    Context context;
    context.set_session(m_core.executor.recorder().new_session());
    std::size_t done = 0;
    RequestWatch watch(stop, counting(reading, done, group.size()), group.size());
    context.set_watcher(&watch);
    auto const result = m_core.executor.execute(context, group);
    watch.end();
    auto described = m_core.executor.recorder().describe(group, result);
    Readings readings(rows.size());
    for (std::size_t index = 0; index < positions.size(); ++index)
    {
        readings[positions[index]] = std::move(described.commands[index]);
    }
    return readings;
}

bool Activation::agree(std::string const& symbol, Value const& expected, Value const& live, double tolerance) const
{
    auto const* const mapped = m_symbols.find(symbol).symbol;
    auto const is_float = mapped != nullptr && RavikSrv::describes_float(mapped->schema);
    return RavikSrv::values_agree(expected, live, is_float, tolerance);
}

double Activation::tolerance_of(std::string const& symbol) const
{
    auto const* const mapped = m_symbols.find(symbol).symbol;
    return mapped == nullptr ? 0 : mapped->tolerance;
}

std::vector<WriteHolds::Place> Activation::places_of(std::vector<std::string> const& symbols) const
{
    std::vector<WriteHolds::Place> places;
    for (auto const& name : symbols)
    {
        if (auto const* const symbol = m_symbols.find(name).symbol; symbol != nullptr)
        {
            places.push_back({.domain = symbol->domain, .mapping = symbol->mapping.str(), .symbol = name});
        }
    }
    return places;
}

// Writing -------------------------------------------------------------------------------------------------------------

namespace
{

std::vector<std::string> planned_symbols(ActivationRows const& rows)
{
    std::vector<std::string> symbols;
    for (auto const& row : rows)
    {
        if (row.state == RowState::Planned)
        {
            symbols.push_back(row.symbol);
        }
    }
    return symbols;
}

} // namespace

ActivationReport Activation::activate(std::string const& recipe, ActivationOptions const& options)
{
    // What is written is what was planned, whatever is edited meanwhile.
    Configuration::Pin const pin(m_core.configuration);
    auto report = expected(recipe, options.stop);
    if (!report.succeeded())
    {
        abandon(report.rows);
        if (is_stopped(options.stop))
        {
            fail(report, ErrorValue::INTERRUPTED, interrupted_text);
        }
        return report;
    }
    if (!options.plan.empty() && options.plan != plan_hash(report.rows))
    {
        abandon(report.rows);
        report.plan_changed = true;
        fail(report, ErrorValue::STORAGE_CONSTRAINT, "what would be written has changed since it was planned");
        return report;
    }
    WriteHolds::Hold const hold(m_holds, places_of(planned_symbols(report.rows)),
                                "the activation of '" + recipe + "'" + by(options.who));
    if (!hold.refusal().empty())
    {
        abandon(report.rows);
        fail(report, ErrorValue::SYMBOL_IN_USE, hold.refusal());
        return report;
    }
    if (m_settings.capture)
    {
        auto const readings = read(report.rows, options.stop, options.reading);
        for (std::size_t index = 0; index < readings.size(); ++index)
        {
            report.rows[index].before = readings[index] ? readings[index]->value : Value();
        }
    }
    carry_out(report, {.is_revert = false,
                       .recipe = recipe,
                       .who = options.who,
                       .note = options.note,
                       .asked = "activate " + recipe,
                       .verifies = m_settings.verify && options.verify,
                       .stop = options.stop,
                       .request = options.request,
                       .revision = pin.position().revision,
                       .begun = options.begun,
                       .reading = options.reading,
                       .write = [&] { return write_all(recipe, report.rows.size(), options); }});
    return report;
}

/// Has the function write.
FunctionOutcome Activation::write_all(std::string const& recipe, std::size_t total, ActivationOptions const& options)
{
    auto const session = m_core.executor.recorder().new_session();
    std::size_t done = 0;
    SessionModes::Scope const watched(
        m_core.modes, session,
        {.plans = false, .stop = options.stop, .executed = counting(options.progress, done, total)});
    return m_function(session, recipe);
}

/// Writes the rows that are planned, verifies and remembers.
void Activation::carry_out(ActivationReport& report, Attempt const& attempt)
{
    if (is_stopped(attempt.stop))
    {
        abandon(report.rows);
        fail(report, ErrorValue::INTERRUPTED, interrupted_text);
        return;
    }
    std::string trouble;
    begin_record(report, attempt, trouble);
    if (attempt.begun)
    {
        attempt.begun(report.id.value_or(0));
    }
    auto const outcome = attempt.write();
    take_outcome(report, outcome);
    settle(report.rows, outcome.record);
    if (is_stopped(attempt.stop))
    {
        fail(report, ErrorValue::INTERRUPTED, "interrupted after " + written_of_all(report.rows));
    }
    else if (attempt.verifies && !verify(report.rows, attempt))
    {
        fail(report, ErrorValue::INTERRUPTED,
             "interrupted after " + written_of_all(report.rows) + ", before all of them were verified");
    }
    else if (report.succeeded())
    {
        conclude(report);
    }
    complete_record(report, attempt, trouble);
    if (!trouble.empty() && report.succeeded())
    {
        fail(report, ErrorValue::STORAGE_STORE, "everything is written, but not remembered: " + trouble);
    }
    else if (!trouble.empty())
    {
        report.text += "; and it is not remembered: " + trouble;
    }
}

/// What its record keeps of it.
Value Activation::body_of(ActivationReport const& report, Attempt const& attempt, std::vector<RowState> const& counted)
{
    auto body = value_of(report.rows, counted);
    body.insert("recipe", Value(std::string_view(attempt.recipe)));
    if (attempt.request.isset())
    {
        body.insert("request", attempt.request);
    }
    if (attempt.revision > 0)
    {
        body.insert(revision_key, Value(attempt.revision));
    }
    return body;
}

void Activation::begin_record(ActivationReport& report, Attempt const& attempt, std::string& trouble)
{
    if (m_log == nullptr)
    {
        return;
    }
    try
    {
        auto const id = m_log->begin({.is_revert = attempt.is_revert,
                                      .who = attempt.who,
                                      .note = attempt.note,
                                      .asked = attempt.asked,
                                      .body = body_of(report, attempt, {})});
        if (id != 0)
        {
            report.id = id;
        }
    }
    catch (std::exception const& error)
    {
        trouble = error.what();
    }
}

void Activation::complete_record(ActivationReport const& report, Attempt const& attempt, std::string& trouble)
{
    if (!report.id)
    {
        return;
    }
    try
    {
        m_log->complete(*report.id, report.succeeded(), report.text, body_of(report, attempt, activation_states()));
    }
    catch (std::exception const& failure)
    {
        trouble = failure.what();
    }
}

bool Activation::verify(ActivationRows& rows, Attempt const& attempt) const
{
    for (auto& row : rows)
    {
        auto const* const symbol = m_symbols.find(row.symbol).symbol;
        if (row.state == RowState::Written && symbol != nullptr && symbol->verify)
        {
            row.state = RowState::Planned; // to be looked at
        }
    }
    auto const readings = read(rows, attempt.stop, attempt.reading);
    bool has_all = true;
    for (std::size_t index = 0; index < readings.size(); ++index)
    {
        auto const& reading = readings[index];
        auto& row = rows[index];
        if (!reading)
        {
            continue;
        }
        if (reading->result != ErrorValue::SUCCESS)
        {
            has_all = has_all && reading->result != ErrorValue::INTERRUPTED;
            row.state = RowState::Written;
            row.text = "it can't be read back: " + failure_text(*reading);
            continue;
        }
        row.after = reading->value;
        auto const stands = agree(row.symbol, row.value, row.after, tolerance_of(row.symbol));
        row.state = stands ? RowState::Verified : RowState::Differs;
        row.text = stands ? std::string() : "the controller holds " + Json::write(row.after);
    }
    return has_all;
}

// Taking back ---------------------------------------------------------------------------------------------------------

namespace
{

/// The rows of what was sent. What failed may have arrived all the same: an answer that got lost fails the write too.
ActivationRows perhaps_written(ActivationRows const& rows)
{
    ActivationRows written;
    std::copy_if(rows.begin(), rows.end(), std::back_inserter(written),
                 [](ActivationRow const& row) {
                     return row.state != RowState::NotTried && row.state != RowState::NotWritten &&
                            row.state != RowState::Same;
                 });
    return written;
}

} // namespace

ActivationReport Activation::revert(Value const& body, WriteBackOptions const& options)
{
    auto const recorded = perhaps_written(rows_of(body));
    ActivationReport report;
    report.name = success_name();
    report.rows = candidates(recorded);
    WriteHolds::Hold const hold(m_holds, places_of(planned_symbols(report.rows)),
                                "a revert (" + options.asked + ")" + by(options.who));
    if (!hold.refusal().empty())
    {
        abandon(report.rows);
        fail(report, ErrorValue::SYMBOL_IN_USE, hold.refusal());
        return report;
    }
    auto const is_left = [](ActivationRow const& row) { return row.is_left_on_purpose; };
    if (!report.rows.empty() && std::all_of(report.rows.begin(), report.rows.end(), is_left))
    {
        fail(report, ErrorValue::FAIL, "nothing of it can be taken back: " + named(report.rows, is_left));
        return report;
    }
    choose(report.rows, recorded, options);
    if (is_stopped(options.stop))
    {
        abandon(report.rows);
        fail(report, ErrorValue::INTERRUPTED, interrupted_text);
        return report;
    }
    auto const has_any = count(report.rows, RowState::Planned) != 0;
    if (options.dry_run || !has_any)
    {
        conclude(report);
        for (auto& row : report.rows)
        {
            row.state = row.state == RowState::Planned ? RowState::Differs : row.state;
        }
        return report;
    }
    carry_out(report, {.is_revert = true,
                       .recipe = RavikSrv::Algorithm::to_string(body["recipe"]),
                       .who = options.who,
                       .note = options.note,
                       .asked = options.asked,
                       .verifies = m_settings.verify,
                       .stop = options.stop,
                       .request = options.request,
                       .begun = options.begun,
                       .reading = options.reading,
                       .write = [&] { return write_back(report.rows, options); }});
    return report;
}

/// The recorded rows the other way round: planned is what can be written back at all.
ActivationRows Activation::candidates(ActivationRows const& recorded) const
{
    ActivationRows rows;
    for (auto const& each : recorded)
    {
        auto& row = rows.emplace_back();
        row.symbol = each.symbol;
        row.domain = each.domain;
        row.member = each.member;
        row.value = each.before;
        auto const* const symbol = m_symbols.find(each.symbol).symbol;
        auto const leave = [&row](char const* why, bool on_purpose)
        {
            row.state = RowState::NotWritten;
            row.text = why;
            row.is_left_on_purpose = on_purpose;
        };
        if (symbol == nullptr)
        {
            leave("ravik.json maps no such symbol any more", false);
        }
        else if (!symbol->verify)
        {
            leave(R"(it is never written back, being "VERIFY": false)", true);
        }
        else if (!each.before.isset())
        {
            leave("what stood there before is not known", true);
        }
    }
    return rows;
}

/// Reads the candidates and leaves planned what is to be written back.
void Activation::choose(ActivationRows& rows, ActivationRows const& recorded, WriteBackOptions const& options) const
{
    auto const readings = read(rows, options.stop, options.reading);
    for (std::size_t index = 0; index < readings.size(); ++index)
    {
        auto const& reading = readings[index];
        auto& row = rows[index];
        if (!reading || reading->result == ErrorValue::INTERRUPTED)
        {
            continue;
        }
        auto const is_read = reading->result == ErrorValue::SUCCESS;
        row.before = is_read ? reading->value : Value();
        if (is_read && agree(row.symbol, row.value, row.before, 0))
        {
            row.state = RowState::Same;
            continue;
        }
        auto const is_as_written =
            is_read && agree(row.symbol, recorded[index].value, row.before, tolerance_of(row.symbol));
        auto const has_failed = recorded[index].state == RowState::Failed;
        if (!is_as_written && (!options.force || has_failed))
        {
            row.state = RowState::NotWritten;
            row.is_left_on_purpose = has_failed;
            row.text = is_read
                           ? "the controller holds " + Json::write(row.before) + ", which the activation did not write"
                           : failure_text(*reading);
        }
    }
}

FunctionOutcome Activation::write_back(ActivationRows const& rows, WriteBackOptions const& options)
{
    CommandGroup group;
    group.set_domain(std::string(server_domain).c_str());
    for (auto const& row : rows)
    {
        if (row.state == RowState::Planned)
        {
            Command command(row.symbol.c_str());
            command.set_write_value(row.value);
            group.insert(group.end_vector(), command);
        }
    }
    Context context;
    context.set_session(m_core.executor.recorder().new_session());
    std::size_t done = 0;
    RequestWatch watch(options.stop, counting(options.progress, done, group.size()), group.size());
    context.set_watcher(&watch);
    auto const result = m_core.executor.execute(context, group);
    watch.end();
    FunctionOutcome outcome;
    outcome.name = success_name();
    outcome.record.push_back(m_core.executor.recorder().describe(group, result));
    return outcome;
}

} // namespace Ravik
