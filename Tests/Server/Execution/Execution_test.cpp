#include "Project/OpenProject.h"
#include "Support/TemporaryFolder.h"
#include "Support/api_types.h"
#include "api_helper.h"
#include "Json/Json.h"

#include <boost/algorithm/string/replace.hpp>
#include <gtest/gtest.h>

namespace Ravik::Test
{
namespace
{

/// Two domains served by probes, with symbols in both and in the server's own domain. "P.x" is a symbol whose name
/// looks like a function's.
constexpr char const* project_text = R"({
  "extensions": [{ "domain": "P", "library": "@" }, { "domain": "Q", "library": "@" }],
  "symbols": {
    "p1": { "DOMAIN": "P", "MAPPING": "one" },
    "p2": { "DOMAIN": "P", "SCHEMA": { "type": "object", "properties": { "x": { "maximum": 10 },
            "list": { "items": { "type": "integer" } } } } },
    "pfail": { "DOMAIN": "P", "MAPPING": "fail" }, "qfail": { "DOMAIN": "Q", "MAPPING": "fail" },
    "pthrow": { "DOMAIN": "P", "MAPPING": "throw" }, "pint": { "DOMAIN": "P", "MAPPING": "throw int" },
    "q1": { "DOMAIN": "Q", "MAPPING": "one" }, "P.x": { "DOMAIN": "Q" },
    "list": { "DOMAIN": "Q", "SCHEMA": { "items": { "type": "integer" } } },
    "int": { "DOMAIN": "Q", "SCHEMA": { "$ref": "ravik:general#/definitions/INT" } },
    "own": { "DOMAIN": "RavikSrv", "USEMAPPING": false, "SCHEMA": { "type": "number" } }, "own2": { "DOMAIN": "RavikSrv" }
  }
})";

class Execution : public testing::Test
{
protected:
    Execution() { reopen(); }

    void reopen()
    {
        project.reset();
        auto const text = boost::replace_all_copy(std::string(project_text), "@", PROBE_LIBRARY);
        RegularFile const file(folder.write("ravik.json", text), "the project file");
        project = std::make_unique<OpenProject>(read_project_file(file), Libraries(2),
                                                Store::open(folder.path() / "ravik.db", std::chrono::seconds(0)));
    }

    /// Executes "NAME" (reads) and "NAME=JSON" (writes) as one group, and tells the outcome: the group's error, then
    /// each command's error, extension result and read value.
    std::string run(char const* domain, std::vector<std::string> const& commands)
    {
        CommandGroup group;
        group.set_domain(domain);
        for (auto const& text : commands)
        {
            auto const equals = text.find('=');
            Command command(text.substr(0, equals).c_str());
            if (equals != std::string::npos)
            {
                command.set_write_value(Json::parse(text.substr(equals + 1)));
            }
            group.insert(group.end_vector(), command);
        }
        std::string outcome = get_error_string(host().execute_command_group(Context(), &group)).name();
        texts.clear();
        for (auto command = group.begin_vector(); command != group.end_vector(); ++command)
        {
            code = command->extension_result();
            outcome.append(" ").append(get_error_string(command->result()).name());
            outcome.append(code == 0 ? "" : ":" + std::to_string(code));
            outcome.append(command->read_value().isset() ? "=" + Json::write(command->read_value()) : "");
            texts.append(command->result_string()).append(";");
        }
        return outcome;
    }

    IRavikSrvExtHost& host() { return project->host(); }

    TemporaryFolder folder;
    std::unique_ptr<OpenProject> project;
    /// The texts of the last run, and its last command's extension result.
    std::string texts;
    unsigned code = 0;
};

TEST_F(Execution, a_domains_group_goes_to_its_extension_as_it_is)
{
    EXPECT_EQ(run("P", {"p1=5", "free=1", "p2::x=3", "p2::list[1]=2"}),
              "SUCCESS SUCCESS=5 SUCCESS=1 SUCCESS=3 SUCCESS=2");
    EXPECT_EQ(run("P", {"log"}), "SUCCESS SUCCESS=\"one;free;p2::x;p2::list[1];|;\"");
    EXPECT_EQ(run("P", {"p1", "pfail"}), "SUCCESS SUCCESS EXTENSION:7") << "failed inside the extension only";
    EXPECT_EQ(run("P", {"p1=1", "q1=1"}), "INVALID_SYMBOL INVALID_SYMBOL INVALID_SYMBOL");
    EXPECT_NE(texts.find("q1 belongs to the domain \"Q\""), std::string::npos) << texts;
    EXPECT_EQ(run("nobody", {"p1=1"}), "INVALID_DOMAIN INVALID_DOMAIN");
    EXPECT_EQ(run("P", {"p1=1", "pthrow"}), "UNEXPECTED UNEXPECTED=1 UNEXPECTED");
    EXPECT_NE(texts.find("thrown from a request"), std::string::npos) << texts;
    EXPECT_EQ(run("P", {"pint"}), "UNEXPECTED UNEXPECTED");
}

TEST_F(Execution, a_value_that_does_not_fit_stops_its_whole_group)
{
    run("Q", {"log"});
    EXPECT_EQ(run("Q", {"q1=1", "int=40000", "q1=2"}), "RANGE_MISMATCH RANGE_MISMATCH RANGE_MISMATCH RANGE_MISMATCH");
    EXPECT_EQ(texts.substr(0, 5), "int: ");
    EXPECT_EQ(run("RavikSrv", {"q1=1", "own=\"text\""}), "TYPE_MISMATCH TYPE_MISMATCH TYPE_MISMATCH");
    EXPECT_EQ(run("P", {"p2::x=11"}), "RANGE_MISMATCH RANGE_MISMATCH");
    EXPECT_EQ(run("Q", {"list[2]=\"x\""}), "TYPE_MISMATCH TYPE_MISMATCH");
    EXPECT_EQ(run("Q", {"log"}), "SUCCESS SUCCESS=\"\"") << "nothing was sent";
}

TEST_F(Execution, the_servers_group_is_taken_apart_in_its_order)
{
    EXPECT_EQ(run("RavikSrv", {"p1=1", "p2={}", "q1=2", "P.x=3", "p1=4", "own=5", "own", "own2"}),
              "SUCCESS SUCCESS=1 SUCCESS={} SUCCESS=2 SUCCESS=3 SUCCESS=4 SUCCESS SUCCESS=5 SUCCESS");
    reopen();
    EXPECT_EQ(run("RavikSrv", {"own"}), "SUCCESS SUCCESS=5") << "a server variable lasts";
    run("RavikSrv", {"p1=1", "p2={}", "q1=2", "P.x=3", "p1=4"});
    EXPECT_EQ(run("P", {"log"}), "SUCCESS SUCCESS=\"one;p2;|;one;|;\"");
    EXPECT_EQ(run("Q", {"log"}), "SUCCESS SUCCESS=\"one;P.x;|;\"");

    EXPECT_EQ(run("RavikSrv", {"p1=1", "nothing", "Q.nothing"}),
              "SYMBOL_NOT_MAPPED SUCCESS=1 SYMBOL_NOT_MAPPED SYMBOL_NOT_MAPPED");
}

TEST_F(Execution, codes_and_unknown_names_are_explained)
{
    auto const outcome = project->read_symbols({"p1", "qfail", "pfail"});
    EXPECT_EQ(outcome.result, ErrorValue::SUCCESS);
    EXPECT_EQ(outcome.commands[1].failure, "SEVEN");
    auto& internal = dynamic_cast<IInternalHost&>(host());
    EXPECT_EQ(run("RavikSrv", {"qfail"}).substr(0, 18), "SUCCESS EXTENSION:");
    EXPECT_STREQ(internal.get_extension_error_string("RavikSrv", code).name(), "SEVEN") << "in the server's group";
    EXPECT_STREQ(internal.get_extension_error_string("RavikSrv", 7).name(), "");

    auto const unknown = project->call("nobody", "f", Value());
    EXPECT_EQ(unknown.error, ErrorValue::INVALID_DOMAIN);
    EXPECT_NE(unknown.text.find("the project has P, Q"), std::string::npos) << unknown.text;
    auto const failed = project->call("P", "fail", Value());
    EXPECT_EQ(failed.result, 7U);
    EXPECT_EQ(failed.name, "SEVEN");
    EXPECT_FALSE(failed.succeeded());
}

TEST_F(Execution, configuration_commands_write_replace_and_remove)
{
    auto const command = [&](std::string const& name, char const* json, CommandOption option = CommandOption::NONE)
    {
        Command sent(name.c_str());
        sent.set_options(option);
        sent.set_write_value(Json::parse(json));
        auto const result = host().execute_command(Context(), &sent);
        EXPECT_EQ(result, sent.result());
        return get_error_string(result).name() + (" " + Json::write(project->get("P", "").value));
    };
    EXPECT_EQ(command("P.Config::a", R"({"x":1})"), R"(SUCCESS {"a":{"x":1}})");
    EXPECT_EQ(command("P.Config::a", R"({"y":2})"), R"(SUCCESS {"a":{"x":1,"y":2}})");
    EXPECT_EQ(command("P.Config::a", R"({"z":3})", CommandOption::REPLACE), R"(SUCCESS {"a":{"z":3}})");
    EXPECT_EQ(command("P.Config::a::z", "null", CommandOption::REMOVE), R"(SUCCESS {"a":{}})");
    EXPECT_EQ(command("P.Config::a::z", "null", CommandOption::REMOVE), R"(ENTRY_NOT_FOUND {"a":{}})");
    EXPECT_EQ(command("nobody.Config::a", "1"), R"(INVALID_DOMAIN {"a":{}})");
    EXPECT_EQ(command("nobody", "null"), R"(SYMBOL_NOT_MAPPED {"a":{}})");
    EXPECT_EQ(run("P", {"log"}), "SUCCESS SUCCESS=\"\"") << "no client's edit";
}

TEST_F(Execution, an_extension_is_not_told_of_its_own_writes)
{
    EXPECT_EQ(run("P", {"config recipeList={\"F\":{\"R\":{\"values\":{\"m\":1}}},\"S\":{\"values\":{}}}",
                        "config recipeList::F::R::values={\"n\":2}", "config recipeList::F"}),
              "SUCCESS SUCCESS SUCCESS SUCCESS");
    EXPECT_EQ(Json::write(project->get("P", "").value), R"({"recipeList":{"S":{"values":{}}}})");
    reopen();
    EXPECT_EQ(run("P", {"log"}), "SUCCESS SUCCESS=\"changed recipeList::S as recipe;\"") << "told again at the start";
    run("P", {"config recipeList::S::values={\"n\":2}", "config recipeList::S"});
    EXPECT_EQ(run("P", {"log"}), "SUCCESS SUCCESS=\"config recipeList::S::values;config recipeList::S;|;\"");
    EXPECT_EQ(run("P", {"config missing::deep=1"}),
              "SUCCESS EXTENSION:" + std::to_string(static_cast<unsigned>(ErrorValue::ENTRY_NOT_FOUND)));
}

} // namespace
} // namespace Ravik::Test
