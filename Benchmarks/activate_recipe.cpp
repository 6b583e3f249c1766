#include "CountingHost.h"

#include <benchmark/benchmark.h>

#include <stdexcept>

using namespace Ravik::Benchmarks;

namespace
{

void activate_recipe(benchmark::State& state)
{
    CountingHost host(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    auto const extension = load_recipe_management(host);
    auto const request = activation();
    for ([[maybe_unused]] auto _ : state)
    {
        auto group = request;
        host.commands = 0;
        host.requests().on_request(RavikSrv::Context(), &group);
        if (host.commands != static_cast<std::size_t>(state.range(0)))
        {
            throw std::runtime_error("not every symbol was written");
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void append_to_group(benchmark::State& state)
{
    CountingHost const host(static_cast<int>(state.range(0)), 1);
    for ([[maybe_unused]] auto _ : state)
    {
        benchmark::DoNotOptimize(append_commands(host));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

} // namespace

BENCHMARK(activate_recipe)->ArgNames({"symbols", "domains"})->ArgsProduct({{100, 10'000}, {1, 4}});
BENCHMARK(append_to_group)->ArgName("symbols")->Arg(100)->Arg(10'000);

BENCHMARK_MAIN();
