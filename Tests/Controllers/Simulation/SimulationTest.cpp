#include "RavikSrvExtApi.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace RavikSrv;

namespace
{

Value map(std::initializer_list<std::pair<char const*, Value>> entries)
{
    Value result(ValueType::Map);
    for (auto const& [name, value] : entries)
    {
        result.insert(name, value);
    }
    return result;
}

/// Keeps the configuration of one domain and merges what is written to it.
class ConfigurationHost : public IRavikSrvExtHost
{
public:
    explicit ConfigurationHost(Value configuration) : m_configuration(std::move(configuration)) {}

    ErrorValue execute_command_group(Context const&, CommandGroup*) override { return ErrorValue::FAIL; }
    ErrorValue execute_command(Context const&, Command*) override { return ErrorValue::FAIL; }
    void register_listener(Context const&, IRavikSrvListener* added) override
    {
        listener = dynamic_cast<IRavikSrvRequestListener*>(added);
    }
    void register_listener(Context const&, IRavikSrvListener*, Value const&) override { FAIL(); }

    ErrorValue set_config_value(Context const& context, char const* path, Value const* value) override
    {
        EXPECT_STREQ(context.domain(), "Line");
        if (on_write)
        {
            on_write();
        }
        std::lock_guard const lock(m_mutex);
        ++writes;
        if (fails == ErrorValue::SUCCESS)
        {
            for (auto entry = value->begin(); entry != value->end(); ++entry)
            {
                m_configuration[path].insert_or_update(entry.name(), *entry);
            }
        }
        return fails;
    }

    Value get_config_value(Context const& context, char const* path) override
    {
        EXPECT_STREQ(context.domain(), "Line");
        std::lock_guard const lock(m_mutex);
        return *path == '\0' ? m_configuration : std::as_const(m_configuration)[path];
    }

    IRavikSrvRequestListener* listener = nullptr;
    std::function<void()> on_write;
    ErrorValue fails = ErrorValue::SUCCESS;
    int writes = 0;

private:
    std::mutex m_mutex;
    Value m_configuration;
};

Context line()
{
    Context context;
    context.set_domain("Line");
    return context;
}

/// The extension on a host of its own, entered as a server enters it.
class Controller
{
public:
    explicit Controller(Value const& configuration) : host(configuration)
    {
        // NODELETE: type information of the library is used until the end of the process.
        auto* const library = dlopen(SIMULATION_LIBRARY, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
        auto* const symbol = library == nullptr ? nullptr : dlsym(library, "ext_interface");
        if (symbol == nullptr)
        {
            throw std::runtime_error(dlerror());
        }
        auto const enter = reinterpret_cast<int (*)(IRavikSrvExtHost*, IRavikSrvExt**, double*)>(symbol);
        IRavikSrvExt* made = nullptr;
        double version = 0;
        EXPECT_EQ(enter(&host, &made, nullptr), 0);
        EXPECT_EQ(enter(&host, nullptr, &version), 0);
        EXPECT_TRUE(made == nullptr && version == 0);
        EXPECT_EQ(enter(&host, &made, &version), 0);
        EXPECT_EQ(version, 19.0);
        extension.reset(made);
        started = extension->init(line());
        dlclose(library);
    }

    /// Sends one group, from the domain that activates recipes; a null value reads.
    std::vector<Command> send(std::vector<std::pair<char const*, Value>> const& accesses)
    {
        CommandGroup group;
        for (auto const& [variable, value] : accesses)
        {
            Command command("Symbol");
            command.set_mapping(variable);
            command.set_write_value(value);
            group.insert(group.end_vector(), command);
        }
        Context context;
        context.set_domain("RavikRecipeManagement");
        host.listener->on_request(context, &group);
        last_group_result = group.result();
        return {group.begin_vector(), group.end_vector()};
    }

    std::string outcome(Command const& command) const
    {
        return extension->error_string(command.extension_result()).name();
    }
    std::string write(char const* variable, Value const& value) { return outcome(send({{variable, value}}).front()); }
    Value read(char const* variable) { return send({{variable, Value()}}).front().read_value(); }
    Value configuration() { return host.get_config_value(line(), ""); }

    ConfigurationHost host;
    std::unique_ptr<IRavikSrvExt> extension;
    ResultPair started;
    std::uint32_t last_group_result = 0;
};

Value press(Value const& write_protected = Value(), Value const& unreachable = Value())
{
    auto const list = map({{"Layers", Value(ValueType::Vector)}});
    return map({{"variables", map({{"Count", 1},
                                   {"Total", 5'000'000'000L},
                                   {"Force", 2.5},
                                   {"On", false},
                                   {"Program", "A"},
                                   {"Any", Value()},
                                   {"Pattern", list}})},
                {"writeProtected", write_protected},
                {"unreachable", unreachable}});
}

TEST(Simulation, takes_a_value_where_nothing_is_lost)
{
    Controller controller(press());
    ASSERT_EQ(controller.started.result(), ErrorValue::SUCCESS) << controller.started.text();
    auto const pattern = map({{"Layers", 4}});
    struct Case
    {
        char const* variable;
        Value written;
        Value stands; // null: the value is refused
    };
    std::vector<Case> const cases = {
        {"Count", 7, 7},         {"Count", 8L, 8},         {"Count", 9.0, 9},
        {"Count", true, 1},      {"Count", 3.7, {}},       {"Count", 5'000'000'000L, {}},
        {"Count", "many", {}},   {"Total", 3, 3L},         {"Total", 9.2e18, 9'200'000'000'000'000'000L},
        {"Total", 9.3e18, {}},   {"Force", 4, 4.0},        {"Force", 9'007'199'254'740'993L, {}},
        {"Force", "strong", {}}, {"On", 1, true},          {"On", 2, {}},
        {"Program", "B", "B"},   {"Program", pattern, {}}, {"Pattern", pattern, pattern},
        {"Pattern", 1, {}},      {"Any", "text", "text"},  {"Any", 3.7, 3.7},
    };
    for (auto const& [variable, written, stands] : cases)
    {
        auto const before = controller.read(variable);
        auto const accepted = stands.isset();
        EXPECT_EQ(controller.write(variable, written), accepted ? "SUCCESS" : "TYPE_MISMATCH") << variable;
        EXPECT_EQ(controller.read(variable), accepted ? stands : before) << variable;
    }
    auto const refused = controller.send({{"Count", 3.7}}).front();
    EXPECT_EQ(refused.result(), ErrorValue::EXTENSION);
    EXPECT_STREQ(refused.result_string(),
                 "The variable 'Count' is of type int and can't take 3.7, which is of type double");
}

TEST(Simulation, each_command_of_a_group_stands_for_itself)
{
    auto const names = Value() << "Force";
    Controller controller(press(names, false));
    auto const commands = controller.send({{"Count", 2},
                                           {"Force", 1.0},
                                           {"Count", Value()},
                                           {"Absent", 1},
                                           {"Absent", Value()},
                                           {"On", true},
                                           {"Force", {}}});
    std::vector<std::string> outcomes;
    outcomes.reserve(commands.size());
    for (auto const& command : commands)
    {
        outcomes.push_back(controller.outcome(command));
    }
    EXPECT_EQ(outcomes, (std::vector<std::string>{"SUCCESS", "WRITE_PROTECTED", "SUCCESS", "UNKNOWN_VARIABLE",
                                                  "UNKNOWN_VARIABLE", "SUCCESS", "SUCCESS"}));
    EXPECT_EQ(commands[2].read_value(), Value(2));
    EXPECT_EQ(commands[6].read_value(), Value(2.5));
    EXPECT_EQ(controller.last_group_result, commands[4].extension_result());
    EXPECT_EQ(controller.host.writes, 1);
    EXPECT_EQ(controller.configuration()["values"], map({{"Count", 2}, {"On", true}}));

    controller.send({{"Count", Value()}, {"Force", 1.0}});
    EXPECT_EQ(controller.host.writes, 1) << "nothing was written";
    EXPECT_STREQ(controller.extension->error_string(4711).name(), "");
}

TEST(Simulation, nothing_of_an_unreachable_controller_is_to_be_had)
{
    Controller controller(press({}, true));
    EXPECT_EQ(controller.write("Count", 2), "UNREACHABLE");
    EXPECT_EQ(controller.write("Absent", 2), "UNREACHABLE");
    EXPECT_EQ(controller.read("Count"), Value());
    EXPECT_EQ(controller.host.writes, 0);
}

TEST(Simulation, values_last_until_the_next_start)
{
    Controller first(press());
    first.send({{"Force", 3.0}, {"Total", 8L}, {"Program", "C"}});

    // What the store gives back for a small int64 is an int; the variable's type has since changed for "Program".
    auto kept = first.configuration();
    kept["values"].insert_or_update("Total", Value(8));
    kept["values"].insert_or_update("Gone", Value(1));
    kept["values"].insert_or_update("On", Value(true));
    kept["variables"].insert_or_update("Program", Value(17));
    kept.insert_or_update("writeProtected", Value() << "On");
    Controller second(kept);
    EXPECT_EQ(second.read("Force"), Value(3.0));
    EXPECT_EQ(second.read("Total"), Value(8L));
    EXPECT_EQ(second.read("Program"), Value(17));
    EXPECT_EQ(second.read("On"), Value(false)) << "the file tells a write-protected value";
    EXPECT_EQ(second.write("Gone", 1), "UNKNOWN_VARIABLE");
}

TEST(Simulation, says_which_values_could_not_be_kept)
{
    Controller controller(press());
    controller.host.fails = ErrorValue::DATABASE;
    auto const commands = controller.send({{"Count", 2}, {"On", 5}, {"Count", Value()}});
    EXPECT_EQ(controller.outcome(commands[0]), "NOT_STORED");
    EXPECT_STREQ(commands[0].result_string(), "The value is written, but not kept for the next start: DATABASE");
    EXPECT_EQ(controller.outcome(commands[1]), "TYPE_MISMATCH");
    EXPECT_EQ(controller.outcome(commands[2]), "SUCCESS");

    controller.host.on_write = [] { throw std::runtime_error("out of order"); };
    auto const thrown = controller.send({{"Count", 3}}).front();
    EXPECT_EQ(controller.outcome(thrown), "NOT_STORED");
    EXPECT_STREQ(thrown.result_string(), "out of order");
}

TEST(Simulation, refuses_settings_that_it_does_not_understand)
{
    struct Case
    {
        char const* key;
        Value setting;
        char const* text;
    };
    std::vector<Case> const cases = {
        {"variables", 3, R"("variables": expected an object of variable names and their values, found int)"},
        {"values", "x", R"("values": expected an object of variable names and their values, found string)"},
        {"unreachable", 1, R"("unreachable": expected true or false, found int)"},
        {"writeProtected", "Count", R"("writeProtected": expected a list of variable names, found string)"},
        {"writeProtected", Value() << "On" << 5, R"("writeProtected[1]": expected the name of a variable, found int)"},
        {"writeProtected", Value() << "Cuont",
         R"("writeProtected[0]": expected the name of one of the "variables", found 'Cuont')"},
    };
    for (auto const& [key, setting, text] : cases)
    {
        auto configuration = press();
        configuration.insert_or_update(key, setting);
        Controller controller(configuration);
        EXPECT_EQ(controller.started.result(), ErrorValue::EXTENSION_CONFIG);
        EXPECT_STREQ(controller.started.text(), text);
        EXPECT_EQ(controller.host.listener, nullptr);
    }
    EXPECT_EQ(Controller{Value()}.started.result(), ErrorValue::SUCCESS) << "every key may be missing";
}

TEST(Simulation, a_value_written_meanwhile_is_the_one_that_is_kept)
{
    Controller controller(press());
    // Another request comes in between: it writes and keeps its value while the first one is about to keep its own.
    controller.host.on_write = [&, nested = false]() mutable
    {
        if (!std::exchange(nested, true))
        {
            controller.send({{"Count", 20}, {"Force", 0.5}});
        }
    };
    controller.send({{"Count", 10}, {"On", true}});
    EXPECT_EQ(controller.read("Count"), Value(20));
    EXPECT_EQ(controller.configuration()["values"], map({{"Count", 20}, {"Force", 0.5}, {"On", true}}));
}

TEST(Simulation, serves_several_requests_at_once)
{
    Controller controller(press());
    std::atomic<int> failed = 0;
    auto const work = [&](int first)
    {
        for (int round = 0; round < 200; ++round)
        {
            CommandGroup group;
            for (auto const& [name, value] : {std::pair<char const*, Value>{first == 0 ? "Force" : "Total", round},
                                              {"Count", first + round},
                                              {"Program", Value()}})
            {
                Command command;
                command.set_mapping(name);
                command.set_write_value(value);
                group.insert(group.end_vector(), command);
            }
            controller.host.listener->on_request(line(), &group);
            failed += group.result() == 0 ? 0 : 1;
        }
    };
    std::thread other(work, 1000);
    work(0);
    other.join();
    EXPECT_EQ(failed, 0);
    auto const values = controller.configuration()["values"];
    EXPECT_EQ(values, map({{"Count", controller.read("Count")}, {"Force", 199.0}, {"Total", 199L}}));
}

} // namespace
