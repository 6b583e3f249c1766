#include "EditedProject.h"

#include <boost/algorithm/string/replace.hpp>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

namespace Ravik::Test
{
namespace
{

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
    // A job that makes these edits in each round, whose number modulo five stands for "#".
    auto const editor = [&](std::vector<std::string> const& edits)
    {
        return [&, edits](int round)
        {
            for (auto const& edit : edits)
            {
                check(edited.edit(boost::replace_all_copy(edit, "#", std::to_string(round % 5))).succeeded());
            }
        };
    };
    auto const requester = [&](char const* function, Value const& sent)
    { return [&, function, sent](int /*round*/) { check(project.call(domain, function, sent).succeeded()); }; };
    std::vector<std::function<void(int)>> const jobs{
        editor({R"(R::S# = {"recipeTypeName":"A","values":{"m":3}})", "R::S#::values::n = #"}),
        editor({"R::X1 > R::Z1", "R::Z1 > R::X1"}),
        editor({"+ | G::D#:A { m=5 } G::E:A { }", "R::G::D# >"}),
        editor({R"(T::F::Q = {"members":{"p":{"symbol":"p"}}})", R"(R::Q# = {"recipeTypeName":"F::Q","values":{}})",
                "T::F::Q >"}),
        [&](int /*round*/)
        {
            // They may come between the end of a recipe and that of its path.
            static_cast<void>(project.call(domain, "GetRecipes", parameters("recipeTypePath", "A")));
            static_cast<void>(project.call(domain, "GetActiveRecipes", Value()));
        },
        requester("ActivateRecipe", parameters("path", "R")),
        // Writes of the extension itself.
        requester("UpdateRecipe", parameters("path", "Y")),
        [&](int /*round*/)
        {
            check(project.get(domain, "recipeList::R").succeeded());
            check(project.get(domain, "").value["recipeTypeList"].size() >= 3);
            static_cast<void>(project.check(domain));
        },
    };
    std::vector<std::jthread> threads;
    threads.reserve(jobs.size());
    auto const end = std::chrono::steady_clock::now() + duration;
    for (auto const& job : jobs)
    {
        threads.emplace_back(
            [&job, end]
            {
                for (int round = 0; std::chrono::steady_clock::now() < end; ++round)
                {
                    job(round);
                }
            });
    }
    threads.clear(); // joins them
    EXPECT_EQ(failures, 0);
    auto const tree = edited.state() + edited.listed();
    edited.reopen();
    EXPECT_EQ(edited.state() + edited.listed(), tree);
}

} // namespace
} // namespace Ravik::Test
