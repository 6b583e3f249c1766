#include "ServedPlant.h"

#include "Json/Json.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

namespace Ravik::Test
{
namespace
{

std::string const bread = "/recipe?name=Bread";

std::string patch(std::string const& member, std::string const& number)
{
    return R"({"values":{")" + member + "\":" + number + "}}";
}

TEST(Conditions, nobody_overwrites_what_he_has_not_seen)
{
    ServedPlant const plant;
    auto client = plant.client("engineer");
    auto const seen = client.if_match(bread);
    auto const tag = seen.substr(10, seen.size() - 12);
    EXPECT_EQ(client.get(bread, "If-None-Match: " + tag + "\r\n").status, 304U);
    EXPECT_EQ(client.get(bread, "If-None-Match: \"other\", W/" + tag + "\r\n").status, 304U);
    EXPECT_EQ(client.get(bread, "If-None-Match: \"other\"\r\n").status, 200U);

    // Somebody else is faster.
    auto const theirs = plant.client("admin").send("PATCH", bread, patch("Speed", "130.5"), seen);
    ASSERT_EQ(theirs.status, 200U) << theirs.body;
    EXPECT_NE(theirs.field("etag"), tag);
    EXPECT_EQ("If-Match: " + theirs.field("etag") + "\r\n", client.if_match(bread));

    auto const entry = R"({"recipeTypeName":"Dough","values":{"Speed":1.0}})";
    struct Case
    {
        std::string method;
        std::string target;
        std::string body;
        std::string condition;
        unsigned status;
    };
    std::string const any = "If-None-Match: *\r\n";
    std::string const move = R"({"from":"recipeList::Bread","to":"recipeList::Bun"})";
    for (auto const& each : std::vector<Case>{
             {"PUT", bread, entry, "", 428},
             {"PUT", bread, entry, "If-Match: *\r\n", 428},
             {"PUT", bread, entry, "If-Match: abc\r\n", 428},
             {"PUT", bread, entry, seen + any, 428},
             {"PATCH", bread, "{}", "", 428},
             {"DELETE", bread, "", "", 428},
             {"DELETE", "/folder?name=Shared", "", "", 428},
             {"POST", "/moves", move, "", 428},
             {"POST", "/readings", R"({"recipe":"Bread"})", "", 428},
             {"PUT", bread, entry, seen, 412},
             {"PUT", bread, entry, any, 412},
             {"PATCH", bread, "{}", seen, 412},
             {"PATCH", bread, "{}", any, 412},
             {"DELETE", bread, "", seen, 412},
             {"POST", "/moves", move, seen, 412},
             {"POST", "/readings", R"({"recipe":"Bread"})", seen, 412},
         })
    {
        SCOPED_TRACE(each.method + ' ' + each.target + ' ' + each.condition);
        auto const refused = client.send(each.method, each.target, each.body, each.condition);
        EXPECT_EQ(refused.status, each.status) << refused.body;
        if (each.status == 412)
        {
            EXPECT_EQ(json(refused)["current"]["values"]["Speed"].get_double(), 130.5) << refused.body;
            EXPECT_EQ(refused.field("etag"), theirs.field("etag"));
        }
    }
    // A weak tag of ours, and one among others.
    EXPECT_EQ(client.send("PATCH", bread, patch("Speed", "1.5"), "If-Match: \"x\", W/" + theirs.field("etag") + "\r\n")
                  .status,
              200U);
    EXPECT_EQ(client.send("PUT", "/recipe?name=Deep::New", entry, any).status, 201U);
    auto const nothing = client.send("PUT", "/recipe?name=Gone", entry, seen);
    EXPECT_EQ(nothing.status, 412U);
    EXPECT_NE(nothing.body.find("\"current\":null"), std::string::npos) << nothing.body;
    EXPECT_EQ(client.send("PATCH", "/recipe?name=Gone", "{}", seen).status, 404U);
    EXPECT_EQ(client.send("DELETE", "/recipe?name=Gone", "", seen).status, 404U);
}

TEST(Conditions, a_patch_keeps_the_order_and_the_digits_of_what_it_does_not_touch)
{
    ServedPlant const plant;
    auto client = plant.client("engineer");
    auto const set = [&](std::string const& values)
    {
        auto const body = R"({"recipeTypeName":"Dough","values":{)" + values + "}}";
        return client.send("PUT", bread, body, client.if_match(bread)).status;
    };
    ASSERT_EQ(set(R"("Free":9007199254740993,"Speed":3.0,"Count":3)"), 200U);
    struct Case
    {
        char const* patch;
        char const* values;
    };
    for (auto const& each : std::vector<Case>{
             {R"({"values":{"Count":4}})", R"({"Free":9007199254740993,"Speed":3.0,"Count":4})"},
             {R"({"values":{"Speed":4.0}})", R"({"Free":9007199254740993,"Speed":4.0,"Count":4})"},
             {R"({"values":{"Free":1e-300}})", R"({"Free":1e-300,"Speed":4.0,"Count":4})"},
             {R"({"values":{"Free":null}})", R"({"Speed":4.0,"Count":4})"},
             {R"({"values":{"Free":0.1}})", R"({"Speed":4.0,"Count":4,"Free":0.1})"},
             {"{}", R"({"Speed":4.0,"Count":4,"Free":0.1})"},
         })
    {
        SCOPED_TRACE(each.patch);
        auto const answer = client.send("PATCH", bread, each.patch, client.if_match(bread));
        EXPECT_EQ(answer.status, 200U) << answer.body;
        EXPECT_EQ(client.get(bread).body, std::string(R"({"recipeTypeName":"Dough","values":)") + each.values + '}');
    }
    // 3 and 3.0 are two states.
    auto const tag_of = [&](char const* speed)
    {
        EXPECT_EQ(set(std::string(R"("Speed":)") + speed), 200U);
        return client.if_match(bread);
    };
    EXPECT_NE(tag_of("3"), tag_of("3.0"));
    EXPECT_EQ(tag_of("3.0"), tag_of("3.00"));
}

TEST(Conditions, the_tag_of_a_folder_covers_what_it_holds)
{
    ServedPlant const plant;
    auto client = plant.client("engineer");
    std::string const folder = "/folder?name=Shared";
    auto const seen = client.if_match(folder);
    ASSERT_EQ(client
                  .send("PATCH", "/recipe?name=Shared::Roll", patch("Count", "6"),
                        client.if_match("/recipe?name=Shared::Roll"))
                  .status,
              200U);
    EXPECT_EQ(client.send("DELETE", folder, "", seen).status, 412U);
    auto const move = R"({"from":"recipeList::Shared","to":"recipeList::Common"})";
    EXPECT_EQ(client.send("POST", "/moves", move, seen).status, 412U);
    EXPECT_EQ(
        client.send("POST", "/moves", R"({"from":"recipeList::Shared","to":"recipeList::C","dryRun":true})").status,
        200U);
    EXPECT_EQ(client.send("POST", "/moves", move, client.if_match(folder)).status, 200U);
    EXPECT_EQ(client.get(folder).status, 404U);
    EXPECT_EQ(client.read("/recipe?name=Common::Roll")["values"]["Count"].get_int32(), 6);
    EXPECT_EQ(client.send("POST", "/folder?name=Common").status, 409U);
    auto const taken = R"({"from":"recipeList::Bread","to":"recipeList::Pizza"})";
    EXPECT_EQ(client.send("POST", "/moves", taken, client.if_match(bread)).status, 409U);
    EXPECT_EQ(client.send("POST", "/moves", R"({"from":"recipeList::Nix","to":"recipeList::Pax"})", seen).status, 404U);

    // A type is carried along by its recipes.
    auto const renamed =
        client.send("POST", "/moves", R"({"from":"recipeTypeList::Dough","to":"recipeTypeList::Paste"})",
                    client.if_match("/type?name=Dough"));
    EXPECT_EQ(renamed.status, 200U);
    EXPECT_EQ(json(renamed)["written"].size(), 3U) << renamed.body;
    EXPECT_EQ(text_in(client.get(bread), "recipeTypeName"), "Paste");
    auto const deleted = client.send("DELETE", "/folder?name=Common", "", client.if_match("/folder?name=Common"));
    EXPECT_EQ(deleted.status, 200U) << deleted.body;
    EXPECT_EQ(client.get("/recipe?name=Common::Roll").status, 404U);
}

/// Adds one to the recipe's counter so many times, each time from what he has seen.
void count_up(ApiClient client, std::string const& target, int times, std::atomic<int>& conflicts)
{
    auto answer = client.get(target);
    auto tag = answer.field("etag");
    auto count = json(answer)["values"]["Count"].get_int32();
    for (int done = 0; done < times;)
    {
        answer = client.send("PATCH", target, patch("Count", std::to_string(count + 1)), "If-Match: " + tag + "\r\n");
        tag = answer.field("etag");
        if (answer.status == 200)
        {
            ++count;
            ++done;
            continue;
        }
        ASSERT_EQ(answer.status, 412U) << answer.body;
        ++conflicts;
        count = json(answer)["current"]["values"]["Count"].get_int32();
    }
}

TEST(Conditions, of_eight_who_edit_the_same_recipes_none_loses_an_edit)
{
    constexpr int clients = 8;
    constexpr int times = 12;
    ServedPlant const plant;
    std::vector<std::string> const names{"Bread", "Pizza"};
    std::atomic<int> conflicts = 0;
    std::vector<std::thread> threads;
    for (std::size_t index = 0; index < clients; ++index)
    {
        threads.emplace_back(count_up, plant.client("engineer"), "/recipe?name=" + names[index % 2], times,
                             std::ref(conflicts));
    }
    std::for_each(threads.begin(), threads.end(), [](std::thread& thread) { thread.join(); });

    EXPECT_GT(conflicts, 0) << "nobody met anybody";
    auto client = plant.client("viewer");
    for (std::size_t index = 0; index < names.size(); ++index)
    {
        SCOPED_TRACE(names[index]);
        auto const first = static_cast<int>(3 + index);
        auto const target = "/recipe?name=" + names[index];
        EXPECT_EQ(client.read(target)["values"]["Count"].get_int32(), first + times * clients / 2);
        auto const records = client.read("/history?limit=1000&recipe=" + names[index])["items"].size();
        EXPECT_EQ(records, 1 + times * clients / 2) << "each once, and the import";
    }
}

} // namespace
} // namespace Ravik::Test
