#include "RecipeNotation.h"

#include "algorithm_helper.h"
#include "api_helper.h"

#include <sstream>

namespace Ravik::Test
{

using namespace RavikSrv;

namespace
{

/// Cuts off and answers what stands behind the last `mark`; empty where there is none.
std::string cut(std::string& text, char mark)
{
    auto const position = text.rfind(mark);
    auto const behind = position == std::string::npos ? std::string() : text.substr(position + 1);
    text.erase(std::min(position, text.size()));
    return behind;
}

Value scalar(std::string const& text)
{
    std::size_t number = 0;
    return Algorithm::try_as_size_t(text, number) ? Value(static_cast<int>(number)) : Value(text.c_str());
}

Value& entry_at(Value& root, std::string const& path)
{
    auto* entry = &root;
    for (auto const& name : Algorithm::split_symbol_name(path.c_str()))
    {
        entry = &(*entry)[name.c_str()];
    }
    return *entry;
}

Value member_of(std::string text, std::string& name)
{
    Value member(ValueType::Map);
    if (auto const nested = cut(text, '>'); !nested.empty())
    {
        member["recipeType"] = nested.c_str();
    }
    if (auto const value = cut(text, '='); !value.empty())
    {
        member["defaultValue"] = scalar(value);
    }
    auto const colon = text.find(':');
    if (colon != std::string::npos)
    {
        member["symbol"] = text.substr(colon + 1).c_str();
    }
    name = text.substr(0, colon);
    member["enabled"] = !Algorithm::remove_start(name, "-");
    return member;
}

Value type_of(std::string& head, std::istringstream& text)
{
    Value type(ValueType::Map);
    if (head.ends_with(')'))
    {
        head.pop_back();
        std::istringstream names(cut(head, '('));
        for (std::string name; std::getline(names, name, ',');)
        {
            type["recipeTypeNames"] << Value(name.c_str());
        }
    }
    if (head.ends_with('!'))
    {
        head.pop_back();
        type["options"]["enabled"] = "Disabled";
    }
    type["members"].set_type(ValueType::Map);
    std::string name;
    std::string member;
    for (text >> member; text >> member && member != "}";)
    {
        auto const value = member_of(member, name);
        type["members"].insert(name.c_str(), value);
    }
    return type;
}

} // namespace

Value types_of(std::string const& notation)
{
    std::istringstream text(notation);
    Value types(ValueType::Map);
    for (std::string head; text >> head;)
    {
        auto const type = type_of(head, text);
        entry_at(types, head) = type;
    }
    return types;
}

Value recipes_of(std::string const& notation)
{
    std::istringstream text(notation);
    Value recipes(ValueType::Map);
    for (std::string head; text >> head;)
    {
        // The first colon that is no part of a separator.
        std::size_t colon = head.find(':');
        while (head.compare(colon, 2, "::") == 0)
        {
            colon = head.find(':', colon + 2);
        }
        auto const type = head.substr(colon + 1);
        head.erase(colon);
        auto& recipe = entry_at(recipes, head);
        recipe["recipeTypeName"] = type.c_str();
        recipe["values"].set_type(ValueType::Map);
        std::string value;
        for (text >> value; text >> value && value != "}";)
        {
            auto const content = cut(value, '=');
            recipe["values"][value.c_str()] = scalar(content);
        }
    }
    return recipes;
}

Value configuration_of(std::string const& types, std::string const& recipes)
{
    Value configuration(ValueType::Map);
    configuration["recipeTypeList"] = types_of(types);
    configuration["recipeList"] = recipes_of(recipes);
    return configuration;
}

std::string text_of(Value const& values)
{
    std::string text;
    for (auto value = values.begin(); value != values.end(); ++value)
    {
        text += (text.empty() ? "" : " ") + std::string(value.name()) + "=" + Algorithm::to_string(*value);
    }
    for (auto value = values.begin_vector(); value != values.end_vector(); ++value)
    {
        text += (text.empty() ? "" : " ") + Algorithm::to_string(*value);
    }
    return text;
}

Value symbol_table_of(std::string const& notation)
{
    std::istringstream text(notation);
    Value table(ValueType::Map);
    for (std::string symbol; text >> symbol;)
    {
        auto served_by = cut(symbol, ':');
        if (served_by.ends_with('!'))
        {
            served_by.pop_back();
            table[symbol.c_str()]["USEMAPPING"] = false;
        }
        table[symbol.c_str()]["DOMAIN"] = served_by.c_str();
    }
    return table;
}

RecipeManagementFixture::RecipeManagementFixture() : extension(RECIPE_MANAGEMENT_LIBRARY, host, domain)
{
    auto& table = host.configuration["RavikSrv"]["SYMBOLS"];
    table = symbol_table_of("A:Line B:Line C:Line D:Line X:Other Y:Other V:Line! W:Line!");
    table["A"]["USEMAPPING"] = true;
}

void RecipeManagementFixture::configure(std::string const& types, std::string const& recipes)
{
    host.configuration[domain] = configuration_of(types, recipes);
    host.groups.clear();
    host.call_count = 0;
}

Command RecipeManagementFixture::activate(char const* path)
{
    return extension.call("ActivateRecipe", parameters("path", path));
}

std::string RecipeManagementFixture::outcome(char const* path)
{
    auto const command = activate(path);
    return host.executed() + " | " + told(command);
}

std::string RecipeManagementFixture::told(Command const& command)
{
    return std::string(extension.object().error_string(command.extension_result()).name()) + " | " +
           command.result_string();
}

void RecipeManagementFixture::announce()
{
    auto const configuration = host.configuration[domain];
    for (std::string const list : {"recipeTypeList", "recipeList"})
    {
        auto const& entries = configuration[list.c_str()];
        for (auto entry = entries.begin(); entry != entries.end(); ++entry)
        {
            auto const* const type = list == "recipeList" ? "recipe" : "recipeType";
            extension.changes().on_change(extension.context(), (list + "::" + entry.name()).c_str(), type);
        }
    }
}

Value parameters(char const* name, Value const& value)
{
    Value result(ValueType::Struct);
    result.insert(name, value);
    return result;
}

} // namespace Ravik::Test
