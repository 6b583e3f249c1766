#pragma once

#include "RavikSrvExtApi.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace RavikSrv
{

/// The frame of an extension that connects a controller: a domain of its own whose symbols stand in the controller.
/// What differs from controller to controller is its settings and what becomes of a command (`load`, `execute`); its
/// `ext_interface` calls `enter_extension`.
///
/// No exception leaves the extension: what `load`, `check` and `execute` throw becomes a failure. All
/// three may call the host, though never with a lock held.
class ControllerExtension : public IRavikSrvExt, private IRavikSrvRequestListener, private RavikSrvConfigListener
{
public:
    /// Loads the settings and, where they are right, registers for the domain's requests and changes.
    ResultPair init(Context context) final;
    String error_string(unsigned code) final;
    /// The group's result becomes that of the last command that failed.
    void on_request(Context context, CommandGroup* group) final;

    /// Refuses settings with which the extension could not be started again. They count from the next start on.
    ResultPair before_change(Context context, char const* path, Value& value, char const* schema_type) final;
    ResultPair on_change(Context context, char const* path, char const* schema_type) final;
    ResultPair on_delete(Context context, char const* path, Value const& value, char const* schema_type) final;
    ResultPair on_rename(Context context, char const* path, char const* new_path, char const* schema_type) final;

protected:
    /// The extension's own result codes; 0 is success.
    struct Results
    {
        /// The codes' names by code. They outlive the extension.
        std::span<char const* const> names;
        /// The code for what nobody foresaw, such as lack of memory.
        std::uint32_t internal_error;
    };

    /// `host` is not owned.
    ControllerExtension(IRavikSrvExtHost* host, Results const& results) noexcept : m_host(host), m_results(results) {}

    IRavikSrvExtHost& host() const noexcept { return *m_host; }

private:
    /// Takes over the domain's configuration. Called once, in `init`; calls nobody but the host, since the
    /// controller may be switched off. Settings that are wrong are refused (`wrong_setting`).
    virtual ResultPair load(Value const& configuration) = 0;

    /// Whether `load` would take this configuration; changes nothing. May be called from several threads at once.
    virtual ResultPair check(Value const& configuration) const = 0;

    /// Executes the commands, which come with the internal error as their result, and leaves the outcome on each of
    /// them. `context` is the request's, but in this extension's own domain: a group may come from another one. May be
    /// called from several threads at once.
    virtual void execute(Context const& context, CommandGroup& group) = 0;

    IRavikSrvExtHost* m_host;
    Results m_results;
    std::string m_domain;
};

/// The refusal of a setting (`EXTENSION_CONFIG`) that stands at `place` of the configuration: what was expected there
/// and what was found.
ResultPair wrong_setting(std::string const& place, std::string const& expected, std::string const& found);

/// The place that the text of such a refusal names; empty for any other text.
std::string refused_place(std::string_view text);

} // namespace RavikSrv
