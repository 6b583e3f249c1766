#pragma once

#include "Support/LoadedExtension.h"
#include "Support/RecipeNotation.h"
#include "Support/RecordingHost.h"

#include <gtest/gtest.h>

#include <string>

namespace Ravik::Test
{

/// The recipe management in a host whose symbols A to D are served by Line and X and Y by Other; V and W of Line are
/// server symbols.
struct RecipeManagementFixture
{
    RecipeManagementFixture();

    /// Replaces the configuration and forgets what the host was asked.
    void configure(std::string const& types, std::string const& recipes);

    struct RequestCase
    {
        char const* about;
        char const* types;
        char const* recipes;
        char const* outcome;
    };
    /// What `request()` comes to in each of the configurations.
    template <typename Cases, typename Request> void expect_each(Cases const& cases, Request const& request)
    {
        for (auto const& [about, types, recipes, outcome] : cases)
        {
            SCOPED_TRACE(about);
            configure(types, recipes);
            EXPECT_EQ(request(), outcome);
        }
    }

    /// Tells the extension of every type and recipe, in the order of the configuration.
    void announce();
    void announce(std::string const& path);

    /// Calls a function for a recipe.
    Command call(char const* function, char const* recipe = "R");
    /// "result's name | result's text" of an answered command.
    std::string told(Command const& command) const;
    /// "NAME | text" of an answered notification.
    static std::string told(ResultPair const& result);
    /// What "ActivateRecipe" came to: "executed groups | result's name | result's text".
    std::string outcome(char const* recipe = "R");

    static constexpr char const* domain = "RavikRecipeManagement";

    RecordingHost host;
    LoadedExtension extension;

private:
    void announce(std::string const& path, Value const& folder, char const* part);
};

} // namespace Ravik::Test
