#include "Api/controllers.h"

#include "Api/values.h"

#include "Configuration/Entry.h"
#include "Configuration/tree.h"

#include <set>

namespace Ravik::Service
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

std::vector<std::string> domains_of(ActivationRows const& rows)
{
    std::set<std::string> domains;
    for (auto const& row : rows)
    {
        domains.insert(row.domain);
    }
    return {domains.begin(), domains.end()};
}

void check_recipe(Call const& call, std::string const& recipe)
{
    auto const path = Tree::join(Key::recipe_list, recipe);
    auto const found = call.parts.project.get(std::string(recipe_domain), path);
    if (!found.succeeded() || kind_of(path, found.value) != EntryKind::Recipe)
    {
        throw Problem{.status = 404, .code = "ENTRY_NOT_FOUND", .detail = "there is no recipe '" + recipe + "'"};
    }
}

ActivationRows expected_rows(Call const& call, std::string const& recipe)
{
    check_recipe(call, recipe);
    auto expected = call.parts.project.expected(recipe);
    if (is_refused(expected))
    {
        throw problem_of(expected);
    }
    call.parts.watch.ask(domains_of(expected.rows));
    return std::move(expected.rows);
}

std::vector<std::string> domains_of(Call const& call, std::string const& recipe)
{
    return domains_of(expected_rows(call, recipe));
}

std::string recipe_in(Value const& body)
{
    std::string recipe(body["recipe"].get_text());
    if (recipe.empty())
    {
        throw Problem{.status = 422,
                      .code = "REQUIRED_FIELD",
                      .detail = "\"recipe\" has to be a recipe's name, with its folders: Folder::Name",
                      .errors = {{"/recipe", "the name of a recipe is missing"}}};
    }
    return recipe;
}

bool is_refused(ActivationReport const& report)
{
    return !report.succeeded() && (report.rows.empty() || report.error == ErrorValue::SYMBOL_IN_USE);
}

Problem problem_of(ActivationReport const& report)
{
    return problem_of(report.error, report.result, report.name, report.text);
}

Value activation_value(ActivationReport const& report, std::vector<RowState> const& states)
{
    Value value(ValueType::Map);
    value.insert("id", report.id ? Value(*report.id) : Value());
    value.insert("outcome", text_value(report.succeeded() ? Outcome::done : Outcome::failed));
    value.insert("text", text_value(report.text));
    auto const rows = value_of(report.rows, states);
    value.insert("counts", rows["counts"]);
    value.insert("rows", rows["rows"]);
    return value;
}

} // namespace Ravik::Service
