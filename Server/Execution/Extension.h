#pragma once

#include "Configuration/ProjectError.h"
#include "Execution/ExtensionLibrary.h"
#include "Mutex.h"
#include "RavikSrvExtApi.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Ravik
{

/// An extension that refuses its settings at its start.
class RefusedSettings : public ProjectError
{
public:
    RefusedSettings(std::string const& message, std::string setting)
        : ProjectError(message), m_setting(std::move(setting))
    {
    }

    /// The path of the setting at fault in the domain's configuration; empty where the extension does not name it.
    std::string const& setting() const noexcept { return m_setting; }

private:
    std::string m_setting;
};

/// An extension at work in its domain: the extension object with the listeners that it registered. Thread-safe; no lock
/// is held while the extension is called.
///
/// Every call stands behind one guard: an exception out of the extension becomes `UNEXPECTED` with its text.
class Extension
{
public:
    Extension(std::string domain, ExtensionLibrary library);

    std::string const& domain() const noexcept { return m_domain; }
    ExtensionLibrary const& shared_object() const noexcept { return m_library; }
    /// The schema of the extension's configuration, null where it ships none.
    RavikSrv::Value const& schema() const noexcept { return m_schema; }
    /// The functions that the schema names. An extension that names none takes commands of every name.
    std::vector<std::string> const& functions() const noexcept { return m_functions; }
    bool has_function(std::string_view name) const;
    /// Whether the schema names the function among those that write configuration.
    bool is_writing_function(std::string_view name) const;

    /// An entry of the configuration that the listeners are told of.
    struct Notice
    {
        std::string path;
        char const* schema_type = "";
    };

    /// Creates the extension object, initialises it and tells it of the entries. Only then it takes the place of a
    /// running one, which is destroyed once nobody is in it; so nobody meets it while it does not know all entries.
    /// Throws `ProjectError` (`RefusedSettings`), and the running one stays.
    void start(RavikSrv::IRavikSrvExtHost& host, std::vector<Notice> const& entries = {});

    /// Destroys the extension object once nobody is in it. Everything that is asked of the extension after that fails.
    void stop() noexcept;

    /// Takes a listener that the extension object registers; `settings` as `IRavikSrvExtHost` tells, null for none.
    void add_listener(RavikSrv::IRavikSrvListener* listener, RavikSrv::Value const& settings);

    /// Hands the group to the extension. `NOT_REGISTERED` where it takes no requests.
    RavikSrv::ResultPair request(RavikSrv::Context const& context, RavikSrv::CommandGroup& group);

    // The configuration listeners, in the order of their registration. A question ends at the first refusal; a
    // notification goes to every listener and answers the first failure.
    RavikSrv::ResultPair before_change(RavikSrv::Context const& context, std::string const& path,
                                       RavikSrv::Value& value, char const* schema_type);
    RavikSrv::ResultPair before_import(RavikSrv::Context const& context, std::string const& path,
                                       RavikSrv::Value& value, RavikSrv::Value const& import_data,
                                       char const* schema_type);
    RavikSrv::ResultPair before_delete(RavikSrv::Context const& context, std::string const& path,
                                       RavikSrv::Value const& value, char const* schema_type);
    RavikSrv::ResultPair before_rename(RavikSrv::Context const& context, std::string const& path,
                                       std::string const& new_path, char const* schema_type);
    RavikSrv::ResultPair on_change(RavikSrv::Context const& context, std::string const& path, char const* schema_type);
    RavikSrv::ResultPair on_delete(RavikSrv::Context const& context, std::string const& path,
                                   RavikSrv::Value const& value, char const* schema_type);
    RavikSrv::ResultPair on_rename(RavikSrv::Context const& context, std::string const& path,
                                   std::string const& new_path, char const* schema_type);

    /// The name that the extension gives to its result code, empty where it knows none.
    std::string error_string(unsigned code);

private:
    struct ConfigListener
    {
        RavikSrv::IRavikSrvConfigListener* listener = nullptr;
        /// The paths of interest; "*" for all.
        std::vector<std::string> paths;
    };

    /// The extension object and its listeners. Whoever calls it keeps it alive meanwhile.
    struct Instance
    {
        std::unique_ptr<RavikSrv::IRavikSrvExt> object;
        RavikSrv::IRavikSrvRequestListener* request = nullptr;
        std::vector<ConfigListener> config;
        std::vector<RavikSrv::IRavikSrvExportListener*> exports;
    };

    std::shared_ptr<Instance const> instance() const;
    template <typename Call> RavikSrv::ResultPair ask(char const* question, std::string const& path, Call call);
    template <typename Call> RavikSrv::ResultPair tell(char const* notification, std::string const& path, Call call);
    static void tell_entries(Instance const& instance, RavikSrv::Context const& context,
                             std::vector<Notice> const& entries);

    std::string m_domain;
    ExtensionLibrary m_library;
    RavikSrv::Value m_schema;
    std::vector<std::string> m_functions;
    std::vector<std::string> m_writing_functions;
    mutable RavikSrv::Mutex m_mutex;
    std::shared_ptr<Instance> m_instance RAVIK_GUARDED_BY(m_mutex);
    /// The instance that is being initialised and takes the listeners.
    std::shared_ptr<Instance> m_starting RAVIK_GUARDED_BY(m_mutex);
};

} // namespace Ravik
