#include "Configuration/Configuration.h"

#include "Configuration/Entry.h"
#include "Support/TemporaryFolder.h"
#include "Json/Json.h"

#include <gtest/gtest.h>

#include <random>
#include <thread>

namespace Ravik
{
namespace
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using Testing::TemporaryFolder;
using namespace std::chrono_literals;
using Turn = Configuration::Turn;

constexpr auto merge = Tree::WriteMode::Merge;
constexpr auto replace = Tree::WriteMode::Replace;

/// A store whose medium fails when it is told to.
class FailingStore : public Store
{
public:
    explicit FailingStore(bool& fails) : m_fails(fails) {}

    Value load(std::string const& /*domain*/) override { return Json::parse(R"({"recipeList":{"a":{"values":{}}}})"); }
    void begin() override {}
    void put(std::string const& /*domain*/, std::string const& /*path*/, Value const* /*value*/) override {}
    void erase(std::string const& /*domain*/, std::string const& /*path*/) override {}
    void erase_below(std::string const& /*domain*/, std::string const& /*path*/) override {}
    void commit() override
    {
        if (m_fails)
        {
            throw StoreError("disk full");
        }
    }
    void rollback() noexcept override {}

private:
    bool& m_fails;
};

std::string text(Configuration const& configuration)
{
    return Json::write(configuration.tree("D"));
}

TEST(Configuration, a_turn_lasts_whole_or_not_at_all)
{
    bool fails = false;
    Configuration configuration(std::make_unique<FailingStore>(fails));
    configuration.add_domain("D", Value());
    auto const before = text(configuration);
    {
        Turn turn(configuration);
        EXPECT_EQ(turn.write("D", "recipeList::b", Json::parse(R"({"values":{}})"), merge), ErrorValue::SUCCESS);
        {
            Turn inner(configuration);
            EXPECT_EQ(inner.remove("D", "recipeList::a"), ErrorValue::SUCCESS);
            EXPECT_EQ(inner.commit(), ErrorValue::SUCCESS);
        }
        {
            Turn abandoned(configuration);
            abandoned.write("D", "recipeList::b", Value(1), merge);
        }
        EXPECT_EQ(text(configuration), R"({"recipeList":{"b":{"values":{}}}})");
        EXPECT_EQ(turn.write("nobody", "x", Value(1), merge), ErrorValue::INVALID_DOMAIN);
    }
    EXPECT_EQ(text(configuration), before);

    fails = true;
    {
        Turn turn(configuration);
        turn.write("D", "recipeList::b", Value(1), merge);
        turn.remove("D", "recipeList::a");
        EXPECT_EQ(turn.commit(), ErrorValue::STORAGE_STORE);
        EXPECT_EQ(turn.failure(), "disk full");
    }
    EXPECT_EQ(text(configuration), before);
    fails = false;
    Turn turn(configuration);
    EXPECT_EQ(turn.write("D", "recipeList::b", Value(1), merge), ErrorValue::STORAGE) << "until the next start";
}

TEST(Configuration, what_the_project_file_fixes_wins_and_is_not_stored)
{
    TemporaryFolder const folder;
    auto const open = [&](char const* fixed)
    {
        auto configuration = std::make_unique<Configuration>(Store::open(folder.path() / "s.db", 0s));
        configuration->add_domain("D", Json::parse(fixed));
        return configuration;
    };
    {
        auto const configuration = open(R"({"host":"a"})");
        Turn turn(*configuration);
        turn.write("D", "host", Value("changed"), merge);
        turn.write("D", "values", Json::parse(R"({"x":1})"), merge);
        EXPECT_EQ(turn.commit(), ErrorValue::SUCCESS);
    }
    EXPECT_EQ(text(*open("{}")), R"({"values":{"x":1}})");
    EXPECT_EQ(text(*open(R"({"host":"b"})")), R"({"values":{"x":1},"host":"b"})");
}

/// Edits at random, among them ones that turn entries into folders and back, and compares each turn's outcome with what
/// a restart finds: every row in its place, none left over.
TEST(Configuration, a_restart_finds_the_tree_as_it_was)
{
    TemporaryFolder const folder;
    std::mt19937 random(20); // NOLINT(cert-msc51-cpp): the same edits in every run
    auto const pick = [&random](std::vector<std::string> const& from) { return from[random() % from.size()]; };
    std::vector<std::string> const lists{"recipeList", "recipeTypeList", "other"};
    std::vector<std::string> const names{"A",    "AB",      "F",         "G::A",        "F::A",
                                         "F::B", "F::G::A", "A::values", "A::values::x"};
    std::vector<std::string> const values{R"({"values":{"x":1},"recipeTypeName":"T"})",
                                          R"({"members":{"m":{}}})",
                                          "{}",
                                          R"({"A":{"values":{}},"B":{}})",
                                          "7",
                                          R"({"x":2.5})"};
    std::string expected = "{}";
    for (int round = 0; round < 60; ++round)
    {
        Configuration configuration(Store::open(folder.path() / "s.db", 0s));
        configuration.add_domain("D", Value());
        ASSERT_EQ(text(configuration), expected) << "round " << round;
        Turn turn(configuration);
        turn.write("D", pick(lists), Json::parse("{}"), merge);
        for (int edit = 0; edit < 12; ++edit)
        {
            auto const path = Tree::join(pick(lists), pick(names));
            if (random() % 3 == 0)
            {
                turn.remove("D", path);
            }
            else
            {
                turn.write("D", path, Json::parse(pick(values)), random() % 2 == 0 ? merge : replace);
            }
        }
        if (random() % 4 != 0)
        {
            ASSERT_EQ(turn.commit(), ErrorValue::SUCCESS) << turn.failure();
            expected = text(configuration);
        }
    }
    EXPECT_GT(expected.size(), 20U);
}

TEST(Configuration, readers_never_wait_for_a_turn)
{
    bool fails = false;
    Configuration configuration(std::make_unique<FailingStore>(fails));
    configuration.add_domain("D", Value());
    Turn turn(configuration);
    std::thread reader([&] { EXPECT_TRUE(configuration.tree("D").isset()); });
    reader.join();
}

TEST(Entry, tells_entries_from_folders)
{
    auto const tree = Json::parse(R"({"recipeTypeList":{"T":{"members":{}},"F":{"values":{}}},
        "recipeList":{"R":{"values":{"m":{"k":1}}},"N":{"recipeTypeName":"T"},"F":{"R":{"values":{}},"x":5}},
        "recipeListing":{"R":{"values":{}}}})");
    struct
    {
        char const* path;
        EntryKind kind;
        char const* owner;
    } const places[] = {
        {"", EntryKind::Other, ""},
        {"recipeTypeList", EntryKind::Folder, "recipeTypeList"},
        {"recipeTypeList::T", EntryKind::RecipeType, "recipeTypeList::T"},
        {"recipeTypeList::T::members::m", EntryKind::Inside, "recipeTypeList::T"},
        {"recipeTypeList::F", EntryKind::Folder, "recipeTypeList::F"},
        {"recipeList::N", EntryKind::Recipe, "recipeList::N"},
        {"recipeList::R::values::m::k", EntryKind::Inside, "recipeList::R"},
        {"recipeList::F::R", EntryKind::Recipe, "recipeList::F::R"},
        {"recipeList::F::x", EntryKind::Neither, "recipeList::F::x"},
        {"recipeList::missing::below", EntryKind::Neither, "recipeList::missing"},
        {"recipeListing::R", EntryKind::Other, "recipeListing"},
    };
    for (auto const& expected : places)
    {
        auto const place = locate(expected.path, tree);
        EXPECT_EQ(place.kind, expected.kind) << expected.path;
        EXPECT_EQ(place.owner, expected.owner) << expected.path;
    }
    std::string visited;
    for_each_entry(
        "", tree,
        [&visited](std::string const& path, Value const& /*entry*/, EntryKind kind)
        {
            visited += path + "=" + schema_type(kind) + " ";
            return true;
        },
        true);
    EXPECT_EQ(visited,
              "recipeTypeList= recipeTypeList::T=recipeType recipeTypeList::F= recipeTypeList::F::values= recipeList= "
              "recipeList::R=recipe recipeList::N=recipe recipeList::F= recipeList::F::R=recipe "
              "recipeList::F::x= ");
}

} // namespace
} // namespace Ravik
