#include "RavikRecipeManagement.h"
#include "configuration_keys.h"

#include "algorithm_helper.h"
#include "api_helper.h"

namespace RecipeManagement
{

using RavikSrv::Command;
using RavikSrv::CommandGroup;
using RavikSrv::Context;
using RavikSrv::ErrorValue;
using RavikSrv::Value;

bool RavikRecipeManagement::requested_recipe(Command& command, std::string& recipe_path)
{
    Value const& parameters = command.write_value();
    if (parameters.type() != RavikSrv::ValueType::Struct)
    {
        set_command_result(command, RecipeResult::INVALID_WRITEVALUE);
        return false;
    }
    recipe_path = add_path_recipelist(RavikSrv::Algorithm::to_string(parameters[Key::path]));
    return true;
}

bool RavikRecipeManagement::resolve_recipe(Command& command, Value& config, std::string& recipe_path,
                                           SymbolList& symbols, RecipeResult failure)
{
    auto const resolved = get_symbol_data(config, recipe_path, symbols, Value(), "");
    if (resolved.result() != ErrorValue::SUCCESS)
    {
        set_command_error(command, resolved.text(), failure);
        return false;
    }
    return true;
}

Value RavikRecipeManagement::read_symbol_table()
{
    Context server;
    server.set_domain(server_domain);
    return host->get_config_value(server, symbol_table_path);
}

bool RavikRecipeManagement::handle_read_errors(Command& command, ErrorValue group_error, CommandGroup const& group,
                                               RecipeResult partly_failed)
{
    std::size_t failures = 0;
    std::string details;
    std::string const domain = group.domain();
    for (auto executed = group.begin_vector(); executed != group.end_vector(); ++executed)
    {
        if (executed->result() == ErrorValue::SUCCESS)
        {
            continue;
        }
        if (executed->result() != ErrorValue::EXTENSION)
        {
            // The group's error names the failure, not the command's own; the command adds its text.
            std::string text = RavikSrv::get_error_string(group_error).name();
            if (std::string const reason = executed->result_string(); !reason.empty())
            {
                text += ", " + reason;
            }
            set_command_error(command, text, RecipeResult::SERVER_ERROR);
            return true;
        }
        ++failures;
        details += std::string(executed->name()) + ": " + extension_error(domain, executed->extension_result()) + "; ";
    }
    if (!details.empty())
    {
        set_command_error(command, std::to_string(failures) + " Symbol(s) failed. " + domain + ": " + details,
                          partly_failed);
        return true;
    }
    if (group_error != ErrorValue::SUCCESS)
    {
        set_command_error(command, RavikSrv::get_error_string(group_error).name() + (" - " + domain), partly_failed);
        return true;
    }
    return false;
}

std::string RavikRecipeManagement::extension_error(std::string const& domain, unsigned code)
{
    // Without the internal interface nobody names the code: the number itself still tells something.
    return internal_host != nullptr ? internal_host->get_extension_error_string(domain.c_str(), code).name()
                                    : std::to_string(code);
}

} // namespace RecipeManagement
