#include "ServedPlant.h"

#include "Api/Route.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace Ravik::Test
{
namespace
{

/// Who may, from nobody on; each may what those before may.
std::vector<std::string> const askers{"", "viewer", "operator", "engineer", "admin"};
constexpr std::size_t anybody = 0;
constexpr std::size_t viewer = 1;
constexpr std::size_t operating = 2;
constexpr std::size_t engineer = 3;
constexpr std::size_t admin = 4;

/// A route with a request that changes nothing, whoever may make it.
struct RouteCase
{
    std::string method;
    std::string path;
    /// The first of `askers` who may.
    std::size_t least;
    /// What he is answered.
    unsigned status;
    /// The statuses of success that the description names.
    std::set<std::string> successes;
    std::string query{};
    std::string body{};
    std::string fields{};
};

std::string const stale = "If-Match: \"stale\"\r\n";

std::vector<RouteCase> const& routes()
{
    static std::vector<RouteCase> const cases{
        {"POST", "/session", anybody, 422, {"201"}, "", "{}"},
        {"GET", "/session", viewer, 200, {"200"}},
        {"DELETE", "/session", viewer, 409, {"204"}},
        {"PUT", "/session/password", viewer, 422, {"204"}, "", "{}"},
        {"GET", "/recipes", viewer, 200, {"200"}},
        {"GET", "/recipe", viewer, 200, {"200", "304"}, "?name=Bread"},
        {"PUT", "/recipe", engineer, 428, {"200", "201"}, "?name=Bread", "{}"},
        {"PATCH", "/recipe", engineer, 412, {"200"}, "?name=Bread", "{}", stale},
        {"DELETE", "/recipe", engineer, 412, {"200"}, "?name=Bread", "", stale},
        {"GET", "/types", viewer, 200, {"200"}},
        {"GET", "/type", viewer, 200, {"200", "304"}, "?name=Dough"},
        {"PUT", "/type", engineer, 428, {"200", "201"}, "?name=Dough", "{}"},
        {"PATCH", "/type", engineer, 412, {"200"}, "?name=Dough", "{}", stale},
        {"DELETE", "/type", engineer, 412, {"200"}, "?name=Dough", "", stale},
        {"GET", "/members", viewer, 200, {"200"}, "?type=Dough"},
        {"GET", "/uses", viewer, 200, {"200"}, "?recipe=Bread"},
        {"GET", "/folder", viewer, 200, {"200", "304"}, "?name=Shared"},
        {"POST", "/folder", engineer, 409, {"201"}, "?name=Shared"},
        {"DELETE", "/folder", engineer, 412, {"200"}, "?name=Shared", "", stale},
        {"POST", "/moves", engineer, 422, {"200"}, "", "{}"},
        {"POST", "/updates", engineer, 422, {"200"}, "", "{}"},
        {"GET", "/comparison", viewer, 200, {"200"}, "?recipe=Bread&with=controller"},
        {"POST", "/plans", operating, 404, {"201"}, "", R"({"recipe":"Nothing"})"},
        {"POST", "/activations", operating, 400, {"201", "202"}, "", R"({"recipe":"Bread"})"},
        {"GET", "/activations/{id}", viewer, 404, {"200"}},
        {"DELETE", "/activations/{id}", operating, 404, {"202"}},
        {"POST", "/readings", engineer, 428, {"200"}, "", R"({"recipe":"Bread"})"},
        {"GET", "/active", viewer, 200, {"200"}},
        {"GET", "/symbols", viewer, 200, {"200"}},
        {"GET", "/symbol", viewer, 200, {"200"}, "?name=Line.Speed"},
        {"PUT", "/symbol", engineer, 422, {"200"}, "?name=Line.Speed", "{}"},
        {"GET", "/history", viewer, 200, {"200"}},
        {"GET", "/history/{id}", viewer, 404, {"200"}},
        {"POST", "/history/{id}/revert", operating, 404, {"200"}, "", "{}"},
        {"GET", "/library", viewer, 200, {"200"}},
        {"GET", "/check", viewer, 200, {"200"}},
        {"POST", "/imports", engineer, 422, {"200"}, "", "{}"},
        {"GET", "/exports", viewer, 200, {"200"}},
        {"GET", "/users", admin, 200, {"200"}},
        {"POST", "/users", admin, 422, {"201"}, "", "{}"},
        {"PUT", "/users", admin, 404, {"204"}, "?name=nobody", R"({"role":"viewer"})"},
        {"DELETE", "/users", admin, 404, {"204"}, "?name=nobody"},
        {"GET", "/tokens", admin, 200, {"200"}},
        {"POST", "/tokens", admin, 422, {"201"}, "", "{}"},
        {"PUT", "/tokens", admin, 404, {"204"}, "?name=nobody", R"({"role":"viewer"})"},
        {"DELETE", "/tokens", admin, 404, {"204"}, "?name=nobody"},
        {"GET", "/events", viewer, 426, {"101"}},
        {"GET", "/healthz", anybody, 200, {"200"}},
        {"GET", "/readyz", anybody, 200, {"200", "503"}},
        {"GET", "/metrics", viewer, 200, {"200"}},
        {"GET", "/openapi.json", anybody, 200, {"200"}},
    };
    return cases;
}

/// A target of the path; there is no record of that number.
std::string target_of(std::string path, std::string const& query = "")
{
    auto const id = path.find("{id}");
    return (id == std::string::npos ? path : path.replace(id, 4, "999999")) + query;
}

std::string named(std::string const& method, std::string const& path)
{
    return method + ' ' + path;
}

TEST(Rights, each_route_asks_for_its_role_before_it_reads_a_body)
{
    ServedPlant const plant;
    auto const before = plant.state();
    std::set<std::string> told;
    for (auto const& each : routes())
    {
        told.insert(named(each.method, each.path));
        auto const target = target_of(each.path, each.query);
        for (std::size_t asker = 0; asker < askers.size(); ++asker)
        {
            SCOPED_TRACE(each.method + ' ' + each.path + " by '" + askers[asker] + "'");
            auto client = plant.client(askers[asker]);
            if (asker >= each.least)
            {
                EXPECT_EQ(client.send(each.method, target, each.body, each.fields).status, each.status);
                continue;
            }
            // The body that is announced never comes.
            auto const refused = client.announce(each.method, target, each.body.empty() ? 0 : 100,
                                                 each.fields + "Content-Type: application/json\r\n");
            EXPECT_EQ(refused.status, asker == anybody ? 401U : 403U);
            EXPECT_EQ(text_in(refused), asker == anybody ? "UNAUTHORIZED" : "FORBIDDEN");
        }
    }
    std::set<std::string> served;
    for (auto const& route : Service::all_routes())
    {
        served.insert(named(std::string(route.method), std::string(route.path)));
    }
    EXPECT_EQ(told, served);
    EXPECT_EQ(plant.state(), before);
}

TEST(Rights, HEAD_is_GET_without_a_body_and_OPTIONS_tells_what_there_is)
{
    ServedPlant const plant;
    auto client = plant.client("admin");
    auto nobody = plant.client();
    std::map<std::string, std::set<std::string>> methods;
    for (auto const& each : routes())
    {
        methods[each.path].insert(each.method);
        if (each.method != "GET" || each.path == "/metrics")
        {
            continue;
        }
        SCOPED_TRACE(each.path);
        auto const target = target_of(each.path, each.query);
        auto const get = client.get(target);
        auto const head = client.send("HEAD", target);
        methods[each.path].insert("HEAD");
        EXPECT_EQ(head.status, get.status);
        EXPECT_EQ(head.field("content-length"), std::to_string(get.body.size()));
        EXPECT_EQ(head.field("etag"), get.field("etag"));
    }
    methods["/metrics"].insert("HEAD");
    auto const whole = nobody.send("OPTIONS", "*");
    EXPECT_EQ(whole.status, 204U) << whole.body;
    EXPECT_EQ(whole.field("allow"), "OPTIONS, HEAD, POST, GET, DELETE, PUT, PATCH");
    for (auto const& [path, those] : methods)
    {
        SCOPED_TRACE(path);
        auto const options = nobody.send("OPTIONS", target_of(path));
        EXPECT_EQ(options.status, 204U);
        auto const allow = options.field("allow") + ", ";
        for (auto const& method : those)
        {
            EXPECT_NE(allow.find(method + ", "), std::string::npos) << method;
        }
        EXPECT_EQ(static_cast<std::size_t>(std::count(allow.begin(), allow.end(), ',')), those.size() + 1) << allow;
        EXPECT_EQ(nobody.send("TRACE", target_of(path)).field("allow") + ", ", allow);
    }
}

TEST(Rights, what_is_wrong_is_told_in_one_order)
{
    ServedPlant const plant;
    std::string const foreign = "Host: evil.example\r\n";
    std::string const text = "Content-Type: text/plain\r\n";
    std::string const json = "Content-Type: application/json\r\n";
    struct Case
    {
        char const* name;
        std::string role;
        std::string method;
        std::string target;
        std::string fields;
        std::size_t length;
        unsigned status;
    };
    // Each has all the mistakes of those that follow.
    for (auto const& each : std::vector<Case>{
             {"host", "", "POST", "/nothing?x=1", foreign + text, 2'000'000, 421},
             {"path", "", "POST", "/nothing?x=1", text, 2'000'000, 404},
             {"method", "", "POST", "/recipe?x=1", text, 2'000'000, 405},
             {"nobody", "", "PUT", "/recipe?x=1", "Origin: null\r\n" + text, 2'000'000, 401},
             {"origin", "viewer", "PUT", "/recipe?x=1", "Origin: null\r\n" + text, 2'000'000, 403},
             {"role", "viewer", "PUT", "/recipe?x=1", text, 2'000'000, 403},
             {"type", "engineer", "PUT", "/recipe?x=1", text, 2'000'000, 415},
             {"length", "engineer", "PUT", "/recipe?x=1", json, 2'000'000, 413},
             {"parameter", "engineer", "PUT", "/recipe?x=1", json, 2, 400},
         })
    {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(plant.client(each.role).announce(each.method, each.target, each.length, each.fields).status,
                  each.status);
    }
    // With the body there.
    auto engineer_client = plant.client("engineer");
    EXPECT_EQ(engineer_client.send("PUT", "/recipe?name=Bread", "{").status, 428U) << "the condition, then the body";
    EXPECT_EQ(engineer_client.send("PUT", "/recipe?name=Bread", "{", stale).status, 400U);
    EXPECT_EQ(engineer_client.send("PUT", "/recipe?name=Bread", "{}", stale).status, 422U);
    EXPECT_EQ(engineer_client.send("PUT", "/recipe?name=Bread", R"({"values":{}})", stale).status, 412U);
}

std::set<std::string> names_of(Value const& value)
{
    std::set<std::string> names;
    for (auto each = value.begin(); each != value.end(); ++each)
    {
        names.insert(each.name());
    }
    return names;
}

TEST(Rights, the_description_tells_of_each_route_what_it_does)
{
    ServedPlant const plant;
    auto const document = plant.client().read("/openapi.json");
    std::set<std::string> described;
    auto const& paths = document["paths"];
    for (auto path = paths.begin(); path != paths.end(); ++path)
    {
        for (auto const& method : names_of(*path))
        {
            described.insert(named(method, path.name()));
        }
    }
    std::set<std::string> ids;
    for (auto const& each : routes())
    {
        auto method = each.method;
        std::transform(method.begin(), method.end(), method.begin(), [](char letter) { return letter | 0x20; });
        SCOPED_TRACE(named(method, each.path));
        EXPECT_EQ(described.erase(named(method, each.path)), 1U);
        auto const& operation = paths[each.path.c_str()][method.c_str()];
        auto answers = names_of(operation["responses"]);
        EXPECT_EQ(answers.erase("default"), 1U) << "problems";
        EXPECT_EQ(answers, each.successes);
        EXPECT_EQ(operation["requestBody"].isset(), !each.body.empty());
        EXPECT_EQ(operation["security"].isset(), each.least == anybody);
        EXPECT_TRUE(ids.insert(std::string(operation["operationId"].get_text())).second);
        std::set<std::string> parameters;
        auto const& list = operation["parameters"];
        for (auto parameter = list.begin_vector(); parameter != list.end_vector(); ++parameter)
        {
            parameters.insert(std::string((*parameter)["name"].get_text()));
        }
        EXPECT_EQ(parameters.contains("id"), each.path.find("{id}") != std::string::npos);
        auto const query = each.query.empty() ? "" : each.query.substr(1, each.query.find('=') - 1);
        EXPECT_TRUE(query.empty() || parameters.contains(query)) << query;
    }
    EXPECT_EQ(described, std::set<std::string>());
}

/// What each role is answered, who is to take back what a record tells.
TEST(Rights, an_operator_takes_back_activations_alone)
{
    ServedPlant const plant;
    auto lead = plant.client("engineer");
    auto const last = [&] { return std::to_string(lead.read("/history?limit=1")["items"][0U]["id"].get_int64()); };
    ASSERT_EQ(lead.send("POST", "/activations", R"({"recipe":"Bread"})", "Idempotency-Key: a\r\n").status, 201U);
    auto const activation = last();
    ASSERT_EQ(lead.send("PUT", "/symbol?name=Line.Count", R"({"value":3})").status, 200U);
    auto const symbol = last();
    ASSERT_EQ(
        lead.send("PATCH", "/recipe?name=Pizza", R"({"values":{"Speed":1.5}})", lead.if_match("/recipe?name=Pizza"))
            .status,
        200U);
    auto const edit = last();
    ASSERT_EQ(lead.send("POST", "/imports", R"({"recipeTypeList":{"New":{"members":{}}}})").status, 200U);
    auto const import = last();
    struct Case
    {
        char const* name;
        std::string id;
        std::string body;
        unsigned operating;
        unsigned engineer;
    };
    for (auto const& each : std::vector<Case>{
             {"an import", import, "", 403, 200},
             {"an edit, only looked at", edit, R"({"dryRun":true})", 403, 200},
             {"an edit", edit, "{}", 403, 200},
             // What stood there before is not known.
             {"a symbol", symbol, "{}", 403, 502},
             {"an activation by force", activation, R"({"force":true,"dryRun":true})", 403, 200},
             {"an activation, only looked at", activation, R"({"dryRun":true})", 200, 200},
             {"an activation", activation, "{}", 200, 200},
         })
    {
        SCOPED_TRACE(each.name);
        auto const target = "/history/" + each.id + "/revert";
        EXPECT_EQ(plant.client("viewer").send("POST", target, each.body).status, 403U);
        auto const answer = plant.client("operator").send("POST", target, each.body);
        EXPECT_EQ(answer.status, each.operating) << answer.body;
        if (answer.status != 200)
        {
            auto const allowed = lead.send("POST", target, each.body);
            EXPECT_EQ(allowed.status, each.engineer) << allowed.body;
        }
    }
    EXPECT_EQ(lead.read("/symbol?name=Line.Speed")["value"].get_double(), 0.0) << "the activation was taken back";
}

} // namespace
} // namespace Ravik::Test
