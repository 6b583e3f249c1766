#include "configuration_commands.h"

#include "recipe_names.h"
#include "text_file.h"
#include "text_width.h"

#include "Json/Json.h"

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

/// The outcome's failure, with the path that caused it where the text does not name it.
Answer configuration_answer(ConfigurationOutcome const& outcome)
{
    auto text = outcome.text;
    if (!outcome.succeeded() && !outcome.path.empty() && text.find(outcome.path) == std::string::npos)
    {
        text = outcome.path + (text.empty() ? "" : ": " + text);
    }
    return answer_of(outcome.error, text);
}

/// Reads a file that the user names; a fault in it is told with its place.
Value read_json(std::string const& file)
{
    auto const text = read_text(file);
    try
    {
        return Json::parse(text);
    }
    catch (Json::ParseError const& error)
    {
        throw Failure(ErrorValue::SYNTAX, (file == "-" ? "standard input" : file) + ':' +
                                              std::to_string(error.location().line) + ':' +
                                              std::to_string(error.location().column) + ": " + error.what());
    }
}

/// What an export holds: the two lists that an import reads, without anything else that the extension may keep.
Value exported(Value const& configuration, std::string const& domain)
{
    if (domain != recipe_domain)
    {
        return configuration;
    }
    Value lists(ValueType::Map);
    for (auto const* const key : {"recipeTypeList", "recipeList"})
    {
        auto const& list = configuration[key];
        lists.insert(key, list.isset() ? list : Value(ValueType::Map));
    }
    return lists;
}

Value count_value(Value const& configuration)
{
    Value counts;
    counts.insert("recipeTypes", static_cast<long>(recipe_type_names(configuration["recipeTypeList"]).size()));
    counts.insert("recipes", static_cast<long>(recipe_names(configuration["recipeList"]).size()));
    return counts;
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
        invocation.output().print(Json::write(outcome.value, Json::Layout::Indented));
    }
    return answer;
}

Answer import(Invocation& invocation)
{
    auto const data = read_json(invocation.operands()[0]);
    auto const outcome = invocation.project().import(invocation.domain(), data);
    auto answer = configuration_answer(outcome);
    if (outcome.succeeded())
    {
        answer.value = count_value(data);
        invocation.output().print("Imported " + recipe_counts(data) + '.');
    }
    return answer;
}

Answer export_lists(Invocation& invocation)
{
    auto const operands = invocation.operands();
    auto const file = operands.empty() ? std::string("-") : operands[0];
    auto const replace = invocation.has(Option::force);
    if (file != "-")
    {
        check_writable(file, replace);
    }
    auto const outcome = invocation.project().get(invocation.domain(), "");
    auto answer = configuration_answer(outcome);
    if (!outcome.succeeded())
    {
        return answer;
    }
    auto const lists = exported(outcome.value, invocation.domain());
    auto const text = Json::write(lists, Json::Layout::Indented);
    if (file == "-")
    {
        answer.value = lists;
        invocation.output().print(text);
        return answer;
    }
    write_text(file, text + '\n', replace);
    answer.value = count_value(lists);
    answer.value.insert("file", Value(std::string_view(file)));
    invocation.output().print("Exported " + recipe_counts(lists) + " to " + printable(file) + '.');
    return answer;
}

} // namespace Ravik::CommandLine
