#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <random>
#include <string>

/// What the programs share that kill a process and look at what it leaves.
namespace Ravik::Test
{

/// Told the number of each step that was made; false where nobody listens any more.
using Acknowledge = std::function<bool(int number)>;

/// A process that is killed.
struct KilledProcess
{
    /// What it does, from a copy of this process; it ends with status 1 where that throws.
    std::function<void(Acknowledge const&)> work;
    /// It is killed once it has acknowledged so many steps and the time has passed. Only where nothing is wanted of it
    /// may it end by itself.
    int wanted = 0;
    std::chrono::nanoseconds time{};
    /// Called in this process for each number that was wanted, before the time begins; may be empty.
    std::function<void(int number)> acknowledged{};

    /// Returns the last number that was acknowledged, at least `last`.
    int run(int last) const;
};

/// A time below the limit.
std::chrono::nanoseconds some_time(std::chrono::nanoseconds limit, std::mt19937& random);

/// Throws a `std::runtime_error` with the text where that does not hold.
void expect(bool holds, std::string const& what);
/// The same where anything of the store is damaged.
void expect_whole(std::filesystem::path const& store);

/// The main function of a test that kills: `NAME [KILLS [SEED]]`, 15 kills and any seed by default. Returns what `run`
/// returns; what it throws is told with the seed, and fails.
int run_kills(char const* name, int argc, char** argv, int (*run)(int kills, unsigned seed));

} // namespace Ravik::Test
