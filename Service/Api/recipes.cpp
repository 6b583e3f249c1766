#include "Api/controllers.h"
#include "Api/edits.h"
#include "Api/resources.h"
#include "Api/values.h"

#include "Configuration/tree.h"

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
    auto const body = call.object({"recipe", "type", "all"});
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

constexpr char const* live_side = "live";
constexpr char const* other_side = "other";

Response comparison_answer(ActivationReport const& report, char const* side)
{
    if (is_refused(report))
    {
        throw problem_of(report);
    }
    return json_answer(comparison_of(report.rows, side).value());
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
    Value value(ValueType::Map);
    value.insert("active", active);
    value.insert("unread", value_of(report.unread));
    return json_answer(value);
}

Response saved_answer(Project const& project, SaveReport const& report, EntryText const& stored)
{
    auto const rows = rows_of(report.rows, {ValueState::Saved, ValueState::Same}).value();
    if (!report.succeeded())
    {
        auto problem = report.read_failed ? problem_of(report.error, report.result, report.name, report.text)
                                          : problem_of(project, static_cast<EditReport const&>(report));
        problem.status = report.read_failed && problem.status == 422 ? 502 : problem.status;
        problem.members = problem.members.isset() ? problem.members : Value(ValueType::Map);
        problem.members.insert("rows", rows["rows"]);
        throw Problem(std::move(problem));
    }
    return json_answer(rows, 200, {{"ETag", stored.tag}});
}

} // namespace

Response post_updates(Call& call)
{
    auto const names = to_update(call);
    auto const report = call.parts.project.update(names, {.origin = origin_of(call)});
    return json_answer(rows_of(report.rows).value());
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
    auto const recipe = recipe_in(call.object({"recipe"}));
    auto const condition = required_condition(call);
    auto const domains = domains_of(call, recipe);
    auto& devices = call.parts.devices;
    auto const who = call.caller.who;
    devices.read(
        who, domains,
        [call = std::move(call), recipe, condition]
        {
            auto const report = call.parts.project.save(recipe, {.origin = origin_of(call), .condition = condition});
            auto const path = Tree::join(Key::recipe_list, recipe);
            auto const stored = call.parts.project.get(std::string(recipe_domain), path).value;
            return saved_answer(call.parts.project, report, call.parts.texts.of(path, stored));
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
    Value value(ValueType::Map);
    value.insert("findings", value_of(call.parts.project.check(std::string(recipe_domain))));
    return json_answer(value);
}

} // namespace Ravik::Service
