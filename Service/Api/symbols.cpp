#include "Api/controllers.h"
#include "Api/edits.h"
#include "Api/resources.h"
#include "Api/values.h"

#include <algorithm>

namespace Ravik::Service
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

SymbolInfo symbol_of(Call const& call)
{
    auto const name = call.required("name");
    auto const all = call.parts.project.symbols();
    auto const found =
        std::find_if(all.begin(), all.end(), [&name](SymbolInfo const& symbol) { return symbol.name == name; });
    if (found == all.end())
    {
        throw Problem{.status = 404,
                      .code = "INVALID_SYMBOL",
                      .detail = "there is no symbol '" + name + "'; /symbols lists those that there are"};
    }
    return *found;
}

Value symbol_value(SymbolInfo const& symbol, Value const& live)
{
    Value value(ValueType::Map);
    value.insert("name", text_value(symbol.name));
    value.insert("value", live);
    value.insert("domain", text_value(symbol.domain));
    value.insert("mapping", text_value(symbol.mapping));
    value.insert("schema", symbol.schema);
    return value;
}

/// The answer to a group of one command; what the device or the symbol refused is a problem.
Response answer_of(SymbolInfo const& symbol, ExecutedGroup const& group, Value const& value)
{
    auto const& command = group.commands.front();
    if (command.result == ErrorValue::SUCCESS)
    {
        auto answer = symbol_value(symbol, value);
        if (!command.text.empty())
        {
            // Such as that the history could not be told.
            answer.insert("text", text_value(command.text.str()));
        }
        return json_answer(answer);
    }
    throw problem_of(command.result, symbol.name + ": " + failure_text(command));
}

} // namespace

void get_symbol(Call call, Reply reply)
{
    auto const symbol = symbol_of(call);
    call.parts.watch.ask({symbol.domain});
    auto& devices = call.parts.devices;
    auto const who = call.caller.who;
    devices.read(
        who, {symbol.domain},
        [call = std::move(call), symbol]
        {
            auto const group = call.parts.project.read_symbols({symbol.name});
            return answer_of(symbol, group, group.commands.front().value);
        },
        std::move(reply));
}

void put_symbol(Call call, Reply reply)
{
    auto const symbol = symbol_of(call);
    auto const body = call.object({"value", "note"});
    if (!body["value"].isset())
    {
        throw Problem{.status = 422,
                      .code = "REQUIRED_FIELD",
                      .detail = "\"value\" is what is to be written",
                      .errors = {{"/value", "a value is missing"}}};
    }
    call.parts.watch.ask({symbol.domain});
    auto& devices = call.parts.devices;
    devices.write(
        {symbol.domain},
        [call = std::move(call), symbol, body]
        {
            auto const group = call.parts.project.write_symbol(symbol.name, body["value"],
                                                               origin_of(call, std::string(body["note"].get_text())));
            return answer_of(symbol, group, body["value"]);
        },
        std::move(reply));
}

} // namespace Ravik::Service
