// What it costs to share recipes in a library: several servers in this process at a PostgreSQL of its own, which waits
// for the medium, each beside bare libpq or a project without a library, by turns. Exit status 1 where a mark is
// missed.
//
// `benchmark_library DIVISOR` makes so many times fewer edits and recipes, to try that it works.

#include "BareDatabase.h"
#include "Line.h"

#include "Configuration/Store.h"
#include "Configuration/tree.h"
#include "Support/PostgresServer.h"
#include "process_heap.h"
#include "Json/Json.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{

using Ravik::LibrarySettings;
using Ravik::Benchmark::BareDatabase;
using Ravik::Benchmark::Line;
using Ravik::Test::PostgresServer;
using Clock = std::chrono::steady_clock;

// Figures -------------------------------------------------------------------------------------------------------------

using Times = std::vector<double>;

double elapsed_ms(Clock::time_point since)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - since).count();
}

double milliseconds(std::function<void()> const& work)
{
    auto const start = Clock::now();
    work();
    return elapsed_ms(start);
}

double median(Times times)
{
    if (times.empty())
    {
        throw std::runtime_error("nothing was measured");
    }
    auto const middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

bool is_any_missed = false;

/// A line of the table; `mark` is the most that is allowed, negative for a figure that is told alone.
double row(char const* what, double found, char const* unit, double mark = -1)
{
    auto const missed = mark >= 0 && found > mark;
    is_any_missed = is_any_missed || missed;
    std::printf("%-66s %10.2f %-2s", what, found, unit);
    mark >= 0 ? std::printf("   mark %6.1f  %s\n", mark, missed ? "MISSED" : "kept") : std::printf("\n");
    std::fflush(stdout);
    return found;
}

// The plant -----------------------------------------------------------------------------------------------------------

/// How much is done.
class Amount
{
public:
    explicit Amount(int divisor) : m_divisor(std::max(divisor, 1)) {}
    int of(int count, int least = 1) const { return std::max(count / m_divisor, least); }
    int recipes() const { return of(10'000, 100); }

private:
    int m_divisor;
};

LibrarySettings make_library(PostgresServer const& server, std::string const& name)
{
    LibrarySettings library{.postgresql = server.make_database(name)};
    static_cast<void>(Ravik::Library::initialise(library, false));
    return library;
}

/// Leaves the database with nothing to do that a measurement would feel.
void calm(PostgresServer const& server, std::string const& database)
{
    static_cast<void>(server.run("VACUUM ANALYZE", database));
    static_cast<void>(server.run("CHECKPOINT"));
}

void wait_for_medium(std::filesystem::path const& folder, std::size_t size)
{
    constexpr int runs = 100;
    auto const file = open((folder / "append").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    std::string const text(size, 'x');
    Times times;
    for (int run = 0; run < runs; ++run)
    {
        times.push_back(milliseconds(
            [&]
            {
                if (write(file, text.data(), size) != static_cast<ssize_t>(size) || fdatasync(file) != 0)
                {
                    throw std::runtime_error("a file can't be written");
                }
            }));
    }
    close(file);
    row("fdatasync of so much appended as a recipe has", median(times), "ms");
}

// One value -----------------------------------------------------------------------------------------------------------

/// With an extension that does nothing, which takes the extension's own time away and no other: all that this program
/// does for an edit is done, for two servers. Before the next one both have it, and the database is idle.
void edit_one_value(PostgresServer const& server, Amount const& amount)
{
    auto const library = make_library(server, "edits");
    Line editor("editor", Line::Extension::Silent, &library);
    editor.make_recipes(amount.recipes());
    editor.join();
    Line other("other", Line::Extension::Silent, &library);
    other.join();
    BareDatabase bare(library);
    auto const text = bare.copy_rows();
    wait_for_medium(server.folder(), text.size());
    calm(server, "edits");
    Times ours;
    Times theirs;
    for (int run = 0; run < amount.of(200, 5); ++run)
    {
        auto const recipe = run * 37 % amount.recipes();
        ours.push_back(milliseconds([&] { editor.set(recipe, run + 1000); }));
        other.await(editor.revision());
        theirs.push_back(milliseconds([&] { bare.update(Line::recipe(recipe), text); }));
    }
    auto const edit = row("edit one value of 10,000 recipes, without the extension", median(ours), "ms");
    auto const update = row("UPDATE, NOTIFY and COMMIT in one message", median(theirs), "ms");
    row("  edit / UPDATE, NOTIFY and COMMIT", edit / update, "x", 3);
}

/// The same as it comes about, beside a project without a library.
void edit_with_extension(Line const& shared, Line const& other, Line const& alone, Amount const& amount)
{
    Times ours;
    Times theirs;
    for (int run = 0; run < amount.of(60, 3); ++run)
    {
        auto const recipe = run * 37 % amount.recipes();
        theirs.push_back(milliseconds([&] { alone.set(recipe, run + 1000); }));
        ours.push_back(milliseconds([&] { shared.set(recipe, run + 1000); }));
        other.await(shared.revision());
    }
    row("edit one value of 10,000 recipes, with the recipe management", median(ours), "ms");
    row("  that in a project without a library", median(theirs), "ms");
}

// Seen by others ------------------------------------------------------------------------------------------------------

/// How long it takes from `start` until each of the lines shows the value.
Times seen(std::vector<std::unique_ptr<Line>> const& lines, int recipe, int value, Clock::time_point start)
{
    std::vector<Line const*> blind;
    std::transform(lines.begin(), lines.end(), std::back_inserter(blind),
                   [](std::unique_ptr<Line> const& line) { return line.get(); });
    Times times;
    while (!blind.empty())
    {
        auto const left = std::erase_if(blind, [&](Line const* line) { return line->shows(recipe, value); });
        times.insert(times.end(), left, elapsed_ms(start));
        if (elapsed_ms(start) > 60'000)
        {
            throw std::runtime_error("an edit is not seen everywhere");
        }
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
    return times;
}

void see_edits(PostgresServer const& server, Amount const& amount)
{
    constexpr int others = 20;
    auto const recipes = amount.of(1'000, 10);
    auto const library = make_library(server, "seen");
    Line editor("editor", Line::Extension::RecipeManagement, &library);
    editor.make_recipes(recipes);
    editor.join();
    std::vector<std::unique_ptr<Line>> lines;
    for (int number = 0; number < others; ++number)
    {
        lines.push_back(
            std::make_unique<Line>("line" + std::to_string(number), Line::Extension::RecipeManagement, &library));
        lines.back()->join();
    }
    calm(server, "seen");
    Times times;
    for (int run = 0; run < amount.of(60, 3); ++run)
    {
        auto watcher = std::async(std::launch::async, seen, std::cref(lines), run % recipes, run + 1000, Clock::now());
        editor.set(run % recipes, run + 1000);
        auto const of_edit = watcher.get();
        times.insert(times.end(), of_edit.begin(), of_edit.end());
    }
    row("an edit is seen by 20 other servers, median", median(times), "ms", 100);
    row("  the slowest", *std::max_element(times.begin(), times.end()), "ms");
}

// A rename ------------------------------------------------------------------------------------------------------------

void rename(Line const& shared, Line const& other, Line const& alone, std::string const& entry, int pairs,
            char const* what)
{
    Times ours;
    Times theirs;
    // In pairs, so that everything bears its name again afterwards.
    for (int run = 0; run < 2 * pairs; ++run)
    {
        auto const from = run % 2 == 0 ? entry : entry + "2";
        auto const to = run % 2 == 0 ? entry + "2" : entry;
        theirs.push_back(milliseconds([&] { alone.rename(from, to); }));
        ours.push_back(milliseconds([&] { shared.rename(from, to); }));
        other.await(shared.revision());
    }
    row(what, median(ours), "ms");
    row("  that in a project without a library", median(theirs), "ms");
    row("  with / without", median(ours) / median(theirs), "x", 3);
}

// Opening -------------------------------------------------------------------------------------------------------------

/// The fastest runs are held against one another: what an opening waits for or does besides shows in each of them, and
/// what else the machine does meanwhile does not.
void open_project(Line& shared, Line& alone, Amount const& amount)
{
    Times ours;
    Times theirs;
    for (int run = 0; run < amount.of(31, 3); ++run)
    {
        // Both closed, so that nobody follows meanwhile.
        shared.close();
        alone.close();
        theirs.push_back(milliseconds([&] { alone.open(); }));
        alone.close();
        ours.push_back(milliseconds([&] { shared.open(); }));
    }
    alone.open();
    auto const fastest = [](Times const& times) { return *std::min_element(times.begin(), times.end()); };
    row("open an up-to-date copy of 10,000 recipes", median(ours), "ms");
    row("  a project of the same without a library", median(theirs), "ms");
    row("  with / without, the fastest of each", fastest(ours) / fastest(theirs), "x", 1.1);
}

// Catching up ---------------------------------------------------------------------------------------------------------

/// What has to be done to come forward by those edits, whoever does it: their rows and records are read from the
/// database, written into the store in one transaction, and the values into the tree.
double read_rows(BareDatabase& bare, std::filesystem::path const& file, Ravik::LibraryPosition const& position,
                 std::int64_t since)
{
    std::string const domain(Ravik::recipe_domain);
    auto const store = Ravik::Store::open(file, std::chrono::seconds(0));
    auto tree = store->load(domain);
    return milliseconds(
        [&]
        {
            auto const rows = bare.rows_since(since);
            auto const records = bare.records_since(since);
            std::vector<Ravik::Tree::Change> changes;
            for (auto const& row : rows)
            {
                static_cast<void>(Ravik::Tree::write(tree, row.path, Ravik::Json::parse(*row.text),
                                                     Ravik::Tree::WriteMode::ReplaceInPath, changes));
            }
            store->begin();
            store->apply_shared(rows, false, position);
            for (auto const& record : records)
            {
                static_cast<void>(store->add_record(record, {.oldest = "", .bytes = UINT64_MAX}));
            }
            store->commit();
        });
}

void catch_up(LibrarySettings const& library, Line const& editor, Line& late, Amount const& amount)
{
    BareDatabase bare(library);
    late.close();
    auto const since = editor.revision();
    auto const old_copy = late.store().string() + ".old";
    std::filesystem::copy_file(late.store(), old_copy);
    auto const go_back = [&]
    { std::filesystem::copy_file(old_copy, late.store(), std::filesystem::copy_options::overwrite_existing); };
    for (int number = 0; number < amount.of(1'000, 10); ++number)
    {
        editor.set(number % amount.recipes(), number + 5000);
    }
    auto const position = editor.project().library_status(std::chrono::milliseconds(0)).position;
    Times reading;
    Times selecting;
    Times catching_up;
    for (int run = 0; run < amount.of(7, 3); ++run)
    {
        go_back();
        selecting.push_back(milliseconds([&] { static_cast<void>(bare.read(since)); }));
        reading.push_back(read_rows(bare, late.store(), position, since));
        go_back();
        // Beside the same with nothing to catch up with: the opening and the connecting stay out of it.
        auto const open = [&]
        {
            late.open();
            late.settle();
        };
        auto const behind = milliseconds(open);
        if (late.revision() != position.revision)
        {
            throw std::runtime_error("a server that follows has not caught up");
        }
        late.close();
        catching_up.push_back(behind - milliseconds(open));
        late.close();
    }
    row("catch up after 1,000 edits", median(catching_up), "ms");
    row("  read their rows and records into a store and a tree", median(reading), "ms");
    row("  SELECT them alone", median(selecting), "ms");
    row("  catch up / read", median(catching_up) / median(reading), "x", 2);
    late.open();
}

// All of one plant -------------------------------------------------------------------------------------------------

void share_recipes(PostgresServer const& server, Amount const& amount)
{
    auto const library = make_library(server, "plant");
    Line first("first", Line::Extension::RecipeManagement, &library);
    first.make_recipes(amount.recipes());
    first.join();
    Line second("second", Line::Extension::RecipeManagement, &library);
    second.join();
    Line alone("alone", Line::Extension::RecipeManagement, nullptr);
    alone.make_recipes(amount.recipes());
    calm(server, "plant");
    edit_with_extension(first, second, alone, amount);
    rename(first, second, alone, Line::type, amount.of(2), "rename a type that 10,000 recipes use");
    rename(first, second, alone, Line::folder, amount.of(2), "rename a folder of 10,000 recipes");
    calm(server, "plant");
    open_project(first, alone, amount);
    catch_up(library, first, second, amount);
}

} // namespace

int main(int argc, char** argv)
{
    // As ravik's own program does.
    RavikSrv::keep_heap();
    try
    {
        Amount const amount(argc > 1 ? std::stoi(argv[1]) : 1);
        if (argc > 1)
        {
            std::printf("With %s times fewer edits and recipes than the table says:\n", argv[1]);
        }
        PostgresServer const server({.is_durable = true});
        edit_one_value(server, amount);
        see_edits(server, amount);
        share_recipes(server, amount);
        return is_any_missed ? 1 : 0;
    }
    catch (std::exception const& error)
    {
        std::fprintf(stderr, "benchmark_library: %s\n", error.what());
        return 1;
    }
}
