#include "RavikSrvExtApi.h"

#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>

// An extension for tests of the server: it does, and misbehaves, as its configuration and its commands say, and tells
// on request what it was asked and told.

namespace
{

using namespace RavikSrv;

class Probe : public IRavikSrvExt, IRavikSrvRequestListener, RavikSrvConfigListener
{
public:
    explicit Probe(IRavikSrvExtHost* host) : m_host(host) {}

    ResultPair init(Context context) override
    {
        Value const configuration = m_host->get_config_value(context, "");
        std::string const fault = configuration["fault"].get_string();
        if (fault == "throw")
        {
            throw std::runtime_error("thrown from init");
        }
        if (fault == "refuse")
        {
            return {ErrorValue::INIT, "refused by init"};
        }
        m_host->register_listener(context, static_cast<IRavikSrvRequestListener*>(this));
        m_host->register_listener(context, static_cast<RavikSrvConfigListener*>(this));
        return {};
    }

    String error_string(unsigned code) override { return code == 7 ? String("SEVEN") : String(); }

    void on_request(Context context, CommandGroup* group) override
    {
        std::string mapping;
        for (auto command = group->begin_vector(); command != group->end_vector(); ++command)
        {
            mapping = command->mapping();
            execute(context, mapping, *command);
        }
        note(mapping == "log" ? "" : "|;");
    }

    ResultPair before_change(Context /*context*/, char const* /*path*/, Value& /*value*/, char const* /*type*/) override
    {
        return {};
    }
    ResultPair on_change(Context /*context*/, char const* path, char const* type) override
    {
        return told("changed ", path, type);
    }
    ResultPair on_delete(Context /*context*/, char const* path, Value const& /*value*/, char const* type) override
    {
        return told("deleted ", path, type);
    }
    ResultPair on_rename(Context /*context*/, char const* path, char const* /*to*/, char const* type) override
    {
        return told("renamed ", path, type);
    }

private:
    /// "log" reads what happened since the last reading, "fail" answers 7, "throw" and "throw int" throw, "config PATH"
    /// writes configuration; anything else echoes.
    void execute(Context const& context, std::string const& mapping, Command& command)
    {
        Value const value = std::as_const(command).write_value();
        if (mapping == "log")
        {
            std::lock_guard const lock(m_mutex);
            command.set_read_value(Value(std::exchange(m_log, "").c_str()));
            return;
        }
        note(mapping + ";");
        if (mapping == "throw")
        {
            throw std::runtime_error("thrown from a request");
        }
        if (mapping == "throw int")
        {
            throw 5;
        }
        if (mapping.starts_with("config "))
        {
            auto const result = m_host->set_config_value(context, &mapping[7], value.isset() ? &value : nullptr);
            command.set_extension_result(static_cast<unsigned>(result));
            return;
        }
        command.set_read_value(value);
        command.set_extension_result(mapping == "fail" ? 7 : 0);
    }

    ResultPair told(std::string const& what, std::string const& path, std::string const& type)
    {
        note(what + path + (type.empty() ? ";" : " as " + type + ";"));
        return {};
    }

    void note(std::string const& text)
    {
        std::lock_guard const lock(m_mutex);
        m_log += text;
    }

    IRavikSrvExtHost* m_host;
    std::mutex m_mutex;
    std::string m_log;
};

} // namespace

extern "C" __attribute__((visibility("default"))) int ext_interface(IRavikSrvExtHost* host, IRavikSrvExt** extension,
                                                                    double* version)
{
    *extension = std::make_unique<Probe>(host).release();
    *version = PROBE_VERSION;
    return 0;
}
