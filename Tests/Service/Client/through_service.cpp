/// Stands in for `ravik` where commands are to go through a service: serves the project of the command as long as the
/// command runs. Where there is no project that could be served, or the command is one that a service would keep from
/// its work, it runs alone.

#include "Client/SocketServer.h"
#include "Project/project_store.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <spawn.h>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr char const* program = RAVIK_PROGRAM_FOLDER "/ravik";

using Words = std::span<char* const>;

bool has(Words words, std::string_view wanted)
{
    return std::find(words.begin(), words.end(), wanted) != words.end();
}

std::filesystem::path directory_of(Words words)
{
    constexpr std::string_view option = "--project";
    for (std::size_t position = 0; position < words.size(); ++position)
    {
        std::string_view const word = words[position];
        if (word == option && position + 1 < words.size())
        {
            return words[position + 1];
        }
        if (word.starts_with(std::string(option) + '='))
        {
            return word.substr(option.size() + 1);
        }
    }
    return ".";
}

/// A project that is served.
struct Service
{
    std::unique_ptr<Ravik::Project> project;
    std::optional<Ravik::SocketServer> server;
};

void start(Service& service, Words words)
{
    auto const directory = directory_of(words);
    std::error_code ignored;
    auto const looks_after_store =
        has(words, "store") && (has(words, "restore") || has(words, "repair") ||
                                !std::filesystem::exists(Ravik::store_of(directory), ignored));
    if (has(words, "init") || looks_after_store ||
        !std::filesystem::exists(directory / Ravik::project_file_name, ignored))
    {
        return;
    }
    try
    {
        Ravik::ProjectFileMark const mark(directory);
        // The command before this one in a pipe may still be served.
        service.project =
            Ravik::Project::open(directory, {.wait = std::chrono::seconds(5), .trust = has(words, "--trust")});
        service.server.emplace(*service.project, Ravik::SocketServer::Settings{.directory = directory, .file = mark});
    }
    catch (Ravik::ProjectError const&)
    {
        // The command finds out for itself.
    }
}

/// Runs the program with the signals to this one handed on to it. Returns its status.
int run(Words words, sigset_t const& signals)
{
    std::array<posix_spawnattr_t, 1> attributes{};
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_init(attributes.data());
    posix_spawnattr_setsigmask(attributes.data(), &none);
    posix_spawnattr_setflags(attributes.data(), POSIX_SPAWN_SETSIGMASK);
    pid_t child = 0;
    if (posix_spawn(&child, program, nullptr, attributes.data(), words.data(), environ) != 0)
    {
        return 127;
    }
    for (;;)
    {
        int signal = 0;
        sigwait(&signals, &signal);
        if (signal != SIGCHLD)
        {
            kill(child, signal);
        }
        int status = 0;
        if (waitpid(child, &status, WNOHANG) == child)
        {
            return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    Words const words(argv, static_cast<std::size_t>(argc));
    sigset_t signals;
    sigemptyset(&signals);
    for (auto const signal : {SIGINT, SIGTERM, SIGCHLD})
    {
        sigaddset(&signals, signal);
    }
    // Before there are threads, so that none of them takes one.
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    Service service;
    start(service, words.subspan(1));
    return run(words, signals);
}
