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
    auto value = value_of(record);
    value.insert_or_update("who", text_value(who_text(record.who)));
    return value;
}

} // namespace Ravik::Service
