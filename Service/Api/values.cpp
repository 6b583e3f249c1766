#include "Api/values.h"

#include "Api/problem.h"

namespace Ravik::Service
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

constexpr char const* account_prefix = "account:";

} // namespace

Value text_value(std::string_view text)
{
    return Value(text);
}

Value text_values(std::vector<std::string> const& texts)
{
    Value list(ValueType::Vector);
    for (auto const& text : texts)
    {
        list << text_value(text);
    }
    return list;
}

bool flag_in(Value const& body, char const* name, bool otherwise)
{
    auto const& value = body[name];
    if (value.isset() && value.type() != ValueType::Bool)
    {
        throw Problem{.status = 422,
                      .code = "TYPE_MISMATCH",
                      .detail = '"' + std::string(name) + "\" is true or false",
                      .errors = {{std::string("/") + name, "neither true nor false"}}};
    }
    return value.isset() ? value.get_bool() : otherwise;
}

Value touched_value(std::vector<Touched> const& places)
{
    Value written(ValueType::Vector);
    Value removed(ValueType::Vector);
    for (auto const& place : places)
    {
        (place.removed ? removed : written) << text_value(place.path);
    }
    Value value(ValueType::Map);
    value.insert("written", written);
    value.insert("removed", removed);
    return value;
}

Value finding_value(Finding const& finding)
{
    Value value(ValueType::Map);
    value.insert("kind", text_value(to_text(finding.kind)));
    value.insert("path", text_value(finding.path));
    value.insert("text", text_value(finding.text));
    value.insert("note", Value(finding.is_note()));
    return value;
}

std::string who_text(std::string const& who)
{
    return who.empty() || who.find(':') != std::string::npos ? who : account_prefix + who;
}

std::string who_in(std::string const& text)
{
    return text.starts_with(account_prefix) ? text.substr(std::string_view(account_prefix).size()) : text;
}

Value record_value(HistoryRecord const& record)
{
    Value value(ValueType::Map);
    value.insert("id", Value(record.id));
    value.insert("time", text_value(record.time));
    value.insert("who", text_value(who_text(record.who)));
    value.insert("action", text_value(record.action));
    value.insert("asked", text_value(record.asked));
    value.insert("outcome", text_value(record.outcome));
    value.insert("text", text_value(record.text));
    value.insert("note", text_value(record.note));
    return value;
}

} // namespace Ravik::Service
