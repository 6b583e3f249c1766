#include "Support/Controller.h"

#include "algorithm_helper.h"

#include <gtest/gtest.h>

namespace Ravik::Test
{

Controller::Controller(std::string const& library, Value const& configuration)
    : host(configuration), m_extension(library, host, "Line")
{
    EXPECT_EQ(m_extension.version(), 19.0);
}

std::vector<Command> Controller::send(Accesses const& accesses, std::uint64_t session)
{
    CommandGroup group;
    for (auto const& [mapping, value] : accesses)
    {
        Command command("Symbol");
        command.set_mapping(mapping.c_str());
        command.set_write_value(value);
        group.insert(group.end_vector(), command);
    }
    Context context;
    context.set_domain("Other");
    context.set_session(Session(session));
    context.set_watcher(watcher);
    m_extension.requests().on_request(context, &group);

    unsigned last_failure = 0;
    std::vector<Command> answered(group.begin_vector(), group.end_vector());
    for (auto const& command : answered)
    {
        last_failure = command.extension_result() != 0 ? command.extension_result() : last_failure;
        EXPECT_EQ(command.result() != ErrorValue::SUCCESS, *command.result_string() != '\0') << "a failure says why";
    }
    EXPECT_EQ(group.result(), last_failure);
    return answered;
}

std::string Controller::outcomes(Accesses const& accesses, std::uint64_t session)
{
    std::string text;
    for (auto const& command : send(accesses, session))
    {
        text += text.empty() ? "" : " ";
        text += command.extension_result() != 0               ? error_name(command.extension_result())
                : command.result() == ErrorValue::INTERRUPTED ? "stopped"
                : command.write_value().isset()               ? "ok"
                                                              : Algorithm::to_string(command.read_value());
    }
    return text;
}

ErrorValue Controller::Host::set_config_value(Context const& context, char const* path, Value const* value)
{
    if (auto const failure = before_write ? before_write() : ErrorValue::SUCCESS; failure != ErrorValue::SUCCESS)
    {
        return failure;
    }
    std::lock_guard const lock(m_mutex);
    auto merged = get_config_value(context, path);
    for (auto entry = value->begin(); entry != value->end(); ++entry)
    {
        merged.insert_or_update(entry.name(), *entry);
    }
    return RecordingHost::set_config_value(context, path, &merged);
}

} // namespace Ravik::Test
