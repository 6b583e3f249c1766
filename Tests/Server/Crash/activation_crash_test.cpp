// Kills a process that activates a recipe, again and again, and looks at what is left each time:
//
//     ActivationCrashTest [KILLS [SEED]]
//
// The device takes a while for each request. After a kill the store must be whole; either nothing was written and there
// is no record, or there is one that is begun or tells the outcome, the outcome of an activation that was acknowledged;
// no row may be verified that the device does not hold; and taking the record back must bring what stood there before.
// Exit status 0 where all that always held.

#include "EditedProject.h"
#include "KilledProcess.h"
#include "Project/project_store.h"
#include "Json/Json.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using namespace Ravik;
using namespace Ravik::Test;

constexpr int registers = 6;
constexpr char const* milliseconds_per_request = "5";
/// What an activation takes in the most: each register is read, written and read again.
constexpr std::chrono::milliseconds activation_time{5 * 3 * registers};

/// The example device, on a free port.
class Device
{
public:
    Device()
    {
        std::array<int, 2> pipe_ends{};
        expect(pipe(pipe_ends.data()) == 0, "no pipe could be made");
        m_process = fork();
        if (m_process == 0)
        {
            dup2(pipe_ends[1], STDOUT_FILENO);
            close(pipe_ends[0]);
            execl(MODBUS_DEVICE, "modbus_device", "--delay", milliseconds_per_request, nullptr);
            _exit(EXIT_FAILURE);
        }
        close(pipe_ends[1]);
        for (char letter = 0; read(pipe_ends[0], &letter, 1) == 1 && letter != '\n';)
        {
            m_port += letter;
        }
        close(pipe_ends[0]);
        expect(!m_port.empty(), "the device could not be started");
    }
    Device(Device const&) = delete;
    Device& operator=(Device const&) = delete;
    ~Device()
    {
        kill(m_process, SIGTERM);
        waitpid(m_process, nullptr, 0);
    }

    std::string const& port() const noexcept { return m_port; }

private:
    pid_t m_process = -1;
    std::string m_port;
};

/// With the registers R0, R1, …, too far apart to share a request.
std::string project_of(std::string const& port)
{
    std::string symbols;
    for (int index = 0; index < registers; ++index)
    {
        symbols += (index == 0 ? "\"R" : ",\"R") + std::to_string(index) + R"(":{"DOMAIN":"Line","MAPPING":"holding:)" +
                   std::to_string(100 * index) + R"(:int16","SCHEMA":{"type":"integer"}})";
    }
    return R"({"extensions":[{"domain":"RavikRecipeManagement","library":")" RECIPE_MANAGEMENT_LIBRARY
           R"("},{"domain":"Line","library":")" MODBUS_LIBRARY R"(","configuration":{"host":"127.0.0.1","port":)" +
           port + "}}],\"symbols\":{" + symbols + "}}";
}

using Values = std::map<std::string, std::string>;

Values held(Project& project)
{
    std::vector<std::string> names;
    names.reserve(registers);
    for (int index = 0; index < registers; ++index)
    {
        names.push_back("R" + std::to_string(index));
    }
    Values values;
    for (auto const& command : project.read_symbols(names).commands)
    {
        expect(command.result == ErrorValue::SUCCESS, "the device can't be read");
        values.emplace(command.name.str(), Json::write(command.value));
    }
    return values;
}

class Activations
{
public:
    Activations()
    {
        auto const project = Project::open(m_folder.path());
        auto const type = "T { " + repeated(registers, "R# ") + "} | ";
        auto const recipes =
            "Before:T { " + repeated(registers, "R#=* ") + "} After:T { " + repeated(registers, "R#=9* ") + "}";
        expect(project->import(std::string(recipe_domain), configuration_of(type + recipes), {}).succeeded() &&
                   project->activate("Before", {}).succeeded(),
               "there is nothing to begin with");
        m_before = held(*project);
        m_last_record = newest(*project).id;
    }

    void kill_once(std::mt19937& random)
    {
        KilledProcess const process{.work = [this](Acknowledge const& acknowledge) { activate(acknowledge); },
                                    .wanted = 1,
                                    .time = some_time(activation_time * 5 / 4, random)};
        auto const acknowledged = process.run(0);
        expect_whole(store_of(m_folder.path()));
        auto const project = Project::open(m_folder.path());
        auto const record = newest(*project);
        if (record.id == m_last_record)
        {
            expect(acknowledged != Step::activated, "an activation is not remembered");
            expect(held(*project) == m_before, "something was written that is not remembered");
            ++m_kills.before;
            return;
        }
        check(*project, record, acknowledged);
        take_back(*project, record);
        m_last_record = newest(*project).id;
    }

    std::string told() const
    {
        return std::to_string(m_kills.before) + " before anything was written, " + std::to_string(m_kills.within) +
               " within (" + std::to_string(m_kills.half_written) + " with some values written and others not) and " +
               std::to_string(m_kills.after) + " after the outcome was stored";
    }
    /// Whether the killed activations were in each stage.
    bool has_met_all() const
    {
        return m_kills.before != 0 && m_kills.within != 0 && m_kills.half_written != 0 && m_kills.after != 0;
    }

private:
    /// What the process acknowledges.
    struct Step
    {
        static constexpr int opened = 1;
        static constexpr int activated = 2;
    };

    static HistoryRecord newest(Project const& project)
    {
        auto const id = project.history({.limit = 1}).records.front().id;
        return project.history_record(id).records.front();
    }

    void activate(Acknowledge const& acknowledge) const
    {
        auto const project = Project::open(m_folder.path());
        static_cast<void>(acknowledge(Step::opened));
        expect(project->activate("After", {}).succeeded() && acknowledge(Step::activated), "the activation failed");
        pause();
    }

    void check(Project& project, HistoryRecord const& record, int acknowledged)
    {
        auto const is_begun = record.outcome == Outcome::begun;
        expect(record.asked == "activate After" && (is_begun || record.outcome == Outcome::done),
               "the newest record is '" + record.asked + "', " + record.outcome);
        expect(!is_begun || acknowledged != Step::activated, "an outcome is not remembered");
        auto const live = held(project);
        std::size_t written = 0;
        for (auto const& row : rows_of(record.body))
        {
            auto const stands = live.at(row.symbol) == Json::write(row.value);
            expect(stands || row.state != RowState::Verified, row.symbol + " is not what was verified");
            expect(stands || live.at(row.symbol) == m_before.at(row.symbol), row.symbol + " is something else");
            expect(row.state == (is_begun ? RowState::Planned : RowState::Verified), "a row tells something else");
            written += stands ? 1 : 0;
        }
        ++(is_begun ? m_kills.within : m_kills.after);
        m_kills.half_written += written != 0 && written != live.size() ? 1 : 0;
    }

    void take_back(Project& project, HistoryRecord const& record) const
    {
        auto const report = project.revert_activation(record.body, {.asked = "revert " + std::to_string(record.id)});
        expect(report.succeeded(), "it could not be taken back: " + report.text);
        expect(held(project) == m_before, "taking it back did not bring what stood there before");
    }

    struct Kills
    {
        int before = 0;
        int within = 0;
        int half_written = 0;
        int after = 0;
    };

    Device m_device;
    TemporaryFolder m_folder;
    std::filesystem::path m_file = m_folder.write("ravik.json", project_of(m_device.port()));
    Values m_before;
    std::int64_t m_last_record = 0;
    Kills m_kills;
};

int run(int kills, unsigned seed)
{
    // So many meet each stage, or something is wrong with the moments.
    constexpr int enough = 100;
    std::mt19937 random(seed);
    Activations activations;
    for (int done = 0; done < kills; ++done)
    {
        activations.kill_once(random);
    }
    std::cout << kills << " kills, " << activations.told() << '\n';
    expect(kills < enough || activations.has_met_all(), "not every stage was met");
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    return Ravik::Test::run_kills("ActivationCrashTest", argc, argv, run);
}
