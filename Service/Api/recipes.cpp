#include "Api/controllers.h"
#include "Api/edits.h"
#include "Api/resources.h"
#include "Api/values.h"

#include "Configuration/tree.h"

#include <map>
#include <utility>

namespace Ravik::Service
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

/// Which recipes are to be updated; one of the three ways to say so.
std::vector<std::string> to_update(Call const& call)
{
    auto const body = call.object();
    auto const ways = (body["recipe"].isset() ? 1 : 0) + (body["type"].isset() ? 1 : 0) + (body["all"].isset() ? 1 : 0);
    if (ways != 1 || (body["all"].isset() && !flag_in(body, "all")))
    {
        throw Problem{.status = 422,
                      .code = "INVALID_PARAMETER",
                      .detail = R"(an update takes one of "recipe" (a name), "type" (a name) and "all": true)"};
    }
    if (body["recipe"].isset())
    {
        return {recipe_in(body)};
    }
    auto const outcome = body["all"].isset() ? call.parts.project.recipe_names()
                                             : call.parts.project.recipes_of(std::string(body["type"].get_text()));
    if (!outcome.succeeded())
    {
        throw problem_of(outcome.error, outcome.text, outcome.path);
    }
    return outcome.names;
}

constexpr char const* stored_side = "stored";
constexpr char const* live_side = "live";
constexpr char const* other_side = "other";

/// {"counts", "rows"} of a comparison; rows that are the same are counted alone.
Value comparison_value(ActivationReport const& report, char const* side)
{
    Value rows(ValueType::Vector);
    std::map<RowState, long> found;
    for (auto const& row : report.rows)
    {
        ++found[row.state];
        if (row.state == RowState::Same)
        {
            continue;
        }
        Value entry(ValueType::Map);
        entry.insert("symbol", text_value(row.symbol));
        entry.insert("domain", text_value(row.domain));
        entry.insert("member", text_value(row.member));
        entry.insert(stored_side, row.value);
        entry.insert(side, row.before);
        entry.insert("state", text_value(name_of(row.state)));
        entry.insert("text", text_value(row.text));
        rows << entry;
    }
    Value counts(ValueType::Map);
    for (auto const state : plan_states())
    {
        counts.insert(name_of(state), Value(0L));
    }
    for (auto const& [state, count] : found)
    {
        counts.insert_or_update(name_of(state), Value(count));
    }
    Value value(ValueType::Map);
    value.insert("counts", counts);
    value.insert("rows", rows);
    return value;
}

Response comparison_answer(ActivationReport const& report, char const* side)
{
    if (is_refused(report))
    {
        throw problem_of(report);
    }
    return json_answer(comparison_value(report, side));
}

/// The recipe's last activation that came to its end: since when it stands there, and by whom.
Value last_activation(Project& project, std::string const& recipe)
{
    HistoryFilter filter;
    filter.recipe = recipe;
    filter.actions = {Action::activation};
    filter.limit = 1;
    auto const found = project.history(filter);
    Value value(ValueType::Map);
    value.insert("recipe", text_value(recipe));
    auto const is_known = found.succeeded() && !found.records.empty();
    value.insert("since", is_known ? text_value(found.records.front().time) : Value());
    value.insert("by", is_known ? text_value(who_text(found.records.front().who)) : Value());
    return value;
}

Response active_answer(Call const& call)
{
    auto& project = call.parts.project;
    auto const report = project.active({}, {});
    if (report.error != ErrorValue::SUCCESS && report.active.empty() && report.unread.empty())
    {
        throw problem_of(report.error, report.text);
    }
    Value active(ValueType::Vector);
    for (auto const& recipe : report.active)
    {
        active << last_activation(project, recipe);
    }
    Value unread(ValueType::Vector);
    for (auto const& each : report.unread)
    {
        Value entry(ValueType::Map);
        entry.insert("recipe", text_value(each.recipe));
        entry.insert("text", text_value(each.text));
        unread << entry;
    }
    Value value(ValueType::Map);
    value.insert("active", active);
    value.insert("unread", unread);
    return json_answer(value);
}

Value value_rows(ValueRows const& rows)
{
    Value list(ValueType::Vector);
    for (auto const& row : rows)
    {
        Value entry(ValueType::Map);
        entry.insert("symbol", text_value(row.symbol));
        entry.insert("domain", text_value(row.domain));
        entry.insert("member", text_value(row.member));
        entry.insert(stored_side, row.stored);
        entry.insert(live_side, row.live);
        entry.insert("state", text_value(name_of(row.state)));
        entry.insert("text", text_value(row.text));
        list << entry;
    }
    return list;
}

Response saved_answer(SaveReport const& report)
{
    if (!report.succeeded())
    {
        auto problem = report.read_failed ? problem_of(report.error, report.result, report.name, report.text)
                                          : problem_of(static_cast<EditReport const&>(report));
        problem.status = report.read_failed && problem.status == 422 ? 502 : problem.status;
        problem.members = Value(ValueType::Map);
        problem.members.insert("rows", value_rows(report.rows));
        throw Problem(std::move(problem));
    }
    std::map<ValueState, long> found{{ValueState::Saved, 0}, {ValueState::Same, 0}};
    for (auto const& row : report.rows)
    {
        ++found[row.state];
    }
    Value counts(ValueType::Map);
    for (auto const& [state, count] : found)
    {
        counts.insert(name_of(state), Value(count));
    }
    Value value(ValueType::Map);
    value.insert("counts", counts);
    value.insert("rows", value_rows(report.rows));
    return json_answer(value);
}

} // namespace

Response post_updates(Call& call)
{
    auto const names = to_update(call);
    auto const report = call.parts.project.update(names, {.origin = origin_of(call)});
    Value rows(ValueType::Vector);
    std::map<UpdateState, long> found{{UpdateState::Updated, 0}, {UpdateState::Same, 0}, {UpdateState::Failed, 0}};
    for (auto const& row : report.rows)
    {
        ++found[row.state];
        Value entry(ValueType::Map);
        entry.insert("recipe", text_value(row.recipe));
        entry.insert("state", text_value(name_of(row.state)));
        entry.insert("text", text_value(row.text));
        entry.insert("info", text_values(row.info));
        rows << entry;
    }
    Value counts(ValueType::Map);
    for (auto const& [state, count] : found)
    {
        counts.insert(name_of(state), Value(count));
    }
    Value value(ValueType::Map);
    value.insert("counts", counts);
    value.insert("rows", rows);
    return json_answer(value);
}

void get_comparison(Call call, Reply reply)
{
    auto const recipe = call.required("recipe");
    auto const with = call.required("with");
    if (with != "controller")
    {
        check_recipe(call, recipe);
        check_recipe(call, with);
        reply(answered([&] { return comparison_answer(call.parts.project.compare(recipe, with), other_side); }));
        return;
    }
    auto const domains = domains_of(call, recipe);
    auto& devices = call.parts.devices;
    auto const who = call.caller.who;
    devices.read(
        who, domains,
        [call = std::move(call), recipe] { return comparison_answer(call.parts.project.plan(recipe), live_side); },
        std::move(reply));
}

void post_reading(Call call, Reply reply)
{
    auto const recipe = recipe_in(call.object());
    auto const condition = required_condition(call);
    auto const domains = domains_of(call, recipe);
    auto& devices = call.parts.devices;
    auto const who = call.caller.who;
    devices.read(
        who, domains,
        [call = std::move(call), recipe, condition]
        {
            auto const report = call.parts.project.save(recipe, {.origin = origin_of(call), .condition = condition});
            return saved_answer(report);
        },
        std::move(reply));
}

void get_active(Call call, Reply reply)
{
    std::vector<std::string> domains;
    for (auto const& symbol : call.parts.project.symbols())
    {
        if (domains.empty() || domains.back() != symbol.domain)
        {
            domains.push_back(symbol.domain);
        }
    }
    auto& devices = call.parts.devices;
    auto const who = call.caller.who;
    devices.read(
        who, domains, [call = std::move(call)] { return active_answer(call); }, std::move(reply));
}

Response get_check(Call& call)
{
    Value findings(ValueType::Vector);
    for (auto const& finding : call.parts.project.check(std::string(recipe_domain)))
    {
        findings << finding_value(finding);
    }
    Value value(ValueType::Map);
    value.insert("findings", findings);
    return json_answer(value);
}

} // namespace Ravik::Service
