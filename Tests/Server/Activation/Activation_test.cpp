#include "EditedProject.h"

#include "Support/JoinedStore.h"
#include "Json/Json.h"

#include <boost/algorithm/string/replace.hpp>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <thread>

namespace Ravik::Test
{
namespace
{

/// The result, and each row as "symbol state before>value>after", where "-" is no value.
std::string told(ActivationReport const& report)
{
    auto const shown = [](Value const& value) { return value.isset() ? Json::write(value) : "-"; };
    auto text = report.error == ErrorValue::SUCCESS ? report.name : name(report.error);
    for (auto const& row : report.rows)
    {
        text += "; " + row.symbol + ' ' + name_of(row.state) + ' ' + shown(row.before) + '>' + shown(row.value) + '>' +
                shown(row.after);
    }
    return text;
}

/// A log that does something when a record is begun, before the first value leaves.
class Log : public ActivationLog
{
public:
    std::int64_t begin(ActivationIntent const& intent) override
    {
        bodies.push_back(intent.body);
        if (during)
        {
            std::exchange(during, nullptr)();
        }
        return 7;
    }
    void complete(std::int64_t /*id*/, bool succeeded, std::string const& text, Value const& body) override
    {
        bodies.push_back(body);
        outcomes += (succeeded ? "done" : "failed: ") + text + '\n';
    }

    std::function<void()> during;
    std::vector<Value> bodies;
    std::string outcomes;
};

/// The symbols k to z in the domain Line, which hold 5, and the recipe R with 1 for k and 2 for l.
class Line : public EditedProject
{
public:
    /// `replaced` and `by` change the project file.
    explicit Line(std::string const& replaced = {}, std::string const& by = {},
                  std::string const& recipes = "T { k l } U { m } | R:T { k=1 l=2 } S:T { k=3 l=4 } M:U { m=9 }")
        : EditedProject(Test::configuration_of(recipes), project_file())
    {
        for (auto const* const symbol : {"k", "l", "m"})
        {
            hold(symbol, 5);
        }
        if (!replaced.empty())
        {
            folder.write("ravik.json", boost::replace_first_copy(project_file(), replaced, by));
            reopen();
        }
        static_cast<OpenProject&>(*project).activation().set_log(&log);
    }

    void hold(std::string const& symbol, int value) const { EXPECT_EQ(write(symbol, value), "SUCCESS"); }
    std::string write(std::string const& symbol, int value) const
    {
        return name(project->write_symbol(symbol, Value(value)).result);
    }
    std::string held(std::string const& symbol) const
    {
        return Json::write(project->read_symbols({symbol}).commands.at(0).value);
    }

    Log log;
};

constexpr char const* configuration = R"("configuration":{)";
constexpr char const* entry_of_k = R"("k":{"DOMAIN":"Line")";

TEST(Activation, tells_what_stands_in_the_controllers_before_and_after)
{
    struct Case
    {
        char const* name;
        std::string replaced;
        std::string by;
        char const* planned;
        char const* activated;
        char const* text = "";
    };
    std::vector<Case> const cases = {
        {"all is well", "", "", "SUCCESS; k differs 5>1>-; l differs 5>2>-",
         "SUCCESS; k verified 5>1>1; l verified 5>2>2"},
        {"a value that is taken back", configuration, R"("configuration":{"stuck":["k"],)",
         "SUCCESS; k differs 5>1>-; l differs 5>2>-", "FAIL; k differs 5>1>5; l verified 5>2>2",
         "k (differs: the controller holds 5)"},
        {"a range within the tolerance", entry_of_k, R"("k":{"DOMAIN":"Line","TOLERANCE":4)",
         "SUCCESS; l differs 5>2>-; k same 5>1>-", "SUCCESS; k verified 5>1>1; l verified 5>2>2"},
        {"a range beyond it", configuration, R"("configuration":{"clamped":{"k":[2,3]},)",
         "SUCCESS; k differs 5>1>-; l differs 5>2>-", "FAIL; k differs 5>1>2; l verified 5>2>2",
         "the controller holds 2"},
        {"nothing to be read or written", configuration, R"("configuration":{"unreachable":true,)",
         "FAIL; k unread ->1>-; l unread ->2>-", "ACTIVATING_RECIPE_PARTLY_FAILED; k failed ->1>-; l failed ->2>-",
         "UNREACHABLE"},
        {"one that can't be written", configuration, R"("configuration":{"writeProtected":["k"],)",
         "SUCCESS; k differs ->1>-; l differs 5>2>-",
         "ACTIVATING_RECIPE_PARTLY_FAILED; k failed ->1>-; l verified 5>2>2", "WRITE_PROTECTED"},
        {"a command that the controller takes back", entry_of_k, R"("k":{"DOMAIN":"Line","VERIFY":false)",
         "SUCCESS; k differs 5>1>-; l differs 5>2>-", "SUCCESS; k written 5>1>-; l verified 5>2>2"},
        {"a variable that no activation writes", entry_of_k, R"("k":{"DOMAIN":"RavikSrv")",
         "SUCCESS; l differs 5>2>-; k not written ->1>-", "FAIL; l verified 5>2>2; k not written ->1>-",
         R"(k (not written: no activation writes a variable of the server's own without "USEMAPPING": false))"},
        {"a variable of the server's own", entry_of_k, R"("k":{"DOMAIN":"RavikSrv","USEMAPPING":false)",
         "SUCCESS; k differs ->1>-; l differs 5>2>-", "SUCCESS; k verified ->1>1; l verified 5>2>2"},
        {"a value that does not fit", R"("k":{"DOMAIN":"Line","SCHEMA":{)",
         R"("k":{"DOMAIN":"Line","SCHEMA":{"minimum":2,)", "SERVER_ERROR; k failed ->1>-; l not tried ->2>-",
         "SERVER_ERROR; k failed ->1>-; l not tried ->2>-", "RANGE_MISMATCH"},
        {"the settings of the project", R"({"extensions")",
         R"({"activation":{"capture":false,"verify":false},"extensions")", "SUCCESS; k differs 5>1>-; l differs 5>2>-",
         "SUCCESS; k written ->1>-; l written ->2>-"},
    };
    for (auto const& each : cases)
    {
        SCOPED_TRACE(each.name);
        Line line(each.replaced, each.by);
        EXPECT_EQ(told(line.project->plan("R")), each.planned);
        EXPECT_NE(line.held("l"), "2") << "a plan writes nothing";
        auto const report = line.project->activate("R", {});
        EXPECT_EQ(told(report), each.activated);
        EXPECT_NE(report.text.find(each.text), std::string::npos) << report.text;
        EXPECT_EQ(line.log.outcomes.empty(), line.log.bodies.empty());
    }
}

TEST(Activation, is_remembered_before_the_first_value_leaves_and_writes_what_was_planned)
{
    Line line(R"("m":{"DOMAIN":"Line")", R"("m":{"DOMAIN":"Line","MAPPING":"k")");
    std::string refused;
    line.log.during = [&]
    {
        EXPECT_EQ(line.held("k"), "5");
        EXPECT_TRUE(line.edit("R::R::values::k = 8").succeeded());
        for (auto const* const other : {"R", "S", "M"})
        {
            auto const report = line.project->activate(other, {});
            EXPECT_EQ(name(report.error), "SYMBOL_IN_USE") << other;
            refused = report.text;
        }
        EXPECT_EQ(line.write("m", 1), "SYMBOL_IN_USE");
        EXPECT_EQ(line.write("n", 1), "SUCCESS");
    };
    auto const report = line.project->activate("R", {.who = "anna"});
    EXPECT_EQ(told(report), "SUCCESS; k verified 5>1>1; l verified 5>2>2");
    EXPECT_EQ(report.id, 7);
    EXPECT_TRUE(refused.starts_with("m is being written: the activation of 'R' by anna since 20")) << refused;
    EXPECT_EQ(line.write("m", 1), "SUCCESS") << "it is over";
    ASSERT_EQ(line.log.bodies.size(), 2U);
    EXPECT_EQ(told({.rows = rows_of(line.log.bodies[0])}), "; k planned 5>1>-; l planned 5>2>-");
    EXPECT_EQ(line.log.outcomes, "done\n");
    EXPECT_EQ(Json::write(std::as_const(line.log.bodies[1])["recipe"]), "\"R\"");

    line.log.during = [] { throw std::runtime_error("the disk is full"); };
    auto const unremembered = line.project->activate("S", {});
    EXPECT_EQ(told(unremembered), "STORAGE_STORE; k verified 1>3>3; l verified 2>4>4");
    EXPECT_NE(unremembered.text.find("the disk is full"), std::string::npos);
}

TEST(Activation, ends_on_and_remembers_the_revision_that_it_began_with)
{
    Line line;
    OpenGate gate;
    line.project.reset();
    auto project =
        opened(line.folder.path() / "ravik.json",
               std::make_unique<JoinedStore>(Store::open(line.folder.path() / "ravik.db", std::chrono::seconds(0)),
                                             LibraryCopy{.library = "L", .server = {"north", "S"}, .position = {}}));
    project->configuration().set_gate(&gate);
    project->activation().set_log(&line.log);
    line.project = std::move(project);
    auto const edit_elsewhere = [&](std::string const& text)
    { std::thread([&] { EXPECT_TRUE(line.edit(text).succeeded()) << text; }).join(); };
    edit_elsewhere("R::R::values::k = 3");
    auto reads = 0;
    line.log.during = [&]
    {
        edit_elsewhere("T::T::members::l >");
        edit_elsewhere("R::R >");
    };
    auto const report = line.project->activate("R", {.reading = [&](std::size_t, std::size_t)
                                                     {
                                                         if (reads++ == 0)
                                                         {
                                                             edit_elsewhere("R::R::values::l = 9");
                                                         }
                                                     }});
    EXPECT_EQ(told(report), "SUCCESS; k verified 5>3>3; l verified 5>2>2");
    line.project->activate("S", {}).succeeded();
    std::string revisions;
    for (auto const& body : line.log.bodies)
    {
        revisions += Json::write(body["revision"]) + ' ';
    }
    EXPECT_EQ(revisions, "1 1 4 4 ");
}

TEST(Revert, writes_back_what_stands_as_it_was_written)
{
    struct Case
    {
        char const* name;
        /// What the record is: of an activation that ended, or of one that did not.
        bool has_ended;
        /// What k holds meanwhile.
        int held;
        WriteBackOptions options;
        char const* expected;
        char const* k_after;
    };
    std::vector<Case> const cases = {
        {"as written", true, 1, {}, "SUCCESS; k verified 1>5>5; l verified 2>5>5", "5"},
        {"only shown", true, 1, {.dry_run = true}, "SUCCESS; k differs 1>5>-; l differs 2>5>-", "1"},
        {"changed by hand", true, 6, {}, "FAIL; k not written 6>5>-; l verified 2>5>5", "6"},
        {"changed by hand, only shown", true, 6, {.dry_run = true}, "FAIL; k not written 6>5>-; l differs 2>5>-", "6"},
        {"changed by hand, with force", true, 6, {.force = true}, "SUCCESS; k verified 6>5>5; l verified 2>5>5", "5"},
        {"back by hand", true, 5, {}, "SUCCESS; k same 5>5>-; l verified 2>5>5", "5"},
        {"begun", false, 1, {}, "SUCCESS; k verified 1>5>5; l verified 2>5>5", "5"},
        {"begun, k not reached", false, 5, {}, "SUCCESS; k same 5>5>-; l verified 2>5>5", "5"},
        {"begun, and changed", false, 6, {}, "FAIL; k not written 6>5>-; l verified 2>5>5", "6"},
    };
    for (auto const& each : cases)
    {
        SCOPED_TRACE(each.name);
        Line line;
        ASSERT_TRUE(line.project->activate("R", {}).succeeded());
        auto const body = line.log.bodies.at(each.has_ended ? 1 : 0);
        line.hold("k", each.held);
        EXPECT_EQ(told(line.project->revert_activation(body, each.options)), each.expected);
        EXPECT_EQ(line.held("k"), each.k_after);
        EXPECT_EQ(line.log.bodies.size(), each.options.dry_run ? 2U : 4U) << "it is remembered itself";
    }
}

TEST(Revert, looks_for_what_arrived_although_it_failed)
{
    auto const body = Json::parse(R"({"rows":[{"symbol":"k","state":"failed","before":5,"value":1},
        {"symbol":"l","state":"failed","before":4,"value":2},{"symbol":"m","state":"not tried","before":4,"value":5}]})");
    Line line;
    line.hold("k", 1);
    EXPECT_EQ(told(line.project->revert_activation(body, {.force = true})),
              "SUCCESS; k verified 1>5>5; l not written 5>4>-");
    EXPECT_EQ(line.held("m"), "5");
}

TEST(Revert, leaves_what_is_not_known_and_commands)
{
    for (auto const& [replaced, by, why] :
         {std::tuple{entry_of_k, R"("k":{"DOMAIN":"Line","VERIFY":false)", R"("VERIFY": false)"},
          std::tuple{entry_of_k, R"("k":{"DOMAIN":"RavikSrv","USEMAPPING":false)", "is not known"}})
    {
        SCOPED_TRACE(by);
        Line line(replaced, by);
        ASSERT_TRUE(line.project->activate("R", {}).succeeded());
        auto const report = line.project->revert_activation(line.log.bodies.at(1), {.force = true});
        EXPECT_TRUE(report.succeeded()) << report.text;
        EXPECT_EQ(line.held("k") + line.held("l"), "15");
        auto const& row = report.rows.at(report.rows[0].symbol == "k" ? 0 : 1);
        EXPECT_EQ(row.state, RowState::NotWritten);
        EXPECT_NE(row.text.find(why), std::string::npos) << row.text;
        Value alone(ValueType::Vector);
        alone << std::as_const(line.log.bodies.at(1))["rows"][report.rows[0].symbol == "k" ? 0 : 1];
        Value body;
        body.insert("rows", alone);
        auto const nothing = line.project->revert_activation(body, {.force = true});
        EXPECT_EQ(name(nothing.error), "FAIL");
        EXPECT_TRUE(nothing.text.starts_with("nothing of it can be taken back: k (not written: ")) << nothing.text;
    }
}

} // namespace
} // namespace Ravik::Test
