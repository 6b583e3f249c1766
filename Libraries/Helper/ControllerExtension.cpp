#include "ControllerExtension.h"

#include "PathIterator.h"
#include "api_helper.h"
#include "boundary_guard.h"
#include "extension_frame.h"

namespace RavikSrv
{

namespace
{

/// The configuration with `value` at `path`, which is made where it is missing.
Value with_change(Value configuration, std::string const& path, Value const& value)
{
    if (configuration.type() != ValueType::Map)
    {
        configuration.set_type(ValueType::Map);
    }
    auto* place = &configuration;
    PathIterator components(path);
    while (place != nullptr && components.next())
    {
        place = node(place, components.component(), true);
    }
    if (place != nullptr)
    {
        *place = value;
    }
    return configuration;
}

} // namespace

ResultPair ControllerExtension::init(Context context)
{
    return guarded_result("init",
                          [&]
                          {
                              m_domain = context.domain();
                              auto loaded = load(m_host->get_config_value(context, ""));
                              if (loaded.result() == ErrorValue::SUCCESS)
                              {
                                  m_host->register_listener(context, static_cast<IRavikSrvRequestListener*>(this));
                                  m_host->register_listener(context, static_cast<RavikSrvConfigListener*>(this));
                              }
                              return loaded;
                          });
}

String ControllerExtension::error_string(unsigned code)
{
    return guarded_answer("error_string", String(),
                          [&] { return String(code < m_results.names.size() ? m_results.names[code] : ""); });
}

void ControllerExtension::on_request(Context context, CommandGroup* group)
{
    Commands const commands(*group);
    for (auto& command : commands)
    {
        command.set_extension_result(m_results.internal_error);
    }
    guarded(
        "execute",
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

ResultPair ControllerExtension::before_change(Context context, char const* path, Value& value,
                                              char const* /*schema_type*/)
{
    return guarded_result("before_change",
                          [&] { return check(with_change(m_host->get_config_value(context, ""), path, value)); });
}

ResultPair ControllerExtension::on_change(Context /*context*/, char const* /*path*/, char const* /*schema_type*/)
{
    return ErrorValue::SUCCESS;
}

ResultPair ControllerExtension::on_delete(Context /*context*/, char const* /*path*/, Value const& /*value*/,
                                          char const* /*schema_type*/)
{
    return ErrorValue::SUCCESS;
}

ResultPair ControllerExtension::on_rename(Context /*context*/, char const* /*path*/, char const* /*new_path*/,
                                          char const* /*schema_type*/)
{
    return ErrorValue::SUCCESS;
}

namespace
{

constexpr std::string_view behind_place = "\": expected ";

} // namespace

ResultPair wrong_setting(std::string const& place, std::string const& expected, std::string const& found)
{
    auto const text = '"' + place + std::string(behind_place) + expected + ", found " + found;
    return {ErrorValue::EXTENSION_CONFIG, text.c_str()};
}

std::string refused_place(std::string_view text)
{
    auto const end = text.find(behind_place);
    return text.starts_with('"') && end != std::string_view::npos && end != 0 ? std::string(text.substr(1, end - 1))
                                                                              : std::string();
}

} // namespace RavikSrv
