#include "Library/LibraryTest.h"
#include "Support/TemporaryFolder.h"

#include "Configuration/Store.h"
#include "Configuration/configuration_keys.h"
#include "Project/library_membership.h"
#include "Project/project_store.h"
#include "Json/Json.h"

#include <gmock/gmock.h>

#include <utility>

namespace Ravik::Test
{
namespace
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// Paths with their texts in their order; without a text it is a folder.
using Rows = std::vector<std::pair<std::string, std::optional<std::string>>>;

Rows told(std::vector<LibraryRow> const& rows)
{
    Rows result;
    result.reserve(rows.size());
    for (auto const& each : rows)
    {
        result.emplace_back(each.path, each.text);
    }
    return result;
}

/// A project that names the library.
class Line
{
public:
    explicit Line(LibrarySettings const& settings)
    {
        m_folder.write("ravik.json", R"({"extensions": [], "library": {"postgresql": )" +
                                         Json::write(RavikSrv::Value(std::string_view(settings.postgresql))) + "}}");
    }

    std::filesystem::path const& folder() const { return m_folder.path(); }
    std::unique_ptr<Store> store() const { return Store::open(store_of(folder()), std::chrono::seconds(0)); }
    Rows rows() const { return told(store()->recipe_rows()); }

    void fill(Rows const& rows) const
    {
        auto const opened = store();
        opened->begin();
        for (auto const& [path, text] : rows)
        {
            auto const value = text ? Json::parse(*text) : RavikSrv::Value();
            opened->put(std::string(recipe_domain), path, text ? &value : nullptr);
        }
        opened->commit();
    }

    JoinReport join(std::string const& name, Side side = Side::None) const
    {
        return join_library(folder(), {.name = name, .side = side}, {.trust = true});
    }

    /// Takes the place of the store of another one.
    void copy_store(Line const& from) const
    {
        std::filesystem::remove(store_of(folder()));
        from.store()->backup(store_of(folder()));
    }

private:
    TemporaryFolder m_folder;
};

class Membership : public LibraryTest
{
protected:
    /// Gives the library these rows.
    void stock(Rows const& rows)
    {
        auto const library = join("stock", Kind::Turns);
        std::vector<LibraryRow> stocked;
        for (auto const& [path, text] : rows)
        {
            stocked.push_back(row(path, static_cast<std::int64_t>(stocked.size()) + 1, text));
        }
        static_cast<void>(edit(*library, stocked));
        library->strike(caller("stock").server);
    }

    LibraryNews content() const { return connect("looks", Kind::Turns)->everything(); }
    std::vector<std::string> names() const
    {
        std::vector<std::string> names;
        for (auto const& each : connect("looks", Kind::Turns)->servers())
        {
            names.push_back(each.name);
        }
        return names;
    }

    /// The store is a copy of the library as it stands, and that adds up.
    void expect_copy(Line const& line, std::string const& name) const
    {
        EXPECT_TRUE(check_project_store(line.folder(), {}).is_whole());
        auto const library = content();
        auto const store = line.store();
        ASSERT_TRUE(store->library());
        EXPECT_EQ(store->library()->library, library.head.library);
        EXPECT_EQ(store->library()->server.name, name);
        EXPECT_EQ(store->library()->position, library.head.position);
        EXPECT_EQ(store->recipe_rows(), library.rows);
        EXPECT_EQ(store->shared_sum(), library.head.sum);
        EXPECT_EQ(sum_of(library.rows), library.head.sum);
        EXPECT_TRUE(library.rows.empty() || library.rows.back().rank <= library.head.last_rank);
    }
};

Rows const types{{"recipeTypeList", {}}, {"recipeTypeList::Dough", R"({"members":{}})"}};

TEST_F(Membership, brings_project_and_library_together)
{
    auto const bread = R"({"values":{"a":1.0}})";
    auto const other = R"({"values":{"a":2}})";
    struct Case
    {
        char const* what;
        Rows own;
        Rows library;
        Side side;
        std::vector<std::string> clashes;
        Rows together;
        bool keeps_store = false;
    };
    std::vector<Case> const cases = {
        {"nothing and nothing", {}, {}, Side::None, {}, {}},
        {"an empty library", {{"r", {}}, {"r::B", bread}}, {}, Side::None, {}, {{"r", {}}, {"r::B", bread}}},
        {"an empty project", {}, {{"r", {}}, {"r::B", bread}}, Side::None, {}, {{"r", {}}, {"r::B", bread}}},
        {"what only one has comes behind the library's",
         {{"r", {}}, {"r::New", {}}, {"r::New::X", bread}, {"r::B", bread}},
         {{"r", {}}, {"r::C", other}, {"r::B", bread}},
         Side::None,
         {},
         {{"r", {}}, {"r::C", other}, {"r::B", bread}, {"r::New", {}}, {"r::New::X", bread}}},
        {"other texts", {{"r", {}}, {"r::B", bread}}, {{"r", {}}, {"r::B", other}}, Side::None, {"r::B"}, {}},
        {"1.0 is not 1", {{"B", "1.0"}}, {{"B", "1"}}, Side::None, {"B"}, {}},
        {"other texts, ours",
         {{"r", {}}, {"r::B", bread}},
         {{"r", {}}, {"r::B", other}, {"r::C", other}},
         Side::Ours,
         {},
         {{"r", {}}, {"r::B", bread}, {"r::C", other}}},
        {"other texts, theirs",
         {{"r", {}}, {"r::A", bread}, {"r::B", bread}},
         {{"r", {}}, {"r::B", other}},
         Side::Theirs,
         {},
         {{"r", {}}, {"r::B", other}, {"r::A", bread}},
         true},
        {"a folder against an entry",
         {{"r", {}}, {"r::B", {}}, {"r::B::C", bread}},
         {{"r", {}}, {"r::B", other}},
         Side::None,
         {"r::B", "r::B::C"},
         {}},
        {"a folder against an entry, ours",
         {{"r", {}}, {"r::B", {}}, {"r::B::C", bread}},
         {{"r", {}}, {"r::B", other}, {"r::Z", other}},
         Side::Ours,
         {},
         {{"r", {}}, {"r::B", {}}, {"r::Z", other}, {"r::B::C", bread}}},
        {"a folder against an entry, theirs",
         {{"r", {}}, {"r::B", {}}, {"r::B::C", bread}},
         {{"r", {}}, {"r::B", other}},
         Side::Theirs,
         {},
         {{"r", {}}, {"r::B", other}},
         true},
        {"an entry against a folder, ours",
         {{"r", {}}, {"r::B", bread}},
         {{"r", {}}, {"r::B", {}}, {"r::B::C", other}},
         Side::Ours,
         {},
         {{"r", {}}, {"r::B", bread}}},
    };
    for (auto const& each : cases)
    {
        SCOPED_TRACE(each.what);
        run("SET client_min_messages = warning; DROP SCHEMA ravik CASCADE");
        Library::initialise(settings, false);
        if (!each.library.empty())
        {
            stock(each.library);
        }
        Line const line(settings);
        line.fill(each.own);
        auto const before = content();
        auto const report = line.join("Line 1", each.side);
        EXPECT_EQ(report.clashes, each.clashes);
        if (!each.clashes.empty())
        {
            EXPECT_EQ(told(content().rows), told(before.rows));
            EXPECT_EQ(content().head, before.head);
            EXPECT_EQ(line.rows(), each.own);
            EXPECT_FALSE(line.store()->library());
            EXPECT_THAT(names(), IsEmpty());
            continue;
        }
        EXPECT_EQ(told(content().rows), each.together);
        EXPECT_EQ(content().head.position.revision, report.revision);
        EXPECT_THAT(names(), ElementsAre("Line 1"));
        EXPECT_EQ(!report.backup.empty(), each.keeps_store);
        if (each.keeps_store)
        {
            EXPECT_EQ(told(Store::open(report.backup, {})->recipe_rows()), each.own);
        }
        expect_copy(line, "Line 1");
    }
}

TEST_F(Membership, is_told_by_both_histories)
{
    Line const line(settings);
    line.fill(types);
    static_cast<void>(line.join("Line 1", Side::Ours));
    auto const edit = line.store()->library()->position.edit;
    auto const own = line.store()->record_of_edit(edit);
    auto const shared = connect("looks", Kind::Turns)->record_of(edit);
    ASSERT_TRUE(own && shared);
    EXPECT_EQ(shared->record.asked, "library join 'Line 1' --ours");
    EXPECT_EQ(shared->record.server, "Line 1");
    EXPECT_EQ(own->time, shared->record.time);
    EXPECT_THAT(own->places, HasSubstr("recipeTypeList::Dough"));
}

TEST_F(Membership, joins_again_under_another_name_and_leaves)
{
    Line const line(settings);
    line.fill(types);
    EXPECT_FALSE(line.join("Line 1").was_joined);
    auto const again = line.join("");
    EXPECT_TRUE(again.was_joined);
    EXPECT_EQ(again.server, "Line 1");
    EXPECT_TRUE(line.join("Line 2").was_joined);
    EXPECT_THAT(names(), ElementsAre("Line 2"));
    expect_copy(line, "Line 2");

    Line const second(settings);
    auto const taken = failure_of([&] { static_cast<void>(second.join("Line 2")); });
    ASSERT_TRUE(taken);
    EXPECT_THAT(taken->text, HasSubstr("'Line 2'"));

    auto const left = leave_library(line.folder(), {.trust = true});
    EXPECT_EQ(left.still_known, "");
    EXPECT_EQ(line.rows(), types);
    EXPECT_FALSE(line.store()->library());
    EXPECT_THAT(names(), IsEmpty());
    EXPECT_EQ(told(content().rows), types);
    EXPECT_TRUE(failure_of([&] { static_cast<void>(leave_library(line.folder(), {.trust = true})); }));
}

TEST_F(Membership, is_named_after_the_host_and_the_folder)
{
    Line const first(settings);
    Line const second(settings);
    auto const host = first.join("").server;
    EXPECT_EQ(second.join("").server, host + '-' + second.folder().filename().string());
}

TEST_F(Membership, gives_a_copied_store_an_identity_of_its_own)
{
    Line const line(settings);
    line.fill(types);
    static_cast<void>(line.join("Line 1"));
    Line const copy(settings);
    copy.copy_store(line);
    // The first one is at work.
    auto const at_work =
        Library::connect(settings, {.server = line.store()->library()->server, .process = "another"}, Kind::Following);
    auto const refused = failure_of([&] { static_cast<void>(copy.join("")); });
    ASSERT_TRUE(refused);
    EXPECT_THAT(refused->text, HasSubstr("library join NAME"));
    EXPECT_TRUE(copy.join("Line 2").was_joined);
    EXPECT_THAT(names(), ElementsAre("Line 1", "Line 2"));
    EXPECT_NE(copy.store()->library()->server.store, line.store()->library()->server.store);
    expect_copy(copy, "Line 2");
}

TEST_F(Membership, lets_a_side_decide_where_the_library_went_back)
{
    auto const bread = std::string(R"({"values":{}})");
    for (auto const side : {Side::Ours, Side::Theirs})
    {
        run("SET client_min_messages = warning; DROP SCHEMA ravik CASCADE");
        Library::initialise(settings, false);
        stock({{"A", bread}, {"Gone", bread}});
        Line const line(settings);
        line.fill({{"B", bread}});
        static_cast<void>(line.join("Line 1"));
        // The newest edit is lost, and another one was made in its place.
        run("DELETE FROM ravik.history WHERE revision = 2");
        run("DELETE FROM ravik.entries WHERE path = 'B'");
        auto const head = content();
        run("UPDATE ravik.head SET revision = 1, sum = " +
            std::to_string(static_cast<std::int64_t>(sum_of(head.rows))) +
            ", edit = (SELECT edit FROM ravik.history WHERE revision = 1)");
        {
            auto const other = join("Line 2", Kind::Turns);
            static_cast<void>(edit(*other, {row("C", 7, bread), removed(head.rows.at(1))}));
        }
        EXPECT_THAT(failure_of([&] { static_cast<void>(line.join("")); })->text, HasSubstr("--theirs"));
        auto const report = line.join("", side);
        EXPECT_EQ(line.rows(), side == Side::Theirs ? (Rows{{"A", bread}, {"C", bread}})
                                                    : (Rows{{"A", bread}, {"Gone", bread}, {"B", bread}}));
        EXPECT_EQ(report.backup.empty(), side == Side::Ours);
        expect_copy(line, "Line 1");
    }
}

TEST_F(Membership, leaves_without_a_link)
{
    Line const line(settings);
    line.fill(types);
    static_cast<void>(line.join("Line 1"));
    Line const alone({.postgresql = "host=127.0.0.1 port=1 dbname=nothing"});
    alone.copy_store(line);
    auto const left = leave_library(alone.folder(), {.trust = true});
    EXPECT_NE(left.still_known, "");
    EXPECT_EQ(alone.rows(), types);
    EXPECT_TRUE(failure_of([&] { static_cast<void>(alone.join("Line 1")); }));
    EXPECT_EQ(alone.rows(), types);
}

} // namespace
} // namespace Ravik::Test
