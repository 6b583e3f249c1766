#include "Support/RecipeNotation.h"

#include "algorithm_helper.h"

#include <boost/algorithm/string/replace.hpp>

#include <algorithm>
#include <regex>
#include <sstream>

namespace Ravik::Test
{

namespace
{

/// Cuts off and returns what stands behind the last `mark`; empty where there is none.
std::string cut(std::string& text, char mark)
{
    auto const position = text.rfind(mark);
    auto behind = position == std::string::npos ? std::string() : text.substr(position + 1);
    text.erase(std::min(position, text.size()));
    return behind;
}

Value scalar(std::string const& text)
{
    std::size_t number = 0;
    return text.starts_with('\'')                   ? Value(text.substr(1).c_str())
           : Algorithm::try_as_size_t(text, number) ? Value(static_cast<int>(number))
                                                    : Value(text.c_str());
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

void add_member(Value& members, std::string const& text)
{
    static std::regex const form("(-?)([^:=>]*)(?::([^=>]*))?(?:=([^>]*))?(?:>(.*))?");
    std::smatch parts;
    std::regex_match(text, parts, form);
    Value member(ValueType::Map);
    if (parts[5].matched)
    {
        member["recipeType"] = parts.str(5).c_str();
    }
    if (parts[4].matched)
    {
        member["defaultValue"] = scalar(parts.str(4));
    }
    if (parts[3].matched || !parts[5].matched)
    {
        member["symbol"] = parts.str(parts[3].matched ? 3 : 2).c_str();
    }
    member["enabled"] = parts.length(1) == 0;
    members.insert(parts.str(2).c_str(), member);
}

/// An entry's head, whose name it leaves.
Value type_of(std::string& head)
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
    return type;
}

Value recipe_of(std::string& head)
{
    static std::regex const form("(.*?[^:]):([^:].*)?");
    std::smatch parts;
    std::regex_match(head, parts, form);
    Value recipe(ValueType::Map);
    recipe["recipeTypeName"] = parts.str(2).c_str();
    head = parts.str(1);
    return recipe;
}

void add_value(Value& values, std::string const& text)
{
    auto name = text;
    auto const content = cut(name, '=');
    values.insert(name.c_str(), scalar(content));
}

Value entries_of(std::string const& notation, Value (*entry_of)(std::string& head), char const* parts,
                 void (*add_part)(Value& all, std::string const& text))
{
    std::istringstream text(notation);
    Value entries(ValueType::Map);
    for (std::string head; text >> head;)
    {
        if (head.ends_with('/'))
        {
            head.pop_back();
            entry_at(entries, head).set_type(ValueType::Map);
            continue;
        }
        auto entry = entry_of(head);
        auto& all = entry[parts];
        all.set_type(ValueType::Map);
        std::string part;
        for (text >> part; text >> part && part != "}";)
        {
            add_part(all, part);
        }
        entry_at(entries, head) = entry;
    }
    return entries;
}

} // namespace

Value types_of(std::string const& notation)
{
    return entries_of(notation, type_of, "members", add_member);
}

Value recipes_of(std::string const& notation)
{
    return entries_of(notation, recipe_of, "values", add_value);
}

Value configuration_of(std::string const& types, std::string const& recipes)
{
    Value configuration(ValueType::Map);
    configuration["recipeTypeList"] = types_of(types);
    configuration["recipeList"] = recipes_of(recipes);
    return configuration;
}

Value configuration_of(std::string const& notation)
{
    auto types = notation;
    auto const recipes = cut(types, '|');
    return configuration_of(types, recipes);
}

std::string full_path(std::string const& place)
{
    auto const* const list = place.starts_with('T') ? "recipeTypeList" : place.starts_with('R') ? "recipeList" : "";
    return *list == '\0' ? place : list + place.substr(1);
}

std::string text_of(Value const& values)
{
    std::string text;
    for (auto value = values.begin(); value != values.end(); ++value)
    {
        text.append(text.empty() ? "" : " ").append(value.name()).append("=").append(Algorithm::to_string(*value));
    }
    for (auto value = values.begin_vector(); value != values.end_vector(); ++value)
    {
        text.append(text.empty() ? "" : " ").append(Algorithm::to_string(*value));
    }
    return text;
}

std::string dump(Value const& value)
{
    std::string text;
    for (auto entry = value.begin(); entry != value.end(); ++entry)
    {
        auto const content = dump(*entry);
        text.append(content.empty() ? "" : std::string(" ") + entry.name() + ":" + content);
    }
    for (auto entry = value.begin_vector(); entry != value.end_vector(); ++entry)
    {
        text.append(",").append(dump(*entry));
    }
    auto const is_text = value.type() == ValueType::String;
    return value.type() == ValueType::Map ? "{" + text + " }"
                                          : text + (is_text ? "'" : "") + Algorithm::to_string(value);
}

std::string repeated(int count, std::string const& part)
{
    std::string text;
    for (int i = 0; i < count; ++i)
    {
        auto const numbered = boost::replace_all_copy(part, "#", std::to_string(i));
        text += boost::replace_all_copy(numbered, "*", std::to_string(i + 1));
    }
    return text;
}

Value parameters(char const* name, Value const& value)
{
    Value result(ValueType::Struct);
    result.insert(name, value);
    return result;
}

} // namespace Ravik::Test
