#include "EditedProject.h"
#include "Json/Json.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

namespace Ravik
{
namespace
{

using RavikSrv::Value;
using RavikSrv::ValueType;
using Testing::EditedProject;

constexpr auto duration = std::chrono::milliseconds(1200);

Value parameters(char const* name, Value const& value)
{
    Value all(ValueType::Struct);
    all.insert(name, value);
    return all;
}

/// Eight threads at once: requests, edits of each kind, imports and reads. Each editor works on names of its own, so
/// every edit must succeed, and afterwards each path must be there exactly as the configuration has it.
TEST(Concurrency, no_path_is_lost)
{
    EditedProject edited("A(m,n) N(o) B<A>(k@N) | R:A(m=1) X1:N(o=1) X10:N(o=2) Y:B(k=X)");
    auto& project = *edited.project;
    auto const& domain = edited.domain;
    std::atomic<int> failures{0};
    auto const check = [&failures](bool succeeded) { failures += succeeded ? 0 : 1; };
    std::vector<std::function<void(int)>> const jobs{
        [&](int round)
        {
            auto const name = "recipeList::S" + std::to_string(round % 50);
            check(project.set(domain, name, Json::parse(R"({"recipeTypeName":"A","values":{"m":3}})")).succeeded());
            check(project.set(domain, name + "::values::n", Value(round)).succeeded());
        },
        [&](int round)
        {
            auto const* const from = round % 2 == 0 ? "recipeList::X1" : "recipeList::Z1";
            check(project.rename(domain, from, round % 2 == 0 ? "recipeList::Z1" : "recipeList::X1", {}).succeeded());
        },
        [&](int round)
        {
            check(edited.import("| G/D" + std::to_string(round % 5) + ":A(m=5) G/E:A()").succeeded());
            check(edited.move("R/G/D" + std::to_string(round % 5) + " >").succeeded());
        },
        [&](int round)
        {
            check(edited.set("T/F/Q", R"({"members":{"p":{"symbol":"p"}}})").succeeded());
            check(
                edited.set("R/Q" + std::to_string(round % 3), R"({"recipeTypeName":"F::Q","values":{}})").succeeded());
            check(edited.move("T/F/Q >").succeeded());
        },
        [&](int /*round*/) { project.call(domain, "GetRecipes", parameters("recipeTypePath", Value("A"))); },
        [&](int /*round*/)
        {
            check(project.call(domain, "ActivateRecipe", parameters("path", Value("R"))).succeeded());
            project.call(domain, "GetActiveRecipes", Value());
        },
        [&](int /*round*/)
        {
            // Writes of the extension itself.
            check(project.call(domain, "UpdateRecipe", parameters("path", Value("Y"))).error ==
                  RavikSrv::ErrorValue::SUCCESS);
        },
        [&](int /*round*/)
        {
            check(project.get(domain, "recipeList::R").succeeded());
            check(project.get(domain, "").value["recipeTypeList"].size() >= 3);
            project.dangling_references(domain);
        },
    };
    std::vector<std::thread> threads;
    threads.reserve(jobs.size());
    auto const end = std::chrono::steady_clock::now() + duration;
    std::atomic<int> rounds{0};
    for (auto const& job : jobs)
    {
        threads.emplace_back(
            [&job, &rounds, end]
            {
                for (int round = 0; std::chrono::steady_clock::now() < end; ++round, ++rounds)
                {
                    job(round);
                }
            });
    }
    for (auto& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(failures, 0) << "of " << rounds << " rounds";
    EXPECT_EQ(edited.listed_recipes(), edited.stored_recipes());
    auto const tree = edited.state();
    edited.reopen();
    EXPECT_EQ(edited.state(), tree);
}

} // namespace
} // namespace Ravik
