#pragma once

#include "Configuration/Library.h"
#include "Project/Project.h"
#include "Support/TemporaryFolder.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

namespace Ravik::Benchmark
{

/// A server with a project of its own, which may share its types and recipes in a library. Failures are thrown.
class Line
{
public:
    /// Of the recipes that a line is made with, each of 100 values: the type, and the folder that holds them all.
    static constexpr char const* type = "recipeTypeList::T";
    static constexpr char const* folder = "recipeList::All";
    static std::string recipe(int number);

    enum class Extension
    {
        RecipeManagement,
        Silent,
    };

    /// Makes an empty project; without a library where `library` is null.
    Line(std::string name, Extension extension, LibrarySettings const* library);

    void make_recipes(int count);
    /// Joins the library, closed; it is open afterwards, and follows.
    void join();
    void open();
    void close() { m_project.reset(); }
    /// Waits until it has come as far as its library.
    void settle() const;

    Project& project() const noexcept { return *m_project; }
    std::filesystem::path store() const { return m_folder.path() / "ravik.db"; }
    std::int64_t revision() const;

    /// Stores one value of a recipe, and whether that shows.
    void set(int recipe, int value) const;
    bool shows(int recipe, int value) const;
    void rename(std::string const& from, std::string const& to) const;
    /// Waits until it shows the revision.
    void await(std::int64_t revision) const;

private:
    std::string m_name;
    Test::TemporaryFolder m_folder;
    std::unique_ptr<Project> m_project;
};

} // namespace Ravik::Benchmark
