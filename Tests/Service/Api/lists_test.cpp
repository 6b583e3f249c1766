#include "ServedPlant.h"

#include "Json/Json.h"

#include <gtest/gtest.h>

namespace Ravik::Test
{
namespace
{

/// The item of a list that has the name.
Value item(ApiClient& client, std::string const& target, std::string const& name, char const* list = "items")
{
    auto const items = client.read(target)[list];
    for (auto each = items.begin_vector(); each != items.end_vector(); ++each)
    {
        if ((*each)["name"].get_text() == name)
        {
            return *each;
        }
    }
    return {};
}

TEST(Lists, tell_what_a_form_has_to_know_of_a_value)
{
    ServedPlant const plant;
    auto client = plant.client("engineer");
    auto const edit = client.send(
        "PATCH", "/type?name=Dough",
        R"({"members":{"Speed":{"schema":{"maximum":200,"unit":"rpm"}},"Part":{"recipeType":"Dough"},"Spare":{"symbol":"Line.Free"}}})",
        client.if_match("/type?name=Dough"));
    ASSERT_EQ(edit.status, 200U) << edit.body;
    auto const speed = item(client, "/members?type=Dough", "Speed", "members");
    EXPECT_EQ(speed["domain"].get_text(), "Line");
    EXPECT_EQ(Json::write(speed["input"]), R"({"type":"number","minimum":0,"maximum":200,"unit":"rpm"})");
    EXPECT_FALSE(is_there(item(client, "/members?type=Dough", "Part", "members")["domain"]));
    EXPECT_EQ(item(client, "/members?type=Dough", "Spare", "members")["tolerance"].get_double(), 0.5);
    EXPECT_FALSE(is_there(speed["tolerance"]));
    EXPECT_EQ(Json::write(item(client, "/symbols", "Line.Speed")["input"]),
              R"({"type":"number","minimum":0,"maximum":300})");
}

TEST(Lists, tell_who_changed_an_entry_last)
{
    ServedPlant plant;
    auto engineer = plant.client("engineer");
    auto const changed = [](ApiClient& client, std::string const& list, std::string const& name)
    { return item(client, list, name)["changed"]; };
    auto const imported = changed(engineer, "/types", "Dough");
    EXPECT_EQ(std::string(imported["who"].get_text()).substr(0, 8), "account:");
    EXPECT_EQ(changed(engineer, "/recipes", "Shared::Roll"), imported);
    EXPECT_FALSE(is_there(changed(engineer, "/recipes", "Shared")));

    ASSERT_EQ(
        engineer
            .send("PATCH", "/recipe?name=Bread", R"({"values":{"Speed":1.5}})", engineer.if_match("/recipe?name=Bread"))
            .status,
        200U);
    auto const edited = changed(engineer, "/recipes", "Bread");
    EXPECT_EQ(edited["who"].get_text(), "token:engineer");
    EXPECT_EQ(edited["id"], engineer.read("/history?limit=1")["items"][0U]["id"]);
    EXPECT_EQ(edited["time"], engineer.read("/history?limit=1")["items"][0U]["time"]);
    EXPECT_EQ(changed(engineer, "/recipes", "Pizza"), imported);
    EXPECT_EQ(engineer
                  .send("POST", "/moves", R"({"from":"recipeList::Shared","to":"recipeList::Common"})",
                        engineer.if_match("/folder?name=Shared"))
                  .status,
              200U);
    EXPECT_EQ(changed(engineer, "/recipes", "Common::Roll")["who"].get_text(), "token:engineer");

    plant.restart();
    auto viewer = plant.client("viewer");
    EXPECT_EQ(changed(viewer, "/recipes", "Bread"), edited) << "the history tells";
    EXPECT_EQ(changed(viewer, "/recipes", "Pizza"), imported);
}

TEST(Lists, tell_what_names_an_entry)
{
    ServedPlant const plant;
    auto client = plant.client("engineer");
    ASSERT_EQ(client
                  .send("POST", "/imports",
                        R"({"recipeTypeList":{"Sour":{"recipeTypeNames":["Dough"],"members":{}},
                            "Menu":{"members":{"First":{"recipeType":"Dough"},"Second":{"recipeType":"Dough"}}}},
                            "recipeList":{"Lunch":{"recipeTypeName":"Menu",
                                                   "values":{"First":"Bread","Second":"Bread"}},
                                          "Rye":{"recipeTypeName":"Sour","values":{}}}})")
                  .status,
              200U);
    struct Case
    {
        std::string query;
        unsigned status;
        std::string uses;
        Value recipes;
    };
    for (auto const& each : std::vector<Case>{
             {"?recipe=Bread", 200, R"([{"path":"recipeList::Lunch","kind":"nested recipe"}])", {}},
             {"?recipe=Pizza", 200, "[]", {}},
             {"?type=Dough", 200,
              R"([{"path":"recipeTypeList::Sour","kind":"inherited type"},)"
              R"({"path":"recipeTypeList::Menu","kind":"nested type"}])",
              Value(4)},
             {"?type=Menu", 200, "[]", Value(1)},
             {"?type=Bread", 404, "null", {}},
             {"?recipe=Shared", 404, "null", {}},
             {"?recipe=Bread&type=Dough", 400, "null", {}},
             {"", 400, "null", {}},
         })
    {
        SCOPED_TRACE(each.query);
        auto const answer = client.get("/uses" + each.query);
        EXPECT_EQ(answer.status, each.status) << answer.body;
        auto const told = json(answer);
        EXPECT_EQ(Json::write(told["uses"]), each.uses);
        EXPECT_EQ(told["recipes"], each.recipes);
    }
}

} // namespace
} // namespace Ravik::Test
