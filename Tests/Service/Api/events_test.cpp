#include "ServedPlant.h"

#include "Controllers/Modbus/ScriptedDevice.h"

#include <gtest/gtest.h>

#include <future>
#include <set>

namespace Ravik::Test
{
namespace
{

std::string const speed = "Line.Speed";

Value const& entry(Value const& message, std::string const& symbol)
{
    return message["values"][symbol.c_str()];
}

std::string quality(Value const& message, std::string const& symbol)
{
    return std::string(entry(message, symbol)["quality"].get_text());
}

bool is_good(Value const& message, std::string const& symbol)
{
    return quality(message, symbol) == "good";
}

std::string revision(Value const& message, char const* of)
{
    return std::string(message["revision"][of].get_text());
}

std::set<std::string> names_of(Value const& message)
{
    std::set<std::string> names;
    auto const& values = message["values"];
    for (auto value = values.begin(); value != values.end(); ++value)
    {
        names.insert(value.name());
    }
    return names;
}

TEST(Events, begin_with_all_that_is_watched_and_go_on_with_what_changes)
{
    ServedPlant const plant;
    auto stream = plant.events(plant.identity("viewer"));
    ASSERT_EQ(stream.status(), 101U);
    stream.watch({speed, "Line.Count", "Line.Nothing"});
    auto const first = stream.next();
    EXPECT_EQ(names_of(first), (std::set<std::string>{speed, "Line.Count", "Line.Nothing"}));
    // They may have been read by then.
    auto message = is_good(first, speed) ? first : stream.find([](Value const& each) { return is_good(each, speed); });
    ASSERT_TRUE(is_good(message, speed));
    EXPECT_EQ(entry(message, speed)["value"].get_double(), 0.0);
    EXPECT_GE(entry(message, speed)["age"].get_double(), 0.0);

    auto client = plant.client("engineer");
    ASSERT_EQ(client.send("PUT", "/symbol?name=Line.Speed", R"({"value":12.5})").status, 200U);
    message = stream.find([](Value const& each) { return entry(each, speed)["value"] == Value(12.5); });
    EXPECT_EQ(names_of(message), std::set<std::string>{speed}) << "the others stay as they were";
    EXPECT_NE(revision(message, "activity"), revision(first, "activity"));
    auto const configuration = revision(message, "configuration");
    ASSERT_EQ(client.send("POST", "/folder?name=New").status, 201U);
    EXPECT_TRUE(
        is_there(stream.find([&](Value const& each) { return revision(each, "configuration") > configuration; })));

    // Other symbols: again all of them first, and nothing more of those before.
    stream.watch({"Line.Count", "Line.Nothing"});
    message = stream.find([](Value const& each) { return names_of(each).size() == 2; });
    EXPECT_EQ(names_of(message), (std::set<std::string>{"Line.Count", "Line.Nothing"}));
    EXPECT_EQ(quality(message, "Line.Nothing"), "bad");
    EXPECT_NE(std::string(entry(message, "Line.Nothing")["text"].get_text()), "");
    ASSERT_EQ(client.send("PUT", "/symbol?name=Line.Speed", R"({"value":13.5})").status, 200U);
    ASSERT_EQ(client.send("PUT", "/symbol?name=Line.Count", R"({"value":14})").status, 200U);
    message = stream.find([](Value const& each) { return !names_of(each).empty(); });
    EXPECT_EQ(names_of(message), std::set<std::string>{"Line.Count"});
    EXPECT_EQ(entry(message, "Line.Count")["value"].get_int32(), 14);
}

TEST(Events, break_the_silence_every_second_and_poll_nothing_for_nobody)
{
    ScriptedDevice device;
    ServedPlant const plant({.device = device.port()});
    auto client = plant.client("viewer");
    auto const polls = [&]
    {
        auto const text = client.get("/metrics").body;
        auto const name = std::string("\nravik_polls_total ");
        return std::stoi(text.substr(text.find(name) + name.size()));
    };
    EXPECT_EQ(polls(), 0);
    std::vector<std::unique_ptr<EventStream>> streams;
    for (int count = 0; count < 5; ++count)
    {
        streams.push_back(std::make_unique<EventStream>(plant.address(), plant.identity("viewer")));
        streams.back()->watch({"Press.R0", "Press.R1"});
    }
    for (auto const& stream : streams)
    {
        EXPECT_TRUE(is_there(stream->find([](Value const& each) { return is_good(each, "Press.R1"); })));
    }
    static_cast<void>(device.requests());
    auto const before = polls();
    device.holding(100) = 4711;
    for (auto const& stream : streams)
    {
        auto const changed =
            stream->find([](Value const& each) { return entry(each, "Press.R0")["value"] == Value(4711); });
        EXPECT_EQ(names_of(changed), std::set<std::string>{"Press.R0"});
    }
    auto const requests = device.requests();
    auto const asked = std::count(requests.begin(), requests.end(), '@');
    // A poll takes two requests, whoever watches.
    EXPECT_LE(asked, 2 * (polls() - before + 1));

    auto& last = *streams.front();
    last.watch({});
    streams.resize(1);
    static_cast<void>(last.find([](Value const& each) { return !is_there(each["domains"]["Press"]); }));
    auto const begin = std::chrono::steady_clock::now();
    static_cast<void>(last.next());
    auto const still = polls();
    static_cast<void>(device.requests());
    auto const message = last.next();
    auto const silence = std::chrono::steady_clock::now() - begin;
    EXPECT_EQ(names_of(message), std::set<std::string>{});
    EXPECT_LT(silence, std::chrono::milliseconds(2500)) << "two messages";
    EXPECT_EQ(polls(), still);
    EXPECT_EQ(device.requests(), "");
}

TEST(Events, tell_of_a_device_that_answers_no_more_how_old_its_values_are)
{
    std::atomic<bool> is_dead = false;
    ScriptedDevice device([&](ScriptedDevice& self, ScriptedDevice::Request const& request)
                          { return is_dead ? ScriptedDevice::exception(request, 11) : self.right_answer(request); });
    ServedPlant const plant({.device = device.port()});
    auto stream = plant.events(plant.identity("viewer"));
    stream.watch({"Press.R0", speed});
    ASSERT_TRUE(is_there(stream.find([](Value const& each) { return is_good(each, "Press.R0"); })));
    is_dead = true;
    auto const dead = stream.find([](Value const& each) { return quality(each, "Press.R0") == "bad"; });
    EXPECT_EQ(entry(dead, "Press.R0")["value"].get_int32(), 100) << "the last that is known";
    EXPECT_NE(std::string(entry(dead, "Press.R0")["text"].get_text()), "");
    EXPECT_EQ(std::string(dead["domains"]["Press"]["quality"].get_text()), "bad");
    auto const age = dead["domains"]["Press"]["age"].get_double();
    auto const older =
        stream.find([&](Value const& each) { return each["domains"]["Press"]["age"].get_double() > age + 0.3; });
    EXPECT_EQ(std::string(older["domains"]["Line"]["quality"].get_text()), "good");
    EXPECT_LT(older["domains"]["Line"]["age"].get_double(), older["domains"]["Press"]["age"].get_double());
    // It is asked at once when somebody asks for it, however long it was left alone.
    is_dead = false;
    EXPECT_EQ(plant.client("viewer").get("/symbol?name=Press.R0").status, 200U);
    EXPECT_TRUE(is_there(stream.find([](Value const& each) { return is_good(each, "Press.R0"); })));
}

TEST(Events, go_on_while_a_device_keeps_everybody_waiting)
{
    std::atomic<bool> hangs = false;
    std::promise<void> end;
    ScriptedDevice device(
        [&hangs, ended = end.get_future().share()](ScriptedDevice& self, ScriptedDevice::Request const& request)
        {
            if (hangs)
            {
                ended.wait();
            }
            return self.right_answer(request);
        });
    ServedPlant const plant({.device = device.port()});
    auto stream = plant.events(plant.identity("viewer"));
    stream.watch({"Press.R0"});
    auto const good = stream.find([](Value const& each) { return is_good(each, "Press.R0"); });
    ASSERT_TRUE(is_there(good));
    EXPECT_EQ(good["poll"], Value(0.05));
    hangs = true;
    auto const since = std::chrono::steady_clock::now();
    auto last = since;
    auto age = 0.0;
    while (age < 1.5)
    {
        age = stream.next()["domains"]["Press"]["age"].get_double();
        auto const now = std::chrono::steady_clock::now();
        EXPECT_LT(now - last, std::chrono::milliseconds(1500));
        last = now;
    }
    EXPECT_LT(last - since, std::chrono::milliseconds(3500)) << "the age goes along with the time";

    // Whoever goes on asking for something else, none of which is known yet.
    auto client = plant.client("viewer");
    auto const begin = std::chrono::steady_clock::now();
    for (auto count = 0; std::chrono::steady_clock::now() < begin + std::chrono::milliseconds(1500); ++count)
    {
        stream.watch(count % 2 == 0 ? std::vector<std::string>{"Press.R1"}
                                    : std::vector<std::string>{"Press.R1", speed});
        static_cast<void>(client.get("/healthz"));
    }
    auto const asked = std::chrono::steady_clock::now();
    EXPECT_TRUE(is_there(stream.find([](Value const& each) { return quality(each, "Press.R1") == "unknown"; })));
    EXPECT_LT(std::chrono::steady_clock::now() - asked, std::chrono::milliseconds(500)) << "it came meanwhile";
    end.set_value();
    EXPECT_TRUE(is_there(stream.find([](Value const& each) { return is_good(each, "Press.R1"); })));
}

TEST(Events, end_with_the_session_or_token_that_they_were_opened_with)
{
    ServedPlant plant;
    auto admin = plant.client("admin");
    auto const anna = plant.user("anna", "admin");
    auto const csrf_of = [](std::string const& identity)
    {
        auto const begin = identity.find("X-CSRF-Token: ") + 14;
        return identity.substr(begin, identity.size() - begin - 2);
    };
    struct Case
    {
        char const* name;
        std::string identity;
        std::function<unsigned(std::string const& identity)> end;
    };
    auto const sent = [&](std::string const& method, std::string const& target, std::string const& body = "")
    { return [=, &admin](std::string const& /*identity*/) { return admin.send(method, target, body).status; }; };
    plant.user("gone", "viewer");
    for (auto const& each :
         std::vector<Case>{
             {"signed out", anna,
              [&](std::string const& identity)
              { return ApiClient(plant.address(), identity).send("DELETE", "/session").status; }},
             {"removed", plant.sign_in("gone"), sent("DELETE", "/users?name=gone")},
             {"the token's role", plant.identity("operator"),
              sent("PUT", "/tokens?name=operator", R"({"role":"viewer"})")},
             {"the token removed", plant.identity("viewer"), sent("DELETE", "/tokens?name=viewer")},
         })
    {
        SCOPED_TRACE(each.name);
        auto const cookie = each.identity.starts_with("Cookie");
        // As from a browser: the proof comes with the first message.
        auto const lines = cookie ? each.identity.substr(0, each.identity.find("\r\n") + 2) : each.identity;
        auto stream = plant.events(lines);
        ASSERT_EQ(stream.status(), 101U);
        stream.say(cookie ? R"({"csrf":")" + csrf_of(each.identity) + R"(","symbols":[]})" : R"({"symbols":[]})");
        ASSERT_TRUE(is_there(stream.next()));
        EXPECT_EQ(each.end(each.identity), 204U);
        EXPECT_EQ(stream.closed(), 1008U);
        EXPECT_EQ(ApiClient(plant.address(), each.identity).get("/recipes").status,
                  std::string(each.name) == "the token's role" ? 200U : 401U);
    }
}

} // namespace
} // namespace Ravik::Test
