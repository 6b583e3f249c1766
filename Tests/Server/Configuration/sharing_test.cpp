#include "Configuration/Configuration.h"
#include "Configuration/configuration_keys.h"
#include "Configuration/random_id.h"

#include "Support/TemporaryFolder.h"
#include "Json/Json.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

namespace Ravik::Test
{
namespace
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using namespace std::chrono_literals;
using Turn = Configuration::Turn;

auto const domain = std::string(recipe_domain);

/// A library in memory.
struct SharedRows
{
    LibraryHead head{.library = "L", .position = {}, .sum = 0, .last_rank = 0, .removals_since = 0};
    std::map<std::string, std::pair<std::int64_t, LibraryRow>> rows;

    LibraryNews since(std::int64_t revision, bool is_whole) const
    {
        LibraryNews news{.head = head, .is_known = true, .is_whole = is_whole, .rows = {}, .records = {}};
        for (auto const& [path, row] : rows)
        {
            if (is_whole ? !row.second.is_removed : row.first > revision)
            {
                news.rows.push_back(row.second);
            }
        }
        std::sort(news.rows.begin(), news.rows.end(),
                  [](LibraryRow const& left, LibraryRow const& right) { return left.rank < right.rank; });
        return news;
    }
};

/// A server at it, whose turns nobody contends for.
class Server : public Configuration::Gate
{
public:
    Server(std::string name, SharedRows& shared) : m_name(std::move(name)), m_shared(shared)
    {
        auto const store = Store::open(file(), 0s);
        store->begin();
        store->join_library({.library = "L", .server = {.name = m_name, .store = m_name}, .position = {}});
        store->commit();
    }

    void open()
    {
        configuration.reset();
        configuration = std::make_unique<Configuration>(Store::open(file(), 0s));
        configuration->add_domain(domain, Value());
        configuration->set_gate(this);
    }

    std::string text() const { return Json::write(configuration->tree(domain)); }

    std::string enter() override { return obstacle; }
    LibraryHead head() const override { return m_shared.head; }
    void leave() noexcept override {}
    void put_back() noexcept override { ++times_put_back; }

    std::string catch_up() override
    {
        auto const copy = configuration->stored_copy();
        if (copy.position != m_shared.head.position)
        {
            Configuration::Following following(*configuration);
            auto const news = m_shared.since(copy.position.revision, m_shared.head.position.revision % 5 == 0);
            static_cast<void>(following.take(news));
            following.commit(news, std::nullopt);
        }
        EXPECT_EQ(configuration->stored_copy().sum, m_shared.head.sum);
        return {};
    }

    Outcome commit(LibraryDraft const& draft, std::vector<StoredRecord>& /*records*/) override
    {
        if (!failure.empty())
        {
            return {.position = {}, .failure = failure, .unknown_edit = "E"};
        }
        auto& head = m_shared.head;
        head.position = {.revision = head.position.revision + 1, .edit = random_id()};
        head.sum = draft.sum();
        head.last_rank = draft.last_rank();
        for (auto const& row : draft.rows())
        {
            m_shared.rows.insert_or_assign(row.path, std::pair(head.position.revision, row));
        }
        return {.position = head.position, .failure = {}, .unknown_edit = {}};
    }

    std::unique_ptr<Configuration> configuration;
    std::string obstacle;
    std::string failure;
    int times_put_back = 0;

private:
    std::filesystem::path file() const { return m_folder.path() / "s.db"; }

    TemporaryFolder m_folder;
    std::string m_name;
    SharedRows& m_shared;
};

/// Edits at random, among them ones that turn entries into folders and back: each server that follows has the tree, to
/// the byte, that the one has that made the edit, and so does one that opens its copy anew.
TEST(Sharing, every_server_comes_to_the_same_tree)
{
    SharedRows shared;
    std::mt19937 random(15); // NOLINT(cert-msc51-cpp,cert-msc32-c): the same edits in every run
    auto const pick = [&random](std::vector<std::string> const& from) { return from[random() % from.size()]; };
    std::vector<std::string> const lists{"recipeList", "recipeTypeList", "other"};
    std::vector<std::string> const names{"A",    "AB",      "F",         "G::A",        "F::A",
                                         "F::B", "F::G::A", "A::values", "A::values::x"};
    std::vector<std::string> const values{R"({"values":{"x":1},"recipeTypeName":"T"})", R"({"members":{"m":{}}})", "{}",
                                          R"({"A":{"values":{}},"B":{}})", "7"};
    Server one("one", shared);
    Server two("two", shared);
    one.open();
    two.open();
    for (int round = 0; round < 300; ++round)
    {
        auto& editing = random() % 2 == 0 ? one : two;
        auto& following = &editing == &one ? two : one;
        {
            Turn turn(*editing.configuration, domain);
            ASSERT_EQ(turn.obstacle(), "");
            EXPECT_EQ(turn.write(domain, pick(lists), Json::parse("{}"), Tree::WriteMode::Merge), ErrorValue::SUCCESS);
            for (auto edits = random() % 6; edits != 0; --edits)
            {
                auto const path = Tree::join(pick(lists), pick(names));
                auto const mode = random() % 2 == 0 ? Tree::WriteMode::Merge : Tree::WriteMode::Replace;
                random() % 3 == 0 ? turn.remove(domain, path)
                                  : turn.write(domain, path, Json::parse(pick(values)), mode);
            }
            if (random() % 4 != 0)
            {
                ASSERT_EQ(turn.commit(), ErrorValue::SUCCESS) << turn.failure();
            }
        }
        if (random() % 3 == 0)
        {
            ASSERT_EQ(following.catch_up(), "");
            ASSERT_EQ(following.text(), editing.text()) << "round " << round;
            following.open();
            ASSERT_EQ(following.text(), editing.text()) << "round " << round << ", opened anew";
        }
    }
}

TEST(Sharing, an_edit_that_the_library_does_not_have_leaves_no_trace)
{
    SharedRows shared;
    Server server("one", shared);
    server.open();
    auto const write = [&](std::string_view turn_of)
    {
        Turn turn(*server.configuration, turn_of);
        auto const written =
            turn.write(domain, "recipeList", Json::parse(R"({"A":{"values":{}}})"), Tree::WriteMode::Replace);
        return written == ErrorValue::SUCCESS ? std::pair(turn.commit(), turn.unknown_edit())
                                              : std::pair(written, turn.obstacle());
    };
    server.failure = "the link was lost";
    EXPECT_EQ(write(domain), std::pair(ErrorValue::STORAGE, std::string("E")));
    EXPECT_EQ(server.times_put_back, 1);
    server.obstacle = "no link";
    EXPECT_EQ(write(domain), std::pair(ErrorValue::STORAGE, std::string("no link")));
    server.failure = server.obstacle = "";
    EXPECT_EQ(write("Line").first, ErrorValue::STORAGE) << "a turn of another domain has none in the library";
    EXPECT_EQ(server.text(), "{}");
    EXPECT_EQ(write(domain).first, ErrorValue::SUCCESS);
    EXPECT_EQ(shared.head.position, server.configuration->stored_copy().position);
}

TEST(Sharing, a_server_that_edits_nothing_any_more_follows_all_the_same)
{
    SharedRows shared;
    Server one("one", shared);
    Server two("two", shared);
    one.open();
    two.open();
    two.configuration->refuse_edits();
    {
        Turn turn(*one.configuration, domain);
        EXPECT_EQ(turn.write(domain, "recipeList", Json::parse(R"({"A":{"values":{}}})"), Tree::WriteMode::Replace),
                  ErrorValue::SUCCESS);
        EXPECT_EQ(turn.commit(), ErrorValue::SUCCESS);
    }
    EXPECT_EQ(two.catch_up(), "");
    EXPECT_EQ(two.text(), one.text());
}

} // namespace
} // namespace Ravik::Test
