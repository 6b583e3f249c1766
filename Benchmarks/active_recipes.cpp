#include "CountingHost.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <stdexcept>

// How the time to find the active recipes grows with their number: the time per recipe among 1,000 recipes may be at
// most half as much again as among 100.

using namespace Ravik::Benchmarks;

namespace
{

constexpr int symbols_per_recipe = 100;
constexpr double highest_ratio = 1.5;

/// The best of several runs, so that other work on the machine counts little.
double seconds_per_recipe(int recipes)
{
    CountingHost host(symbols_per_recipe, 4);
    auto const extension = load_recipe_management(host);
    // The host has two recipes of its own, of which the one is nested in the other.
    host.add_recipes(recipes - 2);
    auto best = std::chrono::duration<double>::max();
    auto const runs = 10'000 / recipes;
    for (int run = 0; run < runs; ++run)
    {
        auto group = request("GetActiveRecipes", RavikSrv::Value());
        auto const start = std::chrono::steady_clock::now();
        host.requests().on_request(RavikSrv::Context(), &group);
        best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start));
        if (group.begin_vector()->read_value().size() != static_cast<std::size_t>(recipes))
        {
            throw std::runtime_error("not every recipe was found active");
        }
    }
    return best.count() / recipes;
}

} // namespace

int main()
try
{
    auto const few = seconds_per_recipe(100);
    auto const many = seconds_per_recipe(1'000);
    auto const ratio = many / few;
    std::cout << std::fixed << std::setprecision(2) << "time per recipe of " << symbols_per_recipe
              << " symbols: " << few * 1e6 << " us among 100, " << many * 1e6 << " us among 1,000; ratio " << ratio
              << " (at most " << highest_ratio << ")\n";
    return ratio <= highest_ratio ? EXIT_SUCCESS : EXIT_FAILURE;
}
catch (std::exception const& exception)
{
    std::cerr << exception.what() << '\n';
    return EXIT_FAILURE;
}
