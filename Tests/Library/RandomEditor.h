#pragma once

#include "Project/Project.h"

#include <chrono>
#include <random>
#include <string>
#include <vector>

namespace Ravik::Test
{

/// An edit that was asked for, and what became of it as far as its client knows.
struct Attempt
{
    enum class Result
    {
        Made,
        Refused,
        Unknown,
    };

    /// As the history tells it; no two edits have the same.
    std::string asked;
    Result result = Result::Refused;
    /// Of an unknown one: its id in the library, empty where the server was gone before it could tell.
    std::string edit{};
    /// Why it was refused, or is unknown.
    std::string text{};
    /// Whether there is no server any more that could tell.
    bool lost_server = false;
    std::chrono::nanoseconds took{};
};

/// A client that makes edits of all kinds, all clients on the same recipes. What it does follows from the seed alone;
/// not everything can be done.
class RandomEditor
{
public:
    RandomEditor(std::string name, std::uint64_t seed) : m_name(std::move(name)), m_random(seed) {}

    /// What all of them begin with: six types and 500 recipes in ten folders.
    static RavikSrv::Value first_configuration();

    std::string const& name() const noexcept { return m_name; }
    /// Makes the next edit, which changes something unless it is refused.
    Attempt edit(Project& project);

private:
    using Make = EditReport (RandomEditor::*)(Project&);
    struct Kind
    {
        std::size_t weight;
        Make make;
    };
    static std::vector<Kind> const& kinds();

    std::size_t below(std::size_t limit) { return m_random() % limit; }
    bool happens() { return below(2) == 0; }
    /// One that stands nowhere, as far as that can be had by chance.
    std::size_t number() { return below(1'000'000'000); }
    std::string folder();
    std::string recipe();
    std::string type(bool has_next);
    SetOptions origin() const;

    EditReport set_value(Project& project);
    EditReport set_recipe(Project& project);
    EditReport copy_recipe(Project& project);
    EditReport rename_recipe(Project& project);
    EditReport delete_recipe(Project& project);
    EditReport import_some(Project& project);
    EditReport make_folder(Project& project);
    EditReport rename_folder(Project& project);
    EditReport delete_folder(Project& project);
    EditReport rename_type(Project& project);
    EditReport rename_member(Project& project);
    EditReport delete_type(Project& project);
    EditReport rename(Project& project, std::string const& path, std::string const& new_path);
    EditReport remove(Project& project, std::string const& path);

    std::string m_name;
    std::mt19937_64 m_random;
    int m_count = 0;
    std::string m_asked;
};

} // namespace Ravik::Test
