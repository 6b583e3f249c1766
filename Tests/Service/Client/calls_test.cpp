#include "Service/Client/ServedProject.h"

#include "Client/operations.h"

#include "RavikSrvExt/ErrorValue.h"

#include <gtest/gtest.h>

#include <future>
#include <pwd.h>
#include <sys/socket.h>
#include <thread>

namespace Ravik::Test
{

namespace
{

using namespace std::chrono_literals;
using RavikSrv::ErrorValue;
using RavikSrv::Value;
using Wire::MessageKind;

/// The bytes that stand for what an operation returned: two that have the same are alike in all their parts.
template <typename Type> std::string bytes_of(Type const& value)
{
    Wire::ByteWriter bytes;
    Wire::Encoder(bytes).write(value);
    return bytes.bytes();
}

std::string account()
{
    auto const* const entry = ::getpwuid(::geteuid());
    return entry == nullptr ? "uid " + std::to_string(::geteuid()) : std::string(entry->pw_name);
}

TEST(Calls, bring_back_every_part_of_a_result)
{
    ServedProject served;
    auto& project = served.project;
    project.told_at_opening = {"one", "two"};
    static_cast<ConfigurationOutcome&>(project.saved) = {
        .error = ErrorValue::REGEX, .text = "text", .path = "path", .value = Value(3.0)};
    project.saved.made = true;
    project.saved.condition_failed = true;
    project.saved.cascade = {{.domain = "D", .path = "p", .removed = true}};
    project.saved.warnings = {{.kind = Finding::Kind::NoRecipe, .path = "w", .text = "t"}};
    project.saved.refused = {{.error = ErrorValue::FAIL, .text = "r", .path = "q", .place = {.line = 4, .column = 5}}};
    project.saved.place = {.line = 1, .column = 2};
    project.saved.result = 4'000'000'000U;
    project.saved.name = "NAME";
    project.saved.read_failed = true;
    project.saved.unknown_edit = "e1";
    project.saved.rows = {{.symbol = "S",
                           .domain = "D",
                           .member = "M",
                           .stored = Value(1),
                           .live = Value("x"),
                           .state = ValueState::Saved,
                           .text = "t"}};
    project.remembered.text = "history";
    project.remembered.records = {
        {.id = -7, .time = "now", .who = "anna", .action = "edit", .server = "Line 1", .edit = "e2", .body = Value(2)}};
    project.library = {.state = LibraryStatus::State::Stopped,
                       .address = "dbname=r",
                       .schema = "s",
                       .server = "Line 1",
                       .position = {.revision = 7, .edit = "e3"},
                       .newest = 9,
                       .since = "then",
                       .why = "w",
                       .copy_failure = "full",
                       .unknown_edits = {"e4"},
                       .peers = {{.name = "Line 2", .address = "::1", .since = "now"}}};
    project.found_active.text = "active";
    project.found_active.active = {"A", "B"};
    project.found_active.unread = {{.recipe = "C", .text = "gone"}};
    project.found_active.looked_at = 3;
    project.found_active.stopped = true;
    project.findings = {{.kind = Finding::Kind::Value, .path = "p", .text = "t"}};
    ActivationReport activated{.error = ErrorValue::SUCCESS,
                               .result = 257,
                               .name = "FAIL",
                               .text = "t",
                               .id = std::numeric_limits<std::int64_t>::max(),
                               .rows = {{.symbol = "S",
                                         .domain = "D",
                                         .member = "M",
                                         .before = Value(),
                                         .value = Value(true),
                                         .after = Value(std::string_view("")),
                                         .state = RowState::NotWritten,
                                         .text = "why",
                                         .is_left_on_purpose = true}}};
    activated.hash = "h";
    activated.plan_changed = true;
    project.on_activate = [&](std::string const& /*recipe*/, ActivationOptions const& /*options*/)
    { return activated; };
    served.start();
    auto const remote = served.connect();

    EXPECT_EQ(remote->warnings(), project.told_at_opening);
    auto const saved = remote->save("R", {});
    EXPECT_EQ(bytes_of(saved), bytes_of(project.saved));
    // Once by hand, for what both directions might leave out.
    EXPECT_EQ(saved.refused.at(0).place.column, 5U);
    EXPECT_EQ(saved.rows.at(0).live, Value("x"));
    EXPECT_TRUE(saved.read_failed && saved.condition_failed && saved.made);
    EXPECT_EQ(bytes_of(remote->history({})), bytes_of(project.remembered));
    EXPECT_EQ(remote->history_record(1).records.at(0).id, -7);
    EXPECT_EQ(bytes_of(remote->active({}, {})), bytes_of(project.found_active));
    EXPECT_EQ(remote->active({}, {}).unread.at(0).text, "gone");
    EXPECT_EQ(remote->check("D"), project.findings);
    EXPECT_EQ(remote->revisions(), project.revisions());
    EXPECT_TRUE(remote->takes_edits());
    EXPECT_EQ(remote->history_of_edit("e2").records.at(0).server, "Line 1");
    auto const library = remote->library_status(std::chrono::milliseconds(500));
    EXPECT_EQ(library.newest, 509);
    EXPECT_EQ(bytes_of(library), bytes_of(project.library));
    auto const report = remote->activate("R", {});
    EXPECT_EQ(bytes_of(report), bytes_of(activated));
    EXPECT_TRUE(report.rows.at(0).is_left_on_purpose);
}

TEST(Calls, take_along_options_and_call_back)
{
    ServedProject served;
    served.project.on_activate = [&](std::string const& recipe, ActivationOptions const& options)
    {
        EXPECT_EQ(options.who, account());
        EXPECT_EQ(options.stop, nullptr);
        EXPECT_FALSE(options.verify);
        options.begun(17);
        options.progress(1, 2);
        options.progress(2, 2);
        return ActivationReport{.text = recipe + options.note + options.plan};
    };
    served.project.on_update = [](std::vector<std::string> const& recipes, UpdateOptions const& options)
    {
        EXPECT_FALSE(options.progress);
        UpdateReport report;
        for (auto const& recipe : recipes)
        {
            report.rows.emplace_back().recipe = recipe + options.origin.who + options.origin.asked;
        }
        return report;
    };
    served.start();
    auto const remote = served.connect();
    std::string called;
    auto const report =
        remote->activate("Bread", {.verify = false,
                                   .note = "-n",
                                   .who = "somebody else",
                                   .progress = [&](std::size_t done, std::size_t total)
                                   { called += std::to_string(done * 10 + total) + ' '; },
                                   .plan = "-p",
                                   .begun = [&](std::int64_t id) { called += std::to_string(id) + ' '; }});
    EXPECT_EQ(report.text, "Bread-n-p");
    EXPECT_EQ(called, "17 12 22 ");
    auto const updated = remote->update({"A", "B"}, {.origin = {.who = {}, .asked = "!", .note = {}}});
    ASSERT_EQ(updated.rows.size(), 2U);
    EXPECT_EQ(updated.rows[1].recipe, "B" + account() + "!");

    // A callback that fails ends the call for the caller, and the connection with it; the next one is as good.
    EXPECT_THROW(
        static_cast<void>(remote->activate("R", {.verify = false,
                                                 .progress = [](std::size_t, std::size_t) { throw std::bad_alloc(); },
                                                 .begun = [](std::int64_t) {}})),
        std::bad_alloc);
    EXPECT_EQ(remote->domains().size(), 1U);
}

/// An activation that begins, and ends once it is let go or stopped.
class LongActivation
{
public:
    explicit LongActivation(ServedProject& served)
    {
        served.project.on_activate = [this](std::string const& /*recipe*/, ActivationOptions const& options)
        {
            m_begun.set_value();
            while (m_let_go.wait_for(1ms) == std::future_status::timeout && !*options.stop)
            {
            }
            m_was_stopped = options.stop->load();
            return ActivationReport{.text = m_was_stopped ? "stopped" : "to its end"};
        };
    }

    void wait_for_begin() { m_begun.get_future().wait(); }
    void let_go() { m_go.set_value(); }
    bool was_stopped() const { return m_was_stopped; }

private:
    std::promise<void> m_begun;
    std::promise<void> m_go;
    std::future<void> m_let_go = m_go.get_future();
    std::atomic<bool> m_was_stopped = false;
};

TEST(Activation, goes_on_where_its_caller_vanishes)
{
    for (auto const kills_link : {false, true})
    {
        ServedProject served;
        LongActivation activation(served);
        served.start();
        {
            auto channel = served.greeted();
            Wire::ByteWriter call;
            Wire::CallerSide caller;
            std::atomic<bool> const stop = false;
            call.text("activate");
            Wire::Operations::activate.write_arguments(Wire::Encoder(call, &caller), "R", {.stop = &stop});
            channel.send(MessageKind::call, call.bytes());
            activation.wait_for_begin();
            if (kills_link)
            {
                channel.send(MessageKind::call, "a call in the middle of another");
            }
        }
        EXPECT_EQ(served.connect()->domains().size(), 1U);
        activation.let_go();
        served.stop();
        EXPECT_FALSE(activation.was_stopped());
    }
}

TEST(Stop, waits_for_what_runs_and_takes_nothing_new)
{
    for (auto const is_patient : {true, false})
    {
        SCOPED_TRACE(is_patient);
        ServedProject served;
        LongActivation activation(served);
        auto settings = served.settings();
        settings.patience = is_patient ? 60s : 0s;
        served.start(settings);
        auto const remote = served.connect();
        std::atomic<bool> const never = false;
        auto report = std::async(std::launch::async, [&] { return remote->activate("R", {.stop = &never}); });
        activation.wait_for_begin();
        auto stopped = std::async(std::launch::async, [&] { served.stop(); });
        while (std::filesystem::exists(served.folder() / "ravik.sock"))
        {
        }
        EXPECT_EQ(served.connect(), nullptr);
        if (is_patient)
        {
            EXPECT_EQ(stopped.wait_for(0s), std::future_status::timeout);
            activation.let_go();
        }
        stopped.get();
        auto const ended = report.get();
        EXPECT_EQ(activation.was_stopped(), !is_patient);
        EXPECT_EQ(ended.text, is_patient ? "to its end" : ended.text);
        EXPECT_EQ(ended.error, is_patient ? ErrorValue::SUCCESS : ErrorValue::NETWORK) << ended.text;
        EXPECT_EQ(ended.text.find("it is not known whether") != std::string::npos, !is_patient) << ended.text;

        auto const none = remote->set("Line", "a", Value(1));
        EXPECT_EQ(none.error, ErrorValue::NETWORK);
        EXPECT_NE(none.text.find("the service has ended"), std::string::npos) << none.text;
        EXPECT_THROW(static_cast<void>(remote->domains()), ProjectError);
        auto const group = remote->read_symbols({"A", "B"});
        ASSERT_EQ(group.commands.size(), 2U);
        EXPECT_EQ(group.commands[1].result, ErrorValue::NETWORK);
    }
}

TEST(Requests, belong_to_the_connection_that_began_them)
{
    ServedProject served;
    served.project.on_call = [](RavikSrv::Session request, Origin const& /*origin*/)
    {
        FunctionOutcome outcome;
        outcome.text = std::to_string(request.id());
        return outcome;
    };
    served.start();
    auto const first = served.connect();
    auto second = served.connect();
    auto const request = first->begin_request();
    EXPECT_EQ(first->call(request, "D", "F", {}).text, std::to_string(request.id()));
    EXPECT_EQ(first->call(request, "D", "F", {}).text, std::to_string(request.id()));
    auto const refused = second->call(RavikSrv::Session(0), "D", "F", {});
    EXPECT_EQ(refused.error, ErrorValue::UNEXPECTED);
    EXPECT_NE(refused.text.find("no such request"), std::string::npos) << refused.text;
}

TEST(FailedCalls, on_either_side_are_told_and_leave_the_service_as_it_is)
{
    ServedProject served;
    Value deep(1);
    for (int depth = 0; depth < 1000; ++depth)
    {
        Value around(RavikSrv::ValueType::Vector);
        around << deep;
        deep = around;
    }
    served.project.on_get = [&](std::string const& path)
    {
        ConfigurationOutcome outcome;
        outcome.value = path == "deep" ? deep : throw std::runtime_error("no memory for this");
        return outcome;
    };
    served.start();
    auto const remote = served.connect();
    auto const thrown = remote->get("D", "");
    EXPECT_EQ(thrown.error, ErrorValue::UNEXPECTED);
    EXPECT_EQ(thrown.text, "no memory for this");
    EXPECT_NE(remote->get("D", "deep").text.find("nested too deep"), std::string::npos);
    auto const unsendable = remote->set("D", "p", deep);
    EXPECT_EQ(unsendable.error, ErrorValue::INVALID_PARAMETER);
    EXPECT_EQ(remote->domains().size(), 1U);
}

} // namespace

} // namespace Ravik::Test
