#pragma once

#include "Project/Project.h"
#include "Support/TemporaryFolder.h"

#include <memory>
#include <string>

namespace Ravik::Testing
{

/// Reads a configuration from its short notation: types, a bar, recipes. A type is NAME(MEMBER,…), with <TYPE,…> behind
/// its name for what it inherits; a member m stands for the symbol m, m@TYPE nests a type. A recipe is
/// NAME:TYPE(MEMBER=VALUE,…). Folders stand before the name, with slashes; so they do in types and texts.
RavikSrv::Value configuration(std::string const& notation);

/// The notation of a configuration, in the order of its tree.
std::string notation(RavikSrv::Value const& configuration);

/// The path of "T/NAME" or "R/NAME" in the list of the types or recipes.
std::string full_path(std::string const& place);

/// The text of a project file with the recipe management and the domain "Line", which has an integer variable and a
/// symbol of that name for each of the letters from "k" to "z".
std::string project_file();

/// A project of its own in a temporary folder, with the notation imported.
class EditedProject
{
public:
    explicit EditedProject(std::string const& initial = "|");

    void reopen();
    std::string state() const { return notation(get("")); }
    RavikSrv::Value get(std::string const& path) const { return project->get(domain, path).value; }
    /// The names of all recipes that `GetRecipes` lists for the types in the configuration, sorted.
    std::string listed_recipes();
    /// The names of all recipes in the configuration, sorted.
    std::string stored_recipes() const;
    /// "T/A > T/B" renames, "T/A >" deletes.
    EditReport move(std::string const& text, MoveOptions const& options = {});
    EditReport import(std::string const& text, ImportOptions const& options = {});
    EditReport set(std::string const& place, char const* json);

    std::string const domain{recipe_domain};
    TemporaryFolder folder;
    std::unique_ptr<Project> project;
};

/// "SUCCESS" or the error's name, for readable comparisons.
std::string name(RavikSrv::ErrorValue error);

} // namespace Ravik::Testing
