#include "EditedProject.h"

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
using Test::parameters;
using Testing::EditedProject;

constexpr auto duration = std::chrono::milliseconds(1200);

/// Eight threads at once: requests, edits of each kind, imports and reads. Each editor works on names of its own, so
/// every edit must succeed, and afterwards each path must be there exactly as the configuration has it.
TEST(Concurrency, no_path_is_lost)
{
    EditedProject edited("A { m n } N { o } B(A) { k>N } | R:A { m=1 } X1:N { o=1 } X10:N { o=2 } Y:B { k=X }");
    auto& project = *edited.project;
    auto const& domain = edited.domain;
    std::atomic<int> failures{0};
    auto const check = [&failures](bool succeeded) { failures += succeeded ? 0 : 1; };
    auto const make = [&](std::string const& edit) { check(edited.edit(edit).succeeded()); };
    std::vector<std::function<void(int)>> const jobs{
        [&](int round)
        {
            auto const name = "R::S" + std::to_string(round % 50);
            make(name + R"( = {"recipeTypeName":"A","values":{"m":3}})");
            make(name + "::values::n = " + std::to_string(round));
        },
        [&](int round) { make(round % 2 == 0 ? "R::X1 > R::Z1" : "R::Z1 > R::X1"); },
        [&](int round)
        {
            auto const name = "G::D" + std::to_string(round % 5);
            make("+ | " + name + ":A { m=5 } G::E:A { }");
            make("R::" + name + " >");
        },
        [&](int round)
        {
            make(R"(T::F::Q = {"members":{"p":{"symbol":"p"}}})");
            make("R::Q" + std::to_string(round % 3) + R"( = {"recipeTypeName":"F::Q","values":{}})");
            make("T::F::Q >");
        },
        [&](int /*round*/)
        {
            check(project.call(domain, "GetRecipes", parameters("recipeTypePath", "A")).error ==
                  RavikSrv::ErrorValue::SUCCESS);
        },
        [&](int /*round*/)
        {
            check(project.call(domain, "ActivateRecipe", parameters("path", "R")).succeeded());
            project.call(domain, "GetActiveRecipes", Value());
        },
        [&](int /*round*/)
        {
            // Writes of the extension itself.
            check(project.call(domain, "UpdateRecipe", parameters("path", "Y")).error == RavikSrv::ErrorValue::SUCCESS);
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
    EXPECT_EQ(edited.lost_paths(), "");
    auto const tree = edited.state();
    edited.reopen();
    EXPECT_EQ(edited.state(), tree);
}

} // namespace
} // namespace Ravik
