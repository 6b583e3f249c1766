#include "Library/LibraryTest.h"
#include "Support/TcpProxy.h"

#include "History/timestamp.h"

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <chrono>
#include <future>
#include <thread>
#include <unistd.h>

namespace Ravik::Test
{

namespace
{

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ErrorKind = LibraryError::Kind;
using Clock = std::chrono::steady_clock;

constexpr auto waiting_turns = "SELECT count(*) FROM pg_locks WHERE locktype = 'advisory' AND NOT granted";

class PostgresLibraryTest : public LibraryTest
{
};

// Turns ---------------------------------------------------------------------------------------------------------------

TEST_F(PostgresLibraryTest, turns_are_had_one_at_a_time_in_the_order_of_asking)
{
    auto const first = connect("line1", Kind::Turns);
    auto head = first->begin_turn();
    std::vector<std::string> order;
    std::vector<std::future<void>> others;
    for (auto const* const name : {"line2", "line3", "line4"})
    {
        others.push_back(std::async(std::launch::async,
                                    [this, name, &order]
                                    {
                                        auto const other = connect(name, Kind::Turns);
                                        auto const found = other->begin_turn();
                                        order.emplace_back(name);
                                        static_cast<void>(other->commit(draft(found, {row(name, 1, "{}")})));
                                    }));
        await(waiting_turns, std::to_string(others.size()));
    }
    // What is changed meanwhile lets nobody pass who asked later.
    static_cast<void>(first->commit(draft(head, {row("first", 1, "{}")})));
    for (auto& other : others)
    {
        other.get();
    }
    EXPECT_THAT(order, ElementsAre("line2", "line3", "line4"));
    EXPECT_EQ(first->head().position.revision, 4);
}

TEST_F(PostgresLibraryTest, a_turn_that_nobody_ends_is_over_after_seconds)
{
    auto const frozen = connect("line1", Kind::Turns);
    auto const head = frozen->begin_turn();
    auto const other = connect("line2", Kind::Turns);
    auto const asked = Clock::now();
    edit(*other, {row("a", 1, "{}")});
    EXPECT_LT(Clock::now() - asked, 15s);
    auto const failure = failure_of([&] { static_cast<void>(frozen->commit(draft(head, {row("b", 1, "{}")}))); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, ErrorKind::Unreachable) << failure->text;
    EXPECT_EQ(other->everything().rows.size(), 1);
}

TEST_F(PostgresLibraryTest, an_edit_that_is_refused_leaves_nothing_and_the_link_works_on)
{
    auto const library = connect("line1", Kind::Turns);
    auto const failure = failure_of(
        [&]
        {
            auto const head = library->begin_turn();
            static_cast<void>(library->commit(draft(head, {row("a", 1, "{}"), row(std::string(2001, 'x'), 2, "{}")})));
        });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, ErrorKind::Refused);
    EXPECT_THAT(failure->text, HasSubstr("at most 2,000 bytes"));
    EXPECT_EQ(edit(*library, {row(std::string(2000, 'x'), 1, "{}")}).revision, 1);
    EXPECT_EQ(library->everything().rows.size(), 1);
}

// Edits and news ------------------------------------------------------------------------------------------------------

TEST_F(PostgresLibraryTest, news_are_what_came_since_a_position)
{
    auto const library = connect("line1", Kind::Turns);
    auto const weird = row("Süß/\"a\"\\{b}/,", 2, R"({"text": "\"\\ {,} NULL", "number": 1.50, "ä": null})");
    auto const folder = row("folder", 1, std::nullopt);
    auto const first = edit(*library, {weird, folder});
    auto const renamed = row("new", 2, "{}");
    auto const second = edit(*library, {removed(weird), renamed, row("third", 3, "3")});

    auto const all = library->news({});
    EXPECT_TRUE(all.is_known && all.is_whole);
    EXPECT_THAT(all.rows, ElementsAre(folder, renamed, row("third", 3, "3")));
    EXPECT_EQ(all.head.sum, sum_of(all.rows));
    EXPECT_EQ(all.head.last_rank, 3);
    EXPECT_EQ(all.head.position, second);

    auto const news = library->news(first);
    EXPECT_TRUE(news.is_known && !news.is_whole);
    EXPECT_THAT(news.rows, ElementsAre(removed(weird), renamed, row("third", 3, "3")));
    ASSERT_EQ(news.records.size(), 1);
    EXPECT_EQ(news.records.front().revision, 2);
    EXPECT_EQ(news.records.front().record.edit, second.edit);
    EXPECT_EQ(news.records.front().record.who, "anna");

    EXPECT_TRUE(library->news(second).rows.empty());
    for (auto const& unknown : {LibraryPosition{1, "another"}, LibraryPosition{2, "another"}, LibraryPosition{3, ""}})
    {
        auto const none = library->news(unknown);
        EXPECT_FALSE(none.is_known) << unknown.revision;
        EXPECT_TRUE(none.rows.empty() && none.records.empty());
    }
    EXPECT_EQ(library->everything().rows, all.rows);
    // The same in a turn.
    library->begin_turn();
    EXPECT_EQ(library->news(first).rows, news.rows);
    library->end_turn();
}

TEST_F(PostgresLibraryTest, records_are_given_the_times_of_the_database)
{
    auto const library = connect("line1", Kind::Turns);
    auto made = draft(library->begin_turn(), {row("a", 1, "{}")});
    made.records.push_back(made.records.front());
    made.records.back().text = "the second one";
    auto const times = library->commit(made);
    ASSERT_EQ(times.size(), 2);
    auto const news = library->news({});
    ASSERT_EQ(news.records.size(), 2);
    for (std::size_t index = 0; index < 2; ++index)
    {
        auto expected = made.records[index];
        expected.time = times[index];
        EXPECT_EQ(news.records[index].record, expected);
        auto const time = read_timestamp(times[index]);
        ASSERT_TRUE(time);
        EXPECT_EQ(timestamp(*time), times[index]) << "it has another form";
        EXPECT_LT(std::chrono::abs(std::chrono::system_clock::now() - *time), 60s);
    }
    EXPECT_EQ(library->record_of(made.head.position.edit)->record, news.records[0].record);
    EXPECT_FALSE(library->record_of("another"));

    // An edit without a record is known all the same.
    made = draft(library->begin_turn(), {row("b", 2, "{}")});
    made.records.clear();
    EXPECT_TRUE(library->commit(made).empty());
    edit(*library, {row("c", 3, "{}")});
    EXPECT_EQ(library->news({}).records.size(), 3);
    EXPECT_EQ(library->news(made.head.position).rows.size(), 1);
    EXPECT_EQ(library->record_of(made.head.position.edit)->revision, 2);
}

TEST_F(PostgresLibraryTest, many_rows_are_one_edit)
{
    auto const library = connect("line1", Kind::Turns);
    std::vector<LibraryRow> rows;
    for (int index = 1; index <= 10000; ++index)
    {
        rows.push_back(row("recipes/" + std::to_string(index), index, std::string(1000, 'v')));
    }
    edit(*library, rows);
    EXPECT_EQ(library->everything().rows, rows);
}

TEST_F(PostgresLibraryTest, what_is_too_old_goes_and_copies_older_than_that_read_everything)
{
    auto const library = connect("line1", Kind::Turns);
    auto const gone = row("gone", 1, "{}");
    auto const first = edit(*library, {gone, row("stays", 2, "{}")});
    auto const second = edit(*library, {removed(gone)});
    EXPECT_EQ(library->news(first).rows.size(), 1);
    // As if as many revisions had been made.
    run("UPDATE ravik.head SET revision = 11999");
    edit(*library, {row("more", 3, "{}")});
    EXPECT_EQ(library->head().removals_since, 2000);
    run("UPDATE ravik.head SET revision = 12015");
    edit(*library, {row("most", 4, "{}")});
    auto const news = library->news(second);
    EXPECT_TRUE(news.is_known && news.is_whole);
    EXPECT_THAT(news.rows, ElementsAre(row("stays", 2, "{}"), row("more", 3, "{}"), row("most", 4, "{}")));
    EXPECT_EQ(run("SELECT path FROM ravik.entries WHERE removed"), "");

    run("UPDATE ravik.head SET revision = 112015");
    edit(*library, {row("last", 5, "{}")});
    EXPECT_EQ(run("SELECT DISTINCT revision FROM ravik.history ORDER BY revision"), "112016");
    EXPECT_TRUE(library->news(second).is_known && library->news(second).is_whole);
}

TEST_F(PostgresLibraryTest, readers_see_whole_revisions_only)
{
    auto const writer = connect("line1", Kind::Turns);
    auto const reader = connect("line2", Kind::Turns);
    std::atomic<bool> is_done = false;
    auto const writing =
        std::async(std::launch::async,
                   [&]
                   {
                       std::vector<LibraryRow> rows;
                       for (int turn = 0; turn < 200; ++turn)
                       {
                           auto edit = draft(writer->begin_turn(),
                                             {row("a", 1, std::to_string(turn)), row("b", 2, std::to_string(turn))});
                           edit.head.sum = sum_of(edit.rows);
                           static_cast<void>(writer->commit(edit));
                       }
                       is_done = true;
                   });
    LibraryPosition known;
    while (!is_done)
    {
        auto const news = reader->news(known);
        ASSERT_TRUE(news.is_known);
        ASSERT_EQ(news.records.size(), static_cast<std::size_t>(news.head.position.revision - known.revision));
        if (!news.rows.empty())
        {
            ASSERT_EQ(news.rows.size(), 2);
            EXPECT_EQ(news.rows[0].text, news.rows[1].text);
            EXPECT_EQ(news.head.sum, sum_of(news.rows));
        }
        known = news.head.position;
    }
}

// Faults --------------------------------------------------------------------------------------------------------------

TEST_F(PostgresLibraryTest, the_outcome_of_an_edit_is_unknown_only_where_its_answer_is_missing)
{
    TcpProxy proxy(server().port());
    struct Case
    {
        std::string what;
        /// Done before the commit.
        std::function<void()> before;
        /// Done while the commit waits for a table that somebody has locked.
        std::function<void()> meanwhile;
        ErrorKind kind;
        bool is_made;
    };
    std::string const backends = " FROM pg_stat_activity WHERE application_name = 'ravik line1'";
    auto const terminate = [&] { run("SELECT pg_terminate_backend(pid)" + backends); };
    auto const set = [&proxy](TcpProxy::Mode mode) { return [&proxy, mode] { proxy.set(mode); }; };
    std::vector<Case> const cases{
        {"the answer is lost", set(TcpProxy::Mode::LosingAnswer), {}, ErrorKind::OutcomeUnknown, true},
        {"the request is lost", set(TcpProxy::Mode::LosingRequest), {}, ErrorKind::OutcomeUnknown, false},
        {"the link is cut", {}, set(TcpProxy::Mode::Cut), ErrorKind::OutcomeUnknown, true},
        {"the session is ended before",
         [&]
         {
             terminate();
             await("SELECT count(*)" + backends, "0");
         },
         {},
         ErrorKind::Unreachable,
         false},
        {"the session is ended", {}, terminate, ErrorKind::Unreachable, false},
        {"it is cancelled",
         {},
         [&] { run("SELECT pg_cancel_backend(pid)" + backends); },
         ErrorKind::Unreachable,
         false},
    };
    for (auto const& [what, before, meanwhile, kind, is_made] : cases)
    {
        SCOPED_TRACE(what);
        proxy.set(TcpProxy::Mode::Passing);
        LibrarySettings const through{settings.postgresql + " port=" + std::to_string(proxy.port()), settings.schema};
        auto const library = Library::connect(through, caller("line1"), Kind::Turns);
        auto const made = draft(library->begin_turn(), {row("a", 1, "{}")});
        before ? before() : void();
        PostgresServer::Session const blocker(settings.postgresql);
        blocker.run(meanwhile ? "BEGIN; LOCK TABLE ravik.entries" : "BEGIN");
        auto committing = std::async(std::launch::async,
                                     [&] { return failure_of([&] { static_cast<void>(library->commit(made)); }); });
        if (meanwhile)
        {
            await("SELECT count(*) FROM pg_locks WHERE relation = 'ravik.entries'::regclass AND NOT granted", "1");
            meanwhile();
        }
        auto const failure = committing.get();
        blocker.run("COMMIT");
        ASSERT_TRUE(failure);
        EXPECT_EQ(failure->kind, kind) << failure->text;
        // Whoever looks while nobody else has the head sees what became of it.
        auto const other = connect("line2", Kind::Turns);
        other->begin_turn();
        EXPECT_EQ(other->record_of(made.head.position.edit).has_value(), is_made);
        other->end_turn();
    }
}

TEST_F(PostgresLibraryTest, an_edit_that_its_standby_has_not_confirmed_is_not_told_as_made)
{
    PostgresServer alone;
    LibrarySettings const there{.postgresql = alone.settings()};
    Library::initialise(there, false);
    // What the database's people set for others does not make an edit less safe.
    alone.run("ALTER DATABASE postgres SET synchronous_commit = off");
    alone.stop();
    alone.configure("synchronous_standby_names = 'standby'");
    alone.start();
    auto const library = Library::connect(there, caller("line1"), Kind::Turns);
    auto const made = draft(library->begin_turn(), {row("a", 1, "{}")});
    auto committing =
        std::async(std::launch::async, [&] { return failure_of([&] { static_cast<void>(library->commit(made)); }); });
    auto const waits = " FROM pg_stat_activity WHERE wait_event = 'SyncRep'";
    auto const deadline = Clock::now() + 30s;
    while (alone.run("SELECT pg_cancel_backend(pid)" + std::string(waits)).empty() && Clock::now() < deadline)
    {
        std::this_thread::yield();
    }
    auto const failure = committing.get();
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, ErrorKind::OutcomeUnknown) << failure->text;
    EXPECT_TRUE(Library::connect(there, caller("line2"), Kind::Turns)->record_of(made.head.position.edit));
}

TEST_F(PostgresLibraryTest, a_database_that_gives_no_answer_is_waited_for_for_seconds)
{
    TcpProxy proxy(server().port());
    LibrarySettings const through{settings.postgresql + " port=" + std::to_string(proxy.port()), settings.schema};
    auto const library = Library::connect(through, caller("line1"), Kind::Turns);
    proxy.set(TcpProxy::Mode::Frozen);
    for (auto const& act :
         std::vector<std::function<void()>>{
             [&] { static_cast<void>(library->head()); }, [&] { static_cast<void>(library->head()); },
             [&] { static_cast<void>(Library::connect(through, caller("line1"), Kind::Turns)); }})
    {
        auto const begun = Clock::now();
        auto const failure = failure_of(act);
        ASSERT_TRUE(failure);
        EXPECT_EQ(failure->kind, ErrorKind::Unreachable);
        EXPECT_THAT(failure->text, HasSubstr(std::to_string(proxy.port())));
        EXPECT_LT(Clock::now() - begun, 6s);
    }
}

// Following -----------------------------------------------------------------------------------------------------------

TEST_F(PostgresLibraryTest, a_follower_waits_for_news_for_a_wake_or_for_the_time)
{
    auto const follower = join("line1", Kind::Following);
    auto const writer = connect("line2", Kind::Turns);
    follower->check_notifications(*writer);
    std::atomic<std::int64_t> known = 0;
    EXPECT_FALSE(follower->wait(10ms, -1, known));
    edit(*writer, {row("a", 1, "{}")});
    EXPECT_TRUE(follower->wait(10s, -1, known));
    EXPECT_FALSE(follower->wait(0ms, -1, known)) << "told twice of one revision";
    auto waiting = std::async(std::launch::async, [&] { return follower->wait(10s, -1, known); });
    edit(*writer, {row("b", 2, "{}")});
    EXPECT_TRUE(waiting.get());
    known = writer->head().position.revision + 1;
    edit(*writer, {row("c", 3, "{}")});
    EXPECT_FALSE(follower->wait(10ms, -1, known)) << "told of what it knows";

    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    ASSERT_EQ(write(ends[1], "", 1), 1);
    auto const begun = Clock::now();
    EXPECT_FALSE(follower->wait(10s, ends[0], known));
    EXPECT_LT(Clock::now() - begun, 5s);
    close(ends[0]);
    close(ends[1]);

    // Another library in the same database has notifications of its own.
    LibrarySettings const neighbour{settings.postgresql, "other \"ö\" " + std::string(45, 'x')};
    Library::initialise(neighbour, false);
    edit(*Library::connect(neighbour, caller("line2"), Kind::Turns), {row("a", 1, "{}")});
    EXPECT_FALSE(follower->wait(50ms, -1, known));

    auto ended = std::async(std::launch::async,
                            [&] { return failure_of([&] { static_cast<void>(follower->wait(10s, -1, known)); }); });
    run("SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE application_name = 'ravik line1'");
    auto const failure = ended.get();
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, ErrorKind::Unreachable);
}

TEST_F(PostgresLibraryTest, a_store_is_at_work_in_one_process)
{
    auto const refused = [this](std::string const& name, std::string const& process)
    {
        auto const failure = failure_of([&] { static_cast<void>(connect(name, Kind::Following, process)); });
        return failure && failure->kind == ErrorKind::Refused ? failure->text : "it is not refused";
    };
    auto const first = join("line1", Kind::Following, "one");
    auto const second = join("line2", Kind::Following);
    EXPECT_THAT(refused("line1", "two"), HasSubstr("the store of 'line1' is at work elsewhere, too (from 127.0.0.1)"));
    // A link of the same process has been lost without the database having noticed.
    auto again = connect("line1", Kind::Following, "one");
    EXPECT_TRUE(failure_of([&] { static_cast<void>(first->head()); }));
    auto const peers = again->peers();
    ASSERT_EQ(peers.size(), 2);
    EXPECT_EQ(peers[0].name + " " + peers[0].address, "line1 127.0.0.1");
    EXPECT_EQ(peers[1].name, "line2");
    EXPECT_TRUE(read_timestamp(peers[0].since));
    again.reset();
    EXPECT_NE(connect("line1", Kind::Following, "two"), nullptr);

    EXPECT_THAT(refused("line3", ""), HasSubstr("does not know this project's store as the server 'line3'"));
    second->strike(caller("line2").server);
    EXPECT_THAT(refused("line2", ""), HasSubstr("ravik library join"));
    EXPECT_EQ(second->servers(), std::vector{caller("line1").server});
}

TEST_F(PostgresLibraryTest, a_name_belongs_to_one_store)
{
    auto const library = connect("line1", Kind::Turns);
    library->enter(caller("line1").server);
    library->enter(caller("line1").server);
    library->begin_turn();
    library->enter(caller("line2").server);
    library->end_turn();
    EXPECT_EQ(library->servers().size(), 1) << "it was entered without the turn that it belonged to";
    auto const failure = failure_of([&] { library->enter({.name = "line1", .store = "another"}); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, ErrorKind::Refused);
    EXPECT_THAT(failure->text, HasSubstr("has a server 'line1' with another store"));
    library->enter({.name = "new", .store = caller("line1").server.store});
    EXPECT_EQ(library->servers(), (std::vector{LibraryServer{"new", caller("line1").server.store}}));
}

TEST_F(PostgresLibraryTest, a_database_that_was_killed_has_all_that_it_acknowledged)
{
    PostgresServer durable({.is_durable = true, .configuration = "", .access = ""});
    LibrarySettings const there{.postgresql = durable.settings()};
    Library::initialise(there, false);
    auto library = Library::connect(there, caller("line1"), Kind::Turns);
    auto const made = edit(*library, {row("a", 1, "{}")});
    durable.stop(PostgresServer::How::Killed);
    auto const failure = failure_of([&] { static_cast<void>(library->head()); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, ErrorKind::Unreachable);
    durable.start();
    library = Library::connect(there, caller("line1"), Kind::Turns);
    EXPECT_EQ(library->head().position, made);
}

} // namespace

} // namespace Ravik::Test
