#include "library_cases.h"

#include "KilledProcess.h"
#include "library_project.h"

#include "Project/library_membership.h"
#include "Support/RecipeNotation.h"

#include <algorithm>
#include <iostream>
#include <vector>

namespace Ravik::Test
{

namespace
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using State = LibraryStatus::State;
using std::chrono::steady_clock;

/// An edit that changes something each time.
EditReport edit(ServedLine const& line)
{
    static int number = 0;
    return line.reach()->set(std::string(recipe_domain), "recipeList::Cases::values::a", Value(++number));
}

void expect_edit(ServedLine const& line)
{
    auto const report = edit(line);
    expect(report.succeeded(), line.name() + " can't edit: " + report.text);
}

/// Its copy is not what the library knows: it neither follows nor edits, and says what can be done.
void expect_stopped(SharedLines const& lines, ServedLine const& line, Value const& tree)
{
    auto const status = lines.await(line, State::Stopped);
    auto const report = edit(line);
    expect(report.error == ErrorValue::STORAGE && report.text.find("--theirs") != std::string::npos &&
               report.text.find("--ours") != std::string::npos,
           line.name() + " answers an edit with: " + report.text + ", and is stopped since " + status.why);
    expect_same(line.name() + ", which is stopped,", tree_of(*line.reach()), "it before", tree);
}

void join_again(ServedLine& line, Side side)
{
    line.kill();
    auto const report = join_library(line.folder(), {.name = "", .side = side}, {});
    expect(!report.was_joined, line.name() + " has nothing to join again for");
    line.start();
}

/// A database that was restored from a backup lacks the newest edits, which all servers have.
void restored_database(SharedLines& lines)
{
    auto& database = lines.database();
    database.stop();
    database.save();
    database.start();
    lines.await_all(std::chrono::seconds(3 * patience()));
    auto const older = tree_of(*lines.at(0).reach());
    for (auto const& line : lines.all())
    {
        expect_edit(*line);
    }
    auto const newer = lines.expect_one_truth({}).tree;
    database.stop();
    database.restore();
    database.start();
    for (auto const& line : lines.all())
    {
        expect_stopped(lines, *line, newer);
    }

    join_again(lines.at(0), Side::Theirs);
    lines.await(lines.at(0), State::Following);
    expect_same("the line that took the library's side", tree_of(*lines.at(0).reach()), "the library before", older);
    join_again(lines.at(1), Side::Ours);
    lines.await(lines.at(1), State::Following);
    for (std::size_t index = 2; index < lines.all().size(); ++index)
    {
        expect_stopped(lines, lines.at(index), newer);
        join_again(lines.at(index), Side::Theirs);
    }
    auto const content = lines.expect_one_truth({});
    expect(content.tree == newer, "the library is not what the line had that gave it its own");
    expect_edit(lines.at(2));
    static_cast<void>(lines.expect_one_truth({}));
}

/// A copy of the running database on a port of its own, which follows it.
std::unique_ptr<PostgresServer> standby_of(PostgresServer const& primary)
{
    auto standby = std::make_unique<PostgresServer>();
    standby->stop();
    auto const data = (standby->folder() / "data").string();
    PostgresServer::run_program({"rm", "-r", data});
    auto const programs =
        std::filesystem::read_symlink("/proc/" + std::to_string(primary.process()) + "/exe").parent_path();
    PostgresServer::run_program({programs / "pg_basebackup", "-d", primary.settings(), "-D", data, "-R", "-X", "stream",
                                 "-c", "fast", "--no-sync"});
    PostgresServer::run_program({"sh", "-c",
                                 R"(printf "port = %s\nunix_socket_directories = '%s'\n" )" +
                                     std::to_string(standby->port()) + " " + standby->folder().string() + " >>" + data +
                                     "/postgresql.auto.conf"});
    standby->start();
    return standby;
}

/// One line goes on at a standby that took over without the newest edits, which all others have.
void promoted_standby(SharedLines& lines)
{
    auto const all = lines.all().size();
    auto const position = head_of(lines.settings()).position;
    auto standby = standby_of(lines.database());
    LibrarySettings const settings{.postgresql = standby->settings()};
    expect(eventually(std::chrono::seconds(20), [&] { return head_of(settings).position == position; }),
           "the standby does not follow");
    auto& behind = *lines.all().back();
    behind.line().set(DatabaseProxy::Line::Cut);
    lines.await(behind, State::Alone);
    standby->run("SELECT pg_promote()");
    expect_edit(lines.at(0));
    expect_edit(lines.at(1));
    auto const newest = head_of(lines.settings()).position.revision;
    for (std::size_t index = 0; index + 1 < all; ++index)
    {
        expect(eventually(std::chrono::seconds(3 * patience()),
                          [&] { return lines.at(index).reach()->library_status({}).position.revision == newest; }),
               lines.at(index).name() + " does not follow");
    }
    auto const lost = tree_of(*lines.at(0).reach());

    auto const primary = lines.replace_database(std::move(standby));
    primary->stop(PostgresServer::How::Killed);
    behind.line().set(DatabaseProxy::Line::Whole);
    lines.await(behind, State::Following);
    // As many edits as were lost, so that the numbers of the revisions are the same.
    expect_edit(behind);
    expect_edit(behind);
    for (std::size_t index = 0; index + 1 < all; ++index)
    {
        expect_stopped(lines, lines.at(index), lost);
        join_again(lines.at(index), Side::Theirs);
    }
    static_cast<void>(lines.expect_one_truth({}));
}

/// What a server does that has no link when it starts, and comes to do when it has one.
void alone(SharedLines& lines)
{
    auto& line = lines.at(0);
    auto const tree = tree_of(*line.reach());
    struct Case
    {
        char const* name;
        DatabaseProxy::Line line;
        bool is_stopped;
    };
    std::vector<Case> const cases{
        {.name = "a line that is silent", .line = DatabaseProxy::Line::Frozen, .is_stopped = false},
        {.name = "a line that is cut", .line = DatabaseProxy::Line::Cut, .is_stopped = false},
        {.name = "no database", .line = DatabaseProxy::Line::Whole, .is_stopped = true},
    };
    TemporaryFolder const own;
    write_project(own.path(), {});
    {
        auto const project = Project::open(own.path());
        auto const report = project->import(std::string(recipe_domain), RandomEditor::first_configuration(), {});
        expect(report.succeeded(), "there is nothing to open: " + report.text);
    }
    auto const since = [](steady_clock::time_point begun)
    { return std::chrono::duration<double, std::milli>(steady_clock::now() - begun).count(); };
    auto const usual_begun = steady_clock::now();
    static_cast<void>(Project::open(own.path()));
    auto const usual = since(usual_begun);
    line.kill();
    for (auto const& each : cases)
    {
        auto const in_case = std::string(" with ") + each.name;
        line.line().set(each.line);
        if (each.is_stopped)
        {
            lines.database().stop();
        }
        auto const begun = steady_clock::now();
        auto const project = Project::open(line.folder());
        auto const time = since(begun);
        std::cout << "Opening takes " << time << " ms" << in_case << ", " << usual << " ms without a library\n";
        expect(time < 10 * usual, "opening takes too long" + in_case);
        expect_same("the server" + in_case, tree_of(*project), "it before", tree);
        auto const activated = project->activate("Cases", {});
        expect(activated.succeeded(), "nothing can be activated" + in_case + ": " + activated.text);
        auto const active = project->active({"Cases"}, {});
        expect(active.active == std::vector<std::string>{"Cases"}, "it is not told what is active" + in_case);
        expect(project->library_status(std::chrono::seconds(10 * patience())).state == State::Alone,
               "it is not told that there is no link" + in_case);
        auto const report = project->remove(std::string(recipe_domain), "recipeList::Cases", {});
        expect(report.error == ErrorValue::STORAGE && report.unknown_edit.empty(),
               "an edit is answered" + in_case + " with " + report.text);
    }
    line.line().set(DatabaseProxy::Line::Whole);
    line.start();
    lines.start_database();
    static_cast<void>(lines.expect_one_truth({}));
    expect_edit(line);
    static_cast<void>(lines.expect_one_truth({}));
}

} // namespace

void run_library_cases(SharedLines& lines)
{
    struct Case
    {
        char const* name;
        void (*run)(SharedLines& lines);
    };
    std::vector<Case> const cases{
        {.name = "a database restored from a backup", .run = restored_database},
        {.name = "a standby promoted without the newest edits", .run = promoted_standby},
        {.name = "a server alone", .run = alone},
    };
    auto const report = lines.at(0).reach()->import(std::string(recipe_domain),
                                                    configuration_of("Cases { a:k } | Cases:Cases { a=0 }"), {});
    expect(report.succeeded(), "there is nothing to edit: " + report.text);
    static_cast<void>(lines.expect_one_truth({}));
    for (auto const& each : cases)
    {
        try
        {
            each.run(lines);
            std::cout << "Held: " << each.name << '\n';
        }
        catch (std::exception const& error)
        {
            throw std::runtime_error(std::string(each.name) + ": " + error.what());
        }
    }
}

} // namespace Ravik::Test
