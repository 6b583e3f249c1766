#pragma once

#include "Support/LoadedExtension.h"

#include <functional>
#include <initializer_list>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace Ravik::Test
{

/// A map of these entries.
RavikSrv::Value map(std::initializer_list<std::pair<char const*, RavikSrv::Value>> entries);

/// The extension of a controller, loaded from its shared object and started as the domain "Line" of a host of its own,
/// and requests to it. Requests may come from several threads at once.
class Controller
{
public:
    /// Mappings and their values; a null value reads.
    using Accesses = std::vector<std::pair<std::string, RavikSrv::Value>>;

    Controller(std::string const& library, RavikSrv::Value const& configuration);

    /// Executes the accesses as one group, on behalf of another domain.
    std::vector<RavikSrv::Command> send(Accesses const& accesses);
    /// The same; the answer is each command's outcome, with blanks between: a failure's name ("TIMEOUT"), the value
    /// that was read as text, "ok" for a write.
    std::string outcomes(Accesses const& accesses);
    RavikSrv::Value read(std::string const& mapping) { return send({{mapping, {}}}).front().read_value(); }
    std::string error_name(unsigned result) const { return m_extension.object().error_string(result).name(); }
    RavikSrv::ResultPair started() const { return m_extension.started(); }
    RavikSrv::Value configuration() { return host.configuration["Line"]; }

    /// A host whose configuration may be written from several threads. Maps merge into what is there.
    class Host : public RecordingHost
    {
    public:
        explicit Host(RavikSrv::Value const& line) { configuration["Line"] = line; }

        /// What comes before each write; the write fails with the answer unless that is success.
        std::function<RavikSrv::ErrorValue()> before_write;

        RavikSrv::ErrorValue set_config_value(RavikSrv::Context const& context, char const* path,
                                              RavikSrv::Value const* value) override;

    private:
        std::mutex m_mutex;
    } host;

private:
    LoadedExtension m_extension;
};

} // namespace Ravik::Test
