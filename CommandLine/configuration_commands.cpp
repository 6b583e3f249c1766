#include "commands.h"

#include "configuration_answer.h"
#include "path_hint.h"
#include "recipe_names.h"
#include "text_file.h"
#include "text_width.h"

#include "Configuration/configuration_keys.h"
#include "Project/report_values.h"
#include "Json/Json.h"

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

/// What an export holds: the two lists that an import reads, without anything else that the extension may keep.
Value exported(Value const& configuration, std::string const& domain)
{
    if (domain != recipe_domain)
    {
        return configuration;
    }
    Value lists(ValueType::Map);
    for (auto const* const key : {Key::recipe_type_list, Key::recipe_list})
    {
        auto const& list = configuration[key];
        lists.insert(key, list.isset() ? list : Value(ValueType::Map));
    }
    return lists;
}

Answer export_table(Invocation& invocation, std::string const& file, Existing existing)
{
    auto const type = invocation.value(Option::csv);
    auto const form =
        invocation.has(Option::excel) ? TableText::Form{.separator = ';', .byte_order_mark = true} : TableText::Form();
    auto const outcome = invocation.project().export_table(invocation.domain(), type, form);
    auto answer = configuration_answer(outcome);
    if (!outcome.succeeded())
    {
        if (outcome.error == ErrorValue::ENTRY_NOT_FOUND)
        {
            hint_at_missing_path(invocation, outcome.path);
        }
        return answer;
    }
    answer.value = outcome.value;
    if (file == "-")
    {
        invocation.output().print_file(outcome.value.get_text());
        return answer;
    }
    write_text(file, outcome.value.get_text(), existing);
    answer.value = Value(ValueType::Map);
    answer.value.insert("file", Value(std::string_view(file)));
    invocation.output().print("Exported the recipes of " + type + " to " + file + '.');
    return answer;
}

} // namespace

Answer get(Invocation& invocation)
{
    auto const operands = invocation.operands();
    auto const outcome = invocation.project().get(invocation.domain(), operands.empty() ? "" : operands[0]);
    auto answer = configuration_answer(outcome);
    answer.value = outcome.value;
    if (outcome.succeeded())
    {
        invocation.output().print_json(outcome.value);
    }
    else if (outcome.error == ErrorValue::ENTRY_NOT_FOUND)
    {
        hint_at_missing_path(invocation, operands[0]);
    }
    return answer;
}

Answer export_lists(Invocation& invocation)
{
    auto const operands = invocation.operands();
    auto const file = operands.empty() ? std::string("-") : operands[0];
    auto const existing = invocation.has(Option::force) ? Existing::replaced : Existing::kept;
    if (invocation.has(Option::excel) && !invocation.has(Option::csv))
    {
        throw UsageError("--excel is a form of tables: export --csv TYPE --excel");
    }
    if (file != "-")
    {
        check_writable(file, existing);
    }
    if (invocation.has(Option::csv))
    {
        return export_table(invocation, file, existing);
    }
    auto const outcome = invocation.project().get(invocation.domain(), "");
    auto answer = configuration_answer(outcome);
    if (!outcome.succeeded())
    {
        return answer;
    }
    auto const lists = exported(outcome.value, invocation.domain());
    if (file == "-")
    {
        answer.value = lists;
        invocation.output().print_json(lists);
        return answer;
    }
    write_text(file, printable_json(Json::write(lists, Json::Layout::Indented)) + '\n', existing);
    answer.value = count_value(lists);
    answer.value.insert("file", Value(std::string_view(file)));
    invocation.output().print("Exported " + recipe_counts(lists) + " to " + file + '.');
    return answer;
}

Answer check(Invocation& invocation)
{
    auto const domain = invocation.domain();
    auto const present = invocation.project().get(domain, "");
    auto answer = configuration_answer(present);
    if (!present.succeeded())
    {
        return answer;
    }
    auto const findings = invocation.project().check(domain);
    answer.value = value_of(findings);
    print_findings(findings, invocation.output());
    auto const faults = static_cast<std::size_t>(
        std::count_if(findings.begin(), findings.end(), [](Finding const& finding) { return !finding.is_note(); }));
    if (faults == 0)
    {
        invocation.output().print("Nothing is wrong.");
        return answer;
    }
    auto const failed =
        answer_of(ErrorValue::FAIL, counted(faults, "thing") + (faults == 1 ? " is" : " are") + " wrong");
    answer.result = failed.result;
    answer.name = failed.name;
    answer.text = failed.text;
    return answer;
}

} // namespace Ravik::CommandLine
