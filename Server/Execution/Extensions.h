#pragma once

#include "Execution/Extension.h"
#include "RavikSrvExtApi.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Ravik
{

/// The extensions of a project by their domains. Filled when the project is opened, then only read; thread-safe.
class Extensions
{
public:
    void add(std::unique_ptr<Extension> extension);

    /// Destroys all extension objects, the last one started first.
    void stop() noexcept;

    /// Null where no extension serves the domain.
    Extension* find(std::string const& domain) const;
    /// In the order of their adding.
    std::vector<std::string> const& domains() const noexcept { return m_domains; }

    /// The name of a result code of a domain, empty where the domain or its code is unknown.
    std::string error_string(std::string const& domain, unsigned code) const;

    /// A group of the server's own domain may reach several extensions, each with codes of its own. This makes a code
    /// that stands for both, which `error_string` of the server's domain takes apart again.
    unsigned combined_code(std::string const& domain, unsigned code) const;

private:
    std::map<std::string, std::unique_ptr<Extension>> m_extensions;
    std::vector<std::string> m_domains;
};

} // namespace Ravik
