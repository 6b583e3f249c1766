// What edits of large configurations cost: each is made in projects of different sizes, and the times are held against
// marks. Exit status 1 where one is missed.

#include "Project/Project.h"
#include "Support/TemporaryFolder.h"
#include "Json/Json.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{

using Ravik::EditReport;
using Ravik::Project;
using RavikSrv::Value;
using RavikSrv::ValueType;

std::string const domain(Ravik::recipe_domain);

/// A project file with the symbols "s0" to "s99", which nobody serves.
std::string project_file()
{
    std::string symbols;
    for (int index = 0; index < 100; ++index)
    {
        symbols += std::string(symbols.empty() ? "" : ",") + "\"s" + std::to_string(index) +
                   R"(":{"DOMAIN":"RavikSrv","SCHEMA":{"type":"number"}})";
    }
    return R"({"extensions":[{"domain":"RavikRecipeManagement","library":")" RECIPE_MANAGEMENT_LIBRARY
           R"("}],"symbols":{)" +
           symbols + "}}";
}

/// A type "T" with so many members, and recipes of it, spread over the folders "F0" to "F9", or as many as there are.
Value plant(int recipes, int values, int folders = 10)
{
    Value lists(ValueType::Map);
    auto& members = lists["recipeTypeList"]["T"]["members"];
    members.set_type(ValueType::Map);
    Value recipe(ValueType::Map);
    recipe.insert("recipeTypeName", Value("T"));
    recipe["values"].set_type(ValueType::Map);
    for (int index = 0; index < values; ++index)
    {
        auto const number = std::to_string(index);
        members[("m" + number).c_str()].insert("symbol", Value(("s" + number).c_str()));
        recipe["values"].insert(("m" + number).c_str(), Value(index + 0.5));
    }
    auto& list = lists["recipeList"];
    list.set_type(ValueType::Map);
    for (int index = 0; index < recipes; ++index)
    {
        recipe["values"].insert_or_update("m0", Value(index));
        list[("F" + std::to_string(index % folders)).c_str()].insert(("recipe" + std::to_string(index)).c_str(),
                                                                     recipe);
    }
    return lists;
}

class Plant
{
public:
    Plant(int recipes, int values, bool history = true) : Plant(plant(recipes, values), history) {}

    explicit Plant(Value const& configuration, bool history = true)
    {
        m_folder.write("ravik.json", project_file());
        Ravik::OpenOptions options;
        options.history = history;
        project = Project::open(m_folder.path(), options);
        made(project->import(domain, configuration, {}));
    }

    static void made(EditReport const& report)
    {
        if (!report.succeeded())
        {
            throw std::runtime_error(report.path + ": " + report.text);
        }
    }

    void save(int recipe, int value) const
    {
        auto const name = "recipeList::F" + std::to_string(recipe % 10) + "::recipe" + std::to_string(recipe);
        made(project->set(domain, name + "::values::m1", Value(value)));
    }

    std::filesystem::path const& path() const { return m_folder.path(); }

private:
    Ravik::Test::TemporaryFolder m_folder;

public:
    std::unique_ptr<Project> project;
};

double seconds(std::function<void()> const& work)
{
    auto const start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// The processor time of this process, so that sizes compare whatever else runs on the machine.
double processor_seconds(std::function<void()> const& work)
{
    auto const start = std::clock();
    work();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

// The edits; each answers the seconds of its fastest run -----------------------------------------------------------

double rename_type(int recipes)
{
    Plant const plant(recipes, 100);
    auto best = 1e9;
    for (int run = 0; run < 8; ++run)
    {
        auto const* const from = run % 2 == 0 ? "recipeTypeList::T" : "recipeTypeList::Renamed";
        auto const* const to = run % 2 == 0 ? "recipeTypeList::Renamed" : "recipeTypeList::T";
        best = std::min(best, processor_seconds([&] { Plant::made(plant.project->rename(domain, from, to, {})); }));
    }
    return best;
}

/// What the records of an edit cost: the median of a rename of a type, with and without, by turns.
struct Renames
{
    double with = 0;
    double without = 0;
};

double median(std::vector<double> times)
{
    std::nth_element(times.begin(), times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2), times.end());
    return times[times.size() / 2];
}

Renames rename_with_history(int recipes)
{
    Plant const with(recipes, 100);
    Plant const without(recipes, 100, false);
    std::vector<double> times_with;
    std::vector<double> times_without;
    for (int run = 0; run < 8; ++run)
    {
        auto const* const from = run % 2 == 0 ? "recipeTypeList::T" : "recipeTypeList::Renamed";
        auto const* const to = run % 2 == 0 ? "recipeTypeList::Renamed" : "recipeTypeList::T";
        times_with.push_back(processor_seconds([&] { Plant::made(with.project->rename(domain, from, to, {})); }));
        times_without.push_back(processor_seconds([&] { Plant::made(without.project->rename(domain, from, to, {})); }));
    }
    return {.with = median(times_with), .without = median(times_without)};
}

double delete_folder(int recipes)
{
    Plant const plant(recipes, 100);
    auto best = 1e9;
    for (int run = 0; run < 3; ++run)
    {
        auto const folder = "recipeList::F" + std::to_string(run);
        best = std::min(best, processor_seconds([&] { Plant::made(plant.project->remove(domain, folder, {})); }));
    }
    return best;
}

double import_recipes(int recipes, bool history)
{
    auto const data = plant(recipes, 100);
    auto best = 1e9;
    for (int run = 0; run < 2; ++run)
    {
        Plant const empty(0, 0, history);
        best = std::min(best, processor_seconds([&] { Plant::made(empty.project->import(domain, data, {})); }));
    }
    return best;
}

double import_recipes(int recipes)
{
    return import_recipes(recipes, true);
}

double delete_type_of(Value const& configuration)
{
    auto best = 1e9;
    for (int run = 0; run < 2; ++run)
    {
        Plant const plant(configuration);
        best = std::min(
            best, processor_seconds([&] { Plant::made(plant.project->remove(domain, "recipeTypeList::T", {})); }));
    }
    return best;
}

double delete_type_in_ten_folders(int recipes)
{
    return delete_type_of(plant(recipes, 100));
}

double delete_type_in_one_folder(int recipes)
{
    return delete_type_of(plant(recipes, 100, 1));
}

double delete_nested_type(int recipes)
{
    auto configuration = plant(recipes, 100);
    configuration["recipeTypeList"]["Other"]["members"]["part"].insert("recipeType", Value("T"));
    return delete_type_of(configuration);
}

double rename_member(int recipes)
{
    Plant const plant(recipes, 100);
    auto best = 1e9;
    for (int run = 0; run < 4; ++run)
    {
        std::string const members = "recipeTypeList::T::members::";
        auto const* const from = run % 2 == 0 ? "m7" : "other";
        auto const* const to = run % 2 == 0 ? "other" : "m7";
        best = std::min(
            best,
            processor_seconds([&] { Plant::made(plant.project->rename(domain, members + from, members + to, {})); }));
    }
    return best;
}

// A table
// ----------------------------------------------------------------------------------------------------------------

struct Imports
{
    double json = 1e9;
    double table = 1e9;
};

/// The same recipes from a JSON text and from a table, each into a project that has their type alone.
Imports import_texts()
{
    Plant const full(10'000, 100);
    auto const lists = full.project->get(domain, "").value;
    auto const json = Ravik::Json::write(lists);
    auto const table = full.project->export_table(domain, "T", {}).value;
    auto const type_alone = plant(0, 100);
    Imports best;
    for (int run = 0; run < 3; ++run)
    {
        Plant const first(type_alone);
        best.json = std::min(
            best.json,
            processor_seconds([&] { Plant::made(first.project->import(domain, Ravik::Json::parse(json), {})); }));
        Plant const second(type_alone);
        best.table = std::min(
            best.table,
            processor_seconds([&] { Plant::made(second.project->import_table(domain, "T", table.get_text(), {})); }));
    }
    return best;
}

// One value -----------------------------------------------------------------------------------------------------------

struct Saves
{
    double in_100 = 0;
    double in_10000 = 0;
    double without_history = 0;
    double append = 0;
};

/// By turns, so that whatever else happens on the machine meets all alike.
Saves save_one_value()
{
    constexpr int runs = 400;
    Plant const small(100, 100);
    Plant const large(10'000, 100);
    Plant const forgetful(10'000, 100, false);
    auto const row = Ravik::Json::write(large.project->get(domain, "recipeList::F0::recipe0").value);
    auto const file = open((large.path() / "append").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    std::array<std::vector<double>, 4> times;
    for (int run = 0; run < runs; ++run)
    {
        times[3].push_back(seconds([&] { forgetful.save(run * 3701 % 10'000, run); }));
        times[0].push_back(seconds([&] { small.save(run * 37 % 100, run); }));
        times[1].push_back(seconds([&] { large.save(run * 3701 % 10'000, run); }));
        times[2].push_back(seconds(
            [&]
            {
                if (write(file, row.data(), row.size()) != static_cast<ssize_t>(row.size()) || fdatasync(file) != 0)
                {
                    throw std::runtime_error("the file can't be written");
                }
            }));
    }
    close(file);
    return {.in_100 = median(times[0]),
            .in_10000 = median(times[1]),
            .without_history = median(times[3]),
            .append = median(times[2])};
}

// The table -----------------------------------------------------------------------------------------------------------

bool is_any_missed = false;

void row(char const* what, double time, char const* against, double other, double mark)
{
    auto const ratio = time / other;
    auto const missed = mark > 0 && ratio > mark;
    is_any_missed = is_any_missed || missed;
    std::printf("%-44s %12.3f ms   %6.2f x %-24s", what, time * 1e3, ratio, against);
    std::printf(mark > 0 ? "mark %5.1f  %s\n" : "\n", mark, missed ? "MISSED" : "kept");
    std::fflush(stdout);
}

void compare_sizes(char const* what, double (*edit)(int), double mark = 12)
{
    auto const small = edit(1'000);
    row(what, edit(10'000), "that of 1,000", small, mark);
}

} // namespace

int main()
{
    try
    {
        auto const saves = save_one_value();
        row("save one value in 10,000 recipes", saves.in_10000, "that in 100", saves.in_100, 2);
        row("save one value in 10,000 recipes", saves.in_10000, "that without a history", saves.without_history, 1.5);
        row("save one value in 10,000 recipes", saves.in_10000, "append and fdatasync", saves.append, 3);
        auto const renames = rename_with_history(10'000);
        row("rename a type that 10,000 recipes use", renames.with, "that without a history", renames.without, 1.5);
        compare_sizes("rename a type that 10,000 recipes use", rename_type);
        row("import 10,000 recipes of 100 values", import_recipes(10'000, true), "that without a history",
            import_recipes(10'000, false), 1.5);
        compare_sizes("delete a folder of 1,000 in 10,000 recipes", delete_folder);
        compare_sizes("import 10,000 recipes of 100 values", import_recipes);
        compare_sizes("delete a type, 10,000 recipes in ten folders", delete_type_in_ten_folders, 14);
        compare_sizes("delete a type, 10,000 recipes in one folder", delete_type_in_one_folder, 14);
        compare_sizes("delete a type that another one nests", delete_nested_type, 14);
        compare_sizes("rename a member of a type of 10,000 recipes", rename_member, 14);
        auto const imports = import_texts();
        row("import 10,000 recipes of 100 values as a table", imports.table, "that as JSON", imports.json, 1.5);
        return is_any_missed ? 1 : 0;
    }
    catch (std::exception const& error)
    {
        std::fprintf(stderr, "benchmark_edits: %s\n", error.what());
        return 1;
    }
}
