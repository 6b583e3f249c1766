#pragma once

#include "RavikSrvExtApi.h"
#include "Variables.h"

#include <string>
#include <utility>
#include <vector>

namespace Simulation
{

/// A controller without hardware, for demonstrations, tests and the commissioning of recipes: an extension of a domain
/// of its own whose symbols are the variables that its configuration names.
///
/// The settings (`Variables::load`) are read once, when the server starts the extension. A command reads or writes the
/// variable that its `mapping()` names. Each command of a group succeeds or fails by itself; a value that was written
/// stands at once, and all values of a group are kept for the next start with one write to the configuration.
class RavikSimulation : public RavikSrv::IRavikSrvExt, private RavikSrv::IRavikSrvRequestListener
{
public:
    /// `host` is not owned.
    explicit RavikSimulation(RavikSrv::IRavikSrvExtHost* host) noexcept : m_host(host) {}

    /// Refuses settings of a wrong type with `EXTENSION_CONFIG`.
    RavikSrv::ResultPair init(RavikSrv::Context context) override;
    RavikSrv::String error_string(unsigned code) override;
    void on_request(RavikSrv::Context context, RavikSrv::CommandGroup* group) override;

private:
    /// The commands of a group that have written, and the variables that they wrote.
    struct Written
    {
        Variables::Names names;
        std::vector<RavikSrv::Command*> commands;
    };

    void execute(RavikSrv::Command& command, Written& written);
    void keep(RavikSrv::Context const& context, Written const& written);

    RavikSrv::IRavikSrvExtHost* m_host;
    std::string m_domain;
    Variables m_variables;
};

} // namespace Simulation
