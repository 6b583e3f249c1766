#include "Service.h"

#include "Access/Access.h"
#include "Api/Api.h"
#include "Client/SocketServer.h"
#include "Http/HttpServer.h"

#include "embedded_page.h"

#include "Configuration/ProjectError.h"
#include "History/timestamp.h"
#include "Json/unicode.h"

#include <boost/algorithm/string/case_conv.hpp>

#include <algorithm>
#include <thread>

namespace Ravik::Service
{

using std::chrono::milliseconds;

namespace
{

constexpr std::chrono::seconds activations_end{30};
constexpr milliseconds answers_leave{5000};
constexpr milliseconds users_looked_at{200};
constexpr milliseconds library_looked_at{1000};

bool is_loopback(std::string const& host)
{
    return host == "localhost" || host == "::1" || host.starts_with("127.");
}

bool is_open_to_others(ServiceSettings const& settings)
{
    return std::any_of(settings.listen.begin(), settings.listen.end(),
                       [](ListenAddress const& address) { return !is_loopback(address.host); });
}

void check_openness(ServiceSettings const& settings, Access& access)
{
    if (!is_open_to_others(settings))
    {
        return;
    }
    if (!settings.tls)
    {
        throw ProjectError("to be reached from other machines the service needs TLS: \"service\": {\"tls\": "
                           "{\"certificate\": …, \"key\": …}} in ravik.json; without it it listens on 127.0.0.1 alone");
    }
    if (!access.has_anybody())
    {
        throw ProjectError(
            "to be reached from other machines the service needs a user: ravik user add NAME --role admin");
    }
}

HttpSettings http_settings(ServiceSettings const& settings)
{
    HttpSettings http;
    for (auto const& address : settings.listen)
    {
        http.listen.push_back({address.host, address.port});
    }
    if (settings.tls)
    {
        http.tls = TlsFiles{settings.tls->certificate.string(), settings.tls->key.string()};
    }
    http.proxies = settings.proxies;
    http.limits.header = settings.limits.header;
    http.limits.header_time = settings.limits.header_time;
    http.limits.least_rate = settings.limits.least_rate;
    http.limits.connections = settings.limits.connections;
    http.limits.user_connections = settings.limits.user_connections;
    http.limits.unknown_connections = settings.limits.unknown_connections;
    return http;
}

/// An address cannot be made to lead here by somebody else's name server, so those it listens on are names of its own.
ApiSettings api_settings(ServiceSettings const& settings)
{
    ApiSettings api{.names = {}, .body = settings.limits.body, .import = settings.limits.import};
    for (auto const& name : settings.names)
    {
        api.names.push_back(boost::algorithm::to_lower_copy(name));
    }
    for (auto const& address : settings.listen)
    {
        api.names.push_back(address.host);
    }
    return api;
}

/// The folder's name, empty where it is no text.
std::string name_of(std::filesystem::path const& directory)
{
    auto name = std::filesystem::canonical(directory).filename().string();
    return Json::is_readable(name) ? name : std::string();
}

std::unique_ptr<Access> open_access(std::filesystem::path const& directory)
{
    try
    {
        return std::make_unique<Access>(users_file_of(directory));
    }
    catch (std::runtime_error const& error)
    {
        throw ProjectError(error.what());
    }
}

} // namespace

class Service::Implementation
{
public:
    Implementation(std::filesystem::path const& directory, ProjectFileMark const& file, Project& project,
                   ServiceSettings const& settings, Log& log)
        : m_project(project), m_log(log), m_access(open_access(directory)), m_devices(m_lanes),
          m_watch(project, m_lanes, m_metrics, settings.poll), m_parts{project,   *m_access, log,     m_lanes,
                                                                       m_devices, m_texts,   m_plans, m_activations,
                                                                       m_watch,   m_metrics, m_page,  m_changes},
          m_api(m_parts, api_settings(settings))
    {
        check_openness(settings, *m_access);
        remember_requests();
        try
        {
            m_http = std::make_unique<HttpServer>(http_settings(settings), m_api, log);
        }
        catch (std::runtime_error const& error)
        {
            throw ProjectError(error.what());
        }
        m_parts.project_name = name_of(directory);
        m_parts.import_values = settings.limits.import_values;
        m_parts.http_counts = [this] { return m_http->counts(); };
        m_parts.certificate_days = [this] { return m_http->certificate_days(); };
        m_socket = std::make_unique<SocketServer>(
            project, SocketServer::Settings{.directory = directory,
                                            .file = file,
                                            .group = settings.group,
                                            .warn = [&log](std::string const& text) { log.tell("socket", text); }});
    }

    Implementation(Implementation const&) = delete;
    Implementation& operator=(Implementation const&) = delete;
    /// What is in the lanes works with everything here.
    ~Implementation() { m_lanes.finish(); }

    std::vector<std::string> addresses() const { return m_http->addresses(); }

    std::string start_link()
    {
        if (addresses().empty())
        {
            // It listens on the project's own socket alone.
            return {};
        }
        auto const token = m_access->make_start_token();
        return token ? addresses().front() + "#token=" + *token : std::string();
    }

    void start()
    {
        // So that nobody waits for it later.
        static_cast<void>(m_lanes.post("changes", {1, 1}, [this] { m_changes.catch_up(); }));
        m_http->start();
        m_http->post(
            [this]
            {
                m_watch.start({[this](std::function<void()> work) { m_http->post(std::move(work)); },
                               [this](milliseconds delay, std::function<void()> work)
                               { m_http->after(delay, std::move(work)); }});
                look_at_users();
                look_at_library();
            });
        m_metrics.ready = true;
    }

    void reload()
    {
        auto const trouble = m_http->reload_tls();
        m_log.tell("tls",
                   trouble.empty() ? "the certificate was read again" : "the certificate stays as it was: " + trouble);
    }

    void stop()
    {
        m_metrics.ready = false;
        m_http->drain();
        std::thread calls([this] { m_socket->stop(); });
        auto const deadline = std::chrono::steady_clock::now() + activations_end;
        while (m_devices.writing() > 0 && std::chrono::steady_clock::now() < deadline)
        {
            std::this_thread::sleep_for(milliseconds(20));
        }
        m_activations.stop_all();
        calls.join();
        m_http->stop("the service ends", answers_leave);
        m_lanes.finish();
    }

private:
    /// What was asked for before the service was started is not done again.
    void remember_requests()
    {
        auto const since = timestamp(std::chrono::system_clock::now() - std::chrono::hours(24));
        auto const found = m_project.history_requests(since);
        // The oldest first.
        auto records = found.records;
        std::reverse(records.begin(), records.end());
        for (auto const& record : records)
        {
            auto const& request = record.body["request"];
            if (request[Activations::key_name].empty())
            {
                continue;
            }
            auto const time = read_timestamp(record.time).value_or(std::chrono::system_clock::now());
            Activations::Request const known{.who = record.who,
                                             .key = std::string(request[Activations::key_name].get_text()),
                                             .fingerprint =
                                                 std::string(request[Activations::fingerprint_name].get_text())};
            m_activations.settle(known, record.id, time);
            m_activations.finish(known);
        }
    }

    /// The file of users may be changed by others.
    void look_at_users()
    {
        m_access->refresh();
        if (auto const problem = m_access->problem(); problem != m_users_problem)
        {
            m_users_problem = problem;
            m_log.tell("users", problem.empty() ? "the file of users can be read again" : problem);
        }
        m_http->after(users_looked_at, [this] { look_at_users(); });
    }

    /// Tells of a link to the library that is lost or back, of a copy that follows no more, and of edits that nobody
    /// knows of.
    void look_at_library()
    {
        auto const status = m_project.library_status(std::chrono::milliseconds(0));
        auto text = std::string(name_of(status.state)) + (status.why.empty() ? "" : ": " + status.why);
        text += status.copy_failure.empty() ? "" : "; the copy could not be written: " + status.copy_failure;
        for (auto const& edit : status.unknown_edits)
        {
            text += "; not known yet is the outcome of the edit " + edit;
        }
        if (!status.server.empty() && text != m_library_state)
        {
            m_library_state = text;
            m_log.tell("library", text);
        }
        m_http->after(library_looked_at, [this] { look_at_library(); });
    }

    Project& m_project;
    Log& m_log;
    std::unique_ptr<Access> m_access;
    Lanes m_lanes;
    DeviceWork m_devices;
    EntryTexts m_texts;
    LastChanges m_changes{m_project};
    Plans m_plans;
    Activations m_activations;
    Metrics m_metrics;
    PageFiles const m_page{WebPage::embedded_page()};
    Watch m_watch;
    Parts m_parts;
    Api m_api;
    std::string m_users_problem;
    std::string m_library_state;
    std::unique_ptr<HttpServer> m_http;
    std::unique_ptr<SocketServer> m_socket;
};

Service::Service(std::filesystem::path const& directory, ProjectFileMark const& file, Project& project,
                 ServiceSettings const& settings, Log& log)
    : m_implementation(std::make_unique<Implementation>(directory, file, project, settings, log))
{
}

Service::~Service() = default;

std::vector<std::string> Service::addresses() const
{
    return m_implementation->addresses();
}

std::string Service::start_link()
{
    return m_implementation->start_link();
}

void Service::start()
{
    m_implementation->start();
}

void Service::reload()
{
    m_implementation->reload();
}

void Service::stop()
{
    m_implementation->stop();
}

} // namespace Ravik::Service
