#include "Configuration/Store.h"
#include "Configuration/store_care.h"

#include "Support/TemporaryFolder.h"
#include "Support/refusal.h"
#include "Json/Json.h"

#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <set>

namespace Ravik::Test
{
namespace
{

using RavikSrv::Value;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

std::string recipe(int number, std::size_t length)
{
    return R"({"recipeTypeName":"T","values":{"m":)" + std::to_string(number) + R"(,"text":")" +
           std::string(length, 'x') + "\"}}";
}

/// Stores a row, or a folder where there is no text, at once.
void put(Store& store, std::string const& path, std::optional<std::string> const& text = {})
{
    auto const value = text ? Json::parse(*text) : Value();
    store.begin();
    store.put("D", path, text ? &value : nullptr);
    store.commit();
}

std::string flipped(std::string bytes, std::size_t byte, unsigned long bit)
{
    bytes[byte] = static_cast<char>(static_cast<unsigned char>(bytes[byte]) ^ (1U << bit));
    return bytes;
}

constexpr auto shared_domain = "RavikRecipeManagement";
LibraryPosition const position{.revision = 30, .edit = "5aa5"};

/// The rows of a library.
std::vector<LibraryRow> shared_rows()
{
    std::vector<LibraryRow> rows{{.path = "recipeList", .rank = 1}};
    for (int number = 2; number < 30; ++number)
    {
        auto path = "recipeList::S" + std::to_string(number);
        rows.push_back({.path = path, .rank = number, .text = recipe(number, number % 9 == 0 ? 9000 : 300)});
    }
    return rows;
}

Value shared_tree()
{
    Value list(RavikSrv::ValueType::Map);
    auto const rows = shared_rows();
    for (auto row = rows.begin() + 1; row != rows.end(); ++row)
    {
        list.insert(row->path.substr(row->path.rfind(':') + 1).c_str(), Json::parse(row->text.value()));
    }
    Value tree;
    tree.insert("recipeList", list);
    return tree;
}

/// A store with small rows, rows that overflow their page, free pages, and the copy of a library.
class DamageTest : public testing::Test
{
protected:
    DamageTest()
    {
        auto const store = Store::open(file, 0s);
        put(*store, "recipeList");
        for (int number = 0; number < 60; ++number)
        {
            put(*store, path(number), recipe(number, number % 7 == 0 ? 9000 : 300));
        }
        store->begin();
        for (int number = 0; number < 60; number += 5)
        {
            store->erase("D", path(number));
        }
        store->join_library({.library = "1ab7", .server = {.name = "Line 1", .store = "57e1"}, .position = {}});
        store->apply_shared(shared_rows(), true, position);
        for (int number = 0; number < 20; ++number)
        {
            store->add_record({.server = "Line 2", .edit = "ed" + std::to_string(number)},
                              {.oldest = "", .bytes = 1'000'000});
        }
        store->commit();
    }

    static std::string path(int number) { return "recipeList::R" + std::to_string(number); }

    /// What the store holds; nothing where it is refused, as a person can understand.
    static std::optional<std::string> content(fs::path const& file)
    {
        try
        {
            auto const store = Store::open(file, 0s);
            EXPECT_EQ(store->load(shared_domain), shared_tree());
            EXPECT_EQ(store->library()->position, position);
            return Json::write(store->load("D"));
        }
        catch (ProjectError const& error)
        {
            EXPECT_NE(std::string(error.what()).find(file.filename().string()), std::string::npos) << error.what();
            return std::nullopt;
        }
    }

    /// What a record tells is held against its checksum when it is read.
    static bool is_found_or_damaged(Store& store, std::string const& edit)
    {
        try
        {
            return store.record_of_edit(edit).has_value();
        }
        catch (StoreError const&)
        {
            return true;
        }
    }

    /// Whether a store opens; it must then hold what it should, and every entry can be written once more and removed.
    static bool opens(fs::path const& file, std::string const& expected)
    {
        auto const found = content(file);
        if (!found)
        {
            return false;
        }
        EXPECT_EQ(*found, expected);
        auto const entries = Json::parse(expected);
        {
            auto const store = Store::open(file, 0s);
            auto const& list = *entries.begin();
            store->begin();
            for (auto entry = list.begin(); entry != list.end(); ++entry)
            {
                store->put("D", std::string("recipeList::") + entry.name(), &*entry);
            }
            store->apply_shared(shared_rows(), false, position);
            store->commit();
            for (int number = 0; number < 20; ++number)
            {
                EXPECT_TRUE(is_found_or_damaged(*store, "ed" + std::to_string(number))) << number;
            }
        }
        EXPECT_EQ(content(file), expected);
        {
            auto const store = Store::open(file, 0s);
            store->begin();
            store->erase("D", "recipeList");
            store->commit();
        }
        EXPECT_EQ(content(file), "{}");
        return true;
    }

    /// A copy in which `spoil` has changed the bytes; the log goes along where it is given.
    fs::path spoilt(std::string const& bytes, std::optional<std::string> const& log = std::nullopt) const
    {
        fs::remove(folder.path() / "copy.db-wal");
        if (log)
        {
            folder.write("copy.db-wal", *log);
        }
        return folder.write("copy.db", bytes);
    }

    TemporaryFolder const folder;
    fs::path const file = folder.path() / "s.db";
    std::mt19937 random{7}; // NOLINT(cert-msc51-cpp,cert-msc32-c): the same damage in every run
};

TEST_F(DamageTest, of_a_bit_is_found_or_does_no_harm)
{
    ASSERT_FALSE(fs::exists(file.string() + "-wal"));
    auto const expected = content(file).value();
    auto const bytes = content_of(file);
    constexpr std::size_t page_size = 4096;
    auto const pages = bytes.size() / page_size;
    ASSERT_GT(pages, 20U);
    int harmless = 0;
    constexpr int flips = 600;
    for (std::size_t flip = 0; flip < flips; ++flip)
    {
        // The first ones hit all bits of the header's version numbers, then every other one the head of a page, where
        // what holds the pages together stands.
        constexpr std::size_t versions = 18;
        auto const byte = flip < 16 ? versions + flip / 8
                                    : flip % pages * page_size + random() % (flip / pages % 2 == 0 ? 100 : page_size);
        auto const bit = flip < 16 ? flip % 8 : random() % 8;
        SCOPED_TRACE("byte " + std::to_string(byte) + ", bit " + std::to_string(bit));
        harmless += opens(spoilt(flipped(bytes, byte, bit)), expected) ? 1 : 0;
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_LT(harmless, flips / 2);
}

TEST_F(DamageTest, by_a_cut_is_found_or_does_no_harm)
{
    auto const expected = content(file).value();
    auto const bytes = content_of(file);
    for (int cut = 0; cut < 50; ++cut)
    {
        auto const length = cut < 10 ? bytes.size() - 1 - static_cast<std::size_t>(cut * cut) : random() % bytes.size();
        SCOPED_TRACE(length);
        opens(spoilt(bytes.substr(0, length)), expected);
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_EQ(content(spoilt("")), std::nullopt);
}

TEST_F(DamageTest, of_a_log_that_a_kill_left_shows_an_earlier_commit)
{
    auto const store = Store::open(file, 0s);
    auto tree = store->load("D");
    std::set<std::string> states{Json::write(tree)};
    for (int number = 1; number < 8; ++number)
    {
        auto const value = Json::parse(recipe(1000 + number, 500));
        put(*store, path(number % 3 + 1), Json::write(value));
        tree["recipeList"].insert_or_update(("R" + std::to_string(number % 3 + 1)).c_str(), value);
        states.insert(Json::write(tree));
    }
    auto const bytes = content_of(file);
    auto const log = content_of(file.string() + "-wal");
    EXPECT_EQ(content(spoilt(bytes, log)), Json::write(tree));
    std::set<std::string> seen;
    for (int flip = 0; flip < 150; ++flip)
    {
        auto const byte = flip < 20 ? static_cast<std::size_t>(flip) : random() % log.size();
        SCOPED_TRACE("byte " + std::to_string(byte));
        if (auto const found = content(spoilt(bytes, flipped(log, byte, random() % 8))))
        {
            EXPECT_EQ(states.count(*found), 1U);
            seen.insert(*found);
        }
    }
    EXPECT_GT(seen.size(), 4U);
}

TEST_F(DamageTest, by_the_log_of_another_store_is_found)
{
    auto const other = folder.path() / "other.db";
    auto const sibling = folder.path() / "sibling.db";
    fs::copy_file(file, sibling);
    put(*Store::open(other, 0s), "recipeList");
    auto const changed = [](fs::path const& name, int number)
    {
        auto const store = Store::open(name, 0s);
        put(*store, number < 0 ? "recipeList" : path(1));
        if (number > 0)
        {
            put(*store, path(1), recipe(number, 10));
        }
        return std::pair(content_of(name), content_of(name.string() + "-wal"));
    };
    auto const [bytes, log] = changed(file, 1);
    auto const logs = {changed(other, -1).second, changed(sibling, 2).second};
    changed(file, 3);
    auto const newer = content_of(file);
    EXPECT_TRUE(content(spoilt(bytes, log)));
    for (auto const& foreign : logs)
    {
        auto const copy = spoilt(newer, foreign);
        EXPECT_NE(refusal([&] { Store::open(copy, 0s); }).find("belongs to another store"), std::string::npos);
        EXPECT_EQ(content(copy), std::nullopt) << "the log is kept";
        EXPECT_EQ(repair_store(copy, 0s).rows, 49 + shared_rows().size());
        EXPECT_EQ(content(copy), content(file));
    }
    EXPECT_EQ(content(spoilt(newer, log)), std::nullopt) << "an older log of its own";
}

} // namespace
} // namespace Ravik::Test
