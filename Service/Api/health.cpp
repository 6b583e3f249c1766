#include "Api/Parts.h"
#include "Api/openapi.h"
#include "Api/problem.h"
#include "Api/resources.h"
#include "Api/values.h"

#include "Configuration/LibraryStatus.h"

#include <string>

namespace Ravik::Service
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

Value state_value(char const* status, char const* text = nullptr)
{
    Value value(ValueType::Map);
    value.insert("status", text_value(status));
    if (text != nullptr)
    {
        value.insert("text", text_value(text));
    }
    return value;
}

/// Metrics in the text format of Prometheus.
class MetricsText
{
public:
    void add(std::string const& name, char const* type, char const* help, std::string const& value)
    {
        head(name, type, help);
        m_text += name + ' ' + value + '\n';
    }
    void head(std::string const& name, char const* type, char const* help)
    {
        m_text += "# HELP " + name + ' ' + help + "\n# TYPE " + name + ' ' + type + '\n';
    }
    void add_sample(std::string const& name, char const* label, std::string const& of, std::string const& value)
    {
        m_text += name + '{' + label + "=\"" + of + "\"} " + value + '\n';
    }
    std::string take() { return std::move(m_text); }

private:
    std::string m_text;
};

template <typename Number> std::string text(Number number)
{
    return std::to_string(number);
}

LibraryStatus library_of(Call const& call)
{
    return call.parts.project.library_status(std::chrono::milliseconds(0));
}

void add_library(MetricsText& out, LibraryStatus const& library)
{
    if (library.has_joined())
    {
        out.add("ravik_library_connected", "gauge", "Whether there is a link to the library.",
                text(library.has_link() ? 1 : 0));
        out.add("ravik_library_revision", "gauge", "The revision of the library that the recipes stand at.",
                text(library.position.revision));
        out.add("ravik_library_newest_revision", "gauge", "The newest revision that the library is known to have.",
                text(library.newest));
    }
}

} // namespace

Response get_health(Call& /*call*/)
{
    return json_answer(state_value("ok"));
}

Response get_readiness(Call& call)
{
    if (!call.parts.metrics.ready)
    {
        return json_answer(state_value("ending"), 503, {{"Retry-After", "1"}});
    }
    if (!call.parts.project.takes_edits())
    {
        // Nothing to try again: somebody has to make room and start it anew.
        return json_answer(
            state_value("read-only", "an edit could not be stored; nothing can be edited until the next start"), 503);
    }
    auto value = state_value("ok");
    // Without a link everything but editing goes on.
    if (auto const library = library_of(call); library.has_joined())
    {
        value.insert("library", text_value(name_of(library.state)));
    }
    return json_answer(value);
}

Response get_metrics(Call& call)
{
    auto& parts = call.parts;
    auto const& metrics = parts.metrics;
    MetricsText out;
    out.head("ravik_http_answers_total", "counter", "Answers by the class of their status.");
    for (std::size_t digit = 1; digit < metrics.answers.size(); ++digit)
    {
        out.add_sample("ravik_http_answers_total", "class", text(digit) + "xx", text(metrics.answers[digit].load()));
    }
    auto const counts = parts.http_counts ? parts.http_counts() : HttpCounts{};
    out.add("ravik_http_connections", "gauge", "Open connections.", text(counts.connections));
    out.add("ravik_http_streams", "gauge", "Open streams of events.", text(counts.streams));
    out.add("ravik_http_requests_total", "counter", "Requests.", text(counts.requests));
    out.head("ravik_activations_total", "counter", "Activations that ended, by whether all stood as asked.");
    out.add_sample("ravik_activations_total", "outcome", "done", text(metrics.activations_done.load()));
    out.add_sample("ravik_activations_total", "outcome", "failed", text(metrics.activations_failed.load()));
    out.add("ravik_activations_running", "gauge", "Activations that run.", text(parts.activations.running()));
    out.add("ravik_polls_total", "counter", "Readings of watched symbols, one a domain.", text(metrics.polls.load()));
    out.add("ravik_polls_failed_total", "counter", "Readings of watched symbols that got nothing.",
            text(metrics.polls_failed.load()));
    out.add("ravik_sign_ins_refused_total", "counter", "Attempts to sign in that were refused.",
            text(metrics.sign_ins_refused.load()));
    out.head("ravik_lane_work", "gauge", "What runs and waits, by where.");
    for (auto const& [lane, count] : parts.lanes.busy())
    {
        out.add_sample("ravik_lane_work", "lane", lane, text(count));
    }
    add_library(out, library_of(call));
    if (auto const days = parts.certificate_days ? parts.certificate_days() : std::nullopt)
    {
        // A unit in the name would have to be seconds, which nobody thinks of a certificate in.
        out.head("ravik_certificate_ends_in", "gauge", "Time until the certificate ends.");
        out.add_sample("ravik_certificate_ends_in", "unit", "days", text(*days));
    }
    return text_answer(out.take(), "text/plain; version=0.0.4; charset=utf-8");
}

Response get_description(Call& /*call*/)
{
    return {.status = 200, .content_type = "application/json", .fields = {}, .body = description()};
}

} // namespace Ravik::Service
