#include "Api/Page.h"
#include "Api/Parts.h"
#include "Api/problem.h"
#include "Api/resources.h"
#include "Api/values.h"

#include "Configuration/random_id.h"
#include "History/timestamp.h"

#include <charconv>

namespace Ravik::Service
{

namespace
{

HistoryFilter filter_of(Call const& call)
{
    HistoryFilter filter;
    filter.recipe = call.parameter("recipe");
    filter.who = who_in(call.parameter("who"));
    auto const since = call.parameter("since");
    if (!since.empty())
    {
        auto const time = read_timestamp(since);
        if (!time)
        {
            throw Problem{.status = 400,
                          .code = "INVALID_PARAMETER",
                          .detail = "the parameter 'since' is a date (2026-11-21) or a date and time "
                                    "(2026-11-21T08:30:00Z), not '" +
                                    since + "'"};
        }
        filter.since = timestamp(*time);
    }
    return filter;
}

std::optional<std::int64_t> number_of(std::string const& text)
{
    std::int64_t number = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    auto const is_number = error == std::errc() && end == text.data() + text.size() && number > 0;
    return is_number ? std::optional(number) : std::nullopt;
}

/// The record that the path names by its number, or by the id of its edit in a library.
HistoryOutcome record_of(Call const& call)
{
    if (is_random_id(call.id))
    {
        return call.parts.project.history_of_edit(call.id);
    }
    auto const number = number_of(call.id);
    if (!number)
    {
        throw Problem{.status = 404,
                      .code = "ENTRY_NOT_FOUND",
                      .detail = "'" + call.id + "' is no number of a record, and no id of an edit"};
    }
    return call.parts.project.history_record(*number);
}

} // namespace

Response get_history(Call& call)
{
    Page page(call);
    auto filter = filter_of(call);
    if (!page.cursor().empty())
    {
        auto const before = number_of(page.cursor());
        if (!before || !call.parts.project.history_record(*before).succeeded())
        {
            page.fail_gone();
        }
        filter.before = *before;
    }
    // One more than fits tells whether there are more.
    filter.limit = page.limit() + 1;
    auto const found = call.parts.project.history(filter);
    if (!found.succeeded())
    {
        throw problem_of(found.error, found.text);
    }
    for (auto const& record : found.records)
    {
        if (!page.add(std::to_string(record.id), record_value(record)))
        {
            break;
        }
    }
    return json_answer(page.value());
}

Response get_record(Call& call)
{
    auto const found = record_of(call);
    if (found.error == RavikSrv::ErrorValue::STORAGE)
    {
        throw without_library(found.text);
    }
    if (!found.succeeded())
    {
        throw problem_of(found.error, found.text);
    }
    auto const& record = found.records.front();
    auto value = record_value(record);
    return json_answer(value);
}

} // namespace Ravik::Service
