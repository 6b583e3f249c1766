// What opening a project of 10,000 recipes of 100 values takes: the whole of it, until the recipe management knows them
// all, against simdjson's parsing of the texts of the same rows, and the heap that is in use afterwards against their
// size. Each kind of values has a project of its own. Exit status 1 where a mark is missed.

#include "Configuration/Sqlite.h"
#include "Configuration/Store.h"
#include "Project/Project.h"
#include "Support/TemporaryFolder.h"
#include "process_heap.h"

#include <malloc.h>
#include <simdjson.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using Ravik::Project;
using RavikSrv::Value;
using RavikSrv::ValueType;

constexpr int recipes = 10'000;
constexpr int members = 100;
constexpr int runs = 15;
constexpr auto mebibyte = 1024.0 * 1024.0;
std::string const domain(Ravik::recipe_domain);

/// What the recipes of a project hold.
struct Kind
{
    char const* name;
    std::string (*member)(int number);
    Value (*value)(int recipe, int member);
};

std::string short_name(int number)
{
    return "m" + std::to_string(number);
}

std::string long_name(int number)
{
    return "Station" + std::to_string(number / 10) + ".Value" + std::to_string(number % 10);
}

Value small_number(int recipe, int member)
{
    return {(recipe * 7 + member) % 100};
}

Value half(int recipe, int member)
{
    return member == 0 ? Value(recipe) : Value(member + 0.5);
}

/// Of ten six decimals, two whole numbers, a truth value and a short text.
Value mixed(int recipe, int member)
{
    switch (member % 10)
    {
    case 2:
    case 5:
        return {recipe + member};
    case 4:
        return {member % 20 == 4};
    case 8:
        return Value("Program " + std::to_string(recipe % 50));
    default:
        return {recipe + member / 1000.0};
    }
}

/// As a controller's doubles are: of 16 or 17 digits.
Value measured(int recipe, int member)
{
    return {(recipe * 100 + member + 1) / 7000.0};
}

constexpr std::array kinds{Kind{"small whole numbers, short names", short_name, small_number},
                           Kind{"short decimals, short names", short_name, half},
                           Kind{"mixed, names of 15 characters", long_name, mixed},
                           Kind{"long decimals, short names", short_name, measured}};

std::string project_file()
{
    return R"({"extensions":[{"domain":"RavikRecipeManagement","library":")" RECIPE_MANAGEMENT_LIBRARY
           R"("}],"symbols":{"s":{"DOMAIN":"RavikSrv","SCHEMA":{}}}})";
}

/// A type "T" and its recipes, a tenth of them in each of ten folders.
Value plant(Kind const& kind)
{
    Value lists(ValueType::Map);
    auto& type = lists["recipeTypeList"]["T"]["members"];
    for (int member = 0; member < members; ++member)
    {
        type[kind.member(member).c_str()].insert("symbol", Value("s"));
    }
    auto& list = lists["recipeList"];
    for (int number = 0; number < recipes; ++number)
    {
        auto& recipe = list[("F" + std::to_string(number % 10)).c_str()][("recipe" + std::to_string(number)).c_str()];
        recipe["recipeTypeName"] = Value("T");
        auto& values = recipe["values"];
        for (int member = 0; member < members; ++member)
        {
            values[kind.member(member).c_str()] = kind.value(number, member);
        }
    }
    return lists;
}

void make_project(Ravik::Test::TemporaryFolder const& folder, Kind const& kind)
{
    folder.write("ravik.json", project_file());
    auto const report = Project::open(folder.path())->import(domain, plant(kind), {});
    if (!report.succeeded())
    {
        throw std::runtime_error(report.path + ": " + report.text);
    }
}

/// Throws where the opened project does not have all that it should.
void check(Project& project, Kind const& kind)
{
    Value parameters(ValueType::Struct);
    parameters.insert("recipeTypePath", Value("T"));
    auto const known = project.call(domain, "GetRecipes", parameters);
    auto const list = project.get(domain, "recipeList").value;
    for (int number = 0; number < recipes; ++number)
    {
        auto const& folder = list[("F" + std::to_string(number % 10)).c_str()];
        auto const& values = folder[("recipe" + std::to_string(number)).c_str()]["values"];
        for (int member = 0; member < members; ++member)
        {
            if (values[kind.member(member).c_str()] != kind.value(number, member))
            {
                throw std::runtime_error("the project was not read right");
            }
        }
    }
    if (known.value.size() != recipes)
    {
        throw std::runtime_error("the recipe management does not know all recipes");
    }
}

std::vector<simdjson::padded_string> row_texts(std::filesystem::path const& store)
{
    std::vector<simdjson::padded_string> texts;
    auto const database = Ravik::Sqlite::open(store);
    Ravik::Sqlite::Statement select(database.get(), "SELECT value FROM entry WHERE value IS NOT NULL ORDER BY rank");
    while (select.step())
    {
        texts.emplace_back(select.text(0));
    }
    return texts;
}

double megabytes_in_use()
{
    auto const heap = mallinfo2();
    return static_cast<double>(heap.uordblks + heap.hblkhd) / mebibyte;
}

/// The pages that the process has in memory.
double megabytes_resident()
{
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm").ignore(100, ' ') >> pages;
    return static_cast<double>(pages) * 4096 / mebibyte;
}

/// The processor time, so that it compares whatever else runs on the machine.
template <typename Work> void keep_fastest(double& best, Work const& work)
{
    auto const start = std::clock();
    work();
    best = std::min(best, static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
}

struct Times
{
    double project = 1e9;
    double store = 1e9;
    double simdjson = 1e9;
};

/// By turns, so that what else happens on the machine meets all three alike.
Times measure(std::filesystem::path const& folder, std::vector<simdjson::padded_string> const& texts)
{
    Times times;
    simdjson::dom::parser parser;
    for (int run = 0; run < runs; ++run)
    {
        std::unique_ptr<Project> project;
        keep_fastest(times.project, [&] { project = Project::open(folder); });
        project.reset();
        Value tree;
        keep_fastest(times.store,
                     [&] { tree = Ravik::Store::open(folder / "ravik.db", std::chrono::seconds(0))->load(domain); });
        tree = Value();
        keep_fastest(times.simdjson,
                     [&]
                     {
                         for (auto const& text : texts)
                         {
                             simdjson::dom::element element;
                             if (parser.parse(text).get(element) != simdjson::SUCCESS || !element.is_object())
                             {
                                 throw std::runtime_error("simdjson does not read a row");
                             }
                         }
                     });
    }
    return times;
}

bool is_any_missed = false;

void row(char const* what, double ratio, double mark)
{
    auto const missed = mark > 0 && ratio > mark;
    is_any_missed = is_any_missed || missed;
    std::printf("  %-52s %6.2f", what, ratio);
    std::printf(mark > 0 ? "   mark %4.1f  %s\n" : "\n", mark, missed ? "MISSED" : "kept");
}

void judge(Kind const& kind)
{
    Ravik::Test::TemporaryFolder const folder;
    make_project(folder, kind);
    malloc_trim(0);
    auto const in_use = megabytes_in_use();
    auto const resident = megabytes_resident();
    auto project = Project::open(folder.path());
    auto const opened_in_use = megabytes_in_use() - in_use;
    auto const opened_resident = megabytes_resident() - resident;
    check(*project, kind);
    project.reset();
    auto const texts = row_texts(folder.path() / "ravik.db");
    double text_size = 0;
    for (auto const& text : texts)
    {
        text_size += static_cast<double>(text.size()) / mebibyte;
    }
    auto const times = measure(folder.path(), texts);
    std::printf("%s: %.1f MiB of text\n  open %.1f ms, its store %.1f ms, simdjson (%s) %.1f ms\n", kind.name,
                text_size, times.project * 1e3, times.store * 1e3,
                simdjson::get_active_implementation()->name().c_str(), times.simdjson * 1e3);
    row("opening the project / parsing its rows with simdjson", times.project / times.simdjson, 4);
    row("opening its store alone / the same", times.store / times.simdjson, 0);
    row("heap in use afterwards / text", opened_in_use / text_size, 2.2);
    row("memory of the process that came with it / text", opened_resident / text_size, 0);
    std::fflush(stdout);
}

} // namespace

int main()
{
    // As ravik's own program does.
    RavikSrv::keep_heap();
    try
    {
        for (auto const& kind : kinds)
        {
            judge(kind);
        }
        return is_any_missed ? 1 : 0;
    }
    catch (std::exception const& error)
    {
        std::fprintf(stderr, "benchmark_open: %s\n", error.what());
        return 1;
    }
}
