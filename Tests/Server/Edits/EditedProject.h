#pragma once

#include "Project/OpenProject.h"
#include "Support/RecipeNotation.h"
#include "Support/TemporaryFolder.h"

#include <memory>
#include <string>
#include <vector>

namespace Ravik::Test
{

/// The text of a project file with the recipe management and the simulated domain "Line", which has a variable and a
/// symbol for each name, of the schema given as text.
std::string project_file(std::vector<std::pair<std::string, std::string>> const& symbols);
/// The same with an integer for each of the letters from "k" to "z".
std::string project_file();

/// Makes the edit that a text stands for: "PLACE = JSON" sets, "PLACE > PLACE" renames, "PLACE >" deletes and
/// "+ CONFIGURATION", in the short notation, imports.
EditReport edit(Project& project, std::string const& text, MoveOptions const& options = {});

/// A project of its own in a temporary folder, with the configuration imported.
class EditedProject
{
public:
    EditedProject(Value const& initial, std::string const& file);
    explicit EditedProject(std::string const& initial) : EditedProject(Test::configuration_of(initial), project_file())
    {
    }

    void reopen();
    EditReport edit(std::string const& text, MoveOptions const& options = {}) const
    {
        return Test::edit(*project, text, options);
    }
    Value get(std::string const& path) const { return project->get(domain, path).value; }
    /// The configuration in short, to compare with `state_of` what it should be.
    std::string state() const { return Test::dump(get("")); }
    /// What `GetRecipes` lists for each type, in its order.
    std::string listed() const;

    std::string const domain{recipe_domain};
    TemporaryFolder folder;
    std::unique_ptr<Project> project;
};

/// A project of the file with the store, which may be null; nobody asks who owns the folder.
std::unique_ptr<OpenProject> opened(std::filesystem::path const& file, std::unique_ptr<Store> store);

std::string state_of(std::string const& configuration);

/// "SUCCESS" or the error's name, for readable comparisons.
std::string name(ErrorValue error);

} // namespace Ravik::Test
