#include "EditedProject.h"

#include "Configuration/Entry.h"
#include "api_helper.h"
#include "Json/Json.h"

#include <stdexcept>

namespace Ravik::Test
{

std::string project_file(std::vector<std::pair<std::string, std::string>> const& symbols)
{
    std::string variables;
    std::string table;
    for (auto const& [name, schema] : symbols)
    {
        auto const key = (table.empty() ? "\"" : ",\"") + name + "\":";
        variables.append(key).append("null");
        table.append(key).append(R"({"DOMAIN":"Line","SCHEMA":)").append(schema).append("}");
    }
    return R"({"extensions":[{"domain":"RavikRecipeManagement","library":")" RECIPE_MANAGEMENT_LIBRARY
           R"("},{"domain":"Line","library":")" SIMULATION_LIBRARY R"(","configuration":{"variables":{)" +
           variables + "}}}],\"symbols\":{" + table + "}}";
}

std::string project_file()
{
    std::vector<std::pair<std::string, std::string>> symbols;
    for (char letter = 'k'; letter <= 'z'; ++letter)
    {
        symbols.emplace_back(std::string(1, letter), R"({"type":"integer"})");
    }
    return project_file(symbols);
}

EditReport edit(Project& project, std::string const& text, MoveOptions const& options)
{
    std::string const domain(recipe_domain);
    if (text.starts_with("+ "))
    {
        return project.import(domain, Test::configuration_of(text.substr(2)), {});
    }
    if (auto const equals = text.find(" = "); equals != std::string::npos)
    {
        return project.set(domain, full_path(text.substr(0, equals)), Json::parse(text.substr(equals + 3)));
    }
    auto const arrow = text.find(" >");
    auto const path = full_path(text.substr(0, arrow));
    return text.size() == arrow + 2 ? project.remove(domain, path, options)
                                    : project.rename(domain, path, full_path(text.substr(arrow + 3)), options);
}

EditedProject::EditedProject(Value const& initial, std::string const& file)
{
    folder.write("ravik.json", file);
    reopen();
    auto const report = project->import(domain, initial, {});
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

std::string EditedProject::listed() const
{
    std::string all;
    for (auto const& type : entry_paths("recipeTypeList", get("")))
    {
        auto const parameter = parameters("recipeTypePath", relative_name(type).c_str());
        all += type + dump(project->call(domain, "GetRecipes", parameter).value);
    }
    return all;
}

std::unique_ptr<OpenProject> opened(std::filesystem::path const& file, std::unique_ptr<Store> store)
{
    auto const content = read_project_file(RegularFile(file, "the project file"));
    return std::make_unique<OpenProject>(content, Libraries(content.extensions.size()), std::move(store));
}

std::string state_of(std::string const& configuration)
{
    return Test::dump(Test::configuration_of(configuration));
}

std::string name(ErrorValue error)
{
    return get_error_string(error).name();
}

} // namespace Ravik::Test
