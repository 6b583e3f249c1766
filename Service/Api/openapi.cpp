#include "Api/openapi.h"

#include "Api/Route.h"
#include "Api/values.h"

#include "Json/Json.h"

#include <boost/algorithm/string/case_conv.hpp>

namespace Ravik::Service
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

Value map(std::initializer_list<std::pair<char const*, Value>> entries)
{
    Value value(ValueType::Map);
    for (auto const& [name, entry] : entries)
    {
        value.insert(name, entry);
    }
    return value;
}

Value list(std::initializer_list<Value> elements)
{
    Value value(ValueType::Vector);
    for (auto const& element : elements)
    {
        value << element;
    }
    return value;
}

Value reference(char const* name)
{
    return map({{"$ref", text_value(std::string("#/components/") + name)}});
}

Value parameter_value(Parameter const& parameter)
{
    return map({{"name", text_value(parameter.name)},
                {"in", text_value(parameter.in_header ? "header" : "query")},
                {"required", Value(parameter.required)},
                {"description", text_value(parameter.description)},
                {"schema", map({{"type", text_value("string")}})}});
}

Value parameters_of(Route const& route)
{
    Value parameters(ValueType::Vector);
    auto const takes_edit = route.path == "/history/{id}";
    if (route.path.find("{id}") != std::string_view::npos)
    {
        parameters << map({{"name", text_value("id")},
                           {"in", text_value("path")},
                           {"required", Value(true)},
                           {"description", text_value(takes_edit ? "the number of a record of the history, or the id "
                                                                   "of an edit in a library"
                                                                 : "the number of a record of the history")},
                           {"schema", map({{"type", text_value(takes_edit ? "string" : "integer")}})}});
    }
    for (auto const& parameter : route.parameters)
    {
        parameters << parameter_value(parameter);
    }
    return parameters;
}

Value body_of(BodyKind kind)
{
    auto const content = [](std::initializer_list<char const*> types)
    {
        Value value(ValueType::Map);
        for (auto const* const type : types)
        {
            value.insert(type, map({{"schema", Value(ValueType::Map)}}));
        }
        return value;
    };
    switch (kind)
    {
    case BodyKind::None:
        return {};
    case BodyKind::Json:
        return map({{"required", Value(true)}, {"content", content({"application/json"})}});
    case BodyKind::OptionalJson:
        return map({{"required", Value(false)}, {"content", content({"application/json"})}});
    case BodyKind::Patch:
        return map({{"required", Value(true)}, {"content", content({"application/merge-patch+json"})}});
    case BodyKind::Import:
        return map({{"required", Value(true)}, {"content", content({"application/json", "text/csv"})}});
    }
    return {};
}

char const* need_text(Need const& need)
{
    if (std::holds_alternative<Anybody>(need))
    {
        return "anybody";
    }
    if (std::holds_alternative<SignedIn>(need))
    {
        return "whoever is signed in";
    }
    switch (std::get<Right>(need))
    {
    case Right::Read:
        return "viewer";
    case Right::Activate:
        return "operator";
    case Right::Edit:
        return "engineer";
    case Right::Administer:
        break;
    }
    return "admin";
}

Value responses_of(Route const& route)
{
    Value responses(ValueType::Map);
    for (auto const status : route.statuses)
    {
        responses.insert(std::to_string(status).c_str(), map({{"description", text_value("done")}}));
    }
    responses.insert("default", reference("responses/problem"));
    return responses;
}

/// "GET /history/{id}" is called "get-history-id".
std::string operation_id(Route const& route)
{
    auto name = boost::to_lower_copy(std::string(route.method));
    for (auto const character : route.path)
    {
        if (character == '/')
        {
            name += '-';
        }
        else if (character != '{' && character != '}')
        {
            name += character;
        }
    }
    return name;
}

Value operation(Route const& route)
{
    auto value = map({{"operationId", text_value(operation_id(route))},
                      {"summary", text_value(route.summary)},
                      {"description", text_value(std::string("For: ") + need_text(route.need))},
                      {"parameters", parameters_of(route)}});
    if (auto const body = body_of(route.body); body.isset())
    {
        value.insert("requestBody", body);
    }
    value.insert("responses", responses_of(route));
    if (std::holds_alternative<Anybody>(route.need))
    {
        value.insert("security", Value(ValueType::Vector));
    }
    return value;
}

Value components()
{
    auto const text = map({{"type", text_value("string")}});
    auto const problem =
        map({{"type", text_value("object")},
             {"properties",
              map({{"title", text},
                   {"status", map({{"type", text_value("integer")}})},
                   {"code", text},
                   {"detail", text},
                   {"edit", text},
                   {"errors", map({{"type", text_value("array")},
                                   {"items", map({{"type", text_value("object")},
                                                  {"properties", map({{"pointer", text}, {"detail", text}})}})}})}})}});
    auto const content = map({{"application/problem+json", map({{"schema", reference("schemas/problem")}})}});
    return map(
        {{"schemas", map({{"problem", problem}})},
         {"responses",
          map({{"problem", map({{"description", text_value("it failed, and why")}, {"content", content}})}})},
         {"securitySchemes", map({{"token", map({{"type", text_value("http")}, {"scheme", text_value("bearer")}})},
                                  {"csrf", map({{"type", text_value("apiKey")},
                                                {"in", text_value("header")},
                                                {"name", text_value("X-CSRF-Token")}})}})}});
}

std::string describe()
{
    Value paths(ValueType::Map);
    for (auto const& route : all_routes())
    {
        std::string const path(route.path);
        auto operations = paths[path.c_str()].isset() ? paths[path.c_str()] : Value(ValueType::Map);
        operations.insert(boost::to_lower_copy(std::string(route.method)).c_str(), operation(route));
        paths.insert_or_update(path.c_str(), operations);
    }
    auto const document = map(
        {{"openapi", text_value("3.1.0")},
         {"info", map({{"title", text_value("Ravik")}, {"version", text_value(RAVIK_VERSION)}})},
         {"servers", list({map({{"url", text_value(api_root)}})})},
         {"security", list({map({{"token", Value(ValueType::Vector)}}), map({{"csrf", Value(ValueType::Vector)}})})},
         {"paths", paths},
         {"components", components()}});
    return Json::write(document);
}

} // namespace

std::shared_ptr<std::string const> description()
{
    static auto const text = std::make_shared<std::string const>(describe());
    return text;
}

} // namespace Ravik::Service
