#pragma once

#include "Variables.h"

#include "ControllerExtension.h"
#include "RavikSrvExtApi.h"

#include <vector>

namespace Simulation
{

/// A controller without hardware, for demonstrations, tests and the commissioning of recipes: an extension of a domain
/// of its own whose symbols are the variables that its configuration names.
///
/// The settings (`Variables::load`) are read once, when the server starts the extension. A command reads or writes the
/// variable that its `mapping()` names. Each command of a group succeeds or fails by itself; a value that was written
/// stands at once, and all values of a group are kept for the next start with one write to the configuration.
class RavikSimulation : public RavikSrv::ControllerExtension
{
public:
    /// `host` is not owned.
    explicit RavikSimulation(RavikSrv::IRavikSrvExtHost* host) noexcept;

private:
    /// The commands of a group that have written, and the variables that they wrote.
    struct Written
    {
        Variables::Names names;
        std::vector<RavikSrv::Command*> commands;
    };

    RavikSrv::ResultPair load(RavikSrv::Value const& configuration) override;
    RavikSrv::ResultPair check(RavikSrv::Value const& configuration) const override;
    void execute(RavikSrv::Context const& context, RavikSrv::CommandGroup& group) override;
    void access(RavikSrv::Command& command, Written& written);
    RavikSrv::ErrorValue keep(RavikSrv::Context const& context, Written const& written);

    Variables m_variables;
};

} // namespace Simulation
