#include "RavikSrvExtApi.h"

#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>

// An extension for tests of the server: it does, and misbehaves, as its configuration and its commands say, and tells
// on request what it was asked and told.

namespace
{

using namespace RavikSrv;

class Probe : public IRavikSrvExt, IRavikSrvRequestListener, RavikSrvConfigListener, IRavikSrvExportListener
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
        m_host->register_listener(context, static_cast<IRavikSrvExportListener*>(this));
        m_host->register_listener(context, static_cast<RavikSrvConfigListener*>(this));
        return {};
    }

    String error_string(unsigned code) override { return code == 7 ? String("SEVEN") : String(); }

    /// "log" reads what happened since the last reading, "fail" answers 7, "throw" and "throw int" throw, "config PATH"
    /// writes configuration; anything else echoes.
    void on_request(Context context, CommandGroup* group) override
    {
        auto only_log = true;
        for (auto command = group->begin_vector(); command != group->end_vector(); ++command)
        {
            std::string const mapping = command->mapping();
            if (mapping == "log")
            {
                std::lock_guard const lock(m_mutex);
                command->set_read_value(Value(m_log.c_str()));
                m_log.clear();
                continue;
            }
            only_log = false;
            note(mapping);
            if (mapping == "fail")
            {
                command->set_extension_result(7);
            }
            else if (mapping == "throw")
            {
                throw std::runtime_error("thrown from a request");
            }
            else if (mapping == "throw int")
            {
                throw 5;
            }
            else if (mapping.rfind("config ", 0) == 0)
            {
                Value const& value = command->write_value();
                auto const result =
                    m_host->set_config_value(context, mapping.c_str() + 7, value.isset() ? &value : nullptr);
                command->set_extension_result(static_cast<unsigned>(result));
            }
            else
            {
                command->set_read_value(command->write_value());
            }
        }
        if (!only_log)
        {
            note("|");
        }
    }

    ResultPair before_change(Context /*context*/, char const* path, Value& /*value*/, char const* type) override
    {
        return asked("change?", path, type);
    }
    ResultPair before_delete(Context /*context*/, char const* path, Value const& /*value*/, char const* type) override
    {
        return asked("delete?", path, type);
    }
    ResultPair before_rename(Context /*context*/, char const* path, char const* /*to*/, char const* type) override
    {
        return asked("rename?", path, type);
    }
    ResultPair on_change(Context /*context*/, char const* path, char const* type) override
    {
        note("changed", path, type);
        return {};
    }
    ResultPair on_delete(Context /*context*/, char const* path, Value const& /*value*/, char const* type) override
    {
        note("deleted", path, type);
        return {};
    }
    ResultPair on_rename(Context /*context*/, char const* path, char const* to, char const* type) override
    {
        note("renamed", (path + std::string(">") + to).c_str(), type);
        return {};
    }
    ResultPair before_export(Context /*context*/, char const* /*path*/, Value& /*value*/, Value const& /*data*/,
                             char const* /*type*/) override
    {
        return {};
    }
    ResultPair before_import(Context /*context*/, char const* path, Value& /*value*/, Value const& /*data*/,
                             char const* type) override
    {
        return asked("import?", path, type);
    }

private:
    /// Refuses paths that end with "Refused".
    ResultPair asked(char const* what, std::string const& path, char const* type)
    {
        note(what, path.c_str(), type);
        std::string const end = "Refused";
        auto const refused = path.size() >= end.size() && path.compare(path.size() - end.size(), end.size(), end) == 0;
        return refused ? ResultPair(ErrorValue::INVALID_PARAMETER, "the probe says no") : ResultPair();
    }

    void note(std::string const& what, char const* path = "", char const* type = "")
    {
        std::lock_guard const lock(m_mutex);
        m_log += what + (*path == '\0' ? "" : std::string(" ") + path) +
                 (*type == '\0' ? "" : std::string(" as ") + type) + ";";
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
