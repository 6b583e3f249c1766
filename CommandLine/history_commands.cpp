#include "commands.h"

#include "Interruption.h"
#include "Progress.h"
#include "Table.h"
#include "activation_answer.h"
#include "configuration_answer.h"
#include "recipe_names.h"
#include "text_width.h"

#include "Activation/ActivationLog.h"
#include "Configuration/random_id.h"
#include "History/quantities.h"
#include "History/timestamp.h"
#include "Json/Json.h"

#include "api_helper.h"

#include "Project/report_values.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::Value;
using RavikSrv::ValueType;

/// What a table shows of long texts; `--json` has the whole.
constexpr std::size_t widest_cell = 60;

/// A whole number above 0; nothing for any other text.
std::optional<std::int64_t> positive(std::string const& text)
{
    std::int64_t number = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    auto const is_whole = error == std::errc() && end == text.data() + text.size();
    return is_whole && number > 0 ? std::optional(number) : std::nullopt;
}

std::int64_t record_number(std::string const& text)
{
    auto const number = positive(text);
    if (!number)
    {
        throw UsageError("'" + text + "' is no number of a record; 'ravik history' lists the records with theirs");
    }
    return *number;
}

std::string since(std::string const& text)
{
    auto const span = read_span(text);
    auto const time = span ? std::chrono::system_clock::now() - *span : read_timestamp(text);
    if (!time)
    {
        throw UsageError("--since takes a date (2026-11-21), a date and time (2026-11-21T08:30Z) or a span up to now "
                         "('90 minutes', '2 days'), not '" +
                         text + "'");
    }
    return timestamp(*time);
}

HistoryFilter filter_of(Invocation const& invocation)
{
    HistoryFilter filter{.recipe = invocation.value(Option::recipe), .who = invocation.value(Option::who)};
    if (invocation.has(Option::since))
    {
        filter.since = since(invocation.value(Option::since));
    }
    if (invocation.has(Option::limit))
    {
        auto const limit = positive(invocation.value(Option::limit));
        if (!limit)
        {
            throw UsageError("--limit takes a number of records above 0, not '" + invocation.value(Option::limit) +
                             "'");
        }
        filter.limit = static_cast<std::size_t>(*limit);
    }
    return filter;
}

Cell outcome_cell(HistoryRecord const& record)
{
    auto const colour = record.outcome == Outcome::done     ? Colour::green
                        : record.outcome == Outcome::failed ? Colour::red
                                                            : Colour::yellow;
    return {record.outcome, colour};
}

Value list_value(std::vector<HistoryRecord> const& records)
{
    Value rows(ValueType::Vector);
    std::map<std::string, long> outcomes;
    for (auto const& record : records)
    {
        rows << value_of(record);
        ++outcomes[record.outcome];
    }
    Value counts(ValueType::Map);
    for (auto const& [outcome, count] : outcomes)
    {
        counts.insert(outcome.c_str(), count);
    }
    Value value;
    value.insert("counts", counts);
    value.insert("rows", rows);
    return value;
}

void print_list(std::vector<HistoryRecord> const& records, Output& output)
{
    auto const is_of_library = [](HistoryRecord const& record) { return !record.server.empty(); };
    auto const has_servers = std::any_of(records.begin(), records.end(), is_of_library);
    Table table(has_servers ? std::vector<std::string>{"NUMBER", "TIME", "SERVER", "WHO", "OUTCOME", "ASKED", "NOTE"}
                            : std::vector<std::string>{"NUMBER", "TIME", "WHO", "OUTCOME", "ASKED", "NOTE"});
    for (auto const& record : records)
    {
        std::vector<Cell> row{{std::to_string(record.id)},
                              {record.time},
                              {record.who},
                              outcome_cell(record),
                              {shortened(record.asked, widest_cell)},
                              {shortened(record.note, widest_cell)}};
        if (has_servers)
        {
            row.insert(row.begin() + 2, Cell{record.server});
        }
        table.add(std::move(row));
    }
    table.print(output);
    if (records.empty())
    {
        output.print("There are no such records.");
    }
}

/// What a place held, short; a dash where nothing stood.
std::string shown(Value const& place, char const* key)
{
    return place.find(key) == place.end() ? "-" : shortened(Json::write(place[key]), widest_cell);
}

void print_places(Value const& places, Output& output)
{
    Table table({"PLACE", "BEFORE", "AFTER"});
    for (auto place = places.begin_vector(); place != places.end_vector(); ++place)
    {
        std::string const domain = (*place)["domain"].get_string();
        std::string const path = (*place)["path"].get_string();
        auto place_name = domain == recipe_domain ? std::string() : domain + ": ";
        table.add({{place_name += path}, {shown(*place, "before")}, {shown(*place, "after")}});
    }
    table.print(output);
}

void print_record(HistoryRecord const& record, Output& output)
{
    output.print((record.id == 0 ? "Record of the library, " : "Record " + std::to_string(record.id) + ", ") +
                 record.time + ", by " + record.who);
    if (!record.server.empty())
    {
        output.print("Server:  " + record.server + ", edit " + record.edit);
    }
    output.print("Asked:   " + record.asked);
    output.print("Outcome: " + record.outcome + (record.text.empty() ? "" : ", " + record.text));
    if (!record.note.empty())
    {
        output.print("Note:    " + record.note);
    }
    if (auto const& revision = record.body[revision_key]; revision.isset())
    {
        output.print("Library: revision " + Json::write(revision));
    }
    if (record.has_places())
    {
        print_places(record.body["places"], output);
    }
    else if (record.body["rows"].isset())
    {
        ActivationReport report;
        report.rows = rows_of(record.body);
        print_activation(report, output);
    }
}

/// The answer to a revert that was refused: every place at fault is a message.
Answer refused_answer(EditReport const& report)
{
    auto answer = configuration_answer(report);
    for (auto const& refused : report.refused)
    {
        std::string const name = RavikSrv::get_error_string(refused.error).name();
        answer.messages.push_back(name + ": " + with_path(refused.path, refused.text));
    }
    return answer;
}

} // namespace

Answer history(Invocation& invocation)
{
    auto const filter = filter_of(invocation);
    auto const outcome = invocation.project().history(filter);
    auto answer = configuration_answer(outcome);
    if (outcome.succeeded())
    {
        answer.value = list_value(outcome.records);
        print_list(outcome.records, invocation.output());
    }
    return answer;
}

Answer history_show(Invocation& invocation)
{
    auto const& id = invocation.operands()[0];
    auto const outcome = is_random_id(id) ? invocation.project().history_of_edit(id)
                                          : invocation.project().history_record(record_number(id));
    auto answer = configuration_answer(outcome);
    if (outcome.succeeded())
    {
        auto const& record = outcome.records.front();
        answer.value = value_of(record);
        print_record(record, invocation.output());
    }
    return answer;
}

namespace
{

/// Of an activation: what stood in the controllers before is written back.
Answer write_back(Invocation& invocation, HistoryRecord const& record)
{
    Interruption const interruption;
    Progress written("Symbols written:");
    Progress read("Symbols read:");
    auto const dry_run = invocation.has(Option::dry_run);
    auto const report =
        invocation.project().revert_activation(record.body, {.dry_run = dry_run,
                                                             .force = invocation.has(Option::force),
                                                             .note = invocation.value(Option::note),
                                                             .asked = "revert " + std::to_string(record.id),
                                                             .stop = &interruption.mark(),
                                                             .progress = written.follow(),
                                                             .reading = read.follow()});
    written.clear();
    read.clear();
    dry_run ? print_plan(report, invocation.output()) : print_activation(report, invocation.output());
    return activation_answer(report, revert_states());
}

} // namespace

Answer revert(Invocation& invocation)
{
    auto const number = record_number(invocation.operands()[0]);
    auto const dry_run = invocation.has(Option::dry_run);
    auto const found = invocation.project().history_record(number);
    if (!found.succeeded())
    {
        return configuration_answer(found);
    }
    if (auto const& record = found.records.front(); !record.has_places() && record.body["rows"].isset())
    {
        return write_back(invocation, record);
    }
    auto const report = invocation.project().revert(
        number, {.dry_run = dry_run, .force = invocation.has(Option::force), .origin = invocation.origin()});
    if (!report.succeeded() && !report.made)
    {
        return refused_answer(report);
    }
    auto answer = configuration_answer(report);
    answer.value = value_of(report.cascade);
    auto& output = invocation.output();
    for (auto const& place : report.cascade)
    {
        auto const* const word =
            dry_run ? (place.removed ? "would remove " : "would write  ") : (place.removed ? "removed " : "wrote   ");
        output.print(word + place.path);
    }
    output.print(dry_run ? "Nothing was changed." : "Took back what record " + std::to_string(number) + " tells.");
    return answer;
}

} // namespace Ravik::CommandLine
