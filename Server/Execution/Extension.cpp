#include "Execution/Extension.h"

#include "ControllerExtension.h"
#include "algorithm_helper.h"
#include "api_helper.h"
#include "boundary_guard.h"

#include <algorithm>

namespace Ravik
{

using RavikSrv::CommandGroup;
using RavikSrv::Context;
using RavikSrv::ErrorValue;
using RavikSrv::guarded_answer;
using RavikSrv::guarded_result;
using RavikSrv::ResultPair;
using RavikSrv::Value;

namespace
{

std::vector<std::string> texts_of(Value const& vector)
{
    std::vector<std::string> texts;
    for (auto element = vector.begin_vector(); element != vector.end_vector(); ++element)
    {
        texts.push_back(RavikSrv::Algorithm::to_string(*element));
    }
    return texts;
}

std::vector<std::string> paths_of(Value const& settings)
{
    auto paths = settings.size() == 0 ? std::vector<std::string>{} : texts_of(settings[0]["paths"]);
    return paths.empty() ? std::vector<std::string>{"*"} : paths;
}

bool is_of_interest(std::vector<std::string> const& paths, std::string const& path)
{
    return std::any_of(paths.begin(), paths.end(),
                       [&path](std::string const& wanted) {
                           return wanted == "*" || wanted == path ||
                                  path.starts_with(wanted + RavikSrv::path_separator());
                       });
}

bool failed(ResultPair const& result)
{
    return result.result() != ErrorValue::SUCCESS;
}

} // namespace

Extension::Extension(std::string domain, ExtensionLibrary library)
    : m_domain(std::move(domain)), m_library(std::move(library)), m_schema(m_library.schema())
{
    Value const& schema = m_schema;
    m_functions = texts_of(schema["functions"]);
    m_writing_functions = texts_of(schema["writingFunctions"]);
}

bool Extension::has_function(std::string_view name) const
{
    return std::find(m_functions.begin(), m_functions.end(), name) != m_functions.end();
}

bool Extension::is_writing_function(std::string_view name) const
{
    return std::find(m_writing_functions.begin(), m_writing_functions.end(), name) != m_writing_functions.end();
}

void Extension::start(RavikSrv::IRavikSrvExtHost& host, std::vector<Notice> const& entries)
{
    auto fresh = std::make_shared<Instance>();
    fresh->object = m_library.create(host);
    {
        RavikSrv::Lock const lock(m_mutex);
        m_starting = fresh;
    }
    Context context;
    context.set_domain(m_domain.c_str());
    auto const answer = guarded_result("init", [&] { return fresh->object->init(context); });
    tell_entries(*fresh, context, failed(answer) ? std::vector<Notice>() : entries);
    std::shared_ptr<Instance> previous;
    {
        RavikSrv::Lock const lock(m_mutex);
        m_starting.reset();
        if (!failed(answer))
        {
            previous = std::exchange(m_instance, fresh);
        }
    }
    if (failed(answer))
    {
        auto const message = "the extension of domain \"" + m_domain +
                             "\" could not be initialised: " + RavikSrv::get_error_string(answer.result()).name() +
                             (*answer.text() == '\0' ? "" : std::string(", ") + answer.text());
        if (answer.result() != ErrorValue::EXTENSION_CONFIG)
        {
            throw ProjectError(message);
        }
        // A setting of the project file comes before one in the store, which is out of reach now.
        throw RefusedSettings(message + "; correct it in the extension's \"configuration\" in ravik.json",
                              RavikSrv::refused_place(answer.text()));
    }
}

void Extension::tell_entries(Instance const& instance, Context const& context, std::vector<Notice> const& entries)
{
    for (auto const& config : instance.config)
    {
        for (auto const& entry : entries)
        {
            if (is_of_interest(config.paths, entry.path))
            {
                // It is at work for the entries all the same, as for those that it is told of later.
                static_cast<void>(guarded_result(
                    "on_change",
                    [&] { return config.listener->on_change(context, entry.path.c_str(), entry.schema_type); }));
            }
        }
    }
}

void Extension::stop() noexcept
{
    std::shared_ptr<Instance> previous;
    {
        RavikSrv::Lock const lock(m_mutex);
        previous.swap(m_instance);
    }
}

void Extension::add_listener(RavikSrv::IRavikSrvListener* listener, Value const& settings)
{
    RavikSrv::Lock const lock(m_mutex);
    auto const target = m_starting != nullptr ? m_starting : m_instance;
    if (auto* const request = dynamic_cast<RavikSrv::IRavikSrvRequestListener*>(listener); request != nullptr)
    {
        target->request = request;
    }
    else if (auto* const config = dynamic_cast<RavikSrv::IRavikSrvConfigListener*>(listener); config != nullptr)
    {
        target->config.push_back({.listener = config, .paths = paths_of(settings)});
    }
    else if (auto* const exports = dynamic_cast<RavikSrv::IRavikSrvExportListener*>(listener); exports != nullptr)
    {
        target->exports.push_back(exports);
    }
}

std::shared_ptr<Extension::Instance const> Extension::instance() const
{
    RavikSrv::Lock const lock(m_mutex);
    return m_instance != nullptr ? m_instance : m_starting;
}

ResultPair Extension::request(Context const& context, CommandGroup& group)
{
    auto const running = instance();
    if (running == nullptr || running->request == nullptr)
    {
        return {ErrorValue::NOT_REGISTERED, "the extension takes no requests"};
    }
    return guarded_result("on_request",
                          [&]
                          {
                              running->request->on_request(context, &group);
                              return ResultPair();
                          });
}

template <typename Call> ResultPair Extension::ask(char const* question, std::string const& path, Call call)
{
    auto const running = instance();
    if (running == nullptr)
    {
        return {};
    }
    for (auto const& config : running->config)
    {
        auto answer = is_of_interest(config.paths, path)
                          ? guarded_result(question, [&] { return call(*config.listener); })
                          : ResultPair();
        if (failed(answer))
        {
            return answer;
        }
    }
    return {};
}

template <typename Call> ResultPair Extension::tell(char const* notification, std::string const& path, Call call)
{
    auto const running = instance();
    ResultPair first;
    if (running == nullptr)
    {
        return first;
    }
    for (auto const& config : running->config)
    {
        if (is_of_interest(config.paths, path))
        {
            auto const answer = guarded_result(notification, [&] { return call(*config.listener); });
            first = failed(first) ? first : answer;
        }
    }
    return first;
}

ResultPair Extension::before_change(Context const& context, std::string const& path, Value& value,
                                    char const* schema_type)
{
    return ask("before_change", path,
               [&](auto& listener) { return listener.before_change(context, path.c_str(), value, schema_type); });
}

ResultPair Extension::before_import(Context const& context, std::string const& path, Value& value,
                                    Value const& import_data, char const* schema_type)
{
    auto const running = instance();
    if (running == nullptr)
    {
        return {};
    }
    for (auto* const listener : running->exports)
    {
        auto answer =
            guarded_result("before_import", [&]
                           { return listener->before_import(context, path.c_str(), value, import_data, schema_type); });
        if (failed(answer))
        {
            return answer;
        }
    }
    return {};
}

ResultPair Extension::before_delete(Context const& context, std::string const& path, Value const& value,
                                    char const* schema_type)
{
    return ask("before_delete", path,
               [&](auto& listener) { return listener.before_delete(context, path.c_str(), value, schema_type); });
}

ResultPair Extension::before_rename(Context const& context, std::string const& path, std::string const& new_path,
                                    char const* schema_type)
{
    return ask("before_rename", path,
               [&](auto& listener)
               { return listener.before_rename(context, path.c_str(), new_path.c_str(), schema_type); });
}

ResultPair Extension::on_change(Context const& context, std::string const& path, char const* schema_type)
{
    return tell("on_change", path,
                [&](auto& listener) { return listener.on_change(context, path.c_str(), schema_type); });
}

ResultPair Extension::on_delete(Context const& context, std::string const& path, Value const& value,
                                char const* schema_type)
{
    return tell("on_delete", path,
                [&](auto& listener) { return listener.on_delete(context, path.c_str(), value, schema_type); });
}

ResultPair Extension::on_rename(Context const& context, std::string const& path, std::string const& new_path,
                                char const* schema_type)
{
    return tell("on_rename", path,
                [&](auto& listener)
                { return listener.on_rename(context, path.c_str(), new_path.c_str(), schema_type); });
}

std::string Extension::error_string(unsigned code)
{
    auto const running = instance();
    return running == nullptr ? std::string()
                              : guarded_answer("error_string", std::string(),
                                               [&] { return std::string(running->object->error_string(code).name()); });
}

} // namespace Ravik
