#pragma once

#include "Execution/ConfigurationWriter.h"
#include "RavikSrvExtApi.h"

#include <vector>

namespace Ravik
{

/// The variables of the server's own domain. Their values stand in the store, under "values" of that domain, by the
/// addresses of their symbols. Thread-safe.
class ServerVariables
{
public:
    ServerVariables(Configuration const& configuration, ConfigurationWriter& writer)
        : m_configuration(configuration), m_writer(writer)
    {
    }

    /// Executes commands whose `mapping()` is the variable: the reads in their order, then all writes at once. Each
    /// command carries its outcome; a variable that was never written reads as null.
    void execute(std::vector<RavikSrv::Command*> const& commands);

private:
    Configuration const& m_configuration;
    ConfigurationWriter& m_writer;
};

} // namespace Ravik
