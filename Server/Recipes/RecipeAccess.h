#pragma once

#include "Configuration/Pin.h"
#include "Execution/Core.h"
#include "Execution/FunctionOutcome.h"
#include "History/Origin.h"

#include "RavikSrvExtApi.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace Ravik
{

/// The recipe management as what is done with recipes sees it: its functions and its configuration. Thread-safe.
class RecipeAccess
{
public:
    using Function = std::function<FunctionOutcome(RavikSrv::Session request, std::string const& function,
                                                   RavikSrv::Value const& parameters, Origin const& origin)>;

    /// The core outlives it.
    RecipeAccess(Core& core, Function function) : m_core(core), m_function(std::move(function)) {}

    /// Holds on to the configuration as it stands for what this thread asks and reads next.
    [[nodiscard]] Configuration::Pin pin() const { return Configuration::Pin(m_core.configuration); }
    RavikSrv::Session begin_request() const { return m_core.executor.recorder().new_session(); }
    /// Calls a function with one parameter, or with whatever it takes.
    FunctionOutcome call(RavikSrv::Session request, std::string const& function, char const* key,
                         std::string const& value, Origin const& origin = {}) const;
    FunctionOutcome call(RavikSrv::Session request, std::string const& function,
                         RavikSrv::Value const& parameters) const
    {
        return m_function(request, function, parameters, {});
    }

    /// The configuration; null where the project has no recipe management.
    RavikSrv::Value configuration() const;
    /// The recipe of a name, null where there is none.
    RavikSrv::Value recipe(std::string const& name) const;
    /// The names of all recipes, in the order of the configuration.
    std::vector<std::string> names() const;

private:
    Core& m_core;
    Function m_function;
};

} // namespace Ravik
