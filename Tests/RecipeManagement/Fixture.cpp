#include "Fixture.h"

#include "api_helper.h"

namespace Ravik::Test
{

RecipeManagementFixture::RecipeManagementFixture() : extension(RECIPE_MANAGEMENT_LIBRARY, host, domain)
{
    auto& table = host.configuration["RavikSrv"]["SYMBOLS"];
    for (std::string const name : {"A", "B", "C", "D", "X", "Y", "V", "W"})
    {
        table[name.c_str()]["DOMAIN"] = name == "X" || name == "Y" ? "Other" : "Line";
    }
    table["A"]["USEMAPPING"] = true;
    table["V"]["USEMAPPING"] = false;
    table["W"]["USEMAPPING"] = false;
}

void RecipeManagementFixture::configure(std::string const& types, std::string const& recipes)
{
    host.configuration[domain] = configuration_of(types, recipes);
    host.groups.clear();
    host.commands.clear();
    host.config_writes.clear();
    host.call_count = 0;
}

void RecipeManagementFixture::announce()
{
    Value const configuration = host.configuration[domain];
    announce("recipeTypeList", configuration["recipeTypeList"], "members");
    announce("recipeList", configuration["recipeList"], "values");
}

void RecipeManagementFixture::announce(std::string const& path, Value const& folder, char const* part)
{
    for (auto entry = folder.begin(); entry != folder.end(); ++entry)
    {
        auto const entry_path = path + "::" + entry.name();
        (*entry)[part].isset() ? announce(entry_path) : announce(entry_path, *entry, part);
    }
}

void RecipeManagementFixture::announce(std::string const& path)
{
    auto const* const type = path.starts_with("recipeList") ? "recipe" : "recipeType";
    static_cast<void>(extension.changes().on_change(extension.context(), path.c_str(), type));
}

Command RecipeManagementFixture::call(char const* function, char const* recipe)
{
    return extension.call(function, parameters("path", recipe));
}

std::string RecipeManagementFixture::told(Command const& command) const
{
    return std::string(extension.object().error_string(command.extension_result()).name()) + " | " +
           command.result_string();
}

std::string RecipeManagementFixture::told(ResultPair const& result)
{
    return std::string(get_error_string(result.result()).name()) + " | " + result.text();
}

std::string RecipeManagementFixture::outcome(char const* recipe)
{
    auto const command = call("ActivateRecipe", recipe);
    return host.executed() + " | " + told(command);
}

} // namespace Ravik::Test
