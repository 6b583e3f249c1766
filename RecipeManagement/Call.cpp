#include "Call.h"

#include "configuration_keys.h"

namespace RecipeManagement
{

Value Call::read_symbol_table() const
{
    Context server;
    server.set_domain(server_domain);
    return m_host->get_config_value(server, symbol_table_path);
}

ErrorValue Call::write(std::string const& path, Value const& value) const
{
    return m_host->set_config_value(*m_context, path.c_str(), &value);
}

ErrorValue Call::remove(std::string const& path) const
{
    return m_host->set_config_value(*m_context, path.c_str(), nullptr);
}

std::string Call::config_command(std::string const& path) const
{
    return join_path(std::string(m_context->domain()) + ".Config", path);
}

std::string Call::extension_error(std::string const& domain, unsigned code) const
{
    // Without the internal interface nobody names the code: the number itself still tells something.
    return m_internal_host != nullptr ? m_internal_host->get_extension_error_string(domain.c_str(), code).name()
                                      : std::to_string(code);
}

} // namespace RecipeManagement
