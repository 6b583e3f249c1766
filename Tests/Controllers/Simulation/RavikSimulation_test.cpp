#include "Support/Controller.h"
#include "Support/LoadedExtension.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

namespace Ravik::Test
{

namespace
{

/// A press with a variable of each kind, and one more setting.
Value configuration_with(char const* key, Value const& setting)
{
    auto const variables = map({{"Count", 1},
                                {"Total", 5'000'000'000L},
                                {"Force", 2.5},
                                {"On", false},
                                {"Program", "A"},
                                {"Any", {}},
                                {"Pattern", map({{"Layers", 3}})}});
    auto configuration = map({{"variables", variables}});
    configuration.insert_or_update(key, setting);
    return configuration;
}

class Press : public Controller
{
public:
    explicit Press(Value const& configuration = configuration_with("unreachable", {}))
        : Controller(SIMULATION_LIBRARY, configuration)
    {
    }
    Press(char const* key, Value const& setting) : Press(configuration_with(key, setting)) {}
};

TEST(Simulation, takes_a_value_where_nothing_is_lost)
{
    Press press;
    auto const pattern = map({{"Layers", 4}});
    struct Case
    {
        char const* variable;
        /// What is written, and what stands then.
        std::vector<std::pair<Value, Value>> taken;
        std::vector<Value> refused;
    };
    std::vector<Case> const cases = {
        {"Count", {{8L, 8}, {9.0, 9}, {true, 1}}, {3.7, 2'147'483'648L, "many"}},
        {"Total", {{3, 3L}, {9.2e18, 9'200'000'000'000'000'000L}}, {9.3e18}},
        {"Force", {{4, 4.0}}, {"strong", 9'007'199'254'740'993L}},
        {"On", {{1, true}}, {2}},
        {"Program", {{"B", "B"}}, {pattern}},
        {"Pattern", {{pattern, pattern}}, {1}},
        {"Any", {{"text", "text"}, {3.7, 3.7}}, {}},
    };
    for (auto const& [variable, taken, refused] : cases)
    {
        SCOPED_TRACE(variable);
        for (auto const& [written, stands] : taken)
        {
            EXPECT_EQ(press.outcomes({{variable, written}}), "ok");
            EXPECT_EQ(press.read(variable), stands);
        }
        for (auto const& written : refused)
        {
            EXPECT_EQ(press.outcomes({{variable, written}}), "TYPE_MISMATCH");
            EXPECT_EQ(press.read(variable), taken.back().second);
        }
    }
    EXPECT_STREQ(press.send({{"Count", 3.7}}).front().result_string(),
                 "The variable 'Count' is of type int and can't take 3.7, which is of type double");
}

TEST(Simulation, each_command_of_a_group_stands_for_itself)
{
    Press press("writeProtected", Value() << "Force");
    EXPECT_EQ(
        press.outcomes(
            {{"Count", 2}, {"Force", 1.0}, {"Count", {}}, {"Absent", 1}, {"Absent", {}}, {"On", true}, {"Force", {}}}),
        "ok WRITE_PROTECTED 2 UNKNOWN_VARIABLE UNKNOWN_VARIABLE ok 2.5");
    EXPECT_EQ(press.configuration()["values"], map({{"Count", 2}, {"On", true}}));
    press.send({{"Count", {}}, {"Force", 1.0}});
    EXPECT_EQ(press.host.config_writes.size(), 1U) << "one write for all of a group, none for nothing";
    EXPECT_EQ(press.error_name(4711), "");

    Press switched_off("unreachable", true);
    EXPECT_EQ(switched_off.outcomes({{"Count", 2}, {"Absent", 2}, {"Count", {}}}),
              "UNREACHABLE UNREACHABLE UNREACHABLE");
    EXPECT_TRUE(switched_off.host.config_writes.empty());
    EXPECT_EQ(Press("unreachable", false).outcomes({{"Count", {}}}), "1");
}

TEST(Simulation, plays_controllers_that_keep_a_value_or_change_it)
{
    Press stuck("stuck", Value() << "Count");
    EXPECT_EQ(stuck.outcomes({{"Count", 7}, {"Count", {}}, {"Count", "x"}, {"Force", 3.0}, {"Force", {}}}),
              "ok 1 TYPE_MISMATCH ok 3");
    Press clamped("clamped", map({{"Count", Value() << 2 << 6.5}, {"Force", Value() << -1.5 << 3}}));
    EXPECT_EQ(clamped.outcomes({{"Count", 1}, {"Count", {}}, {"Count", 5}, {"Count", {}}}), "ok 2 ok 5");
    EXPECT_EQ(clamped.outcomes({{"Force", -2.0}, {"Force", {}}, {"Force", 9}, {"Force", {}}}), "ok -1.5 ok 3");
}

TEST(Simulation, values_last_until_the_next_start)
{
    Press press;
    press.send({{"Force", 3.0}, {"Total", 8L}, {"Program", "C"}});
    // What the store gives back for a small int64 is an int; the variable's type has since changed for "Program".
    auto kept = press.configuration();
    kept["values"].insert_or_update("Total", 8);
    kept["values"].insert_or_update("Gone", 1);
    kept["values"].insert_or_update("On", true);
    kept["variables"].insert_or_update("Program", 17);
    kept.insert_or_update("writeProtected", Value() << "On");
    Press next(kept);
    EXPECT_EQ(next.read("Force"), Value(3.0));
    EXPECT_EQ(next.read("Total"), Value(8L));
    EXPECT_EQ(next.read("Program"), Value(17));
    EXPECT_EQ(next.read("On"), Value(false)) << "the file tells a write-protected value";
    EXPECT_EQ(next.outcomes({{"Gone", 1}}), "UNKNOWN_VARIABLE");
}

TEST(Simulation, says_which_values_could_not_be_kept)
{
    Press press;
    press.host.before_write = [] { return ErrorValue::DATABASE; };
    auto const lost = press.send({{"Count", 2}, {"On", 5}, {"Count", {}}});
    EXPECT_STREQ(lost[0].result_string(), "The value is written, but not kept for the next start: DATABASE");
    EXPECT_EQ(press.outcomes({{"Count", 2}, {"On", 5}, {"Count", {}}}), "NOT_STORED TYPE_MISMATCH 2");

    press.host.before_write = []() -> ErrorValue { throw std::runtime_error("out of order"); };
    EXPECT_STREQ(press.send({{"Count", 3}}).front().result_string(), "store: unexpected failure: out of order");
    EXPECT_EQ(press.outcomes({{"Count", 3}}), "NOT_STORED");
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
        {"writeProtected", "Count", R"("writeProtected": expected a list of variable names, found string)"},
        {"writeProtected", Value() << "On" << 5, R"("writeProtected[1]": expected the name of a variable, found int)"},
        {"writeProtected", Value() << "Cuont",
         R"("writeProtected[0]": expected the name of one of the "variables", found 'Cuont')"},
        {"stuck", Value() << "Cuont", R"("stuck[0]": expected the name of one of the "variables", found 'Cuont')"},
        {"clamped", map({{"Count", Value() << 2 << 1}}),
         R"("clamped::Count": expected the lowest and the highest number, as a list, found vector)"},
        {"clamped", map({{"Cuont", Value() << 1 << 2}}),
         R"("clamped::Cuont": expected the name of one of the "variables", found 'Cuont')"},
    };
    for (auto const& [key, setting, text] : cases)
    {
        Press const refused(key, setting);
        EXPECT_EQ(refused.started().result(), ErrorValue::EXTENSION_CONFIG);
        EXPECT_STREQ(refused.started().text(), text);
        EXPECT_TRUE(refused.host.listeners.empty());
    }
    EXPECT_EQ(Press(Value()).started().result(), ErrorValue::SUCCESS) << "every key may be missing";
}

TEST(Simulation, a_value_written_meanwhile_is_the_one_that_is_kept)
{
    Press press;
    // Another request comes in between: it writes and keeps its value while the first one is about to keep its own.
    press.host.before_write = [&, nested = false]() mutable
    {
        if (!std::exchange(nested, true))
        {
            press.send({{"Count", 20}, {"Force", 0.5}});
        }
        return ErrorValue::SUCCESS;
    };
    press.send({{"Count", 10}, {"On", true}});
    EXPECT_EQ(press.read("Count"), Value(20));
    EXPECT_EQ(press.configuration()["values"], map({{"Count", 20}, {"Force", 0.5}, {"On", true}}));
}

TEST(Simulation, serves_several_requests_at_once)
{
    Press press;
    auto const work = [&](char const* own, int first)
    {
        for (int round = 0; round < 200; ++round)
        {
            EXPECT_EQ(press.outcomes({{own, round}, {"Count", first + round}, {"Program", {}}}), "ok ok A");
        }
    };
    std::thread other(work, "Total", 1000);
    work("Force", 0);
    other.join();
    EXPECT_EQ(press.configuration()["values"],
              map({{"Count", press.read("Count")}, {"Force", 199.0}, {"Total", 199L}}));
}

} // namespace

} // namespace Ravik::Test
