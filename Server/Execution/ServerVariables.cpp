#include "Execution/ServerVariables.h"

#include "Configuration/configuration_keys.h"
#include "api_helper.h"

namespace Ravik
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

void ServerVariables::execute(std::vector<RavikSrv::Command*> const& commands)
{
    std::string const domain(server_domain);
    auto const tree = m_configuration.tree(domain);
    Value const& present = tree[Key::variables];
    Value written(ValueType::Map);
    for (auto* const command : commands)
    {
        Value const& value = command->write_value();
        if (value.isset())
        {
            written.insert_or_update(command->mapping(), value);
        }
        else
        {
            // A variable that the same group writes reads as it was written.
            Value const& fresh = written;
            auto const found = fresh.find(command->mapping());
            command->set_read_value(found != fresh.end() ? *found : present[command->mapping()]);
        }
        command->set_result(ErrorValue::SUCCESS);
    }
    auto const result =
        written.empty() ? ErrorValue::SUCCESS : m_writer.write(domain, Key::variables, written, Tree::WriteMode::Merge);
    for (auto* const command : commands)
    {
        Value const& value = command->write_value();
        if (result != ErrorValue::SUCCESS && value.isset())
        {
            command->set_result(result);
            command->set_result_string((std::string(command->name()) + " could not be stored").c_str());
        }
    }
}

} // namespace Ravik
