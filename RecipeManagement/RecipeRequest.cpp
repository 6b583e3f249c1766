#include "RecipeRequest.h"

#include "configuration_keys.h"
#include "result_pair.h"
#include "symbol_resolution.h"

#include "algorithm_helper.h"
#include "api_helper.h"

namespace RecipeManagement
{

bool RecipeRequest::requested_recipe()
{
    Value const& parameters = m_command.write_value();
    if (parameters.type() != ValueType::Struct)
    {
        set_command_result(m_command, RecipeResult::INVALID_WRITEVALUE);
        return false;
    }
    m_recipe_path = add_path_recipelist(Algorithm::to_string(parameters[Key::path]));
    return true;
}

bool RecipeRequest::resolve_recipe(RecipeResult failure)
{
    auto const resolved = get_symbol_data(m_config, m_recipe_path, m_symbols, Value(), "");
    if (failed(resolved))
    {
        set_command_error(m_command, resolved.text(), failure);
        return false;
    }
    return true;
}

bool RecipeRequest::handle_read_errors(ErrorValue group_error, CommandGroup const& group,
                                       RecipeResult partly_failed) const
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
            set_command_error(m_command, text, RecipeResult::SERVER_ERROR);
            return false;
        }
        ++failures;
        details +=
            std::string(executed->name()) + ": " + m_call.extension_error(domain, executed->extension_result()) + "; ";
    }
    if (!details.empty())
    {
        set_command_error(m_command, std::to_string(failures) + " Symbol(s) failed. " + domain + ": " + details,
                          partly_failed);
        return false;
    }
    if (group_error != ErrorValue::SUCCESS)
    {
        set_command_error(m_command, RavikSrv::get_error_string(group_error).name() + (" - " + domain), partly_failed);
        return false;
    }
    return true;
}

} // namespace RecipeManagement
