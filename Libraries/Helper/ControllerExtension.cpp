#include "ControllerExtension.h"

#include "extension_frame.h"

namespace RavikSrv
{

ResultPair ControllerExtension::init(Context context)
{
    ResultPair result(ErrorValue::UNEXPECTED);
    guarded(
        [&]
        {
            m_domain = context.domain();
            result = load(m_host->get_config_value(context, ""));
            if (result.result() == ErrorValue::SUCCESS)
            {
                m_host->register_listener(context, this);
            }
        },
        [&](char const* text)
        {
            result.set_result(ErrorValue::UNEXPECTED);
            result.set_text(text);
        });
    return result;
}

String ControllerExtension::error_string(unsigned code)
{
    // Without memory the answer is no name.
    String name;
    guarded([&] { name = String(code < m_results.names.size() ? m_results.names[code] : ""); }, [](char const*) {});
    return name;
}

void ControllerExtension::on_request(Context context, CommandGroup* group)
{
    Commands const commands(*group);
    for (auto& command : commands)
    {
        command.set_extension_result(m_results.internal_error);
    }
    guarded(
        [&]
        {
            context.set_domain(m_domain.c_str());
            execute(context, *group);
        },
        [&](char const* text)
        {
            for (auto& command : commands)
            {
                if (command.extension_result() == m_results.internal_error)
                {
                    command.set_result_string(text);
                }
            }
        });
    for (auto const& command : commands)
    {
        if (command.extension_result() != 0)
        {
            group->set_result(command.extension_result());
        }
    }
}

ResultPair wrong_setting(std::string const& place, std::string const& expected, std::string const& found)
{
    auto const text = "\"" + place + "\": expected " + expected + ", found " + found;
    return {ErrorValue::EXTENSION_CONFIG, text.c_str()};
}

} // namespace RavikSrv
