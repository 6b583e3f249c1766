// What activating a recipe takes as the recipe grows: the time a symbol at 10,000 symbols may be at most 1.3 times that
// at 100, as may that of appending as many commands to a group, and a call may fault in at most 10 pages of memory.

#include "CountingHost.h"

#include "process_heap.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <stdexcept>

#include <sys/resource.h>

using namespace Ravik::Benchmarks;

namespace
{

constexpr int few = 100;
constexpr int many = 10'000;
constexpr double highest_growth = 1.3;
constexpr double most_faults = 10;

long faults()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

struct Cost
{
    /// Of the fastest run.
    double seconds = std::numeric_limits<double>::max();
    /// The average of all runs.
    double faults = 0;
};

/// Runs often enough that the caches hold what they can, and that other work on the machine counts little.
Cost cost_of(int symbols, std::function<void()> const& work)
{
    using Clock = std::chrono::steady_clock;
    auto const runs = 3'000'000 / symbols;
    work();
    Cost cost;
    auto const before = faults();
    for (int run = 0; run < runs; ++run)
    {
        auto const start = Clock::now();
        work();
        cost.seconds = std::min(cost.seconds, std::chrono::duration<double>(Clock::now() - start).count());
    }
    cost.faults = static_cast<double>(faults() - before) / runs;
    return cost;
}

Cost activate(int symbols, int domains)
{
    CountingHost host(symbols, domains);
    auto const extension = load_recipe_management(host);
    auto const request = activation();
    return cost_of(symbols,
                   [&]
                   {
                       auto group = request;
                       host.commands = 0;
                       host.requests().on_request(RavikSrv::Context(), &group);
                       if (host.commands != static_cast<std::size_t>(symbols))
                       {
                           throw std::runtime_error("not every symbol was written");
                       }
                   });
}

Cost append(int symbols, int /*domains*/)
{
    CountingHost const host(symbols, 1);
    return cost_of(symbols,
                   [&]
                   {
                       if (append_commands(host).empty())
                       {
                           throw std::runtime_error("nothing was appended");
                       }
                   });
}

bool keeps_marks(char const* what, Cost (*measure)(int symbols, int domains), int domains)
{
    auto const small = measure(few, domains);
    auto const large = measure(many, domains);
    auto const growth = large.seconds / many / (small.seconds / few);
    auto const is_kept = growth <= highest_growth && large.faults <= most_faults;
    std::printf("%-24s %8.0f %8.0f %8.2f %8.1f  %s\n", what, small.seconds / few * 1e9, large.seconds / many * 1e9,
                growth, large.faults, is_kept ? "kept" : "MISSED");
    return is_kept;
}

} // namespace

int main()
try
{
    RavikSrv::keep_heap();
    std::printf("%-24s %8d %8d %8s %8s  (marks: growth %.1f, faults %.0f)\n", "ns a symbol, of", few, many, "growth",
                "faults", highest_growth, most_faults);
    auto kept = keeps_marks("append to a group", append, 1);
    kept = keeps_marks("activate, domains: 1", activate, 1) && kept;
    kept = keeps_marks("activate, domains: 4", activate, 4) && kept;
    return kept ? EXIT_SUCCESS : EXIT_FAILURE;
}
catch (std::exception const& exception)
{
    std::fprintf(stderr, "benchmark_activate_recipe: %s\n", exception.what());
    return EXIT_FAILURE;
}
