// Measures the value model against its marks, each a ratio within this run: copying a configuration against copying a
// std::shared_ptr, looking up by path against boost::json::value, and the heap that a read configuration takes. The
// last lines of the output give each ratio with its mark; the exit status is 1 where a mark is missed.

#include "api_helper.h"
#include "Json/Json.h"

#include <benchmark/benchmark.h>
#include <boost/json.hpp>

#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <malloc.h>

namespace
{

/// Every allocation of the program and what is in use of the heap, with the allocator's own word for each block.
std::atomic<std::size_t> allocations{0};
std::atomic<std::size_t> bytes_in_use{0};

std::size_t block_size(void* block) noexcept
{
    return malloc_usable_size(block) + sizeof(std::size_t);
}

} // namespace

// NOLINTBEGIN(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory,misc-new-delete-overloads)
void* operator new(std::size_t size)
{
    auto* const block = std::malloc(size);
    if (block == nullptr)
    {
        throw std::bad_alloc();
    }
    allocations.fetch_add(1, std::memory_order_relaxed);
    bytes_in_use.fetch_add(block_size(block), std::memory_order_relaxed);
    return block;
}

void operator delete(void* block) noexcept
{
    if (block != nullptr)
    {
        bytes_in_use.fetch_sub(block_size(block), std::memory_order_relaxed);
        std::free(block);
    }
}

void operator delete(void* block, std::size_t /*size*/) noexcept
{
    operator delete(block);
}
// NOLINTEND(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory,misc-new-delete-overloads)

namespace
{

using RavikSrv::Value;

constexpr int recipe_count = 10'000;
constexpr int few_recipes = 1'000;
constexpr int members = 100;
constexpr std::size_t path_count = 16'384;

std::string recipe_name(int number)
{
    return "Recipe " + std::to_string(number);
}

std::string member_name(int number)
{
    return "Station" + std::to_string(number / 10) + ".Value" + std::to_string(number % 10);
}

/// A member's value as text: of ten, six are doubles, two ints, one a bool and one a short text.
std::string member_text(int recipe, int member)
{
    switch (member % 10)
    {
    case 2:
    case 5:
        return std::to_string(recipe + member);
    case 4:
        return member % 20 == 4 ? "true" : "false";
    case 8:
        return R"("Program )" + std::to_string(recipe % 50) + R"(")";
    default:
        return std::to_string(recipe) + "." + std::to_string(member) + "5";
    }
}

/// A configuration as an import file holds it, with recipes of one type.
std::string configuration_text(int recipes)
{
    std::string text = R"({"recipeTypeList":{},"recipeList":{)";
    for (int recipe = 0; recipe < recipes; ++recipe)
    {
        text += (recipe == 0 ? "\"" : ",\"") + recipe_name(recipe) + R"(":{"recipeTypeName":"Part","values":{)";
        for (int member = 0; member < members; ++member)
        {
            text += (member == 0 ? "\"" : ",\"") + member_name(member) + "\":" + member_text(recipe, member);
        }
        text += "}}";
    }
    return text + "}}";
}

/// Paths of values in recipes chosen at random; the same ones in every run.
std::vector<std::string> random_paths(int recipes)
{
    std::mt19937 random(recipe_count); // NOLINT(cert-msc32-c,cert-msc51-cpp)
    std::uniform_int_distribution<int> recipe(0, recipes - 1);
    std::uniform_int_distribution<int> member(0, members - 1);
    std::vector<std::string> paths;
    for (std::size_t number = 0; number < path_count; ++number)
    {
        paths.push_back("recipeList::" + recipe_name(recipe(random)) + "::values::" + member_name(member(random)));
    }
    return paths;
}

/// The same tree in both models, and what each of them takes of the heap.
struct Configuration
{
    explicit Configuration(int recipes) : paths(random_paths(recipes))
    {
        auto const text = configuration_text(recipes);
        auto const before = bytes_in_use.load();
        value = Ravik::Json::parse(text);
        auto const between = bytes_in_use.load();
        json = boost::json::parse(text);
        auto const after = bytes_in_use.load();
        auto const values = static_cast<double>(recipes) * members;
        value_heap = static_cast<double>(between - before) / values;
        json_heap = static_cast<double>(after - between) / values;
    }

    std::vector<std::string> paths;
    Value value;
    boost::json::value json;
    double value_heap = 0;
    double json_heap = 0;
};

Configuration const& configuration(int recipes)
{
    static std::map<int, Configuration> known;
    return known.try_emplace(recipes, recipes).first->second;
}

boost::json::value const* walk(std::string_view path, boost::json::value const& root)
{
    auto const* node = &root;
    for (bool more = true; more && node != nullptr;)
    {
        auto const separator = path.find("::");
        more = separator != std::string_view::npos;
        auto const* const object = node->if_object();
        node = object == nullptr ? nullptr : object->if_contains(path.substr(0, separator));
        path.remove_prefix(more ? separator + 2 : path.size());
    }
    return node;
}

/// Copies and destroys the copy.
template <typename T> void copy(benchmark::State& state, T const& original)
{
    auto const before = allocations.load();
    for ([[maybe_unused]] auto _ : state)
    {
        T const copied = original; // NOLINT(performance-unnecessary-copy-initialization)
        benchmark::DoNotOptimize(&copied);
        benchmark::ClobberMemory();
    }
    state.counters["allocations"] = static_cast<double>(allocations.load() - before);
}

void copy_configuration(benchmark::State& state)
{
    copy(state, configuration(recipe_count).value);
}

void copy_shared_pointer(benchmark::State& state)
{
    copy(state, std::make_shared<int const>(1));
}

template <typename Find> void look_up(benchmark::State& state, Find const& find)
{
    auto const& paths = configuration(static_cast<int>(state.range(0))).paths;
    std::size_t next = 0;
    for ([[maybe_unused]] auto _ : state)
    {
        auto const* const node = find(paths[next]);
        next = (next + 1) % path_count;
        if (node == nullptr)
        {
            state.SkipWithError("a path leads nowhere");
            return;
        }
        benchmark::DoNotOptimize(node);
    }
}

void look_up_value(benchmark::State& state)
{
    auto const& root = configuration(static_cast<int>(state.range(0))).value;
    look_up(state, [&root](std::string const& path) { return RavikSrv::node_path(path, root).node; });
}

void look_up_boost_json(benchmark::State& state)
{
    auto const& root = configuration(static_cast<int>(state.range(0))).json;
    look_up(state, [&root](std::string const& path) { return walk(path, root); });
}

/// Prints as usual and keeps the median time of each benchmark's repetitions, and its allocations.
class Reporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(std::vector<Run> const& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (auto const& run : runs)
        {
            if (run.run_type == Run::RT_Iteration && !run.error_occurred)
            {
                m_times[run.run_name.function_name + "/" + run.run_name.args].push_back(run.GetAdjustedCPUTime());
                auto const counter = run.counters.find("allocations");
                m_allocations += run.run_name.function_name.starts_with("copy_configuration")
                                     ? (counter == run.counters.end() ? 1 : counter->second.value)
                                     : 0;
            }
        }
    }

    /// 0 where the benchmark did not run, so that no ratio with it keeps its mark.
    double time(std::string const& name)
    {
        auto& times = m_times[name];
        auto const middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
        std::nth_element(times.begin(), middle, times.end());
        return times.empty() ? 0 : *middle;
    }

    double copy_allocations() const { return m_allocations; }

private:
    std::map<std::string, std::vector<double>> m_times;
    double m_allocations = 0;
};

/// Prints what was measured beside its mark; answers whether the mark is kept.
bool judge(char const* what, double measured, double mark)
{
    auto const kept = measured <= mark; // false for what was not measured: 0 / 0 is no number
    std::printf("%-74s %6.2f  (at most %.1f)  %s\n", what, measured, mark, kept ? "kept" : "MISSED");
    return kept;
}

bool judge_all(Reporter& reporter)
{
    auto const& whole = configuration(recipe_count);
    auto const many = "/" + std::to_string(recipe_count);
    std::printf("\nHeap per value: %.1f bytes, boost::json %.1f bytes\n", whole.value_heap, whole.json_heap);
    auto const ratio = [&reporter](std::string const& of, std::string const& to)
    { return reporter.time(of) / reporter.time(to); };
    std::array const kept{
        judge("allocations while copying a configuration", reporter.copy_allocations(), 0),
        judge("copy of a configuration / of a shared_ptr, process with one thread",
              ratio("copy_configuration, one thread/", "copy_shared_pointer, one thread/"), 2),
        judge("copy of a configuration / of a shared_ptr, process with two threads",
              ratio("copy_configuration/", "copy_shared_pointer/"), 2),
        judge("look-up by path, 10,000 recipes / 1,000 recipes",
              ratio("look_up_value" + many, "look_up_value/" + std::to_string(few_recipes)), 2),
        judge("look-up by path, Value / boost::json::value, 10,000 recipes",
              ratio("look_up_value" + many, "look_up_boost_json" + many), 1),
        judge("heap per value, Value / boost::json::value", whole.value_heap / whole.json_heap, 0.4),
    };
    return std::all_of(kept.begin(), kept.end(), [](bool one) { return one; });
}

/// Keeps a second thread in the process, so that nothing may count references without atomic operations.
class SecondThread
{
public:
    SecondThread() = default;
    SecondThread(SecondThread const&) = delete;
    SecondThread& operator=(SecondThread const&) = delete;

    ~SecondThread()
    {
        {
            std::lock_guard const lock(m_mutex);
            m_ends = true;
        }
        m_changed.notify_one();
        m_thread.join();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_ends = false;
    std::thread m_thread{[this]
                         {
                             std::unique_lock lock(m_mutex);
                             m_changed.wait(lock, [this] { return m_ends; });
                         }};
};

void register_all()
{
    constexpr int repetitions = 11;
    constexpr double seconds = 0.1;
    auto const add = [](char const* name, auto function)
    { return benchmark::RegisterBenchmark(name, function)->Repetitions(repetitions)->MinTime(seconds); };
    add("copy_configuration, one thread", copy_configuration);
    add("copy_shared_pointer, one thread", copy_shared_pointer);
    add("copy_configuration", copy_configuration);
    add("copy_shared_pointer", copy_shared_pointer);
    add("look_up_value", look_up_value)->Arg(few_recipes)->Arg(recipe_count);
    add("look_up_boost_json", look_up_boost_json)->Arg(few_recipes)->Arg(recipe_count);
}

} // namespace

int main(int count, char** arguments)
{
    // Repetitions take turns, so that what else the machine does falls on both sides of a ratio.
    std::string interleaving = "--benchmark_enable_random_interleaving=true";
    std::string aggregates = "--benchmark_report_aggregates_only=false";
    std::vector<char*> all{arguments, arguments + count};
    all.insert(all.begin() + 1, {interleaving.data(), aggregates.data()});
    auto all_count = static_cast<int>(all.size());
    benchmark::Initialize(&all_count, all.data());
    register_all();
    Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter, "one thread");
    SecondThread const second;
    benchmark::RunSpecifiedBenchmarks(&reporter, "^[^,]*$");
    return judge_all(reporter) ? EXIT_SUCCESS : EXIT_FAILURE;
}
