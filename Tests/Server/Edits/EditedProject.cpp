#include "EditedProject.h"

#include "Configuration/Entry.h"
#include "Configuration/tree.h"
#include "algorithm_helper.h"
#include "api_helper.h"
#include "Json/Json.h"

#include <set>
#include <sstream>
#include <stdexcept>

namespace Ravik::Testing
{

using RavikSrv::Value;
using RavikSrv::ValueType;
using RavikSrv::Algorithm::to_string;

namespace
{

std::string replaced(std::string text, std::string const& from, std::string const& to)
{
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    {
        text.replace(at, from.size(), to);
    }
    return text;
}

/// Cuts what stands between `open` and `close` out of the text.
std::string cut(std::string& text, char open, char close)
{
    auto const start = text.find(open);
    if (start == std::string::npos)
    {
        return {};
    }
    auto const end = text.find(close, start);
    auto inside = text.substr(start + 1, end - start - 1);
    text.erase(start, end - start + 1);
    return inside;
}

std::vector<std::string> split(std::string const& text, char separator)
{
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);)
    {
        parts.push_back(part);
    }
    return parts;
}

/// "NAME" and what stands behind the separator.
std::pair<std::string, std::string> pair(std::string const& text, char separator)
{
    auto const at = text.find(separator);
    return at == std::string::npos ? std::pair(text, std::string())
                                   : std::pair(text.substr(0, at), replaced(text.substr(at + 1), "/", "::"));
}

Value type_of(std::string const& inherited, std::string const& members)
{
    Value type(ValueType::Map);
    Value names(ValueType::Vector);
    for (auto const& name : split(replaced(inherited, "/", "::"), ','))
    {
        names << Value(name.c_str());
    }
    if (!names.empty())
    {
        type.insert("recipeTypeNames", names);
    }
    type["members"].set_type(ValueType::Map);
    for (auto const& text : split(members, ','))
    {
        auto const [name, nested] = pair(text, '@');
        Value member(ValueType::Map);
        member.insert(nested.empty() ? "symbol" : "recipeType", Value((nested.empty() ? name : nested).c_str()));
        type["members"].insert(name.c_str(), member);
    }
    return type;
}

Value recipe_of(std::string const& type, std::string const& values)
{
    Value recipe(ValueType::Map);
    recipe.insert("recipeTypeName", Value(type.c_str()));
    recipe["values"].set_type(ValueType::Map);
    for (auto const& text : split(values, ','))
    {
        auto const [name, value] = pair(text, '=');
        auto const is_number = !value.empty() && value.find_first_not_of("-0123456789") == std::string::npos;
        recipe["values"].insert(name.c_str(), is_number ? Value(std::stoi(value)) : Value(value.c_str()));
    }
    return recipe;
}

void put(Value& list, std::string const& path, Value const& entry)
{
    auto* node = &list;
    for (auto const& name : split(path, '/'))
    {
        node = &(*node)[name.c_str()];
    }
    *node = entry;
}

std::string joined(std::vector<std::string> const& parts)
{
    std::string text;
    for (auto const& part : parts)
    {
        text += (text.empty() ? "" : ",") + part;
    }
    return text;
}

std::string described(std::string const& path, Value const& entry, EntryKind kind)
{
    auto const name = replaced(path.substr(path.find("::") + 2), "::", "/");
    std::vector<std::string> parts;
    if (kind == EntryKind::Folder)
    {
        return entry.empty() ? name + "/" : "";
    }
    if (kind == EntryKind::RecipeType)
    {
        Value const& members = entry["members"];
        for (auto member = members.begin(); member != members.end(); ++member)
        {
            auto const nested = to_string((*member)["recipeType"]);
            parts.push_back(member.name() + (nested.empty() ? "" : "@" + replaced(nested, "::", "/")));
        }
        std::vector<std::string> names;
        Value const& inherited = entry["recipeTypeNames"];
        for (auto element = inherited.begin_vector(); element != inherited.end_vector(); ++element)
        {
            names.push_back(replaced(to_string(*element), "::", "/"));
        }
        return name + (names.empty() ? "" : "<" + joined(names) + ">") + "(" + joined(parts) + ")";
    }
    Value const& values = entry["values"];
    for (auto value = values.begin(); value != values.end(); ++value)
    {
        auto const text = value->type() == ValueType::String ? to_string(*value) : Json::write(*value);
        parts.push_back(std::string(value.name()) + "=" + replaced(text, "::", "/"));
    }
    return name + ":" + replaced(to_string(entry["recipeTypeName"]), "::", "/") + "(" + joined(parts) + ")";
}

} // namespace

Value configuration(std::string const& notation)
{
    Value lists(ValueType::Map);
    lists["recipeTypeList"].set_type(ValueType::Map);
    lists["recipeList"].set_type(ValueType::Map);
    auto in_recipes = false;
    for (auto word : split(notation, ' '))
    {
        in_recipes = in_recipes || word == "|";
        auto const inherited = cut(word, '<', '>');
        auto const inside = cut(word, '(', ')');
        if (in_recipes && word != "|")
        {
            auto const [name, type] = pair(word, ':');
            put(lists["recipeList"], name, recipe_of(type, inside));
        }
        else if (word != "|")
        {
            put(lists["recipeTypeList"], word, type_of(inherited, inside));
        }
    }
    return lists;
}

std::string notation(Value const& configuration)
{
    std::string text;
    for (std::string const list : {"recipeTypeList", "recipeList"})
    {
        text += list == "recipeList" ? "|" : "";
        for_each_entry(
            list, configuration,
            [&](std::string const& path, Value const& entry, EntryKind kind)
            {
                auto const word = path == list ? "" : described(path, entry, kind);
                text += word.empty() ? "" : (list == "recipeList" ? " " + word : word + " ");
                return true;
            },
            true);
    }
    return text;
}

std::string full_path(std::string const& place)
{
    auto const* const list = place.starts_with("T") ? "recipeTypeList" : place.starts_with("R") ? "recipeList" : "";
    return list + replaced(place.substr(*list == '\0' ? 0 : 1), "/", "::");
}

std::string project_file()
{
    std::string variables;
    std::string symbols;
    for (char letter = 'k'; letter <= 'z'; ++letter)
    {
        auto const name = std::string(variables.empty() ? "" : ",") + '"' + letter + "\":";
        variables += name + "0";
        symbols += name + R"({"DOMAIN":"Line","SCHEMA":{"type":"integer"}})";
    }
    return R"({"extensions":[{"domain":"RavikRecipeManagement","library":")" RECIPE_MANAGEMENT_LIBRARY
           R"("},{"domain":"Line","library":")" SIMULATION_LIBRARY R"(","configuration":{"variables":{)" +
           variables + "}}}],\"symbols\":{" + symbols + "}}";
}

EditedProject::EditedProject(std::string const& initial)
{
    folder.write("ravik.json", project_file());
    reopen();
    auto const report = import(initial);
    if (!report.succeeded())
    {
        throw std::runtime_error(report.path + ": " + report.text);
    }
}

void EditedProject::reopen()
{
    project.reset();
    project = Project::open(folder.path());
}

std::string EditedProject::listed_recipes()
{
    std::set<std::string> names;
    auto const tree = get("");
    for_each_entry("recipeTypeList", tree,
                   [&](std::string const& path, Value const& /*type*/, EntryKind /*kind*/)
                   {
                       Value parameters(ValueType::Struct);
                       parameters.insert("recipeTypePath", Value(path.substr(path.find("::") + 2).c_str()));
                       Value const listed = project->call(domain, "GetRecipes", parameters).value;
                       for (auto recipe = listed.begin_vector(); recipe != listed.end_vector(); ++recipe)
                       {
                           names.insert(to_string(*recipe));
                       }
                       return true;
                   });
    return joined({names.begin(), names.end()});
}

std::string EditedProject::stored_recipes() const
{
    std::set<std::string> names;
    auto const tree = get("");
    for_each_entry("recipeList", tree,
                   [&](std::string const& path, Value const& /*recipe*/, EntryKind /*kind*/)
                   {
                       names.insert(path.substr(path.find("::") + 2));
                       return true;
                   });
    return joined({names.begin(), names.end()});
}

EditReport EditedProject::move(std::string const& text, MoveOptions const& options)
{
    auto const arrow = text.find(" >");
    auto const from = full_path(text.substr(0, arrow));
    auto const to = text.size() > arrow + 3 ? full_path(text.substr(arrow + 3)) : "";
    return to.empty() ? project->remove(domain, from, options) : project->rename(domain, from, to, options);
}

EditReport EditedProject::import(std::string const& text, ImportOptions const& options)
{
    return project->import(domain, configuration(text), options);
}

EditReport EditedProject::set(std::string const& place, char const* json)
{
    return project->set(domain, full_path(place), Json::parse(json));
}

std::string name(RavikSrv::ErrorValue error)
{
    return RavikSrv::get_error_string(error).name();
}

} // namespace Ravik::Testing
