#include "ServedPlant.h"

#include <gtest/gtest.h>

namespace Ravik::Test
{
namespace
{

std::string by_password(std::string const& user, std::string const& password)
{
    return R"({"user":")" + user + R"(","password":")" + password + "\"}";
}

std::string from(std::string const& address)
{
    return "X-Forwarded-For: " + address + "\r\n";
}

TEST(SignIn, gives_a_session_that_lasts_until_it_is_ended)
{
    ServedPlant plant;
    plant.user("anna", "admin");
    auto const answer = plant.client().send("POST", "/session", by_password("anna", ServedPlant::password));
    ASSERT_EQ(answer.status, 201U);
    EXPECT_EQ(text_in(answer, "user"), "user:anna");
    EXPECT_EQ(text_in(answer, "role"), "admin");
    auto const cookie = answer.field("set-cookie");
    EXPECT_TRUE(cookie.starts_with("__Host-ravik-")) << cookie;
    for (auto const* const mark : {"; HttpOnly", "; Secure", "; SameSite=Strict", "; Path=/"})
    {
        EXPECT_NE(cookie.find(mark), std::string::npos) << cookie;
    }
    EXPECT_EQ(cookie.find("Domain"), std::string::npos);
    EXPECT_EQ(cookie.find(text_in(answer, "csrf")), std::string::npos) << "a cookie alone opens nothing";

    ApiClient session(plant.address(), plant.sign_in("anna"));
    EXPECT_EQ(text_in(session.get("/session"), "user"), "user:anna");
    EXPECT_EQ(text_in(session.get("/session"), "project"), plant.folder.path().filename());
    auto const ended = session.send("DELETE", "/session");
    EXPECT_EQ(ended.status, 204U);
    EXPECT_NE(ended.field("set-cookie").find("Max-Age=0"), std::string::npos);
    EXPECT_EQ(session.get("/session").status, 401U);

    EXPECT_EQ(cookie.find("Max-Age"), std::string::npos);
}

TEST(SignIn, of_a_panel_outlasts_the_service)
{
    ServedPlant plant;
    auto const& token = plant.tokens["operator"];
    auto const panel = plant.client().send("POST", "/session", R"({"token":")" + token + "\"}");
    ASSERT_EQ(panel.status, 201U);
    EXPECT_EQ(text_in(panel, "user"), "token:operator");
    EXPECT_EQ(text_in(panel, "role"), "operator");
    auto const set = panel.field("set-cookie");
    EXPECT_NE(set.find("; Max-Age=34560000"), std::string::npos) << set;
    EXPECT_EQ((set + panel.body).find(token), std::string::npos);

    plant.restart();
    // Browsers know the service by its port, which here is another one.
    auto const port = plant.address().substr(plant.address().rfind(':') + 1);
    auto const value = set.substr(0, set.find(';')).substr(set.find('='));
    auto const cookie = "Cookie: __Host-ravik-" + port.substr(0, port.find('/')) + value + "\r\n";
    auto const csrf = text_in(panel, "csrf");
    auto stream = plant.events(cookie);
    stream.say(R"({"symbols":["Line.Speed"],"csrf":")" + csrf + "\"}");
    EXPECT_TRUE(is_there(stream.next()));
    EXPECT_EQ(ApiClient(plant.address(), cookie).get("/session").status, 403U);
    ApiClient session(plant.address(), cookie + "X-CSRF-Token: " + csrf + "\r\n");
    auto const known = session.get("/session");
    EXPECT_EQ(text_in(known, "user"), "token:operator");
    auto const renewed = known.field("set-cookie");
    EXPECT_EQ(renewed.substr(renewed.find('=')), set.substr(set.find('=')));
    EXPECT_EQ(session.send("PUT", "/symbol?name=Line.Speed", R"({"value":1.0})").status, 403U)
        << "no more than its token";
    auto const ended = session.send("DELETE", "/session");
    EXPECT_NE(ended.field("set-cookie").find("=; "), std::string::npos);
    EXPECT_NE(ended.field("set-cookie").find("Max-Age=0"), std::string::npos);
    EXPECT_EQ(stream.closed(), 1008U);
    for (auto const& line : plant.log.lines.all())
    {
        for (auto const& secret : {token, csrf, value.substr(1)})
        {
            EXPECT_EQ(line.find(secret), std::string::npos) << line;
        }
    }
}

TEST(SignIn, fails_alike_whoever_it_is_and_not_too_often)
{
    ServedPlant plant({.behind_proxy = true});
    plant.user("anna", "admin");
    auto client = plant.client();
    auto const attempt = [&](std::string const& user, std::string const& password, std::string const& address)
    { return client.send("POST", "/session", by_password(user, password), from(address)); };
    auto const wrong = attempt("anna", "wrong horse", "10.0.0.1");
    auto const unknown = attempt("nobody", "wrong horse", "10.0.0.2");
    EXPECT_EQ(wrong.status, 401U);
    EXPECT_EQ(unknown.status, 401U);
    EXPECT_EQ(wrong.body, unknown.body);
    EXPECT_EQ(wrong.fields.count("set-cookie"), 0U);

    // The user is guessed from many addresses, then many users from one.
    for (int count = 0; count < 4; ++count)
    {
        EXPECT_EQ(attempt("anna", "wrong horse", "10.0.1." + std::to_string(count)).status, 401U);
        EXPECT_EQ(attempt("user" + std::to_string(count), "wrong horse", "10.0.0.2").status, 401U);
    }
    auto const by_token = R"({"token":")" + plant.tokens["viewer"] + "\"}";
    for (auto const& late :
         {attempt("anna", ServedPlant::password, "10.0.3.1"), attempt("bert", "wrong horse", "10.0.0.2"),
          client.send("POST", "/session", by_token, from("10.0.0.2"))})
    {
        EXPECT_EQ(late.status, 429U);
        EXPECT_GE(std::stoi("0" + late.field("retry-after")), 1) << late.body;
    }
    // Who is signed in, or has a token, goes on.
    EXPECT_EQ(plant.client("viewer").get("/recipes", from("10.0.0.2")).status, 200U);
    auto const refused = std::string("\nravik_sign_ins_refused_total 13\n");
    EXPECT_NE(plant.client("viewer").get("/metrics").body.find(refused), std::string::npos);
}

TEST(SignIn, passwords_are_changed_by_who_knows_them_or_an_admin)
{
    ServedPlant plant;
    plant.user("anna", "admin");
    ApiClient bert(plant.address(), plant.user("bert", "viewer"));
    ApiClient elsewhere(plant.address(), plant.sign_in("bert"));
    auto const change = [](ApiClient& client, std::string const& old_one, std::string const& new_one) {
        return client.send("PUT", "/session/password", R"({"old":")" + old_one + R"(","new":")" + new_one + "\"}")
            .status;
    };
    EXPECT_EQ(change(bert, "wrong horse", "battery staple"), 401U);
    EXPECT_EQ(change(bert, ServedPlant::password, "short"), 422U);
    EXPECT_EQ(elsewhere.get("/recipes").status, 200U);
    EXPECT_EQ(change(bert, ServedPlant::password, "battery staple"), 204U);
    EXPECT_EQ(elsewhere.get("/recipes").status, 401U);
    auto const sign_in = [&](std::string const& password)
    { return plant.client().send("POST", "/session", by_password("bert", password)).status; };
    EXPECT_EQ(sign_in(ServedPlant::password), 401U);
    EXPECT_EQ(sign_in("battery staple"), 201U);
    auto admin = plant.client("admin");
    EXPECT_EQ(admin.send("PUT", "/users?name=bert", R"({"password":"another horse"})").status, 204U);
    EXPECT_EQ(sign_in("another horse"), 201U);
    EXPECT_EQ(change(admin, ServedPlant::password, "battery staple"), 409U) << "a token has none";
}

TEST(SignIn, lists_of_users_and_tokens_have_no_secret)
{
    ServedPlant plant;
    auto admin = plant.client("admin");
    plant.user("anna", "admin");
    auto const users = admin.get("/users");
    EXPECT_EQ(json(users)["items"].size(), 1U);
    EXPECT_EQ(users.body.find("argon2"), std::string::npos);
    auto const tokens = admin.get("/tokens");
    EXPECT_EQ(json(tokens)["items"].size(), 4U);
    EXPECT_EQ(tokens.body.find("hash"), std::string::npos);
}

} // namespace
} // namespace Ravik::Test
