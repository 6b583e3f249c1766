// Has servers that share a library edit the same recipes, all at once, and looks at what comes of it:
//
//     LibraryTruthTest [EDITS [SERVERS [CLIENTS [SEED]]]]
//
// Each server is a project of its own in this process, with so many clients; they make edits of all kinds. Whoever
// reads meanwhile must never find a recipe or type named that is not there. At the end all servers, the library, and
// each server that is opened anew must have the same configuration byte for byte; the history must hold each edit that
// was acknowledged once and none that was refused, in the order in which they were made, and tell all that was done. In
// the long form, from 10,000 edits, no edit may have waited more than twenty times as long as most did. Exit status 0
// where all that held.

#include "KilledProcess.h"
#include "RandomEditor.h"
#include "Support/PostgresServer.h"
#include "Support/TemporaryFolder.h"
#include "library_project.h"
#include "library_truth.h"

#include "Project/Project.h"
#include "Project/library_membership.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <memory>
#include <mutex>
#include <poll.h>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace
{

using namespace Ravik;
using namespace Ravik::Test;

constexpr int long_form = 10'000;

struct Form
{
    int edits = 1000;
    int servers = 5;
    int clients = 8;
    unsigned seed = 0;
};

/// A server: a project that has joined the library.
struct Server
{
    std::string name;
    TemporaryFolder folder;
    std::unique_ptr<Project> project;

    void reopen()
    {
        project.reset();
        project = Project::open(folder.path());
    }
    bool has_reached(LibraryPosition const& position) const
    {
        auto const status = project->library_status(std::chrono::milliseconds(0));
        return status.state == LibraryStatus::State::Following && status.position == position;
    }
};

/// What clients do and readers find, until the edits are made.
class Load
{
public:
    Load(std::vector<std::unique_ptr<Server>> const& servers, Form const& form) : m_servers(servers), m_left(form.edits)
    {
        for (auto const& server : servers)
        {
            m_threads.emplace_back([this, &server] { read(*server); });
            for (int client = 0; client < form.clients; ++client)
            {
                auto const name = server->name + "." + std::to_string(client);
                auto const seed = form.seed + 1000 * m_threads.size();
                m_threads.emplace_back([this, &server, name, seed] { edit(*server, RandomEditor(name, seed)); });
            }
        }
    }

    /// Waits for the end, and returns what was attempted.
    std::vector<Attempt> end()
    {
        for (auto& thread : m_threads)
        {
            thread.join();
        }
        std::lock_guard const lock(m_mutex);
        expect(m_broken.empty(), "a reader found half an edit: " + m_broken);
        return m_attempts;
    }
    int reads() const noexcept { return m_reads; }

private:
    void edit(Server const& server, RandomEditor editor)
    {
        std::vector<Attempt> attempts;
        while (m_left-- > 0)
        {
            attempts.push_back(editor.edit(*server.project));
        }
        std::lock_guard const lock(m_mutex);
        m_attempts.insert(m_attempts.end(), attempts.begin(), attempts.end());
    }

    void read(Server const& server)
    {
        while (m_left > 0)
        {
            auto const broken = broken_reference(tree_of(*server.project));
            ++m_reads;
            if (!broken.empty())
            {
                std::lock_guard const lock(m_mutex);
                m_broken += server.name + ": " + broken;
                return;
            }
            ::poll(nullptr, 0, 5); // so that the edits have the processor
        }
    }

    std::vector<std::unique_ptr<Server>> const& m_servers;
    std::atomic<int> m_left;
    std::atomic<int> m_reads = 0;
    std::mutex m_mutex;
    std::vector<Attempt> m_attempts;
    std::string m_broken;
    std::vector<std::thread> m_threads;
};

std::vector<std::unique_ptr<Server>> make_servers(LibrarySettings const& settings, int count)
{
    std::vector<std::unique_ptr<Server>> servers;
    for (int number = 1; number <= count; ++number)
    {
        auto& server = *servers.emplace_back(std::make_unique<Server>());
        server.name = "line" + std::to_string(number);
        write_project(server.folder.path(), settings);
        if (number == 1)
        {
            // What it has is what the library begins with.
            auto const project = Project::open(server.folder.path());
            auto const report =
                project->import(std::string(recipe_domain), RandomEditor::first_configuration(), ImportOptions());
            expect(report.succeeded(), "there is nothing to begin with: " + report.text);
        }
        static_cast<void>(join_library(server.folder.path(), {.name = server.name}, {}));
        server.reopen();
    }
    return servers;
}

void expect_reached(std::vector<std::unique_ptr<Server>> const& servers, LibraryPosition const& position)
{
    for (auto const& server : servers)
    {
        expect(eventually(std::chrono::seconds(60), [&] { return server->has_reached(position); }),
               server->name + " has not come to revision " + std::to_string(position.revision) + ", but to " +
                   std::to_string(server->project->library_status({}).position.revision) + ": " +
                   server->project->library_status({}).why);
    }
}

void print_times(std::vector<Attempt> const& attempts, int edits)
{
    using Milliseconds = std::chrono::duration<double, std::milli>;
    std::vector<double> times;
    std::transform(attempts.begin(), attempts.end(), std::back_inserter(times),
                   [](Attempt const& attempt) { return Milliseconds(attempt.took).count(); });
    std::sort(times.begin(), times.end());
    auto const median = times[times.size() / 2];
    std::cout << "An edit waited " << median << " ms in the median, " << times.back() << " ms at most ("
              << times.back() / median << " times as long)\n";
    expect(edits < long_form || times.back() <= 20 * median, "an edit waited too long");
}

void run(Form const& form)
{
    PostgresServer database;
    LibrarySettings const settings{.postgresql = database.settings()};
    static_cast<void>(Library::initialise(settings, false));
    auto const servers = make_servers(settings, form.servers);
    auto const first = content_of(settings, {});
    expect_reached(servers, first.head.position);

    Load load(servers, form);
    auto const attempts = load.end();
    auto const last = content_of(settings, first.head.position);
    expect_reached(servers, last.head.position);

    for (auto const& server : servers)
    {
        expect_same(server->name, tree_of(*server->project), "the library", last.tree);
        expect_references(server->name, *server->project);
        expect_followed(server->name, *server->project, last.records);
    }
    expect_once(last.records, attempts);
    expect_told(last.records, first.tree, last.tree);
    // The last one is opened without the library.
    for (auto const& server : servers)
    {
        if (server == servers.back())
        {
            database.stop();
        }
        auto const listed = listed_recipes(*server->project);
        server->reopen();
        expect_same(server->name + ", opened anew,", tree_of(*server->project), "the library", last.tree);
        auto const listed_anew = listed_recipes(*server->project);
        expect_same(server->name + ", before it was opened anew,", listed.c_str(), "it then", listed_anew.c_str());
    }
    std::cout << attempts.size() << " edits, of which " << last.records.size() << " were made; " << load.reads()
              << " reads\n";
    print_times(attempts, form.edits);
}

} // namespace

int main(int argc, char** argv)
{
    Form form{.seed = std::random_device{}()};
    auto const argument = [&](int index, auto& number)
    {
        if (argc > index)
        {
            number = static_cast<std::decay_t<decltype(number)>>(std::strtoul(argv[index], nullptr, 10));
        }
    };
    argument(1, form.edits);
    argument(2, form.servers);
    argument(3, form.clients);
    argument(4, form.seed);
    try
    {
        run(form);
        return EXIT_SUCCESS;
    }
    catch (std::exception const& error)
    {
        std::cerr << "LibraryTruthTest: " << error.what() << "\nThe seed was " << form.seed << '\n';
        return EXIT_FAILURE;
    }
}
