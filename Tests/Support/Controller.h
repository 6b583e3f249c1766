#pragma once

#include "Support/LoadedExtension.h"
#include "Support/values.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace Ravik::Test
{

/// The extension of a controller, loaded from its shared object and started as the domain "Line" of a host of its own,
/// and requests to it. Requests may come from several threads at once.
class Controller
{
public:
    /// Mappings and their values; a null value reads.
    using Accesses = std::vector<std::pair<std::string, Value>>;

    Controller(std::string const& library, Value const& configuration);

    /// Executes the accesses as one group, on behalf of another domain.
    std::vector<Command> send(Accesses const& accesses, std::uint64_t session = 0);
    /// The same; the answer is each command's outcome, with blanks between: a failure's name ("TIMEOUT"), "stopped" for
    /// a command that was left, the value that was read as text, "ok" for a write.
    std::string outcomes(Accesses const& accesses, std::uint64_t session = 0);
    Value read(std::string const& mapping) { return send({{mapping, {}}}).front().read_value(); }
    std::string error_name(unsigned result) const { return m_extension.object().error_string(result).name(); }
    ResultPair started() const { return m_extension.started(); }
    Value configuration() { return host.configuration["Line"]; }

    /// A host whose configuration may be written from several threads. Maps merge into what is there.
    class Host : public RecordingHost
    {
    public:
        explicit Host(Value const& line) { configuration["Line"] = line; }

        /// What comes before each write; the write fails with the answer unless that is success.
        std::function<ErrorValue()> before_write;

        ErrorValue set_config_value(Context const& context, char const* path, Value const* value) override;

    private:
        std::mutex m_mutex;
    } host;

    /// Watches over each request; may be null.
    IRavikSrvRequestWatcher* watcher = nullptr;

private:
    LoadedExtension m_extension;
};

} // namespace Ravik::Test
