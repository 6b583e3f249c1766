// Kills a process that edits a project, again and again, and looks at what is left each time:
//
//     ServerCrashTest [KILLS [SEED]]
//
// The edits are numbered and the same in every run. The process acknowledges each one that was answered with success.
// After a kill the project must open without a fault that `check` finds, and hold the outcome of the last acknowledged
// edit or, as a whole, of the one after it. Exit status 0 where it always did.

#include "EditedProject.h"
#include "Project/OpenProject.h"
#include "Json/Json.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <random>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using namespace Ravik;
using namespace Ravik::Test;

std::string const domain(recipe_domain);

/// The edits bring a family of types and recipes in, reorganise it and take it away again, family by family: "$" is its
/// name and "#" its number.
constexpr auto edits = std::to_array<char const*>({
    "+ $::T { m n } $::U($::T) { o } $::V { k>$::T } | "
    "$::A:$::T { m=1 } $::B:$::T { m=1 n=2 } $::C:$::U { o=1 } $::D:$::V { k=$::A }",
    "R::$::A::values::m = #",
    "T::$::T > T::$::W",
    "R::$::A > R::$::Q",
    "T::$::W::members::m > T::$::W::members::q",
    "T::$ > T::N$",
    R"(R::$::E = {"recipeTypeName":"N$::W","values":{"q":#}})",
    "R::$::Q >",
    "R::$ > R::M$",
    "T::N$ >",
    "R::M$ >",
});

bool has_faults(Project const& project)
{
    auto const findings = project.check(domain);
    return std::any_of(findings.begin(), findings.end(), [](Finding const& finding) { return !finding.is_note(); });
}

/// Makes the edit of that number, the outcome of the one before it given.
EditReport make_edit(Project& project, int number)
{
    auto const round = static_cast<std::size_t>(number) / edits.size();
    std::string text;
    for (auto const* letter = edits.at(static_cast<std::size_t>(number) % edits.size()); *letter != '\0'; ++letter)
    {
        *letter == '$'   ? text.append("P").append(std::to_string(round % 3))
        : *letter == '#' ? text.append(std::to_string(round))
                         : text.append(1, *letter);
    }
    return edit(project, text);
}

/// The process to be killed: edits from `number` on and writes the number of each edit that was made.
[[noreturn]] void edit_for_ever(std::filesystem::path const& folder, int number, int acknowledge)
{
    try
    {
        auto const project = Project::open(folder);
        for (; make_edit(*project, number).succeeded(); ++number)
        {
            if (write(acknowledge, &number, sizeof number) != sizeof number)
            {
                break;
            }
        }
    }
    catch (std::exception const& error)
    {
        std::fputs(error.what(), stderr);
    }
    _exit(EXIT_FAILURE);
}

/// Runs the process and kills it at a random moment; answers the last number acknowledged, at least `last`.
int run_and_kill(std::filesystem::path const& folder, int last, std::mt19937& random)
{
    std::array<int, 2> pipe_ends{};
    if (pipe(pipe_ends.data()) != 0)
    {
        throw std::runtime_error("no pipe could be made");
    }
    auto const process = fork();
    if (process == 0)
    {
        close(pipe_ends[0]);
        edit_for_ever(folder, last + 1, pipe_ends[1]);
    }
    close(pipe_ends[1]);
    // Somewhere in opening, or in the edit that follows so many others.
    auto const wanted = static_cast<int>(random() % 8);
    int number = last;
    for (int count = 0; count < wanted && read(pipe_ends[0], &number, sizeof number) == sizeof number; ++count)
    {
    }
    timespec const moment{.tv_sec = 0, .tv_nsec = static_cast<long>(random() % (wanted == 0 ? 40'000'000 : 8'000'000))};
    nanosleep(&moment, nullptr);
    kill(process, SIGKILL);
    int status = 0;
    waitpid(process, &status, 0);
    while (read(pipe_ends[0], &number, sizeof number) == sizeof number)
    {
    }
    close(pipe_ends[0]);
    if (!WIFSIGNALED(status))
    {
        throw std::runtime_error("the editing process failed before it was killed");
    }
    return number;
}

int run(int kills, unsigned seed)
{
    TemporaryFolder const folder;
    auto const file = folder.write("ravik.json", project_file());
    // The outcome of all edits up to `last`, without a store.
    auto const in_memory = opened(file, nullptr);
    auto& model = *in_memory;
    auto const text_of = [](Project const& project) { return Json::write(project.get(domain, "").value); };
    std::mt19937 random(seed);
    int last = -1;
    int unacknowledged = 0;
    for (int done = 0; done < kills; ++done)
    {
        auto const acknowledged = run_and_kill(folder.path(), last, random);
        auto const project = Project::open(folder.path());
        auto const found = text_of(*project);
        while (last < acknowledged)
        {
            static_cast<void>(make_edit(model, ++last));
        }
        if (found != text_of(model))
        {
            ++unacknowledged;
            static_cast<void>(make_edit(model, ++last));
        }
        if (found != text_of(model) || has_faults(*project))
        {
            throw std::runtime_error("after edit " + std::to_string(last) + " there is\n" + found + "\ninstead of\n" +
                                     text_of(model) + ", or a reference dangles");
        }
    }
    std::cout << kills << " kills, " << last + 1 << " edits, of which " << unacknowledged
              << " had been stored when their process was killed before it could say so\n";
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    auto const seed = argc > 2 ? static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10)) : std::random_device{}();
    try
    {
        return run(argc > 1 ? std::stoi(argv[1]) : 15, seed);
    }
    catch (std::exception const& error)
    {
        std::cerr << "ServerCrashTest: " << error.what() << "\nThe seed was " << seed << '\n';
        return EXIT_FAILURE;
    }
}
