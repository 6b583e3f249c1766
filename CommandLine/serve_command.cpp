#include "commands.h"

#include "service_manager.h"

#include "Project/ServiceSettings.h"
#include "Service.h"

#include <boost/algorithm/string/split.hpp>

#include <algorithm>
#include <csignal>
#include <iostream>
#include <sys/resource.h>
#include <unistd.h>

namespace Ravik::CommandLine
{

namespace
{

/// The signals that a service listens to. They are taken by whoever waits for them, so they are kept from all threads,
/// those to come included.
class Signals
{
public:
    Signals()
    {
        sigemptyset(&m_set);
        for (auto const signal : {SIGINT, SIGTERM, SIGHUP})
        {
            sigaddset(&m_set, signal);
        }
        static_cast<void>(::pthread_sigmask(SIG_BLOCK, &m_set, &m_before));
    }
    Signals(Signals const&) = delete;
    Signals& operator=(Signals const&) = delete;
    ~Signals() { static_cast<void>(::pthread_sigmask(SIG_SETMASK, &m_before, nullptr)); }

    int wait() const
    {
        int signal = 0;
        return ::sigwait(&m_set, &signal) == 0 ? signal : SIGTERM;
    }

private:
    sigset_t m_set = {};
    sigset_t m_before = {};
};

ServiceSettings settings_of(Invocation const& invocation)
{
    auto settings = read_service_settings(invocation.directory());
    if (!invocation.has(Option::listen))
    {
        return settings;
    }
    settings.listen.clear();
    std::vector<std::string> texts;
    auto const value = invocation.value(Option::listen);
    boost::algorithm::split(texts, value, [](char character) { return character == ','; });
    for (auto const& text : texts)
    {
        auto const address = read_listen_address(text);
        if (!address)
        {
            throw UsageError("--listen takes HOST:PORT, such as 127.0.0.1:8420 or [::1]:0, not '" + text + "'");
        }
        settings.listen.push_back(*address);
    }
    return settings;
}

Service::Log::Form log_form(Invocation const& invocation)
{
    auto const form = invocation.has(Option::log) ? invocation.value(Option::log) : "text";
    if (form != "text" && form != "json")
    {
        throw UsageError("--log takes text or json, not '" + form + "'");
    }
    return form == "json" ? Service::Log::Form::json : Service::Log::Form::text;
}

/// Each connection takes a file descriptor, and a shell gives a program fewer than the connections it is to take.
void allow_descriptors(std::size_t connections)
{
    constexpr rlim_t all_else = 512;
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0)
    {
        limit.rlim_cur = std::max(limit.rlim_cur, std::min<rlim_t>(limit.rlim_max, connections + all_else));
        static_cast<void>(::setrlimit(RLIMIT_NOFILE, &limit));
    }
}

/// Secrets go to a person, never into a file of messages.
void show_start_link(Service::Service& service)
{
    auto const link = service.start_link();
    if (!link.empty() && ::isatty(STDERR_FILENO) == 1)
    {
        std::cerr << "There is no user yet. Good for one sign-in within ten minutes: " << link << std::endl;
    }
}

void serve_until_told(Service::Service& service, Signals const& signals)
{
    while (true)
    {
        if (signals.wait() != SIGHUP)
        {
            return;
        }
        service.reload();
    }
}

} // namespace

Answer serve(Invocation& invocation)
{
    Service::Log log(log_form(invocation));
    auto const settings = settings_of(invocation);
    allow_descriptors(settings.limits.connections);
    Signals const signals;
    ProjectFileMark const file(invocation.directory());
    auto const project = Project::open(invocation.directory(), invocation.open_options());
    for (auto const& warning : project->warnings())
    {
        log.tell("warning", warning);
    }
    Service::Service service(invocation.directory(), file, *project, settings, log);
    service.start();
    for (auto const& address : service.addresses())
    {
        log.tell("listening", "Listening on " + address, {{"address", address}});
    }
    show_start_link(service);
    tell_service_manager("READY=1");
    serve_until_told(service, signals);
    tell_service_manager("STOPPING=1");
    log.tell("ending", "Ending: running activations come to their end first");
    service.stop();
    return {};
}

} // namespace Ravik::CommandLine
