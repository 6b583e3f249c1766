// Kills a process that works on a project, again and again, and looks at what is left each time:
//
//     ServerCrashTest [KILLS [SEED]]
//
// The steps (edits of all kinds, backups and restores of the store) are numbered and the same in every run. The process
// acknowledges each one that was answered with success. After a kill the store must be whole, the project open without
// a fault that `check` finds, and hold the outcome of the last acknowledged step or, as a whole, of the one after it,
// with a record in its history for each step that changed something and no more; and where there is a backup it must be
// a whole one. Exit status 0 where all that always held.

#include "Configuration/Store.h"
#include "EditedProject.h"
#include "KilledProcess.h"
#include "Project/OpenProject.h"
#include "Project/project_store.h"
#include "Json/Json.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>

namespace
{

using namespace Ravik;
using namespace Ravik::Test;

std::string const domain(recipe_domain);

/// The steps bring a family of types and recipes in, reorganise it and take it away again, family by family: "$" is its
/// name and "#" its number. "=" stands for an import in the place of everything, "?" for an update of a recipe, "@" for
/// a text that in some rounds is so long that the log is brought into the file.
constexpr auto steps = std::to_array<char const*>({
    "+ $::T { m n } $::U($::T) { o } $::V { k>$::T } | "
    "$::A:$::T { m=1 } $::B:$::T { m=1 n=2 } $::C:$::U { o=1 } $::D:$::V { k=$::A }",
    "R::$::A::values::m = #",
    R"(R::$::A::values::more = "@")",
    R"(R::$::A::values::more = "@#")",
    "? $::A",
    "backup",
    "T::$::T > T::$::W",
    "R::$::A > R::$::Q",
    "restore",
    "T::$::T > T::$::W",
    "R::$::A > R::$::Q",
    "T::$::W::members::m > T::$::W::members::q",
    "T::$::W::members::n >",
    "? $::B",
    "T::$ > T::N$",
    R"(R::$::E = {"recipeTypeName":"N$::W","values":{"q":#}})",
    "R::$::Q >",
    "R::$ > R::M$",
    "T::N$ >",
    "backup",
    "R::M$ >",
    "restore",
    "= $::T { m } | $::A:$::T { m=# }",
    "T::$ >",
});

std::string step_text(int number)
{
    auto const round = static_cast<std::size_t>(number) / steps.size();
    std::string text;
    for (auto const* letter = steps.at(static_cast<std::size_t>(number) % steps.size()); *letter != '\0'; ++letter)
    {
        *letter == '$'   ? text.append("P").append(std::to_string(round % 3))
        : *letter == '#' ? text.append(std::to_string(round))
        : *letter == '@' ? text.append(round % 8 == 7 ? 3'000'000 : 3, 'x')
                         : text.append(1, *letter);
    }
    return text;
}

std::string text_of(Project const& project)
{
    return Json::write(project.get(domain, "").value);
}

std::string text_of_store(std::filesystem::path const& file)
{
    return Json::write(Store::open(file, std::chrono::seconds(0))->load(domain));
}

/// Makes a configuration the whole one.
bool replace(Project& project, RavikSrv::Value const& configuration)
{
    ImportOptions options;
    options.replace = true;
    return project.import(domain, configuration, options).succeeded();
}

bool has_faults(Project const& project)
{
    auto const findings = project.check(domain);
    return std::any_of(findings.begin(), findings.end(), [](Finding const& finding) { return !finding.is_note(); });
}

/// The project that the process works on.
struct OnDisk
{
    std::filesystem::path folder;
    std::unique_ptr<Project> project = Project::open(folder);

    std::filesystem::path backup_file() const { return folder / "backup.db"; }
    bool back_up() const { return project->backup(backup_file(), true).succeeded(); }
    bool restore()
    {
        project.reset();
        static_cast<void>(restore_project_store(folder, backup_file(), Replaced::anything, {}));
        project = Project::open(folder);
        return true;
    }
};

/// The outcome of all steps so far, without a store.
struct Model
{
    std::unique_ptr<Project> project;
    RavikSrv::Value backup;
    /// The records that the history of a project on disk holds, and that of its backup.
    std::int64_t records = 0;
    std::int64_t records_of_backup = 0;

    bool back_up()
    {
        backup = project->get(domain, "").value;
        records_of_backup = records;
        return true;
    }
    bool restore()
    {
        auto const is_made = replace(*project, backup);
        records = records_of_backup;
        return is_made;
    }
};

/// The number of the last record, which has to belong to what there is.
std::int64_t last_record(Project& project)
{
    auto const newest = project.history({.limit = 1}).records;
    if (newest.empty())
    {
        return 0;
    }
    RevertOptions options;
    options.dry_run = true;
    auto const report = project.revert(newest.front().id, options);
    return report.succeeded() ? newest.front().id : -1;
}

/// Makes the step of that number, the outcome of the one before it given.
template <typename Place> bool make_step(Place& place, int number)
{
    auto const text = step_text(number);
    if (text == "backup" || text == "restore")
    {
        return text == "backup" ? place.back_up() : place.restore();
    }
    if (text.starts_with("="))
    {
        return replace(*place.project, configuration_of(text.substr(2)));
    }
    if (text.starts_with("?"))
    {
        return place.project->call(domain, "UpdateRecipe", parameters("path", text.substr(2).c_str())).succeeded();
    }
    return edit(*place.project, text).succeeded();
}

void step_for_ever(std::filesystem::path const& folder, int number, Acknowledge const& acknowledge)
{
    OnDisk place{.folder = folder};
    while (make_step(place, number) && acknowledge(number))
    {
        ++number;
    }
    throw std::runtime_error("step " + std::to_string(number) + " is impossible");
}

/// Steps take from less than a millisecond to the tens that opening takes.
std::chrono::nanoseconds a_few_steps(std::mt19937& random)
{
    return some_time(std::chrono::milliseconds(random() % 3 == 0 ? 40 : 6), random);
}

/// Kills while a project is worked on.
class Steps
{
public:
    void kill_once(std::mt19937& random)
    {
        // Somewhere in opening, or in the step that follows some others; at times so many that the log is shortened.
        auto const wanted = random() % 32 == 0 ? 400 : static_cast<int>(random() % 8);
        KilledProcess const process{.work = [this](Acknowledge const& acknowledge)
                                    { step_for_ever(m_folder.path(), m_last + 1, acknowledge); },
                                    .wanted = wanted,
                                    .time = a_few_steps(random)};
        auto const acknowledged = process.run(m_last);
        count_half(m_store, m_in_restore);
        count_half(m_folder.path() / "backup.db", m_in_backup);
        // Checking brings the log into the file, which opening has to be able to do as well.
        auto const check_first = random() % 2 == 0 && m_last >= 0;
        if (check_first)
        {
            expect_whole(m_store);
        }
        compare(acknowledged);
        expect_whole(m_store);
    }

    std::string told() const
    {
        return std::to_string(m_last + 1) + " steps, of which " + std::to_string(m_unacknowledged) +
               " had been stored when their process was killed before it could say so; half a backup was left " +
               std::to_string(m_in_backup) + " times and half a restored store " + std::to_string(m_in_restore) +
               " times, beside the whole one";
    }

private:
    static void count_half(std::filesystem::path const& whole, int& count)
    {
        count += std::filesystem::remove(whole.string() + "-new") ? 1 : 0;
    }

    void step()
    {
        ++m_last;
        auto const before = m_model.project->get(domain, "").value;
        expect(make_step(m_model, m_last), "step " + std::to_string(m_last) + " is impossible");
        auto const is_edit = step_text(m_last) != "backup" && step_text(m_last) != "restore";
        m_model.records += is_edit && !(m_model.project->get(domain, "").value == before) ? 1 : 0;
    }

    void compare(int acknowledged)
    {
        OnDisk const place{.folder = m_folder.path()};
        auto const found = text_of(*place.project);
        while (m_last < acknowledged)
        {
            step();
        }
        compare_backup(place.backup_file());
        if (found != text_of(*m_model.project))
        {
            ++m_unacknowledged;
            step();
        }
        expect(found == text_of(*m_model.project) && !has_faults(*place.project),
               "after step " + std::to_string(m_last) + " there is\n" + found + "\ninstead of\n" +
                   text_of(*m_model.project) + ", or a reference dangles");
        auto const record = last_record(*place.project);
        expect(record == m_model.records, "after step " + std::to_string(m_last) + " the last record is " +
                                              std::to_string(record) + " instead of " +
                                              std::to_string(m_model.records));
    }

    /// It is the last one, the one before where a new one was being made in its place, or one more.
    void compare_backup(std::filesystem::path const& file) const
    {
        if (!std::filesystem::exists(file))
        {
            expect(!m_model.backup.isset(), "the backup is gone");
            return;
        }
        expect_whole(file);
        auto const found = text_of_store(file);
        expect(found == Json::write(m_model.backup) ||
                   (step_text(m_last + 1) == "backup" && found == text_of(*m_model.project)),
               "the backup is none of what was there");
    }

    TemporaryFolder m_folder;
    /// With a history so small that records go.
    std::filesystem::path m_file =
        m_folder.write("ravik.json", R"({"history":{"size":"8 MiB"},)" + project_file().substr(1));
    std::filesystem::path m_store = store_of(m_folder.path());
    Model m_model{.project = opened(m_file, nullptr), .backup = {}};
    int m_last = -1;
    int m_unacknowledged = 0;
    int m_in_backup = 0;
    int m_in_restore = 0;
};

int run(int kills, unsigned seed)
{
    std::mt19937 random(seed);
    Steps line;
    for (int done = 0; done < kills; ++done)
    {
        line.kill_once(random);
    }
    std::cout << kills << " kills, " << line.told() << '\n';
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    return Ravik::Test::run_kills("ServerCrashTest", argc, argv, run);
}
